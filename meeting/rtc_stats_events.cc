#include "meeting/rtc_stats_events.h"

#include "core/js_fields.h"
#include "meeting/event_dispatch.h"
#include "runtime/log.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[MeetingManager]";
constexpr char kNotify[] = "globalThis.__morvantaNotifyRtcStatsEvent";

using js_fields::FieldReader;
using Listeners = std::vector<IMvRtcStatsListener*>;

std::string G(const char* name) { return std::string("globalThis.") + name; }

// ---- the JavaScript side ----

// One listener method. All six hand {type, data} to the notification
// function, or push it themselves when there is none; two of them log more.
struct StatsMethod {
  const char* name;
  const char* entryLog;  // JavaScript arguments of a first console.log, or null
  bool logsDirectPush;   // logs the array length after a direct push
  bool logsMissingArray; // logs when neither the function nor the array exists
};

const StatsMethod kStatsMethods[] = {
    {"onRtcStats", "'[JS Listener] 🔔 onRtcStats called, stats:', String(JSON.stringify(arg)).substring(0, 100)",
     true, false},
    {"onLocalAudioStats", nullptr, false, false},
    {"onRemoteAudioStats", nullptr, false, false},
    {"onLocalVideoStats", nullptr, false, false},
    {"onRemoteVideoStats", nullptr, false, false},
    {"onNetworkQuality", "'[JS Listener] 🔔 onNetworkQuality called, array length:', arg ? arg.length : 0", true,
     true},
};

std::string StatsListenerObject() {
  const std::string array = G(kRtcStatsGlobals.array);
  std::string text = "{";
  bool first = true;
  for (const StatsMethod& m : kStatsMethods) {
    const std::string name = m.name;
    text += first ? "\n" : ",\n";
    first = false;
    text += "      " + name + ": function (arg) {\n";
    if (m.entryLog) text += "        console.log(" + std::string(m.entryLog) + ");\n";
    text += "        try {\n";
    text += "          var record = { type: '" + name + "', data: arg };\n";
    text += "          if (typeof " + std::string(kNotify) + " === 'function') {\n";
    text += "            " + std::string(kNotify) + "(record);\n";
    text += "          } else if (" + array + ") {\n";
    text += "            " + array + ".push(record);\n";
    text += "            if (" + array + ".length === 1 && typeof globalThis.__morvantaChannelWake === 'function') "
            "globalThis.__morvantaChannelWake('" + std::string(kRtcStatsGlobals.array) + "');\n";
    if (m.logsDirectPush)
      text += "            console.log('[JS Listener] ✅ Event pushed (fallback), array length:', " + array +
              ".length);\n";
    if (m.logsMissingArray)
      text += "          } else {\n"
              "            console.log('[JS Listener] ❌ __morvantaRtcStatsCallbacks is not initialized');\n";
    text += "          }\n";
    text += "        } catch (err) {\n";
    text += "          console.error('[JS Listener] ❌ Error in " + name + "', err);\n";
    text += "        }\n";
    text += "      }";
  }
  text += "\n    }";
  return text;
}

std::string MakeRegisterScript() {
  const std::string array = G(kRtcStatsGlobals.array);
  const std::string ref = G(kRtcStatsGlobals.ref);
  return "(function () {\n"
         "  if (!" + array + ") {\n"
         "    " + array + " = [];\n"
         "  }\n"
         "  if (!" + ref + ") {\n"
         "    " + ref + " = " + StatsListenerObject() + ";\n"
         "  }\n" +
         R"JS(  try {
    var meetingManager = morVantaMeeting.getMeetingManager();
    console.log('[JS Listener] 🔍 MeetingManager:', meetingManager ? 'found' : 'not found');
    console.log('[JS Listener] 🔍 addRtcStatsListener type:', meetingManager ? typeof meetingManager.addRtcStatsListener : 'undefined');
    if (meetingManager && typeof meetingManager.addRtcStatsListener === 'function') {
      meetingManager.addRtcStatsListener()JS" + ref + ");\n      " + G(kRtcStatsGlobals.registered) + R"JS( = true;
      console.log('[JS Listener] ✅ RTC stats listener registered successfully');
      return { success: true, message: 'RTC stats listener registered' };
    }
    console.log('[JS Listener] ❌', 'MeetingManager or addRtcStatsListener not available');
    return { success: false, error: 'MeetingManager or addRtcStatsListener not available' };
  } catch (e) {
    console.error('[JS Listener] ❌ Exception:', e);
    return { success: false, error: e.message || e.toString() };
  }
})())JS";
}

std::string MakeNotificationHandlerScript() {
  const std::string array = G(kRtcStatsGlobals.array);
  const std::string pending = G(kRtcStatsGlobals.pending);
  const std::string count = G(kRtcStatsGlobals.count);
  return "(function () {\n"
         "  " + std::string(kNotify) + " = function (eventData) {\n" +
         R"JS(    try {
      var type = eventData ? eventData.type : undefined;
      console.log('[JS Notify] 🔔 Event received, type:', type);
      if (!)JS" + array + R"JS() {
        console.log('[JS Notify] 📝 Initializing __morvantaRtcStatsCallbacks array');
        )JS" + array + R"JS( = [];
      }
      var queue = )JS" + array + R"JS(;
      var before = queue.length;
      queue.push(eventData);
      var after = queue.length;
      )JS" + pending + R"JS( = true;
      )JS" + count + " = (" + count + R"JS( || 0) + 1;
      console.log('[JS Notify] ✅ Event queued, type:', type, 'length:', before, '->', after, 'count:', )JS" +
         count + R"JS();
      if (after === before) {
        console.error('[JS Notify] ❌ CRITICAL: Event was NOT added to array!');
      }
      if (after === 1 && typeof globalThis.__morvantaChannelWake === 'function') {
        globalThis.__morvantaChannelWake(')JS" + std::string(kRtcStatsGlobals.array) + R"JS(');
      }
      var last = queue[queue.length - 1];
      if (!last || last.type !== type) {
        console.error('[JS Notify] ❌ CRITICAL: Event verification failed! Expected type:', type, 'got:', last ? last.type : undefined);
      } else {
        console.log('[JS Notify] ✅ Event verified in array, current array:', JSON.stringify(queue).substring(0, 200));
      }
    } catch (e) {
      console.error('[JS Notify] ❌ Error:', e);
    }
  };
  )JS" + count + " = 0;\n  " + pending + R"JS( = false;
  console.log('[JS Notify] ✅ Notification handler registered');
  return { success: true, message: 'Notification handler registered' };
})())JS";
}

// ---- the native side ----

MvRtcStats ReadRtcStats(const FieldReader& f) {
  MvRtcStats s;
  s.duration = f.Int64("duration");
  s.txBytes = f.Int32("txBytes");
  s.rxBytes = f.Int32("rxBytes");
  s.txAudioBytes = f.Int32("txAudioBytes");
  s.txVideoBytes = f.Int32("txVideoBytes");
  s.rxAudioBytes = f.Int32("rxAudioBytes");
  s.rxVideoBytes = f.Int32("rxVideoBytes");
  return s;
}

MvLocalAudioStats ReadLocalAudio(const FieldReader& f) {
  return {f.Int32("volume"), f.Int32("numChannels"), f.Int32("sentSampleRate"), f.Int32("sentBitrate")};
}

MvLocalVideoStats ReadLocalVideo(const FieldReader& f) {
  return {f.Int32("captureWidth"),           f.Int32("captureHeight"), f.Int32("encodedFrameWidth"),
          f.Int32("encodedFrameHeight"),     f.Int32("encoderOutputFrameRate"),
          f.Int32("sentFrameRate"),          f.Int32("sentBitrate")};
}

MvRemoteAudioStats ReadRemoteAudio(const FieldReader& f) {
  return {f.String("userUuid"), f.Int32("volume"), f.Int32("receivedBitrate")};
}

MvRemoteVideoStats ReadRemoteVideo(const FieldReader& f) {
  return {f.String("userUuid"),        f.Int32("width"),
          f.Int32("height"),           f.Int32("receivedBitrate"),
          f.Int32("decoderOutputFrameRate"), f.Int32("rendererOutputFrameRate")};
}

MvNetworkQualityInfo ReadNetworkQuality(const FieldReader& f) {
  return {f.String("userUuid"), f.Int32("uplinkQuality"), f.Int32("downlinkQuality")};
}

// A single-record kind: `data` must be an object.
template <typename Record>
bool ReadObject(const char* name, const JSValue& data, Record (*read)(const FieldReader&), Record* out) {
  if (!data.IsObject()) {
    log::Error(kTag, " ❌ ", name, ": Expected object, got type ", js_fields::KindNumber(data));
    return false;
  }
  *out = read(FieldReader(data, name));
  return true;
}

// A list kind: an array whose non-object elements are skipped, or one object
// taken as a list of one.
template <typename Record>
bool ReadList(const char* name, const JSValue& data, Record (*read)(const FieldReader&),
              std::vector<Record>* out) {
  if (data.IsObject()) {
    out->push_back(read(FieldReader(data, name)));
    return true;
  }
  if (!data.IsArray()) {
    log::Error(kTag, " ❌ ", name, ": Expected array or object, got type ", js_fields::KindNumber(data));
    return false;
  }
  for (const JSValue& element : data.arrayValue)
    if (element.IsObject()) out->push_back(read(FieldReader(element, name)));
  return true;
}

template <typename Record>
void ListEvent(const char* name, const char* logName, const char* logWhat, const JSValue& data,
               Record (*read)(const FieldReader&),
               void (IMvRtcStatsListener::*method)(const std::vector<Record>&), const Listeners& listeners) {
  std::vector<Record> list;
  if (!ReadList(name, data, read, &list)) return;
  log::Info(kTag, " 🔔 ", logName, ": ", list.size(), logWhat);
  ForEachListener(listeners, [&](IMvRtcStatsListener& l) { (l.*method)(list); });
}

const EventFrameTexts kFrame = {
    kTag,
    "[MeetingManager] ❌ ProcessSingleRtcStatsEvent: Expected object, got type ",
    "[MeetingManager] ❌ ProcessSingleRtcStatsEvent: Missing or invalid 'type' field",
    "[MeetingManager] 🔔 Processing event: ",
    "[MeetingManager] ❌ ProcessSingleRtcStatsEvent: Missing 'data' field",
    "[MeetingManager] ⚠️ Unknown RTC stats event type: ",
    "[MeetingManager] ❌ Error processing single RTC stats event: ",
};

const std::vector<EventHandler<IMvRtcStatsListener>>& Handlers() {
  // Never destroyed: drains may still run on the worker while the process
  // exits, after function-local statics have been torn down.
  static const auto* handlers = new std::vector<EventHandler<IMvRtcStatsListener>>{
      {"onRtcStats", "onRtcStats",
       [](const JSValue& d, const Listeners& ls) {
         MvRtcStats s;
         if (!ReadObject("onRtcStats", d, &ReadRtcStats, &s)) return;
         log::Info(kTag, " 🔔 OnRtcStats: duration=", s.duration, ", txBytes=", s.txBytes, ", rxBytes=", s.rxBytes);
         ForEachListener(ls, [&](IMvRtcStatsListener& l) { l.OnRtcStats(s); });
       }},
      {"onLocalAudioStats", "onLocalAudioStats",
       [](const JSValue& d, const Listeners& ls) {
         MvLocalAudioStats s;
         if (!ReadObject("onLocalAudioStats", d, &ReadLocalAudio, &s)) return;
         log::Info(kTag, " 🔔 OnLocalAudioStats: volume=", s.volume, ", sentBitrate=", s.sentBitrate, " kbps");
         ForEachListener(ls, [&](IMvRtcStatsListener& l) { l.OnLocalAudioStats(s); });
       }},
      {"onRemoteAudioStats", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         ListEvent("onRemoteAudioStats", "OnRemoteAudioStats", " remote audio stats", d, &ReadRemoteAudio,
                   &IMvRtcStatsListener::OnRemoteAudioStats, ls);
       }},
      {"onLocalVideoStats", "onLocalVideoStats",
       [](const JSValue& d, const Listeners& ls) {
         MvLocalVideoStats s;
         if (!ReadObject("onLocalVideoStats", d, &ReadLocalVideo, &s)) return;
         log::Info(kTag, " 🔔 OnLocalVideoStats: ", s.captureWidth, "x", s.captureHeight, ", sentBitrate=",
                   s.sentBitrate, " kbps");
         ForEachListener(ls, [&](IMvRtcStatsListener& l) { l.OnLocalVideoStats(s); });
       }},
      {"onRemoteVideoStats", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         ListEvent("onRemoteVideoStats", "OnRemoteVideoStats", " remote video stats", d, &ReadRemoteVideo,
                   &IMvRtcStatsListener::OnRemoteVideoStats, ls);
       }},
      {"onNetworkQuality", nullptr,
       [](const JSValue& d, const Listeners& ls) {
         ListEvent("onNetworkQuality", "OnNetworkQuality", " network quality info", d, &ReadNetworkQuality,
                   &IMvRtcStatsListener::OnNetworkQuality, ls);
       }},
  };
  return *handlers;
}

}  // namespace

const ChannelGlobals kRtcStatsGlobals = {"__morvantaRtcStatsCallbacks", "__morvantaRtcStatsEventPending",
                                         "__morvantaRtcStatsEventCount", "__morvantaRtcStatsListenerRegistered",
                                         "__morvantaRtcStatsListenerRef"};

const ChannelScripts& RtcStatsChannelScripts() {
  static const auto* scripts = new ChannelScripts(MakeChannelScripts(
      {kRtcStatsGlobals, "morVantaMeeting.getMeetingManager()", "removeRtcStatsListener", false, nullptr,
       "RTC stats listener cleaned up", "RTC stats listener removed",
       "RTC stats listener cleaned up (no reference found)", true}));
  return *scripts;
}

const std::string& RtcStatsRegisterScript(bool) {
  static const auto* script = new std::string(MakeRegisterScript());
  return *script;
}

const std::string& RtcStatsNotificationHandlerScript() {
  static const auto* script = new std::string(MakeNotificationHandlerScript());
  return *script;
}

void DispatchRtcStatsEvent(const JSValue& record, const std::vector<IMvRtcStatsListener*>& listeners) {
  DispatchByType(record, listeners, kFrame, Handlers());
}

}  // namespace morvanta
