// Questions and steps for the sandbox SDK inside tests: a script run on the
// library's own bridge (see sandbox_run.h) whose failure fails the test, so
// that a check of its value can never pass on a script that did not run (or,
// through SandboxNumber and SandboxFlag, on a value of the wrong kind).
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "support/sandbox_run.h"

namespace morvanta_test {

// The value of `script`; a script that yields a Promise has its resolved
// value converted (objects as objects). A script that throws or rejects, no
// answer within `limit`, or a library that is not running adds a failure to
// the current test and gives an empty value.
inline morvanta::JSValue SandboxEval(const std::string& script,
                                     std::chrono::seconds limit = std::chrono::seconds(20)) {
  SandboxOutcome outcome = SandboxRun(script, limit);
  if (!outcome.failure.empty()) {
    constexpr size_t kShown = 400;
    ADD_FAILURE() << "sandbox script failed: " << outcome.failure << "\n  script: " << script.substr(0, kShown)
                  << (script.size() > kShown ? "..." : "");
  }
  return outcome.value;
}

// The number or the Boolean `script` yields. A value of another kind (a
// property that is not there, say) fails the test like a failed script, so
// a check for 0 or false cannot pass on it.
inline double SandboxNumber(const std::string& script) {
  const morvanta::JSValue value = SandboxEval(script);
  if (!value.IsNumber()) ADD_FAILURE() << "sandbox script gave no number: " << script.substr(0, 400);
  return value.numberValue;
}
inline bool SandboxFlag(const std::string& script) {
  const morvanta::JSValue value = SandboxEval(script);
  if (!value.IsBool()) ADD_FAILURE() << "sandbox script gave no Boolean: " << script.substr(0, 400);
  return value.boolValue;
}

}  // namespace morvanta_test
