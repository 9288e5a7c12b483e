// Small helpers for text crossing the V8 boundary. Values from JavaScript are
// untrusted: nothing here uses ToLocalChecked on them.
#pragma once

#include <v8.h>

#include <string>

namespace morvanta {
namespace jsbridge {

inline v8::MaybeLocal<v8::String> V8StringFromUtf8(v8::Isolate* isolate, const std::string& text) {
  return v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                                 static_cast<int>(text.size()));
}

// For library-made names and literals; an allocation failure yields the empty string.
inline v8::Local<v8::String> V8String(v8::Isolate* isolate, const std::string& text) {
  v8::Local<v8::String> out;
  if (!V8StringFromUtf8(isolate, text).ToLocal(&out)) out = v8::String::Empty(isolate);
  return out;
}

inline std::string V8ToUtf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (value.IsEmpty()) return {};
  v8::String::Utf8Value utf8(isolate, value);
  return *utf8 ? std::string(*utf8, static_cast<size_t>(utf8.length())) : std::string();
}

}  // namespace jsbridge
}  // namespace morvanta
