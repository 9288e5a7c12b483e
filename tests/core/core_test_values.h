// Small builders for the core tests: values from JSON text, raw strings, one
// sample of every kind, and a capture of the log lines on standard output.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "bridge/product_value.h"

namespace core_test {

using morvanta::JSValue;
using morvanta::JSValueType;

// A value written as JSON in the test; bad JSON is a mistake in the test.
inline JSValue Json(const std::string& text) {
  JSValue value;
  std::string error;
  if (!morvanta::TryParseJson(text, value, &error)) {
    ADD_FAILURE() << "test JSON does not parse: " << text << " (" << error << ")";
  }
  return value;
}

// A string value, as the SDK hands JSON text (or any text) over.
inline JSValue Text(const std::string& text) { return JSValue(text); }

inline JSValue OfKind(JSValueType kind) {
  switch (kind) {
    case JSValueType::Null: return JSValue::Null();
    case JSValueType::Boolean: return JSValue(true);
    case JSValueType::Number: return JSValue(1.0);
    case JSValueType::String: return JSValue("s");
    case JSValueType::Array: return Json("[{}]");
    case JSValueType::Object: return Json("{}");
    case JSValueType::Binary: return JSValue::Binary("b", 1);
    default: return JSValue();
  }
}

// Log lines written while this object lives.
class LogCapture {
 public:
  LogCapture() { testing::internal::CaptureStdout(); }
  ~LogCapture() {
    if (!taken_) testing::internal::GetCapturedStdout();
  }
  std::string Take() {
    taken_ = true;
    return testing::internal::GetCapturedStdout();
  }

 private:
  bool taken_ = false;
};

}  // namespace core_test
