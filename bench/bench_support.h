// What the benchmarks that go through the public C interface share: time
// and process measurements, a group of calls in flight with their
// latencies, and the event probe that fires meeting events from the SDK's
// side and times their arrival at the host's C listener.
//
// Needs the C layer linked statically (the probe reaches the library's
// bridge through support/sandbox_run.h to steer the sandbox SDK).
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "morvanta.h"
#include "support/sandbox_run.h"

namespace morvanta_bench {

using Clock = std::chrono::steady_clock;

inline double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// The value at fraction `p` (0 the smallest, 1 the largest) of `v`.
inline double Percentile(std::vector<double> v, double p) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v[std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size() - 1) + 0.5))];
}

// Process CPU time (all threads, user + system) in microseconds.
inline double CpuMicros() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

inline long RssKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  return -1;
}

inline morvanta::JSValue Eval(const std::string& script) {
  return morvanta_test::SandboxRun(script, std::chrono::seconds(60)).value;
}

// A quiet sandbox (no simulated members, script or statistics: only what a
// benchmark does itself) with alice logged in. True when the login worked.
inline bool LogInQuietly() {
  Eval("morVantaSandbox.configure({meeting: {memberCount: 0, script: [], rtcStatsIntervalMs: 0}})");
  return Eval("morVantaMeeting.getAccountManager().loginByPassword({username: 'alice', password: 'alice-password'})"
              ".then(function () { return true; })")
      .IsBool();
}

// ------------------------------------------------------ calls in flight ----

// Calls issued together; shared with their callbacks, which run on the
// library's worker and record each call's latency.
struct CallGroup {
  explicit CallGroup(size_t n) : remaining(n), issued_at(n), latency_ms(n, -1.0) {}
  std::atomic<size_t> remaining;
  std::atomic<size_t> failures{0};
  std::vector<Clock::time_point> issued_at;
  std::vector<double> latency_ms;
  std::mutex mutex;
  std::condition_variable cv;

  bool Wait(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return remaining.load() == 0; });
  }
};

namespace detail {

struct CallSlot {
  std::shared_ptr<CallGroup> group;
  size_t index;
};

inline void OnNicknameAnswer(int code, const char*, void* user_data) {
  auto* slot = static_cast<CallSlot*>(user_data);
  std::shared_ptr<CallGroup> group = std::move(slot->group);
  const size_t index = slot->index;
  delete slot;
  if (code != 0) group->failures.fetch_add(1);
  std::lock_guard<std::mutex> lock(group->mutex);
  group->latency_ms[index] = Ms(Clock::now() - group->issued_at[index]);
  if (group->remaining.fetch_sub(1) == 1) group->cv.notify_all();
}

}  // namespace detail

// Issues `n` Morvanta_Account_UpdateNickname calls at once, the i-th with
// the nickname name(i). Null when the library refused one.
inline std::shared_ptr<CallGroup> IssueNicknames(MorvantaAccountManager_T* account, size_t n,
                                                 const std::function<std::string(size_t)>& name) {
  auto group = std::make_shared<CallGroup>(n);
  for (size_t i = 0; i < n; ++i) {
    const std::string nickname = name(i);
    group->issued_at[i] = Clock::now();
    auto* slot = new detail::CallSlot{group, i};
    if (Morvanta_Account_UpdateNickname(account, nickname.c_str(), detail::OnNicknameAnswer, slot) != 0) {
      delete slot;
      return nullptr;
    }
  }
  return group;
}

// ---------------------------------------------------------- event probe ----
//
// Events are fired by calling the JavaScript listener object that the
// library installed on the SDK, exactly as the SDK does, with a member whose
// uuid carries the fire time (epoch milliseconds) and a serial number. The
// C listener (OnProbeEvent, for onMemberAudioMuteChanged) records the
// latency and whether the serials arrive in order.

struct ProbeEvents {
  std::mutex m;
  std::vector<double> latencies_ms;
  long long count = 0;
  long long next_serial = 0;
  long long out_of_order = 0;
};
inline ProbeEvents g_probe_events;
// How far the JavaScript clock (performance.timeOrigin + performance.now())
// runs ahead of the system clock; the two differ by a fraction of a
// millisecond, which is the size of the latencies measured.
inline std::atomic<double> g_js_clock_ahead_ms{0};

inline double EpochMs() {
  return std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// uuid: "<fire epoch ms>#<serial>"
inline void OnProbeEvent(const char* user_uuid, bool, void*) {
  const double now = EpochMs();
  const char* hash = std::strchr(user_uuid, '#');
  const double fired = std::atof(user_uuid) - g_js_clock_ahead_ms.load();
  const long long serial = hash ? std::atoll(hash + 1) : -1;
  std::lock_guard<std::mutex> lock(g_probe_events.m);
  g_probe_events.latencies_ms.push_back(now - fired);
  if (serial != g_probe_events.next_serial) ++g_probe_events.out_of_order;
  g_probe_events.next_serial = serial + 1;
  ++g_probe_events.count;
}

inline void ResetProbeEvents() {
  std::lock_guard<std::mutex> lock(g_probe_events.m);
  g_probe_events.latencies_ms.clear();
  g_probe_events.count = 0;
  g_probe_events.next_serial = 0;
  g_probe_events.out_of_order = 0;
}

inline long long ProbeEventCount() {
  std::lock_guard<std::mutex> lock(g_probe_events.m);
  return g_probe_events.count;
}

// Starts firing `total` events on the worker: `per_tick` every `tick_ms`.
// Answers at once; the firing goes on from JavaScript timers.
inline void StartFiring(int total, int per_tick, int tick_ms) {
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
                total, per_tick, tick_ms);
  Eval(script);
}

inline bool WaitForProbeEvents(long long want, std::chrono::seconds limit) {
  const auto until = Clock::now() + limit;
  while (ProbeEventCount() < want && Clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return ProbeEventCount() >= want;
}

// A meeting entered with the probe's meeting listener on it (after
// LogInQuietly). Close() removes the listener and leaves the library up.
class ProbeMeeting {
 public:
  bool Open(MorvantaSDK_T* sdk) {
    meeting_ = Morvanta_GetMeetingManager(sdk);
    std::memset(&listener_, 0, sizeof listener_);
    listener_.onMemberAudioMuteChanged = OnProbeEvent;
    if (!meeting_ || Morvanta_Meeting_AddMeetingListener(meeting_, &listener_) != 0) return false;
    Eval("morVantaMeeting.getMeetingManager().createMeeting({subject: 'bench'}).then(function () { return true; })");
    // Let the listener settle on the new meeting before firing.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const morvanta::JSValue ready = Eval("globalThis.__morvantaMeetingListenerRef != null");
    return ready.IsBool() && ready.boolValue;
  }
  void Close() {
    if (!meeting_) return;
    Morvanta_Meeting_RemoveMeetingListener(meeting_, &listener_);
    Morvanta_DestroyMeetingManagerHandle(meeting_);
    meeting_ = nullptr;
  }

 private:
  MorvantaMeetingManager_T* meeting_ = nullptr;
  MorvantaMeetingListener listener_{};
};

// What the event probe measures on an open ProbeMeeting: latency over 200
// events at a 23 ms pace, then a flood of `rate` events/s for `seconds`
// (how many were lost, how many came out of order). -1: not measured.
struct EventFigures {
  double p50 = -1;
  double p99 = -1;
  double lost = -1;
  double out_of_order = -1;
};

// Measures g_js_clock_ahead_ms: the JavaScript clock read between two
// readings of the system clock, the pair closest together of 20.
inline void MeasureJsClockOffset() {
  double best_span = 1e9;
  for (int i = 0; i < 20; ++i) {
    const double before = EpochMs();
    const morvanta::JSValue js = Eval("performance.timeOrigin + performance.now()");
    const double after = EpochMs();
    if (!js.IsNumber() || after - before >= best_span) continue;
    best_span = after - before;
    g_js_clock_ahead_ms = js.numberValue - (before + after) / 2;
  }
}

inline EventFigures MeasureEvents(int rate, int seconds) {
  EventFigures f;
  MeasureJsClockOffset();
  constexpr int kEvents = 200;
  ResetProbeEvents();
  StartFiring(kEvents, 1, 23);
  if (WaitForProbeEvents(kEvents, std::chrono::seconds(60))) {
    std::lock_guard<std::mutex> lock(g_probe_events.m);
    f.p50 = Percentile(g_probe_events.latencies_ms, 0.5);
    f.p99 = Percentile(g_probe_events.latencies_ms, 0.99);
  }
  const int flood = rate * seconds;
  ResetProbeEvents();
  StartFiring(flood, rate / 100, 10);
  WaitForProbeEvents(flood, std::chrono::seconds(seconds * 6));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));  // anything past the count would show
  std::lock_guard<std::mutex> lock(g_probe_events.m);
  f.lost = static_cast<double>(flood - g_probe_events.count);
  f.out_of_order = static_cast<double>(g_probe_events.out_of_order);
  return f;
}

}  // namespace morvanta_bench
