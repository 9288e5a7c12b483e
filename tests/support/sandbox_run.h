// Runs a script on the library's own bridge (the C layer linked statically)
// and waits for its outcome: how tests and benchmarks question or steer the
// sandbox SDK behind the public interface. Tests use SandboxEval
// (sandbox_eval.h), which fails the test when the script did not run.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "bridge/js_bridge_adapter.h"
#include "capi/sdk_state.h"

namespace morvanta_test {

struct SandboxOutcome {
  // Empty when the script ran and its value (a Promise's resolved value,
  // objects as objects) is in `value`; otherwise why it did not.
  std::string failure;
  morvanta::JSValue value;
};

inline SandboxOutcome SandboxRun(const std::string& script, std::chrono::seconds limit = std::chrono::seconds(20)) {
  struct Shared {
    std::mutex m;
    std::condition_variable cv;
    bool done = false;
    morvanta::JSResult r;
  };
  auto s = std::make_shared<Shared>();
  auto bridge = morvanta::capi::g_bridge;
  if (!bridge) return {"the library is not running", {}};
  bridge->ExecuteJS("Promise.resolve((function () { return " + script + "; })())",
                    [s](const morvanta::JSResult& r) {
                      std::lock_guard<std::mutex> lock(s->m);
                      s->r = r;
                      s->done = true;
                      s->cv.notify_all();
                    });
  std::unique_lock<std::mutex> lock(s->m);
  if (!s->cv.wait_for(lock, limit, [&] { return s->done; }))
    return {"no answer within " + std::to_string(limit.count()) + " s", {}};
  if (!s->r.success) return {s->r.error.empty() ? "failed without a text" : s->r.error, {}};
  return {"", s->r.value};
}

}  // namespace morvanta_test
