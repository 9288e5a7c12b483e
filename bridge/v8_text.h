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

// The value's text as valid UTF-8: a lone surrogate, which UTF-8 cannot
// carry, becomes U+FFFD. A value without a text form gives the empty string.
inline std::string V8ToUtf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (value.IsEmpty()) return {};
  v8::Local<v8::String> text;
  if (value->IsString()) {
    text = value.As<v8::String>();
  } else if (!value->ToString(isolate->GetCurrentContext()).ToLocal(&text)) {
    return {};
  }
  // A lone surrogate takes three bytes either way, so the length holds.
  std::string out(static_cast<size_t>(text->Utf8Length(isolate)), '\0');
  const int written =
      text->WriteUtf8(isolate, out.data(), static_cast<int>(out.size()), nullptr,
                      v8::String::REPLACE_INVALID_UTF8 | v8::String::NO_NULL_TERMINATION);
  out.resize(static_cast<size_t>(written > 0 ? written : 0));
  return out;
}

}  // namespace jsbridge
}  // namespace morvanta
