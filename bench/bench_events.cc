// Benchmarks of the meeting event channel, from the SDK firing an event to
// the host's C listener being called, through the public C interface.
//
//   Latency  events fired at an irregular 23 ms pace; for each, the time
//            from the JavaScript listener call to the C listener call.
//            Reported as median and 99th percentile in milliseconds. The
//            channel polls every 100 ms, so about 50 ms median and about
//            100 ms at the tail is the expected shape.
//   Flood    10,000 events a second for 10 seconds, fired in slices of 100
//            every 10 ms; counts what arrives, checks that it arrives in
//            order and without loss, and reports the delivered rate and the
//            process's resident memory before and after.
//
// The events are fired by calling the JavaScript listener object that the
// library installed on the SDK, exactly as the SDK does, with a member whose
// uuid carries the fire time (epoch milliseconds) and a serial number.
//
// The library logs to standard output by design; scripts/run-bench.sh sends
// it to a file and keeps the report (standard error).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "morvanta.h"
#include "support/sandbox_config.h"
#include "support/sandbox_eval.h"

namespace {

using Clock = std::chrono::steady_clock;

morvanta::JSValue Eval(const std::string& script) {
  return morvanta_test::SandboxEval(script, std::chrono::seconds(30));
}

long RssKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  return -1;
}

double EpochMs() {
  return std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// What the C listener saw. Written on the library's worker thread.
struct Received {
  std::mutex m;
  std::vector<double> latenciesMs;
  long long count = 0;
  long long nextSerial = 0;
  long long outOfOrder = 0;
};
Received g_received;

// uuid: "<fire epoch ms>#<serial>"
void OnAudioMute(const char* user_uuid, bool, void*) {
  const double now = EpochMs();
  const char* hash = std::strchr(user_uuid, '#');
  const double fired = std::atof(user_uuid);
  const long long serial = hash ? std::atoll(hash + 1) : -1;
  std::lock_guard<std::mutex> lock(g_received.m);
  g_received.latenciesMs.push_back(now - fired);
  if (serial != g_received.nextSerial) ++g_received.outOfOrder;
  g_received.nextSerial = serial + 1;
  ++g_received.count;
}

void ResetReceived() {
  std::lock_guard<std::mutex> lock(g_received.m);
  g_received.latenciesMs.clear();
  g_received.count = 0;
  g_received.nextSerial = 0;
  g_received.outOfOrder = 0;
}

long long ReceivedCount() {
  std::lock_guard<std::mutex> lock(g_received.m);
  return g_received.count;
}

// Starts firing `total` events on the worker: `perTick` every `tickMs`.
// Answers at once; the firing goes on from JavaScript timers.
void StartFiring(int total, int perTick, int tickMs) {
  char script[1024];
  std::snprintf(script, sizeof script,
                "(function () {"
                "  var sent = 0, total = %d, perTick = %d;"
                "  var fire = function () {"
                "    var ref = globalThis.__morvantaMeetingListenerRef;"
                "    for (var i = 0; i < perTick && sent < total; ++i, ++sent) {"
                "      var at = performance.timeOrigin + performance.now();"
                "      ref.onMemberAudioMuteChanged({uuid: at.toFixed(3) + '#' + sent, name: 'bench'}, true, null);"
                "    }"
                "    if (sent >= total) clearInterval(timer);"
                "  };"
                "  var timer = setInterval(fire, %d);"
                "  return true;"
                "})()",
                total, perTick, tickMs);
  Eval(script);
}

bool WaitForCount(long long want, std::chrono::seconds limit) {
  const auto until = Clock::now() + limit;
  while (ReceivedCount() < want && Clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return ReceivedCount() >= want;
}

double Percentile(std::vector<double> v, double p) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  const size_t i = std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size() - 1) + 0.5));
  return v[i];
}

// One library, logged in and in a quiet meeting with a meeting listener.
class Session {
 public:
  bool Open() {
    MorvantaInitConfig c = morvanta_test::SandboxConfig("bench-app-key-0001");
    if (Morvanta_Initialize(&c, &sdk_) != 0) return false;
    // No simulated members, no script, no statistics: only the bench's events.
    Eval("morVantaSandbox.configure({meeting: {memberCount: 0, script: [], rtcStatsIntervalMs: 0}})");
    Eval("morVantaMeeting.getAccountManager().loginByPassword({username: 'alice', password: 'alice-password'})");
    meeting_ = Morvanta_GetMeetingManager(sdk_);
    std::memset(&listener_, 0, sizeof listener_);
    listener_.onMemberAudioMuteChanged = OnAudioMute;
    if (!meeting_ || Morvanta_Meeting_AddMeetingListener(meeting_, &listener_) != 0) return false;
    Eval("morVantaMeeting.getMeetingManager().createMeeting({subject: 'bench'}).then(function () { return true; })");
    // Let the listener settle on the new meeting before firing.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    return Eval("globalThis.__morvantaMeetingListenerRef != null").IsBool();
  }
  void Close() {
    if (meeting_) {
      Morvanta_Meeting_RemoveMeetingListener(meeting_, &listener_);
      Morvanta_DestroyMeetingManagerHandle(meeting_);
    }
    Morvanta_Uninitialize();
  }

 private:
  MorvantaSDK_T* sdk_ = nullptr;
  MorvantaMeetingManager_T* meeting_ = nullptr;
  MorvantaMeetingListener listener_{};
};

void BM_EventLatency(benchmark::State& state) {
  constexpr int kEvents = 200;
  for (auto _ : state) {
    ResetReceived();
    StartFiring(kEvents, 1, 23);
    if (!WaitForCount(kEvents, std::chrono::seconds(60))) {
      state.SkipWithError("events did not all arrive");
      return;
    }
  }
  std::vector<double> latencies;
  {
    std::lock_guard<std::mutex> lock(g_received.m);
    latencies = g_received.latenciesMs;
  }
  state.counters["median_ms"] = Percentile(latencies, 0.5);
  state.counters["p99_ms"] = Percentile(latencies, 0.99);
  state.counters["max_ms"] = Percentile(latencies, 1.0);
  state.counters["events"] = static_cast<double>(latencies.size());
}
BENCHMARK(BM_EventLatency)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_EventFlood(benchmark::State& state) {
  constexpr int kRate = 10000;
  constexpr int kSeconds = 10;
  constexpr int kTotal = kRate * kSeconds;
  long rssBefore = 0, rssAfter = 0;
  double seconds = 0;
  for (auto _ : state) {
    ResetReceived();
    rssBefore = RssKiB();
    const auto start = Clock::now();
    StartFiring(kTotal, kRate / 100, 10);
    const bool all = WaitForCount(kTotal, std::chrono::seconds(kSeconds * 6));
    seconds = std::chrono::duration<double>(Clock::now() - start).count();
    rssAfter = RssKiB();
    if (!all) state.SkipWithError("events were lost or late");
  }
  std::lock_guard<std::mutex> lock(g_received.m);
  state.counters["fired"] = kTotal;
  state.counters["delivered"] = static_cast<double>(g_received.count);
  state.counters["out_of_order"] = static_cast<double>(g_received.outOfOrder);
  state.counters["delivered_per_s"] = static_cast<double>(g_received.count) / seconds;
  state.counters["p99_ms"] = Percentile(g_received.latenciesMs, 0.99);
  state.counters["rss_before_MiB"] = static_cast<double>(rssBefore) / 1024.0;
  state.counters["rss_after_MiB"] = static_cast<double>(rssAfter) / 1024.0;
}
BENCHMARK(BM_EventFlood)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Session session;
  if (!session.Open()) {
    std::fprintf(stderr, "bench_events: the library could not enter a meeting\n");
    return 1;
  }
  // The library owns standard output; the report goes to standard error.
  benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  session.Close();
  benchmark::Shutdown();
  return 0;
}
