// Bringing the whole stack up and down: dependency check, bridge, product
// object, SDK handle. Reported step by step on the log.
#include <chrono>
#include <cstring>
#include <ctime>
#include <thread>

#include "capi/call_frame.h"
#include "capi/dispatch_mode.h"
#include "capi/dispatch_queue.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "runtime/dependency_resolver.h"

namespace morvanta {
namespace capi {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kTag[] = "[Gatherdeck C API]";

long long MsSince(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

const char* Shown(const char* s) { return s ? s : "<null>"; }
const char* YesNo(bool b) { return b ? "yes" : "no"; }

MvGatherdeckInitConfig ConvertConfig(const MorvantaInitConfig& c) {
  MvGatherdeckInitConfig out;
  if (c.app_key) out.appKey = c.app_key;
  if (c.log_path) {
    log::Info("[ConvertConfig] log_path string: '", c.log_path, "'");
    log::Info("[ConvertConfig] log_path length: ", std::strlen(c.log_path));
  } else {
    log::Info("[ConvertConfig] log_path is null");
  }
  if (c.log_path && *c.log_path) {
    out.logPath = c.log_path;
    log::Info("[ConvertConfig] Set cpp_config.logPath to: '", out.logPath, "'");
  } else {
    log::Info("[ConvertConfig] Did not set cpp_config.logPath");
  }
  if (c.server_url) out.serverUrl = c.server_url;
  if (c.use_asset_server_config >= 0) out.useAssetServerConfig = c.use_asset_server_config > 0;
  if (c.locale) out.locale = c.locale;
  return out;
}

void LogTroubleshooting(std::initializer_list<const char*> lines) {
  log::Info(kTag, " 💡 Troubleshooting:");
  for (const char* line : lines) log::Info(line);
}

int32_t Initialize(const MorvantaInitConfig* config, MorvantaSDK_T** out_handle) {
  const auto start = Clock::now();
  log::Info("[Gatherdeck C API] ========================================");
  log::Info("[Gatherdeck C API] 🚀 Morvanta_Initialize");
  std::time_t now = std::time(nullptr);
  char stamp[64] = {0};
  std::strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", std::localtime(&now));
  log::Info(kTag, " Time: ", stamp);
  log::Info("[Gatherdeck C API] Version: Enhanced with dependency management");
  if (out_handle) *out_handle = nullptr;
  try {
    log::Info(kTag, " 📝 Step 1: Validating parameters...");
    if (!config) {
      log::Error("[Gatherdeck C API] ❌ Invalid parameter: config is NULL");
      log::Error(kTag, " 💡 Pass a MorvantaInitConfig with at least app_key and log_path set");
      return -1;
    }
    if (!config->app_key || !*config->app_key) {
      log::Error("[Gatherdeck C API] ❌ Invalid parameter: app_key is required");
      return -1;
    }
    log::Info(kTag, "   app_key: ", config->app_key);
    log::Info(kTag, "   log_path: ", Shown(config->log_path));
    log::Info(kTag, "   server_url: ", Shown(config->server_url));
    log::Info(kTag, "   locale: ", Shown(config->locale));
    log::Info(kTag, "   use_asset_server_config: ", config->use_asset_server_config);
    log::Info(kTag, "   debug: ", config->debug);

    log::Info(kTag, " 🔍 Step 2: Checking current state...");
    log::Info(kTag, "   g_gatherdeck: ", g_gatherdeck ? "not null" : "null");
    log::Info(kTag, "   g_bridge: ", g_bridge ? "not null" : "null");
    if (g_gatherdeck && g_gatherdeck->IsInitialized()) {
      log::Info("[Gatherdeck C API] ⚠️ SDK already initialized");
      if (out_handle && g_sdk_handle) *out_handle = g_sdk_handle.get();
      return -3;
    }

    BeginSessionDispatch();

    log::Info(kTag, " 🔍 Step 3: Checking runtime dependencies...");
    runtime::DependencyConfig deps;
    deps.morvanta_build_path = ".";
    deps.demo_output_path = ".";
    deps.verbose = config->debug != 0;
    runtime::DependencyResult checked = runtime::DependencyResolver::Resolve(deps);
    if (!checked.success) {
      log::Info("[Gatherdeck C API] ⚠️ Dependency validation failed: ", checked.error);
      log::Info("[Gatherdeck C API] Continuing with initialization (dependencies may be available elsewhere)...");
    }

    log::Info(kTag, " 🌉 Step 4: Starting the JavaScript bridge...");
    const auto step4 = Clock::now();
    if (!g_bridge) g_bridge = std::make_shared<JSBridgeAdapter>();
    if (!g_bridge->IsInitialized()) {
      JSBridgeAdapterConfig adapterConfig;
      adapterConfig.appKey = config->app_key;
      adapterConfig.debug = config->debug > 0;
      adapterConfig.locale = (config->locale && *config->locale) ? config->locale : "zh-CN";
      if (!g_bridge->Initialize(adapterConfig)) {
        log::Error(kTag, " ❌ JSBridge initialization failed after ", MsSince(step4), "ms");
        log::Error(kTag, " Last error: ", g_bridge->GetLastError());
        log::Error(g_bridge->GetDiagnosticReport());
        LogTroubleshooting({"  1. Check if all required DLLs are present (morvanta.dll, libnode.dll, node.exe)",
                            "  2. Verify SDK entry file exists and is valid JavaScript",
                            "  3. Ensure proper PATH configuration for DLL loading",
                            "  4. Check if Node.js runtime components are properly installed"});
        g_bridge.reset();
        return -999;
      }
    } else {
      log::Info("[Gatherdeck C API] JSBridgeAdapter already initialized");
    }

    log::Info(kTag, " 🏗️ Step 5: Creating the product object...");
    if (!g_gatherdeck)
      g_gatherdeck = std::make_shared<MvGatherdeck>(g_bridge);
    else
      log::Info("[Gatherdeck C API] Using existing Gatherdeck instance");

    log::Info(kTag, " 🔄 Step 6: Converting configuration...");
    MvGatherdeckInitConfig native = ConvertConfig(*config);

    log::Info(kTag, " 🚀 Step 7: Initializing the SDK...");
    const auto step7 = Clock::now();
    MvResult<void> result = g_gatherdeck->Initialize(native);
    if (!result.IsSuccess()) {
      log::Error(kTag, " ❌ SDK initialization failed after ", MsSince(step7), "ms");
      log::Error(kTag, "   code: ", result.code);
      log::Error(kTag, "   message: ", result.message);
      LogTroubleshooting({"  1. Check that app_key is valid", "  2. Check that log_path is set and writable",
                          "  3. Check server_url and locale formats",
                          "  4. Check the SDK's own log lines above"});
      if (g_bridge) {
        log::Error(kTag, "   JSBridge initialized: ", YesNo(g_bridge->IsInitialized()));
        log::Error(kTag, "   JSBridge last error: ", g_bridge->GetLastError());
      }
      log::Info("[Gatherdeck C API] Cleaning up after initialization failure (soft cleanup)...");
      g_gatherdeck.reset();
      g_bridge.reset();
      return result.code;
    }

    log::Info(kTag, " 🔑 Step 8: Preparing the SDK handle...");
    if (!g_sdk_handle) {
      g_sdk_handle = std::make_shared<MorvantaSDK_T>();
      log::Info("[Gatherdeck C API] Created new SDK handle");
    } else {
      log::Info("[Gatherdeck C API] Using existing SDK handle");
    }
    g_sdk_handle->gatherdeck = g_gatherdeck;
    g_sdk_handle->ResetManagers();
    if (out_handle) *out_handle = g_sdk_handle.get();

    log::Info(kTag, " ✅ Step 9: Initialization completed in ", MsSince(start), "ms");
    log::Info(kTag, " Final state:");
    log::Info("  JSBridge initialized: ", YesNo(g_bridge && g_bridge->IsInitialized()));
    log::Info("  Gatherdeck initialized: ", YesNo(g_gatherdeck && g_gatherdeck->IsInitialized()));
    log::Info("  SDK handle created: ", YesNo(g_sdk_handle != nullptr));
    return 0;
  } catch (const std::exception& e) {
    log::Error("[Gatherdeck C API] ❌ Exception after ", MsSince(start), "ms: ", e.what());
  } catch (...) {
    log::Error("[Gatherdeck C API] ❌ Exception after ", MsSince(start), "ms: unknown");
  }
  log::Info("[Gatherdeck C API] 🧹 Performing exception cleanup...");
  g_sdk_handle.reset();
  log::Info("[Gatherdeck C API] SDK handle cleaned up");
  try {
    if (g_gatherdeck && g_gatherdeck->IsInitialized()) g_gatherdeck->UnInitialize();
    g_gatherdeck.reset();
    log::Info("[Gatherdeck C API] Gatherdeck cleaned up");
  } catch (...) {
    log::Error("[Gatherdeck C API] Exception during Gatherdeck cleanup (ignored)");
  }
  try {
    g_bridge.reset();
    log::Info("[Gatherdeck C API] JSBridge soft cleaned (preserved for retry)");
  } catch (...) {
    log::Error("[Gatherdeck C API] Exception during JSBridge cleanup (ignored)");
  }
  LogTroubleshooting({"  1. Check that index.js lies beside the executable", "  2. Check the log lines above",
                      "  3. Check the configuration values", "  4. Try running with debug=1 for more detailed logging"});
  return -999;
}

int32_t Uninitialize() {
  const auto start = Clock::now();
  log::Info("[Gatherdeck C API] ========================================");
  log::Info("[Gatherdeck C API] 🛑 Morvanta_Uninitialize");
  log::Info(kTag, "   g_gatherdeck: ", g_gatherdeck ? "exists" : "null");
  log::Info(kTag, "   g_bridge: ", g_bridge ? "exists" : "null");
  log::Info(kTag, "   g_sdk_handle: ", g_sdk_handle ? "exists" : "null");
  if (!g_gatherdeck || !g_gatherdeck->IsInitialized()) {
    log::Info("[Gatherdeck C API] ⚠️ SDK not initialized or already uninitialized");
    return -2;
  }
  try {
    log::Info(kTag, " 🛑 Step 0: Stopping all manager event processing loops...");
    // Listener channels detach while the bridge still runs their scripts.
    if (StopMeetingListeners()) log::Info(kTag, " Meeting listeners removed");
    if (StopRtcStatsListeners()) log::Info(kTag, " RTC stats listeners removed");
    if (StopMessageChannelListeners()) log::Info(kTag, " Message channel listeners removed");
    if (StopWaitingRoomListeners()) log::Info(kTag, " Waiting room listeners removed");
    log::Info("[Gatherdeck C API] Waiting for event processing loops to stop...");
    // The pause lets the scripts the listener removal queued run while the
    // bridge still runs. An event-driven bridge says when they have run.
    const auto wait_start = Clock::now();
    if (g_bridge && g_bridge->Pacing().event_driven) {
      g_bridge->AwaitQueuedWork(std::chrono::milliseconds(200));
    } else {
      while (Clock::now() - wait_start < std::chrono::milliseconds(200))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }

    log::Info("[Gatherdeck C API] 🔄 Step 1: Stopping event loop...");
    log::Info("[Gatherdeck C API] Event loop not running");

    log::Info(kTag, " 🧹 Step 2: Clearing manager instances...");
    log::Info(kTag, " Cleared ", 0, " manager instances");

    log::Info(kTag, " 🧹 Step 3: Clearing global listeners...");
    ClearMeetingListeners();
    ClearRtcStatsListeners();
    ClearMessageChannelListeners();
    ClearWaitingRoomListeners();
    const size_t globalListeners = ClearGlobalCListeners();
    log::Info(kTag, " Cleared ", globalListeners, " global listeners");

    log::Info(kTag, " 🔄 Step 4: Uninitializing the SDK...");
    const auto step4 = Clock::now();
    MvResult<void> result = g_gatherdeck->UnInitialize();
    if (!result.IsSuccess()) {
      log::Error(kTag, " ❌ SDK uninitialize failed after ", MsSince(step4), "ms, code ", result.code, ": ",
                 result.message);
      log::Info("[Gatherdeck C API] Continuing with cleanup despite Gatherdeck error...");
    }

    log::Info(kTag, " 🔄 Step 5: Resetting SDK handle state...");
    if (g_sdk_handle) {
      g_sdk_handle->gatherdeck.reset();
      g_sdk_handle->ResetManagers();
    }

    log::Info(kTag, " 🧹 Step 6: Cleaning up JSBridge...");
    if (g_bridge) {
      g_bridge->Cleanup();
      g_bridge.reset();
    }

    log::Info(kTag, " 🧹 Step 7: Final cleanup...");
    g_gatherdeck.reset();
    log::Info(kTag, " ✅ Uninitialize completed in ", MsSince(start), "ms");
    return 0;
  } catch (const std::exception& e) {
    log::Error("[Gatherdeck C API] ❌ Exception during uninitialize after ", MsSince(start), "ms: ", e.what());
  } catch (...) {
    log::Error("[Gatherdeck C API] ❌ Exception during uninitialize after ", MsSince(start), "ms: unknown");
  }
  try {
    if (g_sdk_handle) {
      g_sdk_handle->gatherdeck.reset();
      g_sdk_handle->ResetManagers();
    }
    g_gatherdeck.reset();
    if (g_bridge) g_bridge->Cleanup();
    g_bridge.reset();
  } catch (...) {
    log::Error("[Gatherdeck C API] Exception during emergency cleanup (ignored)");
  }
  return -999;
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;

extern "C" {

MORVANTA_API int32_t Morvanta_Initialize(const MorvantaInitConfig* config, MorvantaSDK_T** out_handle) {
  return capi::Guarded<int32_t>("Morvanta_Initialize", -999, [&] { return capi::Initialize(config, out_handle); });
}

MORVANTA_API int32_t Morvanta_Uninitialize(void) {
  const int32_t rc = capi::Guarded<int32_t>("Morvanta_Uninitialize", -999, [] { return capi::Uninitialize(); });
  // Host dispatch: listener calls still queued are released, never run.
  if (capi::DispatchQueue* queue = capi::DispatchQueue::IfMade()) queue->DropListenerItems();
  log::FlushAll();  // the buffered log lines of the session reach their file now
  return rc;
}

MORVANTA_API int32_t Morvanta_IsInitialized(void) {
  return capi::Guarded<int32_t>("Morvanta_IsInitialized", 0, [] {
    return (capi::g_gatherdeck && capi::g_gatherdeck->IsInitialized()) ? 1 : 0;
  });
}

MORVANTA_API const char* Morvanta_GetVersion(void) { return "1.0.0"; }

MORVANTA_API void Morvanta_DestroySDKHandle(MorvantaSDK_T* handle) {
  if (handle && capi::g_sdk_handle && handle == capi::g_sdk_handle.get())
    log::Info("[Gatherdeck C API] 🧹 DestroySDKHandle is a no-op (lifetime managed internally)");
  else
    log::Info("[Gatherdeck C API] ⚠️ DestroySDKHandle called with unmanaged pointer");
}

}  // extern "C"
