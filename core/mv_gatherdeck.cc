#include "core/mv_gatherdeck.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "bridge/js_bridge_adapter.h"
#include "core/config_validator.h"
#include "core/global_events.h"
#include "managers/account_manager.h"
#include "managers/audio_manager.h"
#include "managers/chatroom_manager.h"
#include "managers/invite_manager.h"
#include "managers/member_manager.h"
#include "managers/pre_meeting_manager.h"
#include "managers/screen_share_manager.h"
#include "managers/security_manager.h"
#include "managers/video_manager.h"
#include "meeting/meeting_manager.h"
#include "meeting/waiting_room_manager.h"
#include "runtime/log.h"

namespace morvanta {

namespace {

// Cleans up the SDK's leftovers after unInitialize: one microtask turn.
constexpr char kAsyncCleanupScript[] = R"JS((function () {
  try {
    if (globalThis.__morvantaPromiseTracker) { globalThis.__morvantaPromiseTracker.clear(); }
    if (typeof Promise !== 'undefined') { Promise.resolve().then(function () {}); }
    return { success: true, message: 'Async cleanup initiated' };
  } catch (e) {
    return { success: false, error: (e && e.message) || String(e) };
  }
})())JS";

const char* Flag(const std::optional<bool>& v) { return v ? (*v ? "true" : "false") : "<not set>"; }

}  // namespace

struct MvGatherdeck::Impl {
  explicit Impl(std::weak_ptr<JSBridgeAdapter> b) : bridge(b), global(std::make_shared<GlobalEventCore>(b)) {}

  std::weak_ptr<JSBridgeAdapter> bridge;
  bool initialized = false;
#define MORVANTA_MANAGER_SLOT(Kind, Class) std::shared_ptr<Class> Kind;
  MORVANTA_MANAGER_KINDS(MORVANTA_MANAGER_SLOT)
#undef MORVANTA_MANAGER_SLOT
  // The global channel: listeners, loop thread, registration.
  std::shared_ptr<GlobalEventCore> global;

  template <typename M>
  std::shared_ptr<M> Get(std::shared_ptr<M>& slot, const char* name, bool plainCreatedLine) {
    if (!initialized) {
      log::Error("[MvGatherdeck] ❌ Cannot get ", name, ": not initialized");
      return nullptr;
    }
    if (bridge.expired()) {
      log::Error("[MvGatherdeck] ❌ Cannot get ", name, ": bridge not available");
      return nullptr;
    }
    if (!slot) {
      log::Info("[MvGatherdeck] 🔧 Creating ", name, " instance...");
      slot = std::make_shared<M>(bridge);
      if (plainCreatedLine)
        log::Info("[MvGatherdeck] ✅ ", name, " created");
      else
        log::Info("[MvGatherdeck] ✅ ", name, " created with JSBridge 2.0");
    }
    return slot;
  }

  MvResult<void> CallJSMethod(const std::string& method, std::vector<JSValue> args) {
    std::shared_ptr<JSBridgeAdapter> adapter = bridge.lock();
    if (!adapter || !adapter->IsInitialized()) return MvResult<void>::Failure(-1, "JSBridge not initialized");
    log::Info("[MvGatherdeck] CallJSMethod('", method, "') using JSBridge 2.0");
    const std::string path = "morVantaMeeting." + method;
    // Shared with the callback, which may arrive after the wait gave up.
    struct Shared {
      std::mutex mutex;
      std::condition_variable cv;
      int32_t code = -1;
      std::string message = "Not completed";
      std::atomic<bool> done{false};
    };
    const bool eventDriven = adapter->Pacing().event_driven;
    auto shared = std::make_shared<Shared>();
    log::Info("[MvGatherdeck] 🔍 Calling ", path, " with Promise support");
    const auto start = std::chrono::steady_clock::now();
    adapter->CallFunction(path, args, [shared, path](const JSResult& r) {
      log::Info("[MvGatherdeck] 🎯 Result success: ", r.success ? "true" : "false");
      {
        std::lock_guard<std::mutex> lock(shared->mutex);
        if (!r.success) {
          log::Error("[MvGatherdeck] ❌ Error: ", r.error);
          shared->code = -1;
          shared->message = r.error;
        } else {
          if (r.value.IsString() && r.value.stringValue == "PROMISE_PENDING")
            log::Info("[MvGatherdeck] 🎯 Promise detected for ", path, " - async operation in progress");
          else
            log::Info("[MvGatherdeck] ✅ Synchronous result for ", path);
          shared->code = 0;
          shared->message.clear();
        }
      }
      shared->done.exchange(true);
      std::lock_guard<std::mutex> lock(shared->mutex);
      shared->cv.notify_all();
    });
    const auto limit = std::chrono::nanoseconds(10000000000LL);
    if (eventDriven) {
      std::unique_lock<std::mutex> lock(shared->mutex);
      shared->cv.wait_until(lock, start + limit, [&] { return shared->done.load(); });
    }
    while (!shared->done.load()) {
      if (std::chrono::steady_clock::now() - start > limit) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (!shared->done.load()) return MvResult<void>::Failure(-1, "JavaScript call timeout");
    std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->code == 0 ? MvResult<void>::Success() : MvResult<void>::Failure(shared->code, shared->message);
  }
};

MvGatherdeck::MvGatherdeck(std::weak_ptr<JSBridgeAdapter> bridge) : impl_(std::make_unique<Impl>(bridge)) {
  log::Info("[Gatherdeck] Constructor called with JSBridge adapter=", impl_->bridge.expired() ? "null" : "valid");
}

MvGatherdeck::~MvGatherdeck() {
  // The loop thread goes before anything else; the managers follow.
  EventChannel<MvGlobalEventListener>& channel = impl_->global->Channel();
  channel.Stop();
  channel.Join();
}

bool MvGatherdeck::IsInitialized() const { return impl_->initialized; }

JSValue MvGatherdeck::BuildSdkConfig(const MvGatherdeckInitConfig& c) {
  JSValue config = JSValue::Object();
  config.Set("appKey", c.appKey).Set("logPath", c.logPath);
  if (c.debug) config.Set("debug", *c.debug);
  if (c.eventTracking) config.Set("eventTracking", *c.eventTracking);
  if (c.serverUrl) config.Set("serverUrl", *c.serverUrl);
  if (c.useAssetServerConfig) config.Set("useAssetServerConfig", *c.useAssetServerConfig);
  if (c.locale) config.Set("locale", *c.locale);
  if (c.imPrivateConf) {
    const MvImPrivateConf& im = *c.imPrivateConf;
    JSValue o = JSValue::Object();
    o.Set("lbsServer", im.lbsServer).Set("linkServer", im.linkServer).Set("mvsLbsServer", im.mvsLbsServer)
        .Set("defaultLinkServer", im.defaultLinkServer).Set("mvsUploadSever", im.mvsUploadSever)
        .Set("mvsUploadHost", im.mvsUploadHost).Set("mvsDownloadHost", im.mvsDownloadHost)
        .Set("mvsAccelerateHost", im.mvsAccelerateHost).Set("mvsAccelerateUploadHost", im.mvsAccelerateUploadHost)
        .Set("module", im.module).Set("version", im.version).Set("appkey", im.appkey);
    config.Set("imPrivateConf", o);
  }
  if (c.mvRtcServerAddresses) {
    const MvRtcServerAddresses& rtc = *c.mvRtcServerAddresses;
    JSValue o = JSValue::Object();
    o.Set("channelServer", rtc.channelServer).Set("statisticsServer", rtc.statisticsServer)
        .Set("roomServer", rtc.roomServer).Set("compatServer", rtc.compatServer);
    config.Set("mvRtcServerAddresses", o);
  }
  if (c.whiteboardConfig) {
    const MvWhiteboardConfig& wb = *c.whiteboardConfig;
    JSValue o = JSValue::Object();
    o.Set("channelServer", wb.channelServer).Set("docTransServer", wb.docTransServer)
        .Set("directServer", wb.directServer);
    config.Set("whiteboardConfig", o);
  }
  if (c.extras) {
    JSValue o = JSValue::Object();
    for (const auto& [key, value] : *c.extras) o.Set(key, value);
    config.Set("extras", o);
  }
  return config;
}

MvResult<void> MvGatherdeck::Initialize(const MvGatherdeckInitConfig& config) {
  if (impl_->initialized) return MvResult<void>::Failure(-1, "Already initialized");
  if (auto adapter = impl_->bridge.lock(); !adapter || !adapter->IsInitialized())
    return MvResult<void>::Failure(-2, "JSBridge not initialized");
  std::string error;
  if (!ConfigValidator::Validate(config, error)) {
    log::Error("[MvGatherdeck] ❌ Configuration validation failed: ", error);
    ConfigValidator::LogValidationSummary(config, false, error);
    return MvResult<void>::Failure(-3, "Configuration validation failed: " + error);
  }
  log::Info("[MvGatherdeck] ✅ Configuration validation passed");
  ConfigValidator::LogValidationSummary(config, true, error);

  log::Info("[Initialize] Received config:");
  log::Info("  appKey: ", config.appKey);
  log::Info("  debug: ", Flag(config.debug));
  log::Info("  eventTracking: ", Flag(config.eventTracking));
  log::Info("  serverUrl: ", config.serverUrl ? *config.serverUrl : std::string("<not set>"));
  log::Info("  useAssetServerConfig: ", Flag(config.useAssetServerConfig));

  JSValue sdkConfig = BuildSdkConfig(config);
  log::Info("[DEBUG] Config object created with ", sdkConfig.objectValue.size(), " keys");
  log::Info("[DEBUG] Enhanced config includes:");
  for (const char* block : {"imPrivateConf", "mvRtcServerAddresses", "whiteboardConfig", "extras"})
    log::Info("  - ", block, ": ", sdkConfig.Find(block) ? "yes" : "no");

  log::Info("[MvGatherdeck] Preparing to invoke initialize");
  MvResult<void> result = impl_->CallJSMethod("initialize", {sdkConfig});
  if (result.IsSuccess()) {
    impl_->initialized = true;
    log::Info("[MvGatherdeck] ✅ Initialize success");
  } else {
    log::Error("[MvGatherdeck] ❌ Initialize failed: ", result.message);
  }
  return result;
}

MvResult<void> MvGatherdeck::UnInitialize() {
  if (!impl_->initialized) return MvResult<void>::Failure(-1, "Not initialized");
  MvResult<void> result = impl_->CallJSMethod("unInitialize", {});
  if (!result.IsSuccess()) {
    log::Error("[MvGatherdeck] ❌ UnInitialize failed: ", result.message);
    return result;
  }
  impl_->initialized = false;
  log::Info("[MvGatherdeck] ✅ UnInitialize success");
  std::shared_ptr<JSBridgeAdapter> bridge = impl_->bridge.lock();
  if (bridge && bridge->IsInitialized()) {
    log::Info("[MvGatherdeck] 🧹 Cleaning up pending async operations...");
    struct Shared {
      std::mutex mutex;
      std::condition_variable cv;
      bool done = false;
    };
    auto shared = std::make_shared<Shared>();
    bridge->ExecuteJS(kAsyncCleanupScript, [shared](const JSResult&) {
      std::lock_guard<std::mutex> lock(shared->mutex);
      shared->done = true;
      shared->cv.notify_all();
    });
    {
      std::unique_lock<std::mutex> lock(shared->mutex);
      shared->cv.wait_for(lock, std::chrono::milliseconds(500), [&] { return shared->done; });
    }
    // The pause lets the script's microtask turn run. An event-driven bridge
    // runs the microtasks before it answers a script, so the answer is enough.
    if (!bridge->Pacing().event_driven) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return result;
}

void MvGatherdeck::AddGlobalEventListener(MvGlobalEventListener* listener) {
  if (!listener) {
    log::Error("[MvGatherdeck] ❌ Cannot add null listener");
    return;
  }
  GlobalEventCore& global = *impl_->global;
  std::shared_ptr<JSBridgeAdapter> bridge = global.Bridge();
  if (!bridge) {
    log::Error("[MvGatherdeck] ❌ Bridge not initialized, cannot register global event listener");
    return;
  }
  EventChannel<MvGlobalEventListener>& channel = global.Channel();
  if (channel.Erase(listener)) log::Info("[MvGatherdeck] 🔄 Removed existing listener before re-adding");
  // Always, even with listeners left: the channel is registered afresh only
  // for a listener added to an empty list.
  channel.Stop();
  RunChannelScript(bridge, GlobalEventChannelScripts().cleanup, std::chrono::seconds(1), nullptr);
  const bool wasEmpty = channel.Empty();
  channel.Append(listener);
  log::Info("[MvGatherdeck] ✅ Global event listener added (total: ", channel.Count(), ")");
  if (!wasEmpty) return;
  log::Info("[MvGatherdeck] 📝 Registering JavaScript global event listener...");
  global.Register();
}

void MvGatherdeck::RemoveGlobalEventListener(MvGlobalEventListener* listener) {
  if (!listener) {
    log::Error("[MvGatherdeck] ❌ Cannot remove null listener");
    return;
  }
  GlobalEventCore& global = *impl_->global;
  EventChannel<MvGlobalEventListener>& channel = global.Channel();
  if (!channel.Erase(listener)) {
    log::Info("[MvGatherdeck] ⚠️ Listener not found, nothing to remove");
    return;
  }
  log::Info("[MvGatherdeck] ✅ Global event listener removed (total: ", channel.Count(), ")");
  if (!channel.Empty()) return;
  channel.Stop();
  // Detach, then drop what was queued; neither is waited for.
  if (std::shared_ptr<JSBridgeAdapter> bridge = global.Bridge()) {
    bridge->ExecuteJS(GlobalEventChannelScripts().finalCleanup, nullptr);
    bridge->ExecuteJS(GlobalEventChannelScripts().clear, nullptr);
  }
}

#define MORVANTA_MANAGER_GETTER(Kind, Class)                                              \
  std::shared_ptr<Class> MvGatherdeck::Get##Kind##Manager() {                             \
    return impl_->Get(impl_->Kind, #Kind "Manager", std::string(#Kind) == "Account");     \
  }
MORVANTA_MANAGER_KINDS(MORVANTA_MANAGER_GETTER)
#undef MORVANTA_MANAGER_GETTER

}  // namespace morvanta
