#include "meeting/message_channel_events.h"

#include "core/js_fields.h"
#include "meeting/event_dispatch.h"
#include "runtime/log.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[MeetingManager]";

using js_fields::FieldReader;
using Listeners = std::vector<IMvMessageChannelListener*>;

std::string G(const char* name) { return std::string("globalThis.") + name; }

const std::vector<ChannelEvent> kMessageEvents = {
    {"onCustomMessageReceived", "message", "message"},
    {"onSessionMessageReceived", "data", "data"},
    {"onSessionMessageRecentChanged", "data", "data || []"},
    {"onSessionMessageDeleted", "data", "data"},
    {"onDeleteAllSessionMessage", "sessionId, sessionType", "{ sessionId: sessionId, sessionType: sessionType }"},
};

std::string MakeRegisterScript() {
  return R"JS((function () {
  try {
    var meetingManager = morVantaMeeting.getMeetingManager();
    if (!meetingManager) {
      return { success: false, error: 'MeetingManager not available' };
    }
    var listener = )JS" +
         MakeListenerObject(kMessageChannelGlobals, "[JS MessageChannel Listener]", kMessageEvents) + ";\n    " +
         G(kMessageChannelGlobals.ref) + R"JS( = listener;
    if (typeof meetingManager.addMessageChannelListener !== 'function') {
      return { success: false, error: 'addMessageChannelListener not available on MeetingManager' };
    }
    meetingManager.addMessageChannelListener(listener);
    console.log('[JS MessageChannel Listener] ✅ Registered successfully');
    )JS" + G(kMessageChannelGlobals.registered) +
         R"JS( = true;
    return { success: true, message: 'Message channel listener registered' };
  } catch (e) {
    console.error('[JS MessageChannel Listener] ❌ Exception:', e);
    return { success: false, error: e.message || e.toString() };
  }
})())JS";
}

MvSessionMessage ReadSessionMessage(const JSValue& data) {
  FieldReader f(data, "MvSessionMessage");
  MvSessionMessage m;
  m.sessionId = f.String("sessionId");
  m.sessionType = SessionTypeFromNumber(f.Double("sessionType"));
  m.messageId = f.String("messageId");
  m.data = f.String("data");
  m.time = f.Int64("time");
  return m;
}

void SessionMessageEvent(const char* name, void (IMvMessageChannelListener::*method)(const MvSessionMessage&),
                         const JSValue& data, const Listeners& listeners) {
  if (!data.IsObject()) return;
  MvSessionMessage m = ReadSessionMessage(data);
  log::Info(kTag, " 🔔 ", name, ": sessionId=", m.sessionId, ", messageId=", m.messageId);
  ForEachListener(listeners, [&](IMvMessageChannelListener& l) { (l.*method)(m); });
}

// Silent at every step: a bad frame, a missing type and an unknown one alike.
const EventFrameTexts kFrame = {
    kTag, nullptr, nullptr, nullptr, nullptr, nullptr, "[MeetingManager] ❌ Error processing message channel event: ",
};

const std::vector<EventHandler<IMvMessageChannelListener>>& Handlers() {
  // Never destroyed: drains may still run on the worker while the process
  // exits, after function-local statics have been torn down.
  static const auto* handlers = new std::vector<EventHandler<IMvMessageChannelListener>>{
      {"onCustomMessageReceived", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         if (!d.IsObject()) return;
         FieldReader f(d, "MvCustomMessage");
         MvCustomMessage m{f.String("roomUuid"), f.String("senderUuid"), f.String("data"), f.Int64("timestamp")};
         log::Info(kTag, " 🔔 OnCustomMessageReceived: roomUuid=", m.roomUuid, ", senderUuid=", m.senderUuid);
         ForEachListener(ls, [&](IMvMessageChannelListener& l) { l.OnCustomMessageReceived(m); });
       }},
      {"onSessionMessageReceived", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         SessionMessageEvent("OnSessionMessageReceived", &IMvMessageChannelListener::OnSessionMessageReceived, d,
                             ls);
       }},
      {"onSessionMessageRecentChanged", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         if (!d.IsArray()) return;
         std::vector<MvSessionRecentInfo> sessions;
         for (const JSValue& e : d.arrayValue) {
           if (!e.IsObject()) continue;
           FieldReader f(e, "MvSessionRecentInfo");
           sessions.push_back({f.String("sessionId"), SessionTypeFromNumber(f.Double("sessionType")),
                               f.Int32("unreadCount")});
         }
         log::Info(kTag, " 🔔 OnSessionMessageRecentChanged: ", sessions.size(), " sessions");
         ForEachListener(ls, [&](IMvMessageChannelListener& l) { l.OnSessionMessageRecentChanged(sessions); });
       }},
      {"onSessionMessageDeleted", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         SessionMessageEvent("OnSessionMessageDeleted", &IMvMessageChannelListener::OnSessionMessageDeleted, d, ls);
       }},
      {"onDeleteAllSessionMessage", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         if (!d.IsObject()) return;
         FieldReader f(d, "onDeleteAllSessionMessage");
         std::string sessionId = f.String("sessionId");
         MvSessionType type = SessionTypeFromNumber(f.Double("sessionType"));
         log::Info(kTag, " 🔔 OnDeleteAllSessionMessage: sessionId=", sessionId);
         ForEachListener(ls, [&](IMvMessageChannelListener& l) { l.OnDeleteAllSessionMessage(sessionId, type); });
       }},
  };
  return *handlers;
}

}  // namespace

MvSessionType SessionTypeFromNumber(double value) {
  return js_fields::TruncateToInt32(value) == 0 ? MvSessionType::Default : MvSessionType::Other;
}

const ChannelGlobals kMessageChannelGlobals = {
    "__morvantaMessageChannelCallbacks", "__morvantaMessageChannelEventPending", "__morvantaMessageChannelEventCount",
    "__morvantaMessageChannelListenerRegistered", "__morvantaMessageChannelListenerRef"};

const ChannelScripts& MessageChannelScripts() {
  static const auto* scripts = new ChannelScripts(MakeChannelScripts(
      {kMessageChannelGlobals, "morVantaMeeting.getMeetingManager()", "removeMessageChannelListener", false,
       "Message channel event array initialized", "Message channel listener cleaned up",
       "Message channel listener removed"}));
  return *scripts;
}

const std::string& MessageChannelRegisterScript(bool) {
  static const auto* script = new std::string(MakeRegisterScript());
  return *script;
}

void DispatchMessageChannelEvent(const JSValue& record, const std::vector<IMvMessageChannelListener*>& listeners) {
  DispatchByType(record, listeners, kFrame, Handlers());
}

}  // namespace morvanta
