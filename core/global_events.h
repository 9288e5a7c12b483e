// The global channel: the SDK telling the host that it is about to create,
// has created, or is about to release its RTC engine. It belongs to
// morVantaMeeting itself, not to a manager, and works like the meeting
// channels: a JavaScript listener pushes {type, data: {roomUuid}} records into
// an array on globalThis, and a native thread drains that array every 100 ms.
//
// The channel serves one native listener at a time: adding a second one
// stops the loop and detaches the JavaScript listener, and nothing restarts
// them until the list has been emptied and a listener is added again.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "meeting/channel_scripts.h"
#include "meeting/event_channel.h"

namespace morvanta {

class JSBridgeAdapter;

// Called on the bridge's thread, from the drain's callback. `roomUuid` is ""
// when the SDK gave none.
class MvGlobalEventListener {
 public:
  virtual ~MvGlobalEventListener() = default;
  virtual void beforeRtcEngineInitialize(const std::string& roomUuid) = 0;
  virtual void afterRtcEngineInitialize(const std::string& roomUuid) = 0;
  virtual void beforeRtcEngineRelease(const std::string& roomUuid) = 0;
};

// The five globals of the channel.
extern const ChannelGlobals kGlobalEventGlobals;

// The six scripts, made once. Each is one self-calling function; all but the
// drain answer {success, message|error}.
struct GlobalEventScripts {
  std::string arrayInit;     // creates the array if missing
  std::string registration;  // installs the listener on morVantaMeeting
  std::string cleanup;       // detaches before re-registering; keeps the array
  std::string finalCleanup;  // the same, when the last listener goes
  std::string clear;         // empties the array
  std::string drain;         // -> {events, length}
  std::string wakeKey;       // the array's name: the key of the push wake-up
};
const GlobalEventScripts& GlobalEventChannelScripts();

// The loop's and drain's log texts.
const EventChannelTexts& GlobalEventTexts();

// Dispatches one drained {type, data} record to `listeners` in order. Bad
// records are logged and dropped.
void DispatchGlobalEvent(const JSValue& record, const std::vector<MvGlobalEventListener*>& listeners);

// The native side of the channel: its listener list and loop, and the
// registration that runs on in script callbacks. Shared with those
// callbacks, which hold it weakly, so one that arrives after its owner is
// gone does nothing.
class GlobalEventCore : public std::enable_shared_from_this<GlobalEventCore> {
 public:
  explicit GlobalEventCore(std::weak_ptr<JSBridgeAdapter> bridge);

  // The adapter while it runs, else null.
  std::shared_ptr<JSBridgeAdapter> Bridge() const;

  // Array init, then the listener's registration; on success the loop
  // starts, on failure the last listener of the list is dropped.
  void Register();

  EventChannel<MvGlobalEventListener>& Channel() { return channel_; }

 private:
  std::weak_ptr<JSBridgeAdapter> bridge_;
  EventChannel<MvGlobalEventListener> channel_;
};

}  // namespace morvanta
