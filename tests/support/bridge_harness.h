// Runs scripts through a live JSBridge and waits for their outcome, counting
// callbacks so that a missing or doubled delivery shows.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "bridge/js_bridge.h"

namespace morvanta_test {

using morvanta::jsbridge::JSBridge;
using morvanta::jsbridge::JSBridgeConfig;
using morvanta::jsbridge::JSResult;
using morvanta::jsbridge::JSValue;
using morvanta::jsbridge::JSValueType;

// One outcome slot, shared with a callback that may arrive late.
struct Outcome {
  std::mutex mutex;
  std::condition_variable cv;
  int calls = 0;
  std::thread::id thread;
  JSResult<JSValue> result;

  void Deliver(const JSResult<JSValue>& r) {
    std::lock_guard<std::mutex> lock(mutex);
    ++calls;
    result = r;
    thread = std::this_thread::get_id();
    cv.notify_all();
  }
  bool Wait(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return calls > 0; });
  }
  int Calls() {
    std::lock_guard<std::mutex> lock(mutex);
    return calls;
  }
};

inline std::shared_ptr<Outcome> Submit(JSBridge& bridge, const std::string& code) {
  auto outcome = std::make_shared<Outcome>();
  bridge.ExecuteCode(code, [outcome](const JSResult<JSValue>& r) { outcome->Deliver(r); });
  return outcome;
}

// Submits and waits (20 s at most, above the bridge's 15 s promise limit).
inline JSResult<JSValue> RunScript(JSBridge& bridge, const std::string& code,
                             std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  auto outcome = Submit(bridge, code);
  if (!outcome->Wait(limit)) {
    JSResult<JSValue> none;
    none.error = morvanta::jsbridge::MakeError("test: no answer in time", 12345);
    return none;
  }
  std::lock_guard<std::mutex> lock(outcome->mutex);
  return outcome->result;
}

inline std::string ErrorText(const JSResult<JSValue>& r) { return r.error ? r.error->message : ""; }

}  // namespace morvanta_test
