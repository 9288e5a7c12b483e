// The C side of one event channel: a process-wide list of C listener records
// (copied on add, removed by an equal record), the one native wrapper that
// fans the channel's events out to them, and the manager the wrapper is
// registered on. In worker dispatch the list's mutex is held through the C
// calls, so the C listeners of a channel are called one at a time; each
// channel has a mutex of its own. In host dispatch an event becomes one
// queued item per record, holding the event's native values; the C views are
// built when the host dispatches the item, with no mutex of the channel held.
#pragma once

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "capi/dispatch_mode.h"
#include "capi/dispatch_queue.h"
#include "runtime/log.h"

namespace morvanta {
namespace capi {

// The lines of one channel's add and remove; a null line is not written.
struct CListenerTexts {
  const char* addEntry;  // "[MeetingManager C API] 🚀 Morvanta_Meeting_Add...", at every add
  const char* creating;  // first listener: before the wrapper is registered
  const char* calling;   // ... before the manager call
  const char* firstNote; // ... after the registered line
  const char* stored;    // followed by the count and ")"
  const char* notFound;  // null: removing a record that is not there is no fault (0)
  const char* removed;   // followed by the count and ")"
};

// What the channels of one manager family share: their refusal and wrapper
// lines (null: not written) and where the count line stands.
struct CListenerFamily {
  const char* invalidHandle;      // null handle or no manager; null: refused silently
  const char* invalidListener;    // null record
  const char* registered;         // the manager took the wrapper
  const char* alreadyRegistered;  // a later record, only stored
  const char* unregistered;       // the last record went, and the wrapper with it
  // False: the count line closes an add or remove. True: it comes first,
  // right after the list changed, and an add keeps the manager before it
  // calls it.
  bool countFirst;
};

// The channels whose wrapper is registered on MvMeetingManager.
inline constexpr CListenerFamily kMeetingManagerFamily = {
    "[MeetingManager C API] ❌ Invalid handle",
    "[MeetingManager C API] ❌ Invalid listener",
    "[MeetingManager C API] ✅ Registered C++ wrapper listener with MvMeetingManager",
    "[MeetingManager C API] ℹ️ Wrapper already registered, only storing new C listener",
    "[MeetingManager C API] ✅ Unregistered C++ wrapper listener",
    false,
};

template <typename Record, typename Native, typename Manager>
class CListenerChannel {
 public:
  using AddFn = void (Manager::*)(Native*);

  CListenerChannel(const CListenerFamily& family, const CListenerTexts& texts, Native& wrapper, AddFn add,
                   AddFn remove)
      : family_(family), texts_(texts), wrapper_(wrapper), add_(add), remove_(remove) {}

  // The channel of `Wrapper` for the life of the process, with its wrapper:
  // a drain in flight may still reach the wrapper after the last C listener
  // went, and neither may end in static destruction.
  template <typename Wrapper>
  static CListenerChannel& ForProcess(const CListenerFamily& family, const CListenerTexts& texts, AddFn add,
                                      AddFn remove) {
    static auto* wrapper = new Wrapper;
    static auto* channel = new CListenerChannel(family, texts, *wrapper, add, remove);
    return *channel;
  }

  // Appends a copy of `record` (a record added twice is called twice). The
  // first one registers the wrapper on the handle's manager, which may wait
  // for the JavaScript side.
  template <typename Handle>
  int Add(Handle* handle, const Record* record) {
    Line(texts_.addEntry);
    if (!CheckArguments(handle, record)) return -1;
    std::lock_guard<std::mutex> lock(mutex_);
    bool wasEmpty = listeners_.empty();
    listeners_.push_back(std::make_shared<Registration>(*record));
    if (family_.countFirst) Count(texts_.stored);
    if (wasEmpty) {
      Line(texts_.creating);
      if (manager_) (manager_.get()->*remove_)(&wrapper_);  // the wrapper of an earlier manager
      Line(texts_.calling);
      if (family_.countFirst) manager_ = handle->manager;
      (handle->manager.get()->*add_)(&wrapper_);
      manager_ = handle->manager;
      Line(family_.registered);
      Line(texts_.firstNote);
    } else {
      Line(family_.alreadyRegistered);
    }
    if (!family_.countFirst) Count(texts_.stored);
    return 0;
  }

  // Removes the first record equal to `record` in every word. The last one
  // takes the wrapper off the manager. Calls to it still queued for host
  // dispatch are released; one running on another thread is waited for.
  template <typename Handle>
  int Remove(Handle* handle, const Record* record) {
    if (!CheckArguments(handle, record)) return -1;
    std::shared_ptr<Registration> removed;
    const int rc = RemoveLocked(record, removed);
    if (removed) Release(*removed);
    return rc;
  }

  // Calls `call` with every record, in order of addition, holding the mutex.
  template <typename Call>
  void ForEach(Call&& call) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& l : listeners_) call(l->record);
  }

  // Calls `field` of every record that has it set, in order of addition,
  // with `args` and the record's user_data, holding the mutex. Answers how
  // many were called.
  template <typename Field, typename... Args>
  size_t Call(Field field, const Args&... args) {
    std::lock_guard<std::mutex> lock(mutex_);
    return CallLocked(field, args...);
  }

  // Call, between "<tag> 🔔 <name> called (<detail>listener count: N)" and
  // the number of listeners called, both written under the mutex.
  template <typename Field, typename... Args>
  void FanOut(const char* tag, const char* name, const std::string& detail, Field field, const Args&... args) {
    std::lock_guard<std::mutex> lock(mutex_);
    log::Info(tag, " 🔔 ", name, " called (", detail, "listener count: ", listeners_.size(), ")");
    size_t forwarded = CallLocked(field, args...);
    log::Info(tag, " ✅ ", name, " forwarded to ", forwarded, " C listeners");
  }

  // One event for the records that have `field` set. `build(call, native...)`
  // makes the event's C arguments from its native values and hands them to
  // `call`, once or more. Worker dispatch: built once, now, and every record
  // is called (Call). Host dispatch: Queue.
  template <typename Field, typename Build, typename... Values>
  void Emit(Field field, Build build, const Values&... native) {
    if (HostDispatch()) {
      Queue(field, build, native...);
      return;
    }
    build([&](const auto&... args) { Call(field, args...); }, native...);
  }

  // Emit between the lines of FanOut.
  template <typename Field, typename Build, typename... Values>
  void EmitLogged(const char* tag, const char* name, const std::string& detail, Field field, Build build,
                  const Values&... native) {
    if (!HostDispatch()) {
      build([&](const auto&... args) { FanOut(tag, name, detail, field, args...); }, native...);
      return;
    }
    log::Info(tag, " 🔔 ", name, " called (", detail, "listener count: ", Size(), ")");
    const size_t queued = Queue(field, build, native...);
    log::Info(tag, " ✅ ", name, " queued for ", queued, " C listeners");
  }

  // Host dispatch: queues one item per record that has `field` set. The item
  // holds the event's native values (shared by the event's items) and, when
  // dispatched, builds the C arguments and calls that record alone. Answers
  // how many were queued.
  template <typename Field, typename Build, typename... Values>
  size_t Queue(Field field, Build build, const Values&... native) {
    auto event = std::make_shared<const std::tuple<Values...>>(native...);
    std::lock_guard<std::mutex> lock(mutex_);
    size_t queued = 0;
    for (const std::shared_ptr<Registration>& l : listeners_) {
      if (!(l->record.*field)) continue;
      // The item's token keeps the registration, and so `record`, alive.
      const Record* record = &l->record;
      DispatchQueue::Instance().Post(
          [record, field, build, event] {
            std::apply(
                [&](const Values&... n) {
                  build([&](const auto&... args) { (record->*field)(args..., record->user_data); }, n...);
                },
                *event);
          },
          l);
      ++queued;
    }
    return queued;
  }

  size_t Size() {
    std::lock_guard<std::mutex> lock(mutex_);
    return listeners_.size();
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

  // Forgets the C records (their calls still queued are released) and the
  // manager; the manager (and its loop threads) may end here, outside the
  // mutex.
  void Clear() {
    std::shared_ptr<Manager> manager;
    std::vector<std::shared_ptr<Registration>> cleared;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      cleared.swap(listeners_);
      for (const auto& l : cleared) l->alive = false;
      manager = std::move(manager_);
    }
    for (const auto& l : cleared) Release(*l);
  }

 private:
  // One C record as added; its token marks its queued calls.
  struct Registration : DispatchToken {
    explicit Registration(const Record& r) : record(r) {}
    const Record record;
  };

  static void Release(const DispatchToken& token) {
    if (DispatchQueue* queue = DispatchQueue::IfMade()) queue->Drop(token);
  }

  int RemoveLocked(const Record* record, std::shared_ptr<Registration>& removed) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = listeners_.begin();
    while (it != listeners_.end() && std::memcmp(&(*it)->record, record, sizeof(Record)) != 0) ++it;
    if (it == listeners_.end()) {
      if (!texts_.notFound) return 0;
      log::Info(texts_.notFound);
      return -1;
    }
    (*it)->alive = false;
    removed = *it;
    listeners_.erase(it);
    if (family_.countFirst) Count(texts_.removed);
    if (listeners_.empty() && manager_) {
      (manager_.get()->*remove_)(&wrapper_);
      manager_.reset();
      Line(family_.unregistered);
    }
    if (!family_.countFirst) Count(texts_.removed);
    return 0;
  }

  static void Line(const char* text) {
    if (text) log::Info(text);
  }
  void Count(const char* text) const { log::Info(text, listeners_.size(), ")"); }

  template <typename Field, typename... Args>
  size_t CallLocked(Field field, const Args&... args) const {
    size_t called = 0;
    for (const auto& e : listeners_) {
      const Record& l = e->record;
      if (!(l.*field)) continue;
      (l.*field)(args..., l.user_data);
      ++called;
    }
    return called;
  }

  template <typename Handle>
  bool CheckArguments(Handle* handle, const Record* record) const {
    if (!handle || !handle->manager) {
      if (family_.invalidHandle) log::Error(family_.invalidHandle);
      return false;
    }
    if (!record) {
      if (family_.invalidListener) log::Error(family_.invalidListener);
      return false;
    }
    return true;
  }

  const CListenerFamily family_;
  const CListenerTexts texts_;
  Native& wrapper_;
  const AddFn add_;
  const AddFn remove_;
  std::mutex mutex_;
  std::vector<std::shared_ptr<Registration>> listeners_;
  std::shared_ptr<Manager> manager_;
};

}  // namespace capi
}  // namespace morvanta
