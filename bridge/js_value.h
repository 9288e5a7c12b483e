// Values that cross the JS bridge, free of V8 types so that any thread may
// hold, copy and move them. Only the worker converts them to and from V8.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/bridge_mode.h"

namespace morvanta {
namespace jsbridge {

enum class JSValueType : int32_t {
  Undefined = 0,
  Null = 1,
  Boolean = 2,
  Number = 3,
  String = 4,
  Object = 5,
  Array = 6,
  Function = 7,  // has no V8 form; converts to undefined
  Buffer = 8,
};

// A view of bytes. The value does not own them: whoever builds a Buffer value
// keeps the bytes alive until it has been converted to V8 (which copies).
struct JSBuffer {
  const uint8_t* data = nullptr;
  uint64_t size = 0;
};

// A plain record, not a union: every field exists and `type` says which counts.
struct JSValue {
  JSValueType type = JSValueType::Undefined;
  std::string string_value;
  double number_value = 0.0;
  bool bool_value = false;
  std::vector<JSValue> array_value;
  std::map<std::string, JSValue> object_value;
  JSBuffer buffer_value;

  JSValue() = default;
  explicit JSValue(JSValueType t) : type(t) {}
  explicit JSValue(std::string s) : type(JSValueType::String), string_value(std::move(s)) {}
  explicit JSValue(const char* s) : type(JSValueType::String), string_value(s ? s : "") {}
  explicit JSValue(double d) : type(JSValueType::Number), number_value(d) {}
  explicit JSValue(bool b) : type(JSValueType::Boolean), bool_value(b) {}

  JSValue(const JSValue&) = default;
  JSValue& operator=(const JSValue&) = default;
  // A moved-from value keeps its kind but has an empty string, array and map.
  JSValue(JSValue&& o) noexcept { *this = std::move(o); }
  JSValue& operator=(JSValue&& o) noexcept {
    if (this != &o) {
      type = o.type;
      string_value = std::move(o.string_value);
      number_value = o.number_value;
      bool_value = o.bool_value;
      array_value = std::move(o.array_value);
      object_value = std::move(o.object_value);
      buffer_value = o.buffer_value;
      o.string_value.clear();
      o.array_value.clear();
      o.object_value.clear();
    }
    return *this;
  }
};

struct JSError {
  std::string message;
  std::string stack;
  int32_t code = 0;  // 0 for script and task failures, -1..-4 for refused submissions
};

template <typename T>
struct JSResult {
  bool success = false;
  std::optional<T> value;
  std::optional<JSError> error;

  static JSResult Success(T v) {
    JSResult r;
    r.success = true;
    r.value = std::move(v);
    return r;
  }
  static JSResult Failure(JSError e) {
    JSResult r;
    r.error = std::move(e);
    return r;
  }
};

template <>
struct JSResult<void> {
  bool success = false;
  std::optional<JSError> error;

  static JSResult Success() {
    JSResult r;
    r.success = true;
    return r;
  }
  static JSResult Failure(JSError e) {
    JSResult r;
    r.error = std::move(e);
    return r;
  }
};

inline JSError MakeError(std::string message, int32_t code = 0, std::string stack = {}) {
  JSError e;
  e.message = std::move(message);
  e.stack = std::move(stack);
  e.code = code;
  return e;
}

using ValueCallback = std::function<void(const JSResult<JSValue>&)>;
using VoidCallback = std::function<void(const JSResult<void>&)>;

struct JSBridgeConfig {
  std::vector<std::string> node_args;
  std::string sdk_path;
  bool debug_mode = false;
  uint32_t worker_thread_pool_size = 4;  // validated and kept; nothing reads it later
  uint32_t default_timeout_ms = 30000;   // validated and kept; the promise wait has its own limit
  bool async_callbacks = false;
  // Taken from the host's choice when the configuration is made; a test may
  // set it directly.
  BridgeMode mode = ResolveBridgeMode();
};

// Checks a configuration rule by rule and stops at the first failure, writing
// one line to the error stream. Returns true when the configuration is usable.
bool ValidateBridgeConfig(const JSBridgeConfig& config);

}  // namespace jsbridge
}  // namespace morvanta
