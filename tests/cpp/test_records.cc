// The conversions at the boundary, on records built by hand: C records to
// value types with every field set and with every field unset, C++ options
// to C records, and the payload families' trampolines (values, missing
// payloads, NULL messages).
#include <cstring>

#include "cpp_harness.h"

namespace d = morvanta::detail;
using morvanta::Role;

namespace {

char* S(const char* text) { return const_cast<char*>(text); }

// Runs a family's trampoline with a completion that keeps the result.
template <class T>
struct Catch {
  std::optional<morvanta::Result<T>> got;
  int calls = 0;
  void* context() {
    auto f = [this](morvanta::Result<T> r) {
      ++calls;
      got = std::move(r);
    };
    return new d::CompletionOf<T, decltype(f)>(std::move(f));
  }
};

}  // namespace

TEST(Records, AccountInfoWithEveryFieldSetAndUnset) {
  MorvantaAccountInfo c{S("u"), S("t"), S("n"), S("p"), S("corp"), S("acc"), S("av"), S("ph"), S("em"), S("short"),
                        1, 0};
  morvanta::AccountInfo a = d::toCpp(c);
  EXPECT_EQ(a.userUuid + a.userToken + a.nickname + a.privateMeetingNum, "utnp");
  EXPECT_EQ(a.corpName, std::optional<std::string>("corp"));
  EXPECT_EQ(a.account, std::optional<std::string>("acc"));
  EXPECT_EQ(a.avatar, std::optional<std::string>("av"));
  EXPECT_EQ(a.phoneNumber, std::optional<std::string>("ph"));
  EXPECT_EQ(a.email, std::optional<std::string>("em"));
  EXPECT_EQ(a.privateShortMeetingNum, std::optional<std::string>("short"));
  EXPECT_EQ(a.isInitialPassword, std::optional<bool>(true));
  EXPECT_EQ(a.isAnonymous, std::optional<bool>(false));

  MorvantaAccountInfo none{};
  none.is_initial_password = none.is_anonymous = -1;
  morvanta::AccountInfo b = d::toCpp(none);
  EXPECT_EQ(b.userUuid, "");
  for (const auto* o : {&b.corpName, &b.account, &b.avatar, &b.phoneNumber, &b.email, &b.privateShortMeetingNum})
    EXPECT_FALSE(o->has_value());
  EXPECT_FALSE(b.isInitialPassword.has_value());
  EXPECT_FALSE(b.isAnonymous.has_value());
}

TEST(Records, MeetingRecordsKeepNestedPartsAndNotGivenNumbers) {
  MorvantaLocalMember local{S("me"), S("Me"), S("evaluator")};
  MorvantaScheduledMember scheduled[] = {{S("a"), S("supervise")}, {S("b"), S("someone-new")}};
  MorvantaMeetingInfo c{&local, 4300000001LL, S("9100"), S("room"), 2, 10, 20, S("subj"), S("own"), S("Own"),
                        scheduled, 2, 1, 0, 1};
  morvanta::MeetingInfo m = d::toCpp(c);
  ASSERT_TRUE(m.localMember);
  EXPECT_EQ(m.localMember->role, Role::Evaluator);
  EXPECT_EQ(m.meetingId, 4300000001LL);
  EXPECT_EQ(m.ownerNickname, "Own");
  ASSERT_EQ(m.scheduledMembers.size(), 2u);
  EXPECT_EQ(m.scheduledMembers[0].role, Role::Supervise);
  EXPECT_EQ(m.scheduledMembers[1].role, Role::Host);  // an unknown role text reads as host
  EXPECT_EQ(m.noCloudRecord, std::optional<bool>(true));
  EXPECT_EQ(m.noChat, std::optional<bool>(false));
  EXPECT_TRUE(m.enableWaitingRoom);

  MorvantaMeetingInfo bare{};
  bare.no_cloud_record = bare.no_chat = -1;
  bare.scheduled_member_count = 3;  // without an array: none
  morvanta::MeetingInfo e = d::toCpp(bare);
  EXPECT_FALSE(e.localMember.has_value());
  EXPECT_TRUE(e.scheduledMembers.empty());
  EXPECT_FALSE(e.noCloudRecord.has_value());

  MorvantaMeetingSDKInfo in{};
  in.role = S("bidder");
  in.meeting_id = -1;
  in.max_members = -1;
  in.is_waiting_room_enabled = in.in_waiting_room = in.is_breakout_room = -1;
  morvanta::MeetingSDKInfo n = d::toCpp(in);
  EXPECT_EQ(n.role, Role::Bidder);
  EXPECT_FALSE(n.meetingId || n.maxMembers || n.isWaitingRoomEnabled || n.inWaitingRoom || n.isBreakoutRoom);
  in.meeting_id = 0;
  in.max_members = 300;
  in.in_waiting_room = 1;
  n = d::toCpp(in);
  EXPECT_EQ(n.meetingId, std::optional<int64_t>(0));
  EXPECT_EQ(n.maxMembers, std::optional<int32_t>(300));
  EXPECT_EQ(n.inWaitingRoom, std::optional<bool>(true));
}

TEST(Records, ChatMessagesConvertBothWays) {
  char* to[] = {S("x"), S("y")};
  char* toNick[] = {S("X")};
  MorvantaChatMessageAttach attach{S("f"), S("F"), S("t"), to, 2, toNick, 1, S("url"), S("name"), S("id"), 77, 5,
                                   S("op")};
  MorvantaChatMessageFile file{S("a.pdf"), S("pdf"), 48213, S("u"), S("/tmp/a.pdf"), 3, 4};
  MorvantaChatMessage c{};
  c.message_uuid = S("m-1");
  c.message_type = S("file");
  c.from_nick = S("Grace");
  c.to_user_uuid_list = to;
  c.to_user_uuid_count = 2;
  c.time = 123;
  c.attach = &attach;
  c.is_me = 1;
  c.file = &file;
  c.chatroom_type = 1;
  c.has_temp_file = 1;
  c.percentage = 0.5;
  c.loaded = S("10");
  morvanta::ChatMessage m = d::toCpp(c);
  EXPECT_EQ(m.messageType, morvanta::ChatMessageType::File);
  EXPECT_EQ(m.toUserUuidList, (std::vector<std::string>{"x", "y"}));
  ASSERT_TRUE(m.attach);
  EXPECT_EQ(m.attach->toNick, std::vector<std::string>{"X"});
  EXPECT_EQ(m.attach->operator_, "op");
  EXPECT_EQ(m.attach->msgTime, 77);
  ASSERT_TRUE(m.file);
  EXPECT_EQ(m.file->size, 48213u);
  EXPECT_EQ(m.file->filePath, "/tmp/a.pdf");
  EXPECT_TRUE(m.isMe && m.hasTempFile);
  EXPECT_FALSE(m.resend || m.isPrivate);
  EXPECT_EQ(m.text, "");  // NULL in the C record

  // Handed back to the library: the same C record, "" as NULL.
  d::Lower<morvanta::ChatMessage> back(m);
  const MorvantaChatMessage& b = back.c_;
  EXPECT_STREQ(b.message_uuid, "m-1");
  EXPECT_STREQ(b.message_type, "file");
  EXPECT_EQ(b.text, nullptr);
  ASSERT_EQ(b.to_user_uuid_count, 2);
  EXPECT_STREQ(b.to_user_uuid_list[1], "y");
  ASSERT_NE(b.attach, nullptr);
  EXPECT_EQ(b.attach->to_count, 2);
  EXPECT_STREQ(b.attach->to_nick[0], "X");
  ASSERT_NE(b.file, nullptr);
  EXPECT_EQ(b.file->size, 48213u);
  EXPECT_EQ(b.percentage, 0.5);
  EXPECT_EQ(d::toCpp(b).loaded, "10");

  morvanta::ChatMessage plain;
  d::Lower<morvanta::ChatMessage> empty(plain);
  EXPECT_EQ(empty.c_.message_type, nullptr);
  EXPECT_EQ(empty.c_.attach, nullptr);
  EXPECT_EQ(empty.c_.file, nullptr);
  EXPECT_EQ(empty.c_.to_user_uuid_list, nullptr);
  EXPECT_EQ(d::toCpp(empty.c_).messageType, morvanta::ChatMessageType::Unknown);
}

TEST(Records, CaptureImagesAreAbsentOnlyWhenTheirBlockIsEmpty) {
  uint8_t pixels[] = {1, 2, 3, 4};
  MorvantaScreenCaptureSource c{};
  c.source_id = 101;
  c.is_window = 1;
  c.is_primary_monitor = -1;
  c.thumbnail = {2, 1, 4, pixels};
  morvanta::ScreenCaptureSource s = d::toCpp(c);
  EXPECT_FALSE(s.icon.has_value());
  ASSERT_TRUE(s.thumbnail);
  EXPECT_EQ(s.thumbnail->data, (std::vector<uint8_t>{1, 2, 3, 4}));
  EXPECT_FALSE(s.isPrimaryMonitor.has_value());
  EXPECT_FALSE(s.appName.has_value());
  c.icon = {16, 16, 0, nullptr};  // a size without pixels
  ASSERT_TRUE(d::toCpp(c).icon);
  EXPECT_EQ(d::toCpp(c).icon->width, 16);
  EXPECT_TRUE(d::toCpp(c).icon->data.empty());
}

TEST(Records, OptionsBecomeCRecordsWithUnsetFieldsNegativeOrNull) {
  morvanta::MeetingCreateOptions unset;
  unset.subject = "s";
  d::Lower<morvanta::MeetingCreateOptions> u(unset);
  EXPECT_STREQ(u.c_.subject, "s");
  EXPECT_EQ(u.c_.meetingNum, nullptr);
  EXPECT_EQ(u.c_.password, nullptr);
  EXPECT_EQ(u.c_.noChat, -1);
  EXPECT_EQ(u.c_.joinTimeout, -1);
  EXPECT_EQ(u.c_.startTime, -1);
  EXPECT_EQ(u.c_.enableWaitingRoom, -1);
  EXPECT_EQ(u.c_.videoProfile, nullptr);
  EXPECT_EQ(u.c_.cloudRecordConfig, nullptr);

  morvanta::MeetingCreateOptions set = unset;
  set.meetingNum = "";
  set.noChat = false;
  set.joinTimeout = 0;
  set.endTime = 5;
  set.videoProfile = morvanta::VideoProfile{2, 30};
  set.cloudRecordConfig = morvanta::CloudRecordConfig{true};
  d::Lower<morvanta::MeetingCreateOptions> l(set);
  EXPECT_STREQ(l.c_.meetingNum, "");  // set, though empty
  EXPECT_EQ(l.c_.noChat, 0);
  EXPECT_EQ(l.c_.joinTimeout, 0);
  EXPECT_EQ(l.c_.endTime, 5);
  ASSERT_NE(l.c_.videoProfile, nullptr);
  EXPECT_EQ(l.c_.videoProfile->frameRate, 30);
  ASSERT_NE(l.c_.cloudRecordConfig, nullptr);
  EXPECT_EQ(l.c_.cloudRecordConfig->enable, 1);

  morvanta::PreMeetingOptions pre;
  pre.enableJoinBeforeHost = true;
  pre.scheduledMembers = {{"a", Role::Evaluator}, {"b", Role::Host}};
  d::Lower<morvanta::PreMeetingOptions> p(pre);
  const MorvantaPreMeetingCreateOptions* create = std::get<0>(p.args());
  const MorvantaPreMeetingEditOptions* edit = std::get<0>(p.args());
  EXPECT_EQ(create->subject, nullptr);
  EXPECT_EQ(edit->start_time, -1);
  EXPECT_EQ(edit->enable_join_before_host, 1);
  EXPECT_EQ(create->no_chat, -1);
  ASSERT_EQ(edit->scheduled_member_count, 2);
  EXPECT_STREQ(edit->scheduled_members[0].role, "evaluator");
  EXPECT_STREQ(create->scheduled_members[1].user_uuid, "b");

  morvanta::ChatroomTextMessageOptions text;
  text.text = "hi";
  text.toUserUuidList = {"p", "q"};
  d::Lower<morvanta::ChatroomTextMessageOptions> t(text);
  EXPECT_EQ(t.c_.is_private, -1);
  EXPECT_EQ(t.c_.id_client, nullptr);
  ASSERT_EQ(t.c_.to_user_uuid_count, 2);
  EXPECT_STREQ(t.c_.to_user_uuid_list[1], "q");

  EXPECT_EQ(d::Lower<std::optional<morvanta::StopScreenShareConfig>>(std::nullopt).args(), std::make_tuple(nullptr));
  EXPECT_EQ(std::get<0>(d::Lower<std::optional<bool>>(std::nullopt).args()), -1);
  EXPECT_EQ(std::get<0>(d::Lower<std::optional<bool>>(true).args()), 1);
  morvanta::LoginByTokenOptions token{"id", "tok", std::nullopt, std::nullopt};
  EXPECT_EQ(d::Lower<morvanta::LoginByTokenOptions>(token).c_.auth_type, -1);
  EXPECT_EQ(d::Lower<morvanta::LoginByTokenOptions>(token).c_.is_temporary, -1);
}

TEST(Records, FamilyTrampolinesSeparateValuesFromMissingPayloads) {
  Catch<std::string> str;
  d::Family<MorvantaStringCallback>::callback(0, nullptr, nullptr, str.context());
  ASSERT_EQ(str.calls, 1);
  EXPECT_EQ(str.got->message, "");  // a NULL message reads as ""
  EXPECT_FALSE(str.got->value.has_value());

  Catch<uint32_t> integer;
  d::Family<MorvantaIntegerCallback>::callback(7, "no", 99, integer.context());
  EXPECT_EQ(integer.got->code, 7);
  EXPECT_EQ(integer.got->message, "no");
  EXPECT_FALSE(integer.got->value.has_value());  // a value only with code 0

  Catch<std::vector<morvanta::DeviceInfo>> ok, failed;
  d::Family<MorvantaDeviceListCallback>::callback(0, "", nullptr, 0, ok.context());
  ASSERT_TRUE(ok.got->value);  // success without an array: an empty list
  EXPECT_TRUE(ok.got->value->empty());
  d::Family<MorvantaDeviceListCallback>::callback(-9, "Failed to allocate device list", nullptr, 0, failed.context());
  EXPECT_EQ(failed.got->code, -9);
  EXPECT_FALSE(failed.got->value.has_value());

  Catch<morvanta::AccountInfo> record;
  d::Family<MorvantaAccountInfoCallback>::callback(1011, "wrong password", nullptr, record.context());
  EXPECT_EQ(record.got->code, 1011);
  EXPECT_FALSE(record.got->value.has_value());

  char* copy = strdup("spk-builtin");  // the library's strings are malloc'ed and freed with free()
  Catch<std::string> owned;
  d::Family<MorvantaStringCallback>::callback(0, "", copy, owned.context());
  EXPECT_EQ(owned.got->value, std::optional<std::string>("spk-builtin"));
}
