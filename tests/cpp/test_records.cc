// The conversions at the boundary, on records built by hand: C records to
// value types with every field set and with every field unset, C++ options
// to C records, and the payload families' trampolines (values, missing
// payloads, NULL messages).
#include <cstring>

#include "cpp_harness.h"
#include "support/row_checks.h"

namespace d = morvanta::detail;
using morvanta::Role;
using test_rows::ExpectAll;
using test_rows::ExpectRows;
using test_rows::Str;
using Text = std::optional<std::string>;

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
  ExpectRows(ROW(a.corpName), Text("corp"), ROW(a.account), Text("acc"), ROW(a.avatar), Text("av"),
             ROW(a.phoneNumber), Text("ph"), ROW(a.email), Text("em"), ROW(a.privateShortMeetingNum), Text("short"),
             ROW(a.isInitialPassword), std::optional<bool>(true), ROW(a.isAnonymous), std::optional<bool>(false));

  MorvantaAccountInfo none{};
  none.is_initial_password = none.is_anonymous = -1;
  morvanta::AccountInfo b = d::toCpp(none);
  EXPECT_EQ(b.userUuid, "");
  ExpectAll(Text(), ROW(b.corpName), ROW(b.account), ROW(b.avatar), ROW(b.phoneNumber), ROW(b.email),
            ROW(b.privateShortMeetingNum));
  ExpectAll(std::optional<bool>(), ROW(b.isInitialPassword), ROW(b.isAnonymous));
}

TEST(Records, MeetingRecordsKeepNestedPartsAndNotGivenNumbers) {
  MorvantaLocalMember local{S("me"), S("Me"), S("evaluator")};
  MorvantaScheduledMember scheduled[] = {{S("a"), S("supervise")}, {S("b"), S("someone-new")}};
  MorvantaMeetingInfo c{&local, 4300000001LL, S("9100"), S("room"), 2, 10, 20, S("subj"), S("own"), S("Own"),
                        scheduled, 2, 1, 0, 1};
  morvanta::MeetingInfo m = d::toCpp(c);
  ASSERT_TRUE(m.localMember);
  ASSERT_EQ(m.scheduledMembers.size(), 2u);
  ExpectRows(ROW(m.localMember->role), Role::Evaluator, ROW(m.meetingId), 4300000001LL, ROW(m.ownerNickname), "Own",
             ROW(m.scheduledMembers[0].role), Role::Supervise, ROW(m.noCloudRecord), std::optional<bool>(true),
             ROW(m.noChat), std::optional<bool>(false), ROW(m.enableWaitingRoom), true,
             ROW(m.scheduledMembers[1].role), Role::Host);  // an unknown role text reads as host

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
  ExpectRows(ROW(n.meetingId), std::optional<int64_t>(0), ROW(n.maxMembers), std::optional<int32_t>(300),
             ROW(n.inWaitingRoom), std::optional<bool>(true));
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
  ASSERT_TRUE(m.file);
  ExpectRows(ROW(m.attach->toNick), std::vector<std::string>{"X"}, ROW(m.attach->operator_), "op",
             ROW(m.attach->msgTime), 77, ROW(m.file->size), 48213u, ROW(m.file->filePath), "/tmp/a.pdf",
             ROW(m.isMe && m.hasTempFile), true, ROW(m.resend || m.isPrivate), false,
             ROW(m.text), "");  // NULL in the C record

  // Handed back to the library: the same C record, "" as NULL.
  d::Lower<morvanta::ChatMessage> back(m);
  const MorvantaChatMessage& b = back.c_;
  ASSERT_EQ(b.to_user_uuid_count, 2);
  ASSERT_NE(b.attach, nullptr);
  ASSERT_NE(b.file, nullptr);
  ExpectRows(ROW(Str(b.message_uuid)), "m-1", ROW(Str(b.message_type)), "file", ROW(b.text), nullptr,
             ROW(Str(b.to_user_uuid_list[1])), "y", ROW(b.attach->to_count), 2,
             ROW(Str(b.attach->to_nick[0])), "X", ROW(b.file->size), 48213u, ROW(b.percentage), 0.5,
             ROW(d::toCpp(b).loaded), "10");

  morvanta::ChatMessage plain;
  d::Lower<morvanta::ChatMessage> empty(plain);
  ExpectAll(nullptr, ROW(empty.c_.message_type), ROW(empty.c_.attach), ROW(empty.c_.file),
            ROW(empty.c_.to_user_uuid_list));
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
  ASSERT_TRUE(s.thumbnail);
  ExpectRows(ROW(s.icon.has_value()), false, ROW(s.thumbnail->data), std::vector<uint8_t>{1, 2, 3, 4},
             ROW(s.isPrimaryMonitor.has_value()), false, ROW(s.appName.has_value()), false);
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
  ExpectAll(nullptr, ROW(u.c_.meetingNum), ROW(u.c_.password), ROW(u.c_.videoProfile), ROW(u.c_.cloudRecordConfig));
  ExpectAll(-1, ROW(u.c_.noChat), ROW(u.c_.joinTimeout), ROW(u.c_.startTime), ROW(u.c_.enableWaitingRoom));

  morvanta::MeetingCreateOptions set = unset;
  set.meetingNum = "";
  set.noChat = false;
  set.joinTimeout = 0;
  set.endTime = 5;
  set.videoProfile = morvanta::VideoProfile{2, 30};
  set.cloudRecordConfig = morvanta::CloudRecordConfig{true};
  d::Lower<morvanta::MeetingCreateOptions> l(set);
  EXPECT_STREQ(l.c_.meetingNum, "");  // set, though empty
  ASSERT_NE(l.c_.videoProfile, nullptr);
  ASSERT_NE(l.c_.cloudRecordConfig, nullptr);
  ExpectRows(ROW(l.c_.noChat), 0, ROW(l.c_.joinTimeout), 0, ROW(l.c_.endTime), 5, ROW(l.c_.videoProfile->frameRate), 30,
             ROW(l.c_.cloudRecordConfig->enable), 1);

  morvanta::PreMeetingOptions pre;
  pre.enableJoinBeforeHost = true;
  pre.scheduledMembers = {{"a", Role::Evaluator}, {"b", Role::Host}};
  d::Lower<morvanta::PreMeetingOptions> p(pre);
  const MorvantaPreMeetingCreateOptions* create = std::get<0>(p.args());
  const MorvantaPreMeetingEditOptions* edit = std::get<0>(p.args());
  ASSERT_EQ(edit->scheduled_member_count, 2);
  ExpectRows(ROW(create->subject), nullptr, ROW(edit->start_time), -1, ROW(edit->enable_join_before_host), 1,
             ROW(create->no_chat), -1, ROW(Str(edit->scheduled_members[0].role)), "evaluator",
             ROW(Str(create->scheduled_members[1].user_uuid)), "b");

  morvanta::ChatroomTextMessageOptions text;
  text.text = "hi";
  text.toUserUuidList = {"p", "q"};
  d::Lower<morvanta::ChatroomTextMessageOptions> t(text);
  ASSERT_EQ(t.c_.to_user_uuid_count, 2);
  ExpectRows(ROW(t.c_.is_private), -1, ROW(t.c_.id_client), nullptr, ROW(Str(t.c_.to_user_uuid_list[1])), "q");

  EXPECT_EQ(d::Lower<std::optional<morvanta::StopScreenShareConfig>>(std::nullopt).args(), std::make_tuple(nullptr));
  morvanta::LoginByTokenOptions token{"id", "tok", std::nullopt, std::nullopt};
  ExpectRows(ROW(std::get<0>(d::Lower<std::optional<bool>>(std::nullopt).args())), -1,
             ROW(std::get<0>(d::Lower<std::optional<bool>>(true).args())), 1,
             ROW(d::Lower<morvanta::LoginByTokenOptions>(token).c_.auth_type), -1,
             ROW(d::Lower<morvanta::LoginByTokenOptions>(token).c_.is_temporary), -1);
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
