// Runs a script on the library's own bridge (the C layer linked statically)
// and waits for its value: how tests and benchmarks question or steer the
// sandbox SDK behind the public interface.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "bridge/js_bridge_adapter.h"
#include "capi/sdk_state.h"

namespace morvanta_test {

// The value of `script`; a script that yields a Promise has its resolved
// value converted (objects as objects). An empty value when the library is
// not running or nothing came back within `limit`.
inline morvanta::JSValue SandboxEval(const std::string& script,
                                     std::chrono::seconds limit = std::chrono::seconds(20)) {
  struct Shared {
    std::mutex m;
    std::condition_variable cv;
    bool done = false;
    morvanta::JSResult r;
  };
  auto s = std::make_shared<Shared>();
  auto bridge = morvanta::capi::g_bridge;
  if (!bridge) return {};
  bridge->ExecuteJS("Promise.resolve((function () { return " + script + "; })())",
                    [s](const morvanta::JSResult& r) {
                      std::lock_guard<std::mutex> lock(s->m);
                      s->r = r;
                      s->done = true;
                      s->cv.notify_all();
                    });
  std::unique_lock<std::mutex> lock(s->m);
  s->cv.wait_for(lock, limit, [&] { return s->done; });
  return s->r.value;
}

}  // namespace morvanta_test
