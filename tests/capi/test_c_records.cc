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
  const struct {
    int32_t value;
    const char* role;
  } roles[] = {{0, "host"}, {1, "evaluator"}, {2, "bidder"}, {3, "supervise"}, {4, "host"}, {-1, "host"}};
  for (const auto& row : roles) {
    EXPECT_STREQ(RoleText(static_cast<MvMemberRole>(row.value)), row.role) << row.value;
  }
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
  MvSearchAccountInfo minimal{"u2", "", std::nullopt, std::nullopt, std::nullopt};
  std::vector<MvSearchAccountInfo> natives = {FullAccount("1"), minimal};
  bool ok = false;
  MorvantaSearchAccountInfo* list = BuildSearchAccountList(natives, ok);
  ASSERT_TRUE(ok);
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list[0].user_uuid, "uuid-1");
  EXPECT_STREQ(list[0].nickname, "nick-1");
  EXPECT_STREQ(list[0].avatar, "avatar-1");
  EXPECT_STREQ(list[0].phone_number, "phone-1");
  EXPECT_STREQ(list[0].dept, "dept-1");
  EXPECT_STREQ(list[1].user_uuid, "u2");
  EXPECT_STREQ(list[1].nickname, "");  // an empty text stays a string
  EXPECT_EQ(list[1].avatar, nullptr);
  EXPECT_EQ(list[1].phone_number, nullptr);
  EXPECT_EQ(list[1].dept, nullptr);
  Morvanta_FreeAccountList(list, static_cast<int32_t>(natives.size()));
}

TEST(CRecordChatroomPermission, CopiesBothNamesEvenWhenEmpty) {
  MorvantaChatroomPermission* permission = BuildChatroomPermission({"ALL_CAN_CHAT", ""});
  ASSERT_NE(permission, nullptr);
  EXPECT_STREQ(permission->cr_perm, "ALL_CAN_CHAT");
  EXPECT_STREQ(permission->wt_pr_chat, "");
  Morvanta_FreeChatroomPermission(permission);
}

TEST(CRecordWaitingRoomMember, FullAndAbsentOrEmptyAvatar) {
  MvWaitingRoomMember no_avatar{"u", "n", std::nullopt, 0, 0};
  MvWaitingRoomMember empty_avatar{"u", "n", std::string(), -5, -1};
  std::vector<MvWaitingRoomMember> natives = {FullWaiting("1"), no_avatar, empty_avatar};
  bool ok = false;
  MorvantaWaitingRoomMember* list = BuildWaitingRoomMemberList(natives, ok);
  ASSERT_TRUE(ok);
  for (size_t i = 0; i < natives.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_STREQ(list[i].uuid, natives[i].uuid.c_str());
    EXPECT_STREQ(list[i].name, natives[i].name.c_str());
    EXPECT_EQ(list[i].join_time, natives[i].joinTime);
    EXPECT_EQ(list[i].status, natives[i].status);
  }
  EXPECT_STREQ(list[0].avatar, "wavatar-1");
  EXPECT_EQ(list[1].avatar, nullptr);
  EXPECT_STREQ(list[2].avatar, "");  // given, though empty
  Morvanta_FreeWaitingRoomMemberList(list, static_cast<int32_t>(natives.size()));
}

TEST(CRecordMember, RoleFlagsAndOptionalHandsUp) {
  const struct {
    MvMemberRole role;
    int32_t is_host, is_evaluator;
  } rows[] = {{MvMemberRole::Host, 1, 0},
              {MvMemberRole::Evaluator, 0, 1},
              {MvMemberRole::Bidder, 0, 0},
              {MvMemberRole::Supervise, 0, 0}};
  std::vector<MvMember> natives;
  for (const auto& row : rows) natives.push_back(FullMember(std::to_string(natives.size()), row.role));
  MvMember quiet;  // every flag false, hands-up not given
  quiet.isVideoOn = true;
  natives.push_back(quiet);

  bool ok = false;
  MorvantaMember* list = BuildMemberList(natives, ok);
  ASSERT_TRUE(ok);
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    EXPECT_STREQ(list[i].uuid, natives[i].uuid.c_str());
    EXPECT_STREQ(list[i].name, natives[i].name.c_str());
    EXPECT_EQ(list[i].is_host, rows[i].is_host);
    EXPECT_EQ(list[i].is_evaluator, rows[i].is_evaluator);
    EXPECT_EQ(list[i].is_audio_on, 1);
    EXPECT_EQ(list[i].is_video_on, 0);
    EXPECT_EQ(list[i].is_sharing_screen, 1);
    EXPECT_EQ(list[i].is_hands_up, 1);
  }
  const MorvantaMember& last = list[natives.size() - 1];
  EXPECT_STREQ(last.uuid, "");
  EXPECT_EQ(last.is_host, 1);  // the default role
  EXPECT_EQ(last.is_audio_on, 0);
  EXPECT_EQ(last.is_video_on, 1);
  EXPECT_EQ(last.is_sharing_screen, 0);
  EXPECT_EQ(last.is_hands_up, 0);
  Morvanta_FreeMemberList(list, static_cast<uint32_t>(natives.size()));
}

void ExpectImage(const MorvantaScreenCaptureImage& c, const MvScreenCaptureImage& native) {
  EXPECT_EQ(c.width, native.width);
  EXPECT_EQ(c.height, native.height);
  ASSERT_EQ(c.size, native.data.size());
  if (native.data.empty()) {
    EXPECT_EQ(c.data, nullptr);
  } else {
    ASSERT_NE(c.data, nullptr);
    EXPECT_EQ(memcmp(c.data, native.data.data(), c.size), 0);
  }
}

TEST(CRecordScreenCaptureSource, FullMinimalAndDimensionsWithoutBytes) {
  MvScreenCaptureSource minimal;  // a screen, nothing optional
  MvScreenCaptureSource no_bytes;
  no_bytes.sourceType = 2;
  no_bytes.icon = MvScreenCaptureImage{16, 16, {}};
  std::vector<MvScreenCaptureSource> natives = {FullSource("1"), minimal, no_bytes};
  bool ok = false;
  MorvantaScreenCaptureSource* list = BuildScreenCaptureSourceList(natives, ok);
  ASSERT_TRUE(ok);

  const MorvantaScreenCaptureSource& full = list[0];
  EXPECT_EQ(full.source_id, natives[0].sourceId);
  EXPECT_STREQ(full.source_name, "screen-1");
  EXPECT_EQ(full.is_window, 1);
  EXPECT_STREQ(full.app_name, "title-1");
  EXPECT_STREQ(full.app_path, "/opt/1");
  EXPECT_EQ(full.is_primary_monitor, 0);
  ExpectImage(full.icon, *natives[0].icon);
  ExpectImage(full.thumbnail, *natives[0].thumbImage);
  EXPECT_NE(full.icon.data, natives[0].icon->data.data());  // a copy, not a borrow

  const MorvantaScreenCaptureImage zero{};
  for (const MorvantaScreenCaptureImage* absent : {&list[1].icon, &list[1].thumbnail, &list[2].thumbnail}) {
    EXPECT_EQ(memcmp(absent, &zero, sizeof zero), 0);
  }
  EXPECT_EQ(list[1].source_id, 0);
  EXPECT_STREQ(list[1].source_name, "");
  EXPECT_EQ(list[1].is_window, 0);
  EXPECT_EQ(list[1].app_name, nullptr);
  EXPECT_EQ(list[1].app_path, nullptr);
  EXPECT_EQ(list[1].is_primary_monitor, -1);
  EXPECT_EQ(list[2].is_window, 1);
  ExpectImage(list[2].icon, *no_bytes.icon);
  Morvanta_FreeScreenCaptureSourceList(list, static_cast<uint32_t>(natives.size()));
}

void ExpectMeeting(const MorvantaMeetingInfo& c, const MvMeetingInfo& native) {
  EXPECT_EQ(c.meeting_id, native.meetingId);
  EXPECT_STREQ(c.meeting_num, native.meetingNum.c_str());
  EXPECT_STREQ(c.room_uuid, native.roomUuid.c_str());
  EXPECT_EQ(c.state, native.state);
  EXPECT_EQ(c.start_time, native.startTime);
  EXPECT_EQ(c.end_time, native.endTime);
  EXPECT_STREQ(c.subject, native.subject.c_str());
  EXPECT_STREQ(c.owner_user_uuid, native.ownerUserUuid.c_str());
  EXPECT_STREQ(c.owner_nickname, native.ownerNickname.c_str());
  EXPECT_EQ(c.enable_waiting_room, native.enableWaitingRoom ? 1 : 0);
}

TEST(CRecordMeetingInfo, FullMeetingWithLocalAndScheduledMembers) {
  MvMeetingInfo native = FullMeeting("1");
  MorvantaMeetingInfo* meeting = BuildMeetingInfo(native);
  ASSERT_NE(meeting, nullptr);
  ExpectMeeting(*meeting, native);
  ASSERT_NE(meeting->local_member, nullptr);
  EXPECT_STREQ(meeting->local_member->user_uuid, "local-1");
  EXPECT_STREQ(meeting->local_member->name, "localname-1");
  EXPECT_STREQ(meeting->local_member->role, "supervise");
  ASSERT_EQ(meeting->scheduled_member_count, 2);
  EXPECT_STREQ(meeting->scheduled_members[0].user_uuid, "sched-1a");
  EXPECT_STREQ(meeting->scheduled_members[0].role, "bidder");
  EXPECT_STREQ(meeting->scheduled_members[1].role, "host");  // a role without a text
  EXPECT_EQ(meeting->no_cloud_record, 1);
  EXPECT_EQ(meeting->no_chat, 0);
  Morvanta_FreePreMeetingInfo(meeting);
}

TEST(CRecordMeetingInfo, ListOfMinimalAndEmptyScheduleMeetings) {
  MvMeetingInfo minimal;
  minimal.meetingNum = "m";
  minimal.roomUuid = "r";
  MvMeetingInfo empty_schedule = FullMeeting("2");
  empty_schedule.scheduledMembers = std::vector<MvScheduledMember>{};
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
  EXPECT_EQ(list[0].scheduled_member_count, 0);
  EXPECT_EQ(list[0].no_cloud_record, -1);
  EXPECT_EQ(list[0].no_chat, -1);
  EXPECT_STREQ(list[0].subject, "");
  EXPECT_EQ(list[1].scheduled_members, nullptr);
  EXPECT_EQ(list[1].scheduled_member_count, 0);
  EXPECT_EQ(list[2].scheduled_member_count, 2);
  Morvanta_FreeMeetingList(list, static_cast<int32_t>(natives.size()));
}

TEST(CRecordScheduledMember, RoleTextsInOrder) {
  std::vector<MvScheduledMember> natives;
  for (int32_t role : {3, 2, 1, 0, 7}) natives.push_back(Scheduled(std::to_string(role), MvMemberRole(role)));
  bool ok = false;
  MorvantaScheduledMember* list = BuildScheduledMemberList(natives, ok);
  ASSERT_TRUE(ok);
  for (size_t i = 0; i < natives.size(); ++i) {
    EXPECT_STREQ(list[i].user_uuid, natives[i].userUuid.c_str());
    EXPECT_STREQ(list[i].role, RoleText(natives[i].role));
  }
  Morvanta_FreeScheduledMembers(list, static_cast<int32_t>(natives.size()));
}

TEST(CRecordMeetingSDKInfo, FullAndMinimal) {
  MvMeetingSDKInfo native = FullMeetingSDKInfo();
  MorvantaMeetingSDKInfo* full = BuildMeetingSDKInfo(native);
  ASSERT_NE(full, nullptr);
  const std::pair<const char*, const std::string*> texts[] = {
      {full->user_uuid, &native.userUuid},       {full->name, &native.name},
      {full->my_uuid, &native.myUuid},           {full->host_uuid, &native.hostUuid},
      {full->host_name, &native.hostName},       {full->active_speaker_uuid, &native.activeSpeakerUuid},
      {full->subject, &native.subject},          {full->owner_user_uuid, &native.ownerUserUuid},
      {full->room_archive_id, &native.roomArchiveId}, {full->meeting_num, &native.meetingNum}};
  for (const auto& text : texts) EXPECT_STREQ(text.first, text.second->c_str());
  EXPECT_STREQ(full->role, "evaluator");
  EXPECT_EQ(full->is_support_chatroom, 1);
  EXPECT_EQ(full->is_cloud_recording, 0);
  EXPECT_EQ(full->start_time, native.startTime);
  EXPECT_EQ(full->end_time, native.endTime);
  EXPECT_EQ(full->type, native.type);
  EXPECT_EQ(full->rtc_start_time, native.rtcStartTime);
  EXPECT_EQ(full->join_meeting_time, native.joinMeetingTime);
  EXPECT_EQ(full->meeting_id, *native.meetingId);
  EXPECT_EQ(full->is_waiting_room_enabled, 1);
  EXPECT_EQ(full->in_waiting_room, 0);
  EXPECT_EQ(full->max_members, *native.maxMembers);
  EXPECT_EQ(full->is_breakout_room, 1);
  Morvanta_FreeMeetingInfo(full);

  MorvantaMeetingSDKInfo* minimal = BuildMeetingSDKInfo(MvMeetingSDKInfo{});
  ASSERT_NE(minimal, nullptr);
  EXPECT_STREQ(minimal->user_uuid, "");
  EXPECT_STREQ(minimal->role, "host");
  EXPECT_EQ(minimal->meeting_id, -1);
  EXPECT_EQ(minimal->max_members, -1);
  EXPECT_EQ(minimal->is_waiting_room_enabled, -1);
  EXPECT_EQ(minimal->in_waiting_room, -1);
  EXPECT_EQ(minimal->is_breakout_room, -1);
  Morvanta_FreeMeetingInfo(minimal);
}

TEST(CRecordChatMessage, FullMessageWithAttachmentRecords) {
  MvChatMessage native = FullChatMessage();
  MorvantaChatMessage* m = BuildChatMessage(native);
  ASSERT_NE(m, nullptr);
  const std::pair<const char*, const char*> texts[] = {
      {m->message_uuid, "mid"}, {m->from_client_type, "pc"}, {m->message_type, "file"}, {m->from_user_uuid, "fu"},
      {m->from_nick, "fn"},     {m->type, "file"},           {m->text, "hello"},        {m->status, "sent"},
      {m->from, "fr"},          {m->id_client, "ic"},        {m->custom, "cu"},         {m->temp_file, "tf"},
      {m->to_nickname, "tn"},   {m->from_avatar, "fa"},      {m->percentage_text, "50%"}, {m->total, "100"},
      {m->loaded, "50"}};
  for (const auto& text : texts) EXPECT_STREQ(text.first, text.second);
  ASSERT_EQ(m->to_user_uuid_count, 3);
  EXPECT_STREQ(m->to_user_uuid_list[0], "to1");
  EXPECT_STREQ(m->to_user_uuid_list[1], "");  // list elements are kept as given
  EXPECT_STREQ(m->to_user_uuid_list[2], "to3");
  EXPECT_EQ(m->time, native.time);
  EXPECT_EQ(m->is_me, 1);
  EXPECT_EQ(m->resend, 0);
  EXPECT_EQ(m->is_private, 1);
  EXPECT_EQ(m->chatroom_type, 2);
  EXPECT_EQ(m->has_temp_file, 1);
  EXPECT_DOUBLE_EQ(m->percentage, 0.5);

  ASSERT_NE(m->attach, nullptr);
  EXPECT_STREQ(m->attach->from, "af");
  EXPECT_STREQ(m->attach->from_nick, "afn");
  EXPECT_STREQ(m->attach->type, "at");
  ASSERT_EQ(m->attach->to_count, 2);
  EXPECT_STREQ(m->attach->to[1], "y");
  ASSERT_EQ(m->attach->to_nick_count, 1);
  EXPECT_STREQ(m->attach->to_nick[0], "xn");
  EXPECT_STREQ(m->attach->url, "au");
  EXPECT_STREQ(m->attach->name, "an");
  EXPECT_STREQ(m->attach->msg_id, "am");
  EXPECT_EQ(m->attach->msg_time, 77);
  EXPECT_EQ(m->attach->id, 8);
  EXPECT_STREQ(m->attach->operator_, "op");

  ASSERT_NE(m->file, nullptr);
  EXPECT_STREQ(m->file->name, "doc");
  EXPECT_STREQ(m->file->ext, "pdf");
  EXPECT_EQ(m->file->size, native.file->size);
  EXPECT_STREQ(m->file->url, "fu");
  EXPECT_STREQ(m->file->file_path, "/tmp/doc.pdf");
  EXPECT_EQ(m->file->width, 640);
  EXPECT_EQ(m->file->height, 480);
  Morvanta_FreeChatMessage(m);
}

TEST(CRecordChatMessage, EmptyAndAbsentTextsAreNull) {
  MvChatMessage native;  // nothing given
  native.messageType = 42;
  native.tempFile = "";  // named, but empty
  native.messageUuid = "";
  native.attach = MvChatMessageAttach{};
  native.file = MvChatMessageFile{};
  MorvantaChatMessage* m = BuildChatMessage(native);
  ASSERT_NE(m, nullptr);
  for (const char* text : {m->message_uuid, m->from_client_type, m->from_user_uuid, m->from_nick, m->type,
                           m->text, m->status, m->from, m->id_client, m->custom, m->temp_file, m->to_nickname,
                           m->from_avatar, m->percentage_text, m->total, m->loaded}) {
    EXPECT_EQ(text, nullptr);
  }
  EXPECT_STREQ(m->message_type, "text");
  EXPECT_EQ(m->to_user_uuid_list, nullptr);
  EXPECT_EQ(m->to_user_uuid_count, 0);
  EXPECT_EQ(m->is_me, 0);
  EXPECT_EQ(m->resend, 0);
  EXPECT_EQ(m->is_private, 0);
  EXPECT_EQ(m->chatroom_type, 0);
  EXPECT_EQ(m->has_temp_file, 1);
  ASSERT_NE(m->attach, nullptr);
  EXPECT_EQ(m->attach->from, nullptr);
  EXPECT_EQ(m->attach->to, nullptr);
  EXPECT_EQ(m->attach->to_count, 0);
  ASSERT_NE(m->file, nullptr);
  EXPECT_EQ(m->file->name, nullptr);
  Morvanta_FreeChatMessage(m);

  MorvantaChatMessage* bare = BuildChatMessage(MvChatMessage{});
  ASSERT_NE(bare, nullptr);
  EXPECT_EQ(bare->attach, nullptr);
  EXPECT_EQ(bare->file, nullptr);
  EXPECT_EQ(bare->has_temp_file, 0);
  Morvanta_FreeChatMessage(bare);
}

}  // namespace
