// Morvanta_PreMeeting_* against the sandbox service: what each export
// refuses, what the SDK receives for it, and what the callback gets.
#include <functional>
#include <memory>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

constexpr int64_t kNow = 1700000000000;
constexpr int64_t kHour = 3600000;

struct MeetingCopy {
  int64_t id = 0;
  std::string num, subject, owner, local_role;
  int32_t state = -1, waiting_room = -1, member_count = -1;
  int64_t start = 0, end = 0;
};

// A slot that also keeps copies of the meetings or scheduled members it got.
struct Slot : CallbackSlot {
  std::vector<MeetingCopy> meetings;
  std::vector<std::string> members;  // "uuid/role"

  void Copy(const MorvantaMeetingInfo& m) {
    MeetingCopy c;
    c.id = m.meeting_id;
    c.num = m.meeting_num;
    c.subject = m.subject;
    c.owner = m.owner_user_uuid;
    c.local_role = m.local_member ? m.local_member->role : "";
    c.state = m.state;
    c.waiting_room = m.enable_waiting_room;
    c.member_count = m.scheduled_member_count;
    c.start = m.start_time;
    c.end = m.end_time;
    meetings.push_back(c);
  }
  static void OnMeeting(int code, const char* message, MorvantaMeetingInfo* info, void* ud) {
    auto* s = static_cast<Slot*>(ud);
    if (info) s->Copy(*info);
    Morvanta_FreePreMeetingInfo(info);
    s->Record(code, message, info);
  }
  static void OnMeetings(int code, const char* message, MorvantaMeetingInfo* items, int32_t count, void* ud) {
    auto* s = static_cast<Slot*>(ud);
    for (int32_t i = 0; i < count; ++i) s->Copy(items[i]);
    Morvanta_FreeMeetingList(items, count);
    s->Record(code, message, items, count);
  }
  static void OnMembers(int code, const char* message, MorvantaScheduledMember* items, int32_t count, void* ud) {
    auto* s = static_cast<Slot*>(ud);
    for (int32_t i = 0; i < count; ++i) s->members.push_back(std::string(items[i].user_uuid) + "/" + items[i].role);
    Morvanta_FreeScheduledMembers(items, count);
    s->Record(code, message, items, count);
  }
};

class PreMeetingApi : public CapiLibrary {
 protected:
  void SetUp() override {
    CapiLibrary::SetUp();
    SandboxEval("morVantaSandbox.configure({clock: " + std::to_string(kNow) + "})");
    ASSERT_TRUE(SandboxLogin("alice", "alice-password"));
    pre = Morvanta_GetPreMeetingManager(sdk);
    ASSERT_NE(pre, nullptr);
  }
  void TearDown() override {
    Morvanta_DestroyPreMeetingManagerHandle(pre);
    CapiLibrary::TearDown();
  }

  // Schedules through the export and answers the new meeting.
  MeetingCopy Schedule(const MorvantaPreMeetingCreateOptions& o) {
    Slot s;
    EXPECT_EQ(Morvanta_PreMeeting_ScheduleMeeting(pre, &o, Slot::OnMeeting, &s), 0);
    EXPECT_TRUE(s.Wait());
    EXPECT_EQ(s.code, 0) << s.message;
    return s.meetings.empty() ? MeetingCopy{} : s.meetings[0];
  }

  MorvantaPreMeetingManager_T* pre = nullptr;
};

MorvantaPreMeetingCreateOptions Unset() { return {nullptr, -1, -1, nullptr, -1, -1, nullptr, 0, -1, -1}; }
MorvantaPreMeetingEditOptions UnsetEdit() { return {nullptr, -1, -1, nullptr, -1, -1, nullptr, 0, -1, -1}; }

}  // namespace

TEST_F(PreMeetingApi, RefusedArgumentsReturnMinusOneAndReachNothing) {
  Slot s;
  MorvantaPreMeetingManager_T no_manager{};
  MorvantaPreMeetingCreateOptions create = Unset();
  MorvantaPreMeetingEditOptions edit = UnsetEdit();
  std::vector<std::function<int()>> refused = {
      [&] { return Morvanta_PreMeeting_ScheduleMeeting(nullptr, &create, Slot::OnMeeting, &s); },
      [&] { return Morvanta_PreMeeting_ScheduleMeeting(&no_manager, &create, Slot::OnMeeting, &s); },
      [&] { return Morvanta_PreMeeting_ScheduleMeeting(pre, nullptr, Slot::OnMeeting, &s); },
      [&] { return Morvanta_PreMeeting_ScheduleMeeting(pre, &create, nullptr, &s); },
      [&] { return Morvanta_PreMeeting_EditMeeting(nullptr, 1, &edit, Slot::OnPlain, &s); },
      [&] { return Morvanta_PreMeeting_EditMeeting(&no_manager, 1, &edit, Slot::OnPlain, &s); },
      [&] { return Morvanta_PreMeeting_EditMeeting(pre, 1, nullptr, Slot::OnPlain, &s); },
      [&] { return Morvanta_PreMeeting_CancelMeeting(nullptr, 1, -1, Slot::OnPlain, &s); },
      [&] { return Morvanta_PreMeeting_CancelMeeting(&no_manager, 1, -1, Slot::OnPlain, &s); },
      [&] { return Morvanta_PreMeeting_GetMeetingListBySize(nullptr, nullptr, Slot::OnMeetings, &s); },
      [&] { return Morvanta_PreMeeting_GetMeetingListBySize(pre, nullptr, nullptr, &s); },
      [&] { return Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(&no_manager, "1", Slot::OnMeeting, &s); },
      [&] { return Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, nullptr, Slot::OnMeeting, &s); },
      [&] { return Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, "1", nullptr, &s); },
      [&] { return Morvanta_PreMeeting_GetScheduledMembers(nullptr, "1", Slot::OnMembers, &s); },
      [&] { return Morvanta_PreMeeting_GetScheduledMembers(pre, nullptr, Slot::OnMembers, &s); },
      [&] { return Morvanta_PreMeeting_GetScheduledMembers(pre, "1", nullptr, &s); },
  };
  for (size_t i = 0; i < refused.size(); ++i) EXPECT_EQ(refused[i](), -1) << "case " << i;
  DrainWorker();
  EXPECT_EQ(s.Calls(), 0);
  EXPECT_EQ(SandboxNumber("morVantaSandbox.calls.filter((c) => c.path.startsWith('preMeeting.')).length"),
            0);
}

TEST_F(PreMeetingApi, EachExportSendsItsArgumentsAsTheSdkExpects) {
  MorvantaScheduledMemberOption kept[] = {{"user-bob-0002", "evaluator"}};
  MorvantaPreMeetingCreateOptions full{"Design", kNow + kHour, kNow + 2 * kHour, "123456", 1, 1, kept, 1, 1, 0};
  MorvantaPreMeetingCreateOptions from_zero = Unset();
  from_zero.start_time = 0;
  MorvantaPreMeetingCreateOptions unset = Unset();
  MorvantaPreMeetingEditOptions edit{"New", -1, kNow, nullptr, 0, 0, kept, 1, 1, 1};
  MorvantaPreMeetingEditOptions edit_unset = UnsetEdit();
  const int states[] = {1, 3};
  MorvantaMeetingListParams paged{states, 2, 1, 2};
  MorvantaMeetingListParams no_states{states, 0, -1, 5};
  constexpr int64_t kBeyondDouble = (int64_t{1} << 53) + 1;
  auto* one = &Slot::OnMeeting;
  auto* list = &Slot::OnMeetings;
  auto* plain = &Slot::OnPlain;
  struct Row {
    const char* method;
    std::function<int(Slot*)> call;
    const char* args;
  };
  const Row rows[] = {
      // Scheduled members, join-before-host and the further settings stay out.
      {"scheduleMeeting", [&](Slot* s) { return Morvanta_PreMeeting_ScheduleMeeting(pre, &full, one, s); },
       R"([[{"enableWaitingRoom":true,"endTime":1700007200000,"password":"123456","startTime":1700003600000,)"
       R"("subject":"Design"}]])"},
      {"scheduleMeeting", [&](Slot* s) { return Morvanta_PreMeeting_ScheduleMeeting(pre, &unset, one, s); },
       R"([[{"subject":""}]])"},
      {"scheduleMeeting", [&](Slot* s) { return Morvanta_PreMeeting_ScheduleMeeting(pre, &from_zero, one, s); },
       R"([[{"startTime":0,"subject":""}]])"},
      {"editMeeting", [&](Slot* s) { return Morvanta_PreMeeting_EditMeeting(pre, 42, &edit, plain, s); },
       R"([[42,{"enableJoinBeforeHost":false,"enableWaitingRoom":false,"endTime":1700000000000,"subject":"New"}]])"},
      {"editMeeting", [&](Slot* s) { return Morvanta_PreMeeting_EditMeeting(pre, 42, &edit_unset, plain, s); },
       R"([[42,{}]])"},
      {"cancelMeeting", [&](Slot* s) { return Morvanta_PreMeeting_CancelMeeting(pre, 42, -1, plain, s); }, "[[42]]"},
      {"cancelMeeting", [&](Slot* s) { return Morvanta_PreMeeting_CancelMeeting(pre, 42, 0, plain, s); },
       "[[42,false]]"},
      {"cancelMeeting", [&](Slot* s) { return Morvanta_PreMeeting_CancelMeeting(pre, kBeyondDouble, 7, plain, s); },
       "[[9007199254740992,true]]"},
      {"getMeetingListBySize", [&](Slot* s) { return Morvanta_PreMeeting_GetMeetingListBySize(pre, nullptr, list, s); },
       "[[{}]]"},
      {"getMeetingListBySize", [&](Slot* s) { return Morvanta_PreMeeting_GetMeetingListBySize(pre, &paged, list, s); },
       R"([[{"offset":1,"size":2,"states":[1,3]}]])"},
      {"getMeetingListBySize",
       [&](Slot* s) { return Morvanta_PreMeeting_GetMeetingListBySize(pre, &no_states, list, s); },
       R"([[{"size":5}]])"},
      {"getMeetingInfoByMeetingNum",
       [&](Slot* s) { return Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, "", one, s); }, R"([[""]])"},
      {"getScheduledMembers",
       [&](Slot* s) { return Morvanta_PreMeeting_GetScheduledMembers(pre, "9100000001", Slot::OnMembers, s); },
       R"([["9100000001"]])"},
  };
  for (const Row& row : rows) {
    SandboxEval("morVantaSandbox.clearCalls()");
    Slot s;
    ExpectCalledBack(row.call(&s), s, row.args);
    EXPECT_EQ(SandboxArgs(std::string("preMeeting.") + row.method), row.args);
  }
}

TEST_F(PreMeetingApi, AScheduledMeetingIsListedEditedReadBackAndCancelled) {
  MorvantaPreMeetingCreateOptions o = Unset();
  o.subject = "Planning";
  o.start_time = kNow + kHour;
  o.enable_waiting_room = 1;
  MeetingCopy made = Schedule(o);
  EXPECT_GT(made.id, int64_t{1} << 32);
  EXPECT_EQ(made.subject, "Planning");
  EXPECT_EQ(made.owner, "user-alice-0001");
  EXPECT_EQ(made.local_role, "host");
  EXPECT_EQ(made.state, 1);
  EXPECT_EQ(made.waiting_room, 1);
  EXPECT_EQ(made.member_count, 1);
  EXPECT_EQ(made.end - made.start, kHour);

  MorvantaPreMeetingEditOptions e = UnsetEdit();
  e.subject = "Planning II";
  e.end_time = kNow + 3 * kHour;
  Slot edited, listed, members, gone;
  ExpectCalledBack(Morvanta_PreMeeting_EditMeeting(pre, made.id, &e, Slot::OnPlain, &edited), edited, "edit");
  EXPECT_EQ(edited.code, 0) << edited.message;
  EXPECT_FALSE(edited.message_null);

  ExpectCalledBack(Morvanta_PreMeeting_GetMeetingListBySize(pre, nullptr, Slot::OnMeetings, &listed), listed, "list");
  ASSERT_EQ(listed.code, 0) << listed.message;
  ASSERT_EQ(listed.count, 1);
  EXPECT_EQ(listed.meetings[0].subject, "Planning II");
  EXPECT_EQ(listed.meetings[0].end, kNow + 3 * kHour);

  ExpectCalledBack(Morvanta_PreMeeting_GetScheduledMembers(pre, made.num.c_str(), Slot::OnMembers, &members), members);
  EXPECT_EQ(members.members, std::vector<std::string>{"user-alice-0001/host"});

  // A NULL callback is legal: the cancel still happens.
  ASSERT_EQ(Morvanta_PreMeeting_CancelMeeting(pre, made.id, -1, nullptr, nullptr), 0);
  ExpectCalledBack(Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, made.num.c_str(), Slot::OnMeeting, &gone), gone);
  EXPECT_EQ(gone.code, 1102);
  EXPECT_FALSE(gone.message.empty());
  EXPECT_TRUE(gone.payload_null);
}

TEST_F(PreMeetingApi, ScheduledRolesReadByTheRoleTable) {
  // The export does not send scheduled members; the SDK is told directly.
  SandboxEval("morVantaMeeting.getPreMeetingManager().scheduleMeeting({scheduledMembers: ["
              "{userUuid: 'user-bob-0002', role: 'evaluator'}, {userUuid: 'user-carol-0003', role: 'member'}]})");
  Slot members;
  ExpectCalledBack(Morvanta_PreMeeting_GetScheduledMembers(pre, "9100000001", Slot::OnMembers, &members), members);
  ASSERT_EQ(members.code, 0) << members.message;
  EXPECT_EQ(members.count, 3);
  EXPECT_EQ(members.members,
            (std::vector<std::string>{"user-alice-0001/host", "user-bob-0002/evaluator", "user-carol-0003/host"}));
}

TEST_F(PreMeetingApi, FailuresReachTheCallbackWithNoPayload) {
  struct Row {
    const char* setup;  // run before the call
    std::function<int(Slot*)> call;
    int code;
    const char* message;  // "" when only non-empty is checked
  };
  MorvantaPreMeetingCreateOptions bad_password = Unset();
  bad_password.password = "12";
  const Row rows[] = {
      {"0", [&](Slot* s) { return Morvanta_PreMeeting_ScheduleMeeting(pre, &bad_password, Slot::OnMeeting, s); },
       1000, "password must have 4 to 20 characters"},
      {"morVantaMeeting.getAccountManager().logout()",
       [&](Slot* s) { return Morvanta_PreMeeting_GetMeetingListBySize(pre, nullptr, Slot::OnMeetings, s); }, 1010,
       "not logged in"},
      {"morVantaSandbox.override('preMeeting.cancelMeeting', {fail: 'reject', message: 'network down'})",
       [&](Slot* s) { return Morvanta_PreMeeting_CancelMeeting(pre, 1, -1, Slot::OnPlain, s); }, -1, ""},
      {"morVantaSandbox.override('preMeeting.getScheduledMembers', {answer: {code: 0}})",
       [&](Slot* s) { return Morvanta_PreMeeting_GetScheduledMembers(pre, "1", Slot::OnMembers, s); }, -1,
       "Invalid data format for conversion"},
      {"morVantaSandbox.override('preMeeting.getMeetingInfoByMeetingNum', {answer: {code: 0}})",
       [&](Slot* s) { return Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, "1", Slot::OnMeeting, s); }, -1,
       "JSDataConversion: MvMeetingInfo.meetingNum is required"},
  };
  for (const Row& row : rows) {
    SandboxEval(row.setup);
    Slot s;
    ExpectCalledBack(row.call(&s), s, row.setup);
    EXPECT_EQ(s.code, row.code) << row.setup;
    if (*row.message) {
      EXPECT_EQ(s.message, row.message);
    } else {
      EXPECT_NE(s.message.find("network down"), std::string::npos) << s.message;
    }
    EXPECT_TRUE(s.payload_null);
    EXPECT_TRUE(s.meetings.empty() && s.members.empty());
  }
}

TEST_F(PreMeetingApi, EmptyListsAndFailedAllocations) {
  SandboxEval("morVantaSandbox.override('preMeeting.getMeetingListBySize', {answer: {code: 0, data: []}})");
  Slot empty;
  ExpectCalledBack(Morvanta_PreMeeting_GetMeetingListBySize(pre, nullptr, Slot::OnMeetings, &empty), empty);
  EXPECT_EQ(empty.code, 0);
  EXPECT_TRUE(empty.payload_null);
  EXPECT_EQ(empty.count, 0);

  MeetingCopy made = Schedule(Unset());
  struct Row {
    std::function<int(Slot*)> call;
    const char* message;
  };
  const Row rows[] = {
      {[&](Slot* s) {
         return Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, made.num.c_str(), Slot::OnMeeting, s);
       },
       "Failed to allocate MorvantaMeetingInfo"},
      {[&](Slot* s) { return Morvanta_PreMeeting_GetMeetingListBySize(pre, nullptr, Slot::OnMeetings, s); },
       "Failed to allocate meeting list"},
      {[&](Slot* s) { return Morvanta_PreMeeting_GetScheduledMembers(pre, made.num.c_str(), Slot::OnMembers, s); },
       "Failed to allocate scheduled member list"},
  };
  SandboxEval("morVantaSandbox.override('preMeeting.getMeetingListBySize', null)");
  for (const Row& row : rows) {
    Slot s;
    morvanta::capi::FailAllocationAfter(1);
    ASSERT_EQ(row.call(&s), 0);
    ASSERT_TRUE(s.Wait());
    morvanta::capi::FailAllocationAfter(0);
    EXPECT_EQ(s.code, -9);
    EXPECT_EQ(s.message, row.message);
    EXPECT_TRUE(s.payload_null);
    EXPECT_LE(s.count, 0);  // -1: a record callback has no count
  }
}
