// The one place where the bridge mode turns into behaviour: which promise
// awaiter and which idle the worker uses, whether the environment exposes
// the channel wake function to the listener scripts, and how start and stop
// wait (LifecyclePacing).
#include <chrono>
#include <exception>

#include "bridge/channel_wake.h"
#include "bridge/js_bridge_impl.h"
#include "bridge/promise_awaiter.h"
#include "bridge/promise_tracker.h"
#include "bridge/v8_text.h"
#include "runtime/log.h"
#include "runtime/node_runtime.h"
#include "runtime/safe_v8_accessor.h"

namespace morvanta {
namespace jsbridge {
namespace {

constexpr char kChannelWakeName[] = "__morvantaChannelWake";
// How often a channel that its pushes wake drains all the same.
constexpr std::chrono::milliseconds kFallbackChannelPoll{1000};

void ChannelWakeCallback(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (info.Length() < 1 || !info[0]->IsString() || !info.Data()->IsExternal()) return;
  auto* hub = static_cast<ChannelWakeHub*>(info.Data().As<v8::External>()->Value());
  try {
    hub->Wake(V8ToUtf8(info.GetIsolate(), info[0]));
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Channel wake failed: ", e.what());
  }
}

// Defines globalThis.__morvantaChannelWake (not enumerable) in `context`.
bool ExposeChannelWake(v8::Local<v8::Context> context, ChannelWakeHub* hub) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Function> function;
  if (!v8::FunctionTemplate::New(isolate, &ChannelWakeCallback, v8::External::New(isolate, hub))
           ->GetFunction(context)
           .ToLocal(&function))
    return false;
  return context->Global()
      ->DefineOwnProperty(context, V8String(isolate, kChannelWakeName), function, v8::DontEnum)
      .FromMaybe(false);
}

}  // namespace

void JSBridgeImpl::AdoptBridgeMode() {
  log::Info("[JSBridge] Bridge mode: ", BridgeModeName(config_.mode));
  channel_wakes_ = std::make_shared<ChannelWakeHub>();
  if (config_.mode != BridgeMode::Concurrent) {
    awaiter_ = MakeBlockingAwaiter(*this);
    idle_ = MakeNapIdle();
    return;
  }
  promise_tracker_ = std::make_unique<PromiseTracker>(isolate_);
  awaiter_ = MakeTrackedAwaiter(*this, *promise_tracker_);
  idle_ = MakeLoopIdle(event_loop_);
  // Outcomes still leave the task's JavaScript through a timer on the
  // worker, but one due at once: the next uv_run fires it before the loop
  // sleeps. A 1 ms timer would add a whole loop wake-up to every call.
  delivery_timer_ms_ = 0;
  // Start and stop wait for what they wait for rather than for the clock;
  // event channels are woken by their pushes, so their poll is a fallback.
  pacing_.event_driven = true;
  pacing_.channel_poll = kFallbackChannelPoll;
  // The worker sleeps in libuv with no timer of its own while nothing is
  // pending: a process exit has to wake it.
  node_runtime_->SetExitWake([this] { WakeWorker(); });
  ChannelWakeHub* hub = channel_wakes_.get();
  safe_accessor_->ExecuteVoidOperation([this, hub](v8::Isolate* isolate) {
    v8::Local<v8::Context> context = context_.Get(isolate);
    v8::Context::Scope context_scope(context);
    if (!ExposeChannelWake(context, hub))
      log::Error("[JSBridge] Could not expose the channel wake function; channels fall back to polling");
  });
}

void JSBridgeImpl::FailPendingPromises() {
  if (!awaiter_ || !running_.load()) return;
  awaiter_->RequestFailPending();
  std::lock_guard<std::mutex> lock(loop_mutex_);
  if (event_loop_) uv_async_send(&async_handle_);
}

void JSBridgeImpl::SetChannelWake(const std::string& key, std::function<void()> wake) {
  if (channel_wakes_) channel_wakes_->Set(key, std::move(wake));
}

void JSBridgeImpl::AbandonPendingPromises() {
  if (!awaiter_ || !safe_accessor_ || !safe_accessor_->IsValid()) return;
  std::vector<std::shared_ptr<Task>> tasks;
  // The awaiter's handles go with it, while the isolate is still there.
  safe_accessor_->ExecuteVoidOperation([&](v8::Isolate*) {
    tasks = awaiter_->TakePending();
    awaiter_.reset();
  });
  if (tasks.empty()) return;
  // A host that is exiting gets no callback; otherwise each entry is failed
  // here, on the worker with no lock held, before the shutdown returns.
  if (NodeRuntime::IsProcessExiting()) {
    log::Info("[JSBridge] Process exiting: dropping ", tasks.size(), " pending promises");
    return;
  }
  // After an SDK exit the entries learn what ended them, as the call in
  // flight does in the blocking mode.
  const std::string reason = sdk_exited_.load() ? SdkExitText() : std::string(kPromiseAbandonedText);
  log::Info("[JSBridge] Failing ", tasks.size(), " pending promises: ", reason);
  for (const auto& task : tasks) InvokeCallback(task, JSResult<JSValue>::Failure(MakeError(reason)));
}

}  // namespace jsbridge
}  // namespace morvanta
