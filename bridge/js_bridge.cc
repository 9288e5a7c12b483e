#include "bridge/js_bridge.h"

#include <exception>

#include "bridge/js_bridge_impl.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {

bool ValidateBridgeConfig(const JSBridgeConfig& config) {
  if (config.worker_thread_pool_size < 1 || config.worker_thread_pool_size > 32) {
    log::Error("[JSBridge] Invalid worker_thread_pool_size: ", config.worker_thread_pool_size,
               " (must be 1-32)");
    return false;
  }
  if (config.default_timeout_ms < 100 || config.default_timeout_ms > 300000) {
    log::Error("[JSBridge] Invalid default_timeout_ms: ", config.default_timeout_ms,
               " (must be 100-300000)");
    return false;
  }
  for (const std::string& arg : config.node_args) {
    if (arg.empty()) {
      log::Error("[JSBridge] Empty Node.js argument found");
      return false;
    }
    if (arg.find("--inspect") != std::string::npos && !config.debug_mode) {
      log::Error("[JSBridge] Inspector arguments require debug mode");
      return false;
    }
  }
  if (!config.sdk_path.empty() && config.sdk_path.find_first_not_of(" \t\n\r") == std::string::npos) {
    log::Error("[JSBridge] SDK path contains only whitespace");
    return false;
  }
  return true;
}

JSBridge::JSBridge() : impl_(std::make_shared<JSBridgeImpl>()) {}

JSBridge::~JSBridge() {
  try {
    if (initialized_.load()) {
      log::Info("[JSBridge] ⚠️ Still initialized, calling Shutdown()...");
      Shutdown();
    } else {
      log::Info("[JSBridge] ✅ Not initialized, skipping Shutdown()");
    }
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Exception in destructor: ", e.what());
  } catch (...) {
    log::Error("[JSBridge] Unknown exception in destructor");
  }
  impl_.reset();
}

bool JSBridge::Initialize(const JSBridgeConfig& config) {
  try {
    if (!impl_) {
      log::Error("[JSBridge] Error: Bridge implementation not available");
      return false;
    }
    if (initialized_.load()) {
      log::Error("[JSBridge] Error: Bridge is already initialized");
      return false;
    }
    if (!ValidateBridgeConfig(config)) {
      log::Error("[JSBridge] Error: Invalid configuration provided");
      return false;
    }
    bool ok = impl_->Initialize(config);
    if (ok) {
      log::Info("[JSBridge] Bridge initialized successfully");
    } else {
      log::Error("[JSBridge] Error: Implementation initialization failed: ", impl_->GetLastError());
    }
    initialized_ = ok;
    return ok;
  } catch (const std::exception& e) {
    log::Error("[JSBridge] Exception during initialization: ", e.what());
  } catch (...) {
    log::Error("[JSBridge] Unknown exception during initialization");
  }
  initialized_ = false;
  return false;
}

void JSBridge::Shutdown() {
  if (!impl_) return;
  impl_->Shutdown();
  initialized_ = false;
}

bool JSBridge::IsInitialized() const {
  return initialized_.load() && impl_ && impl_->IsInitialized();
}

bool JSBridge::IsWorkerAlive() const { return impl_ && impl_->IsWorkerAlive(); }

std::string JSBridge::GetLastError() const { return impl_ ? impl_->GetLastError() : std::string(); }

void JSBridge::ExecuteCode(const std::string& code, ValueCallback callback) {
  ExecuteCall(code, std::string(), {}, std::move(callback));
}

void JSBridge::ExecuteCall(const std::string& code, const std::string& path, std::vector<JSValue> args,
                           ValueCallback callback) {
  auto refuse = [&](int32_t code_number, std::string text) {
    if (callback) callback(JSResult<JSValue>::Failure(MakeError(std::move(text), code_number)));
  };
  try {
    if (code.empty()) return refuse(-1, "Empty JavaScript code provided");
    if (code.size() > kMaxCodeBytes) return refuse(-2, "JavaScript code too large (>1MB)");
    if (!IsInitialized()) return refuse(-3, "Bridge not initialized");
    auto task = std::make_shared<Task>();
    task->type = TaskType::ExecuteCode;
    task->code = code;
    task->call_path = path;
    task->args = std::move(args);
    task->js_callback = callback;  // kept here too, for a refusal below
    impl_->SubmitTask(std::move(task));
  } catch (const std::exception& e) {
    refuse(-4, std::string("Failed to submit task: ") + e.what());
  } catch (...) {
    refuse(-3, "Bridge not initialized (shutting down)");
  }
}

void JSBridge::FailPendingPromises() {
  if (impl_ && IsInitialized()) impl_->FailPendingPromises();
}

LifecyclePacing JSBridge::Pacing() const {
  return impl_ && initialized_.load() ? impl_->Pacing() : LifecyclePacing();
}

void JSBridge::SetChannelWake(const std::string& key, std::function<void()> wake) {
  if (impl_) impl_->SetChannelWake(key, std::move(wake));
}

}  // namespace jsbridge
}  // namespace morvanta
