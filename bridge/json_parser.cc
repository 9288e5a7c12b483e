// JSON text from the SDK becomes a product JSValue through RapidJSON. The
// parse is iterative so hostile nesting cannot exhaust the stack, and the
// conversion refuses anything nested deeper than kMaxJsonDepth with an error
// text in RapidJSON's own manner (kJsonTooDeepError).
//
// RapidJSON's length-taking Parse() has two leaks that let invalid text
// through, so the text is fed to it through a plain MemoryStream instead:
//  - its UTF-8 input wrapper drops the three byte-order-mark bytes one by one,
//    each on its own, so a truncated mark ("\xEF\xBB{}") vanished as well;
//  - the end of the text is seen as a NUL byte, so anything after a raw NUL
//    ("123\0garbage") was never looked at.
// Here a complete UTF-8 byte-order mark is still skipped (as RapidJSON means
// to), a partial one is an error, and the parser stops after the root value so
// that the rest of the text can be checked by length: only JSON white space
// may follow it.
#include "bridge/product_value.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>

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

bool IsJsonWhitespace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

bool TryParseJson(const std::string& json, JSValue& out, std::string* error) {
  return TryParseJson(json, out, error, nullptr);
}

bool TryParseJson(const std::string& json, JSValue& out, std::string* error, size_t* offset) {
  static const char kUtf8Bom[] = "\xEF\xBB\xBF";
  size_t start = 0;
  if (json.compare(0, 3, kUtf8Bom) == 0) start = 3;

  rapidjson::MemoryStream stream(json.data() + start, json.size() - start);
  rapidjson::Document strict;
  strict.ParseStream<rapidjson::kParseIterativeFlag | rapidjson::kParseStopWhenDoneFlag,
                     rapidjson::UTF8<>>(stream);
  if (strict.HasParseError()) {
    if (error) *error = rapidjson::GetParseError_En(strict.GetParseError());
    if (offset) *offset = start + strict.GetErrorOffset();
    return false;
  }
  for (size_t i = start + stream.Tell(); i < json.size(); ++i) {
    if (!IsJsonWhitespace(json[i])) {
      if (offset) *offset = i;
      if (error) {
        *error = rapidjson::GetParseError_En(rapidjson::kParseErrorDocumentRootNotSingular);
      }
      return false;
    }
  }
  JSValue converted;
  if (!Convert(strict, converted, 0)) {
    if (error) *error = kJsonTooDeepError;
    if (offset) *offset = 0;
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
