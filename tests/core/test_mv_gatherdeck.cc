// The product object against a live bridge and the sandbox SDK: the
// configuration object it sends, the initialise/uninitialise contract, the
// manager factory and the 10 s call limit.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "bridge/adapter_delivery.h"
#include "bridge/js_bridge_adapter.h"
#include "core/mv_gatherdeck.h"
#include "managers/account_manager.h"
#include "managers/audio_manager.h"

using namespace morvanta;

namespace {

MvGatherdeckInitConfig Config() {
  MvGatherdeckInitConfig c;
  c.appKey = "test-app-key-0001";
  c.logPath = "/tmp";
  return c;
}

// Runs a script and returns its value (the promise path parses JSON objects).
JSValue Eval(JSBridgeAdapter& adapter, const std::string& script) { return bridge_test::RunJS(adapter, script).value; }

class GatherdeckTest : public ::testing::Test {
 protected:
  void SetUp() override {
    adapter = std::make_shared<JSBridgeAdapter>();
    ASSERT_TRUE(adapter->Initialize(JSBridgeAdapterConfig{}));
    deck = std::make_unique<MvGatherdeck>(adapter);
  }
  void TearDown() override {
    deck.reset();
    adapter->Cleanup();
  }
  std::shared_ptr<JSBridgeAdapter> adapter;
  std::unique_ptr<MvGatherdeck> deck;
};

}  // namespace

TEST(GatherdeckConfig, OnlySetKeysAreSentAndBlocksCarryAllTheirKeys) {
  MvGatherdeckInitConfig c = Config();
  JSValue minimal = MvGatherdeck::BuildSdkConfig(c);
  EXPECT_EQ(minimal.objectValue.size(), 2u);
  c.useAssetServerConfig = false;
  c.locale = "en-US";
  c.imPrivateConf = MvImPrivateConf{};
  c.extras.emplace();
  JSValue full = MvGatherdeck::BuildSdkConfig(c);
  ASSERT_NE(full.Find("useAssetServerConfig"), nullptr);
  EXPECT_FALSE(full.Find("useAssetServerConfig")->boolValue);
  EXPECT_EQ(full.Find("debug"), nullptr);
  EXPECT_EQ(full.Find("serverUrl"), nullptr);
  EXPECT_EQ(full.Find("imPrivateConf")->objectValue.size(), 12u);
  EXPECT_NE(full.Find("imPrivateConf")->Find("mvsUploadSever"), nullptr);
  EXPECT_TRUE(full.Find("extras")->IsObject());
  EXPECT_TRUE(full.Find("extras")->objectValue.empty());
}

TEST_F(GatherdeckTest, InitializeSendsTheConfigurationAndManagersAppearOnlyAfterIt) {
  EXPECT_EQ(deck->GetAccountManager(), nullptr);  // before initialize: nothing is made
  MvGatherdeckInitConfig c = Config();
  c.locale = "de-DE";
  c.useAssetServerConfig = true;
  MvResult<void> r = deck->Initialize(c);
  ASSERT_TRUE(r.IsSuccess()) << r.message;
  EXPECT_TRUE(deck->IsInitialized());
  JSValue sent = Eval(*adapter, "Promise.resolve(morVantaSandbox.initConfig)");
  ASSERT_TRUE(sent.IsObject());
  ASSERT_TRUE(sent.Find("locale") && sent.Find("useAssetServerConfig"));
  EXPECT_EQ(sent.Find("locale")->stringValue, "de-DE");
  EXPECT_TRUE(sent.Find("useAssetServerConfig")->boolValue);
  EXPECT_EQ(sent.Find("debug"), nullptr);

  MvResult<void> again = deck->Initialize(c);
  EXPECT_EQ(again.code, -1);
  EXPECT_EQ(again.message, "Already initialized");

  auto a1 = deck->GetAccountManager();
  auto a2 = deck->GetAccountManager();
  ASSERT_NE(a1, nullptr);
  EXPECT_EQ(a1, a2);
  EXPECT_NE(deck->GetAudioManager(), nullptr);

  EXPECT_TRUE(deck->UnInitialize().IsSuccess());
  EXPECT_FALSE(deck->IsInitialized());
  MvResult<void> twice = deck->UnInitialize();
  EXPECT_EQ(twice.code, -1);
  EXPECT_EQ(twice.message, "Not initialized");
}

TEST_F(GatherdeckTest, AnInvalidConfigurationNeverReachesTheSdk) {
  MvGatherdeckInitConfig c = Config();
  c.logPath.clear();
  MvResult<void> r = deck->Initialize(c);
  EXPECT_EQ(r.code, -3);
  EXPECT_EQ(r.message, "Configuration validation failed: logPath is required and cannot be empty");
  JSValue calls = Eval(*adapter, "Promise.resolve(morVantaSandbox.callsTo('initialize').length)");
  EXPECT_EQ(calls.numberValue, 0);
}

TEST_F(GatherdeckTest, AFailedUninitializeLeavesTheObjectInitialized) {
  ASSERT_TRUE(deck->Initialize(Config()).IsSuccess());
  Eval(*adapter, "morVantaSandbox.override('unInitialize', {fail: 'reject'}); 1");
  MvResult<void> r = deck->UnInitialize();
  EXPECT_EQ(r.code, -1);
  EXPECT_TRUE(deck->IsInitialized());
}

TEST(Gatherdeck, WithoutARunningBridgeNothingStarts) {
  MvGatherdeck orphan{std::weak_ptr<JSBridgeAdapter>()};
  MvResult<void> r = orphan.Initialize(Config());
  EXPECT_EQ(r.code, -2);
  EXPECT_EQ(r.message, "JSBridge not initialized");
}

TEST_F(GatherdeckTest, SlowAnInitializeThatTakesOverTenSecondsTimesOut) {
  Eval(*adapter, "morVantaSandbox.override('initialize', {delayMs: 12000}); 1");
  auto start = std::chrono::steady_clock::now();
  MvResult<void> r = deck->Initialize(Config());
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_EQ(r.code, -1);
  EXPECT_EQ(r.message, "JavaScript call timeout");
  EXPECT_FALSE(deck->IsInitialized());
  EXPECT_GE(secs, 9.5);
  EXPECT_LE(secs, 20.0);
}
