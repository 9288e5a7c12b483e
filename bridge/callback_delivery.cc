// Delivery of a task's outcome to its native callback: once, and never from
// inside the JavaScript frame that produced it.
#include <chrono>
#include <exception>
#include <future>

#include "bridge/js_bridge_impl.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {

using Clock = std::chrono::steady_clock;

// A one-shot timer (1 ms, or 0 ms in the concurrent mode) that carries one
// delivery. Freed by the timer's close
// callback; registered with the bridge until then so that a teardown can
// close it without delivering.
struct DelayedCallback {
  uv_timer_t timer{};
  std::shared_ptr<Task> task;
  JSResult<JSValue> result;
  JSBridgeImpl* bridge = nullptr;

  static void OnClose(uv_handle_t* handle) { delete static_cast<DelayedCallback*>(handle->data); }

  void Close() {
    bridge->delayed_callbacks_.erase(this);
    uv_close(reinterpret_cast<uv_handle_t*>(&timer), &DelayedCallback::OnClose);
  }

  static void OnTimer(uv_timer_t* handle) {
    auto* self = static_cast<DelayedCallback*>(handle->data);
    const uint64_t id = self->task ? self->task->id : 0;
    try {
      log::Info("[JSBridge] Executing delayed callback for task ", id);
      self->bridge->InvokeCallbackSync(self->task, self->result);
    } catch (const std::exception& e) {
      log::Error("[JSBridge] Exception in delayed callback for task ", id, ": ", e.what());
    } catch (...) {
      log::Error("[JSBridge] Unknown exception in delayed callback for task ", id);
    }
    self->Close();
  }
};

void JSBridgeImpl::InvokeCallback(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result) {
  if (!task) {
    if (debug()) log::Debug("[JSBridge] InvokeCallback called with null task");
    return;
  }
  if (task->callback_invoked.exchange(true)) {
    if (debug()) {
      log::Debug("[JSBridge] DUPLICATE CALLBACK PREVENTED for task ", task->id);
      log::Debug("[JSBridge] This task has already been completed, ignoring duplicate callback");
    }
    return;
  }
  try {
    if (isolate_ && v8::Locker::IsLocked(isolate_)) {
      log::Info("[JSBridge] WARNING: InvokeCallback called with V8 lock held!");
      log::Info("[JSBridge] Scheduling callback to run without V8 lock to prevent deadlock");
      InvokeCallbackAfterV8Unlock(task, result);
      return;
    }
    log::Info("[JSBridge] Invoking callback for task ", task->id, " (success: ", result.success, ")");
    if (config_.async_callbacks)
      InvokeCallbackAsync(task, result);
    else
      InvokeCallbackSync(task, result);
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Callback exception for task ", task->id, ": ", e.what());
    if (debug()) {
      log::DebugError("[JSBridge] Task type: ", static_cast<int32_t>(task->type));
      log::DebugError("[JSBridge] Result success: ", result.success);
      if (result.error) log::DebugError("[JSBridge] Result error: ", result.error->message);
    }
  } catch (...) {
    log::Error("[JSBridge] Unknown callback exception for task ", task->id);
  }
}

void JSBridgeImpl::InvokeCallbackAfterV8Unlock(const std::shared_ptr<Task>& task,
                                               const JSResult<JSValue>& result) {
  log::Info("[JSBridge] Scheduling callback after V8 unlock for task ", task->id);
  if (!event_loop_) {
    log::Info("[JSBridge] No event loop available, falling back to async callback");
    InvokeCallbackAsync(task, result);
    return;
  }
  DelayedCallback* delayed = nullptr;
  try {
    delayed = new DelayedCallback;
    delayed->task = task;
    delayed->result = result;
    delayed->bridge = this;
    delayed->timer.data = delayed;
    int rc = uv_timer_init(event_loop_, &delayed->timer);
    if (rc != 0) {
      log::Error("[JSBridge] Failed to initialize timer for delayed callback: ", uv_strerror(rc));
      delete delayed;
      InvokeCallbackAsync(task, result);
      return;
    }
    delayed_callbacks_.insert(delayed);
    rc = uv_timer_start(&delayed->timer, &DelayedCallback::OnTimer, delivery_timer_ms_, 0);
    if (rc != 0) {
      log::Error("[JSBridge] Failed to start timer for delayed callback: ", uv_strerror(rc));
      delayed->Close();
      InvokeCallbackAsync(task, result);
      return;
    }
    log::Info("[JSBridge] Delayed callback scheduled successfully for task ", task->id);
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Exception scheduling delayed callback for task ", task->id, ": ", e.what());
    if (delayed && !delayed_callbacks_.count(delayed)) delete delayed;
    InvokeCallbackAsync(task, result);
  }
}

void JSBridgeImpl::CancelDelayedCallbacks() {
  // Copy first: Close() erases from the set.
  std::vector<DelayedCallback*> pending(delayed_callbacks_.begin(), delayed_callbacks_.end());
  for (DelayedCallback* delayed : pending) delayed->Close();
}

void JSBridgeImpl::DeliverDelayedCallbacks() {
  // Copy first: each delivery closes its timer, which erases it from the set.
  std::vector<DelayedCallback*> pending(delayed_callbacks_.begin(), delayed_callbacks_.end());
  for (DelayedCallback* delayed : pending) DelayedCallback::OnTimer(&delayed->timer);
}

void JSBridgeImpl::InvokeCallbackAsync(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result) {
  log::Info("[JSBridge] Scheduling async callback for task ", task->id);
  try {
    // The future of a launch::async task waits for it when dropped: the
    // scheduling thread waits, only the thread differs.
    std::future<void> done = std::async(std::launch::async, [this, task, copy = result] {
      try {
        log::Info("[JSBridge] Executing async callback for task ", task->id, " on thread ",
                  log::ThreadTag());
        InvokeCallbackSync(task, copy);
      } catch (const std::exception& e) {
        log::Error("[JSBridge] Async callback thread exception for task ", task->id, ": ", e.what());
      } catch (...) {
        log::Error("[JSBridge] Unknown async callback thread exception for task ", task->id);
      }
    });
    done.wait();
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Failed to launch async callback for task ", task->id, ": ", e.what());
    InvokeCallbackSync(task, result);
  }
}

void JSBridgeImpl::InvokeCallbackSync(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result) {
  const auto start = Clock::now();
  if (task->js_callback) {
    log::Info("[JSBridge] Invoking JS callback for task ", task->id);
    task->js_callback(result);
  } else if (task->void_callback) {
    log::Info("[JSBridge] Invoking void callback for task ", task->id);
    if (result.success) {
      task->void_callback(JSResult<void>::Success());
    } else {
      if (!result.error) throw std::logic_error("failure result without an error");
      task->void_callback(JSResult<void>::Failure(*result.error));
    }
  } else {
    log::Info("[JSBridge] No callback defined for task ", task->id);
  }
  auto micros = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
  if (micros > 1000 && debug())
    log::Debug("[JSBridge] Callback for task ", task->id, " took ", micros, "μs");
}

}  // namespace jsbridge
}  // namespace morvanta
