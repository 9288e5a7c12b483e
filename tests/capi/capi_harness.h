// Tests of exported functions that also look at the sandbox's side of a call:
// the C layer is linked statically here, so the test can reach the library's
// bridge and ask the sandbox what it received.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "bridge/js_bridge_adapter.h"
#include "capi/sdk_state.h"
#include "morvanta.h"

namespace morvanta_test {

// Runs `script` on the library's bridge and returns its value; a script that
// yields a Promise has its resolved value converted (objects as objects).
inline morvanta::JSValue SandboxEval(const std::string& script) {
  struct Shared {
    std::mutex m;
    std::condition_variable cv;
    bool done = false;
    morvanta::JSResult r;
  };
  auto s = std::make_shared<Shared>();
  auto bridge = morvanta::capi::g_bridge;
  if (!bridge) return {};
  bridge->ExecuteJS("Promise.resolve((function () { return " + script + "; })())",
                    [s](const morvanta::JSResult& r) {
                      std::lock_guard<std::mutex> lock(s->m);
                      s->r = r;
                      s->done = true;
                      s->cv.notify_all();
                    });
  std::unique_lock<std::mutex> lock(s->m);
  s->cv.wait_for(lock, std::chrono::seconds(20), [&] { return s->done; });
  return s->r.value;
}

// The library initialised against the sandbox, with the sandbox reset.
class CapiLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    MorvantaInitConfig c{};
    c.app_key = "test-app-key-0001";
    c.log_path = "/tmp";
    c.use_asset_server_config = -1;
    c.debug = -1;
    ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
  }
  void TearDown() override { EXPECT_EQ(Morvanta_Uninitialize(), 0); }
  MorvantaSDK_T* sdk = nullptr;
};

}  // namespace morvanta_test
