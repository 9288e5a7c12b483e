// Failure and release of the C records: every allocation of every builder
// made to fail in turn (LeakSanitizer then proves the failed builds released
// all they had made), the NULL and count rules of the Morvanta_Free*
// functions, and the clearing of fields that makes a second pass harmless.
#include <gtest/gtest.h>


#include "c_records_fixtures.h"

namespace {

using namespace crecords_test;
using namespace morvanta::capi;

std::string CaptureStdout(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

TEST(CRecordAllocationFailure, EveryAllocationOfEveryBuilderFailsCleanly) {
  MvAccountInfo account{"u", "t", "n", "p", "c", "a", "av", "ph", "e", "s", true, false};
  MvSearchAccountInfo bare_account{"u", "", std::nullopt, std::nullopt, std::nullopt};
  const struct {
    const char* name;
    Attempt attempt;
    int allocations;  // of one successful build
  } rows[] = {
      {"account", RecordAttempt(BuildAccountInfo, Morvanta_FreeAccountInfo, account), 1 + 10},
      {"devices",
       ListAttempt(BuildDeviceList, Morvanta_FreeDeviceList, std::vector<MvDeviceBaseInfo>{{"i", "n", true}}),
       1 + 2},
      {"permission", RecordAttempt(BuildChatroomPermission, Morvanta_FreeChatroomPermission,
                                   MvChatroomPermission{"a", "b"}),
       1 + 2},
      {"search accounts",
       ListAttempt(BuildSearchAccountList, Morvanta_FreeAccountList, std::vector{FullAccount("1"), bare_account}),
       1 + 5 + 2},
      {"scheduled members",
       ListAttempt(BuildScheduledMemberList, Morvanta_FreeScheduledMembers,
                   std::vector{Scheduled("a", MvMemberRole::Host), Scheduled("b", MvMemberRole::Bidder)}),
       1 + 2 * 2},
      {"waiting room members",
       ListAttempt(BuildWaitingRoomMemberList, Morvanta_FreeWaitingRoomMemberList,
                   std::vector{FullWaiting("1"), FullWaiting("2")}),
       1 + 2 * 3},
      {"members",
       ListAttempt(BuildMemberList, Morvanta_FreeMemberList,
                   std::vector{FullMember("1", MvMemberRole::Host), FullMember("2", MvMemberRole::Bidder)}),
       1 + 2 * 2},
      // Per full source: three strings and the bytes of two images.
      {"capture sources",
       ListAttempt(BuildScreenCaptureSourceList, Morvanta_FreeScreenCaptureSourceList,
                   std::vector{FullSource("1"), MvScreenCaptureSource{}}),
       1 + 5 + 1},
      // The record, its local member (record and three strings), five
      // strings and the schedule (array and two strings each for two members).
      {"meeting", RecordAttempt(BuildMeetingInfo, Morvanta_FreePreMeetingInfo, FullMeeting("1")), 1 + 4 + 5 + 5},
      {"meetings",
       ListAttempt(BuildMeetingList, Morvanta_FreeMeetingList, std::vector{FullMeeting("1"), FullMeeting("2")}),
       1 + 2 * (4 + 5 + 5)},
      {"meeting sdk info", RecordAttempt(BuildMeetingSDKInfo, Morvanta_FreeMeetingInfo, FullMeetingSDKInfo()), 1 + 11},
      // The record, 17 strings, the receiver list (array and three), the
      // attach record (record, seven strings, lists of two and one) and the
      // file record (record and four strings).
      {"chat message", RecordAttempt(BuildChatMessage, Morvanta_FreeChatMessage, FullChatMessage()),
       1 + 17 + 4 + (1 + 7 + 3 + 2) + 5},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(SweepAllocationFailures(row.attempt), row.allocations);
  }
}

TEST(CRecordRelease, NullIsAcceptedAndOnlyFreeStringLogs) {
  std::string out = CaptureStdout([] {
    Morvanta_FreeString(nullptr);
    Morvanta_FreeDeviceList(nullptr, 3);
    Morvanta_FreeAccountInfo(nullptr);
    Morvanta_FreeAccountList(nullptr, 3);
    Morvanta_FreeChatroomPermission(nullptr);
    Morvanta_FreeScheduledMembers(nullptr, 3);
    Morvanta_FreeWaitingRoomMemberList(nullptr, 3);
    Morvanta_FreeMemberList(nullptr, 3);
    Morvanta_FreeScreenCaptureSourceList(nullptr, 3);
    Morvanta_FreeMeetingInfo(nullptr);
    Morvanta_FreePreMeetingInfo(nullptr);
    Morvanta_FreeMeetingList(nullptr, 3);
    Morvanta_FreeChatMessage(nullptr);
  });
  EXPECT_EQ(out, "[C API Types] ✅ Freed string\n");
}

TEST(CRecordRelease, DeviceAndAccountListsBelowACountOfOneFreeNothing) {
  bool ok = false;
  MorvantaDeviceInfo* devices = BuildDeviceList({{"id-1", "mic", true}, {"id-2", "cam", false}}, ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(CaptureStdout([&] { Morvanta_FreeDeviceList(devices, 0); }), "");
  EXPECT_STREQ(devices[1].device_name, "cam");  // still there
  EXPECT_EQ(CaptureStdout([&] { Morvanta_FreeDeviceList(devices, 2); }),
            "[C API Types] ✅ Freed device list with 2 devices\n");

  MorvantaSearchAccountInfo* accounts = BuildSearchAccountList({FullAccount("1")}, ok);
  ASSERT_TRUE(ok);
  for (int32_t count : {0, -1}) {
    Morvanta_FreeAccountList(accounts, count);
    EXPECT_STREQ(accounts[0].dept, "dept-1") << count;
  }
  Morvanta_FreeAccountList(accounts, 1);
}

// Frees `list` with a count that reaches no element: the array must go (a
// leak otherwise) and the elements' contents must stay (a use after free or
// double free otherwise), so they are read and then released from a copy.
template <typename C, typename Native, typename Count>
void ExpectArrayAloneFreed(C* (*build)(const std::vector<Native>&, bool&), void (*release)(C*, Count),
                           void (*clear)(C&), const std::vector<Native>& natives, Count count,
                           const char* (*first_text)(const C&), const std::string& expected) {
  bool ok = false;
  C* list = build(natives, ok);
  ASSERT_TRUE(ok);
  std::vector<C> contents(list, list + natives.size());
  release(list, count);
  EXPECT_EQ(first_text(contents[0]), expected);
  for (C& element : contents) clear(element);
}

TEST(CRecordRelease, OtherListsBelowACountOfOneFreeTheArrayAlone) {
  ExpectArrayAloneFreed(BuildMemberList, Morvanta_FreeMemberList, ClearMember,
                        {FullMember("1", MvMemberRole::Host)}, 0u,
                        +[](const MorvantaMember& m) -> const char* { return m.name; }, "mname-1");
  ExpectArrayAloneFreed(BuildScreenCaptureSourceList, Morvanta_FreeScreenCaptureSourceList,
                        ClearScreenCaptureSource, {FullSource("1")}, 0u,
                        +[](const MorvantaScreenCaptureSource& s) -> const char* { return s.app_path; }, "/opt/1");
  for (int32_t count : {0, -2}) {
    SCOPED_TRACE(count);
    ExpectArrayAloneFreed(BuildScheduledMemberList, Morvanta_FreeScheduledMembers, ClearScheduledMember,
                          {Scheduled("1", MvMemberRole::Evaluator)}, count,
                          +[](const MorvantaScheduledMember& m) -> const char* { return m.role; }, "evaluator");
    ExpectArrayAloneFreed(BuildWaitingRoomMemberList, Morvanta_FreeWaitingRoomMemberList,
                          ClearWaitingRoomMember, {FullWaiting("1")}, count,
                          +[](const MorvantaWaitingRoomMember& m) -> const char* { return m.avatar; }, "wavatar-1");
    ExpectArrayAloneFreed(BuildMeetingList, Morvanta_FreeMeetingList, ClearMeetingInfo, {FullMeeting("1")}, count,
                          +[](const MorvantaMeetingInfo& m) -> const char* { return m.local_member->name; },
                          "localname-1");
  }
}

// Clearing a record's contents leaves NULL and zero counts behind, so a
// stale second release over the same fields frees nothing twice (the
// sanitizer run turns any field left behind into a double free).
template <typename C, typename Native>
C* BuildAndClear(C* (*build)(const Native&), void (*clear)(C&), const Native& native) {
  C* record = build(native);
  if (record) clear(*record);
  return record;
}

// The same for the first element of a one-element list.
template <typename C, typename Native>
C* BuildAndClearFirst(C* (*build)(const std::vector<Native>&, bool&), void (*clear)(C&), const Native& native) {
  bool ok = false;
  C* list = build({native}, ok);
  if (list) clear(list[0]);
  return list;
}

TEST(CRecordRelease, ClearedRecordsSurviveASecondPass) {
  MorvantaChatMessage* message = BuildAndClear(BuildChatMessage, ClearChatMessage, FullChatMessage());
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->attach, nullptr);
  EXPECT_EQ(message->file, nullptr);
  EXPECT_EQ(message->to_user_uuid_list, nullptr);
  EXPECT_EQ(message->to_user_uuid_count, 0);
  EXPECT_EQ(message->loaded, nullptr);
  Morvanta_FreeChatMessage(message);

  MorvantaMeetingInfo* meeting = BuildAndClear(BuildMeetingInfo, ClearMeetingInfo, FullMeeting("1"));
  ASSERT_NE(meeting, nullptr);
  EXPECT_EQ(meeting->local_member, nullptr);
  EXPECT_EQ(meeting->scheduled_members, nullptr);
  EXPECT_EQ(meeting->scheduled_member_count, 0);
  EXPECT_EQ(meeting->owner_nickname, nullptr);
  Morvanta_FreePreMeetingInfo(meeting);

  MorvantaMeetingSDKInfo* info = BuildAndClear(BuildMeetingSDKInfo, ClearMeetingSDKInfo, FullMeetingSDKInfo());
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->meeting_num, nullptr);
  Morvanta_FreeMeetingInfo(info);

  MorvantaChatroomPermission* permission =
      BuildAndClear(BuildChatroomPermission, ClearChatroomPermission, MvChatroomPermission{"a", "b"});
  ASSERT_NE(permission, nullptr);
  EXPECT_EQ(permission->wt_pr_chat, nullptr);
  Morvanta_FreeChatroomPermission(permission);

  MorvantaScreenCaptureSource* sources =
      BuildAndClearFirst(BuildScreenCaptureSourceList, ClearScreenCaptureSource, FullSource("1"));
  ASSERT_NE(sources, nullptr);
  EXPECT_EQ(sources[0].thumbnail.data, nullptr);
  EXPECT_EQ(sources[0].thumbnail.size, 0u);
  EXPECT_EQ(sources[0].app_name, nullptr);
  Morvanta_FreeScreenCaptureSourceList(sources, 1);

  MorvantaSearchAccountInfo* accounts =
      BuildAndClearFirst(BuildSearchAccountList, ClearSearchAccountInfo, FullAccount("1"));
  ASSERT_NE(accounts, nullptr);
  EXPECT_EQ(accounts[0].dept, nullptr);
  Morvanta_FreeAccountList(accounts, 1);

  MorvantaMember* members = BuildAndClearFirst(BuildMemberList, ClearMember, FullMember("1", MvMemberRole::Host));
  ASSERT_NE(members, nullptr);
  EXPECT_EQ(members[0].name, nullptr);
  Morvanta_FreeMemberList(members, 1);

  MorvantaWaitingRoomMember* waiting =
      BuildAndClearFirst(BuildWaitingRoomMemberList, ClearWaitingRoomMember, FullWaiting("1"));
  ASSERT_NE(waiting, nullptr);
  EXPECT_EQ(waiting[0].avatar, nullptr);
  Morvanta_FreeWaitingRoomMemberList(waiting, 1);
}

}  // namespace
