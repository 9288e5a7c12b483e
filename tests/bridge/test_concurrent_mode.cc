// The concurrent bridge mode through a JSBridge built for it: many promises
// in flight, answers in settlement order with the compatible mode's shapes,
// per-entry time limits, and the entries still pending at shutdown.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "bridge/js_bridge.h"
#include "support/bridge_harness.h"

using namespace morvanta_test;
using morvanta::jsbridge::BridgeMode;
using Clock = std::chrono::steady_clock;

namespace {

JSBridgeConfig ConcurrentConfig() {
  JSBridgeConfig config;
  config.mode = BridgeMode::Concurrent;
  return config;
}

class ConcurrentBridgeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(bridge.Initialize(ConcurrentConfig())); }
  void TearDown() override { bridge.Shutdown(); }
  JSBridge bridge;
};

}  // namespace

TEST_F(ConcurrentBridgeTest, AFastCallOvertakesASlowOne) {
  auto slow = Submit(bridge, "new Promise(r => setTimeout(() => r('slow'), 1500))");
  auto fast = Submit(bridge, "new Promise(r => setTimeout(() => r('fast'), 10))");
  ASSERT_TRUE(fast->Wait(std::chrono::seconds(1)));
  EXPECT_EQ(slow->Calls(), 0);  // still pending: the fast one did not wait behind it
  ASSERT_TRUE(slow->Wait(std::chrono::seconds(5)));
  EXPECT_EQ(fast->result.value->string_value, "fast");
  EXPECT_EQ(slow->result.value->string_value, "slow");
  EXPECT_EQ(fast->Calls(), 1);
  EXPECT_EQ(slow->Calls(), 1);
}

TEST_F(ConcurrentBridgeTest, TwoHundredPromisesInFlightAreEachAnsweredOnceWithTheirOwnPayload) {
  std::vector<std::shared_ptr<Outcome>> outcomes;
  for (int i = 0; i < 200; ++i) {
    // Settle in reverse order of submission, some rejected.
    const std::string delay = std::to_string(200 - i);
    const std::string body = i % 10 == 0 ? "j(new Error('no " + std::to_string(i) + "'))"
                                         : "r({i: " + std::to_string(i) + "})";
    outcomes.push_back(Submit(bridge, "new Promise((r, j) => setTimeout(() => " + body + ", " + delay + "))"));
  }
  for (auto& o : outcomes) ASSERT_TRUE(o->Wait(std::chrono::seconds(10)));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // a doubled delivery would show now
  for (int i = 0; i < 200; ++i) {
    auto& o = outcomes[i];
    ASSERT_EQ(o->Calls(), 1) << i;
    if (i % 10 == 0) {
      ASSERT_FALSE(o->result.success) << i;
      EXPECT_EQ(ErrorText(o->result), "Promise rejected: {\"success\":false,\"error\":\"no " + std::to_string(i) + "\"}");
    } else {
      ASSERT_TRUE(o->result.success) << i;
      EXPECT_EQ(o->result.value->object_value.at("i").number_value, i);
    }
  }
}

// (An undefined or cyclic resolution is checked in both modes by
// BridgeTest.ValuesConvertByKind.)
TEST_F(ConcurrentBridgeTest, AnswersKeepTheCompatibleShapes) {
  JSResult<JSValue> rejected = RunScript(bridge, "Promise.reject('plain')");
  ASSERT_FALSE(rejected.success);
  EXPECT_EQ(ErrorText(rejected), "Promise rejected: {\"success\":false,\"error\":\"plain\"}");
  JSResult<JSValue> plain = RunScript(bridge, "1 + 1");
  ASSERT_TRUE(plain.success);
  EXPECT_EQ(plain.value->number_value, 2);
}

TEST_F(ConcurrentBridgeTest, ATimerFiresOnTimeNotAtTheNextPoll) {
  // Ten 5 ms timers, each set when the one before fired: about 50 ms when
  // every timer wakes the worker, 300 ms or more when each waits for the
  // worker's next poll (its 50 ms tick, or a 30 ms polling step).
  const auto start = Clock::now();
  JSResult<JSValue> r = RunScript(bridge,
                                  "new Promise(r => { let n = 0;"
                                  " (function next() { if (++n > 10) r(n - 1); else setTimeout(next, 5); })(); })");
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  ASSERT_TRUE(r.success) << ErrorText(r);
  EXPECT_EQ(r.value->number_value, 10);
  EXPECT_GE(took, 50);
  EXPECT_LT(took, 200);  // slack for a loaded machine, still below any polling
}

TEST_F(ConcurrentBridgeTest, PendingEntriesAreFailedBeforeShutdownReturns) {
  std::vector<std::shared_ptr<Outcome>> pending;
  for (int i = 0; i < 5; ++i) pending.push_back(Submit(bridge, "new Promise(() => {})"));
  auto done = Submit(bridge, "Promise.resolve('ok')");
  ASSERT_TRUE(done->Wait(std::chrono::seconds(2)));
  const auto start = Clock::now();
  bridge.Shutdown();
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));
  for (auto& o : pending) {
    ASSERT_EQ(o->Calls(), 1);
    EXPECT_FALSE(o->result.success);
    EXPECT_EQ(ErrorText(o->result), "Bridge shutting down");
  }
}

TEST(ConcurrentBridgeSlow, EachEntryTimesOutOnItsOwnWhileOtherCallsSucceed) {
  JSBridge bridge;
  ASSERT_TRUE(bridge.Initialize(ConcurrentConfig()));
  const auto start = Clock::now();
  auto hung = Submit(bridge, "new Promise(() => {})");
  std::this_thread::sleep_for(std::chrono::seconds(2));
  auto later = Submit(bridge, "new Promise(() => {})");
  for (int i = 0; i < 20; ++i) {
    JSResult<JSValue> r = RunScript(bridge, "new Promise(r => setTimeout(() => r(" + std::to_string(i) + "), 5))",
                                    std::chrono::seconds(2));
    ASSERT_TRUE(r.success) << i;
    EXPECT_EQ(r.value->number_value, i);
  }
  ASSERT_TRUE(hung->Wait(std::chrono::seconds(20)));
  const auto first = Clock::now() - start;
  EXPECT_EQ(ErrorText(hung->result), "Promise timeout");
  EXPECT_GE(first, std::chrono::milliseconds(14900));
  EXPECT_LT(first, std::chrono::milliseconds(17000));
  EXPECT_EQ(later->Calls(), 0);  // its own 15 s are not over yet
  ASSERT_TRUE(later->Wait(std::chrono::seconds(5)));
  EXPECT_EQ(ErrorText(later->result), "Promise timeout");
  bridge.Shutdown();
}
