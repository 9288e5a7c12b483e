// The C side of one event channel: a process-wide list of C listener records
// (copied on add, removed by an equal record), the one native wrapper that
// fans the channel's events out to them, and the manager the wrapper is
// registered on. The list's mutex is held through the C calls, so the C
// listeners of a channel are called one at a time; each channel has a mutex
// of its own.
#pragma once

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "runtime/log.h"

namespace morvanta {
namespace capi {

// The lines of a channel's add and remove.
struct CListenerTexts {
  const char* addEntry;       // "[MeetingManager C API] 🚀 Morvanta_Meeting_Add..."
  const char* creating;       // first listener: before the wrapper is registered
  const char* calling;        // ... before the manager call
  const char* firstNote;      // ... after the manager call, or null
  const char* stored;         // followed by the count and ")"
  const char* notFound;
  const char* removed;        // followed by the count and ")"
};

template <typename Record, typename Native, typename Manager>
class CListenerChannel {
 public:
  using AddFn = void (Manager::*)(Native*);

  CListenerChannel(const CListenerTexts& texts, Native& wrapper, AddFn add, AddFn remove)
      : texts_(texts), wrapper_(wrapper), add_(add), remove_(remove) {}

  // Appends a copy of `record` (a record added twice is called twice). The
  // first one registers the wrapper on the handle's manager, which may wait
  // for the JavaScript side.
  template <typename Handle>
  int Add(Handle* handle, const Record* record) {
    log::Info(texts_.addEntry);
    if (!CheckArguments(handle, record)) return -1;
    std::lock_guard<std::mutex> lock(mutex_);
    bool wasEmpty = listeners_.empty();
    listeners_.push_back(*record);
    if (wasEmpty) {
      log::Info(texts_.creating);
      if (manager_) (manager_.get()->*remove_)(&wrapper_);  // the wrapper of an earlier manager
      log::Info(texts_.calling);
      (handle->manager.get()->*add_)(&wrapper_);
      manager_ = handle->manager;
      log::Info(kTag, " ✅ Registered C++ wrapper listener with MvMeetingManager");
      if (texts_.firstNote) log::Info(texts_.firstNote);
    } else {
      log::Info(kTag, " ℹ️ Wrapper already registered, only storing new C listener");
    }
    log::Info(texts_.stored, listeners_.size(), ")");
    return 0;
  }

  // Removes the first record equal to `record` in every word. The last one
  // takes the wrapper off the manager.
  template <typename Handle>
  int Remove(Handle* handle, const Record* record) {
    if (!CheckArguments(handle, record)) return -1;
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = listeners_.begin();
    while (it != listeners_.end() && std::memcmp(&*it, record, sizeof(Record)) != 0) ++it;
    if (it == listeners_.end()) {
      log::Info(texts_.notFound);
      return -1;
    }
    listeners_.erase(it);
    if (listeners_.empty() && manager_) {
      (manager_.get()->*remove_)(&wrapper_);
      manager_.reset();
      log::Info(kTag, " ✅ Unregistered C++ wrapper listener");
    }
    log::Info(texts_.removed, listeners_.size(), ")");
    return 0;
  }

  // One event: calls `field` of every listener that has it set, in order of
  // addition, with `args` and the listener's user_data, holding the mutex.
  // Logs "<tag> 🔔 <name> called (<detail>listener count: N)" and the number
  // of listeners called.
  template <typename Field, typename... Args>
  void FanOut(const char* tag, const char* name, const std::string& detail, Field field, const Args&... args) {
    std::lock_guard<std::mutex> lock(mutex_);
    log::Info(tag, " 🔔 ", name, " called (", detail, "listener count: ", listeners_.size(), ")");
    size_t forwarded = 0;
    for (const Record& l : listeners_) {
      if (!(l.*field)) continue;
      (l.*field)(args..., l.user_data);
      ++forwarded;
    }
    log::Info(tag, " ✅ ", name, " forwarded to ", forwarded, " C listeners");
  }

  // At uninitialise, while scripts still run: the manager's native list is
  // emptied, which stops the loop and detaches the JavaScript listener. The
  // C records stay until Clear. True if a manager was registered.
  bool Stop() {
    std::shared_ptr<Manager> manager;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      manager = manager_;
    }
    if (!manager) return false;
    (manager.get()->*remove_)(nullptr);
    return true;
  }

  // Forgets the C records and the manager; the manager (and its loop
  // threads) may end here, outside the mutex.
  void Clear() {
    std::shared_ptr<Manager> manager;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      listeners_.clear();
      manager = std::move(manager_);
    }
  }

 private:
  static constexpr const char* kTag = "[MeetingManager C API]";

  template <typename Handle>
  static bool CheckArguments(Handle* handle, const Record* record) {
    if (!handle || !handle->manager) {
      log::Error(kTag, " ❌ Invalid handle");
      return false;
    }
    if (!record) {
      log::Error(kTag, " ❌ Invalid listener");
      return false;
    }
    return true;
  }

  const CListenerTexts texts_;
  Native& wrapper_;
  const AddFn add_;
  const AddFn remove_;
  std::mutex mutex_;
  std::vector<Record> listeners_;
  std::shared_ptr<Manager> manager_;
};

}  // namespace capi
}  // namespace morvanta
