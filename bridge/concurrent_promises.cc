// The two ways of awaiting a task's promise. The blocking one is the
// worker's own wait (promise_resolution.cc). The tracked one lets many
// promises be in flight: each entry gets a slot object of its own, the
// blocking wait's handler and extraction scripts run against that slot
// instead of globalThis (so the answers have the same shapes and texts), and
// the PromiseTracker watches a promise that settles once the slot is written.
// Answers follow settlement order and leave through the delivery timer, due
// at once in this mode (AdoptBridgeMode).
#include <chrono>
#include <exception>
#include <string>
#include <unordered_map>

#include "bridge/js_bridge_impl.h"
#include "bridge/promise_awaiter.h"
#include "bridge/promise_tracker.h"
#include "bridge/v8_text.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {

const char kPromiseAbandonedText[] = "Bridge shutting down";

namespace {

constexpr std::chrono::milliseconds kEntryTimeout{15000};

// Builds an entry's slot: runs `handler` (the blocking wait's handler script
// with the slot standing in for globalThis) and adds `__settled`, a promise
// fulfilled the moment the handler marks the slot completed. The accessor
// lives on the slots' prototype, so every slot has the same fast shape.
constexpr char kSlotFactory[] = R"JS((function () {
  function Slot(promise) {
    var slot = this;
    this.__currentPromise = promise;
    this.__completedFlag = false;
    this.__settled = new Promise(function (resolve) { slot.__settle = resolve; });
  }
  Object.defineProperty(Slot.prototype, '__promiseCompleted', {
    get: function () { return this.__completedFlag; },
    set: function (value) { this.__completedFlag = value; if (value === true) this.__settle(); }
  });
  return function (promise, handler) {
    var slot = new Slot(promise);
    handler(slot);
    return slot;
  };
})())JS";

// The names the worker reads from a slot, internalized once per environment
// so that a read is a plain lookup.
enum SlotKey { kSettled, kCompleted, kResult, kExtractSuccess, kExtractedResult, kSlotKeyCount };
const char* const kSlotKeyNames[kSlotKeyCount] = {"__settled", "__completedFlag", "__promiseResult",
                                                  "__extractSuccess", "__extractedResult"};

JSResult<JSValue> Failure(std::string text) { return JSResult<JSValue>::Failure(MakeError(std::move(text))); }

v8::Local<v8::Value> Field(v8::Local<v8::Context> context, v8::Local<v8::Object> object, v8::Local<v8::String> key) {
  v8::Local<v8::Value> value;
  if (key.IsEmpty() || !object->Get(context, key).ToLocal(&value)) return {};
  return value;
}

bool IsTrue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  return !value.IsEmpty() && value->IsBoolean() && value->BooleanValue(isolate);
}

// Compiles `text` (an expression yielding a function) and runs it.
v8::MaybeLocal<v8::Function> CompileFunction(v8::Local<v8::Context> context, const std::string& text) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::String> source;
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> value;
  if (!V8StringFromUtf8(isolate, text).ToLocal(&source) || !v8::Script::Compile(context, source).ToLocal(&script) ||
      !script->Run(context).ToLocal(&value) || !value->IsFunction())
    return {};
  return value.As<v8::Function>();
}

// A script of the blocking wait, turned into a function of `globalThis`.
std::string OverSlot(const char* script) { return std::string("(function (globalThis) {") + script + "\n})"; }

}  // namespace

// ------------------------------------------------------------ blocking ----

class BlockingAwaiter final : public PromiseAwaiter {
 public:
  explicit BlockingAwaiter(JSBridgeImpl& bridge) : bridge_(bridge) {}
  void Await(v8::Local<v8::Promise> promise, v8::Local<v8::Context> context,
             const std::shared_ptr<Task>& task) override {
    bridge_.HandlePromiseResult(promise, context, task);
  }
  // No tracker exists in this mode, so the worker never calls this.
  void Check(v8::Local<v8::Context>) override {}

 private:
  JSBridgeImpl& bridge_;
};

std::unique_ptr<PromiseAwaiter> MakeBlockingAwaiter(JSBridgeImpl& bridge) {
  return std::make_unique<BlockingAwaiter>(bridge);
}

// ------------------------------------------------------------- tracked ----

class TrackedAwaiter final : public PromiseAwaiter {
 public:
  TrackedAwaiter(JSBridgeImpl& bridge, PromiseTracker& tracker) : bridge_(bridge), tracker_(tracker) {}

  void Await(v8::Local<v8::Promise> promise, v8::Local<v8::Context> context,
             const std::shared_ptr<Task>& task) override {
    v8::Isolate* isolate = context->GetIsolate();
    v8::TryCatch try_catch(isolate);
    v8::Local<v8::Function> factory;
    v8::Local<v8::Function> handler;
    if (!Scripts(context, &factory, &handler, nullptr)) {
      bridge_.InvokeCallback(task, Failure("Failed to compile Promise handler"));
      return;
    }
    v8::Local<v8::Value> argv[] = {promise, handler};
    v8::Local<v8::Value> made;
    v8::Local<v8::Value> settled;
    if (!factory->Call(context, context->Global(), 2, argv).ToLocal(&made) || !made->IsObject() ||
        (settled = Field(context, made.As<v8::Object>(), Key(kSettled))).IsEmpty() || !settled->IsPromise()) {
      bridge_.InvokeCallback(task, Failure("Failed to execute Promise handler"));
      return;
    }
    slots_[task->id].Reset(isolate, made.As<v8::Object>());
    tracker_.Track(settled.As<v8::Promise>(), task, kEntryTimeout);
  }

  void Check(v8::Local<v8::Context> context) override {
    if (fail_requested_.exchange(false)) {
      for (const auto& task : TakePending()) bridge_.InvokeCallback(task, Failure(kPromiseAbandonedText));
    }
    tracker_.CheckPendingPromises([this, context](const std::shared_ptr<Task>& task, const JSResult<JSValue>&) {
      bridge_.InvokeCallback(task, Answer(context, task));
    });
  }

  void RequestFailPending() override { fail_requested_.store(true); }

  std::vector<std::shared_ptr<Task>> TakePending() override {
    slots_.clear();
    return tracker_.Release();
  }

 private:
  // The answer of a finished entry, as the blocking wait words it. The
  // tracker's own result only says whether the slot's promise settled in
  // time; the slot says everything else.
  JSResult<JSValue> Answer(v8::Local<v8::Context> context, const std::shared_ptr<Task>& task) {
    v8::Isolate* isolate = context->GetIsolate();
    auto found = slots_.find(task->id);
    if (found == slots_.end()) return Failure("Promise timeout");
    v8::Local<v8::Object> slot = found->second.Get(isolate);
    slots_.erase(found);
    v8::TryCatch try_catch(isolate);
    v8::Local<v8::Value> text = Field(context, slot, Key(kResult));
    if (!IsTrue(isolate, Field(context, slot, Key(kCompleted))) || text.IsEmpty() || !text->IsString())
      return Failure("Promise timeout");
    const std::string json = V8ToUtf8(isolate, text);
    if (!IsSuccessOutcome(json)) return Failure("Promise rejected: " + json);
    v8::Local<v8::Function> extract;
    v8::Local<v8::Value> arg = slot;
    v8::Local<v8::Value> ran;
    if (Scripts(context, nullptr, nullptr, &extract) &&
        extract->Call(context, context->Global(), 1, &arg).ToLocal(&ran) &&
        IsTrue(isolate, Field(context, slot, Key(kExtractSuccess)))) {
      v8::Local<v8::Value> extracted = Field(context, slot, Key(kExtractedResult));
      if (!extracted.IsEmpty())
        return JSResult<JSValue>::Success(bridge_.ConvertV8ObjectToJSValue(extracted, context));
    }
    return JSResult<JSValue>::Success(JSValue(json));
  }

  v8::Local<v8::String> Key(SlotKey key) { return keys_[key].Get(isolate_); }

  // The three functions and the keys, made once per environment.
  bool Scripts(v8::Local<v8::Context> context, v8::Local<v8::Function>* factory, v8::Local<v8::Function>* handler,
               v8::Local<v8::Function>* extract) {
    v8::Isolate* isolate = context->GetIsolate();
    if (factory_.IsEmpty()) {
      v8::Local<v8::Function> f, h, e;
      if (!CompileFunction(context, kSlotFactory).ToLocal(&f) ||
          !CompileFunction(context, OverSlot(PromiseHandlerScriptText())).ToLocal(&h) ||
          !CompileFunction(context, OverSlot(PromiseExtractionScriptText())).ToLocal(&e))
        return false;
      for (int k = 0; k < kSlotKeyCount; ++k) {
        v8::Local<v8::String> key;
        if (!v8::String::NewFromUtf8(isolate, kSlotKeyNames[k], v8::NewStringType::kInternalized).ToLocal(&key))
          return false;
        keys_[k].Reset(isolate, key);
      }
      isolate_ = isolate;
      factory_.Reset(isolate, f);
      handler_.Reset(isolate, h);
      extract_.Reset(isolate, e);
    }
    if (factory) *factory = factory_.Get(isolate);
    if (handler) *handler = handler_.Get(isolate);
    if (extract) *extract = extract_.Get(isolate);
    return true;
  }

  JSBridgeImpl& bridge_;
  PromiseTracker& tracker_;
  std::unordered_map<uint64_t, v8::Global<v8::Object>> slots_;
  v8::Global<v8::Function> factory_;
  v8::Global<v8::Function> handler_;
  v8::Global<v8::Function> extract_;
  v8::Global<v8::String> keys_[kSlotKeyCount];
  v8::Isolate* isolate_ = nullptr;
  std::atomic<bool> fail_requested_{false};
};

std::unique_ptr<PromiseAwaiter> MakeTrackedAwaiter(JSBridgeImpl& bridge, PromiseTracker& tracker) {
  return std::make_unique<TrackedAwaiter>(bridge, tracker);
}

}  // namespace jsbridge
}  // namespace morvanta
