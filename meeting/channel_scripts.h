// The JavaScript side of an event channel. A listener object installed on the
// SDK pushes one {type, data} record per event into an array on globalThis;
// the native side drains that array every 100 ms with a script of its own.
// Each channel has its own five globals; the scripts that manage them are
// made once from the channel's names and kept as constant strings.
#pragma once

#include <string>
#include <vector>

namespace morvanta {

struct ChannelGlobals {
  const char* array;       // the event records
  const char* pending;     // true after a push, false after a drain (diagnosis only)
  const char* count;       // pushes so far (diagnosis only)
  const char* registered;  // asked before registering
  const char* ref;         // the listener object, for removal
};

// One JavaScript listener method: its name, its parameters and the
// expression that becomes the record's `data`.
struct ChannelEvent {
  const char* name;
  const char* params;  // "members" or "member, mute, operateBy"
  const char* data;    // "members || []" or "{member: member, mute: mute}"
  // The record's `type`, where it differs from the method's name (the
  // native side knows only the type); null means the name.
  const char* type = nullptr;
};

struct ChannelScripts {
  std::string check;      // -> boolean
  std::string arrayInit;  // creates the array if missing
  std::string cleanup;    // detaches the listener, keeps the array
  std::string remove;     // detaches the listener and drops the queued events
  std::string clear;      // empties the array
  std::string drain;      // -> {events, length}
  std::string wakeKey;    // the array's name: the key of the channel's push wake-up
};

struct ChannelScriptNames {
  ChannelGlobals globals;
  const char* managerExpr;          // "morVantaMeeting.getMeetingManager()"
  const char* removeMethod;         // "removeMeetingListener"
  bool preferRoomContext;           // meeting channel: roomContext.removeRoomListener first
  const char* arrayInitMessage;     // "Meeting event array initialized"
  const char* cleanupMessage;       // "JavaScript listener cleaned up"
  const char* removeMessage;        // "Message channel listener removed"
  // Set on a channel whose remove script always starts a fresh array, keeps
  // the pending flag, and says so when no listener reference was found.
  const char* removeWithoutRefMessage = nullptr;
  // A drain that logs what it takes and also answers pending, count and
  // cleared (read by no native code; kept for diagnosis).
  bool loggingDrain = false;
};

ChannelScripts MakeChannelScripts(const ChannelScriptNames& names);

// The listener object literal: one method per event; each logs with
// `logPrefix`, then pushes {type, data} if the array exists.
std::string MakeListenerObject(const ChannelGlobals& globals, const char* logPrefix,
                               const std::vector<ChannelEvent>& events);

// JavaScript text that finds the meeting's room context, if the SDK has one,
// into `var roomContext` (null otherwise); `meetingManager` must be defined.
std::string RoomContextLookup(bool logMissing);

}  // namespace morvanta
