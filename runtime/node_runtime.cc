#include "runtime/node_runtime.h"

#include <node.h>
#include <uv.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <mutex>
#include <sys/stat.h>

#include "runtime/console_route.h"
#include "runtime/dependency_resolver.h"
#include "runtime/exit_signals.h"
#include "runtime/host_paths.h"
#include "runtime/log.h"
#include "runtime/v8_scope.h"
#include "runtime/v8_thread_manager.h"

namespace morvanta {
namespace jsbridge {

// Works with both forms of the builtin name: Node 18's embedder require knows
// 'module' but not 'node:module'. An SDK error that nobody catches is logged
// instead of ending the host process, which is what Node would do by default.
const char kEnvironmentSetupScript[] = R"JS(
(function () {
  console.log('[NodeRuntime] Setting up Node.js environment...');
  process.on('uncaughtException', function (error) {
    console.error('[NodeRuntime] ⚠️ Uncaught JavaScript exception: ' + ((error && error.stack) || String(error)));
  });
  process.on('unhandledRejection', function (reason) {
    console.error('[NodeRuntime] ⚠️ Unhandled promise rejection: ' + ((reason && reason.stack) || String(reason)));
  });
  var moduleApi;
  try { moduleApi = require('node:module'); } catch (e) { moduleApi = require('module'); }
  globalThis.require = moduleApi.createRequire(process.cwd() + '/');
  if (typeof globalThis.MorvantaSDK !== 'undefined') {
    console.log('[NodeRuntime] WARNING: MorvantaSDK already exists, clearing...');
    delete globalThis.MorvantaSDK;
  }
  if (typeof globalThis.morVantaMeeting !== 'undefined') {
    console.log('[NodeRuntime] WARNING: morVantaMeeting already exists, clearing...');
    delete globalThis.morVantaMeeting;
  }
  console.log('[NodeRuntime] Node.js environment setup completed');
})();
)JS";

namespace {

// Process-wide state. Allocated once and never destroyed, so that nothing of
// it depends on the order in which static objects go away at exit.
struct ProcessState {
  std::mutex mutex;
  std::atomic<bool> node_initialized{false};
  std::atomic<bool> process_exiting{false};
  std::atomic<bool> exit_handler_registered{false};
  std::atomic<int32_t> instance_count{0};
  std::shared_ptr<node::InitializationResult> init_result;
  std::unique_ptr<node::MultiIsolatePlatform> platform;
  // Isolates of the live environments, under `mutex`.
  std::vector<v8::Isolate*> isolates;
  // Exit wake functions of the live instances, under `mutex`.
  std::vector<std::pair<const NodeRuntime*, std::function<void()>>> exit_wakes;
};

// The isolate whose JavaScript this thread runs (a bridge worker), if any. A
// host that calls exit() from a callback runs the exit handler on that very
// thread, which then cannot take its own instance down.
thread_local v8::Isolate* t_owned_isolate = nullptr;

ProcessState& State() {
  static auto* state = new ProcessState;
  return *state;
}

constexpr uint64_t kProcessFlags = node::ProcessFlags::kNoInitializeV8 |
                                   node::ProcessFlags::kNoInitializeNodeV8Platform;  // 0xC0

void DisposeV8() {
  ProcessState& s = State();
  log::Info("[NodeRuntime] Step 1: V8::Dispose()...");
  auto done = std::make_shared<std::atomic<bool>>(false);
  std::thread disposer([done] {
    v8::V8::Dispose();
    done->store(true);
  });
  auto start = std::chrono::steady_clock::now();
  while (!done->load() && std::chrono::steady_clock::now() - start < std::chrono::seconds(2)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (done->load()) {
    disposer.join();
    log::Info("[NodeRuntime] ✅ V8::Dispose() completed");
    log::Info("[NodeRuntime] Step 2: V8::DisposePlatform()...");
    v8::V8::DisposePlatform();
    log::Info("[NodeRuntime] ✅ V8::DisposePlatform() completed");
  } else {
    log::Info("[NodeRuntime] ⚠️ V8::Dispose() timeout after 2 seconds, forcing continue...");
    disposer.detach();
    log::Info("[NodeRuntime] ⚠️ V8::Dispose() timed out, skipping V8::DisposePlatform() to avoid state error...");
    log::Info("[NodeRuntime] ⚠️ V8 cleanup incomplete, but process will exit normally");
  }
  log::Info("[NodeRuntime] Step 3: Skipping platform object destruction...");
  // Deliberately not destroyed: platform threads may still be winding down,
  // and the operating system reclaims everything at exit.
  (void)s.platform.release();
  log::Info("[NodeRuntime] ✅ V8 platform ownership released (OS will cleanup)");
}

// Polls until at most `left` instances remain or `limit` has passed; true
// when the count was reached.
bool WaitForInstances(int32_t left, std::chrono::milliseconds limit) {
  ProcessState& s = State();
  const auto start = std::chrono::steady_clock::now();
  while (s.instance_count.load() > left) {
    if (std::chrono::steady_clock::now() - start > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

// An instance still alive when the exit wait is over runs JavaScript that
// never yields (a promise wait notices the exit by itself and ends). That
// JavaScript is terminated, which V8 allows from any thread, and its worker
// gets a short moment to take the environment down before global cleanup.
void StopRunningJavaScript(int32_t left) {
  ProcessState& s = State();
  size_t stopped = 0;
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    for (v8::Isolate* isolate : s.isolates) {
      if (isolate == t_owned_isolate) continue;
      isolate->TerminateExecution();
      ++stopped;
    }
  }
  if (stopped == 0) return;
  log::Info("[NodeRuntime] ⚠️ Terminating JavaScript still running in ", stopped, " instance(s)");
  WaitForInstances(left, std::chrono::milliseconds(600));
}

// Global cleanup at process exit. Runs once, from atexit or from the signal
// thread, whichever comes first.
void ProcessExitHandler() {
  static std::atomic<bool> ran{false};
  if (ran.exchange(true)) return;
  ProcessState& s = State();
  log::Info("[NodeRuntime] Process exit detected, performing global cleanup...");
  s.process_exiting = true;
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    for (const auto& entry : s.exit_wakes) entry.second();
  }

  // exit() called on a worker (from a callback): that worker's own instance
  // cannot end while this runs, so it is not waited for.
  const int32_t own = t_owned_isolate ? 1 : 0;
  if (own) log::Info("[NodeRuntime] Exit called on a JavaScript worker thread; its own instance is left to the operating system");
  int32_t remaining = s.instance_count.load() - own;
  if (remaining > 0) {
    log::Info("[NodeRuntime] Waiting for ", remaining, " instances to cleanup...");
    if (!WaitForInstances(own, std::chrono::seconds(5))) {
      log::Info("[NodeRuntime] Timeout waiting for instances cleanup, forcing exit");
      StopRunningJavaScript(own);
    }
  }
  log::Info("[NodeRuntime] All instances cleaned up, proceeding with global cleanup...");
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.init_result) {
      try {
        log::Info("[NodeRuntime] Tearing down Node.js process...");
        node::TearDownOncePerProcess();
        log::Info("[NodeRuntime] ✅ Node.js process torn down successfully");
      } catch (const std::exception& e) {
        log::Error("[NodeRuntime] ⚠️ Exception during Node.js teardown: ", e.what());
      } catch (...) {
        log::Error("[NodeRuntime] ⚠️ Unknown exception during Node.js teardown");
      }
      s.init_result.reset();
    }
    if (s.platform) {
      try {
        log::Info("[NodeRuntime] Disposing V8 platform...");
        log::Info("[NodeRuntime] Step 0: Ensuring all isolates are cleaned up...");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (s.instance_count.load() > 0) {
          // An environment is still alive (its owner did not finish in
          // time). Disposing V8 under a live isolate would crash the exit,
          // so V8 is left to the operating system.
          log::Info("[NodeRuntime] ⚠️ Instances still alive, skipping V8::Dispose()");
          (void)s.platform.release();
        } else {
          DisposeV8();
        }
      } catch (const std::exception& e) {
        log::Error("[NodeRuntime] ⚠️ Exception during V8 cleanup: ", e.what());
        log::Error("[NodeRuntime] ⚠️ Skipping platform release due to exception");
      } catch (...) {
        log::Error("[NodeRuntime] ⚠️ Unknown exception during V8 cleanup");
        log::Error("[NodeRuntime] ⚠️ Skipping platform release due to unknown exception");
      }
    }
    s.node_initialized = false;
    log::Info("[NodeRuntime] ✅ Global state reset");
  }
  log::Info("[NodeRuntime] ✅ Global cleanup completed successfully");
  log::FlushAll();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

void RegisterExitHooks() {
  std::atexit(ProcessExitHandler);
  InstallExitSignalHandlers(ProcessExitHandler);
  log::Info("[NodeRuntime] Exit handler registered");
}

bool FileExists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

}  // namespace

bool NodeRuntime::IsProcessExiting() { return State().process_exiting.load(); }
bool NodeRuntime::IsNodeInitialized() { return State().node_initialized.load(); }
int32_t NodeRuntime::InstanceCount() { return State().instance_count.load(); }

NodeRuntime::NodeRuntime() = default;

NodeRuntime::~NodeRuntime() {
  SetExitWake(nullptr);
  Cleanup();
  // A failed Initialize leaves the setup to be destroyed with this object.
  UnregisterIsolate();
}

v8::Isolate* NodeRuntime::GetIsolate() const { return setup_ ? setup_->isolate() : nullptr; }
uv_loop_s* NodeRuntime::GetEventLoop() const { return setup_ ? setup_->event_loop() : nullptr; }
v8::Local<v8::Context> NodeRuntime::GetContext() const {
  return setup_ ? setup_->context() : v8::Local<v8::Context>();
}
node::Environment* NodeRuntime::GetEnvironment() const { return setup_ ? setup_->env() : nullptr; }

bool NodeRuntime::Initialize(const std::vector<std::string>& args) {
  if (initialized_) {
    last_error_ = "Already initialized";
    return false;
  }
  try {
    runtime::EnsureDelayLoadHook();
    // Argument 0: a `node` executable beside the host if there is one
    // (Node reads it as its own path), otherwise the plain name.
    std::string arg0 = "node";
    std::string dir = HostExecutableDir();
    if (!dir.empty() && FileExists(dir + "node")) arg0 = dir + "node";
    // The bridge passes "node" as the only argument, so the vector holds it
    // twice; Node treats the second as the script name and ignores it.
    std::vector<std::string> process_args;
    process_args.push_back(arg0);
    process_args.insert(process_args.end(), args.begin(), args.end());

    if (!InitializeProcess(process_args)) return false;
    AcquirePlatform();
    if (!CreateEnvironmentSetup(process_args)) return false;
    RegisterIsolate();
    // The SDK must never end the host process: process.exit() and its kin
    // reach this handler instead of Node's default, which would exit.
    node::SetProcessExitHandler(setup_->env(),
                                [this](node::Environment* env, int code) { OnSdkExit(env, code); });

    thread_manager_ = std::make_shared<V8ThreadManager>();
    v8::Isolate* isolate = setup_->isolate();
    if (!isolate) {
      log::Error("[NodeRuntime] Cannot initialize V8ThreadManager - no isolate available");
      thread_manager_.reset();
      last_error_ = "Failed to initialize V8 for multi-thread access";
      return false;
    }
    if (!thread_manager_->Initialize(isolate, std::this_thread::get_id())) {
      log::Error("[NodeRuntime] Failed to initialize V8ThreadManager");
      thread_manager_.reset();
      last_error_ = "Failed to initialize V8 for multi-thread access";
      return false;
    }
    if (!LoadEnvironmentScript()) return false;
    initialized_ = true;
    return true;
  } catch (const std::exception& e) {
    last_error_ = std::string("Exception during initialization: ") + e.what();
    log::Error("[NodeRuntime] ", last_error_);
    return false;
  }
}

bool NodeRuntime::InitializeProcess(const std::vector<std::string>& process_args) {
  ProcessState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (!s.node_initialized.load()) {
    log::Info("[NodeRuntime] First-time Node.js initialization...");
    std::shared_ptr<node::InitializationResult> result = node::InitializeOncePerProcess(
        process_args, static_cast<node::ProcessFlags::Flags>(kProcessFlags));
    s.init_result = result;
    if (!result) {
      last_error_ = "Failed to initialize Node.js process";
      return false;
    }
    for (const std::string& err : result->errors()) {
      log::Error("Node.js init error: ", err);
      last_error_ = err;
    }
    if (result->early_return()) {
      last_error_ = "Node.js early return with code: " + std::to_string(result->exit_code());
      return false;
    }
    s.node_initialized = true;
    log::Info("[NodeRuntime] Node.js process initialized successfully");
  } else {
    log::Info("[NodeRuntime] Node.js already initialized, reusing existing process state");
  }
  init_result_ = s.init_result;
  return true;
}

void NodeRuntime::AcquirePlatform() {
  ProcessState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (!s.platform) {
    log::Info("[NodeRuntime] Creating shared V8 platform...");
    s.platform = node::MultiIsolatePlatform::Create(4, nullptr);
    v8::V8::InitializePlatform(s.platform.get());
    v8::V8::Initialize();
    if (!s.exit_handler_registered.exchange(true)) RegisterExitHooks();
  } else {
    log::Info("[NodeRuntime] Reusing existing V8 platform");
  }
  platform_ = s.platform.get();
  s.instance_count.fetch_add(1);
}

bool NodeRuntime::CreateEnvironmentSetup(const std::vector<std::string>& process_args) {
  std::vector<std::string> errors;
  const std::vector<std::string>& env_args = init_result_ ? init_result_->args() : process_args;
  const std::vector<std::string> no_exec_args;
  const std::vector<std::string>& exec_args = init_result_ ? init_result_->exec_args() : no_exec_args;
  // The environment owns the process state but not the inspector: with the
  // inspector (as the default flags would have it) Node starts a SIGUSR1
  // watchdog thread for every environment and never ends it, so each
  // re-initialisation would leave one more thread behind. The bridge passes
  // no inspector options, so nothing is lost.
  setup_ = node::CommonEnvironmentSetup::Create(
      platform_, &errors, env_args, exec_args,
      static_cast<node::EnvironmentFlags::Flags>(node::EnvironmentFlags::kOwnsProcessState),
      node::ThreadId{});
  if (!setup_) {
    for (const std::string& err : errors) {
      log::Error("Environment setup error: ", err);
      last_error_ = err;
    }
    if (last_error_.empty()) last_error_ = "Environment setup failed";
    return false;
  }
  return true;
}

bool NodeRuntime::LoadEnvironmentScript() {
  v8::Isolate* isolate = setup_->isolate();
  bool loaded = false;
  {
    DirectV8Scope scope(isolate);
    scope.EnterContext(setup_->context());
    log::Info("[NodeRuntime] Initializing Node.js environment...");
    InstallConsoleRoute(isolate, setup_->context());
    v8::MaybeLocal<v8::Value> result = node::LoadEnvironment(setup_->env(), kEnvironmentSetupScript);
    loaded = !result.IsEmpty();
  }
  if (!loaded) last_error_ = "Failed to initialize Node.js environment";
  return loaded;
}

void NodeRuntime::OnSdkExit(node::Environment* env, int code) {
  if (!sdk_exit_requested_.load()) {
    sdk_exit_code_ = code;
    sdk_exit_requested_ = true;
    log::Error("[NodeRuntime] ❌ The SDK tried to exit the process with code ", code,
               "; the process goes on and this instance's JavaScript is stopped");
  }
  // Terminates the JavaScript that called exit and keeps the environment
  // from calling into JavaScript again.
  node::Stop(env);
}

void NodeRuntime::SetExitWake(std::function<void()> wake) {
  ProcessState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  auto& wakes = s.exit_wakes;
  wakes.erase(std::remove_if(wakes.begin(), wakes.end(), [this](const auto& e) { return e.first == this; }),
              wakes.end());
  if (wake) wakes.emplace_back(this, std::move(wake));
}

void NodeRuntime::RegisterIsolate() {
  ProcessState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (registered_ || !setup_ || !setup_->isolate()) return;
  s.isolates.push_back(setup_->isolate());
  registered_ = true;
}

void NodeRuntime::UnregisterIsolate() {
  ProcessState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (!registered_) return;
  v8::Isolate* isolate = setup_ ? setup_->isolate() : nullptr;
  s.isolates.erase(std::remove(s.isolates.begin(), s.isolates.end(), isolate), s.isolates.end());
  if (t_owned_isolate == isolate) t_owned_isolate = nullptr;
  registered_ = false;
}

bool NodeRuntime::TransferOwnership(std::thread::id thread_id) {
  if (!thread_manager_) {
    log::Error("[NodeRuntime] V8ThreadManager not initialized");
    return false;
  }
  if (!thread_manager_->TransferOwnership(thread_id)) return false;
  if (thread_id == std::this_thread::get_id()) t_owned_isolate = GetIsolate();
  return true;
}

void NodeRuntime::DriveEventLoop() {
  if (!initialized_ || !setup_ || !setup_->event_loop()) return;
  log::FlushStdout();  // microtasks and timers run JavaScript
  v8::Isolate* isolate = setup_->isolate();
  {
    DirectV8Scope scope(isolate);
    scope.EnterContext(setup_->context());
    isolate->PerformMicrotaskCheckpoint();
  }
  uv_run(setup_->event_loop(), UV_RUN_NOWAIT);
  {
    DirectV8Scope scope(isolate);
    scope.EnterContext(setup_->context());
    isolate->PerformMicrotaskCheckpoint();
  }
}

void NodeRuntime::Cleanup() {
  if (!initialized_) return;
  SetExitWake(nullptr);
  try {
    if (setup_ && setup_->event_loop()) {
      log::Info("[NodeRuntime] Stopping event loop...");
      uv_stop(setup_->event_loop());
      uv_run(setup_->event_loop(), UV_RUN_NOWAIT);
    }
    if (v8::Isolate* isolate = GetIsolate()) {
      log::Info("[NodeRuntime] Cleaning up V8 context...");
      DirectV8Scope scope(isolate);
      isolate->PerformMicrotaskCheckpoint();
    }
    if (thread_manager_) {
      log::Info("[NodeRuntime] Shutting down V8ThreadManager...");
      thread_manager_->Shutdown();
      thread_manager_.reset();
    }
    if (node::Environment* env = GetEnvironment()) {
      try {
        log::Info("[NodeRuntime] Stopping Node.js environment...");
        node::Stop(env, node::StopFlags::kNoFlags);
        log::Info("[NodeRuntime] Note: CommonEnvironmentSetup destructor will call RunCleanup() automatically");
      } catch (const std::exception& e) {
        log::Error("[NodeRuntime] Exception during cleanup: ", e.what());
      }
    }
    log::Info("[NodeRuntime] Resetting Node.js environment setup...");
    UnregisterIsolate();
    setup_.reset();

    ProcessState& s = State();
    {
      std::lock_guard<std::mutex> lock(s.mutex);
      int32_t remaining = s.instance_count.fetch_sub(1) - 1;
      log::Info("[NodeRuntime] Remaining instances: ", remaining);
      if (s.process_exiting.load()) {
        log::Info("[NodeRuntime] Process exit requested, allowing global cleanup");
      } else if (remaining == 0) {
        log::Info("[NodeRuntime] Last instance, keeping global resources for potential re-initialization");
        log::Info("[NodeRuntime] Note: Global resources will be cleaned up on process exit");
      } else {
        log::Info("[NodeRuntime] Keeping global resources for remaining instances");
      }
      platform_ = nullptr;
    }
    init_result_.reset();
    log::Info("[NodeRuntime] Preserving Node.js global state for re-initialization");
    initialized_ = false;
  } catch (const std::exception& e) {
    log::Error("[NodeRuntime] Exception during cleanup: ", e.what());
    initialized_ = false;
  }
}

}  // namespace jsbridge
}  // namespace morvanta
