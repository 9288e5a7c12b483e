// The global event channel (RTC engine events) through the exported
// functions, against the sandbox SDK. Events are fired with the sandbox's
// control object, or pushed straight into the channel's JavaScript array
// where the test needs records the SDK would never send.
#include <thread>

#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

MorvantaGlobalEventListener ListenerFor(Heard* heard) {
  MorvantaGlobalEventListener l{};
  l.before_rtc_engine_initialize = [](const char* room, void* ud) { Tell(ud, std::string("before:") + room); };
  l.after_rtc_engine_initialize = [](const char* room, void* ud) { Tell(ud, std::string("after:") + room); };
  l.before_rtc_engine_release = [](const char* room, void* ud) { Tell(ud, std::string("release:") + room); };
  l.user_data = heard;
  return l;
}

// Fires one global event through the SDK; answers how many JavaScript
// listeners it reached.
int Emit(const std::string& event, const std::string& args) {
  return static_cast<int>(SandboxNumber("morVantaSandbox.emit({manager: 'global', channel: 'global', event: '" +
                                        event + "', args: [" + args + "]})"));
}

int JsListeners() { return static_cast<int>(SandboxNumber("morVantaSandbox.listenerCount('global')")); }

// Registration finishes on the worker after the add has returned.
bool WaitRegistered(bool registered = true) {
  return WaitUntilJs(std::string(registered ? "" : "!") + "globalThis.__morvantaGlobalEventListenerRegistered");
}

// Adds `l` and waits until its JavaScript side is attached.
bool AddAndWait(const MorvantaGlobalEventListener& l) {
  return Morvanta_AddGlobalEventListener(&l) == 0 && WaitRegistered();
}

// Pushes records straight into the channel's array, in one script run.
void Push(const std::string& records) {
  SandboxEval("(function () { var a = globalThis.__morvantaGlobalEventCallbacks;"
              " [" + records + "].forEach(function (r) { a.push(r); }); return a.length; })()");
}

double ArrayLength() { return SandboxNumber("globalThis.__morvantaGlobalEventCallbacks.length"); }

class GlobalEvents : public CapiLibrary {
 protected:
  // Adds the fixture's listener and waits until its JavaScript side is attached.
  void Listen() {
    l = ListenerFor(&heard);
    ASSERT_TRUE(AddAndWait(l));
  }
  Heard heard;
  MorvantaGlobalEventListener l{};
};

TEST_F(GlobalEvents, TheThreeEventsReachTheListenerWithTheirRoomUuid) {
  Listen();
  EXPECT_EQ(JsListeners(), 1);

  EXPECT_EQ(Emit("beforeRtcEngineInitialize", "'room-1'"), 1);
  EXPECT_EQ(Emit("afterRtcEngineInitialize", "'room-1', {roomUuid: 'room-1', sandbox: true}"), 1);
  EXPECT_EQ(Emit("beforeRtcEngineRelease", "'room-1', {roomUuid: 'room-1', sandbox: true}"), 1);
  // No room uuid at all reaches the host as an empty text.
  EXPECT_EQ(Emit("beforeRtcEngineRelease", ""), 1);
  EXPECT_EQ(HeardAfter(heard, 4, 0),
            (std::vector<std::string>{"before:room-1", "after:room-1", "release:room-1", "release:"}));

  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);
}

TEST_F(GlobalEvents, AddingTheSameRecordTwiceChangesNothing) {
  Listen();
  MorvantaGlobalEventListener copy = l;
  EXPECT_EQ(Morvanta_AddGlobalEventListener(&copy), 0);

  // Still served, once per event: the duplicate neither stalled the channel
  // nor was added a second time.
  Emit("beforeRtcEngineInitialize", "'r'");
  EXPECT_EQ(HeardAfter(heard, 1), std::vector<std::string>{"before:r"});
  EXPECT_EQ(JsListeners(), 1);

  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), -1);
}

TEST_F(GlobalEvents, ASecondRecordStallsTheChannelUntilAllAreRemoved) {
  Heard first, second;
  MorvantaGlobalEventListener a = ListenerFor(&first);
  MorvantaGlobalEventListener b = ListenerFor(&second);
  ASSERT_TRUE(AddAndWait(a));
  ASSERT_EQ(Morvanta_AddGlobalEventListener(&b), 0);

  // The JavaScript listener is detached and the loop is not restarted.
  EXPECT_TRUE(WaitRegistered(false));
  EXPECT_EQ(JsListeners(), 0);
  EXPECT_EQ(Emit("beforeRtcEngineInitialize", "'lost'"), 0);
  Push("{type: 'afterRtcEngineInitialize', data: {roomUuid: 'kept'}}");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(first.Size(), 0u);
  EXPECT_EQ(second.Size(), 0u);
  EXPECT_EQ(ArrayLength(), 1);  // nobody drains it

  // The last removal drops what was queued (scripts run in order, so the
  // array is already empty for the next one).
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&a), 0);
  EXPECT_EQ(ArrayLength(), 1);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&b), 0);
  EXPECT_EQ(ArrayLength(), 0);

  // Emptied and added again, the channel works.
  ASSERT_TRUE(AddAndWait(b));
  Emit("beforeRtcEngineRelease", "'again'");
  EXPECT_EQ(HeardAfter(second, 1, 200), std::vector<std::string>{"release:again"});
  EXPECT_EQ(first.Size(), 0u);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&b), 0);
}

TEST_F(GlobalEvents, RemovingTheOnlyListenerStopsTheLoopAndClearsTheArray) {
  const int baseline = ThreadCount();
  Listen();
  Emit("beforeRtcEngineInitialize", "'r'");
  ASSERT_TRUE(heard.WaitFor(1));
  EXPECT_EQ(ThreadCount(), baseline + 1);

  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);
  EXPECT_TRUE(WaitRegistered(false));
  EXPECT_EQ(JsListeners(), 0);
  EXPECT_EQ(ArrayLength(), 0);
  EXPECT_TRUE(WaitThreadCount(baseline));

  // No loop polls the array any more.
  Push("{type: 'beforeRtcEngineRelease', data: {roomUuid: 'x'}}");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(ArrayLength(), 1);
  EXPECT_EQ(heard.Copy(), std::vector<std::string>{"before:r"});
}

TEST_F(GlobalEvents, RecordsAreComparedFieldByFieldAndNullFunctionsAreAllowed) {
  EXPECT_EQ(Morvanta_AddGlobalEventListener(nullptr), -1);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(nullptr), -1);
  Listen();

  // A NULL where the registered record has a function is another listener.
  MorvantaGlobalEventListener partial = l;
  partial.after_rtc_engine_initialize = nullptr;
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&partial), -1);
  Emit("afterRtcEngineInitialize", "'still'");
  EXPECT_EQ(HeardAfter(heard, 1, 0), std::vector<std::string>{"after:still"});
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);

  // A record without functions is served like any other, and hears nothing.
  MorvantaGlobalEventListener empty{};
  empty.user_data = &heard;
  ASSERT_TRUE(AddAndWait(empty));
  EXPECT_EQ(Emit("beforeRtcEngineInitialize", "'none'"), 1);
  EXPECT_EQ(Emit("beforeRtcEngineRelease", "'none'"), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(250));
  EXPECT_EQ(ArrayLength(), 0);  // drained, and dropped on the floor
  EXPECT_EQ(heard.Size(), 1u);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&empty), 0);

  // One that only wants releases gets only those.
  MorvantaGlobalEventListener releases{};
  releases.before_rtc_engine_release = l.before_rtc_engine_release;
  releases.user_data = &heard;
  ASSERT_TRUE(AddAndWait(releases));
  Emit("beforeRtcEngineInitialize", "'a'");
  Emit("afterRtcEngineInitialize", "'a'");
  Emit("beforeRtcEngineRelease", "'a'");
  EXPECT_EQ(HeardAfter(heard, 2, 200), (std::vector<std::string>{"after:still", "release:a"}));
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&releases), 0);
}

TEST_F(GlobalEvents, BadRecordsAreLoggedAndTheRestOfTheBatchIsDelivered) {
  Listen();

  bool delivered = false;
  const std::string log = LogOf([&] {
    Push("{type: 'onSomethingElse', data: {roomUuid: 'u'}},"
         "{type: 'beforeRtcEngineInitialize', data: {roomUuid: 'one'}},"
         "{data: {roomUuid: 'no type'}},"
         "{type: 'afterRtcEngineInitialize'},"
         "{type: 'beforeRtcEngineRelease', data: 'not an object'},"
         "42,"
         "{type: 'beforeRtcEngineRelease', data: {roomUuid: 7}},"
         "{type: 'afterRtcEngineInitialize', data: {roomUuid: 'two'}}");
    delivered = heard.WaitFor(3);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
  });
  ASSERT_TRUE(delivered);

  // A room uuid that is not text reaches the host as "".
  EXPECT_EQ(heard.Copy(), (std::vector<std::string>{"before:one", "release:", "after:two"}));
  for (const char* line : {"[MvGatherdeck] 📥 Processing 8 global events...",
                           "[MvGatherdeck] ⚠️ Unknown global event type: onSomethingElse",
                           "[MvGatherdeck] ❌ Missing or invalid 'type' field", "[MvGatherdeck] ❌ Missing 'data' field",
                           "[MvGatherdeck] ❌ ProcessSingleGlobalEvent: Expected object"})
    EXPECT_NE(log.find(line), std::string::npos) << line;
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);
}

// Found by fuzz_events: the drained batch reaches the library as one JSON
// text. In it a string's lone surrogate is an escape: a lone high one made
// the whole batch unreadable (every record in it lost), a lone low one
// reached the host as bytes that are not UTF-8. And one record nested deeper
// than the JSON reader goes (513 levels) lost its batch too.
TEST_F(GlobalEvents, RecordsHardToReadArriveAndKeepTheirBatch) {
  Listen();
  Push("{type: 'beforeRtcEngineInitialize', data: {roomUuid: 'first'}},"
       "{type: 'afterRtcEngineInitialize', data: {roomUuid: 'high \\uD800 alone'}},"
       "{type: 'beforeRtcEngineRelease', data: {roomUuid: 'low \\uDC00 alone'}},"
       "{type: 'beforeRtcEngineRelease', data: {roomUuid: 'pair \\uD83D\\uDE00'}},"
       "(function () { var v = []; for (var i = 0; i < 600; i++) v = [v];"
       " return {type: 'afterRtcEngineInitialize', data: {roomUuid: 'deep', extra: v}}; })(),"
       "{type: 'afterRtcEngineInitialize', data: {roomUuid: 'last'}}");
  EXPECT_EQ(HeardAfter(heard, 6, 0), (std::vector<std::string>{"before:first", "after:high \xEF\xBF\xBD alone",
                                                    "release:low \xEF\xBF\xBD alone",
                                                    "release:pair \xF0\x9F\x98\x80", "after:deep", "after:last"}));
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);
}

TEST_F(GlobalEvents, ARefusedRegistrationRollsTheListenerBackSoTheNextOneIsServed) {
  SandboxEval("(globalThis.__savedAdd = morVantaMeeting.addGlobalEventListener,"
              " morVantaMeeting.addGlobalEventListener = undefined, true)");
  Heard refused, served;
  MorvantaGlobalEventListener a = ListenerFor(&refused);
  const std::string log = LogOf([&] {
    EXPECT_EQ(Morvanta_AddGlobalEventListener(&a), 0);  // the refusal comes later
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  });
  EXPECT_NE(log.find("[MvGatherdeck] ❌ Failed to register JavaScript global event listener: "
                     "addGlobalEventListener not available"),
            std::string::npos);
  EXPECT_FALSE(SandboxFlag("globalThis.__morvantaGlobalEventListenerRegistered === true"));

  // The native list is empty again, so the next listener registers and is
  // served rather than stalling behind the refused one.
  SandboxEval("(morVantaMeeting.addGlobalEventListener = globalThis.__savedAdd, true)");
  MorvantaGlobalEventListener b = ListenerFor(&served);
  ASSERT_TRUE(AddAndWait(b));
  Emit("beforeRtcEngineInitialize", "'r'");
  ASSERT_TRUE(served.WaitFor(1));
  EXPECT_EQ(refused.Size(), 0u);
  // The refused record is still known to the C layer.
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&a), 0);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&b), 0);
}

TEST_F(GlobalEvents, ClearedRecordsAreNeverCalledAgain) {
  Listen();
  // What Uninitialize does first: the native side still runs, and drains,
  // but the forgotten record hears nothing.
  EXPECT_EQ(morvanta::capi::ClearGlobalCListeners(), 1u);
  EXPECT_EQ(Emit("beforeRtcEngineInitialize", "'after-clear'"), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(ArrayLength(), 0);
  EXPECT_EQ(heard.Size(), 0u);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), -1);
}

TEST(GlobalEventsLifecycle, AddAndRemoveNeedAnInitializedLibrary) {
  Heard heard;
  MorvantaGlobalEventListener l = ListenerFor(&heard);
  EXPECT_EQ(Morvanta_AddGlobalEventListener(&l), -2);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), -2);

  MorvantaInitConfig c = SandboxConfig();
  ASSERT_EQ(Morvanta_Initialize(&c, nullptr), 0);
  ASSERT_EQ(Morvanta_AddGlobalEventListener(&l), 0);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  EXPECT_EQ(Morvanta_AddGlobalEventListener(&l), -2);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), -2);
  EXPECT_EQ(Morvanta_AddGlobalEventListener(nullptr), -1);
}

TEST(GlobalEventsLifecycle, UninitializeWithALiveListenerLeavesNoThreadAndNoLateCall) {
  MorvantaInitConfig c = SandboxConfig();
  // A first cycle brings up what lives for the process (Node's own threads).
  ASSERT_EQ(Morvanta_Initialize(&c, nullptr), 0);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  const int baseline = ThreadCount();

  ASSERT_EQ(Morvanta_Initialize(&c, nullptr), 0);
  Heard heard;
  MorvantaGlobalEventListener l = ListenerFor(&heard);
  ASSERT_TRUE(AddAndWait(l));
  Emit("beforeRtcEngineInitialize", "'r'");
  ASSERT_TRUE(heard.WaitFor(1));
  // A burst still queued when the library goes down.
  SandboxEval("(function () { var L = globalThis.__morvantaGlobalEventListenerRef;"
              " for (var i = 0; i < 50; i++) L.beforeRtcEngineRelease('z' + i); return true; })()");
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  const size_t heardAtReturn = heard.Size();
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  EXPECT_EQ(heard.Size(), heardAtReturn);
  EXPECT_TRUE(WaitThreadCount(baseline)) << ThreadCount() << " threads, " << baseline << " before";
}

TEST(GlobalEventsLifecycle, AfterReinitializeTheOldRecordIsForgottenAndCanBeAddedAgain) {
  MorvantaInitConfig c = SandboxConfig();
  Heard heard;
  MorvantaGlobalEventListener l = ListenerFor(&heard);
  ASSERT_EQ(Morvanta_Initialize(&c, nullptr), 0);
  ASSERT_TRUE(AddAndWait(l));
  ASSERT_EQ(Morvanta_Uninitialize(), 0);

  ASSERT_EQ(Morvanta_Initialize(&c, nullptr), 0);
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), -1);
  ASSERT_TRUE(AddAndWait(l));
  Emit("afterRtcEngineInitialize", "'second-session'");
  EXPECT_EQ(HeardAfter(heard, 1, 0), std::vector<std::string>{"after:second-session"});

  // Removal reaches the listener of this session, not the one left behind
  // by the first: nothing is heard afterwards.
  EXPECT_EQ(Morvanta_RemoveGlobalEventListener(&l), 0);
  EXPECT_TRUE(WaitRegistered(false));
  EXPECT_EQ(Emit("beforeRtcEngineRelease", "'gone'"), 0);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  EXPECT_EQ(heard.Size(), 1u);
}

}  // namespace
