// The per-call scripts compiled once per environment, the call templates that
// make SDK calls without compiling their text, and the trim that keeps V8's
// compilation cache from filling with distinct call scripts: on a real
// isolate owned by the test thread, and through a live bridge.
#include <gtest/gtest.h>

#include <v8.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "bridge/call_templates.h"
#include "bridge/fixed_scripts.h"
#include "bridge/isolate_fixture.h"
#include "bridge/script_cache_trim.h"
#include "bridge/script_writer.h"
#include "bridge/v8_text.h"
#include "support/bridge_harness.h"

using morvanta::jsbridge::CallTemplates;
using morvanta::jsbridge::DirectV8Scope;
using morvanta::jsbridge::FixedScripts;
using morvanta::jsbridge::ScriptCacheTrim;

namespace {

constexpr char kCounter[] = "globalThis.__runs = (globalThis.__runs || 0) + 1;";

// A runtime whose isolate the test thread enters directly.
class OwnIsolate : public bridge_test::IsolateTest {
 protected:
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
};

TEST_F(OwnIsolate, AFixedScriptIsCompiledOncePerContextAndNeverRunsInAnother) {
  DirectV8Scope scope(rt.GetIsolate());
  v8::Isolate* isolate = rt.GetIsolate();
  v8::Local<v8::Context> first = rt.GetContext();
  v8::Local<v8::Context> second = v8::Context::New(isolate);
  FixedScripts scripts;
  // One run per row; then the compile count and each context's __runs (-1:
  // never run there). A fresh context (as after re-initialisation) gets its
  // own compile, and the script it runs acts on its own global only; back in
  // the first one nothing compiled for the second runs. Slots are separate;
  // Clear drops every compiled form.
  const struct {
    const char* name;
    bool in_second;
    FixedScripts::Slot slot;
    const char* text;
    bool clear_first;
    size_t compiles;
    double runs_first, runs_second;
  } rows[] = {
      {"first run", false, FixedScripts::kPromiseHandler, kCounter, false, 1, 1, -1},
      {"again", false, FixedScripts::kPromiseHandler, kCounter, false, 1, 2, -1},
      {"third time", false, FixedScripts::kPromiseHandler, kCounter, false, 1, 3, -1},
      {"another context", true, FixedScripts::kPromiseHandler, kCounter, false, 2, 3, 1},
      {"another context again", true, FixedScripts::kPromiseHandler, kCounter, false, 2, 3, 2},
      {"back in the first", false, FixedScripts::kPromiseHandler, kCounter, false, 3, 4, 2},
      {"another slot", false, FixedScripts::kExtraction, "globalThis.__other = 1;", false, 4, 4, 2},
      {"after Clear", false, FixedScripts::kPromiseHandler, kCounter, true, 5, 5, 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    if (row.clear_first) scripts.Clear();
    bool compiled = false;
    ASSERT_TRUE(Run(scripts, row.in_second ? second : first, row.slot, row.text, &compiled));
    EXPECT_TRUE(compiled);
    EXPECT_EQ(scripts.compile_count(), row.compiles);
    EXPECT_EQ(Runs(first), row.runs_first);
    EXPECT_EQ(Runs(second), row.runs_second);
  }
  scripts.Clear();
}

TEST_F(OwnIsolate, CompileAndRunFailuresAreToldApartAndNothingFailedIsKept) {
  DirectV8Scope scope(rt.GetIsolate());
  v8::Local<v8::Context> context = rt.GetContext();
  FixedScripts scripts;
  // A script that threw stays compiled and runs (and throws) again.
  const struct {
    const char* name;
    const char* text;
    bool compiled;
    size_t compiles;
  } rows[] = {{"does not compile", "(", false, 0},
              {"throws", "throw new Error('x')", true, 1},
              {"throws again", "throw new Error('x')", true, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    bool compiled = !row.compiled;
    EXPECT_FALSE(Run(scripts, context, FixedScripts::kExtraction, row.text, &compiled));
    EXPECT_EQ(compiled, row.compiled);
    EXPECT_EQ(scripts.compile_count(), row.compiles);
  }
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

// ----------------------------------------------------------- call templates

using morvanta::jsbridge::BuildCallScript;
using morvanta::jsbridge::JSValue;
using morvanta::jsbridge::JSValueType;

// Describes every argument a call receives closely enough to tell apart
// anything a literal and a handed-over value could make differently: -0,
// key order, prototypes, the receiver and the argument count.
constexpr char kProbe[] = R"JS(
globalThis.__describe = function describe(v) {
  if (v === null) return 'null';
  switch (typeof v) {
    case 'number': return Object.is(v, -0) ? 'number:-0' : 'number:' + String(v);
    case 'string': return 'string:' + JSON.stringify(v);
    case 'object': {
      const proto = Object.getPrototypeOf(v);
      if (Array.isArray(v))
        return '[' + v.map(describe).join(',') + ']' + (proto === Array.prototype ? '' : '(odd prototype)');
      return '{' + Reflect.ownKeys(v).map(function (k) { return JSON.stringify(k) + ':' + describe(v[k]); })
          .join(',') + '}' + (proto === Object.prototype ? '' : '(odd prototype)');
    }
    default: return typeof v + ':' + String(v);
  }
};
globalThis.probe = {
  calls: 0,
  target: {
    call: function () {
      probe.calls++;
      return (this === probe.target) + '|' + arguments.length + '|' +
          Array.prototype.map.call(arguments, __describe).join(';');
    },
    fail: function () { probe.calls++; throw new TypeError('refused ' + arguments.length); }
  },
  get: function () { return probe.target; }
};
)JS";

JSValue Obj(std::vector<std::pair<std::string, JSValue>> members) {
  JSValue v(JSValueType::Object);
  for (auto& [key, member] : members) v.object_value[key] = member;
  return v;
}

JSValue Arr(std::vector<JSValue> elements) {
  JSValue v(JSValueType::Array);
  v.array_value = std::move(elements);
  return v;
}

class CallTemplateTest : public OwnIsolate {
 protected:
  void SetUp() override {
    OwnIsolate::SetUp();
    scope = std::make_unique<DirectV8Scope>(rt.GetIsolate());
    isolate = rt.GetIsolate();
    context = rt.GetContext();
    context->Enter();
    v8::TryCatch caught(isolate);
    v8::Local<v8::Script> script;
    ASSERT_TRUE(v8::Script::Compile(context, v8::String::NewFromUtf8(isolate, kProbe).ToLocalChecked())
                    .ToLocal(&script));
    ASSERT_FALSE(script->Run(context).IsEmpty());
  }
  void TearDown() override {
    templates.Clear();
    context->Exit();
    scope.reset();
    OwnIsolate::TearDown();
  }

  // "ok: <the value as text>" or "threw: <the exception as text>".
  std::string Told(v8::MaybeLocal<v8::Value> ran, const v8::TryCatch& caught) {
    v8::Local<v8::Value> value;
    if (ran.ToLocal(&value)) return "ok: " + morvanta::jsbridge::V8ToUtf8(isolate, value);
    return "threw: " + morvanta::jsbridge::V8ToUtf8(isolate, caught.Exception());
  }

  std::string ByText(const std::string& path, const std::vector<JSValue>& args) {
    v8::TryCatch caught(isolate);
    v8::Local<v8::Script> script;
    const std::string text = BuildCallScript(path, args);
    if (!v8::Script::Compile(context, morvanta::jsbridge::V8String(isolate, text)).ToLocal(&script))
      return "does not compile: " + text;
    return Told(script->Run(context), caught);
  }

  // What the template made of the call, or "from text" when it declined.
  std::string ByTemplate(const std::string& path, const std::vector<JSValue>& args) {
    v8::TryCatch caught(isolate);
    v8::MaybeLocal<v8::Value> ran;
    if (!templates.Run(context, path, args, &ran)) return "from text";
    return Told(ran, caught);
  }

  double ProbeCalls() {
    v8::Local<v8::Value> probe, calls;
    if (!context->Global()->Get(context, morvanta::jsbridge::V8String(isolate, "probe")).ToLocal(&probe) ||
        !probe.As<v8::Object>()->Get(context, morvanta::jsbridge::V8String(isolate, "calls")).ToLocal(&calls))
      return -1;
    return calls.As<v8::Number>()->Value();
  }

  std::unique_ptr<DirectV8Scope> scope;
  v8::Isolate* isolate = nullptr;
  v8::Local<v8::Context> context;
  CallTemplates templates;
};

TEST_F(CallTemplateTest, ArgumentsArriveExactlyAsTheirLiteralsWouldMakeThem) {
  const std::string nul_inside("a\0b", 3);
  const std::vector<std::vector<JSValue>> cases = {
      {},
      {JSValue("plain")},
      {JSValue("")},
      {JSValue("quote \" backslash \\ controls \b\f\n\r\t end")},
      {JSValue("raw \x01\x0b\x1f\x7f and \xe2\x80\xa8 line separator")},
      {JSValue("\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80")},
      {JSValue("bad \xff, cut \xc3, overlong \xe0\x80\x80, surrogate \xed\xa0\x80, too high \xf4\x90\x80\x80, tail \xe6\x97")},
      {JSValue(nul_inside)},
      {JSValue(0.0), JSValue(-0.0), JSValue(5.0), JSValue(-7.0)},
      {JSValue(0.1), JSValue(1.0 / 3.0), JSValue(123456.7890125), JSValue(-2.5e-7)},
      {JSValue(1e-7), JSValue(-1e-9), JSValue(4.9e-324)},
      {JSValue(9007199254740994.0), JSValue(1e21), JSValue(-1.7976931348623157e308)},
      {JSValue(true), JSValue(false), JSValue(JSValueType::Null), JSValue()},
      {JSValue(JSValueType::Function)},
      {Obj({{"b", JSValue(1.0)}, {"a", JSValue("x")}, {"10", JSValue(true)}, {"2", JSValue(JSValueType::Null)}})},
      {Obj({{"outer", Obj({{"inner", Arr({JSValue(1.5), JSValue("two"), Obj({{"k", JSValue(false)}})})}})}}),
       Arr({})},
      {Obj({{"bad \xff key", JSValue(0.25)}, {"", JSValue()}, {"proto", Obj({})}})},
      {Arr({JSValue(1.0), Arr({JSValue(2.0), Arr({JSValue(-0.0)})}), JSValue(JSValueType::Function)})},
      // Found by fuzz_call_args: as "%f" text these read the globals nan and
      // inf, and a "__proto__" key set the prototype instead of a member.
      {JSValue(std::nan("")), JSValue(HUGE_VAL), Arr({JSValue(-HUGE_VAL), JSValue(-std::nan(""))})},
      {Obj({{"__proto__", Obj({{"x", JSValue(1.0)}})}, {"a", JSValue(2.0)}})},
      {Obj({{"deep", Obj({{"__proto__", JSValue(JSValueType::Null)}})}}), Obj({{"__proto__", JSValue("text")}})},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    const std::string text = ByText("probe.get().call", cases[i]);
    ASSERT_EQ(text.rfind("ok: true|", 0), 0u) << i << ": " << text;
    EXPECT_EQ(ByTemplate("probe.get().call", cases[i]), text) << i << ": " << BuildCallScript("probe.get().call", cases[i]);
  }
  EXPECT_EQ(ByText("probe.get().call", cases[cases.size() - 3]),
            "ok: true|3|number:NaN;number:Infinity;[number:-Infinity,number:NaN]");
  EXPECT_EQ(ByText("probe.get().call", cases[cases.size() - 2]), "ok: true|1|{\"__proto__\":{\"x\":number:1},\"a\":number:2}");
  EXPECT_EQ(ByText("probe.get().call", cases[cases.size() - 1]),
            "ok: true|2|{\"deep\":{\"__proto__\":null}};{\"__proto__\":string:\"text\"}");
  // One template per argument count (0 to 4), each compiled once.
  EXPECT_EQ(templates.compile_count(), 5u);
  EXPECT_EQ(ProbeCalls(), 2.0 * static_cast<double>(cases.size()) + 3.0);
}

TEST_F(CallTemplateTest, FailuresReadAsTheTextsWould) {
  const std::vector<std::pair<std::string, std::vector<JSValue>>> cases = {
      {"missing.method", {JSValue("x")}},
      {"probe.get().absent", {JSValue(1.0)}},
      {"probe.nothing().call", {}},
      {"probe.calls", {JSValue(true)}},
      {"probe.get().fail", {JSValue("a"), JSValue("b")}},
  };
  for (const auto& [path, args] : cases) {
    const std::string text = ByText(path, args);
    ASSERT_EQ(text.rfind("threw: ", 0), 0u) << path << ": " << text;
    EXPECT_EQ(ByTemplate(path, args), text) << path;
  }
}

TEST_F(CallTemplateTest, CallsWhoseTextIsNoPlainLiteralCallAreLeftToTheText) {
  JSValue buffer(JSValueType::Buffer);
  const uint8_t bytes[] = {1, 2};
  buffer.buffer_value.data = bytes;
  buffer.buffer_value.size = 2;
  const std::vector<std::vector<JSValue>> arguments = {
      {buffer},
      {JSValue(1.0), Arr({buffer})},
  };
  for (size_t i = 0; i < arguments.size(); ++i)
    EXPECT_EQ(ByTemplate("probe.get().call", arguments[i]), "from text") << i;
  for (const char* path : {"", "probe.get(1).call", "(probe.get()).call", "probe['get']().call", "probe.get().call;x",
                           "probe..call", "probe.", "1probe.call", "arguments.callee", "__morvantaArg0.call",
                           "probe.get()()", "probe.get() .call"})
    EXPECT_EQ(ByTemplate(path, {JSValue("x")}), "from text") << path;
  // Nothing was called and nothing compiled.
  EXPECT_EQ(ProbeCalls(), 0.0);
  EXPECT_EQ(templates.compile_count(), 0u);
}

TEST_F(CallTemplateTest, TemplatesAreBoundToTheirContextAndBounded) {
  ASSERT_EQ(ByTemplate("probe.get().call", {JSValue("x")}), "ok: true|1|string:\"x\"");
  EXPECT_EQ(templates.compile_count(), 1u);

  // Another context has no probe: its template is its own, compiled anew.
  v8::Local<v8::Context> other = v8::Context::New(isolate);
  {
    v8::Context::Scope in(other);
    v8::TryCatch caught(isolate);
    v8::MaybeLocal<v8::Value> ran;
    ASSERT_TRUE(templates.Run(other, "probe.get().call", {JSValue("x")}, &ran));
    EXPECT_TRUE(ran.IsEmpty());
    EXPECT_TRUE(caught.HasCaught());
  }
  EXPECT_EQ(templates.compile_count(), 2u);
  ASSERT_EQ(ByTemplate("probe.get().call", {JSValue("y")}), "ok: true|1|string:\"y\"");
  EXPECT_EQ(templates.compile_count(), 3u);

  // Past the bound, further paths run from their text.
  templates.Clear();
  for (size_t i = 0; i < CallTemplates::kMaxTemplates; ++i)
    ASSERT_EQ(ByTemplate("p" + std::to_string(i) + ".m", {}).rfind("threw: ReferenceError", 0), 0u) << i;
  EXPECT_EQ(ByTemplate("probe.get().call", {}), "from text");
  EXPECT_EQ(ByTemplate("p0.m", {}).rfind("threw: ReferenceError", 0), 0u);
  EXPECT_EQ(templates.compile_count(), 3u + CallTemplates::kMaxTemplates);
}

}  // namespace
