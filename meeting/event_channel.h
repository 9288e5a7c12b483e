// One JavaScript-to-native event channel: the native listeners, and a thread
// that posts the channel's drain script while there is a listener, handing
// each drained record to the channel's dispatcher. It drains about every
// 100 ms, or, where the bridge lets a listener's push wake it, when woken
// and otherwise at the bridge's slower fallback poll (LifecyclePacing).
//
// Everything a drain callback touches lives in shared state, so a callback
// that arrives after the channel is gone finds nothing and returns. The
// running flag is atomic and the listener list has a lock of its own; the
// dispatcher works on a copy of the list taken for each record.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bridge/js_bridge_adapter.h"
#include "bridge/product_value.h"
#include "meeting/channel_waker.h"
#include "runtime/log.h"

namespace morvanta {

// Fixed texts of one channel's loop and drain.
struct EventChannelTexts {
  const char* threadStarted;   // loop start line
  const char* loopStopped;     // loop end line
  const char* stoppedByFlag;   // logged when a stop wakes the loop, or null
  const char* starting;        // start line
  const char* alreadyStarted;  // start while running
  const char* stopping;        // stop, first line
  const char* stopped;         // stop, last line
  const char* tag;             // "[MeetingManager]"
  const char* drainName;       // "ProcessMeetingEventsFromJSArray"
  const char* queueLog;        // "... Processing " for the native queue, or null
  bool drainNeedsListeners;    // drains skip when no listener is left
  // Drain-callback fault lines, or null where the channel is silent.
  const char* drainFailed;
  const char* notObject;       // followed by the kind number
  const char* noEvents;
  const char* callbackError;   // "... Exception in <drain> callback: "
  const char* singleEventError;
  bool notObjectWithoutKind = false;  // the notObject line is not followed by the kind
  // Logged before a non-empty batch is dispatched, around its size
  // ("<tag> 📥 Processing " <n> " global events..."), or null.
  const char* batchLog = nullptr;
  const char* batchLogSuffix = nullptr;
  const char* callbackUnknown = nullptr;     // callbackError's line for a foreign exception
  const char* singleEventUnknown = nullptr;  // singleEventError's (null: "unknown exception")
};

// Parses a JSON text answer; a parse fault logs "<tag> ❌ JSON parse error:
// <text> at offset <n>" and gives an empty value.
JSValue ParseChannelJson(const char* tag, const std::string& text);

template <typename Listener>
class EventChannel {
 public:
  using Dispatcher = std::function<void(const JSValue& record, const std::vector<Listener*>& listeners)>;

  // `wakeKey` names the channel for push wake-ups (see channel_waker.h);
  // empty, the channel is drained by its poll alone.
  EventChannel(const EventChannelTexts& texts, std::string drainScript, Dispatcher dispatch,
               std::weak_ptr<JSBridgeAdapter> bridge, std::string wakeKey = {})
      : state_(std::make_shared<State>()) {
    state_->wakeKey = std::move(wakeKey);
    state_->texts = texts;
    state_->drainScript = std::move(drainScript);
    state_->dispatch = std::move(dispatch);
    state_->bridge = std::move(bridge);
  }

  ~EventChannel() {
    Stop();
    Join();
  }

  EventChannel(const EventChannel&) = delete;
  EventChannel& operator=(const EventChannel&) = delete;

  // ---- listeners ----
  bool Contains(Listener* l) const {
    std::lock_guard<std::mutex> lock(state_->listenersMutex);
    for (Listener* x : state_->listeners)
      if (x == l) return true;
    return false;
  }
  // Erases `l`; true if it was there.
  bool Erase(Listener* l) {
    std::lock_guard<std::mutex> lock(state_->listenersMutex);
    auto& v = state_->listeners;
    for (auto it = v.begin(); it != v.end(); ++it)
      if (*it == l) {
        v.erase(it);
        return true;
      }
    return false;
  }
  void Append(Listener* l) {
    std::lock_guard<std::mutex> lock(state_->listenersMutex);
    state_->listeners.push_back(l);
  }
  void Clear() {
    std::lock_guard<std::mutex> lock(state_->listenersMutex);
    state_->listeners.clear();
  }
  // Drops the last listener, whichever it is by now (the rollback of a
  // failed registration); false if there was none.
  bool PopBack() {
    std::lock_guard<std::mutex> lock(state_->listenersMutex);
    if (state_->listeners.empty()) return false;
    state_->listeners.pop_back();
    return true;
  }
  size_t Count() const {
    std::lock_guard<std::mutex> lock(state_->listenersMutex);
    return state_->listeners.size();
  }
  bool Empty() const { return Count() == 0; }
  bool Running() const { return state_->running.load(); }
  const char* Tag() const { return state_->texts.tag; }

  // ---- loop ----
  void Start() {
    std::lock_guard<std::mutex> lock(threadMutex_);
    if (state_->running.load()) {
      log::Info(state_->texts.alreadyStarted);
      return;
    }
    // Joins the previous loop first, so two loops of one channel never run
    // together. From the loop thread itself (a listener that adds a
    // listener) the old thread is left to finish on its own.
    if (thread_.joinable()) {
      if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach();
      else
        thread_.join();
    }
    state_->running = true;
    log::Info(state_->texts.starting);
    if (std::shared_ptr<JSBridgeAdapter> bridge = state_->bridge.lock()) {
      const jsbridge::LifecyclePacing pacing = bridge->Pacing();
      std::lock_guard<std::mutex> lock(state_->mutex);
      state_->poll = pacing.channel_poll;
      // Where pushes wake the channel, what was kept while it was stopped
      // is drained at once rather than at the first (fallback) poll.
      if (pacing.event_driven) state_->woken = true;
    }
    thread_ = std::thread([s = state_] { Loop(s); });
    ConnectChannelWaker(state_->bridge, state_->wakeKey, state_);
  }

  // Lowers the flag and wakes the loop; does not wait for it.
  void Stop() {
    log::Info(state_->texts.stopping);
    state_->running = false;
    {
      std::lock_guard<std::mutex> lock(state_->mutex);
      state_->cv.notify_all();
    }
    log::Info(state_->texts.stopped);
  }

  void Join() {
    std::lock_guard<std::mutex> lock(threadMutex_);
    if (!thread_.joinable()) return;
    if (thread_.get_id() == std::this_thread::get_id())
      thread_.detach();
    else
      thread_.join();
  }

  // Posts one drain; its outcome is dispatched later on the bridge's thread.
  void Drain() { Drain(state_); }

 private:
  struct State {
    std::atomic<bool> running{false};
    mutable std::mutex listenersMutex;
    std::vector<Listener*> listeners;
    std::mutex mutex;  // guards the native queue and the sleep only
    std::condition_variable cv;
    std::deque<JSValue> queue;  // nothing fills it; kept for push-style delivery
    bool woken = false;         // a push wake-up not yet answered by a drain
    std::chrono::milliseconds poll{100};  // the sleep between drains when not woken
    std::string wakeKey;
    EventChannelTexts texts{};
    std::string drainScript;
    Dispatcher dispatch;
    std::weak_ptr<JSBridgeAdapter> bridge;

    // Called from the bridge's worker when a push makes the array non-empty.
    void Wake() {
      std::lock_guard<std::mutex> lock(mutex);
      woken = true;
      cv.notify_all();
    }
    std::vector<Listener*> Snapshot() const {
      std::lock_guard<std::mutex> lock(listenersMutex);
      return listeners;
    }
    bool HasListeners() const {
      std::lock_guard<std::mutex> lock(listenersMutex);
      return !listeners.empty();
    }
  };

  static void DispatchOne(const std::shared_ptr<State>& s, const JSValue& record) {
    try {
      s->dispatch(record, s->Snapshot());
    } catch (const std::exception& e) {
      log::Error(s->texts.singleEventError, e.what());
    } catch (...) {
      if (s->texts.singleEventUnknown)
        log::Error(s->texts.singleEventUnknown);
      else
        log::Error(s->texts.singleEventError, "unknown exception");
    }
  }

  static void Loop(std::shared_ptr<State> s) {
    log::Info(s->texts.threadStarted);
    for (;;) {
      if (!s->running.load() || !s->HasListeners()) break;
      std::unique_lock<std::mutex> lock(s->mutex);
      const auto until = std::chrono::steady_clock::now() + s->poll;
      s->cv.wait_until(lock, until, [&] { return !s->queue.empty() || s->woken || !s->running.load(); });
      s->woken = false;
      if (!s->running.load()) {
        lock.unlock();
        if (s->texts.stoppedByFlag) log::Info(s->texts.stoppedByFlag);
        break;
      }
      if (!s->queue.empty()) {
        std::deque<JSValue> batch;
        batch.swap(s->queue);
        lock.unlock();
        if (s->texts.queueLog) log::Info(s->texts.queueLog, batch.size(), " events from C++ queue...");
        while (!batch.empty()) {
          JSValue record = batch.front();
          batch.pop_front();
          DispatchOne(s, record);
        }
      } else {
        lock.unlock();
        Drain(s);
      }
    }
    log::Info(s->texts.loopStopped);
  }

  static void Drain(const std::shared_ptr<State>& s) {
    if (!s->running.load()) return;
    std::shared_ptr<JSBridgeAdapter> bridge = s->bridge.lock();
    if (!bridge || !bridge->IsInitialized() || !s->running.load()) return;
    if (s->texts.drainNeedsListeners && !s->HasListeners()) return;
    std::weak_ptr<State> weak = s;
    try {
      bridge->ExecuteJS(s->drainScript, [weak](const JSResult& result) { OnDrained(weak, result); });
    } catch (const std::exception& e) {
      log::Error(s->texts.tag, " Exception calling ExecuteJS in ", s->texts.drainName, ": ", e.what());
    } catch (...) {
      log::Error(s->texts.tag, " Unknown exception calling ExecuteJS in ", s->texts.drainName);
    }
  }

  static void OnDrained(const std::weak_ptr<State>& weak, const JSResult& result) {
    std::shared_ptr<State> s = weak.lock();
    if (!s) return;
    const EventChannelTexts& t = s->texts;
    try {
      if (!s->running.load() || !s->HasListeners()) return;
      if (!result.success) {
        if (t.drainFailed) log::Error(t.drainFailed);
        return;
      }
      JSValue value = result.value;
      if (value.IsString()) value = ParseChannelJson(t.tag, value.stringValue);
      if (!value.IsObject()) {
        if (t.notObject && t.notObjectWithoutKind)
          log::Error(t.notObject);
        else if (t.notObject)
          log::Error(t.notObject, static_cast<int>(value.type));
        return;
      }
      const JSValue* events = value.Find("events");
      if (!events || !events->IsArray()) {
        if (t.noEvents) log::Error(t.noEvents);
        return;
      }
      if (t.batchLog && !events->arrayValue.empty())
        log::Info(t.batchLog, events->arrayValue.size(), t.batchLogSuffix ? t.batchLogSuffix : "");
      for (const JSValue& record : events->arrayValue) {
        if (!s->running.load() || !s->HasListeners()) break;
        DispatchOne(s, record);
      }
    } catch (const std::exception& e) {
      log::Error(t.callbackError, e.what());
    } catch (...) {
      if (t.callbackUnknown)
        log::Error(t.callbackUnknown);
      else
        log::Error(t.callbackError, "unknown exception");
    }
  }

  std::shared_ptr<State> state_;
  std::mutex threadMutex_;
  std::thread thread_;
};

// Runs a script and waits for its answer at most `limit`. The state shared
// with the callback outlives the wait, so a late answer is harmless.
// Returns false on time-out or when no bridge is running.
bool RunChannelScript(const std::shared_ptr<JSBridgeAdapter>& bridge, const std::string& script,
                      std::chrono::milliseconds limit, JSResult* out);

// A script's value, its JSON text parsed when it came back as text.
JSValue ScriptValue(const JSResult& result);

// A script's {success, message|error} answer: true on success; `error`
// receives the failure text.
bool ScriptSucceeded(const JSResult& result, std::string* error);

// Runs a channel's array init script and then, if that succeeded, its
// register script, without waiting for either. `registered` gets the register
// script's outcome on the bridge's thread; it is not called when the array
// could not be set up (`arrayInitFailed` is logged) or the bridge went away.
void RegisterChannelScripts(const std::weak_ptr<JSBridgeAdapter>& bridge, const std::string& arrayInit,
                            const std::string& registerScript, const char* arrayInitFailed,
                            std::function<void(bool ok, const std::string& error)> registered);

// The lines of a registration that starts the loop itself.
struct ChannelRegistrationTexts {
  const char* arrayInitFailed;
  const char* registered;
  const char* failed;  // followed by the error
  const char* rolledBack;
};

// Array init, then the register script; on success `channel`'s loop starts,
// on failure its last listener, whichever that is by then, is dropped.
// `owner` keeps `channel` alive: once it is gone the answer does nothing.
template <typename Listener>
void RegisterAndStart(const std::weak_ptr<JSBridgeAdapter>& bridge, const std::string& arrayInit,
                      const std::string& registerScript, const ChannelRegistrationTexts& texts,
                      std::weak_ptr<const void> owner, EventChannel<Listener>* channel) {
  RegisterChannelScripts(bridge, arrayInit, registerScript, texts.arrayInitFailed,
                         [owner, channel, texts](bool ok, const std::string& error) {
                           auto alive = owner.lock();
                           if (!alive) return;
                           if (ok) {
                             log::Info(texts.registered);
                             channel->Start();
                             return;
                           }
                           log::Error(texts.failed, error);
                           if (channel->PopBack()) log::Info(texts.rolledBack);
                         });
}

}  // namespace morvanta
