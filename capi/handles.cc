// Manager handles: each Morvanta_Get*Manager call makes a new handle over
// the one manager of its kind.
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "managers/account_manager.h"
#include "managers/audio_manager.h"
#include "managers/chatroom_manager.h"
#include "managers/invite_manager.h"
#include "managers/member_manager.h"
#include "managers/pre_meeting_manager.h"
#include "managers/screen_share_manager.h"
#include "managers/security_manager.h"
#include "managers/video_manager.h"
#include "meeting/meeting_manager.h"
#include "meeting/waiting_room_manager.h"

namespace morvanta {
namespace capi {
namespace {

template <typename Handle, typename Manager>
Handle* MakeHandle(MorvantaSDK_T* sdk, const char* name, const char* kind,
                   std::weak_ptr<Manager> MorvantaSDK_T::*cache,
                   std::shared_ptr<Manager> (MvGatherdeck::*factory)()) {
  return Guarded<Handle*>(name, nullptr, [&]() -> Handle* {
    log::Info("[Gatherdeck C API] 🚀 ", name);
    std::shared_ptr<MorvantaSDK_T> handle = ValidateSdkHandle(sdk, name);
    if (!handle) return nullptr;
    std::shared_ptr<MvGatherdeck> gatherdeck = handle->gatherdeck;
    if (!gatherdeck) {
      log::Error("[Gatherdeck C API] ❌ Gatherdeck instance unavailable");
      return nullptr;
    }
    std::shared_ptr<Manager> manager = (handle.get()->*cache).lock();
    if (!manager) manager = (gatherdeck.get()->*factory)();
    if (!manager) {
      log::Error("[Gatherdeck C API] ❌ Failed to obtain ", kind);
      return nullptr;
    }
    handle.get()->*cache = manager;
    Handle* out = new Handle{handle, manager};
    log::Info("[Gatherdeck C API] ✅ ", kind, " handle created");
    return out;
  });
}

template <typename Handle>
void DestroyHandle(Handle* handle) {
  // The last handle of a kind may take its manager with it.
  Guarded<int>("DestroyManagerHandle", 0, [&] {
    delete handle;
    return 0;
  });
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;

extern "C" {

#define MORVANTA_GET_MANAGER(Kind, Class)                                                              \
  MORVANTA_API Morvanta##Kind##Manager_T* Morvanta_Get##Kind##Manager(MorvantaSDK_T* sdk) {           \
    return capi::MakeHandle<Morvanta##Kind##Manager_T, Class>(sdk, "Morvanta_Get" #Kind "Manager",     \
                                                              #Kind "Manager", &MorvantaSDK_T::Kind,   \
                                                              &MvGatherdeck::Get##Kind##Manager);      \
  }
MORVANTA_MANAGER_KINDS(MORVANTA_GET_MANAGER)
#undef MORVANTA_GET_MANAGER

#define MORVANTA_DESTROY_HANDLE(Kind)                                                          \
  MORVANTA_API void Morvanta_Destroy##Kind##ManagerHandle(Morvanta##Kind##Manager_T* handle) { \
    capi::DestroyHandle(handle);                                                               \
  }
MORVANTA_DESTROY_HANDLE(Account)
MORVANTA_DESTROY_HANDLE(Audio)
MORVANTA_DESTROY_HANDLE(Chatroom)
MORVANTA_DESTROY_HANDLE(Invite)
MORVANTA_DESTROY_HANDLE(Member)
MORVANTA_DESTROY_HANDLE(PreMeeting)
MORVANTA_DESTROY_HANDLE(ScreenShare)
MORVANTA_DESTROY_HANDLE(Security)
MORVANTA_DESTROY_HANDLE(Video)
MORVANTA_DESTROY_HANDLE(WaitingRoom)
#undef MORVANTA_DESTROY_HANDLE

MORVANTA_API void Morvanta_DestroyMeetingManagerHandle(MorvantaMeetingManager_T* handle) {
  log::Info("[Gatherdeck C API] 🧹 Destroying MeetingManager handle");
  capi::DestroyHandle(handle);
}

}  // extern "C"
