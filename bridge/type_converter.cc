// Conversions between V8 values and JSValue with size limits. Everything here
// runs on the worker inside an open handle scope; no conversion ever fails a
// task, every problem turns into a substitute value and a warning line.
#include "bridge/type_converter.h"

#include <node_buffer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "bridge/v8_text.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

constexpr const char* kNoContextWarning = "[TypeConverter] Warning: No current V8 context available";

double FromBits(uint64_t bits) {
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

// NaN and the infinities are rebuilt from their canonical bit patterns, so a
// signalling NaN or a NaN with payload never reaches JavaScript.
double CanonicalNumber(double d) {
  if (std::isnan(d)) return FromBits(0x7FF8000000000000ULL);
  if (std::isinf(d)) return FromBits(d > 0 ? 0x7FF0000000000000ULL : 0xFFF0000000000000ULL);
  return d;
}

// The value's own string form; a throwing toString or Symbol yields `fallback`.
std::string StringForm(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value,
                       const char* fallback) {
  if (context.IsEmpty() || value.IsEmpty()) return fallback;
  v8::TryCatch try_catch(isolate);
  v8::Local<v8::String> text;
  if (!value->ToString(context).ToLocal(&text)) return fallback;
  return V8ToUtf8(isolate, text);
}

// The V8-to-JSValue direction. One reader serves one top-level call and keeps
// the objects on its current path, so that a cycle ends in a substitute
// instead of an endless recursion.
class V8Reader {
 public:
  explicit V8Reader(v8::Isolate* isolate) : isolate_(isolate), context_(isolate->GetCurrentContext()) {}

  JSValue Value(v8::Local<v8::Value> value);
  JSValue Array(v8::Local<v8::Array> array);
  JSValue Object(v8::Local<v8::Object> object);

 private:
  // Deep enough for any real data; the worker's stack would run out long
  // before a hostile nesting were done otherwise.
  static constexpr size_t kMaxDepth = 1000;

  class PathEntry {
   public:
    PathEntry(std::vector<v8::Local<v8::Object>>& path, v8::Local<v8::Object> object) : path_(path) {
      path_.push_back(object);
    }
    ~PathEntry() { path_.pop_back(); }
    PathEntry(const PathEntry&) = delete;
    PathEntry& operator=(const PathEntry&) = delete;

   private:
    std::vector<v8::Local<v8::Object>>& path_;
  };

  bool CanDescend(v8::Local<v8::Object> object) const;

  v8::Isolate* isolate_;
  v8::Local<v8::Context> context_;
  std::vector<v8::Local<v8::Object>> path_;
};

bool V8Reader::CanDescend(v8::Local<v8::Object> object) const {
  if (std::find(path_.begin(), path_.end(), object) != path_.end()) {
    log::Info("[TypeConverter] Warning: Circular reference detected, using undefined");
    return false;
  }
  if (path_.size() >= kMaxDepth) {
    log::Info("[TypeConverter] Warning: Nesting deeper than ", kMaxDepth, " levels, using undefined");
    return false;
  }
  return true;
}

JSValue V8Reader::Value(v8::Local<v8::Value> value) {
  if (value.IsEmpty()) return JSValue(JSValueType::Undefined);
  try {
    if (value->IsUndefined()) return JSValue(JSValueType::Undefined);
    if (value->IsNull()) return JSValue(JSValueType::Null);
    if (value->IsBoolean()) return JSValue(value->BooleanValue(isolate_));
    if (value->IsNumber()) {
      if (context_.IsEmpty()) {
        log::Info(kNoContextWarning);
        return JSValue(JSValueType::Undefined);
      }
      double number = 0.0;
      if (!value->NumberValue(context_).To(&number)) {
        log::Info("[TypeConverter] Warning: Failed to extract number value");
        return JSValue(JSValueType::Undefined);
      }
      return JSValue(number);
    }
    if (value->IsString()) return JSValue(V8ToUtf8(isolate_, value));
    if (value->IsFunction()) {
      JSValue out(JSValueType::Function);
      v8::Local<v8::Value> name = value.As<v8::Function>()->GetName();
      if (!name.IsEmpty() && name->IsString()) out.string_value = V8ToUtf8(isolate_, name);
      return out;
    }
    if (value->IsArray()) return Array(value.As<v8::Array>());
    if (value->IsObject()) return Object(value.As<v8::Object>());
    if (value->IsSymbol()) {
      v8::Local<v8::Value> description = value.As<v8::Symbol>()->Description(isolate_);
      if (description.IsEmpty() || description->IsUndefined()) return JSValue(std::string("Symbol()"));
      return JSValue("Symbol(" + V8ToUtf8(isolate_, description) + ")");
    }
    if (value->IsBigInt()) {
      if (context_.IsEmpty()) {
        log::Info(kNoContextWarning);
        return JSValue(std::string());
      }
      v8::TryCatch try_catch(isolate_);
      v8::Local<v8::String> text;
      if (!value->ToString(context_).ToLocal(&text)) return JSValue(std::string());
      return JSValue(V8ToUtf8(isolate_, text));
    }
    return JSValue(StringForm(isolate_, context_, value, "[Unknown]"));
  } catch (const std::exception& e) {
    log::Error("[TypeConverter] Exception in FromV8: ", e.what());
  } catch (...) {
    log::Error("[TypeConverter] Exception in FromV8: unknown exception");
  }
  return JSValue(JSValueType::Undefined);
}

JSValue V8Reader::Array(v8::Local<v8::Array> array) {
  JSValue out(JSValueType::Array);
  if (context_.IsEmpty()) {
    log::Info(kNoContextWarning);
    return out;
  }
  if (array.IsEmpty()) return out;
  if (!CanDescend(array)) return JSValue(JSValueType::Undefined);
  PathEntry on_path(path_, array);
  try {
    const uint32_t length = array->Length();
    uint32_t count = length;
    if (length > TypeConverter::kMaxArrayElements) {
      log::Info("[TypeConverter] Warning: Array too large (", length, " elements), truncating to 1M");
      count = static_cast<uint32_t>(TypeConverter::kMaxArrayElements);
    }
    out.array_value.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      // A handle scope per element keeps a million-element array from
      // piling up handles in the caller's scope.
      v8::HandleScope element_scope(isolate_);
      try {
        v8::TryCatch try_catch(isolate_);
        v8::Local<v8::Value> element;
        if (!array->Get(context_, i).ToLocal(&element)) {
          log::Info("[TypeConverter] Warning: Failed to get array element ", i);
          out.array_value.emplace_back(JSValueType::Undefined);
          continue;
        }
        out.array_value.push_back(Value(element));
      } catch (const std::exception& e) {
        log::Error("[TypeConverter] Exception converting array element ", i, ": ", e.what());
        // Keep the indices of later elements true.
        if (out.array_value.size() == i) out.array_value.emplace_back(JSValueType::Undefined);
      }
    }
  } catch (const std::exception& e) {
    log::Error("[TypeConverter] Exception in FromV8Array: ", e.what());
    return JSValue(JSValueType::Array);
  }
  return out;
}

JSValue V8Reader::Object(v8::Local<v8::Object> object) {
  JSValue out(JSValueType::Object);
  if (context_.IsEmpty()) {
    log::Info(kNoContextWarning);
    return out;
  }
  if (object.IsEmpty()) return out;
  if (!CanDescend(object)) return JSValue(JSValueType::Undefined);
  PathEntry on_path(path_, object);
  try {
    v8::TryCatch try_catch(isolate_);
    v8::Local<v8::Array> names;
    if (!object
             ->GetOwnPropertyNames(context_,
                                   static_cast<v8::PropertyFilter>(v8::ONLY_ENUMERABLE | v8::SKIP_SYMBOLS),
                                   v8::KeyConversionMode::kConvertToString)
             .ToLocal(&names)) {
      return out;
    }
    for (uint32_t i = 0; i < names->Length(); ++i) {
      v8::HandleScope property_scope(isolate_);
      v8::Local<v8::Value> name;
      v8::Local<v8::Value> property;
      if (!names->Get(context_, i).ToLocal(&name) || !name->IsString()) continue;
      // A throwing getter leaves the property out.
      if (!object->Get(context_, name).ToLocal(&property)) {
        try_catch.Reset();
        continue;
      }
      out.object_value[V8ToUtf8(isolate_, name)] = Value(property);
    }
  } catch (const std::exception& e) {
    log::Error("[TypeConverter] Exception in FromV8Object: ", e.what());
  }
  return out;
}

}  // namespace

JSValue TypeConverter::FromV8(v8::Local<v8::Value> value) { return V8Reader(isolate_).Value(value); }

JSValue TypeConverter::FromV8Array(v8::Local<v8::Array> array) { return V8Reader(isolate_).Array(array); }

JSValue TypeConverter::FromV8Object(v8::Local<v8::Object> object) { return V8Reader(isolate_).Object(object); }

v8::Local<v8::Value> TypeConverter::ToV8(const JSValue& value) {
  v8::EscapableHandleScope scope(isolate_);
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  if (context.IsEmpty()) {
    log::Info(kNoContextWarning);
    return v8::Local<v8::Value>();
  }
  try {
    switch (value.type) {
      case JSValueType::Undefined:
        return scope.Escape(v8::Undefined(isolate_));
      case JSValueType::Null:
        return scope.Escape(v8::Null(isolate_));
      case JSValueType::Boolean:
        return scope.Escape(v8::Boolean::New(isolate_, value.bool_value));
      case JSValueType::Number:
        return scope.Escape(v8::Number::New(isolate_, CanonicalNumber(value.number_value)));
      case JSValueType::String: {
        if (value.string_value.empty()) return scope.Escape(v8::String::Empty(isolate_));
        v8::Local<v8::String> text;
        if (value.string_value.size() > static_cast<size_t>(v8::String::kMaxLength) ||
            !V8StringFromUtf8(isolate_, value.string_value).ToLocal(&text)) {
          log::Info("[TypeConverter] Warning: Invalid UTF-8 string, using empty string");
          return scope.Escape(v8::String::Empty(isolate_));
        }
        return scope.Escape(text);
      }
      case JSValueType::Object: {
        v8::Local<v8::Value> object = ToV8Object(value);
        return object.IsEmpty() ? v8::Local<v8::Value>() : scope.Escape(object);
      }
      case JSValueType::Array: {
        v8::Local<v8::Value> array = ToV8Array(value);
        return array.IsEmpty() ? v8::Local<v8::Value>() : scope.Escape(array);
      }
      case JSValueType::Function:
        log::Info("[TypeConverter] Warning: Cannot convert Function type to V8, using undefined");
        return scope.Escape(v8::Undefined(isolate_));
      case JSValueType::Buffer: {
        static const char kNoBytes[1] = {0};
        const JSBuffer& bytes = value.buffer_value;
        const bool empty = bytes.data == nullptr || bytes.size == 0;
        // Node refuses the copy (with a JavaScript exception) when the size is
        // too large or the context has no Node environment.
        v8::TryCatch try_catch(isolate_);
        v8::Local<v8::Object> buffer;
        if ((!empty && bytes.size > node::Buffer::kMaxLength) ||
            !node::Buffer::Copy(isolate_, empty ? kNoBytes : reinterpret_cast<const char*>(bytes.data),
                                empty ? 0 : static_cast<size_t>(bytes.size))
                 .ToLocal(&buffer)) {
          log::Info("[TypeConverter] Warning: Failed to create Buffer, using null");
          return scope.Escape(v8::Null(isolate_));
        }
        return scope.Escape(buffer);
      }
      default:
        log::Info("[TypeConverter] Warning: Unknown JSValue type ", static_cast<int32_t>(value.type),
                  ", using undefined");
        return scope.Escape(v8::Undefined(isolate_));
    }
  } catch (const std::exception& e) {
    log::Error("[TypeConverter] Exception in ToV8: ", e.what());
  }
  return scope.Escape(v8::Undefined(isolate_));
}

v8::Local<v8::Value> TypeConverter::ToV8Array(const JSValue& value) {
  v8::EscapableHandleScope scope(isolate_);
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  if (context.IsEmpty()) {
    log::Info(kNoContextWarning);
    return v8::Local<v8::Value>();
  }
  try {
    const size_t total = value.array_value.size();
    size_t count = total;
    if (total > kMaxArrayElements) {
      log::Info("[TypeConverter] Warning: Array too large (", total, " elements), truncating to 1M");
      count = kMaxArrayElements;
    }
    v8::Local<v8::Array> array = v8::Array::New(isolate_, static_cast<int>(count));
    for (size_t i = 0; i < count; ++i) {
      v8::HandleScope element_scope(isolate_);
      try {
        v8::TryCatch try_catch(isolate_);
        v8::Local<v8::Value> element = ToV8(value.array_value[i]);
        if (element.IsEmpty()) element = v8::Undefined(isolate_);
        // A data property, so that setters on Array.prototype are never run.
        if (!array->CreateDataProperty(context, static_cast<uint32_t>(i), element).FromMaybe(false)) {
          log::Info("[TypeConverter] Warning: Failed to set array element ", i);
        }
      } catch (const std::exception& e) {
        log::Error("[TypeConverter] Exception converting array element ", i, ": ", e.what());
      }
    }
    return scope.Escape(array);
  } catch (const std::exception& e) {
    log::Error("[TypeConverter] Exception in ToV8Array: ", e.what());
  }
  return scope.Escape(v8::Array::New(isolate_));
}

v8::Local<v8::Value> TypeConverter::ToV8Object(const JSValue& value) {
  v8::EscapableHandleScope scope(isolate_);
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  if (context.IsEmpty()) {
    log::Info(kNoContextWarning);
    return v8::Local<v8::Value>();
  }
  try {
    const size_t total = value.object_value.size();
    if (total > kMaxObjectProperties) {
      log::Info("[TypeConverter] Warning: Object too large (", total, " properties), some may be skipped");
    }
    v8::Local<v8::Object> object = v8::Object::New(isolate_);
    size_t set = 0;
    for (const auto& [key, property] : value.object_value) {
      if (set >= kMaxObjectProperties) {
        log::Info("[TypeConverter] Warning: Object property limit reached, skipping remaining properties");
        break;
      }
      if (key.empty()) {
        log::Info("[TypeConverter] Warning: Skipping empty property key");
        continue;
      }
      v8::HandleScope property_scope(isolate_);
      try {
        v8::Local<v8::String> name;
        if (key.size() > static_cast<size_t>(v8::String::kMaxLength) ||
            !V8StringFromUtf8(isolate_, key).ToLocal(&name)) {
          log::Info("[TypeConverter] Warning: Invalid UTF-8 in property key: ", key);
          continue;
        }
        v8::TryCatch try_catch(isolate_);
        v8::Local<v8::Value> element = ToV8(property);
        if (element.IsEmpty()) element = v8::Undefined(isolate_);
        // A data property: a key such as "__proto__" becomes an own
        // property instead of replacing the prototype.
        if (!object->CreateDataProperty(context, name, element).FromMaybe(false)) {
          log::Info("[TypeConverter] Warning: Failed to set property: ", key);
          continue;
        }
        ++set;
      } catch (const std::exception& e) {
        log::Error("[TypeConverter] Exception converting object property '", key, "': ", e.what());
      }
    }
    return scope.Escape(object);
  } catch (const std::exception& e) {
    log::Error("[TypeConverter] Exception in ToV8Object: ", e.what());
  }
  return scope.Escape(v8::Object::New(isolate_));
}

}  // namespace jsbridge
}  // namespace morvanta
