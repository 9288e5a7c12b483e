// The per-call scripts compiled once per environment, and the trim that keeps
// V8's compilation cache from filling with distinct call scripts: on a real
// isolate owned by the test thread, and through a live bridge.
#include <gtest/gtest.h>

#include <v8.h>

#include <memory>
#include <string>
#include <vector>

#include "bridge/fixed_scripts.h"
#include "bridge/script_cache_trim.h"
#include "runtime/node_runtime.h"
#include "runtime/v8_scope.h"
#include "support/bridge_harness.h"

using morvanta::jsbridge::DirectV8Scope;
using morvanta::jsbridge::FixedScripts;
using morvanta::jsbridge::NodeRuntime;
using morvanta::jsbridge::ScriptCacheTrim;

namespace {

constexpr char kCounter[] = "globalThis.__runs = (globalThis.__runs || 0) + 1;";

// A runtime whose isolate the test thread enters directly.
class OwnIsolate : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(rt.Initialize({"node"})) << rt.GetLastError(); }
  void TearDown() override { rt.Cleanup(); }

  // The number in `context`'s global __runs (-1 when it is not a number).
  static double Runs(v8::Local<v8::Context> context) {
    v8::Isolate* isolate = context->GetIsolate();
    v8::Local<v8::Value> v;
    if (!context->Global()->Get(context, v8::String::NewFromUtf8Literal(isolate, "__runs")).ToLocal(&v) ||
        !v->IsNumber())
      return -1;
    return v.As<v8::Number>()->Value();
  }

  static bool Run(FixedScripts& scripts, v8::Local<v8::Context> context, FixedScripts::Slot slot,
                  const char* text, bool* compiled) {
    v8::Context::Scope in(context);
    v8::TryCatch try_catch(context->GetIsolate());
    return !scripts.Run(context, slot, text, compiled).IsEmpty();
  }

  NodeRuntime rt;
};

TEST_F(OwnIsolate, AFixedScriptIsCompiledOncePerContextAndNeverRunsInAnother) {
  DirectV8Scope scope(rt.GetIsolate());
  v8::Isolate* isolate = rt.GetIsolate();
  v8::Local<v8::Context> first = rt.GetContext();
  FixedScripts scripts;
  bool compiled = false;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Run(scripts, first, FixedScripts::kPromiseHandler, kCounter, &compiled));
  EXPECT_TRUE(compiled);
  EXPECT_EQ(Runs(first), 3);
  EXPECT_EQ(scripts.compile_count(), 1u);

  // A fresh context (as after re-initialisation) gets its own compile, and
  // the script it runs acts on its own global only.
  v8::Local<v8::Context> second = v8::Context::New(isolate);
  ASSERT_TRUE(Run(scripts, second, FixedScripts::kPromiseHandler, kCounter, &compiled));
  EXPECT_EQ(scripts.compile_count(), 2u);
  EXPECT_EQ(Runs(second), 1);
  EXPECT_EQ(Runs(first), 3);
  ASSERT_TRUE(Run(scripts, second, FixedScripts::kPromiseHandler, kCounter, &compiled));
  EXPECT_EQ(scripts.compile_count(), 2u);
  EXPECT_EQ(Runs(second), 2);

  // Back in the first context nothing compiled for the second one runs.
  ASSERT_TRUE(Run(scripts, first, FixedScripts::kPromiseHandler, kCounter, &compiled));
  EXPECT_EQ(scripts.compile_count(), 3u);
  EXPECT_EQ(Runs(first), 4);
  EXPECT_EQ(Runs(second), 2);

  // Slots are separate; Clear drops every compiled form.
  ASSERT_TRUE(Run(scripts, first, FixedScripts::kExtraction, "globalThis.__other = 1;", &compiled));
  EXPECT_EQ(scripts.compile_count(), 4u);
  scripts.Clear();
  ASSERT_TRUE(Run(scripts, first, FixedScripts::kPromiseHandler, kCounter, &compiled));
  EXPECT_EQ(scripts.compile_count(), 5u);
  EXPECT_EQ(Runs(first), 5);
  scripts.Clear();
}

TEST_F(OwnIsolate, CompileAndRunFailuresAreToldApartAndNothingFailedIsKept) {
  DirectV8Scope scope(rt.GetIsolate());
  v8::Local<v8::Context> context = rt.GetContext();
  FixedScripts scripts;
  bool compiled = true;
  EXPECT_FALSE(Run(scripts, context, FixedScripts::kExtraction, "(", &compiled));
  EXPECT_FALSE(compiled);
  EXPECT_EQ(scripts.compile_count(), 0u);

  compiled = false;
  EXPECT_FALSE(Run(scripts, context, FixedScripts::kExtraction, "throw new Error('x')", &compiled));
  EXPECT_TRUE(compiled);
  // A script that threw stays compiled and runs (and throws) again.
  compiled = false;
  EXPECT_FALSE(Run(scripts, context, FixedScripts::kExtraction, "throw new Error('x')", &compiled));
  EXPECT_TRUE(compiled);
  EXPECT_EQ(scripts.compile_count(), 1u);
  scripts.Clear();
}

TEST_F(OwnIsolate, OnlyNewTextsCountTowardsATrim) {
  DirectV8Scope scope(rt.GetIsolate());
  ScriptCacheTrim trim(100);
  // A repeated text counts once, however often it comes.
  for (int i = 0; i < 1000; ++i) trim.NoteCompile("drain();");
  EXPECT_FALSE(trim.Due());
  EXPECT_FALSE(trim.TrimIfDue(rt.GetIsolate()));

  for (int i = 0; i < 98; ++i) trim.NoteCompile("call(" + std::to_string(i) + ")");
  trim.NoteCompile("drain();");
  EXPECT_FALSE(trim.Due());
  trim.NoteCompile("call(98)");
  EXPECT_TRUE(trim.Due());
  EXPECT_FALSE(trim.TrimIfDue(nullptr));
  EXPECT_TRUE(trim.TrimIfDue(rt.GetIsolate()));
  EXPECT_EQ(trim.trims(), 1u);
  EXPECT_FALSE(trim.Due());
  EXPECT_FALSE(trim.TrimIfDue(rt.GetIsolate()));
  EXPECT_EQ(trim.trims(), 1u);
}

// More distinct calls than one trim's budget: every call is answered once,
// with its own value, before, across and after the trim, and the promise
// scripts compiled before the trim keep working after it.
TEST(BridgeCallPath, CallsAreAnsweredOnceWithTheirOwnValuesAcrossACacheTrim) {
  morvanta_test::JSBridge bridge;
  ASSERT_TRUE(bridge.Initialize(morvanta_test::JSBridgeConfig{}));
  const size_t n = ScriptCacheTrim::kDefaultBudget + 500;
  std::vector<std::shared_ptr<morvanta_test::Outcome>> outcomes;
  outcomes.reserve(n);
  for (size_t i = 0; i < n; ++i)
    outcomes.push_back(morvanta_test::Submit(bridge, "Promise.resolve({n: " + std::to_string(i) + "})"));
  for (size_t i = 0; i < n; ++i) {
    ASSERT_TRUE(outcomes[i]->Wait(std::chrono::seconds(60))) << i;
    std::lock_guard<std::mutex> lock(outcomes[i]->mutex);
    ASSERT_TRUE(outcomes[i]->result.success) << i << ": " << morvanta_test::ErrorText(outcomes[i]->result);
    const auto& object = outcomes[i]->result.value->object_value;
    auto it = object.find("n");
    ASSERT_NE(it, object.end()) << i;
    EXPECT_EQ(it->second.number_value, static_cast<double>(i));
  }
  for (size_t i = 0; i < n; ++i) EXPECT_EQ(outcomes[i]->Calls(), 1) << i;
  bridge.Shutdown();
}

// The same bridge taken down and started again runs its promise scripts in
// the new environment (compiled anew for it), with answers as before.
TEST(BridgeCallPath, PromiseScriptsWorkAgainAfterReinitialisation) {
  morvanta_test::JSBridge bridge;
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(bridge.Initialize(morvanta_test::JSBridgeConfig{})) << round;
    auto ok = morvanta_test::RunScript(bridge, "Promise.resolve({round: " + std::to_string(round) + "})");
    ASSERT_TRUE(ok.success) << round << ": " << morvanta_test::ErrorText(ok);
    EXPECT_EQ(ok.value->object_value["round"].number_value, round);
    auto rejected = morvanta_test::RunScript(bridge, "Promise.reject(new Error('no ' + " + std::to_string(round) + "))");
    EXPECT_FALSE(rejected.success);
    EXPECT_NE(morvanta_test::ErrorText(rejected).find("no " + std::to_string(round)), std::string::npos);
    bridge.Shutdown();
  }
}

}  // namespace
