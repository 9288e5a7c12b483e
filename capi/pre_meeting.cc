// Morvanta_PreMeeting_*: schedule, edit and cancel meetings ahead of time,
// list them, and read one back with its scheduled members.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "core/js_fields.h"
#include "managers/pre_meeting_manager.h"

namespace morvanta {
namespace capi {
namespace {

MvCallback<MvMeetingInfo> MeetingAdapter(MorvantaPreMeetingInfoCallback callback, void* user_data) {
  return RecordAdapter<MvMeetingInfo, MorvantaMeetingInfo>(callback, user_data, &BuildMeetingInfo,
                                                           "Failed to allocate MorvantaMeetingInfo");
}

// Both option records have the same fields; they differ in what a NULL
// subject means: "" when scheduling, "unchanged" when editing.
template <typename COptions>
MvPreMeetingOptions NativeOptions(const COptions& o, bool scheduling) {
  MvPreMeetingOptions options;
  options.subject = scheduling ? std::optional<std::string>(Str(o.subject)) : OptionalStr(o.subject);
  options.startTime = OptionalNumber(o.start_time);
  options.endTime = OptionalNumber(o.end_time);
  options.password = OptionalStr(o.password);
  options.enableWaitingRoom = OptionalFlag(o.enable_waiting_room);
  options.enableJoinBeforeHost = OptionalFlag(o.enable_join_before_host);
  options.noChat = OptionalFlag(o.no_chat);
  options.noCloudRecord = OptionalFlag(o.no_cloud_record);
  for (int32_t i = 0; o.scheduled_members && i < o.scheduled_member_count; ++i) {
    MvScheduledMember member;
    member.userUuid = Str(o.scheduled_members[i].user_uuid);
    member.role = js_fields::RoleFromValue(JSValue(Str(o.scheduled_members[i].role)));
    options.scheduledMembers.push_back(std::move(member));
  }
  return options;
}

MvMeetingListParams NativeParams(const MorvantaMeetingListParams* p) {
  MvMeetingListParams params;
  if (!p) return params;
  if (p->states && p->state_count > 0) params.states.assign(p->states, p->states + p->state_count);
  params.offset = OptionalNumber<int32_t>(p->offset);
  params.size = OptionalNumber<int32_t>(p->size);
  return params;
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_PreMeeting_ScheduleMeeting(MorvantaPreMeetingManager_T* handle,
                                                     const MorvantaPreMeetingCreateOptions* options,
                                                     MorvantaPreMeetingInfoCallback callback, void* user_data) {
  return WithManager("Morvanta_PreMeeting_ScheduleMeeting", handle, !options || !callback,
                     [&](MvPreMeetingManager& m) {
                       m.ScheduleMeeting(NativeOptions(*options, true), MeetingAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_PreMeeting_EditMeeting(MorvantaPreMeetingManager_T* handle, int64_t meeting_id,
                                                 const MorvantaPreMeetingEditOptions* options,
                                                 MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_PreMeeting_EditMeeting", handle, !options, [&](MvPreMeetingManager& m) {
    m.EditMeeting(meeting_id, NativeOptions(*options, false), PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_PreMeeting_CancelMeeting(MorvantaPreMeetingManager_T* handle, int64_t meeting_id,
                                                   int cancel_recurring, MorvantaCallback callback,
                                                   void* user_data) {
  return WithManager("Morvanta_PreMeeting_CancelMeeting", handle, false, [&](MvPreMeetingManager& m) {
    m.CancelMeeting(meeting_id, OptionalFlag(cancel_recurring), PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_PreMeeting_GetMeetingListBySize(MorvantaPreMeetingManager_T* handle,
                                                          const MorvantaMeetingListParams* params,
                                                          MorvantaMeetingListCallback callback, void* user_data) {
  return WithManager("Morvanta_PreMeeting_GetMeetingListBySize", handle, !callback, [&](MvPreMeetingManager& m) {
    m.GetMeetingListBySize(NativeParams(params),
                           ListAdapter<MvMeetingInfo, MorvantaMeetingInfo, int32_t>(
                               callback, user_data, &BuildMeetingList, "Failed to allocate meeting list"));
  });
}

MORVANTA_API int Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(MorvantaPreMeetingManager_T* handle,
                                                                const char* meeting_num,
                                                                MorvantaPreMeetingInfoCallback callback,
                                                                void* user_data) {
  return WithManager("Morvanta_PreMeeting_GetMeetingInfoByMeetingNum", handle, !meeting_num || !callback,
                     [&](MvPreMeetingManager& m) {
                       m.GetMeetingInfoByMeetingNum(meeting_num, MeetingAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_PreMeeting_GetScheduledMembers(MorvantaPreMeetingManager_T* handle,
                                                         const char* meeting_num,
                                                         MorvantaScheduledMemberListCallback callback,
                                                         void* user_data) {
  return WithManager("Morvanta_PreMeeting_GetScheduledMembers", handle, !meeting_num || !callback,
                     [&](MvPreMeetingManager& m) {
                       m.GetScheduledMembers(meeting_num,
                                             ListAdapter<MvScheduledMember, MorvantaScheduledMember, int32_t>(
                                                 callback, user_data, &BuildScheduledMemberList,
                                                 "Failed to allocate scheduled member list"));
                     });
}

}  // extern "C"
