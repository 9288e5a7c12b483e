// C records of the meeting's members and of the waiting room.
#include "capi/c_records.h"

namespace morvanta {
namespace capi {
namespace {

bool FillMember(MorvantaMember& out, const MvMember& in) {
  FieldCopier copy;
  out = MemberView(in);  // the flags; the strings are copied next
  out.uuid = copy.Text(in.uuid);
  out.name = copy.Text(in.name);
  return copy.ok();
}

bool FillWaitingRoomMember(MorvantaWaitingRoomMember& out, const MvWaitingRoomMember& in) {
  FieldCopier copy;
  out.uuid = copy.Text(in.uuid);
  out.name = copy.Text(in.name);
  out.avatar = copy.Optional(in.avatar);
  out.join_time = in.joinTime;
  out.status = in.status;
  return copy.ok();
}

}  // namespace

MorvantaMember* BuildMemberList(const std::vector<MvMember>& members, bool& ok) {
  return BuildList(members, ok, FillMember, Morvanta_FreeMemberList);
}

MorvantaWaitingRoomMember* BuildWaitingRoomMemberList(const std::vector<MvWaitingRoomMember>& members, bool& ok) {
  return BuildList(members, ok, FillWaitingRoomMember, Morvanta_FreeWaitingRoomMemberList);
}

MorvantaMember MemberView(const MvMember& m) {
  MorvantaMember c{};
  c.uuid = const_cast<char*>(m.uuid.c_str());
  c.name = const_cast<char*>(m.name.c_str());
  c.is_host = Flag01(m.role == MvMemberRole::Host);
  c.is_evaluator = Flag01(m.role == MvMemberRole::Evaluator);
  c.is_audio_on = Flag01(m.isAudioOn);
  c.is_video_on = Flag01(m.isVideoOn);
  c.is_sharing_screen = Flag01(m.isSharingScreen);
  c.is_hands_up = Flag01(m.isHandsUp.value_or(false));
  return c;
}

void ClearMember(MorvantaMember& member) { FreeFields({&member.uuid, &member.name}); }

void ClearWaitingRoomMember(MorvantaWaitingRoomMember& member) {
  FreeFields({&member.uuid, &member.name, &member.avatar});
}

}  // namespace capi
}  // namespace morvanta

extern "C" {

MORVANTA_API void Morvanta_FreeMemberList(MorvantaMember* members, uint32_t count) {
  morvanta::capi::FreeArray(members, count, morvanta::capi::ClearMember);
}

MORVANTA_API void Morvanta_FreeWaitingRoomMemberList(MorvantaWaitingRoomMember* members, int32_t count) {
  morvanta::capi::FreeArray(members, count, morvanta::capi::ClearWaitingRoomMember);
}

}  // extern "C"
