// C listeners of the waiting room channel: a process-wide list of C records,
// one native wrapper that fans each event out to them, and the manager the
// wrapper is registered on. The list's mutex is held through the C calls, so
// the C listeners of this channel are called one at a time. The checks of
// this family are silent, and removing a record that is not there is no
// fault.
#include <cstring>
#include <mutex>
#include <vector>

#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "meeting/waiting_room_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kTag[] = "[C API]";
constexpr char kWrapperTag[] = "[WaitingRoomListenerWrapper]";

struct WaitingRoomChannelState {
  std::mutex mutex;
  std::vector<MorvantaWaitingRoomListener> listeners;
  bool wrapperRegistered = false;
  std::shared_ptr<MvWaitingRoomManager> manager;
};

WaitingRoomChannelState& Channel() {
  static auto* state = new WaitingRoomChannelState;  // outlives static destruction
  return *state;
}

// Calls `field` of every C listener that has it set, in order of addition,
// with the channel's mutex held.
template <typename Field, typename... Args>
void FanOut(Field MorvantaWaitingRoomListener::*field, Args... args) {
  WaitingRoomChannelState& ch = Channel();
  std::lock_guard<std::mutex> lock(ch.mutex);
  for (const MorvantaWaitingRoomListener& l : ch.listeners)
    if (l.*field) (l.*field)(args..., l.user_data);
}

// Converts each event once, into records reused per thread, and fans it out.
// The records point into the native event and live until the next event of
// the same kind on this thread; C listeners copy what they keep.
class WaitingRoomListenerWrapper : public IMvWaitingRoomListener {
 public:
  void OnMemberJoin(const MvWaitingRoomMember& member, int32_t reason) override {
    log::Info(kWrapperTag, " 🔔 OnMemberJoin called (uuid: ", member.uuid, ", reason: ", reason, ")");
    thread_local MorvantaWaitingRoomMember c;
    c = MorvantaWaitingRoomMember{};
    c.uuid = const_cast<char*>(member.uuid.c_str());
    c.name = const_cast<char*>(member.name.c_str());
    c.avatar = member.avatar ? const_cast<char*>(member.avatar->c_str()) : nullptr;
    c.join_time = member.joinTime;
    c.status = member.status;
    FanOut(&MorvantaWaitingRoomListener::onMemberJoin, static_cast<const MorvantaWaitingRoomMember*>(&c), reason);
  }
  void OnMemberLeave(const std::string& userUuid, int32_t reason) override {
    log::Info(kWrapperTag, " 🔔 OnMemberLeave called (userUuid: ", userUuid, ", reason: ", reason, ")");
    FanOut(&MorvantaWaitingRoomListener::onMemberLeave, userUuid.c_str(), reason);
  }
  void OnMemberAdmitted(const std::string& userUuid) override {
    log::Info(kWrapperTag, " 🔔 OnMemberAdmitted called (userUuid: ", userUuid, ")");
    FanOut(&MorvantaWaitingRoomListener::onMemberAdmitted, userUuid.c_str());
  }
  void OnMyStatusChanged(int32_t status, int32_t reason) override {
    log::Info(kWrapperTag, " 🔔 OnMyStatusChanged called (status: ", status, ", reason: ", reason, ")");
    FanOut(&MorvantaWaitingRoomListener::onMyStatusChanged, status, reason);
  }
  void OnMemberNameChanged(const std::string& userUuid, const std::string& name, const MvMember* operateBy) override {
    log::Info(kWrapperTag, " 🔔 OnMemberNameChanged called (userUuid: ", userUuid, ", name: ", name, ")");
    // The channel passes no operator today; a caller that does gets it on.
    thread_local MorvantaMember op;
    const MorvantaMember* by = nullptr;
    if (operateBy) {
      op = MemberView(*operateBy);
      by = &op;
    }
    FanOut(&MorvantaWaitingRoomListener::onMemberNameChanged, userUuid.c_str(), name.c_str(), by);
  }
  void OnInfoUpdated(const MvWaitingRoomInfo& info) override {
    log::Info(kWrapperTag, " 🔔 OnInfoUpdated called (isEnabledOnEntry: ", info.isEnabledOnEntry ? "true" : "false",
              ", memberCount: ", info.memberCount, ")");
    thread_local MorvantaWaitingRoomInfo c;
    c.member_count = info.memberCount;
    c.is_enabled_on_entry = info.isEnabledOnEntry;
    c.background_image_url = info.backgroundImageUrl.c_str();
    FanOut(&MorvantaWaitingRoomListener::onInfoUpdated, static_cast<const MorvantaWaitingRoomInfo*>(&c));
  }
  void OnAllMembersKicked() override {
    log::Info(kWrapperTag, " 🔔 OnAllMembersKicked called");
    FanOut(&MorvantaWaitingRoomListener::onAllMembersKicked);
  }
  void OnManagersUpdated(const std::vector<MvMember>& managers) override {
    log::Info(kWrapperTag, " 🔔 OnManagersUpdated called (count: ", managers.size(), ")");
    thread_local std::vector<MorvantaMember> views;
    views.clear();
    for (const MvMember& m : managers) views.push_back(MemberView(m));
    FanOut(&MorvantaWaitingRoomListener::onManagersUpdated, static_cast<const MorvantaMember*>(views.data()),
           static_cast<uint32_t>(views.size()));
  }
};

// One wrapper for the life of the process: a drain in flight may still hold
// its address after the last C listener went.
WaitingRoomListenerWrapper& Wrapper() {
  static auto* wrapper = new WaitingRoomListenerWrapper;
  return *wrapper;
}

bool SameRecord(const MorvantaWaitingRoomListener& a, const MorvantaWaitingRoomListener& b) {
  return std::memcmp(&a, &b, sizeof(MorvantaWaitingRoomListener)) == 0;
}

}  // namespace

bool StopWaitingRoomListeners() {
  std::shared_ptr<MvWaitingRoomManager> manager;
  {
    std::lock_guard<std::mutex> lock(Channel().mutex);
    manager = Channel().manager;
  }
  if (!manager) return false;
  manager->RemoveListener(nullptr);
  return true;
}

void ClearWaitingRoomListeners() {
  std::shared_ptr<MvWaitingRoomManager> manager;
  {
    std::lock_guard<std::mutex> lock(Channel().mutex);
    Channel().listeners.clear();
    Channel().wrapperRegistered = false;
    manager = std::move(Channel().manager);
  }
  // The manager (and its loop thread) may end here, outside the mutex.
}

}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_WaitingRoom_AddListener(MorvantaWaitingRoomManager_T* handle,
                                                  const MorvantaWaitingRoomListener* listener) {
  return WithManager("Morvanta_WaitingRoom_AddListener", handle, listener == nullptr, [&](MvWaitingRoomManager&) {
    WaitingRoomChannelState& ch = Channel();
    std::lock_guard<std::mutex> lock(ch.mutex);
    const bool wasEmpty = ch.listeners.empty();
    ch.listeners.push_back(*listener);
    log::Info(kTag, " ✅ Waiting room listener stored (total: ", ch.listeners.size(), ")");
    if (!wasEmpty) return;
    ch.manager = handle->manager;
    ch.wrapperRegistered = true;
    ch.manager->AddListener(&Wrapper());
    log::Info(kTag, " ✅ Waiting room listener wrapper registered to C++ layer");
  });
}

MORVANTA_API int Morvanta_WaitingRoom_RemoveListener(MorvantaWaitingRoomManager_T* handle,
                                                     const MorvantaWaitingRoomListener* listener) {
  return WithManager("Morvanta_WaitingRoom_RemoveListener", handle, listener == nullptr, [&](MvWaitingRoomManager&) {
    WaitingRoomChannelState& ch = Channel();
    std::lock_guard<std::mutex> lock(ch.mutex);
    for (auto it = ch.listeners.begin(); it != ch.listeners.end(); ++it) {
      if (!SameRecord(*it, *listener)) continue;
      ch.listeners.erase(it);
      log::Info(kTag, " ✅ Waiting room listener removed (remaining: ", ch.listeners.size(), ")");
      break;
    }
    if (!ch.listeners.empty() || !ch.wrapperRegistered) return;
    if (ch.manager) ch.manager->RemoveListener(&Wrapper());
    ch.wrapperRegistered = false;
    ch.manager.reset();
    log::Info(kTag, " ✅ Waiting room listener wrapper removed from C++ layer");
  });
}

}  // extern "C"
