// One method of an SDK object described as data, so that a manager method
// reads as a single statement: which method, which positional arguments,
// which conversion of the answer.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "managers/call_frame.h"
#include "managers/sdk_object.h"

namespace morvanta {

// Its native name (in log lines), its JS name and, for a method that writes
// one, what the line just before the call names as the way of the call
// ("Calling <js> with <via>").
struct SdkMethod {
  const char* name;
  const char* js;
  const char* via = nullptr;
};

constexpr char kViaPromise[] = "Promise support";

inline SdkCall MethodCall(const SdkObject& object, const SdkMethod& method, std::vector<JSValue> args = {}) {
  SdkCall call = object.Call(method.name, method.js, std::move(args));
  if (method.via) call.announce = std::string("Calling ") + method.js + " with " + method.via;
  return call;
}

// The common frame: the answer through ConvertToMvResult<T>, or `read`.
template <typename T>
void CallSdkMethod(JSBridgeAdapter* bridge, const SdkObject& object, const SdkMethod& method, std::vector<JSValue> args,
                   MvCallback<T> done, MvAnswerReader<T> read = &ConvertToMvResult<T>) {
  CallSdk<T>(bridge, MethodCall(object, method, std::move(args)), std::move(done), read);
}

// For methods whose answer means nothing: a fulfilled call is a success
// whatever the SDK answered, a non-zero code included; only a failed call
// (or a missing bridge) is a failure. Success is logged as "<name> <outcome>",
// without the "callback received" lines; a failed call as the common failure
// line, or as `failure_text` and the error where that is given.
inline void CallSdkMethodIgnoringAnswer(JSBridgeAdapter* bridge, const SdkObject& object, const SdkMethod& method,
                                        std::vector<JSValue> args, MvCallback<void> done,
                                        const char* outcome = "successful", const char* failure_text = nullptr) {
  SdkCall call = MethodCall(object, method, std::move(args));
  call.log_received = false;
  call.failure_text = failure_text;
  const char* tag = object.tag;
  const char* name = method.name;
  MvCallback<void> logged = [tag, name, outcome, done](const MvResult<void>& r) {
    if (r.IsSuccess()) log::Info(tag, " ✅ ", name, " ", outcome);
    if (done) done(r);
  };
  CallSdk<void>(bridge, std::move(call), std::move(logged), &AcceptAnyAnswer);
}

}  // namespace morvanta
