// Questions and steps for the sandbox SDK inside tests: a script run on the
// library's own bridge (see sandbox_run.h) whose failure fails the test, so
// that a check of its value can never pass on a script that did not run.
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

}  // namespace morvanta_test
