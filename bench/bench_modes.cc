// Both bridge modes side by side, in one process, through the public C
// interface: one session per mode (Morvanta_SetBridgeMode between
// Morvanta_Uninitialize and Morvanta_Initialize), each measuring
//
//   - the round trip of Morvanta_Account_UpdateNickname answered at once,
//     after setTimeout(0) and after 50 ms (the sandbox's delayMs override;
//     Node runs any delay under 1 ms as setTimeout(fn, 0));
//   - 1,000 such setTimeout(0) calls issued together, in calls/s;
//   - an immediate call issued 50 ms after a call that settles in 2 s;
//   - event latency from the SDK's listener call to the C listener (200
//     events at a 23 ms pace), and a flood of 10,000 events/s for 5 s: how
//     many were lost and how many arrived out of order;
//   - idle CPU of the whole process over 3 s (6 s after the last work), with no listener and with a
//     meeting listener registered.
//
// The table (with the concurrent mode's targets) goes to standard error; the
// library's log goes to standard output. Options: --runs=N measures each
// mode N times and prints the median of each row; --benchmark_out=FILE
// (which scripts/run-bench.sh passes) also writes the table as JSON. Other
// --benchmark_* options are ignored.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "support/sandbox_config.h"

using namespace morvanta_bench;

namespace {

constexpr char kNicknamePath[] = "account.updateNickname";
constexpr int kFloodRate = 10000;
constexpr int kFloodSeconds = 5;

// One measured quantity: its label, how a run of each mode fared, and the
// concurrent mode's target (`at_most` false: at least).
struct Metric {
  const char* label;
  const char* format;
  double target;
  bool at_most;
  std::vector<double> compatible;
  std::vector<double> concurrent;
};

enum MetricIndex {
  kImmediate,
  kTimeout0,
  kTimeout50,
  kBurst,
  kBehindSlow,
  kEventP50,
  kEventP99,
  kFloodLost,
  kFloodOutOfOrder,
  kIdle,
  kIdleListening,
  kMetricCount
};

std::vector<Metric> MakeMetrics() {
  return {
      {"immediate round trip p50 (ms)", "%.2f", -1, true, {}, {}},
      {"setTimeout(0) round trip p50 (ms)", "%.2f", 1.5, true, {}, {}},
      {"50 ms round trip p50 (ms)", "%.2f", 53, true, {}, {}},
      {"1,000 setTimeout(0) calls together (calls/s)", "%.0f", 10000, false, {}, {}},
      {"immediate call 50 ms after a 2 s call (ms)", "%.2f", 5, true, {}, {}},
      {"event latency p50 (ms)", "%.2f", 2, true, {}, {}},
      {"event latency p99 (ms)", "%.2f", 10, true, {}, {}},
      {"flood 10,000 events/s for 5 s: lost", "%.0f", 0, true, {}, {}},
      {"flood: out of order", "%.0f", 0, true, {}, {}},
      {"idle CPU, no listener (% of a core)", "%.2f", 0.3, true, {}, {}},
      {"idle CPU, meeting listener (% of a core)", "%.2f", 0.3, true, {}, {}},
  };
}

void SetNicknameOverride(const std::string& rule) {
  Eval("(morVantaSandbox.override('" + std::string(kNicknamePath) + "', " + rule + "), true)");
}

// Issues the calls and waits for all of them; -1 when they did not all
// succeed within `limit`, else the milliseconds from the first issue to the
// last answer.
double RunCalls(MorvantaAccountManager_T* account, size_t n, std::chrono::seconds limit,
                std::vector<double>* latencies = nullptr) {
  const auto start = Clock::now();
  auto group = IssueNicknames(account, n, [](size_t) { return std::string("bench"); });
  if (!group || !group->Wait(limit) || group->failures.load() > 0) return -1;
  const double took = Ms(Clock::now() - start);
  if (latencies) latencies->insert(latencies->end(), group->latency_ms.begin(), group->latency_ms.end());
  return took;
}

// p50 of `runs` calls issued one after the other; -1 on a failed call.
double RoundTripP50(MorvantaAccountManager_T* account, int runs) {
  std::vector<double> latencies;
  for (int i = 0; i < runs; ++i)
    if (RunCalls(account, 1, std::chrono::seconds(20), &latencies) < 0) return -1;
  return Percentile(latencies, 0.5);
}

// Idle means settled: for some seconds after a burst of calls V8 still
// collects and compiles on its own threads (about 0.4 % of a core 3 to 6 s
// after 1,000 calls), so the window starts 6 s after the last work.
double IdleCpuPercent() {
  std::this_thread::sleep_for(std::chrono::seconds(6));
  const double cpu = CpuMicros();
  const auto start = Clock::now();
  std::this_thread::sleep_for(std::chrono::seconds(3));
  return (CpuMicros() - cpu) / (Ms(Clock::now() - start) * 1000.0) * 100.0;
}

// One session in `mode`: every metric once, into `values` (NaN-free; -1
// marks a measurement that failed). False when the session could not start.
bool MeasureSession(int32_t mode, std::vector<double>& values) {
  values.assign(kMetricCount, -1);
  if (Morvanta_SetBridgeMode(mode) != 0) return false;
  MorvantaInitConfig config = morvanta_test::SandboxConfig("bench-app-key-0001");
  MorvantaSDK_T* sdk = nullptr;
  if (Morvanta_Initialize(&config, &sdk) != 0) return false;
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  if (!LogInQuietly() || !account) {
    Morvanta_Uninitialize();
    return false;
  }
  const bool concurrent = mode == MORVANTA_BRIDGE_MODE_CONCURRENT;
  RunCalls(account, 10, std::chrono::seconds(20));  // warm-up

  values[kImmediate] = RoundTripP50(account, 200);
  SetNicknameOverride("{delayMs: 0.001}");
  values[kTimeout0] = RoundTripP50(account, concurrent ? 200 : 60);
  SetNicknameOverride("{delayMs: 50}");
  values[kTimeout50] = RoundTripP50(account, 20);

  // The compatible mode answers one call at a time (about 30 s for the
  // 1,000): one batch there, the median of five in the concurrent mode.
  SetNicknameOverride("{delayMs: 0.001}");
  std::vector<double> rates;
  for (int batch = 0; batch < (concurrent ? 5 : 1); ++batch) {
    const double took = RunCalls(account, 1000, std::chrono::seconds(90));
    if (took > 0) rates.push_back(1000 / (took / 1000.0));
  }
  if (!rates.empty()) values[kBurst] = Percentile(rates, 0.5);

  std::vector<double> behind;
  for (int round = 0; round < 3; ++round) {
    SetNicknameOverride("{delayMs: 2000, times: 1}");
    auto slow = IssueNicknames(account, 1, [](size_t) { return std::string("slow"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::vector<double> latency;
    if (slow && RunCalls(account, 1, std::chrono::seconds(20), &latency) >= 0) behind.push_back(latency[0]);
    if (slow) slow->Wait(std::chrono::seconds(20));
  }
  if (behind.size() == 3) values[kBehindSlow] = Percentile(behind, 0.5);
  SetNicknameOverride("null");

  values[kIdle] = IdleCpuPercent();

  ProbeMeeting meeting;
  if (meeting.Open(sdk)) {
    const EventFigures events = MeasureEvents(kFloodRate, kFloodSeconds);
    values[kEventP50] = events.p50;
    values[kEventP99] = events.p99;
    values[kFloodLost] = events.lost;
    values[kFloodOutOfOrder] = events.out_of_order;
    values[kIdleListening] = IdleCpuPercent();
    meeting.Close();
  }
  Morvanta_DestroyAccountManagerHandle(account);
  Morvanta_Uninitialize();
  return true;
}

// The median of a row's runs, or -1 when any run failed it.
double Median(const std::vector<double>& runs) {
  if (runs.empty() || std::any_of(runs.begin(), runs.end(), [](double v) { return v < 0; })) return -1;
  return Percentile(runs, 0.5);
}

std::string Shown(const Metric& m, double value) {
  if (value < 0) return "failed";
  char text[32];
  std::snprintf(text, sizeof text, m.format, value);
  return text;
}

std::string Target(const Metric& m) {
  if (m.target < 0) return "";
  return std::string(m.at_most ? "<= " : ">= ") + Shown(m, m.target);
}

const char* Verdict(const Metric& m, double value) {
  if (m.target < 0) return "";
  if (value < 0) return "miss";
  return (m.at_most ? value <= m.target : value >= m.target) ? "met" : "miss";
}

void WriteJson(const std::string& path, const std::vector<Metric>& metrics, int runs) {
  std::ofstream out(path);
  if (!out) return;
  out << "{\n  \"benchmark\": \"bench_modes\",\n  \"runs_per_mode\": " << runs << ",\n  \"cores\": "
      << std::thread::hardware_concurrency() << ",\n  \"rows\": [\n";
  for (size_t i = 0; i < metrics.size(); ++i) {
    const Metric& m = metrics[i];
    out << "    {\"name\": \"" << m.label << "\", \"compatible\": " << Median(m.compatible)
        << ", \"concurrent\": " << Median(m.concurrent) << ", \"target\": \"" << Target(m) << "\", \"verdict\": \""
        << Verdict(m, Median(m.concurrent)) << "\"}" << (i + 1 < metrics.size() ? "," : "") << "\n";
  }
  out << "  ]\n}\n";
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 1;
  std::string json;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--runs=", 7) == 0) runs = std::max(1, std::atoi(argv[i] + 7));
    else if (std::strncmp(argv[i], "--benchmark_out=", 16) == 0) json = argv[i] + 16;
  }
  std::vector<Metric> metrics = MakeMetrics();
  for (int run = 0; run < runs; ++run) {
    for (int32_t mode : {MORVANTA_BRIDGE_MODE_COMPATIBLE, MORVANTA_BRIDGE_MODE_CONCURRENT}) {
      std::vector<double> values;
      if (!MeasureSession(mode, values)) {
        std::fprintf(stderr, "bench_modes: a session in mode %d could not start\n", mode);
        return 1;
      }
      for (size_t i = 0; i < metrics.size(); ++i)
        (mode == MORVANTA_BRIDGE_MODE_CONCURRENT ? metrics[i].concurrent : metrics[i].compatible).push_back(values[i]);
    }
  }
  Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_DEFAULT);
  std::fprintf(stderr, "bench_modes: %d run(s) per mode, medians; %u cores\n", runs,
               std::thread::hardware_concurrency());
  std::fprintf(stderr, "%-46s %11s %11s %10s %5s\n", "", "compatible", "concurrent", "target", "");
  for (const Metric& m : metrics) {
    const double concurrent = Median(m.concurrent);
    std::fprintf(stderr, "%-46s %11s %11s %10s %5s\n", m.label, Shown(m, Median(m.compatible)).c_str(),
                 Shown(m, concurrent).c_str(), Target(m).c_str(), Verdict(m, concurrent));
  }
  if (!json.empty()) WriteJson(json, metrics, runs);
  return 0;
}
