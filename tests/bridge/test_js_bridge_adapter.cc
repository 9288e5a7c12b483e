// The adapter through a live bridge and the sandbox SDK: start-up and SDK
// loading, calls and their arguments, value mapping, report and clean-up.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bridge/adapter_delivery.h"
#include "bridge/js_bridge_adapter.h"
#include "bridge/js_value.h"

using morvanta::JSBridgeAdapter;
using morvanta::JSBridgeAdapterConfig;
using morvanta::JSCallback;
using morvanta::JSResult;
using morvanta::JSValue;
using morvanta::JSValueType;
namespace jb = morvanta::jsbridge;
namespace fs = std::filesystem;

namespace {

using bridge_test::Catch;
using bridge_test::Delivery;
using bridge_test::RunJS;

JSResult Call(JSBridgeAdapter& adapter, const std::string& path, const std::vector<JSValue>& args) {
  auto d = std::make_shared<Delivery>();
  adapter.CallFunction(path, args, Catch(d));
  EXPECT_TRUE(d->Wait()) << path;
  // A later answer proves the earlier task has been run; it must not have
  // been answered twice.
  RunJS(adapter, "0");
  EXPECT_EQ(d->Calls(), 1) << path;
  return d->result;
}

// The diagnostic report expected for a state; an empty `bridge_state`
// leaves out the bridge's own line, an empty `error` the error line.
std::string Report(const std::string& status, const std::string& available,
                   const std::string& bridge_state, const std::string& error = "") {
  std::string r = "=== JSBridgeAdapter Initialization Report ===\nStatus: " + status +
                  "\nJSBridge Available: " + available + "\n";
  if (!bridge_state.empty()) r += "JSBridge Initialized: " + bridge_state + "\n";
  if (!error.empty()) r += "Last Error: " + error + "\n";
  return r + "==============================================";
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path) << content;
}

// A private directory, removed with everything in it at the end.
struct TempDir {
  const std::string path = testing::TempDir() + "morvanta-adapter-" + std::to_string(getpid());
  TempDir() { fs::create_directories(path); }
  ~TempDir() {
    std::error_code ec;
    fs::remove_all(path, ec);
  }
};

class AdapterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(adapter.Initialize(JSBridgeAdapterConfig{})) << adapter.GetLastError();
  }
  JSBridgeAdapter adapter;
};

}  // namespace

// ---- start-up and SDK loading ----------------------------------------------

TEST_F(AdapterTest, TheDefaultPathLoadsTheSdkBesideTheExecutable) {
  EXPECT_TRUE(adapter.IsInitialized());
  EXPECT_EQ(adapter.GetLastError(), "");
  JSResult r = RunJS(adapter, "typeof globalThis.morVantaMeeting + ',' + typeof globalThis.morVantaSandbox");
  ASSERT_TRUE(r.success) << r.error;
  EXPECT_EQ(r.value.stringValue, "object,object");
  EXPECT_EQ(adapter.GetDiagnosticReport(), Report("✅ Initialized", "✅ Yes", "✅ Yes"));

  EXPECT_FALSE(adapter.Initialize(JSBridgeAdapterConfig{}));
  EXPECT_EQ(adapter.GetLastError(), "Already initialized");
  EXPECT_TRUE(adapter.IsInitialized());
}

TEST(Adapter, AMissingSdkFileFailsStartButLeavesTheBridgeForCleanup) {
  TempDir dir;
  const std::string path = dir.path + "/no-such-sdk.js";
  JSBridgeAdapter adapter;
  JSBridgeAdapterConfig config;
  config.sdkPath = path;
  EXPECT_FALSE(adapter.Initialize(config));
  EXPECT_EQ(adapter.GetLastError(), "Failed to load SDK file: " + path);
  EXPECT_TRUE(adapter.IsInitialized());
  EXPECT_EQ(adapter.GetDiagnosticReport(),
            Report("✅ Initialized", "✅ Yes", "✅ Yes", "Failed to load SDK file: " + path));
  // The bridge still runs scripts until it is cleaned up.
  JSResult r = RunJS(adapter, "6 * 7");
  ASSERT_TRUE(r.success) << r.error;
  EXPECT_EQ(r.value.numberValue, 42);
  adapter.Cleanup();
  EXPECT_FALSE(adapter.IsInitialized());
}

TEST_F(AdapterTest, SdkPathsOfOurOwnAreRequiredWithSlashes) {
  TempDir dir;
  // The literal name exists so that the presence check passes; require must
  // reach the file under the converted path instead.
  WriteFile(dir.path + "/a\\b\\probe.js", "globalThis.loadedFrom = 'literal backslash name';");
  fs::create_directories(dir.path + "/a/b");
  WriteFile(dir.path + "/a/b/probe.js", "globalThis.loadedFrom = __filename;");
  EXPECT_TRUE(adapter.LoadSDKFile(dir.path + "/a\\b\\probe.js"));
  JSResult r = RunJS(adapter, "globalThis.loadedFrom");
  ASSERT_TRUE(r.success) << r.error;
  EXPECT_EQ(r.value.stringValue, dir.path + "/a/b/probe.js");

  // A file that throws, or is no file, is not loaded; the adapter serves on.
  WriteFile(dir.path + "/throws.js", "throw new Error('broken sdk');");
  EXPECT_FALSE(adapter.LoadSDKFile(dir.path + "/throws.js"));
  EXPECT_FALSE(adapter.LoadSDKFile(dir.path + "/absent.js"));
  EXPECT_TRUE(RunJS(adapter, "1").success);
}

TEST(AdapterSlow, AnSdkThatRunsPastFiveSecondsFailsToLoadAtTheLimit) {
  TempDir dir;
  // Eight seconds keep the limit well apart from the load's own end.
  const std::string path = dir.path + "/slow.js";
  WriteFile(path,
            "const end = Date.now() + 8000; while (Date.now() < end) {}\n"
            "globalThis.slowSdkDone = true;\n");
  JSBridgeAdapter adapter;
  ASSERT_TRUE(adapter.Initialize(JSBridgeAdapterConfig{})) << adapter.GetLastError();
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(adapter.LoadSDKFile(path));
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_GE(secs, 4.8);
  EXPECT_LE(secs, 7.0);
  // The load itself was not cut short: it ends later and the worker serves on.
  JSResult r = RunJS(adapter, "globalThis.slowSdkDone === true");
  ASSERT_TRUE(r.success) << r.error;
  EXPECT_TRUE(r.value.boolValue);
  adapter.Cleanup();
  EXPECT_FALSE(adapter.IsInitialized());
}

// ---- calls and their arguments -----------------------------------------------

class AdapterCallTest : public AdapterTest {
 protected:
  void SetUp() override {
    AdapterTest::SetUp();
    JSResult r = RunJS(adapter,
                     "globalThis.echoArgs = function () { return JSON.stringify(Array.from(arguments)); };\n"
                     "globalThis.codesOf = s => Array.from(s).map(c => c.codePointAt(0)).join(',');\n"
                     "globalThis.bytesOf = b => Buffer.isBuffer(b) ? 'buffer:' + Array.from(b).join(',')\n"
                     "                                             : 'not a buffer: ' + typeof b;\n"
                     "globalThis.argsLater = function () { return Promise.resolve(Array.from(arguments)); };\n"
                     "globalThis.fail = m => { throw new Error(m); };\n"
                     "'ready'");
    ASSERT_TRUE(r.success) << r.error;
  }
};

TEST_F(AdapterCallTest, ArgumentsArriveInTheirSourceForm) {
  JSValue object = JSValue::Object();
  object.Set("zeta", 1).Set("alpha", "a").Set("Mid", JSValue::Array().Push(true));
  const std::string text = "line\nfeed \"quoted\" back\\slash\ttab";
  std::vector<JSValue> args = {5, 0.1234567, -2.5, text, false, JSValue::Null(), object};
  JSResult r = Call(adapter, "echoArgs", args);
  ASSERT_TRUE(r.success) << r.error;
  ASSERT_EQ(r.value.type, JSValueType::String);
  // Six decimals; keys in sorted order, whatever order they were set in.
  EXPECT_EQ(r.value.stringValue,
            "[5,0.123457,-2.5,\"line\\nfeed \\\"quoted\\\" back\\\\slash\\ttab\",false,null,"
            "{\"Mid\":[true],\"alpha\":\"a\",\"zeta\":1}]");
  JSValue parsed = morvanta::ParseJsonToJSValue(r.value.stringValue);
  ASSERT_EQ(parsed.arrayValue.size(), args.size());
  EXPECT_EQ(parsed.arrayValue[3].stringValue, text);

  // Other control characters and UTF-8 pass raw into the script and survive;
  // bytes arrive as a Buffer.
  static const uint8_t kBytes[] = {0, 1, 127, 128, 255};
  const struct {
    const char* function;
    JSValue arg;
    const char* seen;
  } rows[] = {
      {"codesOf", "a\x01\x7f\x1b" "b\xc3\xa9\xe2\x82\xac", "97,1,127,27,98,233,8364"},
      {"bytesOf", JSValue::Binary(kBytes, sizeof(kBytes)), "buffer:0,1,127,128,255"},
      {"bytesOf", JSValue::Binary(nullptr, 0), "buffer:"},
  };
  for (const auto& row : rows) {
    r = Call(adapter, row.function, {row.arg});
    ASSERT_TRUE(r.success) << row.seen << ": " << r.error;
    EXPECT_EQ(r.value.stringValue, row.seen);
  }
}

TEST_F(AdapterCallTest, ResultsAndFailuresComeBackAsProductValues) {
  JSValue object = JSValue::Object();
  object.Set("k", true);
  JSResult r = Call(adapter, "argsLater", {1.5, "s", object, JSValue::Null()});
  ASSERT_TRUE(r.success) << r.error;
  ASSERT_EQ(r.value.type, JSValueType::Array);
  ASSERT_EQ(r.value.arrayValue.size(), 4u);
  EXPECT_EQ(r.value.arrayValue[0].numberValue, 1.5);
  EXPECT_EQ(r.value.arrayValue[1].stringValue, "s");
  ASSERT_NE(r.value.arrayValue[2].Find("k"), nullptr);
  EXPECT_TRUE(r.value.arrayValue[2].Find("k")->boolValue);
  EXPECT_EQ(r.value.arrayValue[3].type, JSValueType::Null);

  r = Call(adapter, "fail", {"boom"});
  EXPECT_FALSE(r.success);
  EXPECT_NE(r.error.find("boom"), std::string::npos) << r.error;
}

// ---- clean-up ------------------------------------------------------------------

TEST(Adapter, CallsWithoutARunningBridgeFailAtOnceOnTheCaller) {
  for (bool started : {false, true}) {
    JSBridgeAdapter adapter;
    if (started) {
      ASSERT_TRUE(adapter.Initialize(JSBridgeAdapterConfig{})) << adapter.GetLastError();
      adapter.Cleanup();
      EXPECT_EQ(adapter.GetDiagnosticReport(), Report("❌ Not Initialized", "❌ No", ""));
    } else {
      EXPECT_EQ(adapter.GetDiagnosticReport(), Report("❌ Not Initialized", "✅ Yes", "❌ No"));
    }
    for (bool call : {false, true}) {
      auto d = std::make_shared<Delivery>();
      if (call) adapter.CallFunction("echoArgs", {1}, Catch(d));
      else adapter.ExecuteJS("1", Catch(d));
      ASSERT_EQ(d->Calls(), 1) << "started " << started << ", call " << call;
      EXPECT_EQ(d->thread, std::this_thread::get_id());
      EXPECT_FALSE(d->result.success);
      EXPECT_EQ(d->result.error, "JSBridge not initialized");
      EXPECT_EQ(d->result.value.type, JSValueType::Undefined);
    }
    adapter.ExecuteJS("1", nullptr);
    adapter.CallFunction("f", {}, nullptr);
  }
}

TEST(Adapter, CleanupWaitsForACallInFlightWhichIsAnsweredOnceCompatibleOnly) {
  JSBridgeAdapter adapter;
  ASSERT_TRUE(adapter.Initialize(JSBridgeAdapterConfig{})) << adapter.GetLastError();
  // A script the bridge refuses at once is answered once and counted no more.
  auto refused = std::make_shared<Delivery>();
  adapter.ExecuteJS("", Catch(refused));
  ASSERT_EQ(refused->Calls(), 1);
  EXPECT_EQ(refused->result.error, "Empty JavaScript code provided");

  auto d = std::make_shared<Delivery>();
  adapter.ExecuteJS("new Promise(r => setTimeout(() => r('settled'), 300))", Catch(d));
  adapter.Cleanup();
  // Cleanup returned only after the answer.
  EXPECT_EQ(d->Calls(), 1);
  EXPECT_TRUE(d->result.success) << d->result.error;
  EXPECT_EQ(d->result.value.stringValue, "settled");
  EXPECT_NE(d->thread, std::this_thread::get_id());
  EXPECT_FALSE(adapter.IsInitialized());
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(d->Calls(), 1);
  adapter.Cleanup();  // a second clean-up has nothing to do

  // The adapter can be started again: it makes a new bridge.
  ASSERT_TRUE(adapter.Initialize(JSBridgeAdapterConfig{})) << adapter.GetLastError();
  JSResult r = RunJS(adapter, "typeof globalThis.morVantaMeeting");
  ASSERT_TRUE(r.success) << r.error;
  EXPECT_EQ(r.value.stringValue, "object");
}

// ---- value mapping ---------------------------------------------------------------

TEST(AdapterValues, KindsMapBetweenTheTwoNumberings) {
  static const uint8_t kBytes[] = {9, 0, 200};
  // Tags as numbers: both numberings are part of the contract.
  struct Row {
    JSValue product;
    int product_tag;
    int bridge_tag;
  };
  const Row rows[] = {
      {JSValue(), 0, 0},
      {JSValue::Null(), 1, 1},
      {JSValue(true), 2, 2},
      {JSValue(2.5), 3, 3},
      {JSValue("s"), 4, 4},
      {JSValue::Array().Push(1), 5, 6},
      {JSValue::Object().Set("k", "v"), 6, 5},
      {JSValue::Binary(kBytes, sizeof(kBytes)), 7, 8},
  };
  for (const Row& row : rows) {
    const int tag = row.product_tag;
    ASSERT_EQ(static_cast<int>(row.product.type), tag);
    jb::JSValue bridged = JSBridgeAdapter::ToBridgeValue(row.product);
    EXPECT_EQ(static_cast<int>(bridged.type), row.bridge_tag) << "product tag " << tag;
    JSValue back = JSBridgeAdapter::FromBridgeValue(bridged);
    EXPECT_EQ(static_cast<int>(back.type), tag) << "product tag " << tag;
    EXPECT_EQ(back.boolValue, row.product.boolValue);
    EXPECT_EQ(back.numberValue, row.product.numberValue);
    EXPECT_EQ(back.stringValue, row.product.stringValue);
    EXPECT_EQ(back.binaryValue, row.product.binaryValue);
    EXPECT_EQ(back.arrayValue.size(), row.product.arrayValue.size());
    EXPECT_EQ(back.objectValue.size(), row.product.objectValue.size());
  }

  // A function has no product form, at the top or nested.
  jb::JSValue fn(jb::JSValueType::Function);
  EXPECT_EQ(JSBridgeAdapter::FromBridgeValue(fn).type, JSValueType::Undefined);
  jb::JSValue list(jb::JSValueType::Array);
  list.array_value = {fn, jb::JSValue(1.0)};
  JSValue mapped = JSBridgeAdapter::FromBridgeValue(list);
  ASSERT_EQ(mapped.arrayValue.size(), 2u);
  EXPECT_EQ(mapped.arrayValue[0].type, JSValueType::Undefined);
  EXPECT_EQ(mapped.arrayValue[1].numberValue, 1);
}
