// The message channel through the exported functions: custom and session
// messages from the sandbox's meeting and records fired through the
// JavaScript listener the library installs, down to the C listener records.
#include <atomic>
#include <future>

#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

std::string Session(const char* kind, const MorvantaSessionMessage* m) {
  return std::string(kind) + ":" +
         Joined(",", m->session_id, m->session_type, m->message_id, m->data, m->time > 0 ? "t" : "0");
}

MorvantaMessageChannelListener ChannelListener(Heard* heard) {
  MorvantaMessageChannelListener l{};
  l.onCustomMessageReceived = [](const MorvantaCustomMessage* m, void* ud) {
    Tell(ud, "custom:" + Joined(",", m->room_uuid, m->sender_uuid, m->data, m->timestamp));
  };
  l.onSessionMessageReceived = [](const MorvantaSessionMessage* m, void* ud) { Tell(ud, Session("received", m)); };
  l.onSessionMessageDeleted = [](const MorvantaSessionMessage* m, void* ud) { Tell(ud, Session("deleted", m)); };
  l.onSessionMessageRecentChanged = [](const MorvantaSessionRecentInfo* s, uint32_t n, void* ud) {
    Tell(ud, Listed("recent:", s, n,
                    [](auto& x) { return Joined("/", x.session_id, x.session_type, x.unread_count); }));
  };
  l.onDeleteAllSessionMessage = [](const char* id, int32_t type, void* ud) {
    Tell(ud, "deleteAll:" + Joined(",", id, type));
  };
  l.user_data = heard;
  return l;
}

constexpr char kRegistered[] = "__morvantaMessageChannelListenerRegistered";
bool WaitRegistered(bool registered = true) { return morvanta_test::WaitRegistered(kRegistered, registered); }
void Fire(const std::string& statements) { FireOn("__morvantaMessageChannelListenerRef", statements); }

struct CountingListener : morvanta::IMvMessageChannelListener {
  std::atomic<int> calls{0};
  void OnCustomMessageReceived(const morvanta::MvCustomMessage&) override { ++calls; }
  void OnSessionMessageReceived(const morvanta::MvSessionMessage&) override { ++calls; }
  void OnSessionMessageRecentChanged(const std::vector<morvanta::MvSessionRecentInfo>&) override { ++calls; }
  void OnSessionMessageDeleted(const morvanta::MvSessionMessage&) override { ++calls; }
  void OnDeleteAllSessionMessage(const std::string&, morvanta::MvSessionType) override { ++calls; }
};

using MessageChannelApi = ListeningApi<MorvantaMessageChannelListener, ChannelListener, Morvanta_Meeting_AddMessageChannelListener, WaitRegistered>;

}  // namespace

TEST_F(MessageChannelApi, TheSandboxsMessagesReachCInOrderWithTheirFields) {
  ASSERT_TRUE(EnterMeeting(0));
  Listen();
  SandboxEval(
      "(function () { var s = morVantaSandbox;"
      " s.meetingAction({action: 'customMessage', member: 0, data: 'hello'});"
      " s.meetingAction({action: 'sessionMessage', sessionId: 's1', sessionType: 0, data: 'one'});"
      " s.meetingAction({action: 'sessionMessage', sessionId: 's2', sessionType: 1, data: {k: 1}});"
      " s.meetingAction({action: 'deleteSessionMessage', sessionId: 's1'});"
      " s.meetingAction({action: 'clearSession', sessionId: 's2'});"
      " return true; })()");
  std::vector<std::string> events = HeardAfter(heard, 9);
  ASSERT_EQ(events.size(), 9u);
  const std::string room = SandboxEval("morVantaSandbox.meeting.roomUuid").stringValue;
  EXPECT_EQ(events[0].rfind("custom:" + room + ",sim-member-01,hello,", 0), 0u) << events[0];
  EXPECT_NE(events[0], "custom:" + room + ",sim-member-01,hello,0");
  events.erase(events.begin());
  EXPECT_EQ(events, (std::vector<std::string>{"received:s1,0,s1-msg-1,one,t", "recent:1,s1/0/1",
                                              "received:s2,1,s2-msg-1,{\"k\":1},t", "recent:2,s1/0/1,s2/1/1",
                                              "deleted:s1,0,s1-msg-1,one,t", "recent:2,s1/0/0,s2/1/1",
                                              "deleteAll:s2,1", "recent:1,s1/0/0"}));
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &l), 0);
}

TEST_F(MessageChannelApi, SessionKindsShiftAndOddFieldsReadAsEmpty) {
  Listen();
  Fire("L.onSessionMessageReceived({sessionId: 'a', sessionType: 7, messageId: 'm', data: {x: 1}, time: 0});"
       " L.onSessionMessageDeleted({sessionId: 'b', sessionType: 0.9, messageId: 'n', data: 'kept'});"
       " L.onSessionMessageRecentChanged(null);"
       " L.onSessionMessageRecentChanged([{sessionId: 'c', sessionType: 1, unreadCount: 2.5}, 'x', 3]);"
       " L.onDeleteAllSessionMessage('d');"
       " L.onDeleteAllSessionMessage('e', 1);"
       " L.onCustomMessageReceived({roomUuid: 'r', senderUuid: 5, data: 'p', timestamp: 1700000000123.7});");
  const std::vector<std::string> expected = {
      "received:a,1,m,,0", "deleted:b,0,n,kept,0", "recent:0",       "recent:1,c/1/2",
      "deleteAll:d,0",     "deleteAll:e,1",        "custom:r,,p,1700000000123",
  };
  EXPECT_EQ(HeardAfter(heard, expected.size()), expected);
}

TEST_F(MessageChannelApi, MalformedRecordsAreDroppedSilentlyAndTheBatchGoesOn) {
  Listen();
  const std::string log = LogOf([&] {
    SandboxEval(
        "(function () { var a = globalThis.__morvantaMessageChannelCallbacks;"
        " a.push('text');"
        " a.push({data: {}});"
        " a.push({type: 7, data: {}});"
        " a.push({type: 'onCustomMessageReceived'});"
        " a.push({type: 'onCustomMessageReceived', data: 'not an object'});"
        " a.push({type: 'onSessionMessageRecentChanged', data: {sessionId: 'x'}});"
        " a.push({type: 'onZebraCrossing', data: {}});"
        " a.push({type: 'onDeleteAllSessionMessage', data: {sessionId: 'ok', sessionType: 0}});"
        " return true; })()");
    HeardAfter(heard, 1);
  });
  EXPECT_EQ(heard.Copy(), std::vector<std::string>{"deleteAll:ok,0"});
  // The manager's own lines say nothing of the dropped records.
  for (const std::string& line : LinesStartingWith(log, "[MeetingManager]")) {
    EXPECT_EQ(line.find("Zebra"), std::string::npos) << line;
    EXPECT_EQ(line.find("❌"), std::string::npos) << line;
  }
  EXPECT_NE(log.find("[MeetingManager] 🔔 OnDeleteAllSessionMessage: sessionId=ok"), std::string::npos);
}

TEST_F(MessageChannelApi, RefusedArgumentsReturnMinusOne) {
  l = ChannelListener(&heard);
  MorvantaMeetingManager_T empty{};
  EXPECT_EQ(Morvanta_Meeting_AddMessageChannelListener(nullptr, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_AddMessageChannelListener(&empty, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, nullptr), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &l), -1);
  EXPECT_EQ(Manager().MessageChannelListenerCount(), 0u);
  ASSERT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, &l), 0);
  ASSERT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, &l), 0);  // twice: called twice
  ASSERT_TRUE(WaitRegistered());
  Fire("L.onDeleteAllSessionMessage('twice', 0);");
  ASSERT_TRUE(heard.WaitFor(2));
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(&empty, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, nullptr), -1);
  MorvantaMessageChannelListener other = l;
  other.onDeleteAllSessionMessage = nullptr;  // differs in one field
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &other), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &l), 0);
  EXPECT_EQ(Manager().MessageChannelListenerCount(), 1u);  // the wrapper stays for the second copy
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &l), 0);
  EXPECT_EQ(Manager().MessageChannelListenerCount(), 0u);
  EXPECT_TRUE(WaitRegistered(false));
}

TEST_F(MessageChannelApi, ARefusedRegistrationPopsTheLastNativeListenerAndCKeepsItsRecord) {
  CountingListener native;
  Manager().AddMessageChannelListener(&native);
  ASSERT_TRUE(WaitRegistered());
  SandboxEval("(morVantaMeeting.getMeetingManager().addMessageChannelListener = undefined, true)");
  // The first C record registers the wrapper, which is last and is popped.
  l = ChannelListener(&heard);
  ASSERT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, &l), 0);
  for (int i = 0; i < 100 && Manager().MessageChannelListenerCount() != 1; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_EQ(Manager().MessageChannelListenerCount(), 1u);
  EXPECT_FALSE(SandboxFlag("globalThis.__morvantaMessageChannelListenerRegistered === true"));
  // The native listener left is the first one; the C record is still there.
  Manager().RemoveMessageChannelListener(&native);
  EXPECT_EQ(Manager().MessageChannelListenerCount(), 0u);
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &l), 0);
  EXPECT_EQ(heard.Size(), 0u);
}

TEST_F(MessageChannelApi, EnteringAMeetingReattachesALostRegistration) {
  Listen();
  // The SDK forgets the listener and the flag goes down, as after a cleanup
  // whose registration never came back.
  SandboxEval("(morVantaMeeting.getMeetingManager().removeMessageChannelListener("
              "globalThis.__morvantaMessageChannelListenerRef),"
              " globalThis.__morvantaMessageChannelListenerRegistered = false, true)");
  MorvantaMeetingJoinOptions join{"8800000001", "local-user", "Me"};
  std::promise<int> joined;
  ASSERT_EQ(Morvanta_Meeting_JoinMeeting(
                meeting, &join,
                [](int code, const char*, void* ud) { static_cast<std::promise<int>*>(ud)->set_value(code); },
                &joined),
            0);
  ASSERT_EQ(joined.get_future().get(), 0);
  ASSERT_TRUE(WaitRegistered());
  SandboxEval("morVantaSandbox.meetingAction({action: 'sessionMessage', sessionId: 'back', data: 'again'})");
  ASSERT_TRUE(heard.WaitFor(2));
  EXPECT_EQ(heard.Copy().front().rfind("received:back,0,", 0), 0u);
  EXPECT_EQ(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &l), 0);
}

TEST(MessageChannelTeardown, UninitializeWithLiveListenersLeavesNoThreadAndNoLateCall) {
  Heard heard;
  MorvantaMessageChannelListener l = ChannelListener(&heard);
  ExpectCleanTeardown(heard, [&](MorvantaMeetingManager_T* meeting) {
    ASSERT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, &l), 0);
    ASSERT_TRUE(WaitRegistered());
    Fire("L.onDeleteAllSessionMessage('first', 0);");
    ASSERT_TRUE(heard.WaitFor(1));
    // A burst still queued when the library goes down.
    Fire("for (var i = 0; i < 50; i++) L.onDeleteAllSessionMessage('z' + i, 1);");
  });
}
