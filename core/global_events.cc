#include "core/global_events.h"

#include "bridge/js_bridge_adapter.h"
#include "runtime/log.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[MvGatherdeck]";

// The SDK passes the RTC wrapper as a second argument to the last two
// events; it means nothing to a native host and is dropped.
const std::vector<ChannelEvent>& GlobalEventTable() {
  static const auto* events = new std::vector<ChannelEvent>{
      {"beforeRtcEngineInitialize", "roomUuid", "{ roomUuid: roomUuid }"},
      {"afterRtcEngineInitialize", "roomUuid, rtcWrapper", "{ roomUuid: roomUuid }"},
      {"beforeRtcEngineRelease", "roomUuid, rtcWrapper", "{ roomUuid: roomUuid }"},
  };
  return *events;
}

std::string MakeRegistrationScript() {
  const std::string ref = std::string("globalThis.") + kGlobalEventGlobals.ref;
  const std::string registered = std::string("globalThis.") + kGlobalEventGlobals.registered;
  return R"JS((function () {
  try {
    var sdk = globalThis.morVantaMeeting;
    if (!sdk) {
      return { success: false, error: 'morVantaMeeting not available' };
    }
    var listener = )JS" +
         MakeListenerObject(kGlobalEventGlobals, "[JS Global Event Listener]", GlobalEventTable()) + R"JS(;
    )JS" + ref + R"JS( = listener;
    if (typeof sdk.addGlobalEventListener !== 'function') {
      return { success: false, error: 'addGlobalEventListener not available' };
    }
    sdk.addGlobalEventListener(listener);
    )JS" + registered + R"JS( = true;
    return { success: true, message: 'Global event listener registered' };
  } catch (e) {
    return { success: false, error: (e && e.message) || String(e) };
  }
})())JS";
}

GlobalEventScripts MakeGlobalEventScripts() {
  // The SDK object stands where the other channels have their manager.
  const ChannelScripts common = MakeChannelScripts(
      {kGlobalEventGlobals, "globalThis.morVantaMeeting", "removeGlobalEventListener", false,
       "Global event array initialized", "Global event listener cleaned up", nullptr});
  GlobalEventScripts s;
  s.arrayInit = common.arrayInit;
  s.registration = MakeRegistrationScript();
  s.cleanup = common.cleanup;
  s.finalCleanup = R"JS((function () {
  console.log('[JS Global Event Listener] 🧹 Last native listener removed, detaching');
  return )JS" + common.cleanup + R"JS(;
})())JS";
  s.clear = common.clear;
  s.drain = common.drain;
  s.wakeKey = common.wakeKey;
  return s;
}

using Operation = void (MvGlobalEventListener::*)(const std::string&);

struct GlobalEventKind {
  const char* type;
  Operation operation;
};

constexpr GlobalEventKind kKinds[] = {
    {"beforeRtcEngineInitialize", &MvGlobalEventListener::beforeRtcEngineInitialize},
    {"afterRtcEngineInitialize", &MvGlobalEventListener::afterRtcEngineInitialize},
    {"beforeRtcEngineRelease", &MvGlobalEventListener::beforeRtcEngineRelease},
};

// Calls `operation` on every listener, unless `data` is not an object.
void Deliver(Operation operation, const JSValue& data, const std::vector<MvGlobalEventListener*>& listeners) {
  if (!data.IsObject()) return;
  const JSValue* uuid = data.Find("roomUuid");
  const std::string roomUuid = uuid && uuid->IsString() ? uuid->stringValue : std::string();
  for (MvGlobalEventListener* l : listeners)
    if (l) (l->*operation)(roomUuid);
}

}  // namespace

const ChannelGlobals kGlobalEventGlobals = {"__morvantaGlobalEventCallbacks", "__morvantaGlobalEventPending",
                                            "__morvantaGlobalEventCount", "__morvantaGlobalEventListenerRegistered",
                                            "__morvantaGlobalEventListenerRef"};

const GlobalEventScripts& GlobalEventChannelScripts() {
  static const auto* scripts = new GlobalEventScripts(MakeGlobalEventScripts());
  return *scripts;
}

// Set by name: the texts record grows as channels need more lines.
const EventChannelTexts& GlobalEventTexts() {
  static const EventChannelTexts texts = [] {
    EventChannelTexts t{};
    t.threadStarted = "[MvGatherdeck] 🧵 Global event processing thread started";
    t.loopStopped = "[MvGatherdeck] ⏹️ Global event processing loop stopped";
    t.stoppedByFlag = "[MvGatherdeck] 🛑 Processing stopped by flag";
    t.starting = "[MvGatherdeck] 🔄 Starting global event processing loop...";
    t.alreadyStarted = "[MvGatherdeck] ⚠️ Global event processing already started";
    t.stopping = "[MvGatherdeck] 🛑 Stopping global event processing...";
    t.stopped = "[MvGatherdeck] ✅ Global event processing stopped";
    t.tag = kTag;
    t.drainName = "ProcessGlobalEventsFromJSArray";
    t.queueLog = nullptr;
    t.drainNeedsListeners = true;
    t.drainFailed = "[MvGatherdeck] ❌ ProcessGlobalEventsFromJSArray: JS execution failed";
    t.notObject = "[MvGatherdeck] ❌ Expected Object";
    t.notObjectWithoutKind = true;
    t.noEvents = nullptr;
    t.callbackError = "[MvGatherdeck] ❌ Exception in ProcessGlobalEventsFromJSArray callback: ";
    t.singleEventError = "[MvGatherdeck] ❌ Exception processing single global event: ";
    t.batchLog = "[MvGatherdeck] 📥 Processing ";
    t.batchLogSuffix = " global events...";
    return t;
  }();
  return texts;
}

void DispatchGlobalEvent(const JSValue& record, const std::vector<MvGlobalEventListener*>& listeners) {
  if (listeners.empty()) return;
  if (!record.IsObject()) {
    log::Error(kTag, " ❌ ProcessSingleGlobalEvent: Expected object");
    return;
  }
  const JSValue* type = record.Find("type");
  if (!type || !type->IsString()) {
    log::Error(kTag, " ❌ Missing or invalid 'type' field");
    return;
  }
  log::Info(kTag, " 🔔 Processing global event: ", type->stringValue);
  const JSValue* data = record.Find("data");
  if (!data) {
    log::Error(kTag, " ❌ Missing 'data' field");
    return;
  }
  for (const GlobalEventKind& kind : kKinds) {
    if (type->stringValue == kind.type) {
      Deliver(kind.operation, *data, listeners);
      return;
    }
  }
  log::Info(kTag, " ⚠️ Unknown global event type: ", type->stringValue);
}

GlobalEventCore::GlobalEventCore(std::weak_ptr<JSBridgeAdapter> bridge)
    : bridge_(bridge), channel_(GlobalEventTexts(), GlobalEventChannelScripts().drain, &DispatchGlobalEvent, bridge,
               GlobalEventChannelScripts().wakeKey) {}

std::shared_ptr<JSBridgeAdapter> GlobalEventCore::Bridge() const {
  auto b = bridge_.lock();
  return b && b->IsInitialized() ? b : nullptr;
}

void GlobalEventCore::Register() {
  static constexpr ChannelRegistrationTexts kTexts = {
      "[MvGatherdeck] ❌ Failed to initialize global event array",
      "[MvGatherdeck] ✅ JavaScript global event listener registered successfully",
      "[MvGatherdeck] ❌ Failed to register JavaScript global event listener: ",
      "[MvGatherdeck] 🔄 Rolled back C++ listener due to JS registration failure",
  };
  const GlobalEventScripts& scripts = GlobalEventChannelScripts();
  RegisterAndStart(bridge_, scripts.arrayInit, scripts.registration, kTexts, weak_from_this(), &channel_);
}

}  // namespace morvanta
