// JSON text from the SDK becomes a product JSValue through RapidJSON. The
// parse is iterative so hostile nesting cannot exhaust the stack, and the
// conversion refuses anything nested deeper than kMaxJsonDepth.
#include "bridge/product_value.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

namespace morvanta {
namespace {

bool Convert(const rapidjson::Value& in, JSValue& out, int depth) {
  if (depth > kMaxJsonDepth) return false;
  if (in.IsNull()) {
    out = JSValue::Null();
  } else if (in.IsBool()) {
    out = JSValue(in.GetBool());
  } else if (in.IsNumber()) {
    out = JSValue(in.GetDouble());
  } else if (in.IsString()) {
    out = JSValue(std::string(in.GetString(), in.GetStringLength()));
  } else if (in.IsArray()) {
    out = JSValue::Array();
    out.arrayValue.reserve(in.Size());
    for (const auto& element : in.GetArray()) {
      JSValue item;
      if (!Convert(element, item, depth + 1)) return false;
      out.arrayValue.push_back(std::move(item));
    }
  } else if (in.IsObject()) {
    out = JSValue::Object();
    for (const auto& member : in.GetObject()) {
      JSValue item;
      if (!Convert(member.value, item, depth + 1)) return false;
      // A key that occurs twice keeps its last value.
      out.objectValue[std::string(member.name.GetString(), member.name.GetStringLength())] =
          std::move(item);
    }
  }
  return true;
}

}  // namespace

bool TryParseJson(const std::string& json, JSValue& out, std::string* error) {
  rapidjson::Document strict;
  strict.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
  if (strict.HasParseError()) {
    if (error) *error = rapidjson::GetParseError_En(strict.GetParseError());
    return false;
  }
  JSValue converted;
  if (!Convert(strict, converted, 0)) {
    if (error) *error = "Nesting too deep";
    return false;
  }
  out = std::move(converted);
  return true;
}

JSValue ParseJsonToJSValue(const std::string& json) {
  JSValue value;
  if (TryParseJson(json, value, nullptr)) return value;
  return JSValue(json);
}

}  // namespace morvanta
