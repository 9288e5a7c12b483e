// Turning a Promise into exactly one callback. The worker stays inside the
// task and polls two JavaScript globals while it drives microtasks and libuv
// by hand, until the promise settles or 15 seconds of polling have passed.
// One promise is in flight at a time, which makes the single global slots safe.
#include <chrono>
#include <thread>

#include "bridge/fixed_scripts.h"
#include "bridge/js_bridge_impl.h"
#include "bridge/promise_awaiter.h"
#include "bridge/v8_text.h"
#include "runtime/log.h"
#include "runtime/node_runtime.h"

namespace morvanta {
namespace jsbridge {
namespace {

constexpr int kPollStepMs = 30;
constexpr int kPromiseTimeoutMs = 15000;

// Records the outcome of globalThis.__currentPromise as JSON text. A value
// that cannot be serialised (a cycle, say) still counts as success. A
// rejection stores its reason's message, or else its text form, as it is (a
// message of 42 stays the number 42). A reason that cannot be described that
// way (null, a message getter that throws, no toString, a message JSON cannot
// write) is recorded with a fixed text, so that every rejection is answered
// at once.
constexpr char kPromiseHandlerScript[] = R"JS(
globalThis.__currentPromise.then(function (result) {
  try {
    if (result === undefined || result === null) {
      globalThis.__promiseResult = JSON.stringify({success: true, result: null});
    } else {
      globalThis.__promiseResult = JSON.stringify({success: true, result: result});
    }
  } catch (e) {
    globalThis.__promiseResult = JSON.stringify({success: true, result: 'SERIALIZATION_ERROR'});
  }
  globalThis.__promiseCompleted = true;
}).catch(function (error) {
  try {
    globalThis.__promiseResult = JSON.stringify({success: false, error: error.message || error.toString()});
  } catch (e) {
    globalThis.__promiseResult = JSON.stringify({success: false, error: 'Rejected with a reason that cannot be shown as text'});
  }
  globalThis.__promiseCompleted = true;
});
)JS";

constexpr char kExtractionScript[] = R"JS(
try {
  var parsed = JSON.parse(globalThis.__promiseResult);
  globalThis.__extractedResult = parsed.result;
  globalThis.__extractSuccess = true;
} catch (e) {
  globalThis.__extractSuccess = false;
  globalThis.__extractError = e.message;
}
)JS";

// Both scripts are run from the form compiled once for this environment.
bool RunScript(FixedScripts& scripts, v8::Local<v8::Context> context, FixedScripts::Slot slot, const char* text,
               bool* compiled) {
  return !scripts.Run(context, slot, text, compiled).IsEmpty();
}

// The slot names are looked up as internalized keys, straight from the
// literal: no text copy, and no new heap string on each call.
v8::Local<v8::String> Key(v8::Isolate* isolate, const char* name) {
  v8::Local<v8::String> key;
  if (!v8::String::NewFromUtf8(isolate, name, v8::NewStringType::kInternalized).ToLocal(&key))
    key = v8::String::Empty(isolate);
  return key;
}

v8::Local<v8::Value> GetGlobal(v8::Local<v8::Context> context, const char* name) {
  v8::Local<v8::Value> value;
  if (!context->Global()->Get(context, Key(context->GetIsolate(), name)).ToLocal(&value)) return {};
  return value;
}

void SetGlobal(v8::Local<v8::Context> context, const char* name, v8::Local<v8::Value> value) {
  context->Global()->Set(context, Key(context->GetIsolate(), name), value).FromMaybe(false);
}

JSResult<JSValue> Failure(std::string text) { return JSResult<JSValue>::Failure(MakeError(std::move(text))); }

}  // namespace

void JSBridgeImpl::HandlePromiseResult(v8::Local<v8::Promise> promise, v8::Local<v8::Context> context,
                                       const std::shared_ptr<Task>& task) {
  v8::Isolate* isolate = context->GetIsolate();
  log::Info("[JSBridge] Setting up Promise handlers for: ", task->function_name);
  log::Info("[JSBridge] Setting up direct Promise handlers...");
  SetGlobal(context, "__currentPromise", promise);

  bool compiled = false;
  if (!RunScript(fixed_scripts_, context, FixedScripts::kPromiseHandler, kPromiseHandlerScript, &compiled)) {
    InvokeCallback(task, Failure(compiled ? "Failed to execute Promise handler"
                                          : "Failed to compile Promise handler"));
    return;
  }

  log::Info("[JSBridge] Starting Promise polling mechanism...");
  SetGlobal(context, "__promiseCompleted", v8::False(isolate));
  SetGlobal(context, "__promiseResult", v8::Undefined(isolate));

  int elapsed = 0;
  bool completed = false;
  for (;;) {
    if (node_runtime_) node_runtime_->DriveEventLoop();
    // An SDK that asked to exit, or a process that is exiting, ends the wait
    // at once instead of after the full limit.
    if (std::optional<std::string> reason = WaitEndedReason()) {
      log::Info("[JSBridge] Promise wait ended after ", elapsed, "ms: ", *reason);
      InvokeCallback(task, Failure(std::move(*reason)));
      return;
    }
    v8::Local<v8::Value> flag = GetGlobal(context, "__promiseCompleted");
    if (!flag.IsEmpty() && flag->IsBoolean() && flag->BooleanValue(isolate)) {
      completed = true;
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollStepMs));
    elapsed += kPollStepMs;
    if (elapsed >= kPromiseTimeoutMs) break;
  }

  v8::Local<v8::Value> result_text;
  if (completed) {
    log::Info("[JSBridge] Promise completed after ", elapsed, "ms");
    result_text = GetGlobal(context, "__promiseResult");
  }
  if (!completed || result_text.IsEmpty() || !result_text->IsString()) {
    // A completed promise without a text is reported as a time-out too.
    log::Info("[JSBridge] Promise polling timeout after ", elapsed, "ms");
    InvokeCallback(task, Failure("Promise timeout"));
    return;
  }

  const std::string json = V8ToUtf8(isolate, result_text);
  if (json.size() > 500) {
    log::Info("[JSBridge] Promise result JSON: ", json.substr(0, 500),
              "... [truncated, total length: ", json.size(), " chars]");
  } else {
    log::Info("[JSBridge] Promise result JSON: ", json);
  }
  if (!IsSuccessOutcome(json)) {
    InvokeCallback(task, Failure("Promise rejected: " + json));
    return;
  }
  log::Info("[JSBridge] Promise succeeded, extracting result object...");
  v8::Local<v8::Value> extracted;
  if (RunScript(fixed_scripts_, context, FixedScripts::kExtraction, kExtractionScript, &compiled)) {
    v8::Local<v8::Value> ok = GetGlobal(context, "__extractSuccess");
    if (!ok.IsEmpty() && ok->IsBoolean() && ok->BooleanValue(isolate))
      extracted = GetGlobal(context, "__extractedResult");
  }
  if (!extracted.IsEmpty()) {
    log::Info("[JSBridge] Successfully extracted result object");
    log::Info("[JSBridge] Converting V8 object to JSValue using recursive conversion");
    InvokeCallback(task, JSResult<JSValue>::Success(ConvertV8ObjectToJSValue(extracted, context)));
    return;
  }
  log::Info("[JSBridge] Failed to extract result, returning full JSON");
  InvokeCallback(task, JSResult<JSValue>::Success(JSValue(json)));
}

JSValue JSBridgeImpl::PromiseFromV8(v8::Local<v8::Promise> promise) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  log::Info("[JSBridge] 🚨 CRITICAL: SimpleFromV8 called directly - this should not happen for Promises!");
  log::Info("[JSBridge] ✅ Promise detected in SimpleFromV8, handling it properly!");
  const int state = static_cast<int>(promise->State());
  log::Info("[JSBridge] Promise state: ", state, " (0=pending, 1=fulfilled, 2=rejected)");
  switch (promise->State()) {
    case v8::Promise::kFulfilled: {
      v8::Local<v8::Value> value = promise->Result();
      log::Info("[JSBridge] Promise already resolved, processing result...");
      log::Info("[JSBridge] Resolved value type - IsObject(): ", value->IsObject());
      return SimpleFromV8(value);
    }
    case v8::Promise::kRejected: {
      std::string text = V8ToUtf8(isolate, promise->Result());
      if (text.empty()) text = "unknown error";
      log::Info("[JSBridge] Promise rejected with: ", text);
      return JSValue("PROMISE_REJECTED: " + text);
    }
    default:
      log::Info("[JSBridge] Promise is still pending, need to wait for resolution...");
      log::Info("[JSBridge] ERROR: SimpleFromV8 should not handle pending Promises!");
      log::Info("[JSBridge] This indicates the Promise wrapper is not working correctly.");
      return JSValue("ERROR_PENDING_PROMISE_IN_SIMPLE_CONVERTER");
  }
}

bool IsSuccessOutcome(const std::string& json) {
  static constexpr char kMarker[] = "\"success\":true";
  return json.find(kMarker) != std::string::npos;
}

const char* PromiseHandlerScriptText() { return kPromiseHandlerScript; }
const char* PromiseExtractionScriptText() { return kExtractionScript; }

}  // namespace jsbridge
}  // namespace morvanta
