// Benchmarks of the JS bridge as the product layer uses it: scripts go in
// through JSBridgeAdapter::ExecuteJS, the worker awaits each script's promise,
// and the answer comes back through the callback on the worker thread.
//
// Cases, each with the same script text on every call and with script text
// that differs per call (a serial number inside a string argument, as real
// calls carry ids and names):
//   RoundTrip  one call at a time, submit to callback
//   Batch1000  1,000 calls queued together, until the last callback
//   Rss100k    100,000 calls, VmRSS of the process before and after
// and two ways a promise settles: at once (Promise.resolve) and after a
// setTimeout(0).
//
// One bridge serves the whole process (Node.js starts once per process). The
// library logs to standard output by design, so the report goes to standard
// error; scripts/run-bench.sh sends standard output to a file.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bridge/js_bridge_adapter.h"

namespace {

using Clock = std::chrono::steady_clock;

morvanta::JSBridgeAdapter* g_adapter = nullptr;

// Every varied script takes the next number, so no text repeats within a run.
std::atomic<uint64_t> g_serial{0};

enum class Settle { AtOnce, AfterTimer };
enum class Text { Same, Varied };

constexpr size_t kBatchSize = 1000;
constexpr size_t kMemoryCalls = 100000;

// A varied call differs from the same-text call only in the digits of one
// string argument, so both cost the same apart from compiling a new text.
std::string Script(Settle settle, Text text) {
  char nickname[32];
  if (text == Text::Same) {
    std::snprintf(nickname, sizeof nickname, "bench-user-0000000");
  } else {
    std::snprintf(nickname, sizeof nickname, "bench-user-%07llu",
                  static_cast<unsigned long long>(g_serial.fetch_add(1) % 10000000ULL));
  }
  const std::string answer =
      std::string("{code: 0, message: \"success\", data: {nickname: \"") + nickname + "\"}}";
  if (settle == Settle::AtOnce) return "Promise.resolve(" + answer + ")";
  return "new Promise(function (resolve) { setTimeout(function () { resolve(" + answer + "); }, 0); })";
}

// Outcomes of a group of calls, shared with callbacks that may come late.
struct Calls {
  explicit Calls(size_t n) : latency_ns(n, -1), remaining(n) {}

  std::vector<int64_t> latency_ns;  // one slot per call, written once by its callback
  std::atomic<size_t> remaining;
  std::atomic<size_t> failures{0};
  std::mutex mutex;
  std::condition_variable cv;
  std::string first_error;

  void Deliver(size_t index, Clock::time_point submitted, const morvanta::JSResult& r) {
    latency_ns[index] = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - submitted).count();
    const bool ok = r.success && r.value.IsObject();
    std::lock_guard<std::mutex> lock(mutex);
    if (!ok && failures.fetch_add(1) == 0) first_error = r.success ? "unexpected answer" : r.error;
    if (remaining.fetch_sub(1) == 1) cv.notify_all();
  }

  bool Wait(std::chrono::seconds limit) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return remaining.load() == 0; });
  }
};

void Submit(const std::shared_ptr<Calls>& calls, size_t index, const std::string& script) {
  const Clock::time_point submitted = Clock::now();
  g_adapter->ExecuteJS(script, [calls, index, submitted](const morvanta::JSResult& r) {
    calls->Deliver(index, submitted, r);
  });
}

// Submits `n` scripts at once and waits for every answer. Returns false on a
// time-out or a failed call, after telling the benchmark why.
bool RunGroup(benchmark::State& state, Settle settle, Text text, size_t n, std::vector<int64_t>* latencies) {
  auto calls = std::make_shared<Calls>(n);
  std::vector<std::string> scripts;
  scripts.reserve(n);
  for (size_t i = 0; i < n; ++i) scripts.push_back(Script(settle, text));
  for (size_t i = 0; i < n; ++i) Submit(calls, i, scripts[i]);
  // A promise may hold the worker for 15 s; a group of timer calls takes
  // about 30 ms each (the polling step), so allow for both.
  const auto limit = std::chrono::seconds(20 + (settle == Settle::AfterTimer ? n / 20 : n / 200));
  if (!calls->Wait(limit)) {
    state.SkipWithError("calls not answered in time");
    return false;
  }
  if (calls->failures.load() > 0) {
    std::lock_guard<std::mutex> lock(calls->mutex);
    state.SkipWithError(("a call failed: " + calls->first_error).c_str());
    return false;
  }
  if (latencies) latencies->insert(latencies->end(), calls->latency_ns.begin(), calls->latency_ns.end());
  return true;
}

double Percentile(std::vector<int64_t> values, double fraction) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const size_t rank = static_cast<size_t>(fraction * static_cast<double>(values.size() - 1) + 0.5);
  return static_cast<double>(values[std::min(rank, values.size() - 1)]);
}

void ReportLatencies(benchmark::State& state, const std::vector<int64_t>& latencies) {
  state.counters["median_ms"] = Percentile(latencies, 0.50) / 1e6;
  state.counters["p99_ms"] = Percentile(latencies, 0.99) / 1e6;
  state.counters["min_ms"] = Percentile(latencies, 0.0) / 1e6;
  state.counters["max_ms"] = Percentile(latencies, 1.0) / 1e6;
}

// One call at a time: the time from ExecuteJS to the callback.
void BM_RoundTrip(benchmark::State& state, Settle settle, Text text) {
  std::vector<int64_t> latencies;
  latencies.reserve(static_cast<size_t>(state.max_iterations));
  for (auto _ : state) {
    if (!RunGroup(state, settle, text, 1, &latencies)) return;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  ReportLatencies(state, latencies);
}

// 1,000 calls queued together; an iteration ends with the last callback. The
// latency of a call counts from its own submission, so it includes its wait
// in the queue behind the others.
void BM_Batch(benchmark::State& state, Settle settle, Text text) {
  std::vector<int64_t> latencies;
  for (auto _ : state) {
    if (!RunGroup(state, settle, text, kBatchSize, &latencies)) return;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBatchSize));
  ReportLatencies(state, latencies);
}

// VmRSS (or another Vm* line) of this process, in KiB.
long ProcStatusKiB(const char* key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const size_t len = std::strlen(key);
  while (std::getline(status, line)) {
    if (line.compare(0, len, key) == 0 && line.size() > len && line[len] == ':') {
      return std::strtol(line.c_str() + len + 1, nullptr, 10);
    }
  }
  return -1;
}

// The JavaScript heap in use, asked of Node itself; -1 if it cannot say.
// With `collect`, a full garbage collection runs first, so that the figure
// counts what is still reachable rather than what has not been swept yet.
// (gc is not exposed by default; V8 lets a running isolate turn it on.)
double JsHeapUsedMiB(bool collect) {
  static const char* const kPlain = "Promise.resolve({heapUsed: process.memoryUsage().heapUsed})";
  static const char* const kCollect =
      "(function () {\n"
      "  if (typeof globalThis.__benchGc !== 'function') {\n"
      "    require('v8').setFlagsFromString('--expose-gc');\n"
      "    globalThis.__benchGc = require('vm').runInNewContext('gc');\n"
      "  }\n"
      "  globalThis.__benchGc();\n"
      "  return Promise.resolve({heapUsed: process.memoryUsage().heapUsed});\n"
      "})()";
  auto done = std::make_shared<Calls>(1);
  auto heap = std::make_shared<double>(-1.0);
  g_adapter->ExecuteJS(collect ? kCollect : kPlain, [done, heap](const morvanta::JSResult& r) {
    if (const morvanta::JSValue* v = r.value.Find("heapUsed")) {
      if (v->IsNumber()) *heap = v->numberValue / (1024.0 * 1024.0);
    }
    done->Deliver(0, Clock::now(), r);
  });
  if (!done->Wait(std::chrono::seconds(20))) return -1.0;
  return *heap;
}

double RssMiB() { return ProcStatusKiB("VmRSS") / 1024.0; }

struct MemoryTrace {
  std::string name;
  std::vector<std::pair<size_t, double>> rss_mib;  // calls so far, VmRSS
};
std::vector<MemoryTrace> g_memory_traces;

// 100,000 calls that settle at once, in groups of `group` calls submitted
// together (1: one call at a time, the way a host usually calls), with VmRSS
// sampled every 10,000 calls.
//
// Reading the figures: every distinct script text leaves an entry in V8's
// compilation cache (under 1 KiB), which an ordinary full collection keeps.
// The varied cases therefore grow until V8's memory reducer, which runs when
// the thread looks idle, empties the cache; same-text calls hit one entry.
void BM_Memory(benchmark::State& state, Text text, size_t group, const std::string& name) {
  MemoryTrace trace;
  trace.name = name;
  double rss_before = 0, rss_after = 0, rss_after_gc = 0;
  double heap_before = 0, heap_after = 0, heap_after_gc = 0;
  for (auto _ : state) {
    // The baseline starts from a collected heap, so that garbage of earlier
    // cases does not count against this one.
    heap_before = JsHeapUsedMiB(true);
    rss_before = RssMiB();
    trace.rss_mib.emplace_back(0, rss_before);
    for (size_t done = 0; done < kMemoryCalls; done += group) {
      if (!RunGroup(state, Settle::AtOnce, text, group, nullptr)) return;
      if ((done + group) % 10000 == 0) trace.rss_mib.emplace_back(done + group, RssMiB());
    }
    rss_after = RssMiB();
    heap_after = JsHeapUsedMiB(false);
    heap_after_gc = JsHeapUsedMiB(true);
    rss_after_gc = RssMiB();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kMemoryCalls));
  state.counters["group"] = static_cast<double>(group);
  state.counters["rss_before_MiB"] = rss_before;
  state.counters["rss_after_MiB"] = rss_after;
  state.counters["rss_growth_MiB"] = rss_after - rss_before;
  state.counters["rss_after_gc_MiB"] = rss_after_gc;
  state.counters["rss_peak_MiB"] = ProcStatusKiB("VmHWM") / 1024.0;
  state.counters["js_heap_before_MiB"] = heap_before;
  state.counters["js_heap_after_MiB"] = heap_after;
  state.counters["js_heap_after_gc_MiB"] = heap_after_gc;
  g_memory_traces.push_back(std::move(trace));
}

const char* SettleName(Settle s) { return s == Settle::AtOnce ? "settled_at_once" : "after_setTimeout0"; }
const char* TextName(Text t) { return t == Text::Same ? "same_text" : "varied_text"; }

void RegisterAll() {
  // Iteration counts are fixed so that the whole run stays within a few
  // minutes on two cores: a timer call costs about one 30 ms polling step.
  for (Settle settle : {Settle::AtOnce, Settle::AfterTimer}) {
    for (Text text : {Text::Same, Text::Varied}) {
      const std::string suffix = std::string("/") + SettleName(settle) + "/" + TextName(text);
      benchmark::RegisterBenchmark(("RoundTrip" + suffix).c_str(), BM_RoundTrip, settle, text)
          ->Iterations(settle == Settle::AtOnce ? 1000 : 200)
          ->UseRealTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
  for (Settle settle : {Settle::AtOnce, Settle::AfterTimer}) {
    for (Text text : {Text::Same, Text::Varied}) {
      const std::string suffix = std::string("/") + SettleName(settle) + "/" + TextName(text);
      benchmark::RegisterBenchmark(("Batch1000" + suffix).c_str(), BM_Batch, settle, text)
          ->Iterations(settle == Settle::AtOnce ? 20 : 1)
          ->UseRealTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
  // One call at a time first (a few minutes at about 2.5 ms a call), so that
  // it starts from a heap that earlier memory cases have not filled, then
  // the batched cases (about ten seconds each).
  struct MemoryCase {
    Text text;
    size_t group;
  };
  for (MemoryCase c : {MemoryCase{Text::Varied, 1}, MemoryCase{Text::Same, kBatchSize},
                       MemoryCase{Text::Varied, kBatchSize}}) {
    const std::string name = std::string("Rss100k/") + (c.group == 1 ? "one_at_a_time/" : "batches_of_1000/") +
                             TextName(c.text);
    benchmark::RegisterBenchmark(name.c_str(), BM_Memory, c.text, c.group, name)
        ->Iterations(1)
        ->UseRealTime()
        ->Unit(benchmark::kSecond);
  }
}

// The usual console table, followed by a short summary that reads without
// the counter columns.
class Reporter : public benchmark::ConsoleReporter {
 public:
  Reporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) kept_.push_back(run);
  }

  void Finalize() override {
    std::ostream& out = GetOutputStream();
    char line[256];
    out << "\nSummary: latency of a call from ExecuteJS to its callback (in a batch, counted from its own\n"
           "submission, so it includes the wait behind earlier calls); calls/s over the whole case\n";
    std::snprintf(line, sizeof line, "  %-42s %10s %10s %10s %12s %14s\n", "case", "min ms", "median ms", "p99 ms",
                  "calls/s", "ms/iteration");
    out << line;
    for (const Run& run : kept_) {
      const std::string name = run.run_name.function_name;
      if (run.error_occurred) {
        out << "  " << name << ": FAILED (" << run.error_message << ")\n";
        continue;
      }
      if (name.rfind("Rss100k", 0) == 0) continue;
      std::snprintf(line, sizeof line, "  %-42s %10.2f %10.2f %10.2f %12.0f %14.1f\n", name.c_str(),
                    Value(run, "min_ms"), Value(run, "median_ms"), Value(run, "p99_ms"),
                    Value(run, "items_per_second"), run.GetAdjustedRealTime());
      out << line;
    }
    for (const Run& run : kept_) {
      const std::string name = run.run_name.function_name;
      if (run.error_occurred || name.rfind("Rss100k", 0) != 0) continue;
      std::snprintf(line, sizeof line,
                    "\n  %s: %zu calls, %.0f calls/s\n"
                    "    VmRSS %.1f MiB before, %.1f MiB after (%+.1f MiB); %.1f MiB after a full GC; peak %.1f MiB\n"
                    "    JS heap used %.1f MiB before, %.1f MiB after, %.1f MiB after a full GC\n",
                    name.c_str(), kMemoryCalls, Value(run, "items_per_second"),
                    Value(run, "rss_before_MiB"), Value(run, "rss_after_MiB"), Value(run, "rss_growth_MiB"),
                    Value(run, "rss_after_gc_MiB"), Value(run, "rss_peak_MiB"), Value(run, "js_heap_before_MiB"),
                    Value(run, "js_heap_after_MiB"), Value(run, "js_heap_after_gc_MiB"));
      out << line;
      for (const MemoryTrace& trace : g_memory_traces) {
        if (trace.name != name) continue;
        out << "    VmRSS MiB by calls done:";
        for (const auto& [calls, mib] : trace.rss_mib) {
          std::snprintf(line, sizeof line, " %zuk=%.1f", calls / 1000, mib);
          out << line;
        }
        out << "\n";
      }
    }
    out.flush();
  }

 private:
  static double Value(const Run& run, const char* key) {
    auto it = run.counters.find(key);
    return it == run.counters.end() ? 0.0 : static_cast<double>(it->second.value);
  }

  std::vector<Run> kept_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  std::cerr << "Starting the JS bridge (index.js beside the executable)..." << std::endl;
  morvanta::JSBridgeAdapter adapter;
  if (!adapter.Initialize(morvanta::JSBridgeAdapterConfig{})) {
    std::cerr << "The bridge did not start: " << adapter.GetLastError() << std::endl;
    adapter.Cleanup();
    return 1;
  }
  g_adapter = &adapter;

  // Warm up the worker, the compiler and the allocator before measuring.
  {
    auto calls = std::make_shared<Calls>(200);
    for (size_t i = 0; i < 200; ++i) Submit(calls, i, Script(Settle::AtOnce, i % 2 ? Text::Same : Text::Varied));
    if (!calls->Wait(std::chrono::seconds(60)) || calls->failures.load() > 0) {
      std::cerr << "Warm-up calls failed: " << calls->first_error << std::endl;
      adapter.Cleanup();
      return 1;
    }
  }

  RegisterAll();
  Reporter reporter;
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);

  g_adapter = nullptr;
  adapter.Cleanup();
  benchmark::Shutdown();
  std::fflush(stdout);
  return 0;
}
