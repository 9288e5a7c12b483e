// Every payload family through the C++ interface, in its callback form and
// its future form, against the sandbox SDK: the values arrive converted, the
// completion runs once, refusals complete at once on the calling thread.
#include "cpp_harness.h"

using namespace cpp_test;
using morvanta::Result;

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
  EXPECT_EQ(a.value->userUuid, "user-alice-0001");
  EXPECT_FALSE(a.value->userToken.empty());
  EXPECT_FALSE(a.value->nickname.empty());
  EXPECT_FALSE(a.value->privateMeetingNum.empty());
  EXPECT_TRUE(a.value->corpName && !a.value->corpName->empty());
  EXPECT_TRUE(a.value->avatar && !a.value->avatar->empty());
  EXPECT_EQ(a.value->phoneNumber, std::optional<std::string>("13800000001"));
  EXPECT_TRUE(a.value->email && !a.value->email->empty());
  EXPECT_TRUE(a.value->privateShortMeetingNum.has_value());
  EXPECT_EQ(a.value->isInitialPassword, std::optional<bool>(false));
  EXPECT_EQ(a.value->isAnonymous, std::optional<bool>(false));

  // Bob has no email, avatar or company; carol's password is an initial one.
  Result<morvanta::AccountInfo> b = Get(account.loginByPassword({"bob", "bob-password"}));
  ASSERT_EQ(b.code, 0) << b.message;
  ASSERT_TRUE(b.value);
  EXPECT_EQ(b.value->userUuid, "user-bob-0002");
  EXPECT_FALSE(b.value->email.has_value());
  EXPECT_FALSE(b.value->avatar.has_value());
  EXPECT_FALSE(b.value->corpName.has_value());
  Result<morvanta::AccountInfo> c = Get(account.loginByPassword({"carol", "carol-initial"}));
  ASSERT_TRUE(c.value);
  EXPECT_EQ(c.value->isInitialPassword, std::optional<bool>(true));

  // A refusal of the service: its code and text, no value.
  Answer<morvanta::AccountInfo> wrong;
  account.loginByPassword({"alice", "not-her-password"}, wrong.callback());
  Result<morvanta::AccountInfo> w = wrong.wait();
  EXPECT_EQ(w.code, 1011);
  EXPECT_FALSE(w.message.empty());
  EXPECT_FALSE(w.value.has_value());

  // The C++-linkage export, through the same family.
  Result<morvanta::AccountInfo> sms = Get(account.loginBySmsCode({"13800000002", "222222"}));
  ASSERT_EQ(sms.code, 0) << sms.message;
  EXPECT_EQ(sms.value->userUuid, "user-bob-0002");
  Result<morvanta::AccountInfo> token = Get(account.loginByToken({"alice", "alice-token", std::nullopt, false}));
  ASSERT_EQ(token.code, 0) << token.message;
  EXPECT_EQ(token.value->userUuid, "user-alice-0001");
  EXPECT_EQ(alice.calls(), 1);
  EXPECT_EQ(wrong.calls(), 1);
}

TEST_F(Operations, PlainStringIntegerAndListFamiliesInBothForms) {
  auto audio = session.audio();
  auto video = session.video();

  // string
  Answer<std::string> speaker;
  audio.getSpeakerDeviceId(speaker.callback());
  EXPECT_EQ(speaker.wait().value, std::optional<std::string>("spk-builtin"));
  EXPECT_EQ(Get(audio.getMicrophoneDeviceId()).value, std::optional<std::string>("mic-builtin"));

  // integer
  Answer<uint32_t> volume;
  audio.getSpeakerVolume(volume.callback());
  EXPECT_EQ(volume.wait().value, std::optional<uint32_t>(80));
  EXPECT_EQ(Get(audio.getMicrophoneVolume()).value, std::optional<uint32_t>(60));

  // list
  Answer<std::vector<morvanta::DeviceInfo>> speakers;
  audio.getSpeakerDeviceList(speakers.callback());
  Result<std::vector<morvanta::DeviceInfo>> s = speakers.wait();
  ASSERT_EQ(s.code, 0) << s.message;
  ASSERT_TRUE(s.value);
  ASSERT_EQ(s.value->size(), 3u);
  EXPECT_EQ((*s.value)[0].deviceId, "spk-builtin");
  EXPECT_EQ((*s.value)[1].deviceId, "spk-usb-headset");
  EXPECT_FALSE((*s.value)[2].deviceName.empty());
  Result<std::vector<morvanta::DeviceInfo>> cams = Get(video.getCameraDeviceList());
  ASSERT_TRUE(cams.value);
  ASSERT_EQ(cams.value->size(), 2u);
  EXPECT_EQ((*cams.value)[1].deviceId, "cam-usb-4k");

  // plain: a change the next read sees, and a refusal of the service
  Answer<void> set;
  audio.setSpeakerDevice("spk-hdmi", set.callback());
  EXPECT_EQ(set.wait().code, 0);
  EXPECT_EQ(Get(audio.getSpeakerDeviceId()).value, std::optional<std::string>("spk-hdmi"));
  Result<void> bad = Get(audio.setSpeakerDevice("no-such-speaker"));
  EXPECT_EQ(bad.code, 1000);
  EXPECT_FALSE(bad.message.empty());
  EXPECT_EQ(Get(audio.setSpeakerVolume(35)).code, 0);
  EXPECT_EQ(Get(audio.getSpeakerVolume()).value, std::optional<uint32_t>(35));
  EXPECT_EQ(set.calls(), 1);
  EXPECT_EQ(speaker.calls(), 1);
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
  EXPECT_EQ(r.code, -1);
  EXPECT_NE(r.message.find("Morvanta_Audio_GetSpeakerVolume"), std::string::npos) << r.message;
  EXPECT_FALSE(r.value.has_value());

  auto future = none.muteMyAudio();
  ASSERT_EQ(future.wait_for(0ms), std::future_status::ready);
  Result<void> f = future.get();
  EXPECT_EQ(f.code, -1);
  EXPECT_NE(f.message.find("Morvanta_Audio_MuteMyAudio"), std::string::npos) << f.message;

  // A required argument the C function refuses: an empty list of ids.
  Result<std::vector<morvanta::SearchAccountInfo>> empty = Get(session.invite().getAccountInfoList({}), 0ms);
  EXPECT_EQ(empty.code, -1);
  EXPECT_NE(empty.message.find("Morvanta_Invite_GetAccountInfoList"), std::string::npos) << empty.message;
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
  EXPECT_EQ((*phone.value)[0].userUuid, "user-alice-0001");
  EXPECT_EQ((*phone.value)[0].phoneNumber, std::optional<std::string>("13800000001"));
  EXPECT_TRUE((*phone.value)[0].avatar.has_value());
  EXPECT_TRUE((*phone.value)[0].dept.has_value());

  auto list = Get(invite.getAccountInfoList({"user-bob-0002", "nobody", "user-alice-0001"}));
  ASSERT_EQ(list.code, 0) << list.message;
  ASSERT_TRUE(list.value);
  ASSERT_EQ(list.value->size(), 2u);
  EXPECT_EQ((*list.value)[0].userUuid, "user-bob-0002");
  EXPECT_FALSE((*list.value)[0].avatar.has_value());
  EXPECT_FALSE((*list.value)[0].dept.has_value());
  EXPECT_EQ((*list.value)[1].userUuid, "user-alice-0001");

  // No match is a success with an empty list, not a missing one.
  auto none = Get(invite.searchAccountByPhone("19999999999"));
  EXPECT_EQ(none.code, 0);
  ASSERT_TRUE(none.value);
  EXPECT_TRUE(none.value->empty());
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
  EXPECT_EQ(s.value->subject, "Roadmap");
  EXPECT_TRUE(s.value->enableWaitingRoom);
  EXPECT_GT(s.value->meetingId, int64_t{1} << 32);  // 64-bit ids survive
  EXPECT_FALSE(s.value->meetingNum.empty());
  EXPECT_EQ(s.value->ownerUserUuid, "user-alice-0001");
  ASSERT_TRUE(s.value->localMember);
  EXPECT_EQ(s.value->localMember->role, morvanta::Role::Host);
  ASSERT_FALSE(s.value->scheduledMembers.empty());
  EXPECT_EQ(s.value->scheduledMembers[0].userUuid, "user-alice-0001");
  EXPECT_FALSE(s.value->noChat.has_value());

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
  EXPECT_EQ(gone.code, 1102);
  EXPECT_FALSE(gone.value.has_value());
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
  EXPECT_EQ(i.value->subject, "Records");
  EXPECT_EQ(i.value->role, morvanta::Role::Host);
  EXPECT_EQ(i.value->hostUuid, "user-alice-0001");
  EXPECT_FALSE(i.value->meetingNum.empty());
  EXPECT_TRUE(i.value->meetingId.has_value());
  EXPECT_EQ(i.value->isWaitingRoomEnabled, std::optional<bool>(false));
  EXPECT_EQ(i.value->inWaitingRoom, std::optional<bool>(false));

  auto members = Get(session.member().getMemberList(), 0ms);
  ASSERT_EQ(members.code, 0);
  ASSERT_TRUE(members.value);
  ASSERT_GE(members.value->size(), 1u);
  EXPECT_EQ((*members.value)[0].uuid, "user-alice-0001");
  EXPECT_TRUE((*members.value)[0].isHost);
  EXPECT_FALSE((*members.value)[0].isAudioOn);

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
  EXPECT_EQ(p.value->crPerm, "publicChatOnly");
  EXPECT_EQ(p.value->wtPrChat, "noChat");

  // A chat message out, and back in to recall it.
  auto chat = session.chatroom();
  morvanta::ChatroomTextMessageOptions text;
  text.text = "hello from C++";
  Answer<morvanta::ChatMessage> sent;
  chat.sendTextMessage(text, sent.callback());
  auto m = sent.wait();
  ASSERT_EQ(m.code, 0) << m.message;
  EXPECT_EQ(m.message, "Success");
  ASSERT_TRUE(m.value);
  EXPECT_EQ(m.value->text, "hello from C++");
  EXPECT_EQ(m.value->messageType, morvanta::ChatMessageType::Text);
  EXPECT_FALSE(m.value->messageUuid.empty());
  EXPECT_EQ(m.value->fromUserUuid, "user-alice-0001");
  EXPECT_EQ(Get(chat.recallMessage(*m.value)).code, 0);

  // Capture sources: a list whose records hold images.
  auto sources = Get(session.screenShare().getScreenCaptureSourceList());
  ASSERT_EQ(sources.code, 0) << sources.message;
  ASSERT_TRUE(sources.value);
  ASSERT_EQ(sources.value->size(), 5u);
  EXPECT_FALSE((*sources.value)[0].isWindow);
  EXPECT_EQ((*sources.value)[0].isPrimaryMonitor, std::optional<bool>(true));
  EXPECT_TRUE((*sources.value)[2].isWindow);
  EXPECT_EQ((*sources.value)[2].appPath, std::optional<std::string>("/usr/bin/sandbox-slides"));

  // Operations that answer on return.
  Answer<void> profile;
  session.video().setVideoProfile(2, 30, profile.callback());
  ASSERT_EQ(profile.calls(), 1);
  EXPECT_EQ(profile.wait(0ms).code, 0);
  EXPECT_EQ(Get(meeting.leaveMeeting(true)).code, 0);
  auto after = Get(meeting.getMeetingInfo(), 0ms);
  EXPECT_EQ(after.code, -999);
  EXPECT_FALSE(after.value.has_value());
  EXPECT_EQ(Get(meeting.releaseMeeting(), 0ms).code, 0);
}
