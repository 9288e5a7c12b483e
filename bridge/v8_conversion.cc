// The bridge's own conversions between V8 values and JSValue. They run on the
// worker inside an open handle scope and never fail a task: a problem becomes
// a substitute value.
#include "bridge/js_bridge_impl.h"
#include "bridge/v8_text.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

std::string StringForm(v8::Local<v8::Context> context, v8::Local<v8::Value> value, const char* fallback) {
  v8::Local<v8::String> text;
  if (value.IsEmpty() || !value->ToString(context).ToLocal(&text)) return fallback;
  return V8ToUtf8(context->GetIsolate(), text);
}

// Undefined, null, booleans, numbers and strings; false for anything else.
bool ConvertPrimitive(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value,
                      JSValue& out) {
  if (value->IsUndefined()) {
    out = JSValue(JSValueType::Undefined);
  } else if (value->IsNull()) {
    out = JSValue(JSValueType::Null);
  } else if (value->IsBoolean()) {
    out = JSValue(value->BooleanValue(isolate));
  } else if (value->IsNumber()) {
    out = JSValue(value->NumberValue(context).FromMaybe(0.0));
  } else if (value->IsString()) {
    out = JSValue(V8ToUtf8(isolate, value));
  } else {
    return false;
  }
  return true;
}

}  // namespace

JSValue JSBridgeImpl::SimpleFromV8(v8::Local<v8::Value> value) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  JSValue out;
  if (value.IsEmpty()) return out;
  if (ConvertPrimitive(isolate, context, value, out)) return out;
  if (value->IsPromise()) return PromiseFromV8(value.As<v8::Promise>());
  if (value->IsObject()) {
    log::Info("[JSBridge] Processing object type...");
    v8::Local<v8::Value> json;
    v8::Local<v8::Value> stringify;
    v8::Local<v8::Value> text;
    if (context->Global()->Get(context, V8String(isolate, "JSON")).ToLocal(&json) && json->IsObject() &&
        json.As<v8::Object>()->Get(context, V8String(isolate, "stringify")).ToLocal(&stringify) &&
        stringify->IsFunction() &&
        stringify.As<v8::Function>()->Call(context, json, 1, &value).ToLocal(&text) && text->IsString()) {
      std::string serialized = V8ToUtf8(isolate, text);
      log::Info("[JSBridge] Object converted to JSON: ", serialized);
      return JSValue(std::move(serialized));
    }
    std::string shown = StringForm(context, value, "[object Object]");
    log::Info("[JSBridge] Object JSON conversion failed, using string representation: \"", shown, "\"");
    return JSValue(std::move(shown));
  }
  std::string shown = StringForm(context, value, "[unknown type]");
  log::Info("[JSBridge] Converting unknown type to string: \"", shown, "\"");
  return JSValue(std::move(shown));
}

JSValue JSBridgeImpl::ConvertV8ObjectToJSValue(v8::Local<v8::Value> value, v8::Local<v8::Context> context) {
  return ConvertNested(value, context, 0);
}

JSValue JSBridgeImpl::ConvertNested(v8::Local<v8::Value> value, v8::Local<v8::Context> context, int depth) {
  v8::Isolate* isolate = context->GetIsolate();
  JSValue out;
  if (value.IsEmpty()) return out;
  if (ConvertPrimitive(isolate, context, value, out)) return out;
  // The value comes from JSON.parse, so it has no cycles; the depth guard
  // only keeps a pathological nesting from exhausting the worker's stack.
  if (depth >= kMaxConversionDepth) return JSValue(std::string("[nesting too deep]"));
  if (value->IsArray()) {
    v8::Local<v8::Array> array = value.As<v8::Array>();
    out = JSValue(JSValueType::Array);
    for (uint32_t i = 0; i < array->Length(); ++i) {
      v8::Local<v8::Value> element;
      if (!array->Get(context, i).ToLocal(&element)) continue;
      out.array_value.push_back(ConvertNested(element, context, depth + 1));
    }
    return out;
  }
  if (value->IsObject()) {
    v8::Local<v8::Object> object = value.As<v8::Object>();
    out = JSValue(JSValueType::Object);
    v8::Local<v8::Array> names;
    if (object->GetOwnPropertyNames(context).ToLocal(&names)) {
      for (uint32_t i = 0; i < names->Length(); ++i) {
        v8::Local<v8::Value> name;
        v8::Local<v8::Value> property;
        if (!names->Get(context, i).ToLocal(&name) || !name->IsString()) continue;
        if (!object->Get(context, name).ToLocal(&property)) continue;
        out.object_value[V8ToUtf8(isolate, name)] = ConvertNested(property, context, depth + 1);
      }
    }
    log::Info("[JSBridge] Converted V8 object to JSValue with ", out.object_value.size(), " properties");
    return out;
  }
  return JSValue(StringForm(context, value, "[unknown type]"));
}

v8::Local<v8::Value> JSBridgeImpl::SimpleToV8(const JSValue& value) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  switch (value.type) {
    case JSValueType::Undefined: return v8::Undefined(isolate);
    case JSValueType::Null: return v8::Null(isolate);
    case JSValueType::Boolean: return v8::Boolean::New(isolate, value.bool_value);
    case JSValueType::Number: return v8::Number::New(isolate, value.number_value);
    case JSValueType::String: return V8String(isolate, value.string_value);
    default: return V8String(isolate, "[Complex Object]");
  }
}

}  // namespace jsbridge
}  // namespace morvanta
