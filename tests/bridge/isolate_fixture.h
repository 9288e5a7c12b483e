// Shared set-up of the bridge tests that drive a real isolate from the test
// thread: a Node runtime, a way into its context, scripts evaluated there,
// and a capture of the log lines written meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "bridge/v8_text.h"
#include "runtime/log.h"
#include "runtime/node_runtime.h"
#include "runtime/v8_scope.h"

namespace bridge_test {

// Everything logged (both standard streams) between construction and Take().
struct LogCapture {
  LogCapture() { testing::internal::CaptureStdout(), testing::internal::CaptureStderr(); }
  std::string Take() {
    morvanta::log::FlushAll();
    return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
  }
};

// A runtime whose isolate the test thread enters directly.
class IsolateTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(rt.Initialize({"node"})) << rt.GetLastError(); }
  void TearDown() override {
    scope_.reset();
    rt.Cleanup();
  }
  v8::Isolate* isolate() { return rt.GetIsolate(); }

  // Takes the isolate for the rest of the test, inside the runtime's context
  // unless `with_context` is false.
  void Enter(bool with_context = true) {
    scope_ = std::make_unique<morvanta::jsbridge::DirectV8Scope>(isolate());
    if (with_context) scope_->EnterContext(rt.GetContext());
  }

  // The value of `code` in the current context; a script that fails is a
  // mistake in the test.
  v8::Local<v8::Value> Eval(const std::string& code) {
    v8::Local<v8::Context> context = isolate()->GetCurrentContext();
    v8::Local<v8::Script> script;
    v8::Local<v8::Value> result;
    if (v8::Script::Compile(context, morvanta::jsbridge::V8String(isolate(), code)).ToLocal(&script) &&
        script->Run(context).ToLocal(&result))
      return result;
    ADD_FAILURE() << "script failed: " << code;
    return v8::Undefined(isolate());
  }

  morvanta::jsbridge::NodeRuntime rt;

 private:
  std::unique_ptr<morvanta::jsbridge::DirectV8Scope> scope_;
};

}  // namespace bridge_test
