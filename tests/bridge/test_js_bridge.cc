// The bridge end to end: submission refusals, script outcomes, promise
// resolution, callback delivery and the worker's resilience.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <thread>
#include <vector>

#include "bridge/js_bridge.h"
#include "runtime/log.h"
#include "support/bridge_harness.h"

using namespace morvanta_test;
using morvanta::jsbridge::ValidateBridgeConfig;

namespace {

class BridgeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(bridge.Initialize(JSBridgeConfig{})); }
  void TearDown() override { bridge.Shutdown(); }
  JSBridge bridge;
};

}  // namespace

// ---- configuration -------------------------------------------------------

TEST(BridgeConfig, ValidationRulesAndBoundaries) {
  struct Row {
    const char* what;
    uint32_t pool;
    uint32_t timeout;
    std::vector<std::string> args;
    std::string sdk;
    bool debug;
    bool valid;
  };
  const Row rows[] = {
      {"defaults", 4, 30000, {}, "", false, true},
      {"pool 0", 0, 30000, {}, "", false, false},
      {"pool 1", 1, 30000, {}, "", false, true},
      {"pool 32", 32, 30000, {}, "", false, true},
      {"pool 33", 33, 30000, {}, "", false, false},
      {"timeout 99", 4, 99, {}, "", false, false},
      {"timeout 100", 4, 100, {}, "", false, true},
      {"timeout 300000", 4, 300000, {}, "", false, true},
      {"timeout 300001", 4, 300001, {}, "", false, false},
      {"empty arg", 4, 30000, {"--foo", ""}, "", false, false},
      {"inspect inside arg", 4, 30000, {"--foo--inspect"}, "", false, false},
      {"inspect-brk", 4, 30000, {"--inspect-brk=9229"}, "", false, false},
      {"inspect in debug", 4, 30000, {"--inspect"}, "", true, true},
      {"short arg", 4, 30000, {"--inspec"}, "", false, true},
      {"blank sdk path", 4, 30000, {}, " \t\r\n", false, false},
      {"sdk path", 4, 30000, {}, " a ", false, true},
  };
  for (const Row& row : rows) {
    JSBridgeConfig c;
    c.worker_thread_pool_size = row.pool;
    c.default_timeout_ms = row.timeout;
    c.node_args = row.args;
    c.sdk_path = row.sdk;
    c.debug_mode = row.debug;
    EXPECT_EQ(ValidateBridgeConfig(c), row.valid) << row.what;
  }
}

TEST(BridgeSubmission, RefusalsOnAStoppedBridgeComeBackAtOnceOnTheCaller) {
  JSBridge bridge;
  struct Row {
    std::string code;
    int32_t code_number;
    const char* message;
  };
  const Row rows[] = {
      {"", -1, "Empty JavaScript code provided"},
      {std::string(1000001, ' '), -2, "JavaScript code too large (>1MB)"},
      {"1 + 1", -3, "Bridge not initialized"},
  };
  for (const Row& row : rows) {
    int calls = 0;
    std::thread::id where;
    JSResult<JSValue> got;
    bridge.ExecuteCode(row.code, [&](const JSResult<JSValue>& r) {
      ++calls;
      where = std::this_thread::get_id();
      got = r;
    });
    ASSERT_EQ(calls, 1) << row.message;
    EXPECT_EQ(where, std::this_thread::get_id());
    EXPECT_FALSE(got.success);
    ASSERT_TRUE(got.error.has_value());
    EXPECT_EQ(got.error->code, row.code_number);
    EXPECT_EQ(got.error->message, row.message);
    EXPECT_FALSE(got.value.has_value());
  }
  // Without a callback a refusal has no effect at all.
  bridge.ExecuteCode("", nullptr);
  bridge.ExecuteCode("1", nullptr);
  bridge.Shutdown();  // never initialised: returns at once
}

TEST_F(BridgeTest, CodeOfExactlyOneMillionBytesRunsOneMoreIsRefused) {
  std::string code = "41 + 1;";
  code.resize(1000000, ' ');
  JSResult<JSValue> r = RunScript(bridge, code);
  ASSERT_TRUE(r.success) << ErrorText(r);
  EXPECT_EQ(r.value->number_value, 42);
  code.push_back(' ');
  r = RunScript(bridge, code);
  ASSERT_FALSE(r.success);
  EXPECT_EQ(r.error->code, -2);
}

// ---- synchronous scripts ---------------------------------------------------

// Plain values, and those a promise resolves to, by kind. The last rows
// first hand the worker callbacks that throw, a task nobody listens to, or
// errors nobody catches inside the SDK: it still answers, and sees their effects.
TEST_F(BridgeTest, ValuesConvertByKind) {
  struct Row {
    const char* code;
    JSValueType type;
    const char* text;
    double number;
    std::function<void()> before = nullptr;
  };
  const Row rows[] = {
      {"undefined", JSValueType::Undefined, "", 0},
      {"null", JSValueType::Null, "", 0},
      {"1 === 1", JSValueType::Boolean, "", 0},
      {"2.5 * 2", JSValueType::Number, "", 5},
      {"'h\\u00e9llo'", JSValueType::String, "h\xc3\xa9llo", 0},
      // Objects leave the synchronous path as JSON text.
      {"({b: 1, a: [true, null]})", JSValueType::String, "{\"b\":1,\"a\":[true,null]}", 0},
      // JSON.stringify gives nothing for a function: its string form is used.
      {"(function f() {})", JSValueType::String, "function f() {}", 0},
      {"Promise.resolve(undefined)", JSValueType::Null, "", 0},
      {"(() => { const o = {}; o.self = o; return Promise.resolve(o); })()", JSValueType::String,
       "SERIALIZATION_ERROR", 0},
      {"new Promise(r => setTimeout(() => r('late'), 50))", JSValueType::String, "late", 0},
      // A fulfilled promise as the last expression still takes the promise route.
      {"var x = 3; Promise.resolve(x * 2)", JSValueType::Number, "", 6},
      {"3", JSValueType::Number, "", 3,
       [&] {
         bridge.ExecuteCode("1", [](const JSResult<JSValue>&) { throw std::runtime_error("host bug"); });
         bridge.ExecuteCode("Promise.resolve(2)", [](const JSResult<JSValue>&) { throw 42; });
       }},
      {"globalThis.sideEffect", JSValueType::Number, "", 11,
       [&] { bridge.ExecuteCode("globalThis.sideEffect = 11", nullptr); }},
      {"new Promise(r => setTimeout(() => r('alive'), 20))", JSValueType::String, "alive", 0,
       [&] {
         RunScript(bridge, "setTimeout(function () { throw new Error('from a timer'); }, 0); 1");
         RunScript(bridge, "Promise.reject(new Error('nobody listens')); 1");
       }},
  };
  for (const Row& row : rows) {
    if (row.before) row.before();
    JSResult<JSValue> r = RunScript(bridge, row.code);
    ASSERT_TRUE(r.success) << row.code << ": " << ErrorText(r);
    EXPECT_EQ(r.value->type, row.type) << row.code;
    EXPECT_EQ(r.value->string_value, row.text) << row.code;
    EXPECT_EQ(r.value->number_value, row.number) << row.code;
  }
}

TEST_F(BridgeTest, ScriptFailuresCarryTheJavaScriptText) {
  struct Row {
    const char* code;
    const char* text;
    bool whole;  // the text is the whole message, and the stack holds it too
  } rows[] = {
      {"throw new TypeError('bad thing')", "TypeError: bad thing", true},
      {"var = ;", "SyntaxError", false},
      {"noSuchFunction()", "ReferenceError", false},
  };
  for (const Row& row : rows) {
    JSResult<JSValue> r = RunScript(bridge, row.code);
    ASSERT_FALSE(r.success) << row.code;
    EXPECT_EQ(r.error->code, 0) << row.code;
    EXPECT_NE(ErrorText(r).find(row.text), std::string::npos) << row.code << ": " << ErrorText(r);
    if (row.whole) {
      EXPECT_EQ(ErrorText(r), row.text);
      EXPECT_NE(r.error->stack.find(row.text), std::string::npos) << r.error->stack;
    }
  }

  // The worker keeps serving after each of them.
  JSResult<JSValue> after = RunScript(bridge, "'still here'");
  ASSERT_TRUE(after.success);
  EXPECT_EQ(after.value->string_value, "still here");
}

TEST_F(BridgeTest, TheSentinelTextIsSwallowedByContent) {
  auto outcome = Submit(bridge, "'__PROMISE_HANDLED_ASYNC__'");
  // A following task is answered, so the first one has certainly been run.
  JSResult<JSValue> next = RunScript(bridge, "7");
  ASSERT_TRUE(next.success);
  EXPECT_EQ(outcome->Calls(), 0);
}

// ---- promises -------------------------------------------------------------

TEST_F(BridgeTest, APromisedObjectArrivesAsAnObject) {
  JSResult<JSValue> object = RunScript(bridge, "Promise.resolve({n: 1, list: [1, 'two'], inner: {ok: true}})");
  ASSERT_TRUE(object.success) << ErrorText(object);
  ASSERT_EQ(object.value->type, JSValueType::Object);  // an object through the promise path
  EXPECT_EQ(object.value->object_value.at("n").number_value, 1);
  ASSERT_EQ(object.value->object_value.at("list").array_value.size(), 2u);
  EXPECT_EQ(object.value->object_value.at("list").array_value[1].string_value, "two");
  EXPECT_TRUE(object.value->object_value.at("inner").object_value.at("ok").bool_value);
}

TEST_F(BridgeTest, RejectionsOfEveryShapeAreFailuresWithTheWholeJson) {
  // The reason's message, or else its text form, is stored as it is: JSON
  // writes a message that is not a string as the value it is.
  const std::string fixed = "{\"success\":false,\"error\":\"Rejected with a reason that cannot be shown as text\"}";
  struct Row {
    const char* code;
    std::string json;
  };
  const Row rows[] = {
      {"Promise.reject(new Error('nope'))", "{\"success\":false,\"error\":\"nope\"}"},
      {"Promise.reject(new TypeError(''))", "{\"success\":false,\"error\":\"TypeError\"}"},
      {"Promise.reject('plain text')", "{\"success\":false,\"error\":\"plain text\"}"},
      {"Promise.reject(42)", "{\"success\":false,\"error\":\"42\"}"},
      {"Promise.reject(10n)", "{\"success\":false,\"error\":\"10\"}"},
      {"Promise.reject({code: 5})", "{\"success\":false,\"error\":\"[object Object]\"}"},
      {"Promise.reject({message: 42})", "{\"success\":false,\"error\":42}"},
      {"Promise.reject({message: {code: 5}})", "{\"success\":false,\"error\":{\"code\":5}}"},
      {"Promise.reject({message: [1, 'two']})", "{\"success\":false,\"error\":[1,\"two\"]}"},
      {"Promise.reject({message: true})", "{\"success\":false,\"error\":true}"},
      {"Promise.reject({message: '', toString() { return 'told'; }})", "{\"success\":false,\"error\":\"told\"}"},
      {"Promise.reject({message: 0, toString() { return 7; }})", "{\"success\":false,\"error\":7}"},
      // An object message is written as JSON, so its own toString is not asked.
      {"Promise.reject({message: {toString() { throw 1; }}})", "{\"success\":false,\"error\":{}}"},
      // What JSON leaves out is left out.
      {"Promise.reject({message: Symbol('s')})", "{\"success\":false}"},
      // The success marker inside a string message is escaped: a rejection.
      {"Promise.reject(new Error('\"success\":true'))", "{\"success\":false,\"error\":\"\\\"success\\\":true\"}"},

      // Reasons that cannot be described are answered at once with a fixed text.
      {"Promise.reject(null)", fixed},
      {"Promise.reject(undefined)", fixed},
      {"Promise.reject({get message() { throw new Error('no'); }})", fixed},
      {"Promise.reject(Object.create(null))", fixed},
      {"Promise.reject({message: '', toString() { throw 1; }})", fixed},
      {"Promise.reject({message: 10n})", fixed},
      {"(() => { const m = {}; m.self = m; return Promise.reject({message: m}); })()", fixed},
      {"Promise.reject({message: {toJSON() { throw 1; }}})", fixed},
  };
  for (const Row& row : rows) {
    JSResult<JSValue> r = RunScript(bridge, row.code, std::chrono::seconds(5));
    ASSERT_FALSE(r.success) << row.code;
    EXPECT_EQ(ErrorText(r), "Promise rejected: " + row.json) << row.code;
    ASSERT_TRUE(r.error) << row.code;
    EXPECT_EQ(r.error->code, 0) << row.code;
  }
}

TEST_F(BridgeTest, AnObjectMessageHoldingTheSuccessMarkerReadsAsASuccessWithoutValue) {
  // The outcome text is searched for the marker as it is: an object message
  // writes it unescaped, so this rejection is taken for a success, and the
  // outcome has no result of its own.
  JSResult<JSValue> r =
      RunScript(bridge, "Promise.reject({message: {success: true, result: 1}})", std::chrono::seconds(5));
  ASSERT_TRUE(r.success) << ErrorText(r);
  ASSERT_TRUE(r.value);
  EXPECT_EQ(r.value->type, JSValueType::Undefined);
}

// ---- delivery --------------------------------------------------------------

TEST_F(BridgeTest, EachTaskIsAnsweredExactlyOnceOnTheWorkerInSubmissionOrderCompatibleOnly) {
  constexpr int kThreads = 4;
  constexpr int kPerThread = 50;
  std::mutex mutex;
  std::vector<int> order;
  std::atomic<int> calls{0};
  std::set<std::thread::id> delivery_threads;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        int tag = t * 1000 + i;
        std::string code = std::to_string(tag);
        if (i % 2) code = "Promise.resolve(" + code + ")";
        bridge.ExecuteCode(code, [&, tag](const JSResult<JSValue>& r) {
          std::lock_guard<std::mutex> lock(mutex);
          EXPECT_TRUE(r.success);
          if (r.value) EXPECT_EQ(r.value->number_value, tag);
          order.push_back(tag);
          delivery_threads.insert(std::this_thread::get_id());
          ++calls;
        });
      }
    });
  }
  for (auto& th : threads) th.join();
  for (int i = 0; i < 800 && calls.load() < kThreads * kPerThread; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // room for a doubled call
  std::lock_guard<std::mutex> lock(mutex);
  ASSERT_EQ(calls.load(), kThreads * kPerThread);
  // Per submitting thread the order is kept.
  std::vector<int> last(kThreads, -1);
  for (int tag : order) {
    int t = tag / 1000;
    EXPECT_LT(last[t], tag % 1000);
    last[t] = tag % 1000;
  }
  EXPECT_EQ(delivery_threads.size(), 1u);
  EXPECT_EQ(delivery_threads.count(std::this_thread::get_id()), 0u);
}

// The worker buffers the library's lines, while JavaScript's console writes
// to the descriptor directly: a line logged before a script runs must still
// come out before what the script prints, and one logged after it, after.
TEST(BridgeLogOrder, LinesAndTheConsoleOutputOfScriptsKeepTheirOrder) {
  morvanta::log::SetHandler(nullptr, nullptr);
  ::testing::internal::CaptureStdout();
  {
    JSBridge bridge;
    ASSERT_TRUE(bridge.Initialize(JSBridgeConfig{}));
    for (int i = 0; i < 3; ++i) {
      const std::string n = std::to_string(i);
      morvanta::log::Info("[OrderTest] before " + n);
      auto r = RunScript(bridge, "console.log('[OrderTest] script " + n + "'); 1");
      ASSERT_TRUE(r.success) << ErrorText(r);
      morvanta::log::Info("[OrderTest] after " + n);
    }
    bridge.Shutdown();
  }
  const std::string out = ::testing::internal::GetCapturedStdout();
  std::vector<std::string> seen;
  for (size_t at = out.find("[OrderTest] "); at != std::string::npos; at = out.find("[OrderTest] ", at + 1))
    seen.push_back(out.substr(at, out.find('\n', at) - at));
  const std::vector<std::string> expected = {
      "[OrderTest] before 0", "[OrderTest] script 0", "[OrderTest] after 0", "[OrderTest] before 1",
      "[OrderTest] script 1", "[OrderTest] after 1", "[OrderTest] before 2", "[OrderTest] script 2",
      "[OrderTest] after 2"};
  EXPECT_EQ(seen, expected);
}

TEST(BridgeLifecycle, InitializeTwiceOrInvalidIsRefusedAndShutdownStopsAnswers) {
  JSBridge bridge;
  ASSERT_TRUE(bridge.Initialize(JSBridgeConfig{}));
  EXPECT_FALSE(bridge.Initialize(JSBridgeConfig{}));
  EXPECT_TRUE(bridge.IsInitialized());
  bridge.Shutdown();
  EXPECT_FALSE(bridge.IsInitialized());
  JSResult<JSValue> r = RunScript(bridge, "1");
  ASSERT_FALSE(r.success);
  EXPECT_EQ(r.error->code, -3);
  bridge.Shutdown();  // a second shutdown is a no-op
  // An invalid configuration is refused before anything starts.
  JSBridge fresh;
  JSBridgeConfig invalid;
  invalid.worker_thread_pool_size = 0;
  EXPECT_FALSE(fresh.Initialize(invalid));
  EXPECT_FALSE(fresh.IsInitialized());
}

TEST_F(BridgeTest, StringsReachTheHostAsValidUtf8) {
  struct Row {
    const char* code;
    std::string bytes;
  };
  const Row rows[] = {
      {"'a\\uD800b'", "a\xEF\xBF\xBD" "b"},
      {"'\\uDC00'", "\xEF\xBF\xBD"},
      {"'\\uD83D\\uDE00'", "\xF0\x9F\x98\x80"},  // a pair stays one character
  };
  for (const Row& row : rows) {
    JSResult<JSValue> r = RunScript(bridge, row.code);
    ASSERT_TRUE(r.success && r.value) << row.code;
    EXPECT_EQ(r.value->string_value, row.bytes) << row.code;
  }
  // Inside a converted object and in a rejection's text (JSON.stringify
  // escapes a lone surrogate, so the text is plain ASCII there).
  JSResult<JSValue> object = RunScript(bridge, "Promise.resolve({k: 'x\\uDBFF'})");
  ASSERT_TRUE(object.success && object.value);
  EXPECT_EQ(object.value->object_value["k"].string_value, "x\xEF\xBF\xBD");
  JSResult<JSValue> rejected = RunScript(bridge, "Promise.reject(new Error('e\\uD800'))");
  EXPECT_EQ(ErrorText(rejected), "Promise rejected: {\"success\":false,\"error\":\"e\\ud800\"}");
}

TEST(BridgeLifecycle, AnSdkExitStopsTheBridgeButNotTheProcess) {
  JSBridge bridge;
  ASSERT_TRUE(bridge.Initialize(JSBridgeConfig{}));
  auto in_flight = Submit(bridge, "process.exit(7); 'never'");
  auto queued = Submit(bridge, "'queued behind it'");
  ASSERT_TRUE(in_flight->Wait(std::chrono::seconds(10)));
  ASSERT_TRUE(queued->Wait(std::chrono::seconds(10)));
  EXPECT_FALSE(in_flight->result.success);
  EXPECT_EQ(ErrorText(in_flight->result), "The SDK tried to exit the process with code 7");
  // Queued work and later calls: an unavailable bridge, each answered once.
  EXPECT_EQ(ErrorText(queued->result), "Bridge not initialized");
  EXPECT_FALSE(bridge.IsInitialized());
  JSResult<JSValue> later = RunScript(bridge, "1");
  EXPECT_EQ(later.error->code, -3);
  bridge.Shutdown();
  EXPECT_EQ(in_flight->Calls(), 1);
  EXPECT_EQ(queued->Calls(), 1);
  // A new bridge in the same process works.
  JSBridge next;
  ASSERT_TRUE(next.Initialize(JSBridgeConfig{}));
  JSResult<JSValue> r = RunScript(next, "6 * 7");
  ASSERT_TRUE(r.success && r.value);
  EXPECT_EQ(r.value->number_value, 42);
  next.Shutdown();
}

TEST(BridgeSlow, ANeverSettlingPromiseTimesOutAfterFifteenSeconds) {
  JSBridge bridge;
  ASSERT_TRUE(bridge.Initialize(JSBridgeConfig{}));
  auto start = std::chrono::steady_clock::now();
  JSResult<JSValue> r = RunScript(bridge, "new Promise(() => {})", std::chrono::seconds(40));
  auto secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ASSERT_FALSE(r.success);
  EXPECT_EQ(ErrorText(r), "Promise timeout");
  EXPECT_GE(secs, 14.5);
  EXPECT_LE(secs, 30.0);
  // The worker serves again afterwards.
  JSResult<JSValue> next = RunScript(bridge, "5");
  ASSERT_TRUE(next.success);
  bridge.Shutdown();
}
