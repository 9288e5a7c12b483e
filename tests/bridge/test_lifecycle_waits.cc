// How a bridge's start and stop wait, per mode: the pacing each mode gets,
// a worker that is serving when Initialize returns, a shutdown that ends
// when the worker has, and the adapter's wait for the scripts queued
// before it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "bridge/js_bridge.h"
#include "bridge/js_bridge_adapter.h"
#include "support/bridge_harness.h"

using namespace morvanta_test;
using morvanta::JSBridgeAdapter;
using morvanta::JSBridgeAdapterConfig;
using morvanta::jsbridge::BridgeMode;
using morvanta::jsbridge::LifecyclePacing;
using Clock = std::chrono::steady_clock;

TEST(LifecycleWaits, EachModeGetsItsPacingAndServesAtOnceAfterInitialize) {
  struct Row {
    BridgeMode mode;
    bool event_driven;
    std::chrono::milliseconds channel_poll;
  };
  const Row rows[] = {{BridgeMode::Compatible, false, std::chrono::milliseconds(100)},
                      {BridgeMode::Concurrent, true, std::chrono::milliseconds(1000)}};
  for (const Row& row : rows) {
    JSBridge bridge;
    // Before start: the fixed pauses, whatever the mode will be.
    EXPECT_FALSE(bridge.Pacing().event_driven);
    JSBridgeConfig config;
    config.mode = row.mode;
    ASSERT_TRUE(bridge.Initialize(config));
    const LifecyclePacing pacing = bridge.Pacing();
    EXPECT_EQ(pacing.event_driven, row.event_driven) << static_cast<int>(row.mode);
    EXPECT_EQ(pacing.channel_poll, row.channel_poll) << static_cast<int>(row.mode);
    // The worker owns the isolate by now: the first script runs.
    JSResult<JSValue> r = RunScript(bridge, "6 * 7");
    ASSERT_TRUE(r.success) << ErrorText(r);
    EXPECT_EQ(r.value->number_value, 42);
    const auto t0 = Clock::now();
    bridge.Shutdown();
    // A worker that has ended is joined at once, not after the 3 s limit.
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(2)) << static_cast<int>(row.mode);
    EXPECT_FALSE(bridge.IsWorkerAlive());
    EXPECT_FALSE(bridge.Pacing().event_driven);  // back to the defaults
  }
}

TEST(LifecycleWaits, AwaitingQueuedWorkReturnsAfterEveryScriptQueuedBeforeItWasAnswered) {
  JSBridgeAdapter adapter;
  EXPECT_FALSE(adapter.AwaitQueuedWork(std::chrono::milliseconds(100)));  // no bridge yet
  ASSERT_TRUE(adapter.Initialize(JSBridgeAdapterConfig{})) << adapter.GetLastError();
  auto answered = std::make_shared<std::atomic<int>>(0);
  constexpr int kScripts = 60;
  for (int i = 0; i < kScripts; ++i) {
    // Some of them busy the worker for a moment, so the queue is never empty at once.
    const std::string script = i % 10 == 0 ? "(function () { var s = 0; for (var k = 0; k < 2e5; ++k) s += k; return s; })()"
                                           : std::to_string(i);
    adapter.ExecuteJS(script, [answered](const morvanta::JSResult& r) {
      if (r.success) answered->fetch_add(1);
    });
  }
  ASSERT_TRUE(adapter.AwaitQueuedWork(std::chrono::seconds(10)));
  EXPECT_EQ(answered->load(), kScripts);
  adapter.Cleanup();
  EXPECT_FALSE(adapter.AwaitQueuedWork(std::chrono::milliseconds(100)));  // stopped
}
