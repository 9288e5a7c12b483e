// C listeners of the waiting room channel. The checks of this family are
// silent, removing a record that is not there is no fault, and the count
// line of an add or remove comes before the wrapper's own line.
#include <optional>
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

// Converts each event once, into records reused per thread, and fans it out
// (Emit). The records point into the native event (in host dispatch, the
// queued copy) and live until the next event of the same kind on this
// thread; C listeners copy what they keep.
class WaitingRoomListenerWrapper : public IMvWaitingRoomListener {
 public:
  void OnMemberJoin(const MvWaitingRoomMember& member, int32_t reason) override {
    log::Info(kWrapperTag, " 🔔 OnMemberJoin called (uuid: ", member.uuid, ", reason: ", reason, ")");
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onMemberJoin,
        [](auto&& call, const MvWaitingRoomMember& m, int32_t why) {
          thread_local MorvantaWaitingRoomMember c;
          c = MorvantaWaitingRoomMember{};
          c.uuid = const_cast<char*>(m.uuid.c_str());
          c.name = const_cast<char*>(m.name.c_str());
          c.avatar = m.avatar ? const_cast<char*>(m.avatar->c_str()) : nullptr;
          c.join_time = m.joinTime;
          c.status = m.status;
          call(static_cast<const MorvantaWaitingRoomMember*>(&c), why);
        },
        member, reason);
  }
  void OnMemberLeave(const std::string& userUuid, int32_t reason) override {
    log::Info(kWrapperTag, " 🔔 OnMemberLeave called (userUuid: ", userUuid, ", reason: ", reason, ")");
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onMemberLeave,
        [](auto&& call, const std::string& uuid, int32_t why) { call(uuid.c_str(), why); }, userUuid, reason);
  }
  void OnMemberAdmitted(const std::string& userUuid) override {
    log::Info(kWrapperTag, " 🔔 OnMemberAdmitted called (userUuid: ", userUuid, ")");
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onMemberAdmitted, [](auto&& call, const std::string& uuid) { call(uuid.c_str()); },
        userUuid);
  }
  void OnMyStatusChanged(int32_t status, int32_t reason) override {
    log::Info(kWrapperTag, " 🔔 OnMyStatusChanged called (status: ", status, ", reason: ", reason, ")");
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onMyStatusChanged, [](auto&& call, int32_t st, int32_t why) { call(st, why); },
        status, reason);
  }
  void OnMemberNameChanged(const std::string& userUuid, const std::string& name, const MvMember* operateBy) override {
    log::Info(kWrapperTag, " 🔔 OnMemberNameChanged called (userUuid: ", userUuid, ", name: ", name, ")");
    // The channel passes no operator today; a caller that does gets it on.
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onMemberNameChanged,
        [](auto&& call, const std::string& uuid, const std::string& n, const std::optional<MvMember>& by) {
          thread_local MorvantaMember op;
          if (by) op = MemberView(*by);
          call(uuid.c_str(), n.c_str(), by ? static_cast<const MorvantaMember*>(&op) : nullptr);
        },
        userUuid, name, operateBy ? std::optional<MvMember>(*operateBy) : std::nullopt);
  }
  void OnInfoUpdated(const MvWaitingRoomInfo& info) override {
    log::Info(kWrapperTag, " 🔔 OnInfoUpdated called (isEnabledOnEntry: ", info.isEnabledOnEntry ? "true" : "false",
              ", memberCount: ", info.memberCount, ")");
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onInfoUpdated,
        [](auto&& call, const MvWaitingRoomInfo& i) {
          thread_local MorvantaWaitingRoomInfo c;
          c.member_count = i.memberCount;
          c.is_enabled_on_entry = i.isEnabledOnEntry;
          c.background_image_url = i.backgroundImageUrl.c_str();
          call(static_cast<const MorvantaWaitingRoomInfo*>(&c));
        },
        info);
  }
  void OnAllMembersKicked() override {
    log::Info(kWrapperTag, " 🔔 OnAllMembersKicked called");
    TheChannel().Emit(&MorvantaWaitingRoomListener::onAllMembersKicked, [](auto&& call) { call(); });
  }
  void OnManagersUpdated(const std::vector<MvMember>& managers) override {
    log::Info(kWrapperTag, " 🔔 OnManagersUpdated called (count: ", managers.size(), ")");
    TheChannel().Emit(
        &MorvantaWaitingRoomListener::onManagersUpdated,
        [](auto&& call, const std::vector<MvMember>& ms) {
          thread_local std::vector<MorvantaMember> views;
          views.clear();
          for (const MvMember& m : ms) views.push_back(MemberView(m));
          call(static_cast<const MorvantaMember*>(views.data()), static_cast<uint32_t>(views.size()));
        },
        managers);
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
