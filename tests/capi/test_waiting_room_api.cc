// Morvanta_WaitingRoom_* operations against the sandbox: silent refusals,
// what reaches the SDK, how outcomes come back, the list's ownership and the
// synchronous query's leniency.
#include <chrono>
#include <functional>

#include "capi/answer_checks.h"
#include "capi/waiting_room_harness.h"

using namespace morvanta_test;

namespace {

// The list callback: the members as "uuid/name/status/joined", copied out
// before the array is released with the library's own function.
struct ListSlot : CallbackSlot {
  std::vector<std::string> members;
  static void On(int code, const char* message, MorvantaWaitingRoomMember* list, int32_t count, void* ud) {
    auto* slot = static_cast<ListSlot*>(ud);
    for (int32_t i = 0; i < count; ++i)
      slot->members.push_back(std::string(list[i].uuid) + "/" + list[i].name + "/" + std::to_string(list[i].status) +
                              (list[i].join_time > 0 ? "/joined" : "/0"));
    const bool null = list == nullptr;
    Morvanta_FreeWaitingRoomMemberList(list, count);
    slot->Record(code, message, null ? nullptr : slot, count);
  }
};

class WaitingRoomApi : public WaitingRoomTest {};

}  // namespace

TEST_F(WaitingRoomApi, RefusalsAreSilentAndCallNothing) {
  CallbackSlot slot;
  ListSlot list;
  MorvantaWaitingRoomInfo info{};
  auto* cb = &CallbackSlot::OnPlain;
  struct Row {
    const char* what;
    int rc;
    const char* path;
  };
  std::vector<Row> rows;
  const std::string log = LogOf([&] {
    rows = {
        {"admit: null handle", Morvanta_WaitingRoom_AdmitMember(nullptr, "u", 0, cb, &slot), "waitingRoom.admitMember"},
        {"admit: no manager", Morvanta_WaitingRoom_AdmitMember(&empty, "u", 0, cb, &slot), "waitingRoom.admitMember"},
        {"admit: null uuid", Morvanta_WaitingRoom_AdmitMember(handle, nullptr, 1, cb, &slot), "waitingRoom.admitMember"},
        {"admit all: null handle", Morvanta_WaitingRoom_AdmitAll(nullptr, cb, &slot), "waitingRoom.admitAllMembers"},
        {"admit all: no manager", Morvanta_WaitingRoom_AdmitAll(&empty, cb, &slot), "waitingRoom.admitAllMembers"},
        {"expel: null handle", Morvanta_WaitingRoom_ExpelMember(nullptr, "u", 0, cb, &slot), "waitingRoom.expelMember"},
        {"expel: null uuid", Morvanta_WaitingRoom_ExpelMember(handle, nullptr, 0, cb, &slot), "waitingRoom.expelMember"},
        {"expel all: no manager", Morvanta_WaitingRoom_ExpelAll(&empty, 1, cb, &slot), "waitingRoom.expelAllMembers"},
        {"put back: null handle", Morvanta_WaitingRoom_PutInWaitingRoom(nullptr, "u", cb, &slot),
         "waitingRoom.putInWaitingRoom"},
        {"put back: null uuid", Morvanta_WaitingRoom_PutInWaitingRoom(handle, nullptr, cb, &slot),
         "waitingRoom.putInWaitingRoom"},
        {"list: null callback", Morvanta_WaitingRoom_GetMemberList(handle, 0, 0, 1, nullptr, &list),
         "waitingRoom.getWaitingRoomMemberList"},
        {"list: null handle", Morvanta_WaitingRoom_GetMemberList(nullptr, 0, 0, 1, &ListSlot::On, &list),
         "waitingRoom.getWaitingRoomMemberList"},
        {"info: null out", Morvanta_WaitingRoom_GetInfo(handle, nullptr), "waitingRoom.getWaitingRoomInfo"},
        {"info: no manager", Morvanta_WaitingRoom_GetInfo(&empty, &info), "waitingRoom.getWaitingRoomInfo"},
    };
  });
  EXPECT_EQ(log, "");
  for (const Row& row : rows) ExpectRefused(row.what, row.rc, slot, row.path);
  EXPECT_EQ(list.Calls(), 0);
}

TEST_F(WaitingRoomApi, CommandsPassTheirArgumentsAndTheSdkActsOnThem) {
  ASSERT_TRUE(OpenWaitingRoom(3));  // sim-member-03, -04 and -05 wait
  auto* on = &CallbackSlot::OnPlain;
  struct Row {
    const char* method;
    std::function<int(CallbackSlot*)> call;
    const char* args;
  } rows[] = {
      {"admitMember",
       [&](CallbackSlot* s) { return Morvanta_WaitingRoom_AdmitMember(handle, "sim-member-03", 7, on, s); },
       R"([["sim-member-03",true]])"},
      {"expelMember",
       [&](CallbackSlot* s) { return Morvanta_WaitingRoom_ExpelMember(handle, "sim-member-04", 0, on, s); },
       R"([["sim-member-04",false]])"},
      {"putInWaitingRoom",
       [&](CallbackSlot* s) { return Morvanta_WaitingRoom_PutInWaitingRoom(handle, "sim-member-03", on, s); },
       R"([["sim-member-03"]])"},
      // Any non-zero flag is true.
      {"expelAllMembers", [&](CallbackSlot* s) { return Morvanta_WaitingRoom_ExpelAll(handle, -1, on, s); },
       "[[true]]"},
      {"admitAllMembers", [&](CallbackSlot* s) { return Morvanta_WaitingRoom_AdmitAll(handle, on, s); }, "[[]]"},
  };
  for (const Row& row : rows) {
    CallbackSlot s;
    ExpectAnswer(row.call(&s), s, 0, "", row.method);
    EXPECT_FALSE(s.message_null) << row.method;
    EXPECT_EQ(SandboxArgs(std::string("waitingRoom.") + row.method), row.args);
  }
  // -03 was admitted, put back and sent away with -05; -04 was expelled alone.
  EXPECT_EQ(SandboxNumber("morVantaSandbox.meeting.waitingRoom.memberCount"), 0);
  EXPECT_FALSE(SandboxFlag("morVantaSandbox.meeting.members.some((m) => m.uuid === 'sim-member-03')"));
}

TEST_F(WaitingRoomApi, RefusedCommandsFailWithTheServiceTextAndAnsweredOnesSucceedWhateverTheAnswer) {
  ASSERT_TRUE(OpenWaitingRoom(1));
  CallbackSlot empty_uuid, host_back, denied;
  // An empty uuid is sent as it is; the sandbox rejects it.
  ExpectCalledBack(Morvanta_WaitingRoom_AdmitMember(handle, "", 0, &CallbackSlot::OnPlain, &empty_uuid), empty_uuid);
  EXPECT_EQ(empty_uuid.code, -1);
  EXPECT_NE(empty_uuid.message.find("is not in the waiting room"), std::string::npos) << empty_uuid.message;
  EXPECT_EQ(SandboxArgs("waitingRoom.admitMember"), R"([["",false]])");
  ExpectCalledBack(Morvanta_WaitingRoom_PutInWaitingRoom(handle, "local-user", &CallbackSlot::OnPlain, &host_back),
                   host_back);
  EXPECT_EQ(host_back.code, -1);
  EXPECT_NE(host_back.message.find("1108"), std::string::npos) << host_back.message;

  // An SDK that resolves with a failure in its answer still counts as done.
  Override("waitingRoom.expelAllMembers", "{answer: {code: 1001, message: 'denied'}}");
  ExpectAnswer(Morvanta_WaitingRoom_ExpelAll(handle, 0, &CallbackSlot::OnPlain, &denied), denied, 0, "");

  // Without a callback the call still runs; the outcome is only logged.
  ASSERT_EQ(Morvanta_WaitingRoom_AdmitAll(handle, nullptr, nullptr), 0);
  EXPECT_TRUE(WaitUntilJs("morVantaSandbox.callsTo('waitingRoom.admitAllMembers').length === 1"));
  EXPECT_TRUE(WaitUntilJs("morVantaSandbox.meeting.waitingRoom.memberCount === 0"));
}

TEST_F(WaitingRoomApi, MemberListIsTheCallersArrayAndPassesItsNumbersThrough) {
  ASSERT_TRUE(OpenWaitingRoom(2));
  ListSlot all, newest;
  ExpectCalledBack(Morvanta_WaitingRoom_GetMemberList(handle, 0, 0, 1, &ListSlot::On, &all), all);
  EXPECT_EQ(all.code, 0) << all.message;
  EXPECT_EQ(all.count, 2);
  EXPECT_EQ(all.members,
            (std::vector<std::string>{"sim-member-03/Ada Lovelace/1/joined", "sim-member-04/Linus Torvalds/1/joined"}));

  ExpectCalledBack(Morvanta_WaitingRoom_GetMemberList(handle, 0, 1, 0, &ListSlot::On, &newest), newest);
  EXPECT_EQ(newest.members, (std::vector<std::string>{"sim-member-04/Linus Torvalds/1/joined"}));

  // A 64-bit cursor beyond 32 bits reaches JavaScript exactly.
  ListSlot after;
  ExpectCalledBack(Morvanta_WaitingRoom_GetMemberList(handle, 4102444800000LL, 5, 2, &ListSlot::On, &after), after);
  EXPECT_EQ(after.code, 0);
  EXPECT_TRUE(after.payload_null);  // nobody joined after that time: an empty list is NULL, 0
  EXPECT_EQ(after.count, 0);
  EXPECT_EQ(SandboxArgs("waitingRoom.getWaitingRoomMemberList"), "[[0,0,true],[0,1,false],[4102444800000,5,true]]");
}

TEST_F(WaitingRoomApi, MemberListFailuresCarryTheServiceCodeAndNoArray) {
  // Not the host: the query answers the refusal with its code.
  ASSERT_TRUE(EnterQuietMeeting(false));
  ListSlot refused, missing;
  ExpectCalledBack(Morvanta_WaitingRoom_GetMemberList(handle, 0, 0, 1, &ListSlot::On, &refused), refused);
  EXPECT_EQ(refused.code, 1103);
  EXPECT_FALSE(refused.message.empty());
  EXPECT_TRUE(refused.payload_null);
  EXPECT_EQ(refused.count, 0);

  Override("waitingRoom.getWaitingRoomMemberList", "{answer: {code: 0, message: 'ok'}}");
  ExpectCalledBack(Morvanta_WaitingRoom_GetMemberList(handle, 0, 0, 1, &ListSlot::On, &missing), missing);
  EXPECT_EQ(missing.code, -1);  // a success without a list is no success
  EXPECT_EQ(missing.message, "Invalid data format for conversion");
  EXPECT_TRUE(missing.payload_null);
}

TEST_F(WaitingRoomApi, InfoIsReadInAMeetingAndIsAZeroRecordOutsideOne) {
  ASSERT_TRUE(OpenWaitingRoom(2));
  struct Row {
    const char* setup;  // run before the read
    int32_t member_count;
    bool enabled;
    const char* background;
  } rows[] = {
      {"true", 2, true, ""},
      {"(morVantaSandbox.override('waitingRoom.getWaitingRoomInfo', {answer: {code: 0, data: {memberCount: 9.9,"
       " isEnabledOnEntry: false, backgroundImageUrl: 'https://bg'}}, times: 1}), true)",
       9, false, "https://bg"},
      // Outside a meeting the service refuses; the caller sees success and zeros.
      {"morVantaSandbox.leaveMeetingNow()", 0, false, ""},
  };
  for (const Row& row : rows) {
    ASSERT_TRUE(SandboxFlag(row.setup)) << row.setup;
    MorvantaWaitingRoomInfo info{7, true, nullptr};
    ASSERT_EQ(Morvanta_WaitingRoom_GetInfo(handle, &info), 0) << row.setup;
    EXPECT_EQ(info.member_count, row.member_count) << row.setup;
    EXPECT_EQ(info.is_enabled_on_entry, row.enabled) << row.setup;
    ASSERT_NE(info.background_image_url, nullptr) << row.setup;
    EXPECT_STREQ(info.background_image_url, row.background) << row.setup;
  }
  EXPECT_EQ(CallCount("waitingRoom.getWaitingRoomInfo"), 3);
}

TEST_F(WaitingRoomApi, OperationsAfterUninitializeFailThroughTheCallback) {
  Uninitialize();  // the handle outlives the library
  CallbackSlot admit;
  ListSlot list;
  MorvantaWaitingRoomInfo info{5, true, nullptr};
  EXPECT_EQ(Morvanta_WaitingRoom_AdmitMember(handle, "u", 0, &CallbackSlot::OnPlain, &admit), 0);
  ASSERT_EQ(admit.Calls(), 1);  // at once, on this thread
  EXPECT_EQ(admit.code, -1);
  EXPECT_EQ(admit.message, "Bridge not initialized");
  EXPECT_EQ(Morvanta_WaitingRoom_GetMemberList(handle, 0, 0, 1, &ListSlot::On, &list), 0);
  ASSERT_EQ(list.Calls(), 1);
  EXPECT_EQ(list.code, -1);
  EXPECT_TRUE(list.payload_null);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Morvanta_WaitingRoom_GetInfo(handle, &info), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));  // no wait without a bridge
  EXPECT_EQ(info.member_count, 0);
  EXPECT_STREQ(info.background_image_url, "");
}

// The synchronous query gives up after about 5 s and still reports success;
// the answer that arrives later is dropped without harm.
TEST_F(WaitingRoomApi, SlowInfoTimeOutIsSuccessWithAZeroRecord) {
  ASSERT_TRUE(OpenWaitingRoom(1));
  Override("waitingRoom.getWaitingRoomInfo", "{delayMs: 6500, times: 1}");
  MorvantaWaitingRoomInfo info{3, true, nullptr};
  int rc = 12345, rc_next = 12345;
  std::chrono::steady_clock::duration waited{};
  MorvantaWaitingRoomInfo next{};
  const std::string log = LogOf([&] {
    const auto start = std::chrono::steady_clock::now();
    rc = Morvanta_WaitingRoom_GetInfo(handle, &info);
    waited = std::chrono::steady_clock::now() - start;
    // The late answer arrives while the next query waits for the worker.
    rc_next = Morvanta_WaitingRoom_GetInfo(handle, &next);
  });

  EXPECT_EQ(rc, 0);
  EXPECT_GE(waited, std::chrono::milliseconds(5000));
  EXPECT_LT(waited, std::chrono::milliseconds(6500));
  EXPECT_EQ(info.member_count, 0);
  EXPECT_FALSE(info.is_enabled_on_entry);
  ASSERT_NE(info.background_image_url, nullptr);
  EXPECT_STREQ(info.background_image_url, "");
  EXPECT_NE(log.find("[WaitingRoomManager] GetWaitingRoomInfo timeout"), std::string::npos);
  EXPECT_EQ(rc_next, 0);
  EXPECT_EQ(next.member_count, 1);
  EXPECT_TRUE(next.is_enabled_on_entry);
}
