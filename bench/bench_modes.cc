// Both bridge modes side by side, one run: round trips (immediate, settling
// after setTimeout(0) and after 50 ms), 1,000 setTimeout(0) calls issued
// together, the latency of an immediate call issued 50 ms after a 2 s call,
// and the worker's idle CPU. Printed as a table on standard error (the
// library's log goes to standard output).
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "bridge/js_bridge.h"
#include "../tests/support/bridge_harness.h"

using namespace morvanta_test;
using morvanta::jsbridge::BridgeMode;
using Clock = std::chrono::steady_clock;

namespace {

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

double RoundTripP50(JSBridge& bridge, const std::string& code, int runs) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    const auto start = Clock::now();
    RunScript(bridge, code);
    times.push_back(Ms(Clock::now() - start));
  }
  return Median(times);
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

struct Row {
  double immediate, timeout0, timeout50, burstPerSec, behindSlow, idlePercent;
};

Row Measure(BridgeMode mode) {
  JSBridge bridge;
  JSBridgeConfig config;
  config.mode = mode;
  Row row{};
  if (!bridge.Initialize(config)) return row;
  row.immediate = RoundTripP50(bridge, "Promise.resolve(1)", 30);
  row.timeout0 = RoundTripP50(bridge, "new Promise(r => setTimeout(() => r(1), 0))", 30);
  row.timeout50 = RoundTripP50(bridge, "new Promise(r => setTimeout(() => r(1), 50))", 10);
  {
    const int n = mode == BridgeMode::Concurrent ? 1000 : 100;  // the compatible mode manages ~30/s
    std::vector<std::shared_ptr<Outcome>> all;
    const auto start = Clock::now();
    for (int i = 0; i < n; ++i) all.push_back(Submit(bridge, "new Promise(r => setTimeout(() => r(1), 0))"));
    for (auto& o : all) o->Wait(std::chrono::seconds(60));
    row.burstPerSec = n / (Ms(Clock::now() - start) / 1000.0);
  }
  {
    auto slow = Submit(bridge, "new Promise(r => setTimeout(() => r(1), 2000))");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto start = Clock::now();
    RunScript(bridge, "Promise.resolve(2)");
    row.behindSlow = Ms(Clock::now() - start);
    slow->Wait(std::chrono::seconds(5));
  }
  {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const double cpu = CpuSeconds();
    std::this_thread::sleep_for(std::chrono::seconds(3));
    row.idlePercent = (CpuSeconds() - cpu) / 3.0 * 100.0;
  }
  bridge.Shutdown();
  return row;
}

}  // namespace

int main() {
  const Row compatible = Measure(BridgeMode::Compatible);
  const Row concurrent = Measure(BridgeMode::Concurrent);
  std::fprintf(stderr, "%-44s %12s %12s\n", "", "compatible", "concurrent");
  std::fprintf(stderr, "%-44s %12.2f %12.2f\n", "immediate round trip p50 (ms)", compatible.immediate, concurrent.immediate);
  std::fprintf(stderr, "%-44s %12.2f %12.2f\n", "setTimeout(0) round trip p50 (ms)", compatible.timeout0, concurrent.timeout0);
  std::fprintf(stderr, "%-44s %12.2f %12.2f\n", "50 ms round trip p50 (ms)", compatible.timeout50, concurrent.timeout50);
  std::fprintf(stderr, "%-44s %12.0f %12.0f\n", "setTimeout(0) calls issued together (calls/s)", compatible.burstPerSec,
               concurrent.burstPerSec);
  std::fprintf(stderr, "%-44s %12.2f %12.2f\n", "immediate call 50 ms after a 2 s call (ms)", compatible.behindSlow,
               concurrent.behindSlow);
  std::fprintf(stderr, "%-44s %12.2f %12.2f\n", "idle CPU (% of a core)", compatible.idlePercent, concurrent.idlePercent);
  return 0;
}
