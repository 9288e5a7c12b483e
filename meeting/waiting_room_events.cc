#include "meeting/waiting_room_events.h"

#include "core/js_fields.h"
#include "meeting/event_dispatch.h"
#include "runtime/log.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[WaitingRoomManager]";
using Listeners = std::vector<IMvWaitingRoomListener*>;
using js_fields::FieldReader;

// The JavaScript listener's methods. Two of them push a type other than their
// own name; the dispatch below knows only the types.
const std::vector<ChannelEvent>& WaitingRoomEventTable() {
  static const auto* events = new std::vector<ChannelEvent>{
      {"onMemberJoin", "member, reason", "{ member: member, reason: reason }"},
      {"onMemberLeave", "userUuid, reason", "{ userUuid: userUuid, reason: reason }"},
      {"onMemberAdmitted", "userUuid", "{ userUuid: userUuid }"},
      {"onMyWaitingRoomStatusChanged", "status, reason", "{ status: status, reason: reason }", "onMyStatusChanged"},
      {"onMemberNameChanged", "userUuid, name, operateBy", "{ userUuid: userUuid, name: name, operateBy: operateBy }"},
      {"onWaitingRoomInfoUpdated", "info", "info", "onInfoUpdated"},
      // `data` must exist on every record, so this one carries an empty object.
      {"onAllMembersKicked", "", "{}"},
      {"onManagersUpdated", "managers", "managers || []"},
  };
  return *events;
}

std::string MakeRegisterScript() {
  const std::string g = "globalThis.";
  return R"JS((function () {
  try {
    var waitingRoomManager = morVantaMeeting.getWaitingRoomManager();
    if (!waitingRoomManager) {
      return { success: false, error: 'WaitingRoomManager not available' };
    }
    var listener = )JS" +
         MakeListenerObject(kWaitingRoomGlobals, "[JS WaitingRoom Listener]", WaitingRoomEventTable()) + R"JS(;
    )JS" + g + kWaitingRoomGlobals.ref + R"JS( = listener;
    if (typeof waitingRoomManager.addListener === 'function') {
      waitingRoomManager.addListener(listener);
      console.log('[JS WaitingRoom Listener] ✅ Registered successfully');
    } else {
      return { success: false, error: 'addListener not available' };
    }
    )JS" + g + kWaitingRoomGlobals.registered + R"JS( = true;
    return { success: true, message: 'Waiting room listener registered' };
  } catch (e) {
    console.error('[JS WaitingRoom Listener] ❌ Exception:', e);
    return { success: false, error: e.message || e.toString() };
  }
})())JS";
}

// The waiting member of onMemberJoin, by this event's own keys: "uuid" only,
// never "userUuid".
MvWaitingRoomMember JoinedMember(const JSValue& member) {
  FieldReader in(member, "MvWaitingRoomMember");
  MvWaitingRoomMember m;
  m.uuid = in.String("uuid");
  m.name = in.String("name");
  m.joinTime = in.Int64("joinTime");
  m.status = in.Int32("status");
  return m;
}

// A host of onManagersUpdated: "userUuid" before "uuid", "userName" before
// "name" (the reverse of the meeting channel's member reading).
MvMember Manager(const JSValue& value) {
  FieldReader in(value, "MvMember");
  MvMember m;
  m.uuid = in.String("userUuid");
  if (m.uuid.empty()) m.uuid = in.String("uuid");
  m.name = in.String("userName");
  if (m.name.empty()) m.name = in.String("name");
  return m;
}

// Each handler does nothing, silently, when `data` has the wrong kind.
const std::vector<EventHandler<IMvWaitingRoomListener>> kHandlers = {
    {"onMemberJoin", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       const JSValue* member = d.Find("member");
       if (!member || !member->IsObject()) return;
       MvWaitingRoomMember m = JoinedMember(*member);
       int32_t reason = FieldReader(d, "onMemberJoin").Int32("reason");
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnMemberJoin(m, reason); });
     }},
    {"onMemberLeave", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       if (!d.IsObject()) return;
       FieldReader in(d, "onMemberLeave");
       std::string uuid = in.String("userUuid");
       int32_t reason = in.Int32("reason");
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnMemberLeave(uuid, reason); });
     }},
    {"onMemberAdmitted", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       if (!d.IsObject()) return;
       std::string uuid = FieldReader(d, "onMemberAdmitted").String("userUuid");
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnMemberAdmitted(uuid); });
     }},
    {"onMyStatusChanged", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       if (!d.IsObject()) return;
       FieldReader in(d, "onMyStatusChanged");
       int32_t status = in.Int32("status");
       int32_t reason = in.Int32("reason");
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnMyStatusChanged(status, reason); });
     }},
    {"onMemberNameChanged", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       if (!d.IsObject()) return;
       FieldReader in(d, "onMemberNameChanged");
       std::string uuid = in.String("userUuid");
       std::string name = in.String("name");
       // The record's operateBy is not read: no operator is passed on.
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnMemberNameChanged(uuid, name, nullptr); });
     }},
    {"onInfoUpdated", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       if (!d.IsObject()) return;
       FieldReader in(d, "MvWaitingRoomInfo");
       MvWaitingRoomInfo info;
       info.memberCount = in.Int32("memberCount");
       info.isEnabledOnEntry = in.Bool("isEnabledOnEntry");
       info.backgroundImageUrl = in.String("backgroundImageUrl");
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnInfoUpdated(info); });
     }},
    {"onAllMembersKicked", nullptr,
     [](const JSValue&, const Listeners& ls) {
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnAllMembersKicked(); });
     }},
    {"onManagersUpdated", nullptr,
     [](const JSValue& d, const Listeners& ls) {
       if (!d.IsArray()) return;
       std::vector<MvMember> managers;
       for (const JSValue& m : d.arrayValue)
         if (m.IsObject()) managers.push_back(Manager(m));
       ForEachListener(ls, [&](IMvWaitingRoomListener& l) { l.OnManagersUpdated(managers); });
     }},
};

// A record that is no object is reported here, without its kind.
const EventFrameTexts kFrame = {
    kTag,
    nullptr,
    "[WaitingRoomManager] ❌ Missing or invalid 'type' field",
    "[WaitingRoomManager] 🔔 Processing event: ",
    "[WaitingRoomManager] ❌ Missing 'data' field",
    "[WaitingRoomManager] ⚠️ Unknown event type: ",
    "[WaitingRoomManager] ❌ Error processing single event: ",
};

}  // namespace

const ChannelGlobals kWaitingRoomGlobals = {
    "__morvantaWaitingRoomCallbacks", "__morvantaWaitingRoomEventPending", "__morvantaWaitingRoomEventCount",
    "__morvantaWaitingRoomListenerRegistered", "__morvantaWaitingRoomListenerRef"};

const ChannelScripts& WaitingRoomChannelScripts() {
  static const auto* scripts = new ChannelScripts(MakeChannelScripts(
      {kWaitingRoomGlobals, "morVantaMeeting.getWaitingRoomManager()", "removeListener", false,
       "Waiting room event array initialized", "Waiting room listener cleaned up", "Waiting room listener removed"}));
  return *scripts;
}

const std::string& WaitingRoomRegisterScript() {
  static const auto* script = new std::string(MakeRegisterScript());
  return *script;
}

void DispatchWaitingRoomEvent(const JSValue& record, const Listeners& listeners) {
  if (listeners.empty()) return;
  if (!record.IsObject()) {
    log::Error(kTag, " ❌ ProcessSingleWaitingRoomEvent: Expected object");
    return;
  }
  DispatchByType(record, listeners, kFrame, kHandlers);
}

}  // namespace morvanta
