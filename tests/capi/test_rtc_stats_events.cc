// The RTC statistics channel through the exported functions: statistics from
// the sandbox's meeting and records fired through the JavaScript listener the
// library installs, down to the C listener records.
#include <algorithm>
#include <atomic>
#include <future>

#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

const char* const kCycle[] = {"rtc", "localAudio", "remoteAudio", "localVideo", "remoteVideo", "quality"};

// Every kind, one text per call: the kind, then the fields.
MorvantaRtcStatsListener StatsListener(Heard* heard) {
  MorvantaRtcStatsListener l{};
  l.onRtcStats = [](const MorvantaRtcStats* s, void* ud) {
    Tell(ud, "rtc:" + Joined(",", s->duration, s->tx_bytes, s->rx_bytes, s->tx_audio_bytes, s->tx_video_bytes,
                             s->rx_audio_bytes, s->rx_video_bytes));
  };
  l.onLocalAudioStats = [](const MorvantaLocalAudioStats* s, void* ud) {
    Tell(ud, "localAudio:" + Joined(",", s->volume, s->num_channels, s->sent_sample_rate, s->sent_bitrate));
  };
  l.onRemoteAudioStats = [](const MorvantaRemoteAudioStats* s, uint32_t n, void* ud) {
    Tell(ud, Listed("remoteAudio:", s, n,
                    [](auto& x) { return Joined("/", x.user_uuid, x.volume, x.received_bitrate); }));
  };
  l.onLocalVideoStats = [](const MorvantaLocalVideoStats* s, void* ud) {
    Tell(ud, "localVideo:" + Joined(",", Joined("x", s->capture_width, s->capture_height),
                                    Joined("x", s->encoded_frame_width, s->encoded_frame_height),
                                    s->encoder_output_frame_rate, s->sent_frame_rate, s->sent_bitrate));
  };
  l.onRemoteVideoStats = [](const MorvantaRemoteVideoStats* s, uint32_t n, void* ud) {
    Tell(ud, Listed("remoteVideo:", s, n, [](auto& x) {
           return Joined("/", x.user_uuid, Joined("x", x.width, x.height), x.received_bitrate,
                         x.decoder_output_frame_rate, x.renderer_output_frame_rate);
         }));
  };
  l.onNetworkQuality = [](const MorvantaNetworkQualityInfo* s, uint32_t n, void* ud) {
    Tell(ud, Listed("quality:", s, n,
                    [](auto& x) { return Joined("/", x.user_uuid, x.uplink_quality, x.downlink_quality); }));
  };
  l.user_data = heard;
  return l;
}

std::string Kind(const std::string& event) { return event.substr(0, event.find(':')); }

constexpr char kRegistered[] = "__morvantaRtcStatsListenerRegistered";
bool WaitRegistered(bool registered = true) { return morvanta_test::WaitRegistered(kRegistered, registered); }
void Fire(const std::string& statements) { FireOn("__morvantaRtcStatsListenerRef", statements); }

// A native listener that counts what reaches it.
struct CountingListener : morvanta::IMvRtcStatsListener {
  std::atomic<int> calls{0};
  void OnRtcStats(const morvanta::MvRtcStats&) override { ++calls; }
  void OnLocalAudioStats(const morvanta::MvLocalAudioStats&) override { ++calls; }
  void OnRemoteAudioStats(const std::vector<morvanta::MvRemoteAudioStats>&) override { ++calls; }
  void OnLocalVideoStats(const morvanta::MvLocalVideoStats&) override { ++calls; }
  void OnRemoteVideoStats(const std::vector<morvanta::MvRemoteVideoStats>&) override { ++calls; }
  void OnNetworkQuality(const std::vector<morvanta::MvNetworkQualityInfo>&) override { ++calls; }
};

using RtcStatsApi = ListeningApi<MorvantaRtcStatsListener, StatsListener, Morvanta_Meeting_AddRtcStatsListener, WaitRegistered>;

}  // namespace

TEST_F(RtcStatsApi, TheSandboxsRoundsReachCInOrderWithEveryKind) {
  ASSERT_TRUE(EnterMeeting(30));
  Listen();
  EXPECT_TRUE(WaitUntilJs("typeof globalThis.__morvantaNotifyRtcStatsEvent === 'function'"));
  ASSERT_TRUE(heard.WaitFor(18));
  std::vector<std::string> events = heard.Copy();
  size_t start = 0;
  while (start < events.size() && Kind(events[start]) != "rtc") ++start;
  ASSERT_LT(start + 12, events.size());
  for (size_t i = start; i < start + 12; ++i) EXPECT_EQ(Kind(events[i]), kCycle[(i - start) % 6]) << i;
  // Three in the room, the local user included; the sandbox's scale is 1..3.
  const std::string& quality = events[start + 5];
  EXPECT_EQ(quality.rfind("quality:3,", 0), 0u) << quality;
  EXPECT_NE(quality.find("local-user/"), std::string::npos) << quality;
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &l), 0);
}

TEST_F(RtcStatsApi, FieldsAreTruncatedAndListsTakeSingleObjectsAndSkipNonObjects) {
  Listen();
  Fire("L.onRtcStats({duration: 5000000000.9, txBytes: 10.7, rxBytes: -3.9, txAudioBytes: '12', rxVideoBytes: 9});"
       " L.onLocalAudioStats({volume: 55, numChannels: 2, sentSampleRate: 48000, sentBitrate: 31.5});"
       " L.onRemoteAudioStats({userUuid: 'solo', volume: 7, receivedBitrate: 30});"
       " L.onLocalVideoStats({captureWidth: 1280, captureHeight: 720, encodedFrameWidth: 640,"
       " encodedFrameHeight: 360, encoderOutputFrameRate: 29.97, sentFrameRate: 30, sentBitrate: 900});"
       " L.onRemoteVideoStats([{userUuid: 'a', width: 640, height: 360, receivedBitrate: 550,"
       " decoderOutputFrameRate: 24, rendererOutputFrameRate: 23}, 7, null, {userUuid: 'b'}]);"
       " L.onNetworkQuality([]);"
       " L.onNetworkQuality([{userUuid: 'u1', uplinkQuality: 1, downlinkQuality: 2}, 'u2']);");
  const std::vector<std::string> expected = {
      "rtc:5000000000,10,-3,0,0,0,9",
      "localAudio:55,2,48000,31",
      "remoteAudio:1,solo/7/30",
      "localVideo:1280x720,640x360,29,30,900",
      "remoteVideo:2,a/640x360/550/24/23,b/0x0/0/0/0",
      "quality:0",
      "quality:1,u1/1/2",
  };
  EXPECT_EQ(HeardAfter(heard, expected.size()), expected);
}

TEST_F(RtcStatsApi, ConcurrentOnlyAPushWakesTheChannelAheadOfItsFallbackPoll) {
  Listen();
  // Each record is fired just after the previous one was delivered, so the
  // channel's next poll is a whole fallback period (1 s) away: only the
  // push's wake-up brings it sooner.
  std::vector<double> latencies_ms;
  for (int i = 1; i <= 5; ++i) {
    const auto fired = std::chrono::steady_clock::now();
    Fire("L.onRtcStats({duration: " + std::to_string(i) + "});");
    ASSERT_TRUE(heard.WaitFor(i, std::chrono::seconds(5))) << i;
    latencies_ms.push_back(
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - fired).count());
  }
  std::sort(latencies_ms.begin(), latencies_ms.end());
  EXPECT_LT(latencies_ms[2], 500.0);  // the median
  EXPECT_EQ(heard.Copy().back(), "rtc:5,0,0,0,0,0,0");
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &l), 0);
}

TEST_F(RtcStatsApi, MalformedRecordsAreDroppedWithTheirLineAndTheBatchGoesOn) {
  Listen();
  const std::string log = LogOf([&] {
    SandboxEval(
        "(function () { var a = globalThis.__morvantaRtcStatsCallbacks;"
        " a.push(5);"
        " a.push({data: {}});"
        " a.push({type: 7, data: {}});"
        " a.push({type: 'onRtcStats'});"
        " a.push({type: 'onRtcStats', data: [1, 2]});"
        " a.push({type: 'onNetworkQuality', data: 'u1'});"
        " a.push({type: 'onSomethingNew', data: {}});"
        " a.push({type: 'onLocalAudioStats', data: {volume: 3}});"
        " return true; })()");
    HeardAfter(heard, 1);
  });
  EXPECT_EQ(heard.Copy(), std::vector<std::string>{"localAudio:3,0,0,0"});
  for (const char* line : {
           "[MeetingManager] ❌ ProcessSingleRtcStatsEvent: Expected object, got type 3",
           "[MeetingManager] ❌ ProcessSingleRtcStatsEvent: Missing or invalid 'type' field",
           "[MeetingManager] ❌ ProcessSingleRtcStatsEvent: Missing 'data' field",
           "[MeetingManager] ❌ onRtcStats: Expected object, got type 5",
           "[MeetingManager] ❌ onNetworkQuality: Expected array or object, got type 4",
           "[MeetingManager] ⚠️ Unknown RTC stats event type: onSomethingNew",
       })
    EXPECT_NE(log.find(line), std::string::npos) << line;
}

TEST_F(RtcStatsApi, RefusedArgumentsReturnMinusOne) {
  l = StatsListener(&heard);
  MorvantaMeetingManager_T empty{};
  EXPECT_EQ(Morvanta_Meeting_AddRtcStatsListener(nullptr, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_AddRtcStatsListener(&empty, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_AddRtcStatsListener(meeting, nullptr), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &l), -1);  // never added
  EXPECT_EQ(Manager().RtcStatsListenerCount(), 0u);
  ASSERT_EQ(Morvanta_Meeting_AddRtcStatsListener(meeting, &l), 0);
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(nullptr, &l), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, nullptr), -1);
  MorvantaRtcStatsListener other = l;
  other.user_data = &other;  // differs in user_data alone
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &other), -1);
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &l), 0);
  EXPECT_EQ(Manager().RtcStatsListenerCount(), 0u);
}

TEST_F(RtcStatsApi, ARefusedRegistrationPopsTheLastNativeListener) {
  CountingListener first, second;
  Manager().AddRtcStatsListener(&first);
  ASSERT_TRUE(WaitRegistered());
  for (int i = 0; i < 100 && !Manager().RtcStatsEventsRunning(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_TRUE(Manager().RtcStatsEventsRunning());
  // The SDK now refuses: the second add detaches, then fails to register.
  SandboxEval("(morVantaMeeting.getMeetingManager().addRtcStatsListener = undefined, true)");
  Manager().AddRtcStatsListener(&second);
  ASSERT_TRUE(WaitUntilJs("true"));
  for (int i = 0; i < 100 && Manager().RtcStatsListenerCount() != 1; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(Manager().RtcStatsListenerCount(), 1u);
  EXPECT_FALSE(SandboxFlag("globalThis.__morvantaRtcStatsListenerRegistered === true"));
  // The one left is the first: removing the second changes nothing.
  Manager().RemoveRtcStatsListener(&second);
  EXPECT_EQ(Manager().RtcStatsListenerCount(), 1u);
  Manager().RemoveRtcStatsListener(&first);
  EXPECT_EQ(Manager().RtcStatsListenerCount(), 0u);
}

TEST_F(RtcStatsApi, RemovingTheLastListenerDropsWhatIsQueued) {
  Listen();
  // Queue a batch while the worker is held, so no drain can take it before
  // the removal.
  std::promise<void> ran;
  morvanta::capi::g_bridge->ExecuteJS(
      "(function () { var L = globalThis.__morvantaRtcStatsListenerRef;"
      " for (var i = 0; i < 5; i++) L.onLocalAudioStats({volume: i});"
      " var t = Date.now(); while (Date.now() - t < 300) {} return true; })()",
      [&ran](const morvanta::JSResult&) { ran.set_value(); });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ASSERT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &l), 0);
  ASSERT_EQ(ran.get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready);
  EXPECT_TRUE(WaitRegistered(false));
  EXPECT_EQ(SandboxNumber("globalThis.__morvantaRtcStatsCallbacks.length"), 0);
  EXPECT_TRUE(SandboxFlag("globalThis.__morvantaRtcStatsListenerRef === null"));
  // The handler stays defined for a later registration.
  EXPECT_TRUE(SandboxFlag("typeof globalThis.__morvantaNotifyRtcStatsEvent === 'function'"));
  std::this_thread::sleep_for(std::chrono::milliseconds(250));
  EXPECT_EQ(heard.Size(), 0u);
  EXPECT_FALSE(Manager().RtcStatsEventsRunning());
}

TEST_F(RtcStatsApi, AddAndRemoveFromManyThreadsNeitherDeadlocksNorReordersARound) {
  ASSERT_TRUE(EnterMeeting(15));
  Heard steady;
  MorvantaRtcStatsListener main = StatsListener(&steady);
  ASSERT_EQ(Morvanta_Meeting_AddRtcStatsListener(meeting, &main), 0);
  ASSERT_TRUE(steady.WaitFor(6));

  std::atomic<bool> stop{false};
  auto churn = [&](int id) {
    Heard mine;
    MorvantaRtcStatsListener l = StatsListener(&mine);
    l.user_data = &mine;
    while (!stop) {
      EXPECT_EQ(Morvanta_Meeting_AddRtcStatsListener(meeting, &l), 0) << id;
      std::this_thread::sleep_for(std::chrono::milliseconds(5 + id));
      EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &l), 0) << id;
    }
  };
  // A native listener beside the C layer's wrapper: each of its adds
  // detaches and re-registers the JavaScript listener while rounds flow.
  auto reattach = [&] {
    CountingListener native;
    while (!stop) {
      Manager().AddRtcStatsListener(&native);
      std::this_thread::sleep_for(std::chrono::milliseconds(40));
      Manager().RemoveRtcStatsListener(&native);
    }
  };
  std::vector<std::future<void>> workers;
  for (int i = 0; i < 3; ++i) workers.push_back(std::async(std::launch::async, churn, i));
  workers.push_back(std::async(std::launch::async, reattach));
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));
  stop = true;
  for (auto& w : workers) ASSERT_EQ(w.wait_for(std::chrono::seconds(10)), std::future_status::ready);

  // Each round is fired at once and drained whole: what arrives of it is in
  // its order, though a stop may cut its end.
  const std::vector<std::string> events = steady.Copy();
  size_t at = 0;
  for (const std::string& e : events) {
    if (Kind(e) == "rtc") at = 0;
    ASSERT_LT(at, 6u);
    EXPECT_EQ(Kind(e), kCycle[at]);
    ++at;
  }
  // The channel is still alive.
  const size_t before = steady.Size();
  EXPECT_TRUE(steady.WaitFor(before + 6));
  EXPECT_EQ(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &main), 0);
}

TEST(RtcStatsTeardown, UninitializeWithLiveListenersLeavesNoThreadAndNoLateCall) {
  Heard heard;
  MorvantaRtcStatsListener l = StatsListener(&heard);
  ExpectCleanTeardown(heard, [&](MorvantaMeetingManager_T* meeting) {
    ASSERT_TRUE(EnterMeeting(10));
    ASSERT_EQ(Morvanta_Meeting_AddRtcStatsListener(meeting, &l), 0);
    ASSERT_TRUE(heard.WaitFor(12));  // still flowing at the uninitialise
  });
}
