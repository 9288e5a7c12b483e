#include "bridge/js_bridge_adapter.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sstream>

#include "bridge/js_bridge.h"
#include "bridge/js_value.h"
#include "bridge/script_writer.h"
#include "runtime/host_paths.h"
#include "runtime/log.h"
#include "runtime/node_runtime.h"

namespace morvanta {

namespace jb = jsbridge;

JSBridgeAdapter::JSBridgeAdapter() : bridge(std::make_shared<jb::JSBridge>()) {
  log::Info("[JSBridgeAdapter] Created with JSBridge2 backend");
}

JSBridgeAdapter::~JSBridgeAdapter() {
  bool wasInitialized = IsInitialized();
  log::Info("[JSBridgeAdapter] 🔍 Destructor called, initialized_ = ", wasInitialized ? "true" : "false");
  if (wasInitialized) {
    log::Info("[JSBridgeAdapter] ⚠️ Still initialized, calling Cleanup()...");
    Cleanup();
  } else {
    log::Info("[JSBridgeAdapter] ✅ Not initialized, skipping Cleanup()");
  }
  log::Info("[JSBridgeAdapter] 🔍 Destructor completed");
}

void JSBridgeAdapter::SetError(const std::string& text) {
  std::lock_guard<std::mutex> lock(errorMutex);
  lastError = text;
}

std::string JSBridgeAdapter::GetLastError() const {
  std::lock_guard<std::mutex> lock(errorMutex);
  return lastError;
}

bool JSBridgeAdapter::IsInitialized() const {
  std::lock_guard<std::mutex> lock(stateMutex);
  return initialized;
}

bool JSBridgeAdapter::Initialize(const JSBridgeAdapterConfig& config) {
  log::Info("[JSBridgeAdapter] Initializing with JSBridge2...");
  std::shared_ptr<jb::JSBridge> current;
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    if (initialized) {
      SetError("Already initialized");
      return false;
    }
  }
  jb::JSBridgeConfig bridgeConfig;
  bridgeConfig.sdk_path = config.sdkPath;
  bridgeConfig.debug_mode = config.debug;
  bridgeConfig.worker_thread_pool_size = 4;
  bridgeConfig.default_timeout_ms = 30000;
  bridgeConfig.async_callbacks = false;
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    if (!bridge) bridge = std::make_shared<jb::JSBridge>();
    current = bridge;
  }
  if (!current) {
    SetError("JSBridge instance is null");
    return false;
  }
  if (!current->Initialize(bridgeConfig)) {
    SetError("Failed to initialize JSBridge");
    return false;
  }
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    initialized = true;
  }
  log::Info("[JSBridgeAdapter] ✅ Initialization successful");
  if (!LoadSDKFile(config.sdkPath)) {
    SetError("Failed to load SDK file: " + config.sdkPath);
    return false;
  }
  return true;
}

bool JSBridgeAdapter::LoadSDKFile(const std::string& requested) {
  std::string path = requested;
  if (path.empty()) {
    // Hosts whose executable is an interpreter (python3, say) cannot put
    // index.js beside it; they name the file in MORVANTA_SDK_PATH instead.
    const char* fromEnv = std::getenv("MORVANTA_SDK_PATH");
    if (fromEnv && *fromEnv) {
      path = fromEnv;
      log::Info("[JSBridgeAdapter] Using SDK path from MORVANTA_SDK_PATH: ", path);
    } else {
      std::string dir = HostExecutableDir();
      path = dir.empty() ? "./index.js" : dir + "index.js";
      log::Info("[JSBridgeAdapter] Using default SDK path: ", path);
    }
  }
  if (!std::ifstream(path)) {
    log::Error("[JSBridgeAdapter] ❌ SDK file not found: ", path);
    return false;
  }
  log::Info("[JSBridgeAdapter] Loading SDK file: ", path);
  std::shared_ptr<jb::JSBridge> current = AcquireBridge();
  if (!current) {
    log::Error("[JSBridgeAdapter] ❌ Cannot load SDK: JSBridge not initialized");
    return false;
  }
  std::string scriptPath = path;
  for (char& c : scriptPath)
    if (c == '\\') c = '/';
  // Only backslashes are rewritten: a path holding an apostrophe breaks the script.
  const std::string script = "require('" + scriptPath + "')";

  // Shared with the callback, which may arrive after the wait has given up.
  struct LoadState {
    std::mutex mutex;
    std::condition_variable cv;
    bool done = false;
    bool success = false;
    std::string error;
  };
  auto state = std::make_shared<LoadState>();
  Submit(current, script, [state](const JSResult& result) {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->success = result.success;
    if (!result.success) state->error = result.error.empty() ? "Unknown error" : result.error;
    state->done = true;
    state->cv.notify_all();
  });
  std::unique_lock<std::mutex> lock(state->mutex);
  if (!state->cv.wait_for(lock, std::chrono::milliseconds(kSdkLoadTimeoutMs), [&] { return state->done; })) {
    log::Error("[JSBridgeAdapter] ❌ SDK loading timeout after 5 seconds");
    return false;
  }
  if (state->success) {
    log::Info("[JSBridgeAdapter] ✅ SDK loaded successfully");
    return true;
  }
  log::Error("[JSBridgeAdapter] ❌ Failed to load SDK: ", state->error);
  return false;
}

std::shared_ptr<jb::JSBridge> JSBridgeAdapter::AcquireBridge() {
  std::lock_guard<std::mutex> lock(stateMutex);
  if (!initialized || !bridge) return nullptr;
  activeCalls->count.fetch_add(1);
  return bridge;
}

JSCallback JSBridgeAdapter::MakeGuardedCallback(JSCallback callback) {
  // The guard ends the call's count when the wrapper has run (or is dropped).
  std::shared_ptr<ActiveCalls> calls = activeCalls;
  std::shared_ptr<void> guard(nullptr, [calls](void*) {
    std::lock_guard<std::mutex> lock(calls->mutex);
    calls->count.fetch_sub(1);
    calls->cv.notify_all();
  });
  return [callback = std::move(callback), guard](const JSResult& result) mutable {
    if (callback) callback(result);
    guard.reset();
  };
}

void JSBridgeAdapter::Submit(const std::shared_ptr<jb::JSBridge>& current, const std::string& script,
                             JSCallback callback, const std::string& path, std::vector<jb::JSValue> args) {
  JSCallback guarded = MakeGuardedCallback(std::move(callback));
  current->ExecuteCall(script, path, std::move(args), [guarded](const jb::JSResult<jb::JSValue>& result) mutable {
    JSResult converted;
    converted.success = result.success;
    if (result.success && result.value) converted.value = FromBridgeValue(*result.value);
    if (!result.success && result.error) converted.error = result.error->message;
    guarded(converted);
  });
}

void JSBridgeAdapter::ExecuteJS(const std::string& script, JSCallback callback) {
  std::shared_ptr<jb::JSBridge> current = AcquireBridge();
  if (!current) {
    if (callback) callback(JSResult{false, JSValue(), "JSBridge not initialized"});
    return;
  }
  Submit(current, script, std::move(callback));
}

void JSBridgeAdapter::CallFunction(const std::string& functionPath, const std::vector<JSValue>& args,
                                   JSCallback callback) {
  std::shared_ptr<jb::JSBridge> current = AcquireBridge();
  if (!current) {
    if (callback) callback(JSResult{false, JSValue(), "JSBridge not initialized"});
    return;
  }
  std::vector<jb::JSValue> bridgeArgs;
  bridgeArgs.reserve(args.size());
  for (const JSValue& arg : args) bridgeArgs.push_back(ToBridgeValue(arg));
  const std::string script = jb::BuildCallScript(functionPath, bridgeArgs);
  Submit(current, script, std::move(callback), functionPath, std::move(bridgeArgs));
}

void JSBridgeAdapter::Cleanup() {
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    initialized = false;
    if (!bridge) return;
  }
  {
    // Calls in flight finish first; a worker that has ended will deliver
    // nothing more, so the wait also ends when it is gone.
    std::shared_ptr<jb::JSBridge> current;
    {
      std::lock_guard<std::mutex> lock(stateMutex);
      current = bridge;
    }
    if (current) current->FailPendingPromises();
    // Nor is there anything to wait for while the process exits: a host that
    // called exit() from a callback holds that very call open on the worker.
    std::unique_lock<std::mutex> lock(activeCalls->mutex);
    while (activeCalls->count.load() > 0) {
      if (current && !current->IsWorkerAlive()) break;
      if (jb::NodeRuntime::IsProcessExiting()) break;
      activeCalls->cv.wait_for(lock, std::chrono::milliseconds(100));
    }
  }
  std::shared_ptr<jb::JSBridge> taken;
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    taken = std::move(bridge);
  }
  if (taken && taken->IsInitialized()) taken->Shutdown();
}

void JSBridgeAdapter::SetChannelWake(const std::string& key, std::function<void()> wake) {
  std::shared_ptr<jb::JSBridge> current;
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    current = bridge;
  }
  if (current) current->SetChannelWake(key, std::move(wake));
}

jb::LifecyclePacing JSBridgeAdapter::Pacing() const {
  std::lock_guard<std::mutex> lock(stateMutex);
  return initialized && bridge ? bridge->Pacing() : jb::LifecyclePacing();
}

bool JSBridgeAdapter::AwaitQueuedWork(std::chrono::milliseconds limit) {
  // Scripts run in the order they were queued and their immediate answers
  // leave in that order, so this script's answer comes after theirs.
  struct Shared {
    std::mutex mutex;
    std::condition_variable cv;
    bool done = false;
    bool ran = false;
  };
  auto shared = std::make_shared<Shared>();
  ExecuteJS("0", [shared](const JSResult& result) {
    std::lock_guard<std::mutex> lock(shared->mutex);
    shared->done = true;
    shared->ran = result.success;
    shared->cv.notify_all();
  });
  std::unique_lock<std::mutex> lock(shared->mutex);
  return shared->cv.wait_for(lock, limit, [&] { return shared->done; }) && shared->ran;
}

std::string JSBridgeAdapter::GetDiagnosticReport() const {
  std::ostringstream report;
  report << "=== JSBridgeAdapter Initialization Report ===\n";
  std::shared_ptr<jb::JSBridge> current;
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    report << "Status: " << (initialized ? "✅ Initialized" : "❌ Not Initialized") << "\n";
    current = bridge;
  }
  report << "JSBridge Available: " << (current ? "✅ Yes" : "❌ No") << "\n";
  if (current) {
    try {
      report << "JSBridge Initialized: " << (current->IsInitialized() ? "✅ Yes" : "❌ No") << "\n";
    } catch (...) {
      report << "JSBridge Initialized: ❌ Error checking (may be shutting down)\n";
    }
  }
  std::string error = GetLastError();
  if (!error.empty()) report << "Last Error: " << error << "\n";
  report << "==============================================";
  return report.str();
}

jb::JSValue JSBridgeAdapter::ToBridgeValue(const JSValue& value) {
  jb::JSValue out;
  switch (value.type) {
    case JSValueType::Undefined: out.type = jb::JSValueType::Undefined; break;
    case JSValueType::Null: out.type = jb::JSValueType::Null; break;
    case JSValueType::Boolean: out = jb::JSValue(value.boolValue); break;
    case JSValueType::Number: out = jb::JSValue(value.numberValue); break;
    case JSValueType::String: out = jb::JSValue(value.stringValue); break;
    case JSValueType::Array:
      out.type = jb::JSValueType::Array;
      for (const JSValue& element : value.arrayValue) out.array_value.push_back(ToBridgeValue(element));
      break;
    case JSValueType::Object:
      out.type = jb::JSValueType::Object;
      for (const auto& [key, member] : value.objectValue) out.object_value[key] = ToBridgeValue(member);
      break;
    case JSValueType::Binary:
      // A view of the product value's bytes: valid while `value` lives.
      out.type = jb::JSValueType::Buffer;
      out.buffer_value.data = value.binaryValue.empty() ? nullptr : value.binaryValue.data();
      out.buffer_value.size = value.binaryValue.size();
      break;
  }
  return out;
}

JSValue JSBridgeAdapter::FromBridgeValue(const jb::JSValue& value) {
  JSValue out;
  switch (value.type) {
    case jb::JSValueType::Null: out = JSValue::Null(); break;
    case jb::JSValueType::Boolean: out = JSValue(value.bool_value); break;
    case jb::JSValueType::Number: out = JSValue(value.number_value); break;
    case jb::JSValueType::String: out = JSValue(value.string_value); break;
    case jb::JSValueType::Array:
      out = JSValue::Array();
      for (const jb::JSValue& element : value.array_value) out.arrayValue.push_back(FromBridgeValue(element));
      break;
    case jb::JSValueType::Object:
      out = JSValue::Object();
      for (const auto& [key, member] : value.object_value) out.objectValue[key] = FromBridgeValue(member);
      break;
    case jb::JSValueType::Buffer:
      out = JSValue::Binary(value.buffer_value.data, static_cast<size_t>(value.buffer_value.size));
      break;
    default: break;  // undefined, and functions, which have no product form
  }
  return out;
}

}  // namespace morvanta
