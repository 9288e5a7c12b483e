// The shape every domain method shares: check the bridge, announce the call,
// call the SDK by path with positional arguments, and hand the outcome on as
// an MvResult. A method states only its path, arguments and result type.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/js_bridge_adapter.h"
#include "bridge/product_value.h"
#include "core/mv_result.h"
#include "core/result_converter.h"
#include "runtime/log.h"

namespace morvanta {

template <typename T>
using MvCallback = std::function<void(const MvResult<T>&)>;

struct SdkCall {
  const char* tag = "";     // log tag, such as "[AccountManager]"
  const char* method = "";  // native method name, such as "LoginByToken"
  std::string path;         // full JS path of the SDK method
  std::vector<JSValue> args;
  // Extra line written just before the call, if any.
  std::string announce;
  // Whether the "callback received" and success lines are written.
  bool log_received = true;
  // Whether a failure of the call is logged.
  bool log_failure = true;
  // What stands between the tag and the method name in the failure line.
  const char* failure_mark = " ❌ ";
  // The failure line's whole text between the tag and the error, where it
  // is not "<failure_mark><method> failed: ".
  const char* failure_text = nullptr;
  // Diagnostics of a successful raw answer, before conversion.
  std::function<void(const JSValue&)> inspect;
};

template <typename T>
MvResult<T> BridgeUnavailable(JSBridgeAdapter* bridge) {
  return MvResult<T>::Failure(-1, bridge ? "JSBridge not initialized" : "Bridge not initialized");
}

// How a successful raw answer becomes the result handed on: the common
// ConvertToMvResult<T>, or an operation's own reader for answers that come in
// shapes of their own.
template <typename T>
using MvAnswerReader = MvResult<T> (*)(const JSValue&);

template <typename T>
void CallSdk(JSBridgeAdapter* bridge, SdkCall call, MvCallback<T> done,
             MvAnswerReader<T> read = &ConvertToMvResult<T>) {
  if (!bridge || !bridge->IsInitialized()) {
    log::Error(call.tag, call.failure_mark, call.method, " failed: ",
               bridge ? "JSBridge not initialized" : "Bridge not initialized");
    if (done) done(BridgeUnavailable<T>(bridge));
    return;
  }
  log::Info(call.tag, " 🚀 ", call.method, " - using JSBridge 2.0");
  if (!call.announce.empty()) log::Info(call.tag, " 🔍 ", call.announce);
  const char* tag = call.tag;
  const char* method = call.method;
  const char* failure_mark = call.failure_mark;
  bool log_received = call.log_received;
  bool log_failure = call.log_failure;
  const char* failure_text = call.failure_text;
  auto inspect = std::move(call.inspect);
  bridge->CallFunction(call.path, call.args,
                       [tag, method, failure_mark, failure_text, log_received, log_failure, inspect, done,
                        read](const JSResult& result) {
                         if (log_received) {
                           log::Info(tag, " 🎯 ", method, " callback received!");
                           log::Info(tag, " 🎯 Success: ", result.success ? "true" : "false");
                         }
                         if (!result.success) {
                           if (log_failure && failure_text) log::Error(tag, failure_text, result.error);
                           else if (log_failure) log::Error(tag, failure_mark, method, " failed: ", result.error);
                           if (done) done(MvResult<T>::Failure(-1, result.error));
                           return;
                         }
                         if (inspect) inspect(result.value);
                         MvResult<T> converted = read(result.value);
                         if (done) done(converted);
                       });
}

// Waits on the calling thread for an SDK answer, at most `limit`. The shared
// state outlives the wait, so an answer that arrives later is harmless.
// Never call it from a callback: answers are delivered on the worker thread.
template <typename T>
MvResult<T> CallSdkAndWait(JSBridgeAdapter* bridge, SdkCall call, std::chrono::milliseconds limit,
                           const char* timeout_text, MvAnswerReader<T> read = &ConvertToMvResult<T>) {
  struct Shared {
    std::mutex mutex;
    bool done = false;
    std::optional<MvResult<T>> result;
  };
  auto shared = std::make_shared<Shared>();
  CallSdk<T>(
      bridge, std::move(call),
      [shared](const MvResult<T>& r) {
        std::lock_guard<std::mutex> lock(shared->mutex);
        shared->result.emplace(r);
        shared->done = true;
      },
      read);
  for (auto waited = std::chrono::milliseconds(0);; waited += std::chrono::milliseconds(10)) {
    {
      std::lock_guard<std::mutex> lock(shared->mutex);
      if (shared->done) return *shared->result;
    }
    if (waited >= limit) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return MvResult<T>::Failure(-1, timeout_text);
}

}  // namespace morvanta
