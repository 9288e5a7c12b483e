// The machinery behind JSBridge: the worker thread that alone runs
// JavaScript, its task queue, the embedded runtime and the V8 handles.
// Internal to the bridge; only bridge/ and runtime/ see V8 types.
#pragma once

#include <uv.h>
#include <v8.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_set>

#include "bridge/call_templates.h"
#include "bridge/fixed_scripts.h"
#include "bridge/js_value.h"
#include "bridge/lifecycle_pacing.h"
#include "bridge/script_cache_trim.h"
#include "bridge/task.h"
#include "bridge/task_queue.h"

namespace morvanta {
namespace jsbridge {

class NodeRuntime;
class V8ThreadManager;
class SafeV8Accessor;
class PromiseTracker;
class TypeConverter;
class PromiseAwaiter;
class WorkerIdle;
class ChannelWakeHub;
class BlockingAwaiter;
struct DelayedCallback;
struct JoinSignal;

class JSBridgeImpl : public std::enable_shared_from_this<JSBridgeImpl> {
 public:
  JSBridgeImpl();
  ~JSBridgeImpl();
  JSBridgeImpl(const JSBridgeImpl&) = delete;
  JSBridgeImpl& operator=(const JSBridgeImpl&) = delete;

  bool Initialize(const JSBridgeConfig& config);
  void Shutdown();
  bool IsInitialized() const { return initialized_.load(); }
  bool IsRunning() const { return running_.load(); }
  // True from the worker's start until it leaves its loop.
  bool IsWorkerAlive() const { return worker_alive_.load(); }
  std::string GetLastError() const;

  // Queues a task; a bridge that is not running drops it without a callback.
  void SubmitTask(std::shared_ptr<Task> task);

  // Delivery of a task's outcome: at most once per task. From inside the V8
  // lock it goes through a one-shot libuv timer (delivery_timer_ms_);
  // otherwise directly, or on a thread of its own when async_callbacks is set.
  void InvokeCallback(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result);
  void InvokeCallbackSync(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result);
  void InvokeCallbackAsync(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result);
  void InvokeCallbackAfterV8Unlock(const std::shared_ptr<Task>& task, const JSResult<JSValue>& result);

  // Conversions used on the worker, inside an open handle scope.
  JSValue SimpleFromV8(v8::Local<v8::Value> value);
  JSValue ConvertV8ObjectToJSValue(v8::Local<v8::Value> value, v8::Local<v8::Context> context);
  v8::Local<v8::Value> SimpleToV8(const JSValue& value);
  static constexpr int kMaxConversionDepth = 2000;

  bool debug() const { return config_.debug_mode; }

  // True once the SDK has asked to end the process (see NodeRuntime): the
  // bridge then answers the call in flight with a failure, refuses the rest
  // as not initialized, and its worker takes the environment down.
  bool HasSdkExited() const { return sdk_exited_.load(); }
  // Bridge mode (bridge_mode_parts.cc). Any thread: pending promise entries
  // are failed at the worker's next turn, ahead of a shutdown.
  void FailPendingPromises();
  // Any thread: the wake function of an event channel (see channel_wake.h).
  void SetChannelWake(const std::string& key, std::function<void()> wake);
  // How start and stop wait in this bridge's mode; fixed once Initialize
  // has built the runtime.
  const LifecyclePacing& Pacing() const { return pacing_; }

 private:
  friend struct DelayedCallback;
  friend class BlockingAwaiter;
  enum class WorkerPhase { Running, Finished, Abandoned, CleanedUp };

  bool InitializeNodeJS();
  void SetLastError(const std::string& text);

  // Worker.
  void WorkerThread();
  void FinishWorker();
  void TaskPass(v8::Isolate* isolate, bool& had_tasks, bool& had_promises);
  void NoV8Pass();
  void DriveEventLoop(bool had_tasks, bool had_promises);
  void ProcessPendingTasks(v8::Isolate* isolate);
  void CheckPendingPromises();
  // Worker only: reads the runtime's exit request into sdk_exited_.
  bool NoticeSdkExit();
  std::string SdkExitText() const;
  // Why a promise wait must end before its promise settles, if it must.
  std::optional<std::string> WaitEndedReason();
  // Answers every queued task as an unavailable bridge, on the calling thread.
  void RefuseQueuedTasks();

  // Task execution (task_execution.cc).
  void ProcessSingleTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context,
                         v8::Isolate* isolate);
  JSResult<JSValue> ExecuteCodeTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context);
  JSResult<JSValue> CallFunctionTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context);
  JSResult<JSValue> LoadModuleTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context);
  JSResult<JSValue> GetGlobalTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context);
  JSResult<JSValue> SetGlobalTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context);
  JSValue ConvertResult(v8::Local<v8::Value> value, const char* origin);
  JSValue ConvertNested(v8::Local<v8::Value> value, v8::Local<v8::Context> context, int depth);

  // Promise resolution (promise_resolution.cc).
  void HandlePromiseResult(v8::Local<v8::Promise> promise, v8::Local<v8::Context> context,
                           const std::shared_ptr<Task>& task);
  JSValue PromiseFromV8(v8::Local<v8::Promise> promise);

  // Bridge mode (bridge_mode_parts.cc): the awaiter, the idle and the
  // channel wake-up of the configured mode, chosen once at initialisation;
  // pending entries answered (or dropped at process exit) when the worker ends.
  void AdoptBridgeMode();
  void AbandonPendingPromises();
  // Start: the fixed pause, or until the worker reports that it owns the
  // isolate. Stop: waits until `joined` is set (10 ms polls, or its signal),
  // at most `limit`; true when it was set.
  void AwaitWorkerStart();
  void SignalWorkerStarted();
  bool AwaitJoin(const std::shared_ptr<JoinSignal>& joined, std::chrono::nanoseconds limit);
  // Wakes the worker's loop from any thread (a no-op once the loop is gone).
  void WakeWorker();

  // Shutdown.
  void CleanupNodeJS();
  void CancelDelayedCallbacks();
  // Delivers the pending delivery timers' outcomes now (the worker is ending).
  void DeliverDelayedCallbacks();

  std::atomic<bool> initialized_{false};
  std::atomic<bool> running_{false};
  std::atomic<bool> worker_alive_{false};
  std::atomic<bool> sdk_exited_{false};
  std::thread::id worker_id_;
  std::string last_error_;
  JSBridgeConfig config_;
  std::thread worker_thread_;
  std::unique_ptr<NodeRuntime> node_runtime_;
  v8::Isolate* isolate_ = nullptr;
  v8::Global<v8::Context> context_;
  // The per-call fixed scripts, compiled once for this environment.
  FixedScripts fixed_scripts_;
  // SDK method calls, compiled once per path for this environment.
  CallTemplates call_templates_;
  // Keeps V8's compilation cache from filling with distinct call scripts.
  ScriptCacheTrim script_cache_trim_;
  uv_loop_t* event_loop_ = nullptr;
  std::shared_ptr<V8ThreadManager> thread_manager_;
  std::shared_ptr<SafeV8Accessor> safe_accessor_;
  std::shared_ptr<TaskQueue> task_queue_;
  uv_async_t async_handle_{};
  // Kept for the non-blocking promise path and the fuller converter; neither
  // is created in this build, and every call site falls back when null.
  std::unique_ptr<PromiseTracker> promise_tracker_;
  std::unique_ptr<TypeConverter> type_converter_;
  mutable std::mutex error_mutex_;
  std::unique_ptr<PromiseAwaiter> awaiter_;
  std::unique_ptr<WorkerIdle> idle_;
  std::shared_ptr<ChannelWakeHub> channel_wakes_;

  // Guards the loop pointer and the async handle between submitters and the
  // thread that tears the loop down.
  std::mutex loop_mutex_;
  // Who tears Node down: the shutting-down thread once the worker has ended,
  // or the worker itself when shutdown gave up waiting or the process exits.
  std::mutex phase_mutex_;
  WorkerPhase worker_phase_ = WorkerPhase::Running;
  // Delivery timers not yet fired; closed without delivery at teardown.
  std::unordered_set<DelayedCallback*> delayed_callbacks_;
  // The delivery timers' timeout, set by AdoptBridgeMode: 1 ms, or 0 ms
  // (the next turn of the loop) when the worker sleeps in libuv.
  uint64_t delivery_timer_ms_ = 1;
  LifecyclePacing pacing_;
  // The worker's start report, for an event-driven start.
  std::mutex started_mutex_;
  std::condition_variable started_cv_;
  bool worker_started_ = false;
};

}  // namespace jsbridge
}  // namespace morvanta
