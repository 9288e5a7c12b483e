// Morvanta_Member_*: the member list and control of the meeting's members.
#include "capi/family_calls.h"
#include "capi/sdk_state.h"
#include "managers/member_manager.h"

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Member_GetMemberList(MorvantaMemberManager_T* handle, MorvantaMember** out_members,
                                               uint32_t* out_count) {
  return WithManager(__func__, handle, !out_members || !out_count, [&](MvMemberManager& m) {
    *out_members = nullptr;
    *out_count = 0;
    std::vector<MvMember> members = m.GetMemberList();
    bool ok = true;
    MorvantaMember* built = BuildMemberList(members, ok);
    if (!ok) {
      // Reported like every other failure of this query: as no members.
      log::Error("[Gatherdeck C API] ❌ Morvanta_Member_GetMemberList: Failed to allocate member list");
      return;
    }
    *out_members = built;
    *out_count = built ? static_cast<uint32_t>(members.size()) : 0u;
  });
}

MORVANTA_API int Morvanta_Member_MuteMemberAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                 MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::MuteMemberAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Member_UnmuteMemberAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                   MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::UnmuteMemberAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Member_MuteMemberVideo(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                 MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::MuteMemberVideo, callback, user_data);
}

MORVANTA_API int Morvanta_Member_UnmuteMemberVideo(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                   MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::UnmuteMemberVideo, callback, user_data);
}

MORVANTA_API int Morvanta_Member_MuteVideoAndAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                   MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::MuteVideoAndAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Member_UnmuteVideoAndAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                     MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::UnmuteVideoAndAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Member_StopMemberScreenShare(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                       MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvMemberManager::StopMemberScreenShare, callback, user_data);
}

MORVANTA_API int Morvanta_Member_MuteAllAudio(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                              void* user_data) {
  return PlainCall(__func__, handle, &MvMemberManager::MuteAllAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Member_UnmuteAllAudio(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                                void* user_data) {
  return PlainCall(__func__, handle, &MvMemberManager::UnmuteAllAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Member_MuteAllVideo(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                              void* user_data) {
  return PlainCall(__func__, handle, &MvMemberManager::MuteAllVideo, callback, user_data);
}

MORVANTA_API int Morvanta_Member_UnmuteAllVideo(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                                void* user_data) {
  return PlainCall(__func__, handle, &MvMemberManager::UnmuteAllVideo, callback, user_data);
}

MORVANTA_API int Morvanta_Member_HandsUp(MorvantaMemberManager_T* handle, MorvantaCallback callback, void* user_data) {
  return PlainCall(__func__, handle, &MvMemberManager::HandsUp, callback, user_data);
}

// A NULL uuid is legal here: it lowers the caller's own hand.
MORVANTA_API int Morvanta_Member_HandsDown(MorvantaMemberManager_T* handle, const char* user_uuid,
                                           MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid ? user_uuid : "", &MvMemberManager::HandsDown, callback, user_data);
}

MORVANTA_API int Morvanta_Member_HandsDownAll(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                              void* user_data) {
  return PlainCall(__func__, handle, &MvMemberManager::HandsDownAll, callback, user_data);
}

}  // extern "C"
