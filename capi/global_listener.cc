// C listeners of the global channel (RTC engine events). Each C record gets
// a native wrapper of its own, registered on MvGatherdeck. The record table
// and the wrapper table are guarded by g_global_listener_mutex, which is not
// held while a C listener runs: each wrapper has a lock of its own for that.
// In host dispatch a wrapper queues its calls under its record's token.
#include <mutex>
#include <string>

#include "capi/dispatch_mode.h"
#include "capi/dispatch_queue.h"
#include "capi/sdk_state.h"
#include "core/global_events.h"
#include "runtime/log.h"

namespace morvanta {
namespace capi {

namespace {

constexpr char kTag[] = "[Gatherdeck C API]";

bool SameListener(const MorvantaGlobalEventListener& a, const MorvantaGlobalEventListener& b) {
  return a.before_rtc_engine_initialize == b.before_rtc_engine_initialize &&
         a.after_rtc_engine_initialize == b.after_rtc_engine_initialize &&
         a.before_rtc_engine_release == b.before_rtc_engine_release && a.user_data == b.user_data;
}

}  // namespace

// Hands each event to one C record. A wrapper can be disabled: from then on
// it calls nothing, whoever still holds its address.
class GlobalEventListenerWrapper : public MvGlobalEventListener {
 public:
  explicit GlobalEventListenerWrapper(const MorvantaGlobalEventListener& record) : record_(record) {}

  bool Matches(const MorvantaGlobalEventListener& record) const { return SameListener(record_, record); }

  // Waits for a call in progress on another thread; a listener that removes
  // itself from within its own call is not waited for. Calls still queued
  // for host dispatch are released.
  void Disable() {
    {
      std::lock_guard<std::recursive_mutex> lock(mutex_);
      enabled_ = false;
      token_->alive = false;
    }
    if (DispatchQueue* queue = DispatchQueue::IfMade()) queue->Drop(*token_);
  }

  void beforeRtcEngineInitialize(const std::string& roomUuid) override {
    Call(record_.before_rtc_engine_initialize, roomUuid);
  }
  void afterRtcEngineInitialize(const std::string& roomUuid) override {
    Call(record_.after_rtc_engine_initialize, roomUuid);
  }
  void beforeRtcEngineRelease(const std::string& roomUuid) override {
    Call(record_.before_rtc_engine_release, roomUuid);
  }

 private:
  using Function = void (*)(const char*, void*);

  void Call(Function function, const std::string& roomUuid) {
    if (!function) return;
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!enabled_) return;
    if (!HostDispatch()) {
      function(roomUuid.c_str(), record_.user_data);
      return;
    }
    DispatchQueue::Instance().Post(
        [function, roomUuid, user_data = record_.user_data] { function(roomUuid.c_str(), user_data); }, token_);
  }

  const MorvantaGlobalEventListener record_;
  std::recursive_mutex mutex_;
  bool enabled_ = true;
  const std::shared_ptr<DispatchToken> token_ = std::make_shared<DispatchToken>();
};

namespace {

// Wrappers whose record was removed. A drain that took its listener list
// just before the removal may still call one, so they are kept (disabled)
// for the life of the process; each is a few words.
std::vector<std::shared_ptr<GlobalEventListenerWrapper>>& RetiredWrappers() {
  static auto* retired = new std::vector<std::shared_ptr<GlobalEventListenerWrapper>>;
  return *retired;
}

// The C functions' own guard: every exception becomes -999.
template <typename Body>
int32_t Guard(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::exception& e) {
    log::Error(kTag, " ❌ Exception: ", e.what());
  } catch (...) {
    log::Error(kTag, " ❌ Exception: unknown");
  }
  return -999;
}

// The checks both functions begin with: 0 when the call may go on.
int32_t Precheck(const MorvantaGlobalEventListener* listener) {
  if (!listener) {
    log::Error("[Gatherdeck C API] ❌ Invalid parameter: listener is NULL");
    return -1;
  }
  if (!g_gatherdeck || !g_gatherdeck->IsInitialized()) {
    log::Error("[Gatherdeck C API] ❌ SDK not initialized");
    return -2;
  }
  return 0;
}

int32_t AddGlobalEventListener(const MorvantaGlobalEventListener* listener) {
  log::Info("[Gatherdeck C API] 🚀 Morvanta_AddGlobalEventListener");
  if (int32_t refused = Precheck(listener)) return refused;
  std::lock_guard<std::mutex> lock(g_global_listener_mutex);
  for (const MorvantaGlobalEventListener& known : g_global_c_listeners) {
    if (SameListener(known, *listener)) {
      log::Info("[Gatherdeck C API] ⚠️ Listener already registered, skipping duplicate");
      return 0;
    }
  }
  g_global_c_listeners.push_back(*listener);
  auto wrapper = std::make_shared<GlobalEventListenerWrapper>(*listener);
  g_global_listener_wrappers.push_back(wrapper);
  g_gatherdeck->AddGlobalEventListener(wrapper.get());
  log::Info("[Gatherdeck C API] ✅ Global event listener registered (C++ count: ", g_global_listener_wrappers.size(),
            ", C count: ", g_global_c_listeners.size(), ")");
  return 0;
}

int32_t RemoveGlobalEventListener(const MorvantaGlobalEventListener* listener) {
  log::Info("[Gatherdeck C API] 🚀 Morvanta_RemoveGlobalEventListener");
  if (int32_t refused = Precheck(listener)) return refused;
  std::shared_ptr<GlobalEventListenerWrapper> removed;
  {
    std::lock_guard<std::mutex> lock(g_global_listener_mutex);
    auto record = g_global_c_listeners.begin();
    while (record != g_global_c_listeners.end() && !SameListener(*record, *listener)) ++record;
    if (record == g_global_c_listeners.end()) {
      log::Info("[Gatherdeck C API] ⚠️ C listener not found");
      return -1;
    }
    // The newest match: wrappers left by an earlier session come first and
    // are no longer registered anywhere.
    auto& wrappers = g_global_listener_wrappers;
    auto found = wrappers.rbegin();
    while (found != wrappers.rend() && !(*found)->Matches(*listener)) ++found;
    if (found != wrappers.rend()) {
      removed = *found;
      g_gatherdeck->RemoveGlobalEventListener(removed.get());
      RetiredWrappers().push_back(removed);
      wrappers.erase(std::next(found).base());
    } else {
      log::Info("[Gatherdeck C API] ⚠️ C++ wrapper not found, but removing C listener anyway");
    }
    g_global_c_listeners.erase(record);
    log::Info("[Gatherdeck C API] ✅ Global event listener removed (C++ count: ", wrappers.size(),
              ", C count: ", g_global_c_listeners.size(), ")");
  }
  // Outside the table lock: a listener running now may itself call in here.
  if (removed) removed->Disable();
  return 0;
}

}  // namespace

size_t ClearGlobalCListeners() {
  std::vector<std::shared_ptr<GlobalEventListenerWrapper>> wrappers;
  size_t cleared = 0;
  {
    std::lock_guard<std::mutex> lock(g_global_listener_mutex);
    cleared = g_global_c_listeners.size();
    g_global_c_listeners.clear();
    wrappers = g_global_listener_wrappers;  // the table itself stays as it is
  }
  for (const auto& wrapper : wrappers) wrapper->Disable();
  return cleared;
}

}  // namespace capi
}  // namespace morvanta

using namespace morvanta;

extern "C" {

MORVANTA_API int32_t Morvanta_AddGlobalEventListener(const MorvantaGlobalEventListener* listener) {
  return capi::Guard([&] { return capi::AddGlobalEventListener(listener); });
}

MORVANTA_API int32_t Morvanta_RemoveGlobalEventListener(const MorvantaGlobalEventListener* listener) {
  return capi::Guard([&] { return capi::RemoveGlobalEventListener(listener); });
}

}  // extern "C"
