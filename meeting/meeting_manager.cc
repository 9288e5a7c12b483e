#include "meeting/meeting_manager.h"

#include "meeting/channel_registration.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[MeetingManager]";
const std::string kPath = "morVantaMeeting.getMeetingManager().";

// ---- the loops ----
const EventChannelTexts kMeetingTexts = {
    "[MeetingManager] 🧵 Meeting event processing thread started",
    "[MeetingManager] ⏹️ Meeting event processing loop stopped",
    nullptr,
    "[MeetingManager] 🔄 Starting meeting event processing loop...",
    "[MeetingManager] ⚠️ Meeting event processing already started",
    "[MeetingManager] 🛑 Stopping meeting event processing...",
    "[MeetingManager] ✅ Meeting event processing stopped",
    kTag,
    "ProcessMeetingEventsFromJSArray",
    nullptr,
    false,
    nullptr,
    nullptr,
    nullptr,
    "[MeetingManager] Exception in ProcessMeetingEventsFromJSArray callback: ",
    "[MeetingManager] Exception processing single event: ",
    false,
    nullptr,
    nullptr,
    "[MeetingManager] Unknown exception in ProcessMeetingEventsFromJSArray callback",
    "[MeetingManager] Unknown exception processing single event",
};

const EventChannelTexts kRtcStatsTexts = {
    "[MeetingManager] 🧵 RTC stats event processing thread started",
    "[MeetingManager] ⏹️ RTC stats event processing loop stopped",
    "[MeetingManager] 🛑 Processing stopped by flag",
    "[MeetingManager] 🔄 Starting RTC stats event processing loop (event-driven mode)...",
    "[MeetingManager] ⚠️ RTC stats event processing already started",
    "[MeetingManager] 🛑 Stopping RTC stats event processing...",
    "[MeetingManager] ✅ RTC stats event processing stopped",
    kTag,
    "ProcessRtcStatsEventsFromJSArray",
    "[MeetingManager] 📥 Processing ",
    true,
    "[MeetingManager] ❌ ProcessRtcStatsEventsFromJSArray: JS execution failed",
    "[MeetingManager] ❌ ProcessRtcStatsEventsFromJSArray: Expected Object, got type ",
    "[MeetingManager] ❌ No 'events' key in result or it's not an array",
    "[MeetingManager] ❌ Error processing RTC stats events from JS array: ",
    "[MeetingManager] Exception processing single RTC stats event: ",
    false,
    nullptr,
    nullptr,
    "[MeetingManager] ❌ Unknown error processing RTC stats events from JS array",
    "[MeetingManager] Unknown exception processing single RTC stats event",
};

const EventChannelTexts kMessageChannelTexts = {
    "[MeetingManager] 🧵 Message channel event processing thread started",
    "[MeetingManager] ⏹️ Message channel event processing loop stopped",
    nullptr,
    "[MeetingManager] 🔄 Starting message channel event processing loop...",
    "[MeetingManager] ⚠️ Message channel event processing already started",
    "[MeetingManager] 🛑 Stopping message channel event processing...",
    "[MeetingManager] ✅ Message channel event processing stopped",
    kTag,
    "ProcessMessageChannelEventsFromJSArray",
    nullptr,
    true,
    nullptr,
    nullptr,
    nullptr,
    "[MeetingManager] ❌ Error processing message channel events: ",
    "[MeetingManager] Exception processing single message channel event: ",
    false,
    nullptr,
    nullptr,
    "[MeetingManager] ❌ Unknown error processing message channel events",
    "[MeetingManager] Unknown exception processing single message channel event",
};

// ---- attaching the JavaScript listeners ----
// The meeting channel waits for its check and detaches before clearing;
// the other two answer the check in its callback, and their re-registration
// after a meeting is entered can roll back too.
const ChannelProfile kMeetingProfile = {
    &MeetingChannelScripts,
    &MeetingRegisterScript,
    true,
    nullptr,
    &ChannelScripts::clear,
    true,
    false,
    true,
    "[MeetingManager] ❌ AddMeetingListener called with null listener",
    "[MeetingManager] ❌ Bridge not initialized, cannot register meeting listener",
    "[MeetingManager] 🧹 JavaScript listener cleaned up",
    "[MeetingManager] ⚠️ Failed to cleanup JavaScript listener: ",
    "[MeetingManager] Meeting listeners: ",
    "[MeetingManager] ℹ️ JavaScript listener already registered, skipping",
    "[MeetingManager] 📝 Registering JavaScript meeting listener...",
    "[MeetingManager] ❌ Failed to initialize meeting event array",
    "[MeetingManager] ✅ JavaScript meeting listener registered successfully",
    "[MeetingManager] ❌ Failed to register JavaScript meeting listener: ",
    "[MeetingManager] 🔄 Rolled back C++ listener due to JS registration failure",
    "[MeetingManager] 🔄 Re-registering JavaScript listener after meeting join/create...",
    nullptr,
    "[MeetingManager] Remaining meeting listeners: ",
    "[MeetingManager] ✅ Meeting event array cleared",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

const ChannelProfile kRtcStatsProfile = {
    &RtcStatsChannelScripts,
    &RtcStatsRegisterScript,
    false,
    &RtcStatsNotificationHandlerScript,
    &ChannelScripts::remove,
    false,
    true,
    false,
    "[MeetingManager] ❌ AddRtcStatsListener called with null listener",
    "[MeetingManager] ❌ Bridge not initialized, cannot register RTC stats listener",
    "[MeetingManager] 🧹 JavaScript RTC stats listener cleaned up",
    "[MeetingManager] ⚠️ Failed to cleanup JavaScript RTC stats listener: ",
    "[MeetingManager] RTC stats listeners: ",
    "[MeetingManager] ℹ️ JavaScript RTC stats listener already registered, skipping",
    "[MeetingManager] 📝 Registering JavaScript RTC stats listener...",
    nullptr,
    "[MeetingManager] ✅ JavaScript RTC stats listener registered successfully",
    "[MeetingManager] ❌ Failed to register JavaScript RTC stats listener: ",
    "[MeetingManager] 🔄 Rolled back C++ RTC stats listener due to JS registration failure",
    "[MeetingManager] 🔄 Re-registering JavaScript RTC stats listener after meeting join/create...",
    "[MeetingManager] Removing all RTC stats listeners...",
    "[MeetingManager] Remaining RTC stats listeners: ",
    "[MeetingManager] ✅ JavaScript RTC stats listener removed successfully",
    "[MeetingManager] ⚠️ Failed to remove JavaScript RTC stats listener: ",
    "[MeetingManager] 📝 Registering event notification handler...",
    "[MeetingManager] ✅ Event notification handler registered successfully",
    "[MeetingManager] ❌ Failed to register notification handler: ",
};

const ChannelProfile kMessageChannelProfile = {
    &MessageChannelScripts,
    &MessageChannelRegisterScript,
    true,
    nullptr,
    &ChannelScripts::remove,
    false,
    true,
    false,
    "[MeetingManager] ❌ AddMessageChannelListener called with null listener",
    "[MeetingManager] ❌ Bridge not initialized, cannot register message channel listener",
    "[MeetingManager] 🧹 JavaScript message channel listener cleaned up",
    "[MeetingManager] ⚠️ Failed to cleanup JavaScript message channel listener: ",
    "[MeetingManager] Message channel listeners: ",
    "[MeetingManager] ℹ️ JavaScript message channel listener already registered, skipping",
    "[MeetingManager] 📝 Registering JavaScript message channel listener...",
    "[MeetingManager] ❌ Failed to initialize message channel event array",
    "[MeetingManager] ✅ JavaScript message channel listener registered successfully",
    "[MeetingManager] ❌ Failed to register JavaScript message channel listener: ",
    "[MeetingManager] 🔄 Rolled back C++ message channel listener due to JS registration failure",
    "[MeetingManager] 🔄 Re-registering JavaScript message channel listener after meeting join/create...",
    "[MeetingManager] Removing all message channel listeners...",
    "[MeetingManager] Remaining message channel listeners: ",
    "[MeetingManager] ✅ JavaScript message channel listener removed successfully",
    "[MeetingManager] ⚠️ Failed to remove JavaScript message channel listener: ",
    nullptr,
    nullptr,
    nullptr,
};

template <typename Listener>
std::shared_ptr<RegisteredChannel<Listener>> MakeChannel(
    const ChannelProfile& profile, const EventChannelTexts& texts,
    void (*dispatch)(const JSValue&, const std::vector<Listener*>&), const std::weak_ptr<JSBridgeAdapter>& bridge) {
  return std::make_shared<RegisteredChannel<Listener>>(profile, texts, dispatch, bridge);
}

SdkCall Call(const char* method, const char* jsMethod, std::vector<JSValue> args = {}) {
  SdkCall call;
  call.tag = kTag;
  call.method = method;
  call.path = kPath + jsMethod;
  call.args = std::move(args);
  call.announce = std::string("Calling ") + jsMethod + " with Promise support";
  return call;
}

}  // namespace

// The three event channels of the meeting manager. Shared with script
// callbacks, which may arrive after the manager is gone.
struct MvMeetingManager::Core {
  std::shared_ptr<RegisteredChannel<IMvRtcStatsListener>> rtcStats;
  std::shared_ptr<RegisteredChannel<IMvMeetingListener>> meeting;
  std::shared_ptr<RegisteredChannel<IMvMessageChannelListener>> messageChannel;

  explicit Core(const std::weak_ptr<JSBridgeAdapter>& b)
      : rtcStats(MakeChannel(kRtcStatsProfile, kRtcStatsTexts, &DispatchRtcStatsEvent, b)),
        meeting(MakeChannel(kMeetingProfile, kMeetingTexts, &DispatchMeetingEvent, b)),
        messageChannel(MakeChannel(kMessageChannelProfile, kMessageChannelTexts, &DispatchMessageChannelEvent, b)) {}

  // After create, join and rejoin, in this order.
  void EnsureAll() {
    meeting->Ensure();
    rtcStats->Ensure();
    messageChannel->Ensure();
  }
};

MvMeetingManager::MvMeetingManager(std::weak_ptr<JSBridgeAdapter> bridge)
    : MvManagerBase(bridge), core_(std::make_shared<Core>(bridge)) {}

MvMeetingManager::~MvMeetingManager() {
  log::Info(kTag, " Destroying, stopping all event processing...");
  core_->meeting->Events().Stop();
  core_->rtcStats->Events().Stop();
  core_->messageChannel->Events().Stop();
  core_->meeting->Events().Join();
  core_->rtcStats->Events().Join();
  core_->messageChannel->Events().Join();
  log::Info(kTag, " Destroyed");
}

JSValue MvMeetingManager::CreateOptionsObject(const MvMeetingCreateOptions& o) {
  JSValue v = JSValue::Object();
  v.Set("meetingNum", o.meetingNum).Set("nickname", o.nickname).Set("subject", o.subject);
  if (o.password) v.Set("password", *o.password);
  if (o.memberTag) v.Set("memberTag", *o.memberTag);
  if (o.noChat) v.Set("noChat", *o.noChat);
  if (o.noWhiteboard) v.Set("noWhiteboard", *o.noWhiteboard);
  if (o.noCaptions) v.Set("noCaptions", *o.noCaptions);
  if (o.orgName) v.Set("orgName", *o.orgName);
  if (o.avatar) v.Set("avatar", *o.avatar);
  if (o.videoProfile) {
    JSValue profile = JSValue::Object();
    profile.Set("resolution", o.videoProfile->first).Set("frameRate", o.videoProfile->second);
    v.Set("videoProfile", profile);
  }
  if (o.joinTimeout) v.Set("joinTimeout", *o.joinTimeout);
  if (o.session) v.Set("session", *o.session);
  if (o.subType) v.Set("subType", *o.subType);
  if (o.startTime) v.Set("startTime", static_cast<double>(*o.startTime));
  if (o.endTime) v.Set("endTime", static_cast<double>(*o.endTime));
  if (o.enableWaitingRoom) v.Set("enableWaitingRoom", *o.enableWaitingRoom);
  if (o.cloudRecordEnable) {
    JSValue record = JSValue::Object();
    record.Set("enable", *o.cloudRecordEnable);
    v.Set("cloudRecordConfig", record);
  }
  return v;
}

namespace {
// Create, join and rejoin re-attach the channel listeners before the result
// is delivered (the C callback may run before those scripts are answered).
SdkCall WithEnsure(SdkCall call, std::weak_ptr<MvMeetingManager::Core> core,
                   void (*ensure)(MvMeetingManager::Core&)) {
  call.inspect = [core, ensure](const JSValue&) {
    if (auto c = core.lock()) ensure(*c);
  };
  return call;
}
void EnsureAll(MvMeetingManager::Core& core) { core.EnsureAll(); }
}  // namespace

void MvMeetingManager::CreateMeeting(const MvMeetingCreateOptions& options, MvCallback<void> done) {
  CallSdk<void>(bridge().get(),
                WithEnsure(Call("CreateMeeting", "createMeeting", {CreateOptionsObject(options)}), core_, &EnsureAll),
                std::move(done));
}

void MvMeetingManager::JoinMeeting(const MvMeetingJoinOptions& o, MvCallback<void> done) {
  JSValue v = JSValue::Object();
  v.Set("meetingNum", o.meetingNum).Set("userUuid", o.userUuid).Set("nickname", o.nickname);
  CallSdk<void>(bridge().get(), WithEnsure(Call("JoinMeeting", "joinMeeting", {v}), core_, &EnsureAll),
                std::move(done));
}

void MvMeetingManager::RejoinAfterAdmittedToRoom(MvCallback<void> done) {
  CallSdk<void>(bridge().get(),
                WithEnsure(Call("RejoinAfterAdmittedToRoom", "rejoinAfterAdmittedToRoom"), core_, &EnsureAll),
                std::move(done));
}

void MvMeetingManager::LeaveMeeting(bool flag, MvCallback<void> done) {
  CallSdk<void>(bridge().get(), Call("LeaveMeeting", "leaveMeeting", {JSValue(flag)}), std::move(done));
}

void MvMeetingManager::EndMeeting(MvCallback<void> done) {
  CallSdk<void>(bridge().get(), Call("EndMeeting", "endMeeting"), std::move(done));
}

std::shared_ptr<MvMeetingSDKInfo> MvMeetingManager::GetMeetingInfo() {
  log::Info(kTag, " 🚀 GetMeetingInfo - using JSBridge 2.0 (sync)");
  auto b = bridge();
  if (!b) {
    log::Error(kTag, " ❌ Bridge not initialized");
    return nullptr;
  }
  if (!b->IsInitialized()) {
    log::Error(kTag, " ❌ JSBridge not initialized");
    return nullptr;
  }
  SdkCall call;
  call.tag = kTag;
  call.method = "GetMeetingInfo";
  call.path = kPath + "getMeetingInfo";
  call.log_received = false;
  call.inspect = [](const JSValue& v) {
    log::Info(kTag, " 🔎 JSValue type: ", static_cast<int>(v.type));
    if (v.IsObject()) {
      std::string keys;
      for (const auto& kv : v.objectValue) keys += (keys.empty() ? "" : ", ") + kv.first;
      log::Info(kTag, " 🗝️ Object keys: ", keys);
    } else if (v.IsArray()) {
      log::Info(kTag, " 📚 Array length: ", v.arrayValue.size());
    } else if (v.IsString()) {
      log::Info(kTag, " ✏️ String value: ", v.stringValue);
    } else if (v.IsNull()) {
      log::Info(kTag, " ⚪ Null value returned");
    } else if (v.IsUndefined()) {
      log::Info(kTag, " ⚪ Undefined value returned");
    }
  };
  MvResult<MvMeetingSDKInfo> r = CallSdkAndWait<MvMeetingSDKInfo>(b.get(), std::move(call),
                                                                  std::chrono::seconds(10), "timeout");
  if (r.code != 0 || !r.data) {
    if (r.message == "timeout")
      log::Error(kTag, " ❌ GetMeetingInfo timeout");
    else
      log::Error(kTag, " ❌ Conversion failed: ", r.message);
    return nullptr;
  }
  return std::make_shared<MvMeetingSDKInfo>(*r.data);
}

void MvMeetingManager::ReleaseMeeting() {
  log::Info(kTag, " 🚀 ReleaseMeeting - using JSBridge 2.0");
  auto b = bridge();
  if (!b) {
    log::Error(kTag, " ❌ Bridge not initialized");
    return;
  }
  if (!b->IsInitialized()) {
    log::Error(kTag, " ❌ JSBridge not initialized");
    return;
  }
  b->CallFunction(kPath + "releaseMeeting", {}, [](const JSResult& r) {
    if (r.success)
      log::Info(kTag, " ✅ ReleaseMeeting completed");
    else
      log::Error(kTag, " ❌ ReleaseMeeting failed: ", r.error);
  });
}

void MvMeetingManager::AddMeetingListener(IMvMeetingListener* l) { core_->meeting->Add(l); }
void MvMeetingManager::RemoveMeetingListener(IMvMeetingListener* l) { core_->meeting->Remove(l); }
size_t MvMeetingManager::MeetingListenerCount() const { return core_->meeting->Events().Count(); }
bool MvMeetingManager::MeetingEventsRunning() const { return core_->meeting->Events().Running(); }

void MvMeetingManager::AddRtcStatsListener(IMvRtcStatsListener* l) { core_->rtcStats->Add(l); }
void MvMeetingManager::RemoveRtcStatsListener(IMvRtcStatsListener* l) { core_->rtcStats->Remove(l); }
size_t MvMeetingManager::RtcStatsListenerCount() const { return core_->rtcStats->Events().Count(); }
bool MvMeetingManager::RtcStatsEventsRunning() const { return core_->rtcStats->Events().Running(); }

void MvMeetingManager::AddMessageChannelListener(IMvMessageChannelListener* l) { core_->messageChannel->Add(l); }
void MvMeetingManager::RemoveMessageChannelListener(IMvMessageChannelListener* l) {
  core_->messageChannel->Remove(l);
}
size_t MvMeetingManager::MessageChannelListenerCount() const { return core_->messageChannel->Events().Count(); }
bool MvMeetingManager::MessageChannelEventsRunning() const { return core_->messageChannel->Events().Running(); }

}  // namespace morvanta
