// Drives the public C interface from tests: an initialised library and
// waiting slots for callbacks, which count their calls.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <cstring>
#include <vector>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "morvanta.h"
#include "support/sandbox_config.h"
#include "support/sandbox_scenario.h"
#include "support/waited_calls.h"

namespace morvanta_test {

// Collects callback calls; heap-allocated and shared so a late call is safe.
struct Slot : WaitedCalls {
  int code = 12345;
  std::string message;
  bool message_null = false;
  MorvantaAccountInfo* account = nullptr;

  // Waits for the first call, then long enough for a second one (a doubled
  // delivery) to show in Calls().
  bool WaitSettled(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    if (!Wait(limit)) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    return true;
  }
  void Record(int c, const char* m) {
    std::lock_guard<std::mutex> lock(mutex);
    ++calls;
    code = c;
    message_null = m == nullptr;
    message = m ? m : "";
    cv.notify_all();
  }

  static void OnPlain(int code, const char* message, void* user_data) {
    static_cast<Slot*>(user_data)->Record(code, message);
  }
  static void OnAccount(int code, const char* message, MorvantaAccountInfo* info, void* user_data) {
    auto* slot = static_cast<Slot*>(user_data);
    {
      std::lock_guard<std::mutex> lock(slot->mutex);
      slot->account = info;
    }
    slot->Record(code, message);
  }
};

class InitializedLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    MorvantaInitConfig config = SandboxConfig();
    ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
    ASSERT_NE(sdk, nullptr);
  }
  void TearDown() override { EXPECT_EQ(Morvanta_Uninitialize(), 0); }
  MorvantaSDK_T* sdk = nullptr;
};

}  // namespace morvanta_test
