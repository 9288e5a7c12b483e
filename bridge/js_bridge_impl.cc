// Start, worker loop and shutdown of the bridge.
#include "bridge/js_bridge_impl.h"

#include <node.h>

#include <chrono>
#include <exception>

#include "bridge/lifecycle_waits.h"
#include "bridge/promise_awaiter.h"
#include "bridge/promise_tracker.h"
#include "bridge/type_converter.h"
#include "runtime/dependency_resolver.h"
#include "runtime/log.h"
#include "runtime/node_runtime.h"
#include "runtime/safe_v8_accessor.h"
#include "runtime/v8_scope.h"
#include "runtime/v8_thread_manager.h"

namespace morvanta {
namespace jsbridge {

using Clock = std::chrono::steady_clock;

namespace {

// What a call gets from a bridge that no longer runs the SDK, as
// JSBridge::ExecuteCode answers when not initialized.
JSResult<JSValue> BridgeUnavailable() {
  return JSResult<JSValue>::Failure(MakeError("Bridge not initialized", -3));
}

}  // namespace

JSBridgeImpl::JSBridgeImpl() : task_queue_(std::make_shared<TaskQueue>()) {}

JSBridgeImpl::~JSBridgeImpl() {
  // Normally the runtime is gone by now. If it is not (a shutdown that never
  // ran), it must not be torn down from a thread that is not its owner while
  // a worker may still use it, so only the handles that are safe to drop go.
  if (worker_thread_.joinable()) worker_thread_.detach();
  if (node_runtime_) node_runtime_->SetExitWake(nullptr);
}

std::string JSBridgeImpl::GetLastError() const {
  std::lock_guard<std::mutex> lock(error_mutex_);
  return last_error_;
}

void JSBridgeImpl::SetLastError(const std::string& text) {
  std::lock_guard<std::mutex> lock(error_mutex_);
  last_error_ = text;
}

bool JSBridgeImpl::Initialize(const JSBridgeConfig& config) {
  if (initialized_.load()) {
    SetLastError("Bridge already initialized");
    return false;
  }
  config_ = config;
  if (!InitializeNodeJS()) return false;
  {
    std::lock_guard<std::mutex> lock(phase_mutex_);
    worker_phase_ = WorkerPhase::Running;
  }
  {
    std::lock_guard<std::mutex> lock(started_mutex_);
    worker_started_ = false;
  }
  running_ = true;
  worker_alive_ = true;
  sdk_exited_ = false;
  worker_thread_ = std::thread([self = shared_from_this()] { self->WorkerThread(); });
  worker_id_ = worker_thread_.get_id();
  log::Info("[JSBridge] Waiting for worker thread to initialize...");
  AwaitWorkerStart();
  initialized_ = true;
  log::Info("[JSBridge] Initialized successfully");
  return true;
}

bool JSBridgeImpl::InitializeNodeJS() {
  try {
    log::Info("[JSBridge] Using NodeRuntime for initialization...");
    runtime::EnsureDelayLoadHook();
    node_runtime_ = std::make_unique<NodeRuntime>();
    if (!node_runtime_->Initialize({"node"})) {
      SetLastError("NodeRuntime initialization failed: " + node_runtime_->GetLastError());
      node_runtime_.reset();
      return false;
    }
    thread_manager_ = node_runtime_->GetThreadManager();
    if (!thread_manager_) {
      SetLastError("Failed to get V8ThreadManager from NodeRuntime");
      return false;
    }
    safe_accessor_ = std::make_shared<SafeV8Accessor>(thread_manager_);
    isolate_ = node_runtime_->GetIsolate();
    event_loop_ = node_runtime_->GetEventLoop();
    safe_accessor_->ExecuteVoidOperation([this](v8::Isolate* isolate) {
      context_.Reset(isolate, node_runtime_->GetContext());
    });
    if (!isolate_ || context_.IsEmpty() || !event_loop_) {
      SetLastError("Failed to get V8 components from NodeRuntime");
      return false;
    }
    int rc = uv_async_init(event_loop_, &async_handle_, [](uv_async_t*) {
      // Only wakes the loop; tasks are picked up by the worker's polling.
    });
    if (rc != 0) {
      SetLastError(std::string("Failed to initialize uv_async_t: ") + uv_strerror(rc));
      return false;
    }
    async_handle_.data = this;
    AdoptBridgeMode();
    return true;
  } catch (const std::exception& e) {
    SetLastError(std::string("Exception during Node.js initialization: ") + e.what());
    return false;
  }
}

void JSBridgeImpl::SubmitTask(std::shared_ptr<Task> task) {
  if (!initialized_.load() || !task_queue_) return;
  try {
    task_queue_->Push(std::move(task));
  } catch (const std::exception& e) {
    if (debug())
      log::DebugError("[JSBridge] SubmitTask: Failed to push task (object may be destroying): ", e.what());
    return;
  } catch (...) {
    if (debug()) log::DebugError("[JSBridge] SubmitTask: Unknown exception in Push");
    return;
  }
  // The SDK exited between the caller's check and the push: the worker may
  // already have answered the queue for the last time.
  if (sdk_exited_.load()) {
    RefuseQueuedTasks();
    return;
  }
  std::lock_guard<std::mutex> lock(loop_mutex_);
  if (event_loop_ && uv_async_send(&async_handle_) != 0 && debug())
    log::DebugError("[JSBridge] SubmitTask: Failed to wake up worker thread");
}

bool JSBridgeImpl::NoticeSdkExit() {
  if (sdk_exited_.load()) return true;
  if (!node_runtime_ || !node_runtime_->SdkExitRequested()) return false;
  sdk_exited_ = true;  // before initialized_: see SubmitTask
  initialized_ = false;
  return true;
}

std::string JSBridgeImpl::SdkExitText() const {
  return "The SDK tried to exit the process with code " +
         std::to_string(node_runtime_ ? node_runtime_->SdkExitCode() : 0);
}

std::optional<std::string> JSBridgeImpl::WaitEndedReason() {
  if (NoticeSdkExit()) return SdkExitText();
  if (NodeRuntime::IsProcessExiting()) return std::string("Promise abandoned: the process is exiting");
  return std::nullopt;
}

void JSBridgeImpl::RefuseQueuedTasks() {
  if (!task_queue_) return;
  for (const auto& task : task_queue_->PopAll()) {
    if (!task || task->callback_invoked.exchange(true)) continue;
    try {
      InvokeCallbackSync(task, BridgeUnavailable());
    } catch (const std::exception& e) {
      log::Error("[JSBridge] Callback exception for task ", task->id, ": ", e.what());
    } catch (...) {
      log::Error("[JSBridge] Unknown callback exception for task ", task->id);
    }
  }
}

// ---------------------------------------------------------------- worker ----

void JSBridgeImpl::WorkerThread() {
  log::Info("[JSBridge] Worker thread started");
  const auto started = Clock::now();
  try {
    if (thread_manager_ && node_runtime_) {
      if (node_runtime_->TransferOwnership(std::this_thread::get_id())) {
        log::Info("[JSBridge] V8 isolate ownership transferred to worker thread");
        if (isolate_ && !context_.IsEmpty()) {
          DirectV8Scope scope(isolate_);
          v8::Local<v8::Context> context = context_.Get(isolate_);
          v8::Context::Scope context_scope(context);
          if (!node::GetCurrentEnvironment(context))
            log::Info("[JSBridge] Warning: Node.js environment not found in worker thread context");
          else
            log::Info("[JSBridge] Node.js environment verified in worker thread");
        }
      } else {
        log::Error("[JSBridge] Failed to transfer V8 isolate ownership to worker thread");
      }
    }
    SignalWorkerStarted();
    if (debug()) {
      log::Debug("[JSBridge] Helper objects creation temporarily disabled for debugging");
      log::Debug("[JSBridge] Entering main event loop...");
    }
    // The loop also ends when the process is exiting: the exit handler then
    // waits for this runtime, and the worker, as the isolate's owner, is the
    // one thread that may take it down while the host's threads go on.
    // Standard output is buffered while the loop runs; the loop flushes it.
    std::optional<log::StdoutBatch> batch(std::in_place);
    while (running_.load() && !NodeRuntime::IsProcessExiting() && !NoticeSdkExit()) {
      if (!isolate_ || !event_loop_) {
        NoV8Pass();
        if (running_.load() && (!task_queue_ || task_queue_->Empty()))
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!running_.load()) log::Info("[JSBridge] Shutdown detected in basic event loop");
        continue;
      }
      bool had_tasks = false;
      bool had_promises = false;
      if (safe_accessor_ && safe_accessor_->IsValid() && !context_.IsEmpty()) {
        safe_accessor_->ExecuteVoidOperation(
            [&](v8::Isolate* isolate) { TaskPass(isolate, had_tasks, had_promises); });
      } else {
        had_tasks = task_queue_ && !task_queue_->Empty();
      }
      if (event_loop_ && running_.load() && safe_accessor_ && safe_accessor_->IsValid()) {
        DriveEventLoop(had_tasks, had_promises);
        continue;
      }
      if (running_.load()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    batch.reset();
    if (sdk_exited_.load()) {
      // The call in flight was answered on a delivery timer that will not fire
      // any more; later calls are answered as an unavailable bridge.
      DeliverDelayedCallbacks();
      RefuseQueuedTasks();
    }
    auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started);
    // No iteration counter is kept, so the count printed is always 0.
    log::Info("[JSBridge] Event loop completed - ", 0, " iterations in ", elapsed.count(), "ms");
    log::Info("[JSBridge] Starting cleanup phase...");
    AbandonPendingPromises();
    if (promise_tracker_) {
      log::Info("[JSBridge] Cleaning up ", promise_tracker_->GetPendingCount(), " pending promises");
      promise_tracker_.reset();
    }
    type_converter_.reset();
    log::Info("[JSBridge] Worker thread finished cleanly");
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Worker thread exception: ", e.what());
    if (debug()) {
      log::DebugError("[JSBridge] Exception occurred at iteration ", 0);
      log::DebugError("[JSBridge] Isolate available: ", isolate_ ? "yes" : "no");
      log::DebugError("[JSBridge] Event loop available: ", event_loop_ ? "yes" : "no");
    }
  }
  FinishWorker();
}

void JSBridgeImpl::FinishWorker() {
  worker_alive_ = false;
  SignalWorkerStarted();  // a worker that failed early does not hold the start up
  bool cleanup_here = false;
  {
    std::lock_guard<std::mutex> lock(phase_mutex_);
    if (worker_phase_ == WorkerPhase::Abandoned || NodeRuntime::IsProcessExiting() || sdk_exited_.load()) {
      cleanup_here = worker_phase_ != WorkerPhase::CleanedUp;
      worker_phase_ = WorkerPhase::CleanedUp;
    } else {
      worker_phase_ = WorkerPhase::Finished;
    }
  }
  if (cleanup_here) {
    initialized_ = false;
    CleanupNodeJS();
  }
}

void JSBridgeImpl::TaskPass(v8::Isolate* isolate, bool& had_tasks, bool& had_promises) {
  v8::Local<v8::Context> context = context_.Get(isolate);
  if (context.IsEmpty()) return;
  v8::Context::Scope context_scope(context);
  ProcessPendingTasks(isolate);
  try {
    log::FlushStdout();
    isolate->PerformMicrotaskCheckpoint();
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Exception in microtask checkpoint: ", e.what());
  }
  if (promise_tracker_) CheckPendingPromises();
  had_tasks = task_queue_ && !task_queue_->Empty();
  had_promises = promise_tracker_ && promise_tracker_->GetPendingCount() > 0;
}

void JSBridgeImpl::CheckPendingPromises() {
  if (debug())
    log::Debug("[JSBridge] Checking ", promise_tracker_->GetPendingCount(), " pending promises");
  log::FlushStdout();
  awaiter_->Check(isolate_->GetCurrentContext());
}

void JSBridgeImpl::ProcessPendingTasks(v8::Isolate* isolate) {
  std::vector<std::shared_ptr<Task>> tasks = task_queue_->PopAll();
  if (debug() && !tasks.empty()) log::Debug("[JSBridge] Processing ", tasks.size(), " pending tasks");
  for (const auto& task : tasks) {
    if (!task) continue;
    // Behind a task during which the SDK exited: an unavailable bridge.
    if (sdk_exited_.load()) {
      InvokeCallback(task, BridgeUnavailable());
      continue;
    }
    if (!v8::Isolate::GetCurrent() || context_.IsEmpty()) {
      InvokeCallback(task, JSResult<JSValue>::Failure(MakeError("V8 isolate not available")));
      continue;
    }
    v8::Local<v8::Context> context = context_.Get(isolate);
    if (context.IsEmpty()) {
      InvokeCallback(task, JSResult<JSValue>::Failure(MakeError("V8 context not available")));
      continue;
    }
    ProcessSingleTask(task, context, isolate);
  }
  // Between tasks, with no JavaScript running.
  script_cache_trim_.TrimIfDue(isolate);
}

void JSBridgeImpl::NoV8Pass() {
  if (task_queue_) {
    for (const auto& task : task_queue_->PopAll()) {
      InvokeCallback(task, JSResult<JSValue>::Failure(MakeError(
                               "JavaScript execution not available - Node.js initialization failed")));
    }
  }
  if (!task_queue_ || task_queue_->Empty()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

void JSBridgeImpl::DriveEventLoop(bool had_tasks, bool had_promises) {
  if (!isolate_ || !event_loop_) return;
  try {
    if (safe_accessor_ && safe_accessor_->IsValid() && !context_.IsEmpty()) {
      safe_accessor_->ExecuteVoidOperation([&](v8::Isolate* isolate) {
        v8::Local<v8::Context> context = context_.Get(isolate);
        if (context.IsEmpty()) return;
        v8::Context::Scope context_scope(context);
        log::FlushStdout();  // SDK timers run JavaScript in the loop
        if (node::GetCurrentEnvironment(context))
          idle_->RunLoop(event_loop_, had_tasks, had_promises);
        else
          log::Info("[JSBridge] Skipping libuv run - Node.js environment not available");
      });
    } else {
      log::Info("[JSBridge] Warning: Running libuv without V8 context");
      if (uv_loop_alive(event_loop_)) uv_run(event_loop_, UV_RUN_NOWAIT);
    }
    // The idle pace of the worker; taken with no V8 lock held, and with the
    // lines logged so far written out.
    log::FlushStdout();
    idle_->Pause(had_tasks, had_promises);
    if (!running_.load()) {
      log::Info("[JSBridge] Event loop received shutdown signal");
      uv_stop(event_loop_);
    }
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Exception in DriveEventLoop: ", e.what());
  }
}

// -------------------------------------------------------------- shutdown ----

void JSBridgeImpl::Shutdown() {
  // After the SDK exited, initialized_ is already clear but the worker is
  // still to be joined.
  if (!initialized_.load() && !(sdk_exited_.load() && worker_thread_.joinable())) return;
  try {
    log::Info("[JSBridge] Shutting down...");
    running_ = false;
    WakeWorker();
    bool worker_ended = true;
    try {
      if (worker_thread_.joinable() && std::this_thread::get_id() == worker_id_) {
        // The host called exit() from a callback and static destruction got
        // here on the worker itself: it cannot be joined, and it ends with
        // the process.
        std::lock_guard<std::mutex> lock(phase_mutex_);
        if (worker_phase_ == WorkerPhase::Running) worker_phase_ = WorkerPhase::Abandoned;
        worker_ended = false;
        log::Error("[JSBridge] Warning: Shutdown on the worker thread itself, leaving the worker to the process exit");
      } else if (worker_thread_.joinable()) {
        auto joined = std::make_shared<JoinSignal>();
        std::thread helper([worker = std::move(worker_thread_), joined]() mutable {
          worker.join();
          joined->Set();
        });
        // While the process exits the worker takes its environment down by
        // itself, and the exit must not wait 3 s more for it.
        const auto limit = NodeRuntime::IsProcessExiting() ? std::chrono::nanoseconds(300000000LL)
                                                           : std::chrono::nanoseconds(2999999999LL);
        if (AwaitJoin(joined, limit)) {
          helper.join();
        } else {
          std::lock_guard<std::mutex> lock(phase_mutex_);
          if (worker_phase_ == WorkerPhase::Running) {
            // The worker is still inside JavaScript (a promise wait, say).
            // It keeps this object alive and tears Node down itself when it
            // ends, so this thread never touches an isolate in use.
            worker_phase_ = WorkerPhase::Abandoned;
            worker_ended = false;
            helper.detach();
            log::Error("[JSBridge] Warning: Worker thread join timeout, continuing cleanup");
          } else {
            helper.join();  // it finished just now
          }
        }
      }
    } catch (const std::exception& e) {
      log::Error("[JSBridge] Exception joining worker thread: ", e.what());
    } catch (...) {
      log::Error("[JSBridge] Unknown exception joining worker thread");
    }
    if (worker_ended) {
      bool cleanup_here = false;
      {
        std::lock_guard<std::mutex> lock(phase_mutex_);
        cleanup_here = worker_phase_ != WorkerPhase::CleanedUp;
        worker_phase_ = WorkerPhase::CleanedUp;
      }
      if (cleanup_here) CleanupNodeJS();
    }
    initialized_ = false;
    log::Info("[JSBridge] Shutdown complete");
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Exception during shutdown: ", e.what());
    initialized_ = false;
  } catch (...) {
    log::Error("[JSBridge] Unknown exception during shutdown");
    initialized_ = false;
  }
}

void JSBridgeImpl::CleanupNodeJS() {
  try {
    log::Info("[JSBridge] Cleaning up Node.js runtime...");
    if (node_runtime_) node_runtime_->SetExitWake(nullptr);
    try {
      std::lock_guard<std::mutex> lock(loop_mutex_);
      if (event_loop_ && idle_) idle_->Close();
      if (event_loop_ && uv_is_active(reinterpret_cast<uv_handle_t*>(&async_handle_))) {
        log::Info("[JSBridge] Closing uv_async_t handle...");
        uv_close(reinterpret_cast<uv_handle_t*>(&async_handle_), nullptr);
        log::Info("[JSBridge] uv_async_t handle closed, deferring loop processing to NodeRuntime");
      } else if (event_loop_ && !uv_loop_alive(event_loop_)) {
        log::Info("[JSBridge] Loop already invalid, skipping uv_close");
      }
    } catch (const std::exception& e) {
      log::Error("[JSBridge] Exception closing uv_async_t: ", e.what());
    }
    if (!context_.IsEmpty()) {
      try {
        log::Info("[JSBridge] Cleaning up V8 context (before NodeRuntime cleanup)...");
        if (isolate_) {
          // The one place a thread other than the worker enters the isolate:
          // the worker has ended (or this is the worker itself).
          log::Info("[JSBridge] SafeV8Accessor not available, resetting context with isolate...");
          DirectV8Scope scope(isolate_);
          context_.Reset();
          fixed_scripts_.Clear();
          call_templates_.Clear();
          // Undelivered delivery timers are closed without delivery, and the
          // closes are completed now so the loop can be closed later.
          CancelDelayedCallbacks();
          uv_run(event_loop_, UV_RUN_NOWAIT);
        } else {
          log::Info("[JSBridge] Isolate already invalid, skipping V8 context cleanup");
        }
        log::Info("[JSBridge] V8 context cleaned up successfully");
      } catch (const std::exception& e) {
        log::Error("[JSBridge] Exception cleaning up V8 context: ", e.what());
      }
    }
    try {
      log::Info("[JSBridge] Cleaning up NodeRuntime...");
      node_runtime_.reset();
      log::Info("[JSBridge] NodeRuntime cleaned up successfully");
    } catch (const std::exception& e) {
      log::Error("[JSBridge] Exception cleaning up NodeRuntime: ", e.what());
    }
    {
      std::lock_guard<std::mutex> lock(loop_mutex_);
      isolate_ = nullptr;
      event_loop_ = nullptr;
    }
    thread_manager_.reset();
    safe_accessor_.reset();
    if (!context_.IsEmpty()) {
      log::Info("[JSBridge] Note: V8 context still marked as non-empty, but isolate is destroyed");
      log::Info("[JSBridge] Context will be cleaned up when JSBridgeImpl is destroyed");
    }
    log::Info("[JSBridge] Node.js cleanup completed");
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Critical exception during cleanup: ", e.what());
    isolate_ = nullptr;
    event_loop_ = nullptr;
    node_runtime_.reset();
  }
}

}  // namespace jsbridge
}  // namespace morvanta
