// Tests of exported functions that also look at the sandbox's side of a call:
// the C layer is linked statically here, so the test can reach the library's
// bridge and ask the sandbox what it received.
#pragma once

#include <gtest/gtest.h>

#include "morvanta.h"
#include "support/sandbox_config.h"
#include "support/sandbox_eval.h"

namespace morvanta_test {

// The library initialised against the sandbox, with the sandbox reset.
class CapiLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    MorvantaInitConfig c = morvanta_test::SandboxConfig();
    ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
  }
  void TearDown() override { EXPECT_EQ(Morvanta_Uninitialize(), 0); }
  MorvantaSDK_T* sdk = nullptr;
};

}  // namespace morvanta_test
