// Shared by the RTC stats and message channel suites: what the C listeners
// heard, waits on the JavaScript side of a channel, the library's log output
// of a stretch of time, and the process's thread count.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "capi/capi_harness.h"
#include "capi/sdk_state.h"
#include "meeting/meeting_manager.h"
#include "capi/thread_census.h"
#include "runtime/log.h"

namespace morvanta_test {

// What C listeners heard, in order, one text per call.
struct Heard {
  std::mutex mutex;
  std::vector<std::string> events;
  void Add(std::string e) {
    std::lock_guard<std::mutex> lock(mutex);
    events.push_back(std::move(e));
  }
  size_t Size() {
    std::lock_guard<std::mutex> lock(mutex);
    return events.size();
  }
  std::vector<std::string> Copy() {
    std::lock_guard<std::mutex> lock(mutex);
    return events;
  }
  bool WaitFor(size_t n, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto until = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < until) {
      if (Size() >= n) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return Size() >= n;
  }
};

// Waits until `expression` (JavaScript) is true on the library's bridge.
inline bool WaitUntilJs(const std::string& expression, std::chrono::milliseconds limit = std::chrono::seconds(4)) {
  auto until = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < until) {
    if (SandboxFlag("(" + expression + ") === true")) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

// The JavaScript side of a channel is attached: `flag` is its registered
// flag, such as "__morvantaRtcStatsListenerRegistered".
inline bool WaitRegistered(const std::string& flag, bool registered = true) {
  return WaitUntilJs(std::string(registered ? "" : "!") + "globalThis." + flag);
}

// Runs statements against the installed JavaScript listener `L` (the object
// in the global `ref`) in one script, so what they queue is drained as one
// batch.
inline void FireOn(const std::string& ref, const std::string& statements) {
  SandboxEval("(function () { var L = globalThis." + ref + "; " + statements + " return true; })()");
}

// Runs `body` and answers what the library and the SDK wrote to standard
// output and error meanwhile.
inline std::string LogOf(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  body();
  morvanta::log::FlushAll();
  std::string out = testing::internal::GetCapturedStdout();
  return out + testing::internal::GetCapturedStderr();
}

// The lines of `log` that start with `prefix`, in order.
inline std::vector<std::string> LinesStartingWith(const std::string& log, const std::string& prefix) {
  std::vector<std::string> found;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);)
    if (line.rfind(prefix, 0) == 0) found.push_back(line);
  return found;
}

// Puts the local user in a meeting of two simulated members, with no script
// and RTC statistics every `stats_ms` (0: none).
inline bool EnterMeeting(int stats_ms) {
  return SandboxFlag("morVantaSandbox.configure({meeting: {script: [], memberCount: 2, rtcStatsIntervalMs: " +
                     std::to_string(stats_ms) +
                     "}}), morVantaSandbox.enterMeeting({userUuid: 'local-user', asHost: true}).myUuid === "
                     "'local-user'");
}

// Uninitialises with a live listener while events flow: `start` adds it (on
// a meeting manager handle of a fresh initialisation) and makes events flow
// until `heard` has heard some. After the return no call may follow and no
// thread of the library may be left.
inline void ExpectCleanTeardown(Heard& heard, const std::function<void(MorvantaMeetingManager_T*)>& start) {
  MorvantaInitConfig c = SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  // A first cycle brings up what lives for the process (Node's own threads).
  ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const int baseline = ThreadCount();
  const std::string before = ThreadNames();

  ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
  MorvantaMeetingManager_T* meeting = Morvanta_GetMeetingManager(sdk);
  start(meeting);
  Morvanta_DestroyMeetingManagerHandle(meeting);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  const size_t heardAtReturn = heard.Size();
  EXPECT_TRUE(WaitThreadCount(baseline)) << ThreadCount() << " threads, " << baseline << " before\n"
                                         << before << "\n" << ThreadNames();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(heard.Size(), heardAtReturn);
}

// The library initialised, with a meeting manager handle.
class ChannelApi : public CapiLibrary {
 protected:
  void SetUp() override {
    CapiLibrary::SetUp();
    meeting = Morvanta_GetMeetingManager(sdk);
    ASSERT_NE(meeting, nullptr);
  }
  void TearDown() override {
    Morvanta_DestroyMeetingManagerHandle(meeting);
    CapiLibrary::TearDown();
  }
  morvanta::MvMeetingManager& Manager() { return *meeting->manager; }

  MorvantaMeetingManager_T* meeting = nullptr;
};

}  // namespace morvanta_test
