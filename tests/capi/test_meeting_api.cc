// Meeting operations and the meeting event channel through the exported
// functions. The SDK side is replaced per test where the exact call matters,
// and events are fired through the JavaScript listener the library installs.
#include <algorithm>
#include <atomic>
#include <thread>

#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

MorvantaMeetingListener ListenerFor(Heard* heard) {
  MorvantaMeetingListener l{};
  l.onMemberJoinMeeting = [](const MorvantaMember* m, void* ud) {
    Tell(ud, std::string("join:") + m->uuid + "/" + m->name);
  };
  l.onMemberLeaveMeeting = [](const MorvantaMember* m, void* ud) { Tell(ud, std::string("leave:") + m->uuid); };
  l.onMemberAudioMuteChanged = [](const char* uuid, bool mute, void* ud) {
    Tell(ud, std::string("audio:") + uuid + (mute ? ":1" : ":0"));
  };
  l.onRoomEnded = [](const char* reason, const char* extra, void* ud) {
    Tell(ud, std::string("ended:") + reason + "/" + extra);
  };
  l.onMemberJoinChatroom = [](const MorvantaMember*, uint32_t n, void* ud) {
    Tell(ud, "chatroom:" + std::to_string(n));
  };
  l.onMemberScreenShareStateChanged = [](const MorvantaMember* m, bool sharing, const MorvantaMember* by, void* ud) {
    Tell(ud, std::string("share:") + m->uuid + (sharing ? ":1" : ":0") + ":" + (by ? by->uuid : "none"));
  };
  l.onReceiveChatroomMessages = [](const MorvantaChatMessage*, uint32_t n, void* ud) {
    Tell(ud, "chat:" + std::to_string(n));
  };
  l.onMemberChatBanStateChanged = [](const MorvantaMember* m, bool banned, int32_t duration, const char*,
                                     const MorvantaMember*, void* ud) {
    Tell(ud, std::string("ban:") + m->uuid + (banned ? ":1:" : ":0:") + std::to_string(duration));
  };
  l.user_data = heard;
  return l;
}

// Replaces the SDK's meeting methods by recorders that answer success.
void RecordMeetingCalls() {
  SandboxEval(
      "(function () { var m = morVantaMeeting.getMeetingManager(); globalThis.__seen = [];"
      " ['createMeeting','joinMeeting','rejoinAfterAdmittedToRoom','leaveMeeting','endMeeting'].forEach("
      "function (n) { m[n] = function () { globalThis.__seen.push({name: n, args: Array.from(arguments)});"
      " return Promise.resolve({code: 0, message: 'success'}); }; }); return true; })()");
}

// The recorded calls as JSON, [name, arguments] each, object keys sorted.
std::string SeenCalls() {
  return SandboxEval("JSON.stringify(globalThis.__seen.map((c) => [c.name, c.args]), (k, x) => x === undefined"
                     " ? '(undefined)' : (x && typeof x === 'object' && !Array.isArray(x)"
                     " ? Object.fromEntries(Object.entries(x).sort()) : x))")
      .stringValue;
}

// Registration finishes on the worker after the add returns.
bool MeetingRegistered(bool registered = true) {
  return WaitRegistered("__morvantaMeetingListenerRegistered", registered);
}

// Fires an event through the JavaScript listener object the library installed.
void Fire(const std::string& call) { FireOn("__morvantaMeetingListenerRef", "L." + call + ";"); }

using MeetingApi = ChannelApi;

}  // namespace

TEST_F(MeetingApi, RefusedArgumentsReturnMinusOneWithoutCallback) {
  SandboxEval("morVantaSandbox.clearCalls()");
  CallbackSlot c;
  MorvantaMeetingCreateOptions create{};
  create.subject = "";
  MorvantaMeetingJoinOptions join{};
  join.meetingNum = "";
  MorvantaMeetingSDKInfo* info = nullptr;
  EXPECT_EQ(Morvanta_Meeting_CreateMeeting(nullptr, &create, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_CreateMeeting(meeting, nullptr, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_CreateMeeting(meeting, &create, CallbackSlot::OnPlain, &c), -1);
  create.subject = nullptr;
  EXPECT_EQ(Morvanta_Meeting_CreateMeeting(meeting, &create, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_JoinMeeting(meeting, &join, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_JoinMeeting(meeting, nullptr, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_LeaveMeeting(nullptr, 0, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_EndMeeting(nullptr, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_RejoinAfterAdmittedToRoom(nullptr, CallbackSlot::OnPlain, &c), -1);
  EXPECT_EQ(Morvanta_Meeting_GetMeetingInfo(meeting, nullptr), -1);
  EXPECT_EQ(Morvanta_Meeting_GetMeetingInfo(nullptr, &info), -1);
  EXPECT_EQ(Morvanta_Meeting_ReleaseMeeting(nullptr), -1);
  MorvantaMeetingListener l{};
  EXPECT_EQ(Morvanta_Meeting_AddMeetingListener(nullptr, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, nullptr), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &l), -1);  // never added
  DrainWorker();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(c.Calls(), 0);
  // None of them reached the SDK.
  EXPECT_EQ(SandboxEval("JSON.stringify(morVantaSandbox.calls.map((c) => c.path))").stringValue, "[]");
}

TEST_F(MeetingApi, CreateSendsOnlyTheKeysThatAreSet) {
  RecordMeetingCalls();
  MorvantaVideoProfile profile{720, 30};
  MorvantaMeetingCreateOptions o{};
  o.subject = "Standup";
  o.password = "";  // set although empty
  o.noChat = 0;     // false, not absent
  o.noWhiteboard = -1;
  o.noCaptions = 2;
  o.videoProfile = &profile;
  o.joinTimeout = -1;
  o.subType = -1;
  o.startTime = 0;
  o.endTime = -1;
  o.enableWaitingRoom = -1;
  CallbackSlot c;
  ExpectCalledBack(Morvanta_Meeting_CreateMeeting(meeting, &o, CallbackSlot::OnPlain, &c), c);
  EXPECT_EQ(c.code, 0) << c.message;
  // Unset keys (memberTag, noWhiteboard, orgName, avatar, joinTimeout, session, subType, endTime,
  // enableWaitingRoom, cloudRecordConfig) are absent; an empty password and a false noChat are set.
  EXPECT_EQ(SeenCalls(), R"([["createMeeting",[{"meetingNum":"","nickname":"","noCaptions":true,"noChat":false,)"
                         R"("password":"","startTime":0,"subject":"Standup","videoProfile":{"frameRate":30,)"
                         R"("resolution":720}}]]])");
}

TEST_F(MeetingApi, JoinLeaveEndAndRejoinCallTheSdkOnceEach) {
  RecordMeetingCalls();
  MorvantaMeetingJoinOptions join{"123456", nullptr, "Ann"};
  CallbackSlot a, b, c, d;
  ExpectCalledBack(Morvanta_Meeting_JoinMeeting(meeting, &join, CallbackSlot::OnPlain, &a), a, "join");
  ExpectCalledBack(Morvanta_Meeting_LeaveMeeting(meeting, 2, CallbackSlot::OnPlain, &b), b, "leave");
  ExpectCalledBack(Morvanta_Meeting_RejoinAfterAdmittedToRoom(meeting, CallbackSlot::OnPlain, &c), c, "rejoin");
  ASSERT_EQ(Morvanta_Meeting_EndMeeting(meeting, nullptr, nullptr), 0);  // NULL callback: still runs
  ExpectCalledBack(Morvanta_Meeting_EndMeeting(meeting, CallbackSlot::OnPlain, &d), d, "end");
  // The leave flag 2 is true.
  EXPECT_EQ(SeenCalls(), R"([["joinMeeting",[{"meetingNum":"123456","nickname":"Ann","userUuid":""}]],)"
                         R"(["leaveMeeting",[true]],["rejoinAfterAdmittedToRoom",[]],)"
                         R"(["endMeeting",[]],["endMeeting",[]]])");
}

TEST_F(MeetingApi, ServiceFailuresReachTheCallbackWithTheirCode) {
  SandboxEval("(morVantaMeeting.getMeetingManager().leaveMeeting = function () {"
              " return Promise.resolve({code: 1001, message: 'no permission'}); }, true)");
  SandboxEval("(morVantaMeeting.getMeetingManager().endMeeting = function () {"
              " return Promise.reject(new Error('gone')); }, true)");
  CallbackSlot leave, end;
  ExpectAnswer(Morvanta_Meeting_LeaveMeeting(meeting, 0, CallbackSlot::OnPlain, &leave), leave, 1001, "no permission");
  ExpectCalledBack(Morvanta_Meeting_EndMeeting(meeting, CallbackSlot::OnPlain, &end), end);
  EXPECT_EQ(end.code, -1);
  EXPECT_NE(end.message.find("gone"), std::string::npos);
}

TEST_F(MeetingApi, MeetingInfoIsARecordTheCallerFreesInAMeetingAndMinus999AndNullOutside) {
  struct Row {
    const char* answer;  // what the SDK's getMeetingInfo resolves with
    int rc;
    int64_t meeting_id;  // 0: no record
  } rows[] = {
      {"{code: 1020, message: 'not in a meeting', data: null}", -999, 0},
      {"{code: 0, data: {meetingId: 42, meetingNum: '900100', subject: 'Standup', roomUuid: 'room-1',"
       " userUuid: 'u1', name: 'Ann', myUuid: 'u1', hostUuid: 'u1'}}", 0, 42},
  };
  for (const Row& row : rows) {
    SandboxEval(std::string("(morVantaMeeting.getMeetingManager().getMeetingInfo = function () {"
                            " return Promise.resolve(") + row.answer + "); }, true)");
    MorvantaMeetingSDKInfo* info = reinterpret_cast<MorvantaMeetingSDKInfo*>(0x1);
    EXPECT_EQ(Morvanta_Meeting_GetMeetingInfo(meeting, &info), row.rc) << row.answer;
    if (!row.meeting_id) {
      EXPECT_EQ(info, nullptr) << row.answer;
      continue;
    }
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->meeting_id, row.meeting_id);
    Morvanta_FreeMeetingInfo(info);
  }
}

TEST_F(MeetingApi, EventsReachCListenersInOrderAndMalformedOnesAreDropped) {
  Heard heard;
  MorvantaMeetingListener l = ListenerFor(&heard);
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &l), 0);
  ASSERT_TRUE(MeetingRegistered());
  // One batch: pushed together, drained together, delivered in order.
  SandboxEval(
      "(function () { var L = globalThis.__morvantaMeetingListenerRef;"
      " L.onMemberJoinRoom([{uuid: 'u1', name: 'Ann'}, 'u2', {uuid: '', userUuid: 'u3', userName: 'Cy'}]);"
      " L.onMemberJoinRoom(null);"
      " L.onMemberAudioMuteChanged({name: 'nobody'}, true, null);"
      " L.onMemberAudioMuteChanged({uuid: 'u1'}, 1, null);"
      " globalThis.__morvantaMeetingCallbacks.push({data: {}});"
      " globalThis.__morvantaMeetingCallbacks.push({type: 7, data: {}});"
      " globalThis.__morvantaMeetingCallbacks.push({type: 'onSomethingNew', data: {}});"
      " L.onMemberScreenShareStateChanged({uuid: 'u2'}, true, {uuid: 'u1'});"
      " L.onMemberChatBanStateChanged('u3', true, 59.9, 'x', null);"
      " L.onMemberJoinChatroom([{uuid: 'u1'}, {uuid: 'u2'}]);"
      " L.onReceiveChatroomMessages([{messageType: 'text', text: 'hi', fromUserUuid: 'u1'}]);"
      " L.onRoomEnded(5, 'bye');"
      " L.onMemberLeaveRoom({uuid: 'u2'});"
      " return true; })()");
  const std::vector<std::string> expected = {"join:u1/Ann",   "join:u2/",      "join:u3/Cy",   "audio:u1:1",
                                             "share:u2:1:u1", "ban:u3:1:59",   "chatroom:2",   "chat:1",
                                             "ended:/bye",    "leave:u2"};
  ASSERT_TRUE(heard.WaitFor(expected.size()));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  std::lock_guard<std::mutex> lock(heard.mutex);
  EXPECT_EQ(heard.events, expected);
}

TEST_F(MeetingApi, ConcurrentOnlyAnEventReachesItsListenerLongBeforeTheNextPoll) {
  if (Morvanta_GetBridgeMode() != MORVANTA_BRIDGE_MODE_CONCURRENT) GTEST_SKIP() << "needs the concurrent mode";
  struct Arrivals {
    std::mutex mutex;
    std::vector<std::chrono::steady_clock::time_point> at;
  } arrivals;
  MorvantaMeetingListener l{};
  l.onMemberAudioMuteChanged = [](const char*, bool, void* ud) {
    auto* a = static_cast<Arrivals*>(ud);
    std::lock_guard<std::mutex> lock(a->mutex);
    a->at.push_back(std::chrono::steady_clock::now());
  };
  l.user_data = &arrivals;
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &l), 0);
  ASSERT_TRUE(MeetingRegistered());
  auto arrived = [&] {
    std::lock_guard<std::mutex> lock(arrivals.mutex);
    return arrivals.at.size();
  };
  // One event at a time, at uneven gaps, so that the fire times fall all
  // over the 100 ms poll's period: by the poll alone the median would be
  // near 50 ms, and below 25 ms for 15 events only by rare chance.
  constexpr size_t kEvents = 15;
  std::vector<double> latency_ms;
  for (size_t i = 0; i < kEvents; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20 + (i * 17) % 40));
    const auto fired = std::chrono::steady_clock::now();
    Fire("onMemberAudioMuteChanged({uuid: 'u" + std::to_string(i) + "'}, true, null)");
    const auto until = fired + std::chrono::seconds(2);
    while (arrived() <= i && std::chrono::steady_clock::now() < until)
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    ASSERT_EQ(arrived(), i + 1) << "event " << i;
    std::lock_guard<std::mutex> lock(arrivals.mutex);
    latency_ms.push_back(std::chrono::duration<double, std::milli>(arrivals.at[i] - fired).count());
  }
  std::sort(latency_ms.begin(), latency_ms.end());
  EXPECT_LT(latency_ms[kEvents / 2], 25.0) << "median of " << kEvents << " events";
  ASSERT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &l), 0);
}

TEST_F(MeetingApi, TwoRecordsEachHearEveryEventAndRemovalNeedsAnEqualRecord) {
  Heard first, second;
  MorvantaMeetingListener a = ListenerFor(&first);
  MorvantaMeetingListener b = ListenerFor(&second);
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &a), 0);
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &b), 0);
  ASSERT_TRUE(MeetingRegistered());
  Fire("onMemberLeaveRoom([{uuid: 'x'}])");
  ASSERT_TRUE(first.WaitFor(1));
  ASSERT_TRUE(second.WaitFor(1));

  MorvantaMeetingListener other = a;
  other.user_data = &other;  // differs in user_data alone
  EXPECT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &other), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &a), 0);
  Fire("onMemberLeaveRoom([{uuid: 'y'}])");
  ASSERT_TRUE(second.WaitFor(2));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(first.Size(), 1u);

  // The last removal detaches the JavaScript listener and empties the array.
  EXPECT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &b), 0);
  EXPECT_TRUE(MeetingRegistered(false));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(SandboxNumber("globalThis.__morvantaMeetingCallbacks.length"), 0);
}

TEST_F(MeetingApi, AddAndRemoveWriteTheirLinesInOrderAndRefusalsNameTheirFault) {
  Heard first, second;
  MorvantaMeetingListener a = ListenerFor(&first);
  MorvantaMeetingListener b = ListenerFor(&second);
  MorvantaMeetingListener other = a;
  other.user_data = &other;
  std::vector<int> codes;
  const std::string log = LogOf([&] {
    codes = {Morvanta_Meeting_AddMeetingListener(nullptr, &a),
             Morvanta_Meeting_AddMeetingListener(meeting, nullptr),
             Morvanta_Meeting_AddMeetingListener(meeting, &a),
             Morvanta_Meeting_AddMeetingListener(meeting, &b),
             Morvanta_Meeting_RemoveMeetingListener(nullptr, &a),
             Morvanta_Meeting_RemoveMeetingListener(meeting, nullptr),
             Morvanta_Meeting_RemoveMeetingListener(meeting, &other),
             Morvanta_Meeting_RemoveMeetingListener(meeting, &a),
             Morvanta_Meeting_RemoveMeetingListener(meeting, &b)};
  });
  EXPECT_EQ(codes, (std::vector<int>{-1, -1, 0, 0, -1, -1, -1, 0, 0}));
  // Standard output first, then the refusals on standard error.
  const std::string tag = "[MeetingManager C API] ";
  std::vector<std::string> expected;
  for (const char* line : {"🚀 Morvanta_Meeting_AddMeetingListener", "🚀 Morvanta_Meeting_AddMeetingListener",
                           "🚀 Morvanta_Meeting_AddMeetingListener", "📝 Creating MeetingListenerWrapper...",
                           "📝 Calling MvMeetingManager::AddMeetingListener...",
                           "✅ Registered C++ wrapper listener with MvMeetingManager",
                           "✅ Meeting listener stored (count: 1)", "🚀 Morvanta_Meeting_AddMeetingListener",
                           "ℹ️ Wrapper already registered, only storing new C listener",
                           "✅ Meeting listener stored (count: 2)", "⚠️ Meeting listener not found",
                           "✅ Meeting listener removed (count: 1)", "✅ Unregistered C++ wrapper listener",
                           "✅ Meeting listener removed (count: 0)", "❌ Invalid handle", "❌ Invalid listener",
                           "❌ Invalid handle", "❌ Invalid listener"})
    expected.push_back(tag + line);
  EXPECT_EQ(LinesStartingWith(log, "[MeetingManager C API]"), expected);
}

TEST_F(MeetingApi, ARefusedRegistrationRollsTheNativeListenerBack) {
  // An SDK with neither a room context nor addMeetingListener.
  SandboxEval("(function () { var m = morVantaMeeting.getMeetingManager();"
              " m.addMeetingListener = undefined; m.getRoomContext = undefined;"
              " morVantaMeeting.getRoomContext = undefined; return true; })()");
  Heard heard;
  MorvantaMeetingListener l = ListenerFor(&heard);
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &l), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_FALSE(SandboxFlag("globalThis.__morvantaMeetingListenerRegistered === true"));
  // The C record stays (removal still finds it); nothing is heard.
  EXPECT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &l), 0);
  EXPECT_EQ(heard.Size(), 0u);
}

TEST(MeetingTeardown, UninitializeWithALiveListenerLeavesNoThreadAndNoLateCall) {
  Heard heard;
  ExpectCleanTeardown(heard, [&](MorvantaMeetingManager_T* meeting) {
    MorvantaMeetingListener l = ListenerFor(&heard);
    ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &l), 0);
    ASSERT_TRUE(MeetingRegistered());
    Fire("onMemberLeaveRoom([{uuid: 'x'}])");
    ASSERT_TRUE(heard.WaitFor(1));
    // A burst still queued when the library goes down.
    FireOn("__morvantaMeetingListenerRef", "for (var i = 0; i < 50; i++) L.onMemberLeaveRoom([{uuid: 'z' + i}]);");
  });
}
