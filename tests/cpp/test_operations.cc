// Every payload family through the C++ interface, in its callback form and
// its future form, against the sandbox SDK: the values arrive converted, the
// completion runs once, refusals complete at once on the calling thread.
#include "cpp_harness.h"
#include "support/row_checks.h"

using namespace cpp_test;
using morvanta::Result;
using test_rows::ExpectRows;
using Text = std::optional<std::string>;
using Flag = std::optional<bool>;

namespace {

class Operations : public ::testing::Test {
 protected:
  void SetUp() override {
    session = StartSession();
    ASSERT_TRUE(session.valid());
  }
  morvanta::Session session;
};

}  // namespace

TEST_F(Operations, RecordFamilyCarriesEverySetFieldAndLeavesUnsetOnesEmpty) {
  auto account = session.account();
  Answer<morvanta::AccountInfo> alice;
  account.loginByPassword({"alice", "alice-password"}, alice.callback());
  Result<morvanta::AccountInfo> a = alice.wait();
  ASSERT_EQ(a.code, 0) << a.message;
  ASSERT_TRUE(a.value);
  const morvanta::AccountInfo& v = *a.value;
  ExpectRows(ROW(v.userUuid), "user-alice-0001", ROW(v.userToken.empty()), false, ROW(v.nickname.empty()), false,
             ROW(v.privateMeetingNum.empty()), false, ROW(v.corpName.value_or("").empty()), false,
             ROW(v.avatar.value_or("").empty()), false, ROW(v.phoneNumber), Text("13800000001"),
             ROW(v.email.value_or("").empty()), false, ROW(v.privateShortMeetingNum.has_value()), true,
             ROW(v.isInitialPassword), Flag(false), ROW(v.isAnonymous), Flag(false));

  // Bob has no email, avatar or company; carol's password is an initial one.
  Result<morvanta::AccountInfo> b = Get(account.loginByPassword({"bob", "bob-password"}));
  ASSERT_EQ(b.code, 0) << b.message;
  ASSERT_TRUE(b.value);
  ExpectRows(ROW(b.value->userUuid), "user-bob-0002", ROW(b.value->email), Text(), ROW(b.value->avatar), Text(),
             ROW(b.value->corpName), Text());
  Result<morvanta::AccountInfo> c = Get(account.loginByPassword({"carol", "carol-initial"}));
  ASSERT_TRUE(c.value);
  EXPECT_EQ(c.value->isInitialPassword, std::optional<bool>(true));

  // A refusal of the service: its code and text, no value.
  Answer<morvanta::AccountInfo> wrong;
  account.loginByPassword({"alice", "not-her-password"}, wrong.callback());
  Result<morvanta::AccountInfo> w = wrong.wait();
  ExpectRows(ROW(w.code), 1011, ROW(w.message.empty()), false, ROW(w.value.has_value()), false);

  // The C++-linkage export, through the same family.
  Result<morvanta::AccountInfo> sms = Get(account.loginBySmsCode({"13800000002", "222222"}));
  ASSERT_EQ(sms.code, 0) << sms.message;
  EXPECT_EQ(sms.value->userUuid, "user-bob-0002");
  Result<morvanta::AccountInfo> token = Get(account.loginByToken({"alice", "alice-token", std::nullopt, false}));
  ASSERT_EQ(token.code, 0) << token.message;
  EXPECT_EQ(token.value->userUuid, "user-alice-0001");
  ExpectRows(ROW(alice.calls()), 1, ROW(wrong.calls()), 1);
}

TEST_F(Operations, PlainStringIntegerAndListFamiliesInBothForms) {
  auto audio = session.audio();
  auto video = session.video();

  // string and integer, the callback form first
  Answer<std::string> speaker;
  audio.getSpeakerDeviceId(speaker.callback());
  Answer<uint32_t> volume;
  audio.getSpeakerVolume(volume.callback());
  ExpectRows(ROW(speaker.wait().value), Text("spk-builtin"), ROW(Get(audio.getMicrophoneDeviceId()).value),
             Text("mic-builtin"), ROW(volume.wait().value), std::optional<uint32_t>(80),
             ROW(Get(audio.getMicrophoneVolume()).value), std::optional<uint32_t>(60));

  // list
  Answer<std::vector<morvanta::DeviceInfo>> speakers;
  audio.getSpeakerDeviceList(speakers.callback());
  Result<std::vector<morvanta::DeviceInfo>> s = speakers.wait();
  ASSERT_EQ(s.code, 0) << s.message;
  ASSERT_TRUE(s.value);
  ASSERT_EQ(s.value->size(), 3u);
  Result<std::vector<morvanta::DeviceInfo>> cams = Get(video.getCameraDeviceList());
  ASSERT_TRUE(cams.value);
  ASSERT_EQ(cams.value->size(), 2u);
  ExpectRows(ROW((*s.value)[0].deviceId), "spk-builtin", ROW((*s.value)[1].deviceId), "spk-usb-headset",
             ROW((*s.value)[2].deviceName.empty()), false, ROW((*cams.value)[1].deviceId), "cam-usb-4k");

  // plain: a change the next read sees, and a refusal of the service
  Answer<void> set;
  audio.setSpeakerDevice("spk-hdmi", set.callback());
  EXPECT_EQ(set.wait().code, 0);
  ExpectRows(ROW(Get(audio.getSpeakerDeviceId()).value), Text("spk-hdmi"));
  Result<void> bad = Get(audio.setSpeakerDevice("no-such-speaker"));
  ExpectRows(ROW(bad.code), 1000, ROW(bad.message.empty()), false, ROW(Get(audio.setSpeakerVolume(35)).code), 0);
  ExpectRows(ROW(Get(audio.getSpeakerVolume()).value), std::optional<uint32_t>(35), ROW(set.calls()), 1,
             ROW(speaker.calls()), 1);
}

TEST_F(Operations, RefusedCallsCompleteAtOnceOnTheCallingThread) {
  // A manager without a C handle: every C function refuses with -1.
  morvanta::AudioManager none;
  EXPECT_FALSE(none.valid());
  Answer<uint32_t> refused;
  none.getSpeakerVolume(refused.callback());
  ASSERT_EQ(refused.calls(), 1);  // before the call returned
  EXPECT_EQ(refused.thread(), std::this_thread::get_id());
  Result<uint32_t> r = refused.wait(0ms);
  EXPECT_FALSE(r.value.has_value());
  auto future = none.muteMyAudio();
  ASSERT_EQ(future.wait_for(0ms), std::future_status::ready);
  Result<void> f = future.get();
  // A required argument the C function refuses: an empty list of ids.
  Result<std::vector<morvanta::SearchAccountInfo>> empty = Get(session.invite().getAccountInfoList({}), 0ms);
  const struct {
    int code;
    std::string message;
    const char* function;
  } rows[] = {{r.code, r.message, "Morvanta_Audio_GetSpeakerVolume"},
              {f.code, f.message, "Morvanta_Audio_MuteMyAudio"},
              {empty.code, empty.message, "Morvanta_Invite_GetAccountInfoList"}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.code, -1) << row.function;
    EXPECT_NE(row.message.find(row.function), std::string::npos) << row.function << ": " << row.message;
  }
}

TEST_F(Operations, InviteListsCarryOptionalFields) {
  ASSERT_TRUE(LogIn(session));
  auto invite = session.invite();
  Answer<std::vector<morvanta::SearchAccountInfo>> byPhone;
  invite.searchAccountByPhone("13800000001", byPhone.callback());
  auto phone = byPhone.wait();
  ASSERT_EQ(phone.code, 0) << phone.message;
  ASSERT_TRUE(phone.value);
  ASSERT_EQ(phone.value->size(), 1u);
  const morvanta::SearchAccountInfo& p = (*phone.value)[0];
  ExpectRows(ROW(p.userUuid), "user-alice-0001", ROW(p.phoneNumber), Text("13800000001"),
             ROW(p.avatar.has_value()), true, ROW(p.dept.has_value()), true);

  auto list = Get(invite.getAccountInfoList({"user-bob-0002", "nobody", "user-alice-0001"}));
  ASSERT_EQ(list.code, 0) << list.message;
  ASSERT_TRUE(list.value);
  ASSERT_EQ(list.value->size(), 2u);
  const auto& l = *list.value;
  ExpectRows(ROW(l[0].userUuid), "user-bob-0002", ROW(l[0].avatar), Text(), ROW(l[0].dept), Text(),
             ROW(l[1].userUuid), "user-alice-0001");
  // No match is a success with an empty list, not a missing one.
  auto none = Get(invite.searchAccountByPhone("19999999999"));
  ExpectRows(ROW(none.code), 0, ROW(none.value.has_value() && none.value->empty()), true);
}

TEST_F(Operations, SchedulingRoundTripsOptionsAndNestedRecords) {
  ASSERT_TRUE(LogIn(session));
  auto pre = session.preMeeting();
  morvanta::PreMeetingCreateOptions options;
  options.subject = "Roadmap";
  options.password = "4321";
  options.enableWaitingRoom = true;
  Answer<morvanta::MeetingInfo> scheduled;
  pre.scheduleMeeting(options, scheduled.callback());
  auto s = scheduled.wait();
  ASSERT_EQ(s.code, 0) << s.message;
  ASSERT_TRUE(s.value);
  ASSERT_TRUE(s.value->localMember);
  ASSERT_FALSE(s.value->scheduledMembers.empty());
  const morvanta::MeetingInfo& v = *s.value;
  ExpectRows(ROW(v.subject), "Roadmap", ROW(v.enableWaitingRoom), true,
             ROW(v.meetingId > int64_t{1} << 32), true,  // 64-bit ids survive
             ROW(v.meetingNum.empty()), false, ROW(v.ownerUserUuid), "user-alice-0001",
             ROW(v.localMember->role), morvanta::Role::Host, ROW(v.scheduledMembers[0].userUuid), "user-alice-0001",
             ROW(v.noChat), Flag());

  morvanta::PreMeetingEditOptions edit;
  edit.subject = "Roadmap, revised";
  EXPECT_EQ(Get(pre.editMeeting(s.value->meetingId, edit)).code, 0);
  auto read = Get(pre.getMeetingInfoByMeetingNum(s.value->meetingNum));
  ASSERT_TRUE(read.value);
  EXPECT_EQ(read.value->subject, "Roadmap, revised");

  Answer<std::vector<morvanta::ScheduledMember>> members;
  pre.getScheduledMembers(s.value->meetingNum, members.callback());
  auto m = members.wait();
  ASSERT_TRUE(m.value);
  ASSERT_EQ(m.value->size(), 1u);
  EXPECT_EQ((*m.value)[0].role, morvanta::Role::Host);

  morvanta::MeetingListParams page;
  page.size = 10;
  auto list = Get(pre.getMeetingListBySize(page));
  ASSERT_TRUE(list.value);
  ASSERT_EQ(list.value->size(), 1u);
  EXPECT_EQ((*list.value)[0].meetingNum, s.value->meetingNum);
  EXPECT_EQ(Get(pre.getMeetingListBySize(std::nullopt)).value->size(), 1u);
  EXPECT_EQ(Get(pre.cancelMeeting(s.value->meetingId, std::nullopt)).code, 0);
  auto gone = Get(pre.getMeetingInfoByMeetingNum(s.value->meetingNum));
  ExpectRows(ROW(gone.code), 1102, ROW(gone.value.has_value()), false);
}

TEST_F(Operations, InMeetingRecordsQueriesAndChatMessagesGoBothWays) {
  ASSERT_TRUE(LogIn(session));
  auto meeting = session.meeting();
  ASSERT_TRUE(CreateMeeting(meeting, "Records", false));

  // Synchronous queries, in both forms.
  Answer<morvanta::MeetingSDKInfo> info;
  meeting.getMeetingInfo(info.callback());
  ASSERT_EQ(info.calls(), 1);
  auto i = info.wait(0ms);
  ASSERT_EQ(i.code, 0) << i.message;
  ASSERT_TRUE(i.value);
  const morvanta::MeetingSDKInfo& v = *i.value;
  ExpectRows(ROW(v.subject), "Records", ROW(v.role), morvanta::Role::Host, ROW(v.hostUuid), "user-alice-0001",
             ROW(v.meetingNum.empty()), false, ROW(v.meetingId.has_value()), true, ROW(v.isWaitingRoomEnabled),
             Flag(false), ROW(v.inWaitingRoom), Flag(false));

  auto members = Get(session.member().getMemberList(), 0ms);
  ASSERT_EQ(members.code, 0);
  ASSERT_TRUE(members.value);
  ASSERT_GE(members.value->size(), 1u);
  const morvanta::Member& me = (*members.value)[0];
  ExpectRows(ROW(me.uuid), "user-alice-0001", ROW(me.isHost), true, ROW(me.isAudioOn), false);
  auto room = Get(session.waitingRoom().getInfo(), 0ms);
  ASSERT_EQ(room.code, 0);
  EXPECT_FALSE(room.value->isEnabledOnEntry);

  // Permissions: a record family on another manager.
  auto security = session.security();
  EXPECT_EQ(Get(security.changeChatroomPermission(std::string("publicChatOnly"), std::nullopt)).code, 0);
  Answer<morvanta::ChatroomPermission> permission;
  security.getChatroomPermission(permission.callback());
  auto p = permission.wait();
  ASSERT_TRUE(p.value);
  ExpectRows(ROW(p.value->crPerm), "publicChatOnly", ROW(p.value->wtPrChat), "noChat");

  // A chat message out, and back in to recall it.
  auto chat = session.chatroom();
  morvanta::ChatroomTextMessageOptions text;
  text.text = "hello from C++";
  Answer<morvanta::ChatMessage> sent;
  chat.sendTextMessage(text, sent.callback());
  auto m = sent.wait();
  ASSERT_EQ(m.code, 0) << m.message;
  ASSERT_TRUE(m.value);
  ExpectRows(ROW(m.message), "Success", ROW(m.value->text), "hello from C++", ROW(m.value->messageType),
             morvanta::ChatMessageType::Text, ROW(m.value->messageUuid.empty()), false, ROW(m.value->fromUserUuid),
             "user-alice-0001");
  EXPECT_EQ(Get(chat.recallMessage(*m.value)).code, 0);

  // Capture sources: a list whose records hold images.
  auto sources = Get(session.screenShare().getScreenCaptureSourceList());
  ASSERT_EQ(sources.code, 0) << sources.message;
  ASSERT_TRUE(sources.value);
  ASSERT_EQ(sources.value->size(), 5u);
  const auto& src = *sources.value;
  ExpectRows(ROW(src[0].isWindow), false, ROW(src[0].isPrimaryMonitor), Flag(true), ROW(src[2].isWindow), true,
             ROW(src[2].appPath), Text("/usr/bin/sandbox-slides"));

  // Operations that answer on return.
  Answer<void> profile;
  session.video().setVideoProfile(2, 30, profile.callback());
  ASSERT_EQ(profile.calls(), 1);
  EXPECT_EQ(profile.wait(0ms).code, 0);
  EXPECT_EQ(Get(meeting.leaveMeeting(true)).code, 0);
  auto after = Get(meeting.getMeetingInfo(), 0ms);
  ExpectRows(ROW(after.code), -999, ROW(after.value.has_value()), false);
  EXPECT_EQ(Get(meeting.releaseMeeting(), 0ms).code, 0);
}
