// A host in host dispatch that ends its process with 1,000 callbacks still
// queued (returning from main, or calling exit() from inside a dispatched
// callback) ends in time and cleanly: the queued callbacks are released,
// not run. Under the sanitizers the child's leak scan would fail its exit.
#include <gtest/gtest.h>

#include <string>

#include "support/test_support.h"

using namespace morvanta_test;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr double kLimitSeconds = 30.0;
#else
constexpr double kLimitSeconds = 20.0;
#endif

ProcessResult RunProbe(const char* mode) {
  return RunProcess({ExecutableDir() + "/dispatch_probe", mode}, std::chrono::seconds(90), "PROBE: queued", 0);
}

// Ended by itself, in time, and no queued callback ran.
void ExpectCleanEnd(const ProcessResult& r) {
  ASSERT_FALSE(r.timed_out) << r.output;
  ASSERT_TRUE(r.exited) << "signal " << r.signal << "\n" << r.output;
  EXPECT_EQ(r.exit_code, 0) << r.output;
  EXPECT_EQ(CountOf(r.output, "PROBE: callback ran"), 0) << r.output;
  EXPECT_LT(r.seconds_after_text, 6.0) << r.output;
  EXPECT_LT(r.seconds, kLimitSeconds);
}

}  // namespace

TEST(DispatchExit, ReturningFromMainWithAThousandQueuedCallbacksEndsCleanlyWithoutRunningThem) {
  ProcessResult r = RunProbe("return");
  ExpectCleanEnd(r);
  EXPECT_EQ(CountOf(r.output, "PROBE: queued 1000"), 1) << r.output;
  EXPECT_EQ(CountOf(r.output, "PROBE: returning from main"), 1) << r.output;
}

TEST(DispatchExit, ExitFromInsideADispatchedCallbackReleasesTheRestAndEndsInTime) {
  ProcessResult r = RunProbe("exit");
  ExpectCleanEnd(r);
  EXPECT_EQ(CountOf(r.output, "PROBE: exiting from a dispatched callback (code 0, value 80)"), 1) << r.output;
  EXPECT_EQ(CountOf(r.output, "PROBE: dispatch returned"), 0);
}
