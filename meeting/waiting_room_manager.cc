#include "meeting/waiting_room_manager.h"

#include <chrono>
#include <exception>

#include "managers/sdk_method.h"
#include "meeting/event_channel.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[WaitingRoomManager]";
// This manager's failure lines carry no mark: "<tag> AdmitMember failed: ...".
constexpr SdkObject kSdk{kTag, "morVantaMeeting.getWaitingRoomManager()", " "};

constexpr SdkMethod kAdmitMember{"AdmitMember", "admitMember"};
constexpr SdkMethod kAdmitAllMembers{"AdmitAllMembers", "admitAllMembers"};
constexpr SdkMethod kExpelMember{"ExpelMember", "expelMember"};
constexpr SdkMethod kExpelAllMembers{"ExpelAllMembers", "expelAllMembers"};
constexpr SdkMethod kPutInWaitingRoom{"PutInWaitingRoom", "putInWaitingRoom"};
constexpr SdkMethod kGetMemberList{"GetWaitingRoomMemberList", "getWaitingRoomMemberList"};
constexpr SdkMethod kGetInfo{"GetWaitingRoomInfo", "getWaitingRoomInfo"};

constexpr char kInfoName[] = "GetWaitingRoomInfo";
constexpr char kMemberListName[] = "GetWaitingRoomMemberList";
constexpr char kInfoTimedOut[] = "GetWaitingRoomInfo: no answer in time";
// Counted as the sum of the 10 ms sleeps, so the real wait is a little longer.
constexpr std::chrono::milliseconds kInfoWait(5000);

EventChannelTexts WaitingRoomTexts() {
  EventChannelTexts t{};
  t.threadStarted = "[WaitingRoomManager] 🧵 Waiting room event processing thread started";
  t.loopStopped = "[WaitingRoomManager] ⏹️ Waiting room event processing loop stopped";
  t.stoppedByFlag = "[WaitingRoomManager] 🛑 Processing stopped by flag";
  t.starting = "[WaitingRoomManager] 🔄 Starting waiting room event processing loop...";
  t.alreadyStarted = "[WaitingRoomManager] ⚠️ Waiting room event processing already started";
  t.stopping = "[WaitingRoomManager] 🛑 Stopping waiting room event processing...";
  t.stopped = "[WaitingRoomManager] ✅ Waiting room event processing stopped";
  t.tag = kTag;
  t.drainName = "ProcessWaitingRoomEventsFromJSArray";
  t.drainNeedsListeners = true;
  t.drainFailed = "[WaitingRoomManager] ❌ ProcessWaitingRoomEventsFromJSArray: JS execution failed";
  t.notObject = "[WaitingRoomManager] ❌ Expected Object";
  t.notObjectWithoutKind = true;
  t.callbackError = "[WaitingRoomManager] ❌ Error processing events: ";
  t.callbackUnknown = "[WaitingRoomManager] ❌ Unknown error processing events";
  t.singleEventError = "[WaitingRoomManager] Exception processing single event: ";
  t.singleEventUnknown = "[WaitingRoomManager] Unknown exception processing single event";
  return t;
}

// ---- diagnostics of the raw answers; they never change the outcome ----

std::string Keys(const JSValue& object) {
  std::string keys;
  for (const auto& kv : object.objectValue) keys += (keys.empty() ? "" : ", ") + kv.first;
  return keys;
}

int Kind(const JSValue& v) { return static_cast<int>(v.type); }

void InspectInfo(const JSValue& v) {
  try {
    log::Info(kTag, " 📊 GetWaitingRoomInfo raw result type: ", Kind(v));
    if (!v.IsObject()) return;
    log::Info(kTag, " 📊 GetWaitingRoomInfo result is Object, keys: ", Keys(v));
    for (const auto& [key, value] : v.objectValue) {
      if (value.IsBool())
        log::Info(kTag, " 📊   ", key, " = ", value.boolValue ? "true" : "false");
      else
        log::Info(kTag, " 📊   ", key, " = (type=", Kind(value), ")");
    }
  } catch (const std::exception& e) {
    log::Error(kTag, " Exception parsing result: ", e.what());
  }
}

void InspectMemberList(const JSValue& v) {
  try {
    log::Info(kTag, " 📊 GetWaitingRoomMemberList raw result type: ", Kind(v));
    if (v.IsArray()) {
      log::Info(kTag, " 📊 GetWaitingRoomMemberList result is Array, size: ", v.arrayValue.size());
      return;
    }
    if (!v.IsObject()) return;
    log::Info(kTag, " 📊 GetWaitingRoomMemberList result is Object, keys: ", Keys(v));
    const JSValue* success = v.Find("success");
    log::Info(kTag, " 📊   success = ",
              success && success->IsBool() ? (success->boolValue ? "true" : "false") : "unknown");
    if (const JSValue* result = v.Find("result"); result && result->IsObject()) {
      log::Info(kTag, " 📊   Found nested 'result' object, keys: ", Keys(*result));
      if (const JSValue* code = result->Find("code"); code && code->IsNumber())
        log::Info(kTag, " 📊     result.code = ", code->numberValue);
      if (const JSValue* message = result->Find("message"); message && message->IsString())
        log::Info(kTag, " 📊     result.message = \"", message->stringValue, "\"");
      const JSValue* data = result->Find("data");
      if (!data)
        log::Info(kTag, " 📊     result.data = <missing>");
      else if (data->IsArray())
        log::Info(kTag, " 📊     result.data = Array, size: ", data->arrayValue.size());
      else
        log::Info(kTag, " 📊     result.data = type ", Kind(*data));
    } else if (v.Find("code") && v.Find("data")) {
      log::Info(kTag, " 📊   Found flattened structure (code + data)");
    }
  } catch (const std::exception& e) {
    log::Error(kTag, " Exception parsing result: ", e.what());
  }
}

// ---- conversion of the two queries' answers ----

void LogSuccess(const MvWaitingRoomInfo& info) {
  log::Info(kTag, " ✅ GetWaitingRoomInfo successful - memberCount: ", info.memberCount,
            ", isEnabledOnEntry: ", info.isEnabledOnEntry ? "true" : "false", ", backgroundImageUrl: ",
            info.backgroundImageUrl.empty() ? "<empty>" : info.backgroundImageUrl);
}

void LogSuccess(const std::vector<MvWaitingRoomMember>& members) {
  log::Info(kTag, " ✅ GetWaitingRoomMemberList successful, count: ", members.size());
  for (size_t i = 0; i < members.size(); ++i) {
    const MvWaitingRoomMember& m = members[i];
    log::Info(kTag, " 📊 Member[", i, "]: uuid=", m.uuid, ", name=", m.name, ", joinTime=", m.joinTime,
              ", status=", m.status);
  }
}

// The common conversion, with its outcome logged; a success without data is
// a failure here.
template <typename T, const char* Name>
MvResult<T> ReadAnswer(const JSValue& value) {
  MvResult<T> r = ConvertToMvResult<T>(value);
  log::Info(kTag, " 📊 ConvertToMvResult result - code: ", r.code, ", message: ", r.message);
  if (r.code != 0) {
    log::Error(kTag, " ❌ ", Name, " failed: code=", r.code, ", message=", r.message);
    return r;
  }
  if (!r.data) {
    log::Error(kTag, " ❌ ", Name, ": data field is missing");
    return MvResult<T>::Failure(-1, "Missing data field");
  }
  LogSuccess(*r.data);
  return r;
}

SdkCall InfoCall() {
  SdkCall call = MethodCall(kSdk, kGetInfo);
  call.log_received = false;
  call.inspect = &InspectInfo;
  return call;
}

// The commands' frame. The resolved value is not looked at: an SDK that
// resolves with a failure code in its object still yields success.
void Command(JSBridgeAdapter* bridge, const SdkMethod& method, std::vector<JSValue> args, MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge, kSdk, method, std::move(args), std::move(done));
}

}  // namespace

// Shared with script callbacks, which may arrive after the manager is gone.
struct MvWaitingRoomManager::Core : std::enable_shared_from_this<Core> {
  std::weak_ptr<JSBridgeAdapter> bridge;
  EventChannel<IMvWaitingRoomListener> channel;

  explicit Core(std::weak_ptr<JSBridgeAdapter> b)
      : bridge(b), channel(WaitingRoomTexts(), WaitingRoomChannelScripts().drain, &DispatchWaitingRoomEvent, b,
                WaitingRoomChannelScripts().wakeKey) {}

  std::shared_ptr<JSBridgeAdapter> Bridge() const {
    auto b = bridge.lock();
    return b && b->IsInitialized() ? b : nullptr;
  }

  // Array init, then the register script; a refusal drops the last native
  // listener, whichever that is by then.
  void Register() {
    static constexpr ChannelRegistrationTexts kTexts = {
        "[WaitingRoomManager] ❌ Failed to initialize waiting room event array",
        "[WaitingRoomManager] ✅ JavaScript waiting room listener registered successfully",
        "[WaitingRoomManager] ❌ Failed to register JavaScript waiting room listener: ",
        "[WaitingRoomManager] 🔄 Rolled back C++ listener due to JS registration failure",
    };
    RegisterAndStart(bridge, WaitingRoomChannelScripts().arrayInit, WaitingRoomRegisterScript(), kTexts,
                     weak_from_this(), &channel);
  }
};

MvWaitingRoomManager::MvWaitingRoomManager(std::weak_ptr<JSBridgeAdapter> bridge)
    : MvManagerBase(bridge), core_(std::make_shared<Core>(bridge)) {}

MvWaitingRoomManager::~MvWaitingRoomManager() {
  log::Info(kTag, " Destroying, stopping event processing...");
  core_->channel.Stop();
  core_->channel.Join();
  log::Info(kTag, " Destroyed");
}

void MvWaitingRoomManager::AdmitMember(const std::string& userUuid, bool flag, MvCallback<void> done) {
  Command(bridge().get(), kAdmitMember, {JSValue(userUuid), JSValue(flag)}, std::move(done));
}

void MvWaitingRoomManager::AdmitAllMembers(MvCallback<void> done) {
  Command(bridge().get(), kAdmitAllMembers, {}, std::move(done));
}

void MvWaitingRoomManager::ExpelMember(const std::string& userUuid, bool flag, MvCallback<void> done) {
  Command(bridge().get(), kExpelMember, {JSValue(userUuid), JSValue(flag)}, std::move(done));
}

void MvWaitingRoomManager::ExpelAllMembers(bool flag, MvCallback<void> done) {
  Command(bridge().get(), kExpelAllMembers, {JSValue(flag)}, std::move(done));
}

void MvWaitingRoomManager::PutInWaitingRoom(const std::string& userUuid, MvCallback<void> done) {
  Command(bridge().get(), kPutInWaitingRoom, {JSValue(userUuid)}, std::move(done));
}

void MvWaitingRoomManager::GetWaitingRoomMemberList(int64_t fromJoinTime, int32_t count, bool flag,
                                                    MvCallback<std::vector<MvWaitingRoomMember>> done) {
  using List = std::vector<MvWaitingRoomMember>;
  SdkCall call = MethodCall(
      kSdk, kGetMemberList,
      {JSValue(static_cast<double>(fromJoinTime)), JSValue(static_cast<double>(count)), JSValue(flag)});
  call.log_received = false;
  call.inspect = &InspectMemberList;
  CallSdk<List>(bridge().get(), std::move(call), std::move(done), &ReadAnswer<List, kMemberListName>);
}

void MvWaitingRoomManager::GetWaitingRoomInfoAsync(MvCallback<MvWaitingRoomInfo> done) {
  CallSdk<MvWaitingRoomInfo>(bridge().get(), InfoCall(), std::move(done),
                             &ReadAnswer<MvWaitingRoomInfo, kInfoName>);
}

MvWaitingRoomInfo MvWaitingRoomManager::GetWaitingRoomInfo() {
  // The wait's state is shared with the callback, so an answer after the
  // time-out is dropped harmlessly.
  std::shared_ptr<JSBridgeAdapter> adapter = bridge();
  MvResult<MvWaitingRoomInfo> r = CallSdkAndWait<MvWaitingRoomInfo>(
      adapter.get(), InfoCall(), kInfoWait, kInfoTimedOut, &ReadAnswer<MvWaitingRoomInfo, kInfoName>);
  if (r.code != 0 || !r.data) {
    if (r.message == kInfoTimedOut) log::Error(kTag, " GetWaitingRoomInfo timeout");
    return MvWaitingRoomInfo{};
  }
  return *r.data;
}

void MvWaitingRoomManager::AddListener(IMvWaitingRoomListener* listener) {
  if (!listener) {
    log::Error(kTag, " ❌ AddListener called with null listener");
    return;
  }
  std::shared_ptr<JSBridgeAdapter> b;
  try {
    b = core_->Bridge();
  } catch (...) {
    log::Error(kTag, " ❌ Bridge is being destroyed, cannot register waiting room listener");
    return;
  }
  if (!b) {
    log::Error(kTag, " ❌ Bridge not initialized, cannot register waiting room listener");
    return;
  }
  // Unlike the meeting channel: erase first, then stop, then clean up.
  if (core_->channel.Erase(listener)) log::Info(kTag, " 🔄 Removed existing listener before re-adding");
  core_->channel.Stop();
  JSResult cleanup;
  if (RunChannelScript(b, WaitingRoomChannelScripts().cleanup, std::chrono::seconds(1), &cleanup)) {
    std::string error;
    if (ScriptSucceeded(cleanup, &error))
      log::Info(kTag, " 🧹 JavaScript listener cleaned up");
    else
      log::Error(kTag, " ⚠️ Failed to cleanup JavaScript listener: ", error);
  }
  const bool wasEmpty = core_->channel.Empty();
  core_->channel.Append(listener);
  log::Info(kTag, " ✅ Waiting room listener stored (total: ", core_->channel.Count(), ")");
  // No check script here: only the first listener registers. A second one
  // leaves the loop stopped and the JavaScript listener detached (above)
  // until all listeners are removed; the C layer adds one listener at most.
  if (!wasEmpty) return;
  log::Info(kTag, " 📝 Registering JavaScript waiting room listener...");
  core_->Register();
}

void MvWaitingRoomManager::RemoveListener(IMvWaitingRoomListener* listener) {
  if (listener)
    core_->channel.Erase(listener);
  else
    core_->channel.Clear();
  log::Info(kTag, " ✅ Waiting room listener removed (remaining: ", core_->channel.Count(), ")");
  if (!core_->channel.Empty()) return;
  core_->channel.Stop();
  if (auto b = core_->Bridge()) {
    b->ExecuteJS(WaitingRoomChannelScripts().remove, [](const JSResult& r) {
      std::string error;
      if (ScriptSucceeded(r, &error))
        log::Info(kTag, " ✅ JavaScript waiting room listener removed successfully");
      else
        log::Error(kTag, " ⚠️ Failed to remove JavaScript waiting room listener: ", error);
    });
  }
}

size_t MvWaitingRoomManager::ListenerCount() const { return core_->channel.Count(); }
bool MvWaitingRoomManager::EventsRunning() const { return core_->channel.Running(); }

}  // namespace morvanta
