// Benchmarks of the meeting event channel, from the SDK firing an event to
// the host's C listener being called, through the public C interface.
//
//   Latency  events fired at an irregular 23 ms pace; for each, the time
//            from the JavaScript listener call to the C listener call.
//            Reported as median and 99th percentile in milliseconds. In the
//            compatible bridge mode the channel polls every 100 ms, so about
//            50 ms median and about 100 ms at the tail is the expected shape.
//   Flood    10,000 events a second for 10 seconds, fired in slices of 100
//            every 10 ms; counts what arrives, checks that it arrives in
//            order and without loss, and reports the delivered rate and the
//            process's resident memory before and after.
//
// The events come from the event probe of bench_support.h.
//
// The library logs to standard output by design; scripts/run-bench.sh sends
// it to a file and keeps the report (standard error).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <vector>

#include "bench_support.h"
#include "support/sandbox_config.h"

namespace {

using namespace morvanta_bench;

// One library, logged in and in a quiet meeting with the probe's listener.
class Session {
 public:
  bool Open() {
    MorvantaInitConfig c = morvanta_test::SandboxConfig("bench-app-key-0001");
    if (Morvanta_Initialize(&c, &sdk_) != 0) return false;
    return LogInQuietly() && meeting_.Open(sdk_);
  }
  void Close() {
    meeting_.Close();
    Morvanta_Uninitialize();
  }

 private:
  MorvantaSDK_T* sdk_ = nullptr;
  ProbeMeeting meeting_;
};

void BM_EventLatency(benchmark::State& state) {
  constexpr int kEvents = 200;
  for (auto _ : state) {
    ResetProbeEvents();
    StartFiring(kEvents, 1, 23);
    if (!WaitForProbeEvents(kEvents, std::chrono::seconds(60))) {
      state.SkipWithError("events did not all arrive");
      return;
    }
  }
  std::vector<double> latencies;
  {
    std::lock_guard<std::mutex> lock(g_probe_events.m);
    latencies = g_probe_events.latencies_ms;
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
    ResetProbeEvents();
    rssBefore = RssKiB();
    const auto start = Clock::now();
    StartFiring(kTotal, kRate / 100, 10);
    const bool all = WaitForProbeEvents(kTotal, std::chrono::seconds(kSeconds * 6));
    seconds = std::chrono::duration<double>(Clock::now() - start).count();
    rssAfter = RssKiB();
    if (!all) state.SkipWithError("events were lost or late");
  }
  std::lock_guard<std::mutex> lock(g_probe_events.m);
  state.counters["fired"] = kTotal;
  state.counters["delivered"] = static_cast<double>(g_probe_events.count);
  state.counters["out_of_order"] = static_cast<double>(g_probe_events.out_of_order);
  state.counters["delivered_per_s"] = static_cast<double>(g_probe_events.count) / seconds;
  state.counters["p99_ms"] = Percentile(g_probe_events.latencies_ms, 0.99);
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
