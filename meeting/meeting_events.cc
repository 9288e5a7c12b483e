#include "meeting/meeting_events.h"

#include <cmath>

#include "core/js_fields.h"
#include "meeting/event_dispatch.h"
#include "runtime/log.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[MeetingManager]";

// ---- one small reader for every key, with defaults ----
double Num(const JSValue& o, const char* key) {
  const JSValue* v = o.Find(key);
  return v && v->IsNumber() ? v->numberValue : 0.0;
}
bool Flag(const JSValue& o, const char* key) {
  const JSValue* v = o.Find(key);
  if (!v) return false;
  if (v->IsBool()) return v->boolValue;
  if (v->IsNumber()) return v->numberValue != 0;
  return false;
}
std::string Text(const JSValue& o, const char* key) {
  const JSValue* v = o.Find(key);
  return v && v->IsString() ? v->stringValue : std::string();
}
// A property flag: a boolean, a number (non-zero true), or {value: "1"}.
std::optional<bool> PropertyFlag(const JSValue& properties, const char* key) {
  const JSValue* v = properties.Find(key);
  if (!v) return std::nullopt;
  if (v->IsBool()) return v->boolValue;
  if (v->IsNumber()) return v->numberValue != 0;
  if (v->IsObject()) return Text(*v, "value") == "1";
  return std::nullopt;
}

MvMemberRole RoleNamed(const std::string& name) {
  if (name == "evaluator") return MvMemberRole::Evaluator;
  if (name == "bidder") return MvMemberRole::Bidder;
  if (name == "supervise") return MvMemberRole::Supervise;
  return MvMemberRole::Host;
}

std::vector<MvMember> MemberList(const JSValue& data) {
  std::vector<MvMember> members;
  if (data.IsArray()) {
    for (const JSValue& m : data.arrayValue) members.push_back(ParseEventMember(m));
  } else if (data.IsObject()) {
    members.push_back(ParseEventMember(data));  // one member sent on its own
  }
  return members;
}

// The optional operator of an event: parsed into `slot`, or null.
const MvMember* Operator(const JSValue& data, MvMember& slot) {
  const JSValue* op = data.Find("operateBy");
  if (!op || op->IsNull() || op->IsUndefined()) return nullptr;
  slot = ParseEventMember(*op);
  return &slot;
}

using Listeners = std::vector<IMvMeetingListener*>;

bool RequireObject(const JSValue& data, const char* name) {
  if (data.IsObject()) return true;
  log::Error(kTag, " ❌ ", name, ": Expected object");
  return false;
}

// ---- handlers, one per event ----
void MembersEvent(const char* logName, void (IMvMeetingListener::*method)(const std::vector<MvMember>&),
                  const JSValue& data, const Listeners& listeners) {
  std::vector<MvMember> members = MemberList(data);
  log::Info(kTag, " 🔔 ", logName, ": ", members.size(), " members");
  ForEachListener(listeners, [&](IMvMeetingListener& l) { (l.*method)(members); });
}

void MuteEvent(const char* name, bool video, const JSValue& data, const Listeners& listeners) {
  if (!RequireObject(data, name)) return;
  const JSValue* memberValue = data.Find("member");
  MvMember member = ParseEventMember(memberValue ? *memberValue : JSValue());
  if (member.uuid.empty()) {
    log::Error(kTag, " ❌ ", name, ": Missing userUuid");
    return;
  }
  bool mute = Flag(data, "mute");
  MvMember slot;
  const MvMember* by = Operator(data, slot);
  log::Info(kTag, " 🔔 ", name, ": userUuid=", member.uuid, ", muted=", mute ? "true" : "false");
  ForEachListener(listeners, [&](IMvMeetingListener& l) {
    if (video)
      l.OnMemberVideoMuteChanged(member.uuid, mute, by);
    else
      l.OnMemberAudioMuteChanged(member.uuid, mute, by);
  });
}

MvMember MemberOf(const JSValue& data) {
  const JSValue* m = data.Find("member");
  return ParseEventMember(m ? *m : JSValue());
}

// The meeting channel says nothing of a record without a string type, and a
// missing `data` reads as undefined.
const EventFrameTexts kFrame = {
    kTag,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "[MeetingManager] ⚠️ Unknown meeting event type: ",
    "[MeetingManager] ❌ Error processing meeting event: ",
};

const std::vector<EventHandler<IMvMeetingListener>>& Handlers() {
  // Never destroyed: drains may still run on the worker while the process
  // exits, after function-local statics have been torn down.
  static const auto* handlers = new std::vector<EventHandler<IMvMeetingListener>>{
      {"onMemberJoinRoom", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         MembersEvent("OnMemberJoinRoom", &IMvMeetingListener::OnMemberJoinMeeting, d, ls);
       }},
      {"onMemberLeaveRoom", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         MembersEvent("OnMemberLeaveRoom", &IMvMeetingListener::OnMemberLeaveMeeting, d, ls);
       }},
      {"onMemberAudioMuteChanged", "OnMemberAudioMuteChanged",
       [](const JSValue& d, const Listeners& ls) { MuteEvent("OnMemberAudioMuteChanged", false, d, ls); }},
      {"onMemberVideoMuteChanged", "OnMemberVideoMuteChanged",
       [](const JSValue& d, const Listeners& ls) { MuteEvent("OnMemberVideoMuteChanged", true, d, ls); }},
      {"onRoomEnded", "OnRoomEnded",
       [](const JSValue& d, const Listeners& ls) {
         if (!RequireObject(d, "OnRoomEnded")) return;
         std::string reason = Text(d, "reason");
         std::string extra = Text(d, "extra");
         log::Info(kTag, " 🔔 OnRoomEnded: reason=", reason, ", extra=", extra);
         ForEachListener(ls, [&](IMvMeetingListener& l) { l.OnRoomEnded(reason, extra); });
       }},
      {"onMemberAudioConnectStateChanged", "OnMemberAudioConnectStateChanged",
       [](const JSValue& d, const Listeners& ls) {
         if (!RequireObject(d, "OnMemberAudioConnectStateChanged")) return;
         MvMember member = MemberOf(d);
         bool connected = Flag(d, "isAudioConnected");
         log::Info(kTag, " 🔔 OnMemberAudioConnectStateChanged: userUuid=", member.uuid,
                   ", isAudioConnected=", connected ? "true" : "false");
         ForEachListener(ls, [&](IMvMeetingListener& l) { l.OnMemberAudioConnectStateChanged(member, connected); });
       }},
      {"onMemberJoinChatroom", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         MembersEvent("OnMemberJoinChatroom", &IMvMeetingListener::OnMemberJoinChatroom, d, ls);
       }},
      {"onMemberLeaveChatroom", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         MembersEvent("OnMemberLeaveChatroom", &IMvMeetingListener::OnMemberLeaveChatroom, d, ls);
       }},
      {"onMemberScreenShareStateChanged", "OnMemberScreenShareStateChanged",
       [](const JSValue& d, const Listeners& ls) {
         if (!RequireObject(d, "OnMemberScreenShareStateChanged")) return;
         MvMember member = MemberOf(d);
         bool sharing = Flag(d, "isSharing");
         MvMember slot;
         const MvMember* by = Operator(d, slot);
         log::Info(kTag, " 🔔 OnMemberScreenShareStateChanged: userUuid=", member.uuid,
                   ", isSharing=", sharing ? "true" : "false");
         ForEachListener(ls, [&](IMvMeetingListener& l) { l.OnMemberScreenShareStateChanged(member, sharing, by); });
       }},
      {"onReceiveChatroomMessages", "OnReceiveChatroomMessages",
       [](const JSValue& d, const Listeners& ls) {
         std::vector<MvChatMessage> messages;
         if (d.IsArray()) {
           for (const JSValue& m : d.arrayValue) messages.push_back(ParseEventMessage(m));
         } else if (d.IsObject()) {
           messages.push_back(ParseEventMessage(d));
         } else {
           log::Error(kTag, " ❌ OnReceiveChatroomMessages: Unexpected data type");
           return;
         }
         log::Info(kTag, " 🔔 OnReceiveChatroomMessages: received ", messages.size());
         ForEachListener(ls, [&](IMvMeetingListener& l) { l.OnReceiveChatroomMessages(messages); });
       }},
      {"onMemberChatBanStateChanged", "OnMemberChatBanStateChanged",
       [](const JSValue& d, const Listeners& ls) {
         if (!RequireObject(d, "OnMemberChatBanStateChanged")) return;
         MvMember member = MemberOf(d);
         bool banned = Flag(d, "banned");
         int32_t duration = js_fields::TruncateToInt32(Num(d, "duration"));
         std::string notifyExt = Text(d, "notifyExt");
         MvMember slot;
         const MvMember* by = Operator(d, slot);
         log::Info(kTag, " 🔔 OnMemberChatBanStateChanged: userUuid=", member.uuid,
                   ", banned=", banned ? "true" : "false", ", duration=", duration);
         ForEachListener(ls, [&](IMvMeetingListener& l) {
           l.OnMemberChatBanStateChanged(member, banned, duration, notifyExt, by);
         });
       }},
  };
  return *handlers;
}

std::vector<ChannelEvent> MeetingEventTable() {
  std::vector<ChannelEvent> events;
  const char* const kMembers[] = {"onMemberJoinRoom", "onMemberLeaveRoom"};
  for (const char* n : kMembers) events.push_back({n, "members", "members || []"});
  events.push_back({"onMemberAudioMuteChanged", "member, mute, operateBy",
                    "{ member: member, mute: mute, operateBy: operateBy }"});
  events.push_back({"onMemberVideoMuteChanged", "member, mute, operateBy",
                    "{ member: member, mute: mute, operateBy: operateBy }"});
  events.push_back({"onRoomEnded", "reason, extra", "{ reason: reason, extra: extra }"});
  events.push_back({"onMemberAudioConnectStateChanged", "member, isAudioConnected",
                    "{ member: member, isAudioConnected: isAudioConnected }"});
  events.push_back({"onMemberJoinChatroom", "members", "members || []"});
  events.push_back({"onMemberLeaveChatroom", "members", "members || []"});
  events.push_back({"onMemberScreenShareStateChanged", "member, isSharing, operateBy",
                    "{ member: member, isSharing: isSharing, operateBy: operateBy }"});
  events.push_back({"onReceiveChatroomMessages", "messages", "messages || []"});
  events.push_back({"onMemberChatBanStateChanged", "member, banned, duration, notifyExt, operateBy",
                    "{ member: member, banned: banned, duration: duration, notifyExt: notifyExt, "
                    "operateBy: operateBy }"});
  return events;
}

std::string MakeRegisterScript(bool reregister) {
  const std::string ref = std::string("globalThis.") + kMeetingGlobals.ref;
  std::string text = R"JS((function () {
  try {
    var meetingManager = morVantaMeeting.getMeetingManager();
    if (!meetingManager) {
      return { success: false, error: 'MeetingManager not available' };
    })JS" + RoomContextLookup(true);
  if (reregister) {
    text += "\n    if (" + ref + ") {\n"
            "      if (roomContext && typeof roomContext.removeRoomListener === 'function') {\n"
            "        roomContext.removeRoomListener(" + ref + ");\n"
            "      } else if (typeof meetingManager.removeMeetingListener === 'function') {\n"
            "        meetingManager.removeMeetingListener(" + ref + ");\n"
            "      }\n"
            "    }";
  }
  text += "\n    var listener = " + MakeListenerObject(kMeetingGlobals, "[JS Meeting Listener]", MeetingEventTable()) +
          ";\n    " + ref + " = listener;";
  text += R"JS(
    if (roomContext && typeof roomContext.addRoomListener === 'function') {
      roomContext.addRoomListener(listener);
      console.log('[JS Meeting Listener] ✅ Registered via roomContext.addRoomListener');
    } else if (typeof meetingManager.addMeetingListener === 'function') {
      meetingManager.addMeetingListener(listener);
      console.log('[JS Meeting Listener] ✅ Registered via meetingManager.addMeetingListener');
    } else {
      return { success: false, error: 'Neither roomContext.addRoomListener nor meetingManager.addMeetingListener available' };
    }
    globalThis.)JS" + std::string(kMeetingGlobals.registered) + R"JS( = true;
    return { success: true, message: 'Meeting listener registered' };
  } catch (e) {
    console.error('[JS Meeting Listener] ❌ Exception:', e);
    return { success: false, error: e.message || e.toString() };
  }
})())JS";
  return text;
}

}  // namespace

const ChannelGlobals kMeetingGlobals = {"__morvantaMeetingCallbacks", "__morvantaMeetingEventPending",
                                        "__morvantaMeetingEventCount", "__morvantaMeetingListenerRegistered",
                                        "__morvantaMeetingListenerRef"};

const ChannelScripts& MeetingChannelScripts() {
  static const auto* scripts = new ChannelScripts(MakeChannelScripts(
      {kMeetingGlobals, "morVantaMeeting.getMeetingManager()", "removeMeetingListener", true,
       "Meeting event array initialized", "JavaScript listener cleaned up", nullptr}));
  return *scripts;
}

const std::string& MeetingRegisterScript(bool reregister) {
  static const auto* first = new std::string(MakeRegisterScript(false));
  static const auto* again = new std::string(MakeRegisterScript(true));
  return reregister ? *again : *first;
}

MvMember ParseEventMember(const JSValue& value) {
  MvMember m;
  if (value.IsString()) {
    m.uuid = value.stringValue;  // some events carry a bare identifier
    return m;
  }
  if (!value.IsObject()) return m;
  m.uuid = Text(value, "uuid");
  if (m.uuid.empty()) m.uuid = Text(value, "userUuid");
  m.name = Text(value, "name");
  if (m.name.empty()) m.name = Text(value, "userName");
  m.isAudioConnected = Flag(value, "isAudioConnected");
  m.isAudioOn = Flag(value, "isAudioOn");
  m.isVideoOn = Flag(value, "isVideoOn");
  m.isSharingScreen = Flag(value, "isSharingScreen");
  m.isSharingSystemAudio = Flag(value, "isSharingSystemAudio");
  m.isSharingWhiteboard = Flag(value, "isSharingWhiteboard");
  m.isInChatroom = Flag(value, "isInChatroom");
  m.isInRtcChannel = Flag(value, "isInRtcChannel");
  m.inviteState = js_fields::TruncateToInt32(Num(value, "inviteState"));
  if (const JSValue* role = value.Find("role")) {
    if (role->IsObject())
      m.role = RoleNamed(Text(*role, "name"));
    else if (role->IsString())
      m.role = RoleNamed(role->stringValue);
  }
  m.clientType = js_fields::TruncateToInt32(Num(value, "clientType"));
  if (const JSValue* props = value.Find("properties"); props && props->IsObject()) {
    m.wbDrawable = PropertyFlag(*props, "wbDrawable");
    m.phoneState = PropertyFlag(*props, "phoneState");
    m.speakerOn = PropertyFlag(*props, "speakerOn");
    if (const JSValue* tag = props->Find("tag"); tag && tag->IsObject()) m.tag = Text(*tag, "value");
  }
  if (const JSValue* avatar = value.Find("avatar"); avatar && avatar->IsString()) m.avatar = avatar->stringValue;
  return m;
}

MvChatMessage ParseEventMessage(const JSValue& value) {
  MvChatMessage msg;
  if (!value.IsObject()) return msg;
  msg.fromUserUuid = Text(value, "fromUserUuid");
  msg.fromNick = Text(value, "fromNick");
  if (const JSValue* a = value.Find("fromAvatar"); a && a->IsString()) msg.fromAvatar = a->stringValue;
  msg.time = js_fields::TruncateToInt64(Num(value, "time"));
  msg.chatroomType = Num(value, "chatroomType") == 1 ? 1 : 0;
  if (const JSValue* to = value.Find("toUserUuidList"); to && to->IsArray()) {
    std::vector<std::string> list;
    for (const JSValue& u : to->arrayValue)
      if (u.IsString()) list.push_back(u.stringValue);
    msg.toUserUuidList = list;
  }
  static const char* const kKinds[] = {"text", "image", "audio", "video", "file",
                                       "geo",  "custom", "tip", "notification"};
  std::string kind = Text(value, "messageType");
  msg.messageType = kMvChatMessageText;
  for (int i = 0; i < 9; ++i)
    if (kind == kKinds[i]) msg.messageType = i;
  if (msg.messageType == kMvChatMessageImage || msg.messageType == kMvChatMessageFile) {
    MvChatMessageFile file;
    file.name = Text(value, "displayName");
    file.ext = Text(value, "extension");
    file.url = Text(value, "url");
    file.filePath = Text(value, "path");
    file.size = static_cast<uint64_t>(js_fields::TruncateToInt64(Num(value, "size")));
    if (msg.messageType == kMvChatMessageImage) {
      file.w = js_fields::TruncateToInt32(Num(value, "width"));
      file.h = js_fields::TruncateToInt32(Num(value, "height"));
    }
    msg.file = file;
  } else if (msg.messageType == kMvChatMessageCustom || msg.messageType == kMvChatMessageNotification) {
    msg.custom = Text(value, "attachStr");
  } else {
    msg.text = Text(value, "text");
  }
  return msg;
}

void DispatchMeetingEvent(const JSValue& record, const std::vector<IMvMeetingListener*>& listeners) {
  DispatchByType(record, listeners, kFrame, Handlers());
}

}  // namespace morvanta
