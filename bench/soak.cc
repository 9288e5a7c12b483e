// A long run of the library through its C interface, in each bridge mode:
// calls from several threads, events on every channel, listener churn, and
// a re-initialisation at a fixed period. Every SOAK_SAMPLE_SECONDS it
// samples the process's RSS, the JavaScript heap after a full collection,
// its open descriptors and its threads; at the end it prints each mode's
// series and a trend verdict, and fails (exit status 1) when a series
// trends upward or an answer or an event was lost.
//
//   SOAK_MINUTES          minutes per mode (default 30)
//   SOAK_SAMPLE_SECONDS   sampling period (default 10)
//   SOAK_REINIT_SECONDS   re-initialisation period (default 300)
//   soak [compatible|concurrent]   one mode only (default: both)
//
// The library's log (standard output) is kept to warnings and errors unless
// MORVANTA_LOG_LEVEL is set; the series and the verdict go to standard error.
//
// Loss is counted exactly: every call's answer, and every event fired (from
// the SDK's side, on the listener object the library installed) against the
// calls of a C listener that stays registered; the churned listeners are
// second listeners on the meeting, statistics, message and waiting room
// channels, added and removed every second. Before each re-initialisation and
// at the end the run waits until everything issued has arrived.
//
// Trend: the samples of the first minute (at least one) are warm-up; of
// the rest, the mean of the last third must not exceed the mean of the
// first third by more than the series' tolerance (RSS 10 % + 8 MiB, JS heap
// 20 % + 2 MiB, descriptors and threads 2). The least-squares slope per
// minute is printed beside it.
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "support/sandbox_config.h"

using namespace morvanta_bench;

namespace {

enum Channel { kMeeting, kRtc, kMessage, kWaiting, kGlobal, kChannels };
const char* const kChannelNames[kChannels] = {"meeting", "rtc", "message", "waiting", "global"};

// What fires one event on each channel, from the SDK's side.
const char* const kFireStatements[kChannels] = {
    "globalThis.__morvantaMeetingListenerRef.onMemberAudioMuteChanged({uuid: 'soak', name: 'soak'}, true, null);",
    "globalThis.__morvantaRtcStatsListenerRef.onRtcStats({duration: 1, txBytes: 1, rxBytes: 1});",
    "globalThis.__morvantaMessageChannelListenerRef.onCustomMessageReceived("
    "{roomUuid: 'soak', senderUuid: 'soak', commandId: 1, data: 'soak'});",
    "globalThis.__morvantaWaitingRoomListenerRef.onMemberJoin({userUuid: 'soak', nickname: 'soak'}, 0);",
    "globalThis.__morvantaGlobalEventListenerRef.beforeRtcEngineInitialize('soak');",
};

// About 600 calls/s and 250 events/s: enough traffic to show a leak
// without taking a whole core of a shared machine.
constexpr int kCallerThreads = 3;
constexpr int kCallsPerBatch = 10;
constexpr int kBatchPauseMs = 50;
constexpr int kEventsPerChannelPerBurst = 5;

int EnvInt(const char* name, int fallback) {
  const char* v = std::getenv(name);
  return v && std::atoi(v) > 0 ? std::atoi(v) : fallback;
}

int CountEntries(const char* dir) {
  int n = 0;
  if (DIR* d = opendir(dir)) {
    while (dirent* e = readdir(d))
      if (e->d_name[0] != '.') ++n;
    closedir(d);
  }
  return n;
}

double JsHeapAfterFullGcMiB() {
  morvanta::JSValue v = Eval(
      "(function () {"
      "  if (typeof globalThis.__soakGc !== 'function') {"
      "    require('v8').setFlagsFromString('--expose-gc');"
      "    globalThis.__soakGc = require('vm').runInNewContext('gc');"
      "  }"
      "  globalThis.__soakGc();"
      "  return process.memoryUsage().heapUsed;"
      "})()");
  return v.IsNumber() ? v.numberValue / (1024.0 * 1024.0) : -1.0;
}

// ------------------------------------------------------------ counters ----

struct Counters {
  std::atomic<long long> issued{0}, answered{0}, failed{0}, refused{0};
  std::atomic<long long> fired[kChannels]{}, heard[kChannels]{}, churn_heard{0};
};
Counters g;

void OnAnswer(int code, const char*, void*) {
  if (code != 0) g.failed.fetch_add(1);
  g.answered.fetch_add(1);
}

void Heard(Channel c, void* user_data) {
  // The churned listeners carry a non-null user_data and are not counted
  // against the fired events.
  if (user_data) g.churn_heard.fetch_add(1);
  else g.heard[c].fetch_add(1);
}
// The SDK's own events (the sandbox announces its engine when a meeting
// is created) are told apart from the fired ones by their "soak" marker.
void OnMute(const char* uuid, bool, void* u) {
  if (uuid && std::strcmp(uuid, "soak") == 0) Heard(kMeeting, u);
}
void OnStats(const MorvantaRtcStats*, void* u) { Heard(kRtc, u); }
void OnCustom(const MorvantaCustomMessage*, void* u) { Heard(kMessage, u); }
void OnJoin(const MorvantaWaitingRoomMember*, int32_t, void* u) { Heard(kWaiting, u); }
void OnRoom(const char* room, void* u) {
  if (room && std::strcmp(room, "soak") == 0) Heard(kGlobal, u);
}

// One set of listeners, one per channel.
struct Listeners {
  MorvantaMeetingListener meeting{};
  MorvantaRtcStatsListener rtc{};
  MorvantaMessageChannelListener message{};
  MorvantaWaitingRoomListener waiting{};
  MorvantaGlobalEventListener global{};

  explicit Listeners(void* user_data) {
    meeting.onMemberAudioMuteChanged = OnMute;
    meeting.user_data = user_data;
    rtc.onRtcStats = OnStats;
    rtc.user_data = user_data;
    message.onCustomMessageReceived = OnCustom;
    message.user_data = user_data;
    waiting.onMemberJoin = OnJoin;
    waiting.user_data = user_data;
    global.before_rtc_engine_initialize = OnRoom;
    global.user_data = user_data;
  }
};

// ------------------------------------------------------------- session ----

struct Session {
  MorvantaSDK_T* sdk = nullptr;
  MorvantaAccountManager_T* account = nullptr;
  MorvantaMeetingManager_T* meeting = nullptr;
  MorvantaWaitingRoomManager_T* waiting = nullptr;
};

bool AddListeners(Session& s, Listeners& l) {
  return Morvanta_AddGlobalEventListener(&l.global) == 0 &&
         Morvanta_Meeting_AddMeetingListener(s.meeting, &l.meeting) == 0 &&
         Morvanta_Meeting_AddRtcStatsListener(s.meeting, &l.rtc) == 0 &&
         Morvanta_Meeting_AddMessageChannelListener(s.meeting, &l.message) == 0 &&
         Morvanta_WaitingRoom_AddListener(s.waiting, &l.waiting) == 0;
}

// The churn adds and removes second listeners on the channels whose C
// layer fans one registration out to several listeners. The global
// channel is left out: a listener added beside another one detaches its
// JavaScript side until the list is empty again (see the header).
bool AddSecondListeners(Session& s, Listeners& l) {
  return Morvanta_Meeting_AddMeetingListener(s.meeting, &l.meeting) == 0 &&
         Morvanta_Meeting_AddRtcStatsListener(s.meeting, &l.rtc) == 0 &&
         Morvanta_Meeting_AddMessageChannelListener(s.meeting, &l.message) == 0 &&
         Morvanta_WaitingRoom_AddListener(s.waiting, &l.waiting) == 0;
}

void RemoveSecondListeners(Session& s, Listeners& l) {
  Morvanta_Meeting_RemoveMeetingListener(s.meeting, &l.meeting);
  Morvanta_Meeting_RemoveRtcStatsListener(s.meeting, &l.rtc);
  Morvanta_Meeting_RemoveMessageChannelListener(s.meeting, &l.message);
  Morvanta_WaitingRoom_RemoveListener(s.waiting, &l.waiting);
}

void RemoveListeners(Session& s, Listeners& l) {
  Morvanta_RemoveGlobalEventListener(&l.global);
  Morvanta_Meeting_RemoveMeetingListener(s.meeting, &l.meeting);
  Morvanta_Meeting_RemoveRtcStatsListener(s.meeting, &l.rtc);
  Morvanta_Meeting_RemoveMessageChannelListener(s.meeting, &l.message);
  Morvanta_WaitingRoom_RemoveListener(s.waiting, &l.waiting);
}

bool AllRegistered() {
  const morvanta::JSValue v = Eval(
      "!!(globalThis.__morvantaMeetingListenerRef && globalThis.__morvantaRtcStatsListenerRef &&"
      " globalThis.__morvantaMessageChannelListenerRef && globalThis.__morvantaWaitingRoomListenerRef &&"
      " globalThis.__morvantaGlobalEventListenerRef)");
  return v.IsBool() && v.boolValue;
}

bool Open(Session& s, Listeners& kept) {
  MorvantaInitConfig config = morvanta_test::SandboxConfig("soak-app-key-0001");
  if (Morvanta_Initialize(&config, &s.sdk) != 0 || !LogInQuietly()) return false;
  s.account = Morvanta_GetAccountManager(s.sdk);
  s.meeting = Morvanta_GetMeetingManager(s.sdk);
  s.waiting = Morvanta_GetWaitingRoomManager(s.sdk);
  if (!s.account || !s.meeting || !s.waiting || !AddListeners(s, kept)) return false;
  Eval("morVantaMeeting.getMeetingManager().createMeeting({subject: 'soak'}).then(function () { return true; })");
  for (int i = 0; i < 100 && !AllRegistered(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return AllRegistered();
}

void Close(Session& s, Listeners& kept) {
  RemoveListeners(s, kept);
  Morvanta_DestroyAccountManagerHandle(s.account);
  Morvanta_DestroyMeetingManagerHandle(s.meeting);
  Morvanta_DestroyWaitingRoomManagerHandle(s.waiting);
  Morvanta_Uninitialize();
  s = Session{};
}

// Waits until every answer and every fired event has arrived; false after
// `limit`.
bool Settle(std::chrono::seconds limit) {
  const auto until = Clock::now() + limit;
  for (;;) {
    bool settled = g.answered.load() == g.issued.load();
    for (int c = 0; c < kChannels; ++c) settled = settled && g.heard[c].load() == g.fired[c].load();
    if (settled) return true;
    if (Clock::now() > until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

// ------------------------------------------------------------- samples ----

struct Sample {
  double minute, rss_mib, heap_mib, fds, threads;
};

struct Verdict {
  bool rising = false;
  std::string text;
};

double Slope(const std::vector<Sample>& v, double Sample::*field) {
  double n = static_cast<double>(v.size()), sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (const Sample& s : v) {
    sx += s.minute;
    sy += s.*field;
    sxx += s.minute * s.minute;
    sxy += s.minute * (s.*field);
  }
  const double d = n * sxx - sx * sx;
  return d == 0 ? 0 : (n * sxy - sx * sy) / d;
}

Verdict Trend(const std::vector<Sample>& all, double sample_minutes) {
  const size_t warm = std::max<size_t>(1, static_cast<size_t>(1.0 / sample_minutes));
  Verdict verdict;
  if (all.size() < warm + 3) {
    verdict.rising = true;
    verdict.text = "    too few samples for a verdict\n";
    return verdict;
  }
  const std::vector<Sample> v(all.begin() + static_cast<long>(warm), all.end());
  const size_t third = v.size() / 3;
  struct Row {
    const char* name;
    double Sample::*field;
    double relative, absolute;
  };
  const Row rows[] = {{"RSS MiB", &Sample::rss_mib, 0.10, 8},
                      {"JS heap MiB", &Sample::heap_mib, 0.20, 2},
                      {"fds", &Sample::fds, 0, 2},
                      {"threads", &Sample::threads, 0, 2}};
  char line[256];
  for (const Row& r : rows) {
    double first = 0, last = 0;
    for (size_t i = 0; i < third; ++i) first += v[i].*r.field / static_cast<double>(third);
    for (size_t i = v.size() - third; i < v.size(); ++i) last += v[i].*r.field / static_cast<double>(third);
    const double allowed = first * (1 + r.relative) + r.absolute;
    const bool rising = last > allowed;
    verdict.rising = verdict.rising || rising;
    std::snprintf(line, sizeof line, "    %-12s first third %9.2f  last third %9.2f  allowed %9.2f  slope %+8.3f/min  %s\n",
                  r.name, first, last, allowed, Slope(v, r.field), rising ? "RISING" : "flat");
    verdict.text += line;
  }
  return verdict;
}

// ---------------------------------------------------------------- a mode ----

struct ModeResult {
  bool ok = false;
  std::string report;
};

ModeResult RunMode(int32_t mode, int minutes, int sample_seconds, int reinit_seconds) {
  ModeResult result;
  g.issued = g.answered = g.failed = g.refused = g.churn_heard = 0;
  for (int c = 0; c < kChannels; ++c) g.fired[c] = g.heard[c] = 0;
  if (Morvanta_SetBridgeMode(mode) != 0) return result;

  Session session;
  Listeners kept(nullptr);
  static int churn_tag;
  Listeners churned(&churn_tag);
  if (!Open(session, kept)) {
    result.report = "  could not open a session\n";
    return result;
  }
  // Lifecycle functions must not overlap other calls: workers hold it
  // shared, a re-initialisation exclusively.
  std::shared_mutex lifecycle;
  std::atomic<bool> stop{false};
  std::vector<std::thread> workers;

  for (int t = 0; t < kCallerThreads; ++t) {
    workers.emplace_back([&, t] {
      long long serial = 0;
      while (!stop.load()) {
        {
          std::shared_lock<std::shared_mutex> lock(lifecycle);
          for (int i = 0; i < kCallsPerBatch; ++i) {
            const std::string name = "soak-" + std::to_string(t) + "-" + std::to_string(serial++ % 100000);
            g.issued.fetch_add(1);
            if (Morvanta_Account_UpdateNickname(session.account, name.c_str(), OnAnswer, nullptr) != 0) {
              g.issued.fetch_sub(1);
              g.refused.fetch_add(1);
            }
          }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kBatchPauseMs));
      }
    });
  }
  workers.emplace_back([&] {  // events on every channel, five per channel every 100 ms
    // The sandbox keeps a record of every call it answers; it is dropped
    // here so that only the library's memory is measured.
    // It answers how many were fired on each channel, as "n0,n1,...".
    std::string burst = "(function () { morVantaSandbox.clearCalls(); var n = [0, 0, 0, 0, 0];"
                        " for (var i = 0; i < " + std::to_string(kEventsPerChannelPerBurst) + "; ++i) {";
    for (int c = 0; c < kChannels; ++c)
      burst += " try { " + std::string(kFireStatements[c]) + " ++n[" + std::to_string(c) + "]; } catch (e) {}";
    burst += " } return n.join(','); })()";
    while (!stop.load()) {
      {
        std::shared_lock<std::shared_mutex> lock(lifecycle);
        const morvanta::JSValue counts = Eval(burst);
        if (counts.IsString()) {
          const char* p = counts.stringValue.c_str();
          for (int c = 0; c < kChannels && *p; ++c) {
            char* next = nullptr;
            g.fired[c].fetch_add(std::strtol(p, &next, 10));
            p = *next == ',' ? next + 1 : next;
          }
        }
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  });
  workers.emplace_back([&] {  // listener churn: second listeners come and go
    while (!stop.load()) {
      {
        std::shared_lock<std::shared_mutex> lock(lifecycle);
        AddSecondListeners(session, churned);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(500));
      {
        std::shared_lock<std::shared_mutex> lock(lifecycle);
        RemoveSecondListeners(session, churned);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
  });

  std::vector<Sample> samples;
  const auto start = Clock::now();
  const auto end = start + std::chrono::minutes(minutes);
  auto next_sample = start + std::chrono::seconds(sample_seconds);
  auto next_reinit = start + std::chrono::seconds(reinit_seconds);
  int reinits = 0;
  bool lost = false;
  char line[256];
  while (Clock::now() < end && !lost) {
    std::this_thread::sleep_until(std::min(next_sample, next_reinit));
    if (Clock::now() >= next_reinit) {
      std::unique_lock<std::shared_mutex> lock(lifecycle);
      if (!Settle(std::chrono::seconds(30))) lost = true;
      RemoveSecondListeners(session, churned);
      Close(session, kept);
      if (!Open(session, kept)) {
        result.report += "  re-initialisation failed\n";
        lost = true;
      }
      ++reinits;
      next_reinit += std::chrono::seconds(reinit_seconds);
    }
    if (Clock::now() >= next_sample) {
      std::shared_lock<std::shared_mutex> lock(lifecycle);
      Sample s{Ms(Clock::now() - start) / 60000.0, static_cast<double>(RssKiB()) / 1024.0, JsHeapAfterFullGcMiB(),
               static_cast<double>(CountEntries("/proc/self/fd")),
               static_cast<double>(CountEntries("/proc/self/task"))};
      samples.push_back(s);
      std::snprintf(line, sizeof line, "  %7.2f min  RSS %8.1f MiB  JS heap %6.2f MiB  fds %4.0f  threads %3.0f\n",
                    s.minute, s.rss_mib, s.heap_mib, s.fds, s.threads);
      std::fputs(line, stderr);  // progress, as it happens
      result.report += line;
      next_sample += std::chrono::seconds(sample_seconds);
    }
  }
  stop = true;
  for (std::thread& w : workers) w.join();
  const bool settled = Settle(std::chrono::seconds(30));
  RemoveSecondListeners(session, churned);
  Close(session, kept);

  const Verdict trend = Trend(samples, sample_seconds / 60.0);
  long long fired = 0, heard = 0;
  for (int c = 0; c < kChannels; ++c) {
    fired += g.fired[c].load();
    heard += g.heard[c].load();
  }
  std::snprintf(line, sizeof line,
                "  calls: issued %lld, answered %lld (failed %lld, refused at issue %lld); re-initialisations %d\n",
                g.issued.load(), g.answered.load(), g.failed.load(), g.refused.load(), reinits);
  result.report += line;
  result.report += "  events fired / heard:";
  for (int c = 0; c < kChannels; ++c) {
    std::snprintf(line, sizeof line, " %s %lld/%lld", kChannelNames[c], g.fired[c].load(), g.heard[c].load());
    result.report += line;
  }
  std::snprintf(line, sizeof line, "; churned listeners heard %lld\n", g.churn_heard.load());
  result.report += line;
  result.report += "  trend after the first minute:\n" + trend.text;
  const bool complete = settled && !lost && g.failed.load() == 0 && fired > 0 && heard == fired;
  result.ok = complete && !trend.rising;
  result.report += std::string("  verdict: ") + (result.ok ? "PASS" : "FAIL") +
                   (complete ? "" : " (an answer or an event was lost, or a call failed)") +
                   (trend.rising ? " (a series trends upward)" : "") + "\n";
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  const int minutes = EnvInt("SOAK_MINUTES", 30);
  const int sample_seconds = EnvInt("SOAK_SAMPLE_SECONDS", 10);
  const int reinit_seconds = EnvInt("SOAK_REINIT_SECONDS", 300);
  std::vector<int32_t> modes = {MORVANTA_BRIDGE_MODE_COMPATIBLE, MORVANTA_BRIDGE_MODE_CONCURRENT};
  if (argc > 1 && std::strcmp(argv[1], "compatible") == 0) modes = {MORVANTA_BRIDGE_MODE_COMPATIBLE};
  if (argc > 1 && std::strcmp(argv[1], "concurrent") == 0) modes = {MORVANTA_BRIDGE_MODE_CONCURRENT};

  // At the default level the library logs about 40 MB a minute here; only
  // warnings and errors are kept unless MORVANTA_LOG_LEVEL says otherwise.
  if (!std::getenv("MORVANTA_LOG_LEVEL")) Morvanta_SetLogLevel(MORVANTA_LOG_WARNING);
  bool ok = true;
  std::string summary;
  for (int32_t mode : modes) {
    const char* name = mode == MORVANTA_BRIDGE_MODE_CONCURRENT ? "concurrent" : "compatible";
    std::fprintf(stderr, "soak: %s mode, %d min, a sample every %d s, re-initialisation every %d s\n", name,
                 minutes, sample_seconds, reinit_seconds);
    ModeResult r = RunMode(mode, minutes, sample_seconds, reinit_seconds);
    ok = ok && r.ok;
    summary += std::string("soak: ") + name + " mode\n" + r.report;
  }
  Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_DEFAULT);
  std::fputs(summary.c_str(), stderr);
  return ok ? 0 : 1;
}
