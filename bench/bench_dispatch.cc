// Host dispatch against worker dispatch, both in the concurrent bridge mode,
// through the public C interface: one session per dispatch mode. In host
// dispatch a host thread sleeps in poll() on Morvanta_GetDispatchFd and
// calls Morvanta_Dispatch(0) whenever it is readable, as a main loop would.
// Each session measures
//
//   - the round trip of Morvanta_Account_UpdateNickname answered at once
//     (from the call to its callback, wherever that runs);
//   - event latency from the SDK's listener call to the C listener (200
//     events at a 23 ms pace), p50 and p99;
//   - a flood of 10,000 events/s for 5 s: how many were lost and how many
//     arrived out of order;
//   - host dispatch only: the cost of Morvanta_Dispatch per item, with
//     100,000 listener calls waiting (the listener only counts).
//
// The table, with host dispatch's targets, goes to standard error; the
// library's log to standard output. --benchmark_out=FILE also writes the
// table as JSON; other --benchmark_* options are ignored.
#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "capi/dispatch_queue.h"
#include "support/sandbox_config.h"

using namespace morvanta_bench;

namespace {

constexpr int kFloodRate = 10000;
constexpr int kFloodSeconds = 5;
constexpr int kWaiting = 100000;

struct Row {
  const char* label;
  const char* format;
  double target;  // for host dispatch, at most; negative: none
  double worker = -1;
  double host = -1;
};

enum RowIndex { kRoundTrip, kEventP50, kEventP99, kFloodLost, kFloodOutOfOrder, kDispatchCost, kRowCount };

std::vector<Row> MakeRows() {
  return {
      {"immediate round trip p50 (ms)", "%.3f", 0.3},
      {"event latency p50 (ms)", "%.3f", 1},
      {"event latency p99 (ms)", "%.3f", 5},
      {"flood 10,000 events/s for 5 s: lost", "%.0f", 0},
      {"flood: out of order", "%.0f", 0},
      {"Morvanta_Dispatch per item, 100,000 waiting (us)", "%.3f", 1},
  };
}

// The host's main loop on a thread of its own: poll, then dispatch.
class HostLoop {
 public:
  void Start() {
    fd_ = Morvanta_GetDispatchFd();
    thread_ = std::thread([this] {
      while (!stop_) {
        if (paused_) {  // the descriptor stays readable: do not spin on it
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
          continue;
        }
        pollfd p{fd_, POLLIN, 0};
        ::poll(&p, 1, 50);
        Morvanta_Dispatch(0);
      }
    });
  }
  void Pause(bool paused) { paused_ = paused; }
  void Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

 private:
  int fd_ = -1;
  std::atomic<bool> stop_{false};
  std::atomic<bool> paused_{false};
  std::thread thread_;
};

double RoundTripP50(MorvantaAccountManager_T* account, int runs) {
  std::vector<double> latencies;
  for (int i = 0; i < runs; ++i) {
    auto group = IssueNicknames(account, 1, [](size_t) { return std::string("bench"); });
    if (!group || !group->Wait(std::chrono::seconds(20)) || group->failures.load() > 0) return -1;
    latencies.push_back(group->latency_ms[0]);
  }
  return Percentile(latencies, 0.5);
}

std::atomic<long> g_counted{0};
void CountOnly(const char*, bool, void*) { g_counted.fetch_add(1, std::memory_order_relaxed); }

// 100,000 listener calls wait (the loop paused); one Morvanta_Dispatch runs
// them. Microseconds per item, or -1.
double DispatchCostPerItem(MorvantaSDK_T* sdk, HostLoop& loop) {
  MorvantaMeetingManager_T* meeting = Morvanta_GetMeetingManager(sdk);
  MorvantaMeetingListener counter{};
  counter.onMemberAudioMuteChanged = CountOnly;
  if (Morvanta_Meeting_AddMeetingListener(meeting, &counter) != 0) return -1;
  loop.Pause(true);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  Morvanta_Dispatch(0);  // what was already there
  auto& queue = morvanta::capi::DispatchQueue::Instance();
  const size_t before = queue.Size();
  Eval("(function () { var L = globalThis.__morvantaMeetingListenerRef;"
       " for (var i = 0; i < " + std::to_string(kWaiting) + "; i++)"
       " L.onMemberAudioMuteChanged({uuid: 'x'}, true, null); return true; })()");
  const auto until = Clock::now() + std::chrono::seconds(120);
  while (queue.Size() < before + kWaiting && Clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  double per_item = -1;
  if (queue.Size() >= before + kWaiting) {
    g_counted = 0;
    const auto start = Clock::now();
    const int32_t ran = Morvanta_Dispatch(0);
    const double us = Ms(Clock::now() - start) * 1000.0;
    if (ran > 0 && g_counted.load() >= kWaiting) per_item = us / ran;
  }
  Morvanta_Meeting_RemoveMeetingListener(meeting, &counter);
  Morvanta_DestroyMeetingManagerHandle(meeting);
  loop.Pause(false);
  return per_item;
}

// One session in dispatch mode `mode`; false when it could not start.
bool MeasureSession(int32_t mode, std::vector<double>& values) {
  values.assign(kRowCount, -1);
  if (Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_CONCURRENT) != 0 || Morvanta_SetDispatchMode(mode) != 0)
    return false;
  MorvantaInitConfig config = morvanta_test::SandboxConfig("bench-app-key-0001");
  MorvantaSDK_T* sdk = nullptr;
  if (Morvanta_Initialize(&config, &sdk) != 0) return false;
  const bool host = mode == MORVANTA_DISPATCH_HOST;
  HostLoop loop;
  if (host) loop.Start();
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  if (!LogInQuietly() || !account) {
    loop.Stop();
    Morvanta_Uninitialize();
    return false;
  }
  RoundTripP50(account, 10);  // warm-up
  values[kRoundTrip] = RoundTripP50(account, 500);

  ProbeMeeting meeting;
  if (meeting.Open(sdk)) {
    const EventFigures events = MeasureEvents(kFloodRate, kFloodSeconds);
    values[kEventP50] = events.p50;
    values[kEventP99] = events.p99;
    values[kFloodLost] = events.lost;
    values[kFloodOutOfOrder] = events.out_of_order;
    meeting.Close();
  }
  if (host) values[kDispatchCost] = DispatchCostPerItem(sdk, loop);
  Morvanta_DestroyAccountManagerHandle(account);
  Morvanta_Uninitialize();
  loop.Stop();
  Morvanta_Dispatch(0);
  return true;
}

std::string Shown(const Row& r, double value) {
  if (value < 0) return "n/a";
  char text[32];
  std::snprintf(text, sizeof text, r.format, value);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  std::string json;
  for (int i = 1; i < argc; ++i)
    if (std::strncmp(argv[i], "--benchmark_out=", 16) == 0) json = argv[i] + 16;
  std::vector<Row> rows = MakeRows();
  for (int32_t mode : {MORVANTA_DISPATCH_WORKER, MORVANTA_DISPATCH_HOST}) {
    std::vector<double> values;
    if (!MeasureSession(mode, values)) {
      std::fprintf(stderr, "bench_dispatch: a session in dispatch mode %d could not start\n", mode);
      return 1;
    }
    for (size_t i = 0; i < rows.size(); ++i) (mode == MORVANTA_DISPATCH_HOST ? rows[i].host : rows[i].worker) = values[i];
  }
  Morvanta_SetDispatchMode(MORVANTA_DISPATCH_WORKER);
  Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_DEFAULT);
  std::fprintf(stderr, "bench_dispatch: concurrent bridge mode, one session per dispatch mode; %u cores\n",
               std::thread::hardware_concurrency());
  std::fprintf(stderr, "%-52s %10s %10s %10s %5s\n", "", "worker", "host", "target", "");
  std::ofstream out;
  if (!json.empty()) out.open(json);
  if (out) out << "{\n  \"benchmark\": \"bench_dispatch\",\n  \"rows\": [\n";
  for (size_t i = 0; i < rows.size(); ++i) {
    const Row& r = rows[i];
    const bool met = r.host >= 0 && r.host <= r.target;
    const std::string target = "<= " + Shown(r, r.target);
    std::fprintf(stderr, "%-52s %10s %10s %10s %5s\n", r.label, Shown(r, r.worker).c_str(), Shown(r, r.host).c_str(),
                 target.c_str(), met ? "met" : "miss");
    if (out)
      out << "    {\"name\": \"" << r.label << "\", \"worker\": " << r.worker << ", \"host\": " << r.host
          << ", \"target\": \"" << target << "\", \"verdict\": \"" << (met ? "met" : "miss") << "\"}"
          << (i + 1 < rows.size() ? "," : "") << "\n";
  }
  if (out) out << "  ]\n}\n";
  return 0;
}
