// PromiseTracker against a live isolate: every settled promise completes its
// task exactly once, a pending one waits for its own timeout, and callbacks
// run after the scan, where they may throw or track new promises.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bridge/isolate_fixture.h"
#include "bridge/js_bridge.h"
#include "bridge/promise_tracker.h"
#include "support/bridge_harness.h"

namespace {

using namespace morvanta::jsbridge;
using namespace std::chrono_literals;

// "ok <value>" or "failed <message>", for comparing outcomes as text.
std::string Show(const JSResult<JSValue>& r) {
  if (!r.success) return "failed " + (r.error ? r.error->message : std::string("<no error>"));
  std::ostringstream os;
  switch (r.value ? r.value->type : JSValueType::Buffer) {
    case JSValueType::Undefined: return "ok undefined";
    case JSValueType::Null: return "ok null";
    case JSValueType::Number: os << r.value->number_value; break;
    case JSValueType::String: os << '"' << r.value->string_value << '"'; break;
    default: return "ok <other>";
  }
  return "ok " + os.str();
}

using bridge_test::LogCapture;

class PromiseTrackerTest : public bridge_test::IsolateTest {
 protected:
  // Runs `code`, which must give a promise, and hands it to the tracker.
  std::shared_ptr<Task> Track(PromiseTracker& tracker, const std::string& code,
                              std::chrono::milliseconds timeout = 10s) {
    v8::Local<v8::Value> promise = Eval(code);
    EXPECT_TRUE(promise->IsPromise()) << code;
    auto task = std::make_shared<Task>();
    if (promise->IsPromise()) tracker.Track(promise.As<v8::Promise>(), task, timeout);
    return task;
  }

  // Every completion, by task id.
  std::map<uint64_t, std::vector<JSResult<JSValue>>> done_;
  PromiseTracker::CompletionCallback Record() {
    return [this](const std::shared_ptr<Task>& task, const JSResult<JSValue>& r) { done_[task->id].push_back(r); };
  }
  // The task's only completion, shown, or how many it had instead.
  std::string Only(const std::shared_ptr<Task>& task) {
    const auto& results = done_[task->id];
    return results.size() == 1 ? Show(results[0]) : std::to_string(results.size()) + " completions";
  }

};

TEST_F(PromiseTrackerTest, SettledPromisesCompleteOnceWithTheirOutcome) {
  struct Row {
    const char* code;
    const char* expected;
  } rows[] = {
      {"Promise.resolve(42)", "ok 42"},
      {"Promise.resolve('text')", "ok \"text\""},
      {"Promise.resolve()", "ok undefined"},
      {"Promise.resolve(null)", "ok null"},
      {"Promise.resolve({a: [1, 'x']})", R"(ok "{"a":[1,"x"]}")"},
      {"(() => { const o = {}; o.o = o; return Promise.resolve(o); })()", "ok \"[object Object]\""},
      {"Promise.resolve(function f() {})", "ok \"function f() {}\""},
      {"Promise.resolve(Symbol('s'))", "ok \"[Unknown]\""},
      {"Promise.resolve(10n)", "ok \"10\""},
      {"(async () => { await null; return 'later'; })()", "ok \"later\""},
      {"Promise.reject(new Error('boom'))", "failed boom"},
      {"Promise.reject('plain text')", "failed Promise rejected"},  // only an object's message is read
      {"Promise.reject({code: 7})", "failed Promise rejected"},
      {"Promise.reject(new Error(''))", "failed Promise rejected"},
      {"Promise.reject({get message() { throw new Error('trap'); }})",
       "failed Failed to extract Promise error: Error: trap"},
  };
  Enter();
  PromiseTracker tracker(isolate());
  std::vector<std::shared_ptr<Task>> tasks;
  for (const Row& row : rows) tasks.push_back(Track(tracker, row.code));
  ASSERT_EQ(tracker.GetPendingCount(), 15);

  isolate()->PerformMicrotaskCheckpoint();
  LogCapture capture;
  tracker.CheckPendingPromises(Record());
  tracker.CheckPendingPromises(Record());  // nothing left to report twice
  const std::string log = capture.Take();

  EXPECT_EQ(tracker.GetPendingCount(), 0);
  for (size_t i = 0; i < tasks.size(); ++i) EXPECT_EQ(Only(tasks[i]), rows[i].expected) << rows[i].code;
  ASSERT_EQ(done_[tasks[10]->id].size(), 1u);
  EXPECT_NE(done_[tasks[10]->id][0].error->stack.find("Error: boom"), std::string::npos);
  EXPECT_NE(log.find("[PromiseTracker] Processed 15 promises: 10 fulfilled, 5 rejected, 0 timed out"),
            std::string::npos);
}

TEST_F(PromiseTrackerTest, PendingPromiseWaitsForSettlementOrItsTimeout) {
  Enter();
  PromiseTracker tracker(isolate());
  auto released = Track(tracker, "new Promise(r => { globalThis.release = r; })");
  auto stuck = Track(tracker, "new Promise(() => {})", 30ms);

  tracker.CheckPendingPromises(Record());
  EXPECT_TRUE(done_.empty());
  EXPECT_EQ(tracker.GetPendingCount(), 2);

  std::this_thread::sleep_for(60ms);
  LogCapture capture;
  tracker.CheckPendingPromises(Record());
  const std::string log = capture.Take();
  const std::string timed_out = Only(stuck);
  const std::string prefix = "failed Promise timed out after ";
  ASSERT_EQ(timed_out.rfind(prefix, 0), 0u) << timed_out;
  EXPECT_EQ(timed_out.find_first_not_of("0123456789", prefix.size()), std::string::npos) << timed_out;
  EXPECT_NE(log.find("[PromiseTracker] Promise " + std::to_string(stuck->id) + " timed out after "),
            std::string::npos);
  EXPECT_NE(log.find("1 promises: 0 fulfilled, 0 rejected, 1 timed out"), std::string::npos);
  EXPECT_EQ(tracker.GetPendingCount(), 1);

  Eval("release('late')");
  isolate()->PerformMicrotaskCheckpoint();
  tracker.CheckPendingPromises(Record());
  EXPECT_EQ(Only(released), "ok \"late\"");
  EXPECT_EQ(done_[stuck->id].size(), 1u);
  EXPECT_EQ(tracker.GetPendingCount(), 0);
}

TEST_F(PromiseTrackerTest, CallbacksMayThrowOrTrackAgain) {
  Enter();
  PromiseTracker tracker(isolate());
  tracker.Track(Eval("Promise.resolve(0)").As<v8::Promise>(), nullptr, 10s);
  EXPECT_EQ(tracker.GetPendingCount(), 0);

  auto first = Track(tracker, "Promise.resolve(1)");
  auto second = Track(tracker, "Promise.resolve(2)");
  std::shared_ptr<Task> again;
  auto callback = [&](const std::shared_ptr<Task>& task, const JSResult<JSValue>& r) {
    done_[task->id].push_back(r);
    if (!again) again = Track(tracker, "Promise.resolve('again')");
    if (task == first) throw std::runtime_error("callback failed");
  };
  isolate()->PerformMicrotaskCheckpoint();
  LogCapture capture;
  tracker.CheckPendingPromises(callback);
  const std::string log = capture.Take();

  EXPECT_EQ(done_[first->id].size(), 1u);
  EXPECT_EQ(Only(second), "ok 2");
  EXPECT_NE(log.find("[PromiseTracker] Exception invoking callback for Promise " + std::to_string(first->id) +
                     ": callback failed"),
            std::string::npos);
  ASSERT_TRUE(again);
  EXPECT_EQ(tracker.GetPendingCount(), 1);

  isolate()->PerformMicrotaskCheckpoint();
  tracker.CheckPendingPromises(Record());
  EXPECT_EQ(Only(again), "ok \"again\"");
  EXPECT_EQ(tracker.GetPendingCount(), 0);
}

// The worker awaits promises one at a time and keeps no tracker: none is
// created, checked or cleaned up, also with the verbose lines on.
TEST(PromiseTrackerInTheWorker, StaysDormantCompatibleOnly) {
  LogCapture capture;
  std::string log;
  {
    morvanta::jsbridge::JSBridge bridge;
    JSBridgeConfig config;
    config.debug_mode = true;
    ASSERT_TRUE(bridge.Initialize(config));
    JSResult<JSValue> r = morvanta_test::RunScript(bridge, "new Promise((ok) => setTimeout(() => ok(7), 20))");
    bridge.Shutdown();
    log = capture.Take();
    ASSERT_TRUE(r.success) << morvanta_test::ErrorText(r);
    EXPECT_EQ(r.value->number_value, 7);
  }
  EXPECT_NE(log.find("[JSBridge] Helper objects creation temporarily disabled for debugging"), std::string::npos);
  EXPECT_EQ(log.find("[JSBridge] Checking "), std::string::npos);
  EXPECT_EQ(log.find("pending promises"), std::string::npos);
  EXPECT_EQ(log.find("[PromiseTracker]"), std::string::npos);
}

}  // namespace
