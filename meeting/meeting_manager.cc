#include "meeting/meeting_manager.h"

#include "meeting/event_channel.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[MeetingManager]";
const std::string kPath = "morVantaMeeting.getMeetingManager().";

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
};

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

// Shared with script callbacks, which may arrive after the manager is gone.
struct MvMeetingManager::Core : std::enable_shared_from_this<Core> {
  std::weak_ptr<JSBridgeAdapter> bridge;
  EventChannel<IMvMeetingListener> meeting;

  explicit Core(std::weak_ptr<JSBridgeAdapter> b)
      : bridge(b), meeting(kMeetingTexts, MeetingChannelScripts().drain, &DispatchMeetingEvent, b) {}

  std::shared_ptr<JSBridgeAdapter> Bridge() const {
    auto b = bridge.lock();
    return b && b->IsInitialized() ? b : nullptr;
  }

  void CleanupJavaScriptMeetingListener() {
    JSResult result;
    if (!RunChannelScript(Bridge(), MeetingChannelScripts().cleanup, std::chrono::seconds(1), &result)) return;
    std::string error;
    if (ScriptSucceeded(result, &error))
      log::Info(kTag, " 🧹 JavaScript listener cleaned up");
    else
      log::Error(kTag, " ⚠️ Failed to cleanup JavaScript listener: ", error);
  }

  // Array init, then the register script; `rollback` pops the last native
  // listener when the JavaScript side refuses.
  void Register(bool reregister, bool rollback) {
    auto b = Bridge();
    if (!b) return;
    std::weak_ptr<Core> weak = weak_from_this();
    b->ExecuteJS(MeetingChannelScripts().arrayInit, [weak, reregister, rollback](const JSResult& r) {
      auto core = weak.lock();
      if (!core) return;
      if (!ScriptSucceeded(r, nullptr)) {
        log::Error(kTag, " ❌ Failed to initialize meeting event array");
        return;
      }
      auto b2 = core->Bridge();
      if (!b2) return;
      b2->ExecuteJS(MeetingRegisterScript(reregister), [weak, rollback](const JSResult& reg) {
        auto c = weak.lock();
        if (!c) return;
        std::string error;
        if (ScriptSucceeded(reg, &error)) {
          log::Info(kTag, " ✅ JavaScript meeting listener registered successfully");
          c->meeting.Start();
          return;
        }
        log::Error(kTag, " ❌ Failed to register JavaScript meeting listener: ", error);
        if (rollback && c->meeting.PopBack())
          log::Info(kTag, " 🔄 Rolled back C++ listener due to JS registration failure");
      });
    });
  }

  // After create, join and rejoin: re-attach a listener whose registration
  // was lost. A listener that is registered stays where it is.
  void EnsureMeetingListener() {
    if (meeting.Empty()) return;
    auto b = Bridge();
    if (!b) return;
    std::weak_ptr<Core> weak = weak_from_this();
    b->ExecuteJS(MeetingChannelScripts().check, [weak](const JSResult& r) {
      auto core = weak.lock();
      if (!core) return;
      if (r.success && r.value.IsBool() && r.value.boolValue) return;
      log::Info(kTag, " 🔄 Re-registering JavaScript listener after meeting join/create...");
      core->Register(true, false);
    });
  }

  void EnsureAll() { EnsureMeetingListener(); }
};

MvMeetingManager::MvMeetingManager(std::weak_ptr<JSBridgeAdapter> bridge)
    : MvManagerBase(bridge), core_(std::make_shared<Core>(bridge)) {}

MvMeetingManager::~MvMeetingManager() {
  log::Info(kTag, " Destroying, stopping all event processing...");
  core_->meeting.Stop();
  core_->meeting.Join();
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

void MvMeetingManager::AddMeetingListener(IMvMeetingListener* listener) {
  if (!listener) {
    log::Error(kTag, " ❌ AddMeetingListener called with null listener");
    return;
  }
  auto b = core_->Bridge();
  if (!b) {
    log::Error(kTag, " ❌ Bridge not initialized, cannot register meeting listener");
    return;
  }
  core_->CleanupJavaScriptMeetingListener();
  core_->meeting.Stop();
  if (core_->meeting.Erase(listener)) log::Info(kTag, " 🔄 Removed existing listener before re-adding");
  core_->meeting.Append(listener);
  log::Info(kTag, " Meeting listeners: ", core_->meeting.Count());

  JSResult check;
  bool registered = RunChannelScript(b, MeetingChannelScripts().check, std::chrono::milliseconds(500), &check) &&
                    check.success && check.value.IsBool() && check.value.boolValue;
  if (registered) {
    log::Info(kTag, " ℹ️ JavaScript listener already registered, skipping");
    return;
  }
  log::Info(kTag, " 📝 Registering JavaScript meeting listener...");
  core_->Register(false, true);
}

void MvMeetingManager::RemoveMeetingListener(IMvMeetingListener* listener) {
  if (listener)
    core_->meeting.Erase(listener);
  else
    core_->meeting.Clear();
  log::Info(kTag, " Remaining meeting listeners: ", core_->meeting.Count());
  if (!core_->meeting.Empty()) return;
  core_->meeting.Stop();
  core_->CleanupJavaScriptMeetingListener();
  if (auto b = core_->Bridge()) {
    b->ExecuteJS(MeetingChannelScripts().clear, [](const JSResult& r) {
      if (ScriptSucceeded(r, nullptr)) log::Info(kTag, " ✅ Meeting event array cleared");
    });
  }
}

size_t MvMeetingManager::MeetingListenerCount() const { return core_->meeting.Count(); }
bool MvMeetingManager::MeetingEventsRunning() const { return core_->meeting.Running(); }

}  // namespace morvanta
