// Choosing the bridge mode through the public C interface: the values it
// takes, the refusal while initialised, the environment variable losing to
// an explicit choice, and sessions in both modes in one process; and what the
// concurrent mode promises a host at Morvanta_Uninitialize.
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "api/api_harness.h"

using namespace morvanta_test;

TEST(BridgeModeApi, ChoiceRulesAndSessionsInBothModesInOneProcess) {
  setenv("MORVANTA_BRIDGE_MODE", "concurrent", 1);
  ASSERT_EQ(Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_DEFAULT), 0);
  EXPECT_EQ(Morvanta_GetBridgeMode(), MORVANTA_BRIDGE_MODE_CONCURRENT);  // the variable decides
  setenv("MORVANTA_BRIDGE_MODE", "Concurrent", 1);
  EXPECT_EQ(Morvanta_GetBridgeMode(), MORVANTA_BRIDGE_MODE_COMPATIBLE);  // any other value
  EXPECT_EQ(Morvanta_SetBridgeMode(3), -1);
  EXPECT_EQ(Morvanta_SetBridgeMode(-1), -1);
  EXPECT_EQ(Morvanta_GetBridgeMode(), MORVANTA_BRIDGE_MODE_COMPATIBLE);  // unchanged by a refusal

  setenv("MORVANTA_BRIDGE_MODE", "concurrent", 1);
  for (int32_t mode : {MORVANTA_BRIDGE_MODE_COMPATIBLE, MORVANTA_BRIDGE_MODE_CONCURRENT,
                       MORVANTA_BRIDGE_MODE_COMPATIBLE}) {
    ASSERT_EQ(Morvanta_SetBridgeMode(mode), 0);
    EXPECT_EQ(Morvanta_GetBridgeMode(), mode);  // explicit wins over the variable
    MorvantaInitConfig config = SandboxConfig();
    MorvantaSDK_T* sdk = nullptr;
    ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0) << mode;
    EXPECT_EQ(Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_CONCURRENT), -3);  // refused while initialised
    EXPECT_EQ(Morvanta_GetBridgeMode(), mode);
    EXPECT_EQ(Morvanta_IsInitialized(), 1);
    ASSERT_EQ(Morvanta_Uninitialize(), 0);
  }
  EXPECT_EQ(Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_DEFAULT), 0);
  unsetenv("MORVANTA_BRIDGE_MODE");
  EXPECT_EQ(Morvanta_GetBridgeMode(), MORVANTA_BRIDGE_MODE_COMPATIBLE);
}

namespace {

// A callback slot that also notes the thread it was called on.
struct ThreadedSlot : Slot {
  std::thread::id thread;
  static void OnPlain(int code, const char* message, void* user_data) {
    auto* slot = static_cast<ThreadedSlot*>(user_data);
    {
      std::lock_guard<std::mutex> lock(slot->mutex);
      slot->thread = std::this_thread::get_id();
    }
    slot->Record(code, message);
  }
  static void OnAccount(int code, const char* message, MorvantaAccountInfo* info, void* user_data) {
    Morvanta_FreeAccountInfo(info);
    OnPlain(code, message, user_data);
  }
};

}  // namespace

TEST(BridgeModeApi, ConcurrentOnlyUninitializeAnswersEveryPendingCallOnceBeforeItReturns) {
  // Every nickname change hangs: its promise never settles.
  Scenario scenario(R"({"overrides": {"account.updateNickname": {"fail": "hang"}}})");
  ASSERT_EQ(Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_CONCURRENT), 0);
  MorvantaInitConfig config = SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  ASSERT_NE(account, nullptr);

  constexpr int kPending = 25;
  std::vector<std::unique_ptr<ThreadedSlot>> pending;
  for (int i = 0; i < kPending; ++i) {
    pending.push_back(std::make_unique<ThreadedSlot>());
    ASSERT_EQ(Morvanta_Account_UpdateNickname(account, "never", &ThreadedSlot::OnPlain, pending.back().get()), 0);
  }
  // Answered behind them (not logged in): by then every hanging call is in flight.
  ThreadedSlot marker;
  ASSERT_EQ(Morvanta_Account_GetAccountInfo(account, &ThreadedSlot::OnAccount, &marker), 0);
  ASSERT_TRUE(marker.Wait());
  for (auto& slot : pending) ASSERT_EQ(slot->calls, 0);
  Morvanta_DestroyAccountManagerHandle(account);

  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  // Answered before the return, on the worker (the thread of every other
  // answer), with the documented failure.
  for (int i = 0; i < kPending; ++i) {
    ThreadedSlot& slot = *pending[i];
    std::lock_guard<std::mutex> lock(slot.mutex);
    ASSERT_EQ(slot.calls, 1) << i;
    EXPECT_EQ(slot.code, -1) << i;
    EXPECT_EQ(slot.message, "Bridge shutting down") << i;
    EXPECT_EQ(slot.thread, marker.thread) << i;
  }
  EXPECT_NE(marker.thread, std::this_thread::get_id());
  // Nothing afterwards.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  for (auto& slot : pending) EXPECT_EQ(slot->calls, 1);
  EXPECT_EQ(marker.calls, 1);
  EXPECT_EQ(Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_DEFAULT), 0);
}
