// Embedded Node.js: the process-wide state (process initialisation, the V8
// platform, V8 itself) that can be brought up only once per process, and one
// environment (isolate, context, libuv loop) per instance. The process-wide
// part outlives every instance so that the library can be initialised again;
// it is released only by the exit handler (normal exit, SIGINT or SIGHUP).
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <v8.h>

struct uv_loop_s;

namespace node {
class CommonEnvironmentSetup;
class Environment;
class InitializationResult;
class MultiIsolatePlatform;
}  // namespace node

namespace morvanta {
namespace jsbridge {

class V8ThreadManager;

class NodeRuntime {
 public:
  NodeRuntime();
  ~NodeRuntime();
  NodeRuntime(const NodeRuntime&) = delete;
  NodeRuntime& operator=(const NodeRuntime&) = delete;

  // Brings up process state on first use, then a fresh environment. On false,
  // GetLastError() holds the reason.
  bool Initialize(const std::vector<std::string>& args);
  // Ends this instance. Runs on whichever thread holds the isolate's
  // ownership de facto (the shutting-down thread after the worker ended).
  void Cleanup();

  bool IsInitialized() const { return initialized_; }
  const std::string& GetLastError() const { return last_error_; }
  v8::Isolate* GetIsolate() const;
  uv_loop_s* GetEventLoop() const;
  v8::Local<v8::Context> GetContext() const;
  node::Environment* GetEnvironment() const;
  std::shared_ptr<V8ThreadManager> GetThreadManager() const { return thread_manager_; }
  bool TransferOwnership(std::thread::id thread_id);

  // One turn of microtasks and libuv, used while a promise is awaited.
  void DriveEventLoop();

  // The SDK asked to end the process (process.exit, process.reallyExit, or
  // Node's own exit on an error its handlers threw). The host process is
  // never ended for it: the request is logged, the environment is stopped
  // (JavaScript running at that moment is terminated), and the bridge reads
  // it here and stops serving. Set once; the first code is kept.
  bool SdkExitRequested() const { return sdk_exit_requested_.load(); }
  int SdkExitCode() const { return sdk_exit_code_.load(); }

  // Called (under the process-wide lock, from the exit handler's thread)
  // when the process starts to exit, so an owner whose thread sleeps until
  // something wakes it notices the exit at once. Empty removes it; after
  // that returns, the function is not called any more. It must not block.
  void SetExitWake(std::function<void()> wake);

  // Process-wide facts.
  static bool IsProcessExiting();
  static bool IsNodeInitialized();
  static int32_t InstanceCount();

 private:
  bool InitializeProcess(const std::vector<std::string>& process_args);
  void AcquirePlatform();
  bool CreateEnvironmentSetup(const std::vector<std::string>& process_args);
  bool LoadEnvironmentScript();
  void OnSdkExit(node::Environment* env, int code);
  // Adds the isolate to, or removes it from, the process-wide list that the
  // exit handler stops JavaScript in when it has waited out its time.
  void RegisterIsolate();
  void UnregisterIsolate();

  bool initialized_ = false;
  std::string last_error_;
  std::shared_ptr<node::InitializationResult> init_result_;
  node::MultiIsolatePlatform* platform_ = nullptr;
  std::unique_ptr<node::CommonEnvironmentSetup> setup_;
  std::shared_ptr<V8ThreadManager> thread_manager_;
  std::atomic<bool> sdk_exit_requested_{false};
  std::atomic<int> sdk_exit_code_{0};
  bool registered_ = false;  // guarded by the process-wide mutex
};

// The script run by LoadEnvironment in every new environment.
extern const char kEnvironmentSetupScript[];

}  // namespace jsbridge
}  // namespace morvanta
