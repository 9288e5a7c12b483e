// Attaching and detaching one channel's JavaScript listener around its event
// loop: the add path (cleanup, stop, store, check, register), the register
// chain (array init, register, an optional follow-up script, start), the
// re-registration after a meeting is entered, and the removal of listeners
// with the last one's script. The channels differ only in the texts and the
// few choices of their ChannelProfile.
//
// Callbacks hold a weak reference, so an answer that arrives after the
// channel is gone does nothing.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "meeting/event_channel.h"

namespace morvanta {

struct ChannelProfile {
  // ---- scripts ----
  const ChannelScripts& (*scripts)();
  const std::string& (*registerScript)(bool reregister);
  bool arrayInit;  // run the array init script before the register script
  // Posted after a successful registration without waiting for it, or null.
  const std::string& (*followUpScript)();
  // The script of the last listener's removal: clear or remove.
  std::string ChannelScripts::*lastListenerScript;

  // ---- choices ----
  // The add path waits (500 ms) for the check on the caller's thread; else
  // the check's answer carries on in its callback.
  bool waitForCheck;
  // The re-registration after a meeting is entered pops the last listener
  // when it fails, as the first registration does.
  bool rollbackOnReregister;
  // The last removal runs cleanup (and waits) before its script.
  bool cleanupBeforeLastScript;

  // ---- texts ----
  const char* nullListener;       // add with null
  const char* noBridge;           // add without a running bridge
  const char* cleanedUp;          // cleanup answered success
  const char* cleanupFailed;      // ... failure, followed by the error
  const char* countLine;          // after the add, followed by the count
  const char* alreadyRegistered;  // the check said yes
  const char* registering;        // the check said no
  const char* arrayInitFailed;
  const char* registered;
  const char* registerFailed;     // followed by the error
  const char* rolledBack;
  const char* reregistering;      // re-registration after a meeting is entered
  const char* removingAll;        // remove with null, or null
  const char* remainingLine;      // after a remove, followed by the count
  const char* lastScriptDone;     // the last listener's script succeeded
  const char* lastScriptFailed;   // ... failed, followed by the error; or null
  const char* followUpAnnounce;   // before the follow-up script
  const char* followUpDone;
  const char* followUpFailed;     // followed by the error
};

template <typename Listener>
class RegisteredChannel : public std::enable_shared_from_this<RegisteredChannel<Listener>> {
 public:
  using Dispatcher = typename EventChannel<Listener>::Dispatcher;

  RegisteredChannel(const ChannelProfile& profile, const EventChannelTexts& loopTexts, Dispatcher dispatch,
                    std::weak_ptr<JSBridgeAdapter> bridge)
      : p_(profile), events_(loopTexts, profile.scripts().drain, std::move(dispatch), bridge, profile.scripts().wakeKey), bridge_(bridge) {}

  EventChannel<Listener>& Events() { return events_; }
  const EventChannel<Listener>& Events() const { return events_; }

  // Stores the listener and makes sure the JavaScript listener is attached.
  // Detaches first, so the loop is restarted by a fresh registration; events
  // queued meanwhile stay in the array.
  void Add(Listener* listener) {
    if (!listener) {
      log::Error(p_.nullListener);
      return;
    }
    auto b = Bridge();
    if (!b) {
      log::Error(p_.noBridge);
      return;
    }
    Cleanup();
    events_.Stop();
    if (events_.Erase(listener)) log::Info(events_.Tag(), " 🔄 Removed existing listener before re-adding");
    events_.Append(listener);
    log::Info(p_.countLine, events_.Count());

    const std::string& check = p_.scripts().check;
    if (p_.waitForCheck) {
      JSResult answer;
      OnChecked(RunChannelScript(b, check, std::chrono::milliseconds(500), &answer) && IsTrue(answer));
      return;
    }
    std::weak_ptr<RegisteredChannel> weak = this->weak_from_this();
    b->ExecuteJS(check, [weak](const JSResult& answer) {
      if (auto self = weak.lock()) self->OnChecked(IsTrue(answer));
    });
  }

  // Null removes all. The last removal stops the loop and detaches the
  // JavaScript listener; a removal that leaves the list empty does so even
  // when the listener was not there.
  void Remove(Listener* listener) {
    if (listener) {
      events_.Erase(listener);
    } else {
      if (p_.removingAll) log::Info(p_.removingAll);
      events_.Clear();
    }
    log::Info(p_.remainingLine, events_.Count());
    if (!events_.Empty()) return;
    events_.Stop();
    if (p_.cleanupBeforeLastScript) Cleanup();
    auto b = Bridge();
    if (!b) return;
    const char* done = p_.lastScriptDone;
    const char* failed = p_.lastScriptFailed;
    b->ExecuteJS(p_.scripts().*p_.lastListenerScript, [done, failed](const JSResult& r) {
      std::string error;
      if (ScriptSucceeded(r, &error))
        log::Info(done);
      else if (failed)
        log::Error(failed, error);
    });
  }

  // After a meeting is entered: re-attaches a listener whose registration
  // was lost. One that is registered stays where it is.
  void Ensure() {
    if (events_.Empty()) return;
    auto b = Bridge();
    if (!b) return;
    std::weak_ptr<RegisteredChannel> weak = this->weak_from_this();
    b->ExecuteJS(p_.scripts().check, [weak](const JSResult& answer) {
      auto self = weak.lock();
      if (!self || IsTrue(answer)) return;
      log::Info(self->p_.reregistering);
      self->Register(true, self->p_.rollbackOnReregister);
    });
  }

 private:
  static bool IsTrue(const JSResult& r) { return r.success && r.value.IsBool() && r.value.boolValue; }

  std::shared_ptr<JSBridgeAdapter> Bridge() const {
    auto b = bridge_.lock();
    return b && b->IsInitialized() ? b : nullptr;
  }

  // Runs the cleanup script and waits up to 1 s; carries on whatever happened.
  void Cleanup() {
    JSResult result;
    if (!RunChannelScript(Bridge(), p_.scripts().cleanup, std::chrono::seconds(1), &result)) return;
    std::string error;
    if (ScriptSucceeded(result, &error))
      log::Info(p_.cleanedUp);
    else
      log::Error(p_.cleanupFailed, error);
  }

  void OnChecked(bool registered) {
    // A list emptied meanwhile has nothing to register for.
    if (registered || events_.Empty()) {
      log::Info(p_.alreadyRegistered);
      return;
    }
    log::Info(p_.registering);
    Register(false, true);
  }

  // Array init (where the channel has one), then the register script. On
  // success the follow-up script is posted and the loop starts; a refusal
  // pops the last native listener when `rollback` is set.
  void Register(bool reregister, bool rollback) {
    auto b = Bridge();
    if (!b) return;
    std::weak_ptr<RegisteredChannel> weak = this->weak_from_this();
    auto registered = [weak, rollback](bool ok, const std::string& error) {
      if (auto self = weak.lock()) self->OnRegistered(ok, error, rollback);
    };
    const std::string& script = p_.registerScript(reregister);
    if (p_.arrayInit) {
      RegisterChannelScripts(bridge_, p_.scripts().arrayInit, script, p_.arrayInitFailed, registered);
      return;
    }
    b->ExecuteJS(script, [registered](const JSResult& r) {
      std::string error;
      bool ok = ScriptSucceeded(r, &error);
      registered(ok, error);
    });
  }

  void OnRegistered(bool ok, const std::string& error, bool rollback) {
    if (!ok) {
      log::Error(p_.registerFailed, error);
      if (rollback && events_.PopBack()) log::Info(p_.rolledBack);
      return;
    }
    log::Info(p_.registered);
    if (p_.followUpScript) RunFollowUp();
    events_.Start();
  }

  // Not waited for: events fired before it is in place take the listener's
  // direct path.
  void RunFollowUp() {
    auto b = Bridge();
    if (!b) return;
    log::Info(p_.followUpAnnounce);
    const char* done = p_.followUpDone;
    const char* failed = p_.followUpFailed;
    b->ExecuteJS(p_.followUpScript(), [done, failed](const JSResult& r) {
      std::string error;
      if (ScriptSucceeded(r, &error))
        log::Info(done);
      else
        log::Error(failed, error);
    });
  }

  const ChannelProfile p_;
  EventChannel<Listener> events_;
  std::weak_ptr<JSBridgeAdapter> bridge_;
};

}  // namespace morvanta
