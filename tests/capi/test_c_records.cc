// The C records built from native records: every field's C value for a full
// record and for one with its optionals absent, the role and message texts,
// and the empty-list rule of the list builders.
#include <gtest/gtest.h>

#include <cstring>

#include "c_records_fixtures.h"

namespace {

using namespace crecords_test;
using namespace morvanta::capi;

TEST(CRecordTexts, RolesAndMessageKinds) {
  const std::pair<int32_t, const char*> roles[] = {{0, "host"}, {1, "evaluator"}, {2, "bidder"},
                                                   {3, "supervise"}, {4, "host"}, {-1, "host"}};
  for (const auto& row : roles) EXPECT_STREQ(RoleText(MvMemberRole(row.first)), row.second) << row.first;
  const char* kinds[] = {"text", "image", "audio", "video", "file", "geo", "custom", "tip", "notification"};
  for (int32_t i = 0; i < 9; ++i) EXPECT_STREQ(ChatMessageTypeText(i), kinds[i]);
  for (int32_t outside : {-1, 9, 42}) EXPECT_STREQ(ChatMessageTypeText(outside), "text") << outside;
}

TEST(CRecordLists, EmptyNativeListGivesNullAndIsNoFailure) {
  const std::vector<std::function<void*(bool&)>> builders = {
      [](bool& ok) { return static_cast<void*>(BuildSearchAccountList({}, ok)); },
      [](bool& ok) { return static_cast<void*>(BuildScheduledMemberList({}, ok)); },
      [](bool& ok) { return static_cast<void*>(BuildWaitingRoomMemberList({}, ok)); },
      [](bool& ok) { return static_cast<void*>(BuildMemberList({}, ok)); },
      [](bool& ok) { return static_cast<void*>(BuildScreenCaptureSourceList({}, ok)); },
      [](bool& ok) { return static_cast<void*>(BuildMeetingList({}, ok)); },
  };
  for (size_t i = 0; i < builders.size(); ++i) {
    bool ok = false;
    EXPECT_EQ(builders[i](ok), nullptr) << "builder " << i;
    EXPECT_TRUE(ok) << "builder " << i;
  }
}

TEST(CRecordSearchAccount, FullAndMinimalAccounts) {
  bool ok = false;
  MorvantaSearchAccountInfo* list = BuildSearchAccountList({FullAccount("1"), {"u2", "", {}, {}, {}}}, ok);
  ASSERT_TRUE(ok);
  ExpectTexts({{list[0].user_uuid, "uuid-1"}, {list[0].nickname, "nick-1"}, {list[0].avatar, "avatar-1"},
               {list[0].phone_number, "phone-1"}, {list[0].dept, "dept-1"},
               {list[1].user_uuid, "u2"}, {list[1].nickname, ""}, {list[1].avatar, nullptr},
               {list[1].phone_number, nullptr}, {list[1].dept, nullptr}});
  Morvanta_FreeAccountList(list, 2);
}

TEST(CRecordChatroomPermission, CopiesBothNamesEvenWhenEmpty) {
  MorvantaChatroomPermission* permission = BuildChatroomPermission({"ALL_CAN_CHAT", ""});
  ASSERT_NE(permission, nullptr);
  ExpectTexts({{permission->cr_perm, "ALL_CAN_CHAT"}, {permission->wt_pr_chat, ""}});
  Morvanta_FreeChatroomPermission(permission);
}

TEST(CRecordWaitingRoomMember, FullAndAbsentOrEmptyAvatar) {
  bool ok = false;
  MorvantaWaitingRoomMember* list =
      BuildWaitingRoomMemberList({FullWaiting("1"), {"u", "n", std::nullopt, -5, -1}, {"u", "n", "", 0, 0}}, ok);
  ASSERT_TRUE(ok);
  ExpectTexts({{list[0].uuid, "wuuid-1"}, {list[0].name, "wname-1"}, {list[0].avatar, "wavatar-1"},
               {list[1].avatar, nullptr}, {list[2].avatar, ""}});
  ExpectNumbers({{list[0].join_time, 1700000000123}, {list[0].status, 2}, {list[1].join_time, -5},
                 {list[1].status, -1}});
  Morvanta_FreeWaitingRoomMemberList(list, 3);
}

TEST(CRecordMember, RoleFlagsAndOptionalHandsUp) {
  const std::pair<MvMemberRole, std::pair<int32_t, int32_t>> roles[] = {  // is_host, is_evaluator
      {MvMemberRole::Host, {1, 0}}, {MvMemberRole::Evaluator, {0, 1}},
      {MvMemberRole::Bidder, {0, 0}}, {MvMemberRole::Supervise, {0, 0}}};
  std::vector<MvMember> natives;
  for (const auto& row : roles) natives.push_back(FullMember(std::to_string(natives.size()), row.first));
  natives.emplace_back().isVideoOn = true;  // the rest false, hands-up not given
  bool ok = false;
  MorvantaMember* list = BuildMemberList(natives, ok);
  ASSERT_TRUE(ok);
  for (size_t i = 0; i < std::size(roles); ++i) {
    SCOPED_TRACE(i);
    ExpectTexts({{list[i].uuid, natives[i].uuid.c_str()}, {list[i].name, natives[i].name.c_str()}});
    ExpectNumbers({{list[i].is_host, roles[i].second.first}, {list[i].is_evaluator, roles[i].second.second},
                   {list[i].is_audio_on, 1}, {list[i].is_video_on, 0}, {list[i].is_sharing_screen, 1},
                   {list[i].is_hands_up, 1}});
  }
  const MorvantaMember& quiet = list[natives.size() - 1];
  ExpectTexts({{quiet.uuid, ""}, {quiet.name, ""}});
  ExpectNumbers({{quiet.is_host, 1}, {quiet.is_evaluator, 0}, {quiet.is_audio_on, 0}, {quiet.is_video_on, 1},
                 {quiet.is_sharing_screen, 0}, {quiet.is_hands_up, 0}});
  Morvanta_FreeMemberList(list, static_cast<uint32_t>(natives.size()));
}

void ExpectImage(const MorvantaScreenCaptureImage& c, const MvScreenCaptureImage& native) {
  ExpectNumbers({{c.width, native.width}, {c.height, native.height}, {c.size, int64_t(native.data.size())}});
  if (native.data.empty()) {
    EXPECT_EQ(c.data, nullptr);
  } else {
    ASSERT_NE(c.data, nullptr);
    EXPECT_NE(c.data, native.data.data());  // a copy, not a borrow
    EXPECT_EQ(memcmp(c.data, native.data.data(), c.size), 0);
  }
}

TEST(CRecordScreenCaptureSource, FullMinimalAndDimensionsWithoutBytes) {
  MvScreenCaptureSource no_bytes;
  no_bytes.sourceType = 2;
  no_bytes.icon = MvScreenCaptureImage{16, 16, {}};
  std::vector<MvScreenCaptureSource> natives = {FullSource("1"), MvScreenCaptureSource{}, no_bytes};
  bool ok = false;
  MorvantaScreenCaptureSource* list = BuildScreenCaptureSourceList(natives, ok);
  ASSERT_TRUE(ok);
  ExpectTexts({{list[0].source_name, "screen-1"}, {list[0].app_name, "title-1"}, {list[0].app_path, "/opt/1"},
               {list[1].source_name, ""}, {list[1].app_name, nullptr}, {list[1].app_path, nullptr}});
  ExpectNumbers({{list[0].source_id, natives[0].sourceId}, {list[0].is_window, 1}, {list[0].is_primary_monitor, 0},
                 {list[1].source_id, 0}, {list[1].is_window, 0}, {list[1].is_primary_monitor, -1},
                 {list[2].is_window, 1}});
  ExpectImage(list[0].icon, *natives[0].icon);
  ExpectImage(list[0].thumbnail, *natives[0].thumbImage);
  ExpectImage(list[2].icon, *no_bytes.icon);
  const MorvantaScreenCaptureImage zero{};
  for (const MorvantaScreenCaptureImage* absent : {&list[1].icon, &list[1].thumbnail, &list[2].thumbnail}) {
    EXPECT_EQ(memcmp(absent, &zero, sizeof zero), 0);
  }
  Morvanta_FreeScreenCaptureSourceList(list, static_cast<uint32_t>(natives.size()));
}

void ExpectMeeting(const MorvantaMeetingInfo& c, const MvMeetingInfo& n) {
  ExpectTexts({{c.meeting_num, n.meetingNum.c_str()}, {c.room_uuid, n.roomUuid.c_str()},
               {c.subject, n.subject.c_str()}, {c.owner_user_uuid, n.ownerUserUuid.c_str()},
               {c.owner_nickname, n.ownerNickname.c_str()}});
  ExpectNumbers({{c.meeting_id, n.meetingId}, {c.state, n.state}, {c.start_time, n.startTime},
                 {c.end_time, n.endTime}, {c.enable_waiting_room, n.enableWaitingRoom ? 1 : 0}});
}

TEST(CRecordMeetingInfo, FullMeetingWithLocalAndScheduledMembers) {
  MvMeetingInfo native = FullMeeting("1");
  MorvantaMeetingInfo* meeting = BuildMeetingInfo(native);
  ASSERT_NE(meeting, nullptr);
  ExpectMeeting(*meeting, native);
  ASSERT_NE(meeting->local_member, nullptr);
  ASSERT_EQ(meeting->scheduled_member_count, 2);
  ExpectTexts({{meeting->local_member->user_uuid, "local-1"}, {meeting->local_member->name, "localname-1"},
               {meeting->local_member->role, "supervise"}, {meeting->scheduled_members[0].user_uuid, "sched-1a"},
               {meeting->scheduled_members[0].role, "bidder"}, {meeting->scheduled_members[1].role, "host"}});
  ExpectNumbers({{meeting->no_cloud_record, 1}, {meeting->no_chat, 0}});
  Morvanta_FreePreMeetingInfo(meeting);
}

TEST(CRecordMeetingInfo, ListOfMinimalAndEmptyScheduleMeetings) {
  MvMeetingInfo minimal;
  minimal.meetingNum = "m";
  minimal.roomUuid = "r";
  MvMeetingInfo empty_schedule = FullMeeting("2");
  empty_schedule.scheduledMembers.emplace();
  empty_schedule.enableWaitingRoom = false;
  std::vector<MvMeetingInfo> natives = {minimal, empty_schedule, FullMeeting("3")};
  bool ok = false;
  MorvantaMeetingInfo* list = BuildMeetingList(natives, ok);
  ASSERT_TRUE(ok);
  for (size_t i = 0; i < natives.size(); ++i) {
    SCOPED_TRACE(i);
    ExpectMeeting(list[i], natives[i]);
  }
  EXPECT_EQ(list[0].local_member, nullptr);
  EXPECT_EQ(list[0].scheduled_members, nullptr);
  EXPECT_EQ(list[1].scheduled_members, nullptr);
  ExpectNumbers({{list[0].scheduled_member_count, 0}, {list[0].no_cloud_record, -1}, {list[0].no_chat, -1},
                 {list[1].scheduled_member_count, 0}, {list[2].scheduled_member_count, 2}});
  Morvanta_FreeMeetingList(list, static_cast<int32_t>(natives.size()));
}

TEST(CRecordMeetingSDKInfo, FullAndMinimal) {
  MvMeetingSDKInfo n = FullMeetingSDKInfo();
  MorvantaMeetingSDKInfo* full = BuildMeetingSDKInfo(n);
  ASSERT_NE(full, nullptr);
  ExpectTexts({{full->user_uuid, "u"}, {full->name, "n"}, {full->role, "evaluator"}, {full->my_uuid, "my"},
               {full->host_uuid, "hu"}, {full->host_name, "hn"}, {full->active_speaker_uuid, "as"},
               {full->subject, "sj"}, {full->owner_user_uuid, "ow"}, {full->room_archive_id, "ra"},
               {full->meeting_num, "mn"}});
  ExpectNumbers({{full->is_support_chatroom, 1}, {full->is_cloud_recording, 0}, {full->start_time, n.startTime},
                 {full->end_time, n.endTime}, {full->type, n.type}, {full->rtc_start_time, n.rtcStartTime},
                 {full->join_meeting_time, n.joinMeetingTime}, {full->meeting_id, *n.meetingId},
                 {full->is_waiting_room_enabled, 1}, {full->in_waiting_room, 0},
                 {full->max_members, *n.maxMembers}, {full->is_breakout_room, 1}});
  Morvanta_FreeMeetingInfo(full);

  MorvantaMeetingSDKInfo* minimal = BuildMeetingSDKInfo(MvMeetingSDKInfo{});
  ASSERT_NE(minimal, nullptr);
  ExpectTexts({{minimal->user_uuid, ""}, {minimal->role, "host"}, {minimal->meeting_num, ""}});
  ExpectNumbers({{minimal->meeting_id, -1}, {minimal->max_members, -1}, {minimal->is_waiting_room_enabled, -1},
                 {minimal->in_waiting_room, -1}, {minimal->is_breakout_room, -1}});
  Morvanta_FreeMeetingInfo(minimal);
}

TEST(CRecordChatMessage, FullMessageWithAttachmentRecords) {
  MvChatMessage native = FullChatMessage();
  MorvantaChatMessage* m = BuildChatMessage(native);
  ASSERT_NE(m, nullptr);
  ASSERT_NE(m->attach, nullptr);
  ASSERT_NE(m->file, nullptr);
  ASSERT_EQ(m->to_user_uuid_count, 3);
  ASSERT_EQ(m->attach->to_count, 2);
  ASSERT_EQ(m->attach->to_nick_count, 1);
  ExpectTexts({{m->message_uuid, "mid"}, {m->from_client_type, "pc"}, {m->message_type, "file"},
               {m->from_user_uuid, "fu"}, {m->from_nick, "fn"}, {m->type, "file"}, {m->text, "hello"},
               {m->status, "sent"}, {m->from, "fr"}, {m->id_client, "ic"}, {m->custom, "cu"}, {m->temp_file, "tf"},
               {m->to_nickname, "tn"}, {m->from_avatar, "fa"}, {m->percentage_text, "50%"}, {m->total, "100"},
               {m->loaded, "50"}, {m->to_user_uuid_list[0], "to1"},
               {m->to_user_uuid_list[1], ""},  // list elements are kept as given
               {m->to_user_uuid_list[2], "to3"}, {m->attach->from, "af"}, {m->attach->from_nick, "afn"},
               {m->attach->type, "at"}, {m->attach->to[0], "x"}, {m->attach->to[1], "y"},
               {m->attach->to_nick[0], "xn"}, {m->attach->url, "au"}, {m->attach->name, "an"},
               {m->attach->msg_id, "am"}, {m->attach->operator_, "op"}, {m->file->name, "doc"},
               {m->file->ext, "pdf"}, {m->file->url, "fu"}, {m->file->file_path, "/tmp/doc.pdf"}});
  ExpectNumbers({{m->time, native.time}, {m->is_me, 1}, {m->resend, 0}, {m->is_private, 1}, {m->chatroom_type, 2},
                 {m->has_temp_file, 1}, {m->attach->msg_time, 77}, {m->attach->id, 8},
                 {int64_t(m->file->size), int64_t(native.file->size)}, {m->file->width, 640},
                 {m->file->height, 480}});
  EXPECT_DOUBLE_EQ(m->percentage, 0.5);
  Morvanta_FreeChatMessage(m);
}

TEST(CRecordChatMessage, EmptyAndAbsentTextsAreNull) {
  MvChatMessage native;
  native.messageType = 42;
  native.tempFile = "";  // named, though empty
  native.messageUuid = "";
  native.attach.emplace();
  native.file.emplace();
  MorvantaChatMessage* m = BuildChatMessage(native);
  ASSERT_NE(m, nullptr);
  ASSERT_NE(m->attach, nullptr);
  ASSERT_NE(m->file, nullptr);
  ExpectTexts({{m->message_type, "text"}, {m->message_uuid, nullptr}, {m->from_client_type, nullptr},
               {m->from_user_uuid, nullptr}, {m->from_nick, nullptr}, {m->type, nullptr}, {m->text, nullptr},
               {m->status, nullptr}, {m->from, nullptr}, {m->id_client, nullptr}, {m->custom, nullptr},
               {m->temp_file, nullptr}, {m->to_nickname, nullptr}, {m->from_avatar, nullptr},
               {m->percentage_text, nullptr}, {m->total, nullptr}, {m->loaded, nullptr},
               {m->attach->from, nullptr}, {m->attach->operator_, nullptr}, {m->file->name, nullptr}});
  EXPECT_EQ(m->to_user_uuid_list, nullptr);
  EXPECT_EQ(m->attach->to, nullptr);
  ExpectNumbers({{m->to_user_uuid_count, 0}, {m->attach->to_count, 0}, {m->is_me, 0}, {m->resend, 0},
                 {m->is_private, 0}, {m->chatroom_type, 0}, {m->has_temp_file, 1}});
  Morvanta_FreeChatMessage(m);

  MorvantaChatMessage* bare = BuildChatMessage(MvChatMessage{});
  ASSERT_NE(bare, nullptr);
  EXPECT_EQ(bare->attach, nullptr);
  EXPECT_EQ(bare->file, nullptr);
  EXPECT_EQ(bare->has_temp_file, 0);
  Morvanta_FreeChatMessage(bare);
}

}  // namespace
