// C records of meetings: the scheduled meeting of the pre-meeting family with
// its members, and the in-meeting information.
#include "capi/c_records.h"

namespace morvanta {
namespace capi {
namespace {

bool FillScheduledMember(MorvantaScheduledMember& out, const MvScheduledMember& in) {
  FieldCopier copy;
  out.user_uuid = copy.Text(in.userUuid);
  out.role = copy.Text(RoleText(in.role));
  return copy.ok();
}

MorvantaLocalMember* CopyLocalMember(FieldCopier& copy, const std::optional<MvLocalMember>& in) {
  if (!in) return nullptr;
  MorvantaLocalMember* out = copy.Record<MorvantaLocalMember>();
  if (!out) return nullptr;
  out->user_uuid = copy.Text(in->userUuid);
  out->name = copy.Text(in->name);
  out->role = copy.Text(RoleText(in->role));
  return out;
}

void FreeLocalMember(MorvantaLocalMember*& member) {
  if (!member) return;
  FreeFields({&member->user_uuid, &member->name, &member->role});
  delete member;
  member = nullptr;
}

bool FillMeetingInfo(MorvantaMeetingInfo& out, const MvMeetingInfo& in) {
  FieldCopier copy;
  out.local_member = CopyLocalMember(copy, in.localMember);
  out.meeting_id = in.meetingId;
  out.meeting_num = copy.Text(in.meetingNum);
  out.room_uuid = copy.Text(in.roomUuid);
  out.state = in.state;
  out.start_time = in.startTime;
  out.end_time = in.endTime;
  out.subject = copy.Text(in.subject);
  out.owner_user_uuid = copy.Text(in.ownerUserUuid);
  out.owner_nickname = copy.Text(in.ownerNickname);
  if (in.scheduledMembers) {
    out.scheduled_members = copy.List(*in.scheduledMembers, BuildScheduledMemberList);
    if (out.scheduled_members) out.scheduled_member_count = static_cast<int32_t>(in.scheduledMembers->size());
  }
  out.no_cloud_record = TriState32(in.noCloudRecord);
  out.no_chat = TriState32(in.noChat);
  out.enable_waiting_room = Flag01(in.enableWaitingRoom);
  return copy.ok();
}

bool FillMeetingSDKInfo(MorvantaMeetingSDKInfo& out, const MvMeetingSDKInfo& in) {
  FieldCopier copy;
  out.user_uuid = copy.Text(in.userUuid);
  out.name = copy.Text(in.name);
  out.role = copy.Text(RoleText(in.role));
  out.my_uuid = copy.Text(in.myUuid);
  out.host_uuid = copy.Text(in.hostUuid);
  out.host_name = copy.Text(in.hostName);
  out.active_speaker_uuid = copy.Text(in.activeSpeakerUuid);
  out.subject = copy.Text(in.subject);
  out.owner_user_uuid = copy.Text(in.ownerUserUuid);
  out.room_archive_id = copy.Text(in.roomArchiveId);
  out.meeting_num = copy.Text(in.meetingNum);
  out.is_support_chatroom = Flag01(in.isSupportChatroom);
  out.is_cloud_recording = Flag01(in.isCloudRecording);
  out.start_time = in.startTime;
  out.end_time = in.endTime;
  out.type = in.type;
  out.rtc_start_time = in.rtcStartTime;
  out.join_meeting_time = in.joinMeetingTime;
  out.meeting_id = in.meetingId.value_or(-1);
  out.is_waiting_room_enabled = TriState32(in.isWaitingRoomEnabled);
  out.in_waiting_room = TriState32(in.inWaitingRoom);
  out.max_members = in.maxMembers.value_or(-1);
  out.is_breakout_room = TriState32(in.isBreakoutRoom);
  return copy.ok();
}

}  // namespace

MorvantaScheduledMember* BuildScheduledMemberList(const std::vector<MvScheduledMember>& members, bool& ok) {
  return BuildList(members, ok, FillScheduledMember, Morvanta_FreeScheduledMembers);
}

MorvantaMeetingInfo* BuildMeetingInfo(const MvMeetingInfo& meeting) {
  return BuildRecord(meeting, FillMeetingInfo, Morvanta_FreePreMeetingInfo);
}

MorvantaMeetingInfo* BuildMeetingList(const std::vector<MvMeetingInfo>& meetings, bool& ok) {
  return BuildList(meetings, ok, FillMeetingInfo, Morvanta_FreeMeetingList);
}

MorvantaMeetingSDKInfo* BuildMeetingSDKInfo(const MvMeetingSDKInfo& info) {
  return BuildRecord(info, FillMeetingSDKInfo, Morvanta_FreeMeetingInfo);
}

void ClearScheduledMember(MorvantaScheduledMember& member) { FreeFields({&member.user_uuid, &member.role}); }

void ClearMeetingInfo(MorvantaMeetingInfo& meeting) {
  FreeLocalMember(meeting.local_member);
  FreeFields({&meeting.meeting_num, &meeting.room_uuid, &meeting.subject, &meeting.owner_user_uuid,
              &meeting.owner_nickname});
  Morvanta_FreeScheduledMembers(meeting.scheduled_members, meeting.scheduled_member_count);
  meeting.scheduled_members = nullptr;
  meeting.scheduled_member_count = 0;
}

void ClearMeetingSDKInfo(MorvantaMeetingSDKInfo& info) {
  FreeFields({&info.user_uuid, &info.name, &info.role, &info.my_uuid, &info.host_uuid, &info.host_name,
              &info.active_speaker_uuid, &info.subject, &info.owner_user_uuid, &info.room_archive_id,
              &info.meeting_num});
}

}  // namespace capi
}  // namespace morvanta

extern "C" {

MORVANTA_API void Morvanta_FreeScheduledMembers(MorvantaScheduledMember* members, int32_t count) {
  morvanta::capi::FreeArray(members, count, morvanta::capi::ClearScheduledMember);
}

MORVANTA_API void Morvanta_FreeMeetingInfo(MorvantaMeetingSDKInfo* info) {
  morvanta::capi::FreeRecord(info, morvanta::capi::ClearMeetingSDKInfo);
}

MORVANTA_API void Morvanta_FreePreMeetingInfo(MorvantaMeetingInfo* info) {
  morvanta::capi::FreeRecord(info, morvanta::capi::ClearMeetingInfo);
}

MORVANTA_API void Morvanta_FreeMeetingList(MorvantaMeetingInfo* meetings, int32_t count) {
  morvanta::capi::FreeArray(meetings, count, morvanta::capi::ClearMeetingInfo);
}

}  // extern "C"
