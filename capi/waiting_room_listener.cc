// C listeners of the waiting room channel. The checks of this family are
// silent, removing a record that is not there is no fault, and the count
// line of an add or remove comes before the wrapper's own line.
#include <vector>

#include "capi/c_listener_channel.h"
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "meeting/waiting_room_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kWrapperTag[] = "[WaitingRoomListenerWrapper]";

const CListenerFamily kFamily = {
    nullptr,
    nullptr,
    "[C API] ✅ Waiting room listener wrapper registered to C++ layer",
    nullptr,
    "[C API] ✅ Waiting room listener wrapper removed from C++ layer",
    true,
};

const CListenerTexts kTexts = {
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "[C API] ✅ Waiting room listener stored (total: ",
    nullptr,
    "[C API] ✅ Waiting room listener removed (remaining: ",
};

using Channel = CListenerChannel<MorvantaWaitingRoomListener, IMvWaitingRoomListener, MvWaitingRoomManager>;
Channel& TheChannel();

// Calls `field` of every C listener that has it set, in order of addition,
// with the channel's mutex held.
template <typename Field, typename... Args>
void FanOut(Field field, const Args&... args) {
  TheChannel().Call(field, args...);
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

Channel& TheChannel() {
  return Channel::ForProcess<WaitingRoomListenerWrapper>(kFamily, kTexts, &MvWaitingRoomManager::AddListener,
                                                         &MvWaitingRoomManager::RemoveListener);
}

}  // namespace

bool StopWaitingRoomListeners() { return TheChannel().Stop(); }
void ClearWaitingRoomListeners() { TheChannel().Clear(); }

}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_WaitingRoom_AddListener(MorvantaWaitingRoomManager_T* handle,
                                                  const MorvantaWaitingRoomListener* listener) {
  return Guarded<int>("Morvanta_WaitingRoom_AddListener", -999, [&] { return TheChannel().Add(handle, listener); });
}

MORVANTA_API int Morvanta_WaitingRoom_RemoveListener(MorvantaWaitingRoomManager_T* handle,
                                                     const MorvantaWaitingRoomListener* listener) {
  return Guarded<int>("Morvanta_WaitingRoom_RemoveListener", -999,
                      [&] { return TheChannel().Remove(handle, listener); });
}

}  // extern "C"
