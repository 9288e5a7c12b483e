// Choosing the bridge mode through the public C interface: the values it
// takes, the refusal while initialised, the environment variable losing to
// an explicit choice, and sessions in both modes in one process.
#include <cstdlib>

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
