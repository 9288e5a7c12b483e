// Process-wide Node state and exit handling, observed from outside: each case
// runs the probe host as a child process and checks its status and output.
#include <gtest/gtest.h>

#include <signal.h>
#include <stdlib.h>

#include "support/test_support.h"

using namespace morvanta_test;

namespace {

std::string Probe() { return ExecutableDir() + "/lifecycle_probe"; }

}  // namespace

TEST(RuntimeLifecycle, RepeatedStartAndStopInOneProcessReusesProcessState) {
  ProcessResult r = RunProcess({Probe(), "reinit", "4"}, std::chrono::seconds(90));
  ASSERT_FALSE(r.timed_out) << r.output;
  ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
  EXPECT_EQ(r.exit_code, 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "PROBE: round "), 4);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] First-time Node.js initialization..."), 1);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Node.js already initialized, reusing existing process state"), 3);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Creating shared V8 platform..."), 1);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Reusing existing V8 platform"), 3);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Last instance, keeping global resources for potential re-initialization"), 4);
  // The handler ran once, at the normal exit, and found nothing alive.
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Process exit detected, performing global cleanup..."), 1);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Waiting for "), 0);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ✅ V8::Dispose() completed"), 1);
}

TEST(RuntimeLifecycle, ExitWithABridgeStillRunningEndsCleanly) {
  ProcessResult r = RunProcess({Probe(), "exit-alive"}, std::chrono::seconds(60));
  ASSERT_FALSE(r.timed_out) << r.output;
  ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
  EXPECT_EQ(r.exit_code, 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Process exit detected, performing global cleanup..."), 1);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ✅ Global cleanup completed successfully"), 1);
  // The handler waits at most about 5 s for the instance.
  EXPECT_LT(r.seconds, 15.0);
}

TEST(RuntimeLifecycle, ConcurrentOnlyExitWakesAnIdleWorkerInsteadOfWaitingOutTheLimit) {
  // The concurrent worker sleeps in libuv with no timer while idle: unless
  // the exit handler wakes it, the handler waits its whole 5 s and then
  // terminates the instance's JavaScript.
  ProcessResult r = RunProcess({Probe(), "exit-alive"}, std::chrono::seconds(60));
  ASSERT_FALSE(r.timed_out) << r.output;
  ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
  EXPECT_EQ(r.exit_code, 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "[JSBridge] Bridge mode: concurrent"), 1) << r.output;
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Timeout waiting for instances cleanup"), 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Remaining instances: 0"), 1) << r.output;
  EXPECT_LT(r.seconds, 4.5) << r.output;
}

TEST(RuntimeLifecycle, InterruptAndHangupRunTheExitHandlerOnceThenTheDefaultAction) {
  for (int sig : {SIGINT, SIGHUP}) {
    ProcessResult r = RunProcess({Probe(), "wait-signal"}, std::chrono::seconds(60), "PROBE: READY", sig);
    ASSERT_FALSE(r.timed_out) << r.output;
    EXPECT_FALSE(r.exited) << r.output;
    EXPECT_EQ(r.signal, sig) << r.output;
    EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Process exit detected, performing global cleanup..."), 1)
        << "signal " << sig << "\n" << r.output;
    EXPECT_EQ(CountOf(r.output, "[NodeRuntime] ✅ Global cleanup completed successfully"), 1);
  }
}

TEST(RuntimeLifecycle, QuitDoesNotRunTheExitHandler) {
  ProcessResult r = RunProcess({Probe(), "wait-signal"}, std::chrono::seconds(60), "PROBE: READY", SIGQUIT);
  ASSERT_FALSE(r.timed_out) << r.output;
  EXPECT_EQ(r.signal, SIGQUIT);
  EXPECT_EQ(CountOf(r.output, "[NodeRuntime] Process exit detected"), 0);
}

TEST(RuntimeLifecycleSlow, ShutdownWhileAPromiseNeverSettlesReturnsAfterAboutThreeSecondsCompatibleOnly) {
  // This process ends while its abandoned worker still holds a live isolate
  // (the exit handler stops waiting after 5 s), so what the isolate owns is
  // left to the operating system on purpose: leak checking is off for it.
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  ProcessResult r = RunProcess({Probe(), "stuck-shutdown"}, std::chrono::seconds(90));
  ASSERT_FALSE(r.timed_out) << r.output;
  ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
  EXPECT_EQ(r.exit_code, 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "[JSBridge] Warning: Worker thread join timeout, continuing cleanup"), 1);
  size_t at = r.output.find("PROBE: SHUTDOWN_MS=");
  ASSERT_NE(at, std::string::npos) << r.output;
  long ms = std::stol(r.output.substr(at + 19));
  EXPECT_GE(ms, 2900);
  EXPECT_LE(ms, 6000);
}
