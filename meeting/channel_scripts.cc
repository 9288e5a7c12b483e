#include "meeting/channel_scripts.h"

namespace morvanta {
namespace {

std::string G(const char* name) { return std::string("globalThis.") + name; }

// Replaces every "$NAME" placeholder of `text` by its value.
std::string Fill(std::string text, const std::vector<std::pair<std::string, std::string>>& values) {
  for (const auto& [key, value] : values) {
    for (size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + value.size()))
      text.replace(at, key.size(), value);
  }
  return text;
}

}  // namespace

std::string RoomContextLookup(bool logMissing) {
  std::string text = R"JS(
    var roomContext = null;
    try {
      if (typeof meetingManager.getRoomContext === 'function') {
        roomContext = meetingManager.getRoomContext();
      } else if (typeof morVantaMeeting.getRoomContext === 'function') {
        roomContext = morVantaMeeting.getRoomContext();
      }
    } catch (e) {
      console.log('[JS Listener] ⚠️ Could not get roomContext:', e && e.message);
      roomContext = null;
    })JS";
  if (logMissing)
    text += R"JS(
    if (!roomContext) {
      console.log('[JS Listener] ⚠️ roomContext not available, will use meetingManager.addMeetingListener');
    })JS";
  return text;
}

ChannelScripts MakeChannelScripts(const ChannelScriptNames& n) {
  // Longer keys first where one key begins with another.
  const std::vector<std::pair<std::string, std::string>> values = {
      {"$INIT_MESSAGE", n.arrayInitMessage ? n.arrayInitMessage : ""},
      {"$CLEANUP_MESSAGE", n.cleanupMessage},
      {"$REMOVE_MESSAGE", n.removeMessage ? n.removeMessage : ""},
      {"$NO_REF_MESSAGE", n.removeWithoutRefMessage ? n.removeWithoutRefMessage : ""},
      {"$ARRAY", G(n.globals.array)},
      {"$PENDING", G(n.globals.pending)},
      {"$COUNT", G(n.globals.count)},
      {"$REGISTERED", G(n.globals.registered)},
      {"$REF", G(n.globals.ref)},
      {"$MANAGER", n.managerExpr},
      {"$REMOVE", n.removeMethod},
  };
  ChannelScripts s;
  s.wakeKey = n.globals.array;
  s.check = Fill("(function () { return $REGISTERED === true; })()", values);
  s.arrayInit = Fill(R"JS((function () {
  try {
    if (!$ARRAY) {
      $ARRAY = [];
      $PENDING = false;
      $COUNT = 0;
    }
    return { success: true, message: '$INIT_MESSAGE' };
  } catch (e) {
    return { success: false, error: e.message || e.toString() };
  }
})())JS",
                     values);

  // Detaches the listener; the array stays, so queued events survive a
  // re-registration.
  std::string detach = n.preferRoomContext ? RoomContextLookup(false) + R"JS(
    if ($REF && meetingManager) {
      if (roomContext && typeof roomContext.removeRoomListener === 'function') {
        roomContext.removeRoomListener($REF);
      } else if (typeof meetingManager.$REMOVE === 'function') {
        meetingManager.$REMOVE($REF);
      }
      $REF = null;
    })JS"
                                           : R"JS(
    if ($REF && meetingManager) {
      if (typeof meetingManager.$REMOVE === 'function') {
        meetingManager.$REMOVE($REF);
      }
      $REF = null;
    })JS";
  std::string detachBlock = R"JS(
    var meetingManager = $MANAGER;)JS" + detach + R"JS(
    $REGISTERED = false;)JS";
  s.cleanup = Fill(R"JS((function () {
  try {)JS" + detachBlock + R"JS(
    return { success: true, message: '$CLEANUP_MESSAGE' };
  } catch (e) {
    console.warn('[JS Listener] ⚠️ Cleanup failed:', e && e.message);
    return { success: false, error: e.message || e.toString() };
  }
})())JS",
                   values);
  // The remove script: the listener goes, and so do the events queued for it.
  const std::string removeBody =
      n.removeWithoutRefMessage ? R"JS(
    var meetingManager = $MANAGER;
    var found = !!(meetingManager && typeof meetingManager.$REMOVE === 'function' && $REF);
    if (found) {
      meetingManager.$REMOVE($REF);
    }
    $REF = null;
    $REGISTERED = false;
    $ARRAY = [];
    return { success: true, message: found ? '$REMOVE_MESSAGE' : '$NO_REF_MESSAGE' };)JS"
                                : detachBlock + R"JS(
    if ($ARRAY) {
      $ARRAY = [];
      $PENDING = false;
    }
    return { success: true, message: '$REMOVE_MESSAGE' };)JS";
  s.remove = Fill(R"JS((function () {
  try {)JS" + removeBody + R"JS(
  } catch (e) {
    console.warn('[JS Listener] ⚠️ Remove failed:', e && e.message);
    return { success: false, error: e.message || e.toString() };
  }
})())JS",
                  values);
  s.clear = Fill(R"JS((function () {
  try {
    if ($ARRAY) {
      $ARRAY.length = 0;
      $PENDING = false;
    }
    return { success: true, message: 'Event array cleared' };
  } catch (e) {
    return { success: false, error: e.message || e.toString() };
  }
})())JS",
                 values);
  // Takes the whole array in one splice: no batch limit.
  s.drain = Fill(n.loggingDrain ? R"JS((function () {
  var events = $ARRAY;
  var length = events ? events.length : 0;
  var pending = $PENDING === true;
  var eventCount = $COUNT || 0;
  if (events === null || events === undefined) {
    console.log('[JS Poll] ⚠️ Array reference is null/undefined');
  } else if (!Array.isArray(events)) {
    console.log('[JS Poll] ⚠️ Array is not actually an array, type:', typeof events);
  } else if (length > 0) {
    console.log('[JS Poll] 📋 Array contents before splice:', JSON.stringify(events).substring(0, 200));
    console.log('[JS Poll] 📋 Array length before splice:', length, typeof events);
  }
  if (!Array.isArray(events) || length === 0) {
    $PENDING = false;
    return { events: [], length: 0, pending: false, count: eventCount, cleared: true };
  }
  console.log('[JS Poll] 🔄 About to splice, array length:', length);
  var taken = events.splice(0);
  var eventsLength = taken.length;
  $PENDING = false;
  console.log('[JS Poll] 📥 Retrieved', eventsLength, 'events; pending was', pending);
  console.log('[JS Poll] 📋 Events retrieved:', JSON.stringify(taken).substring(0, 300));
  return { events: taken, length: eventsLength, pending: false, count: eventCount, cleared: false };
})())JS"
                                 : R"JS((function () {
  var events = $ARRAY;
  if (!events || events.length === 0) {
    $PENDING = false;
    return { events: [], length: 0 };
  }
  var taken = events.splice(0);
  $PENDING = false;
  return { events: taken, length: taken.length };
})())JS",
                 values);
  return s;
}

std::string MakeListenerObject(const ChannelGlobals& g, const char* logPrefix,
                               const std::vector<ChannelEvent>& events) {
  std::string text = "{";
  bool first = true;
  for (const ChannelEvent& e : events) {
    if (!first) text += ",";
    first = false;
    std::string name = e.name;
    text += "\n      " + name + ": function (" + e.params + ") {\n";
    text += "        console.log('" + std::string(logPrefix) + " 🔔 " + name + "');\n";
    text += "        try {\n";
    text += "          if (" + G(g.array) + ") {\n";
    text += "            " + G(g.array) + ".push({ type: '" + (e.type ? e.type : name) + "', data: " + e.data + " });\n";
    text += "            " + G(g.pending) + " = true;\n";
    text += "            " + G(g.count) + " = (" + G(g.count) + " || 0) + 1;\n";
    // The first record of an empty array wakes the channel's native thread,
    // where the environment offers a wake function (see channel_wake.h).
    text += "            if (" + G(g.array) + ".length === 1 && typeof globalThis.__morvantaChannelWake === 'function') "
            "globalThis.__morvantaChannelWake('" + std::string(g.array) + "');\n";
    text += "          }\n";
    text += "        } catch (err) {\n";
    text += "          console.error('" + std::string(logPrefix) + " ❌ Error in " + name + "', err);\n";
    text += "        }\n";
    text += "      }";
  }
  text += "\n    }";
  return text;
}

}  // namespace morvanta
