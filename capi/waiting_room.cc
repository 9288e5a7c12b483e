// Morvanta_WaitingRoom_*: admit, expel, put back, and the two queries. The
// checks of this family are silent: a refused argument returns -1 without a
// log line.
#include <string>

#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/family_calls.h"
#include "capi/sdk_state.h"
#include "meeting/waiting_room_manager.h"

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_WaitingRoom_AdmitMember(MorvantaWaitingRoomManager_T* handle, const char* user_uuid,
                                                  int32_t flag, MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_WaitingRoom_AdmitMember", handle, user_uuid == nullptr, [&](MvWaitingRoomManager& m) {
    m.AdmitMember(user_uuid, flag != 0, PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_WaitingRoom_AdmitAll(MorvantaWaitingRoomManager_T* handle, MorvantaCallback callback,
                                               void* user_data) {
  return PlainCall("Morvanta_WaitingRoom_AdmitAll", handle, &MvWaitingRoomManager::AdmitAllMembers, callback,
                   user_data);
}

MORVANTA_API int Morvanta_WaitingRoom_ExpelMember(MorvantaWaitingRoomManager_T* handle, const char* user_uuid,
                                                  int32_t flag, MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_WaitingRoom_ExpelMember", handle, user_uuid == nullptr, [&](MvWaitingRoomManager& m) {
    m.ExpelMember(user_uuid, flag != 0, PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_WaitingRoom_ExpelAll(MorvantaWaitingRoomManager_T* handle, int32_t flag,
                                               MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_WaitingRoom_ExpelAll", handle, false, [&](MvWaitingRoomManager& m) {
    m.ExpelAllMembers(flag != 0, PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_WaitingRoom_PutInWaitingRoom(MorvantaWaitingRoomManager_T* handle, const char* user_uuid,
                                                       MorvantaCallback callback, void* user_data) {
  return TextCall("Morvanta_WaitingRoom_PutInWaitingRoom", handle, user_uuid, &MvWaitingRoomManager::PutInWaitingRoom,
                  callback, user_data);
}

MORVANTA_API int Morvanta_WaitingRoom_GetMemberList(MorvantaWaitingRoomManager_T* handle, int64_t from_join_time,
                                                    int32_t count, int32_t flag,
                                                    MorvantaWaitingRoomMemberListCallback callback,
                                                    void* user_data) {
  return WithManager("Morvanta_WaitingRoom_GetMemberList", handle, callback == nullptr, [&](MvWaitingRoomManager& m) {
    m.GetWaitingRoomMemberList(from_join_time, count, flag != 0,
                               ListAdapter<MvWaitingRoomMember, MorvantaWaitingRoomMember, int32_t>(
                                   callback, user_data, &BuildWaitingRoomMemberList,
                                   "Failed to allocate waiting room member list"));
  });
}

// A time-out or failure is still 0: the caller sees 0 members and "".
MORVANTA_API int Morvanta_WaitingRoom_GetInfo(MorvantaWaitingRoomManager_T* handle,
                                              MorvantaWaitingRoomInfo* out_info) {
  return WithManager("Morvanta_WaitingRoom_GetInfo", handle, out_info == nullptr, [&](MvWaitingRoomManager& m) {
    // The text stays valid until the next call on this thread.
    thread_local std::string backgroundImageUrl;
    MvWaitingRoomInfo info = m.GetWaitingRoomInfo();
    backgroundImageUrl = info.backgroundImageUrl;
    out_info->member_count = info.memberCount;
    out_info->is_enabled_on_entry = info.isEnabledOnEntry;
    out_info->background_image_url = backgroundImageUrl.c_str();
  });
}

}  // extern "C"
