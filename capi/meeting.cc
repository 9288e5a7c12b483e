// Morvanta_Meeting_*: create, join, rejoin, leave, end, query and release.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "meeting/meeting_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kTag[] = "[MeetingManager C API]";

template <typename T>
std::optional<T> IfSet(const char* s) {
  return s ? std::optional<T>(s) : std::nullopt;
}
std::optional<bool> Tri(int32_t v) { return v >= 0 ? std::optional<bool>(v != 0) : std::nullopt; }
template <typename T>
std::optional<T> NonNegative(T v) {
  return v >= 0 ? std::optional<T>(v) : std::nullopt;
}

MvMeetingCreateOptions Convert(const MorvantaMeetingCreateOptions& o) {
  MvMeetingCreateOptions n;
  n.meetingNum = Str(o.meetingNum);
  n.nickname = Str(o.nickname);
  n.subject = Str(o.subject);
  n.password = IfSet<std::string>(o.password);
  n.memberTag = IfSet<std::string>(o.memberTag);
  n.noChat = Tri(o.noChat);
  n.noWhiteboard = Tri(o.noWhiteboard);
  n.noCaptions = Tri(o.noCaptions);
  n.orgName = IfSet<std::string>(o.orgName);
  n.avatar = IfSet<std::string>(o.avatar);
  if (o.videoProfile) n.videoProfile = std::make_pair(o.videoProfile->resolution, o.videoProfile->frameRate);
  n.joinTimeout = NonNegative(o.joinTimeout);
  n.session = IfSet<std::string>(o.session);
  n.subType = NonNegative(o.subType);
  n.startTime = NonNegative(o.startTime);
  n.endTime = NonNegative(o.endTime);
  n.enableWaitingRoom = Tri(o.enableWaitingRoom);
  if (o.cloudRecordConfig) n.cloudRecordEnable = o.cloudRecordConfig->enable != 0;
  return n;
}

// The common opening of every meeting export: the banner and the handle check.
MvMeetingManager* Open(const char* name, MorvantaMeetingManager_T* handle) {
  log::Info(kTag, " 🚀 ", name);
  MvMeetingManager* manager = ManagerOf(handle);
  if (!manager) log::Error(kTag, " ❌ Invalid handle");
  return manager;
}

// Runs `call` on the manager after the checks; `refuse` names a failed
// argument check (logged, -1) or is null.
template <typename Call>
int Forward(const char* name, const char* method, MorvantaMeetingManager_T* handle, const char* refuse,
            Call&& call) {
  return Guarded<int>(name, -999, [&] {
    MvMeetingManager* manager = Open(name, handle);
    if (!manager) return -1;
    if (refuse) {
      log::Error(kTag, " ❌ ", refuse);
      return -1;
    }
    log::Info(kTag, " 📞 Calling ", method, "...");
    call(*manager);
    return 0;
  });
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Meeting_CreateMeeting(MorvantaMeetingManager_T* handle,
                                                const MorvantaMeetingCreateOptions* options,
                                                MorvantaCallback callback, void* user_data) {
  const char* refuse = !options ? "Invalid options"
                       : (!options->subject || !*options->subject) ? "Subject is required"
                                                                   : nullptr;
  return Forward("Morvanta_Meeting_CreateMeeting", "CreateMeeting", handle, refuse, [&](MvMeetingManager& m) {
    m.CreateMeeting(Convert(*options), PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_Meeting_JoinMeeting(MorvantaMeetingManager_T* handle,
                                              const MorvantaMeetingJoinOptions* options,
                                              MorvantaCallback callback, void* user_data) {
  const char* refuse = !options ? "Invalid options"
                       : (!options->meetingNum || !*options->meetingNum) ? "Meeting number is required"
                                                                         : nullptr;
  return Forward("Morvanta_Meeting_JoinMeeting", "JoinMeeting", handle, refuse, [&](MvMeetingManager& m) {
    m.JoinMeeting({Str(options->meetingNum), Str(options->userUuid), Str(options->nickname)},
                  PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_Meeting_RejoinAfterAdmittedToRoom(MorvantaMeetingManager_T* handle,
                                                            MorvantaCallback callback, void* user_data) {
  return Forward("Morvanta_Meeting_RejoinAfterAdmittedToRoom", "RejoinAfterAdmittedToRoom", handle, nullptr,
                 [&](MvMeetingManager& m) { m.RejoinAfterAdmittedToRoom(PlainAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Meeting_LeaveMeeting(MorvantaMeetingManager_T* handle, int32_t flag,
                                               MorvantaCallback callback, void* user_data) {
  return Forward("Morvanta_Meeting_LeaveMeeting", "LeaveMeeting", handle, nullptr,
                 [&](MvMeetingManager& m) { m.LeaveMeeting(flag != 0, PlainAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Meeting_EndMeeting(MorvantaMeetingManager_T* handle, MorvantaCallback callback,
                                             void* user_data) {
  return Forward("Morvanta_Meeting_EndMeeting", "EndMeeting", handle, nullptr,
                 [&](MvMeetingManager& m) { m.EndMeeting(PlainAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Meeting_GetMeetingInfo(MorvantaMeetingManager_T* handle,
                                                 MorvantaMeetingSDKInfo** out_info) {
  return Guarded<int>("Morvanta_Meeting_GetMeetingInfo", -999, [&] {
    MvMeetingManager* manager = Open("Morvanta_Meeting_GetMeetingInfo (sync)", handle);
    if (!manager) return -1;
    if (!out_info) {
      log::Error(kTag, " ❌ Invalid info pointer");
      return -1;
    }
    *out_info = nullptr;
    log::Info(kTag, " 📞 Calling GetMeetingInfo...");
    std::shared_ptr<MvMeetingSDKInfo> info = manager->GetMeetingInfo();
    if (info) *out_info = BuildMeetingSDKInfo(*info);
    if (!*out_info) {
      log::Info(kTag, " ⚠️ Not in a meeting");
      return -999;
    }
    log::Info(kTag, " ✅ GetMeetingInfo succeeded");
    return 0;
  });
}

MORVANTA_API int Morvanta_Meeting_ReleaseMeeting(MorvantaMeetingManager_T* handle) {
  return Forward("Morvanta_Meeting_ReleaseMeeting", "ReleaseMeeting", handle, nullptr, [&](MvMeetingManager& m) {
    m.ReleaseMeeting();
    log::Info(kTag, " ✅ ReleaseMeeting succeeded");
  });
}

}  // extern "C"
