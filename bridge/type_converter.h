// The fuller converter between V8 values and JSValue: limits on array and
// object sizes, Buffers, functions, symbols and big integers. The bridge keeps
// it ready but does not create it in this build; every call site tests its
// pointer and falls back to the bridge's own conversions.
#pragma once

#include <v8.h>

#include <cstddef>

#include "bridge/js_value.h"

namespace morvanta {
namespace jsbridge {

class TypeConverter {
 public:
  static constexpr size_t kMaxArrayElements = 1000000;
  static constexpr size_t kMaxObjectProperties = 10000;

  explicit TypeConverter(v8::Isolate* isolate) : isolate_(isolate) {}

  // V8 to JSValue. Need a current context; problems degrade to substitute
  // values with a warning line.
  JSValue FromV8(v8::Local<v8::Value> value);
  JSValue FromV8Array(v8::Local<v8::Array> array);
  JSValue FromV8Object(v8::Local<v8::Object> object);

  // JSValue to V8, through an EscapableHandleScope. Empty without a context.
  v8::Local<v8::Value> ToV8(const JSValue& value);
  v8::Local<v8::Value> ToV8Array(const JSValue& value);
  v8::Local<v8::Value> ToV8Object(const JSValue& value);

 private:
  v8::Isolate* isolate_;
};

}  // namespace jsbridge
}  // namespace morvanta
