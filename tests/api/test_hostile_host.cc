// A misbehaving SDK or host never crashes or hangs the host process. Each
// case runs tests/probes/hostile_probe, a host of the public interface whose
// SDK misbehaves as MORVANTA_HOSTILE says, as a child process, and checks its
// exit status, its time and what it reported.
#include <cstdlib>
#include <gtest/gtest.h>

#include <stdlib.h>

#include <string>

#include "support/test_support.h"

using namespace morvanta_test;

namespace {

// The process must end within 6 s of exit(): the exit handler's 5 s wait,
// then at most 0.6 s for terminated JavaScript to unwind, and global
// cleanup. Under the sanitizers the child's own teardown and leak scan add
// up to about 2 s more.
#if defined(__SANITIZE_ADDRESS__)
constexpr double kExitLimitSeconds = 8.0;
#else
constexpr double kExitLimitSeconds = 6.0;
#endif

ProcessResult RunHostile(const char* mode, const char* hostile, const std::string& mark = "") {
  setenv("MORVANTA_SDK_PATH", (SourceDir() + "/tests/probes/hostile_sdk.js").c_str(), 1);
  setenv("MORVANTA_PROBE_SANDBOX", (ExecutableDir() + "/index.js").c_str(), 1);
  setenv("MORVANTA_HOSTILE", hostile, 1);
  return RunProcess({ExecutableDir() + "/hostile_probe", mode}, std::chrono::seconds(60), mark, 0);
}

// The probe's line that starts with "PROBE: <label> ", without that prefix.
std::string ProbeLine(const std::string& output, const std::string& label) {
  const std::string prefix = "PROBE: " + label + " ";
  size_t at = output.find(prefix);
  if (at == std::string::npos) return "<missing " + label + ">";
  at += prefix.size();
  return output.substr(at, output.find('\n', at) - at);
}

long MsOf(const std::string& line) {
  size_t at = line.find("ms=");
  return at == std::string::npos ? -1 : std::stol(line.substr(at + 3));
}

}  // namespace

TEST(HostileSdk, ExitFromTheSdkNeverEndsTheHostAndTheLibraryRecovers) {
  struct Row {
    const char* how;
    const char* code;
    bool fails_the_call;  // false: the SDK answered first, then exited while idle
  };
  for (const Row& row : {Row{"exit-in-method", "3", true}, Row{"really-exit", "4", true},
                         Row{"exit-from-timer", "5", true}, Row{"exit-from-event", "6", false}}) {
    SCOPED_TRACE(row.how);
    ProcessResult r = RunHostile("sdk-exit", row.how);
    ASSERT_FALSE(r.timed_out) << r.output;
    ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
    EXPECT_EQ(r.exit_code, 0) << r.output;
    const std::string said = std::string("The SDK tried to exit the process with code ") + row.code;
    EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ❌ " + said + ";"), 1) << r.output;

    // The call in flight: answered once, at once, with what happened.
    const std::string first = ProbeLine(r.output, "first");
    if (row.fails_the_call) {
      EXPECT_NE(first.find("rc=0 answered=1 code=-1 "), std::string::npos) << first;
      EXPECT_NE(first.find("message=" + said), std::string::npos) << first;
      EXPECT_LT(MsOf(first), 5000) << first;
    } else {
      EXPECT_NE(first.find("rc=0 answered=1 code=0 "), std::string::npos) << first;
    }
    // Later calls: the usual unavailable bridge, answered at once.
    for (const char* later : {"second", "third"}) {
      const std::string line = ProbeLine(r.output, later);
      EXPECT_NE(line.find("rc=0 answered=1 code=-1 "), std::string::npos) << line;
      EXPECT_NE(line.find("message=Bridge not initialized"), std::string::npos) << line;
    }
    // Uninitialize and a new start recover fully.
    EXPECT_EQ(CountOf(r.output, "PROBE: uninitialize rc=0"), 2) << r.output;
    EXPECT_NE(ProbeLine(r.output, "recovered").find("rc=0 answered=1 code=0 value=80 "), std::string::npos)
        << r.output;
    EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Waiting for "), 0) << r.output;
    EXPECT_LT(r.seconds, 30.0);
  }
}

TEST(HostileHost, ExitFromACallbackOrAListenerEndsTheProcessWithTheHostsStatus) {
  // exit() on the worker leaves that worker's environment to the operating
  // system on purpose, so leak checking is off for these children.
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  for (const char* mode : {"exit-in-callback", "exit-in-listener"}) {
    SCOPED_TRACE(mode);
    ProcessResult r = RunHostile(mode, "global-event", "PROBE: calling exit(0)");
    ASSERT_FALSE(r.timed_out) << r.output;
    ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
    EXPECT_EQ(r.exit_code, 0) << r.output;
    ASSERT_GE(r.seconds_after_text, 0) << r.output;
    EXPECT_LT(r.seconds_after_text, kExitLimitSeconds) << r.output;
    EXPECT_EQ(CountOf(r.output, "PROBE: calling exit(0)"), 1) << r.output;
    EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Exit called on a JavaScript worker thread"), 1) << r.output;
    EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ✅ Global cleanup completed successfully"), 1) << r.output;
  }
}

TEST(HostileHost, ReturnFromMainDuringEndlessJavaScriptOrANeverSettlingPromiseEndsWithinSixSeconds) {
  struct Row {
    const char* hostile;
    const char* sign;   // what shows how the call was ended
    bool surely_disposed;  // the worker always ends before global cleanup
  };
  for (const Row& row : {Row{"busy", "[NodeRuntime] ⚠️ Terminating JavaScript still running in 1 instance(s)", false},
                         Row{"hang", "ms: Promise abandoned: the process is exiting", true}}) {
    SCOPED_TRACE(row.hostile);
    ProcessResult r = RunHostile("return-during-call", row.hostile, "PROBE: returning from main");
    ASSERT_FALSE(r.timed_out) << r.output;
    ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
    EXPECT_EQ(r.exit_code, 0) << r.output;
    ASSERT_GE(r.seconds_after_text, 0) << r.output;
    EXPECT_LT(r.seconds_after_text, kExitLimitSeconds) << r.output;
    // In the concurrent mode a pending promise is not waited on: the worker
    // drops its entry when it sees the process exiting.
    const char* mode = std::getenv("MORVANTA_BRIDGE_MODE");
    const bool concurrent = mode && std::string(mode) == "concurrent";
    const std::string sign = concurrent && std::string(row.hostile) == "hang"
                                 ? "[JSBridge] Process exiting: dropping 1 pending promises"
                                 : row.sign;
    EXPECT_EQ(CountOf(r.output, sign), 1) << r.output;
    // A promise wait ends at once, so the worker takes its environment down
    // before global cleanup and V8 is disposed. Terminated JavaScript gets
    // only a short grace to unwind, which a loaded machine may overrun.
    if (row.surely_disposed) {
      EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ✅ V8::Dispose() completed"), 1) << r.output;
    }
  }
}

TEST(HostileHost, ConcurrentOnlyReturnFromMainWithCallsPendingCallsNothingBackAndEndsInTime) {
  setenv("MORVANTA_BRIDGE_MODE", "concurrent", 1);
  ProcessResult r = RunHostile("return-with-pending", "hang", "PROBE: returning from main");
  ASSERT_FALSE(r.timed_out) << r.output;
  ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
  EXPECT_EQ(r.exit_code, 0) << r.output;
  ASSERT_GE(r.seconds_after_text, 0) << r.output;
  EXPECT_LT(r.seconds_after_text, kExitLimitSeconds) << r.output;
  EXPECT_NE(ProbeLine(r.output, "behind").find("rc=0 answered=1 code=0 "), std::string::npos) << r.output;
  // The worker drops the entries when it sees the exit; none is answered.
  EXPECT_EQ(CountOf(r.output, "[JSBridge] Process exiting: dropping 20 pending promises"), 1) << r.output;
  EXPECT_EQ(CountOf(r.output, "PROBE: callback"), 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ✅ V8::Dispose() completed"), 1) << r.output;
}

TEST(HostileSdk, OddAnswersAndOddHostStringsAreAnsweredAtOnceAsValidUtf8) {
  for (const char* hostile : {"reject-throwing-message", "reject-null-prototype"}) {
    SCOPED_TRACE(hostile);
    ProcessResult r = RunHostile("answers", hostile);
    ASSERT_FALSE(r.timed_out) << r.output;
    ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
    EXPECT_EQ(r.exit_code, 0) << r.output;
    // Not the 15 s promise limit: the rejection is answered with a fixed text.
    const std::string rejection = ProbeLine(r.output, "rejection");
    EXPECT_NE(rejection.find("rc=0 answered=1 code=-1 "), std::string::npos) << rejection;
    EXPECT_NE(rejection.find("message=Promise rejected: "
                             "{\"success\":false,\"error\":\"Rejected with a reason that cannot be shown as text\"}"),
              std::string::npos)
        << rejection;
    EXPECT_LT(MsOf(rejection), 5000) << rejection;
    // 'a\uD800b' reaches the host as a, U+FFFD, b.
    EXPECT_EQ(ProbeLine(r.output, "lone surrogate"), "61 EF BF BD 62");
    // x 80 y C0 A2 z ED A0 80 w E2 82: every byte that is not UTF-8 is one
    // U+FFFD, and nothing else of the string changed.
    EXPECT_EQ(ProbeLine(r.output, "host string"),
              "78 EF BF BD 79 EF BF BD EF BF BD 7A EF BF BD EF BF BD EF BF BD 77 EF BF BD EF BF BD");
    EXPECT_EQ(ProbeLine(r.output, "deep json"), "code=-1 message=The document is nested more than 513 levels deep.");
  }
}
