// The waiting room event channel through the exported functions: events of
// the sandbox's waiting room world reach C listeners with their fields,
// malformed records are dropped without stopping their batch, removal
// answers 0 for a record it does not know, and Uninitialize leaves neither a
// thread nor a late call behind.
#include <chrono>

#include "capi/answer_checks.h"
#include "capi/waiting_room_harness.h"
#include "support/test_support.h"

using namespace morvanta_test;

namespace {

class WaitingRoomEvents : public WaitingRoomTest {
 protected:
  void TearDown() override {
    Morvanta_WaitingRoom_RemoveListener(handle, &listener);
    WaitingRoomTest::TearDown();
  }
  // Adds the fixture's listener and waits until the JavaScript side is attached.
  void Listen() {
    listener = WaitingRoomListener(&heard);
    ASSERT_EQ(Morvanta_WaitingRoom_AddListener(handle, &listener), 0);
    ASSERT_TRUE(WaitingRoomRegistered());
  }
  // What was heard once `n` calls have come and a further drain has passed.
  std::vector<std::string> HeardAfter(size_t n) { return morvanta_test::HeardAfter(heard, n, 300); }

  Heard heard;
  MorvantaWaitingRoomListener listener{};
};

void Sandbox(const std::string& statements) { SandboxEval("(function () { " + statements + " return true; })()"); }

// Runs statements against the installed JavaScript listener `L`, as one batch.
void Fire(const std::string& statements) { FireOn("__morvantaWaitingRoomListenerRef", statements); }

}  // namespace

TEST_F(WaitingRoomEvents, HostSideEventsReachCListenersWithTheirFields) {
  ASSERT_TRUE(OpenWaitingRoom(0));
  Listen();
  Sandbox("morVantaSandbox.meetingAction({member: 2, action: 'join'});"
          " morVantaSandbox.meetingAction({member: 3, action: 'join'});"
          " morVantaSandbox.meetingAction({member: 2, action: 'rename', name: 'Ada L.'});");
  CallbackSlot admit, expel, all;
  ExpectCalledBack(Morvanta_WaitingRoom_AdmitMember(handle, "sim-member-03", 0, &CallbackSlot::OnPlain, &admit), admit);
  ExpectCalledBack(Morvanta_WaitingRoom_ExpelMember(handle, "sim-member-04", 0, &CallbackSlot::OnPlain, &expel), expel);
  Sandbox("morVantaSandbox.meetingAction({member: 3, action: 'join'});");
  ExpectCalledBack(Morvanta_WaitingRoom_ExpelAll(handle, 0, &CallbackSlot::OnPlain, &all), all);
  const std::vector<std::string> expected = {
      "join:sim-member-03/Ada Lovelace/(null)/1/t/0",
      "info:1/on/",
      "join:sim-member-04/Linus Torvalds/(null)/1/t/0",
      "info:2/on/",
      "name:sim-member-03/Ada L./no-operator",
      "admitted:sim-member-03",
      "info:1/on/",
      "leave:sim-member-04/4",
      "info:0/on/",
      "join:sim-member-04/Linus Torvalds/(null)/1/t/0",
      "info:1/on/",
      "kicked",
      "info:0/on/",
  };
  EXPECT_EQ(HeardAfter(expected.size()), expected);
}

TEST_F(WaitingRoomEvents, TheLocalUserWaitsIsAdmittedRejoinsAndKeepsListeningAfterLeaving) {
  Listen();
  MorvantaMeetingManager_T* meeting = Morvanta_GetMeetingManager(sdk);
  ASSERT_NE(meeting, nullptr);
  // Another host's meeting, entered through its waiting room.
  Sandbox("morVantaSandbox.configure({meeting: {autoAdmitMs: null}});"
          " morVantaSandbox.enterMeeting({userUuid: 'local-user', meetingNum: '7700000002', enableWaitingRoom: true,"
          " inWaitingRoom: true});");
  ASSERT_TRUE(heard.WaitFor(3));
  Sandbox("morVantaSandbox.meetingAction({action: 'admitLocal'});");
  ASSERT_TRUE(heard.WaitFor(5));
  CallbackSlot rejoin, leave;
  ExpectCalledBack(Morvanta_Meeting_RejoinAfterAdmittedToRoom(meeting, &CallbackSlot::OnPlain, &rejoin), rejoin);
  EXPECT_EQ(rejoin.code, 0) << rejoin.message;
  EXPECT_EQ(SandboxEval("morVantaSandbox.meeting.localStatus").stringValue, "inRoom");
  Sandbox("morVantaSandbox.meetingAction({action: 'putLocalInWaitingRoom'});");
  ASSERT_TRUE(heard.WaitFor(8));
  ExpectCalledBack(Morvanta_Meeting_LeaveMeeting(meeting, 0, &CallbackSlot::OnPlain, &leave), leave);
  // After the leave the listener stays attached and the loop keeps running.
  Sandbox("morVantaSandbox.emit({manager: 'waitingRoom', event: 'onAllMembersKicked'});");
  const std::vector<std::string> expected = {
      "status:1/0", "managers:1:sim-member-01/Grace Hopper", "info:1/on/",
      "status:2/3", "info:0/on/",
      "status:1/1", "managers:1:sim-member-01/Grace Hopper", "info:1/on/",
      "kicked",
  };
  EXPECT_EQ(HeardAfter(expected.size()), expected);
  Morvanta_DestroyMeetingManagerHandle(meeting);
}

TEST_F(WaitingRoomEvents, MalformedRecordsAreDroppedAndTheBatchGoesOn) {
  Listen();
  const std::vector<std::string> expected = {
      "status:1/2",
      "join:/Nobody/(null)/2/t/2",  // "userUuid" is not read for a joining member
      "leave:u2/4",
      "admitted:u3",
      "name:u4/New/no-operator",
      "info:3/on/bg",
      "kicked",
      "managers:0",
      "managers:2:a/A:b/B",
      "status:0/0",
  };
  std::vector<std::string> events;
  const std::string log = LogOf([&] {
    // One script, so one batch: good events through the installed listener,
    // bad records pushed straight into the array between them.
    Fire("var A = globalThis.__morvantaWaitingRoomCallbacks;"
         " L.onMyWaitingRoomStatusChanged(1, 2.7);"
         " A.push({type: 'onMyWaitingRoomStatusChanged', data: {status: 9, reason: 9}});"
         " A.push({type: 'onWaitingRoomInfoUpdated', data: {memberCount: 9}});"
         " A.push(5);"
         " A.push({data: {}});"
         " A.push({type: 7, data: {}});"
         " A.push({type: 'onMemberAdmitted'});"
         " L.onMemberJoin({userUuid: 'u-only', name: 'Nobody', joinTime: 5, status: 2}, 2.9);"
         " L.onMemberJoin('u-text', 1);"
         " L.onMemberLeave('u2', 4);"
         " L.onMemberAdmitted('u3');"
         " L.onMemberNameChanged('u4', 'New', {uuid: 'op'});"
         " L.onWaitingRoomInfoUpdated({memberCount: 3.7, isEnabledOnEntry: true, backgroundImageUrl: 'bg'});"
         " L.onWaitingRoomInfoUpdated(undefined);"
         " L.onAllMembersKicked();"
         " L.onManagersUpdated(null);"
         " L.onManagersUpdated([{uuid: 'a', name: 'A', userUuid: '', userName: ''},"
         "   {userUuid: 'b', uuid: 'x', userName: 'B', name: 'y'}, 7]);"
         " L.onMyWaitingRoomStatusChanged('x', null);");
    events = HeardAfter(expected.size());
  });
  EXPECT_EQ(events, expected);
  EXPECT_EQ(CountOf(log, "[WaitingRoomManager] ⚠️ Unknown event type: onMyWaitingRoomStatusChanged"), 1);
  EXPECT_EQ(CountOf(log, "[WaitingRoomManager] ⚠️ Unknown event type: onWaitingRoomInfoUpdated"), 1);
  EXPECT_EQ(CountOf(log, "[WaitingRoomManager] ❌ ProcessSingleWaitingRoomEvent: Expected object"), 1);
  EXPECT_EQ(CountOf(log, "[WaitingRoomManager] ❌ Missing or invalid 'type' field"), 2);
  EXPECT_EQ(CountOf(log, "[WaitingRoomManager] ❌ Missing 'data' field"), 2);
  EXPECT_EQ(CountOf(log, "[WaitingRoomManager] 🔔 Processing event: onInfoUpdated"), 2);
  EXPECT_EQ(CountOf(log, "[JS WaitingRoom Listener] 🔔 onMyWaitingRoomStatusChanged"), 2);
  EXPECT_EQ(CountOf(log, "[WaitingRoomListenerWrapper] 🔔 OnMemberJoin called (uuid: , reason: 2)"), 1);
}

TEST_F(WaitingRoomEvents, RemovalAnswersZeroForAnUnknownRecordAndTheLastOneDetaches) {
  MorvantaWaitingRoomListener never = WaitingRoomListener(&heard);
  EXPECT_EQ(Morvanta_WaitingRoom_RemoveListener(handle, &never), 0);
  EXPECT_EQ(Morvanta_WaitingRoom_AddListener(nullptr, &never), -1);
  EXPECT_EQ(Morvanta_WaitingRoom_AddListener(handle, nullptr), -1);
  EXPECT_EQ(Morvanta_WaitingRoom_AddListener(&empty, &never), -1);
  EXPECT_EQ(Morvanta_WaitingRoom_RemoveListener(handle, nullptr), -1);
  EXPECT_EQ(Morvanta_WaitingRoom_RemoveListener(&empty, &never), -1);

  Listen();
  Heard second;
  MorvantaWaitingRoomListener other = WaitingRoomListener(&second);
  ASSERT_EQ(Morvanta_WaitingRoom_AddListener(handle, &other), 0);
  Fire("L.onMemberAdmitted('x');");
  ASSERT_TRUE(heard.WaitFor(1));
  ASSERT_TRUE(second.WaitFor(1));

  MorvantaWaitingRoomListener differs = listener;
  differs.user_data = &differs;  // equal but for user_data: not the same record
  EXPECT_EQ(Morvanta_WaitingRoom_RemoveListener(handle, &differs), 0);
  EXPECT_EQ(Morvanta_WaitingRoom_RemoveListener(handle, &listener), 0);
  Fire("L.onMemberAdmitted('y');");
  morvanta_test::HeardAfter(second, 2, 300);
  EXPECT_EQ(heard.Copy(), std::vector<std::string>{"admitted:x"});

  // The last removal detaches the JavaScript listener and starts a fresh array.
  EXPECT_EQ(Morvanta_WaitingRoom_RemoveListener(handle, &other), 0);
  EXPECT_TRUE(WaitingRoomRegistered(false));
  EXPECT_TRUE(WaitUntilJs("morVantaSandbox.listenerCount('waitingRoom') === 0 &&"
                          " globalThis.__morvantaWaitingRoomCallbacks.length === 0"));
  Sandbox("morVantaSandbox.emit({manager: 'waitingRoom', event: 'onAllMembersKicked'});");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(second.Size(), 2u);

  // A new first listener attaches again.
  Listen();
  Sandbox("morVantaSandbox.emit({manager: 'waitingRoom', event: 'onAllMembersKicked'});");
  EXPECT_TRUE(heard.WaitFor(2));
}

TEST_F(WaitingRoomEvents, AddAndRemoveWriteTheirLinesInOrderAndRefusalsAreSilent) {
  std::vector<int> codes;
  Heard second;
  listener = WaitingRoomListener(&heard);  // the fixture removes it again
  MorvantaWaitingRoomListener b = WaitingRoomListener(&second);
  MorvantaWaitingRoomListener never = listener;
  never.user_data = &never;
  const std::string log = LogOf([&] {
    codes = {Morvanta_WaitingRoom_AddListener(nullptr, &listener),
             Morvanta_WaitingRoom_AddListener(handle, nullptr),
             Morvanta_WaitingRoom_AddListener(&empty, &listener),
             Morvanta_WaitingRoom_RemoveListener(handle, &never),
             Morvanta_WaitingRoom_AddListener(handle, &listener),
             Morvanta_WaitingRoom_AddListener(handle, &b),
             Morvanta_WaitingRoom_RemoveListener(handle, &never),
             Morvanta_WaitingRoom_RemoveListener(handle, &listener),
             Morvanta_WaitingRoom_RemoveListener(handle, &b),
             Morvanta_WaitingRoom_RemoveListener(nullptr, &listener)};
  });
  EXPECT_EQ(codes, (std::vector<int>{-1, -1, -1, 0, 0, 0, 0, 0, 0, -1}));
  EXPECT_EQ(LinesStartingWith(log, "[C API]"),
            (std::vector<std::string>{"[C API] ✅ Waiting room listener stored (total: 1)",
                                      "[C API] ✅ Waiting room listener wrapper registered to C++ layer",
                                      "[C API] ✅ Waiting room listener stored (total: 2)",
                                      "[C API] ✅ Waiting room listener removed (remaining: 1)",
                                      "[C API] ✅ Waiting room listener removed (remaining: 0)",
                                      "[C API] ✅ Waiting room listener wrapper removed from C++ layer"}));
}

TEST(WaitingRoomTeardown, UninitializeWithALiveListenerLeavesNoThreadAndNoLateCall) {
  Heard heard;
  ExpectCleanTeardown(heard, [&](MorvantaMeetingManager_T* meeting) {
    MorvantaWaitingRoomManager_T* handle = Morvanta_GetWaitingRoomManager(meeting->sdkHandle.get());
    ASSERT_NE(handle, nullptr);
    MorvantaWaitingRoomListener l = WaitingRoomListener(&heard);
    ASSERT_EQ(Morvanta_WaitingRoom_AddListener(handle, &l), 0);
    ASSERT_TRUE(WaitingRoomRegistered());
    Fire("L.onMemberAdmitted('x');");
    ASSERT_TRUE(heard.WaitFor(1));
    // A burst still queued when the library goes down.
    Fire("for (var i = 0; i < 50; i++) L.onMemberLeave('z' + i, 2);");
    Morvanta_DestroyWaitingRoomManagerHandle(handle);
  });
}
