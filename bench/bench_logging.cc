// What the library's logging costs.
//
//   Line*       one log line of a typical shape (tag, text, a string, an
//               integer, a size) written to standard output, which
//               scripts/run-bench.sh sends to a file (BENCH_LOG=/dev/null to
//               drop it): per-line cost of formatting and writing.
//   LineBelowLevel  the same line with the level set to warning: what a
//               filtered line costs (it is not formatted).
//   CallBatch   1,000 immediate calls (password login) through the C
//               interface, answered and freed; the process's CPU time
//               (user + system, every thread) divided by the calls, at the
//               default level (the log going where standard output goes) and
//               at level warning, side by side.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <string>

#include "core/core_log.h"
#include "morvanta.h"
#include "runtime/log.h"
#include "support/sandbox_config.h"

namespace {

const std::string kUuid = "user-alice-0001";

void BM_LineInfo(benchmark::State& state) {
  size_t n = 0;
  for (auto _ : state)
    morvanta::log::Info("[AccountManager] ✅ Login succeeded for ", kUuid, " in task ", ++n, " (", 42, " ms)");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LineInfo);

void BM_LineCore(benchmark::State& state) {
  for (auto _ : state)
    morvanta::CoreLogLine("[JSDataConverter] Converted MvAccountInfo: userUuid=" + kUuid + ", nickname=Alice Archer");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LineCore);

#ifdef MORVANTA_LOG_WARNING
void BM_LineBelowLevel(benchmark::State& state) {
  Morvanta_SetLogLevel(MORVANTA_LOG_WARNING);
  size_t n = 0;
  for (auto _ : state)
    morvanta::log::Info("[AccountManager] ✅ Login succeeded for ", kUuid, " in task ", ++n, " (", 42, " ms)");
  Morvanta_SetLogLevel(MORVANTA_LOG_DEBUG);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LineBelowLevel);
#endif

double ProcessCpuSeconds() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

struct Batch {
  std::mutex m;
  std::condition_variable cv;
  int answered = 0;
  int failed = 0;
};

void OnLogin(int32_t code, const char*, MorvantaAccountInfo* info, void* user_data) {
  auto* batch = static_cast<Batch*>(user_data);
  Morvanta_FreeAccountInfo(info);
  std::lock_guard<std::mutex> lock(batch->m);
  if (code != 0) ++batch->failed;
  ++batch->answered;
  batch->cv.notify_all();
}

void BM_CallBatch(benchmark::State& state) {
  const int32_t level = static_cast<int32_t>(state.range(0));
  constexpr int kCalls = 1000;
#ifdef MORVANTA_LOG_WARNING
  Morvanta_SetLogLevel(level);
#else
  if (level != 0) {
    state.SkipWithError("no log levels in this build");
    return;
  }
#endif
  MorvantaInitConfig config = morvanta_test::SandboxConfig("bench-app-key-0001");
  MorvantaSDK_T* sdk = nullptr;
  if (Morvanta_Initialize(&config, &sdk) != 0) {
    state.SkipWithError("initialise failed");
    return;
  }
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  MorvantaLoginByPasswordOptions options{"alice", "alice-password"};
  double cpuPerCall = 0;
  for (auto _ : state) {
    Batch batch;
    const double cpu0 = ProcessCpuSeconds();
    for (int i = 0; i < kCalls; ++i) Morvanta_Account_LoginByPassword(account, &options, OnLogin, &batch);
    std::unique_lock<std::mutex> lock(batch.m);
    if (!batch.cv.wait_for(lock, std::chrono::seconds(120), [&] { return batch.answered == kCalls; })) {
      state.SkipWithError("batch not answered in time");
      break;
    }
    if (batch.failed) state.SkipWithError("some calls failed");
    cpuPerCall = (ProcessCpuSeconds() - cpu0) / kCalls;
  }
  state.counters["cpu_us_per_call"] = cpuPerCall * 1e6;
  Morvanta_DestroyAccountManagerHandle(account);
  Morvanta_Uninitialize();
#ifdef MORVANTA_LOG_WARNING
  Morvanta_SetLogLevel(MORVANTA_LOG_DEBUG);
#endif
}
// range(0): the level (0: the default, everything; 2: warning).
BENCHMARK(BM_CallBatch)->Arg(0)->Arg(2)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  // The library owns standard output; the report goes to standard error.
  benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
