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
//
// JSON.stringify writes a string's lone UTF-16 surrogate as an escape
// ("\ud800"), which RapidJSON refuses (a high one) or turns into bytes that
// are not UTF-8 (a low one); such escapes are read as U+FFFD instead.
#include "bridge/product_value.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>

namespace morvanta {
namespace {

// Converts `in`; a value deeper than kMaxJsonDepth fails the conversion, or
// with `cut` becomes kJsonTooDeepValue.
bool Convert(const rapidjson::Value& in, JSValue& out, int depth, bool cut) {
  if (depth > kMaxJsonDepth) {
    if (!cut) return false;
    out = JSValue(kJsonTooDeepValue);
    return true;
  }
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
      if (!Convert(element, item, depth + 1, cut)) return false;
      out.arrayValue.push_back(std::move(item));
    }
  } else if (in.IsObject()) {
    out = JSValue::Object();
    for (const auto& member : in.GetObject()) {
      JSValue item;
      if (!Convert(member.value, item, depth + 1, cut)) return false;
      // A key that occurs twice keeps its last value.
      out.objectValue[std::string(member.name.GetString(), member.name.GetStringLength())] =
          std::move(item);
    }
  }
  return true;
}

bool IsJsonWhitespace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The UTF-16 unit of the escape "\uXXXX" at `at` (which points at the
// backslash), or -1 when there is none.
long EscapedUnit(const std::string& text, size_t at) {
  if (at + 6 > text.size() || text[at] != '\\' || text[at + 1] != 'u') return -1;
  long unit = 0;
  for (size_t i = at + 2; i < at + 6; ++i) {
    const char c = text[i];
    int digit;
    if (c >= '0' && c <= '9') digit = c - '0';
    else if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    else return -1;
    unit = unit * 16 + digit;
  }
  return unit;
}

// Whether `text` holds an escape of a UTF-16 surrogate ("\\ud800" to "\\udfff").
bool HasSurrogateEscape(const std::string& text) {
  for (size_t at = text.find("\\u"); at != std::string::npos; at = text.find("\\u", at + 1)) {
    const long unit = EscapedUnit(text, at);
    if (unit >= 0xD800 && unit <= 0xDFFF) return true;
  }
  return false;
}

// `text` with every escaped lone surrogate inside a string ("\ud800" not
// followed by an escaped low surrogate, or a low one alone) written as
// "\ufffd", the same length. JSON.stringify escapes a string's lone
// surrogates this way, and UTF-8 cannot carry them.
std::string ReplaceLoneSurrogates(std::string text) {
  bool in_string = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (!in_string) {
      in_string = c == '"';
      continue;
    }
    if (c == '"') {
      in_string = false;
    } else if (c == '\\') {
      const long unit = EscapedUnit(text, i);
      if (unit >= 0xD800 && unit <= 0xDBFF) {
        const long next = EscapedUnit(text, i + 6);
        if (next >= 0xDC00 && next <= 0xDFFF) {
          i += 11;  // a pair: both escapes stay
          continue;
        }
      }
      if (unit >= 0xD800 && unit <= 0xDFFF) text.replace(i + 2, 4, "fffd");
      ++i;  // the escaped character
    }
  }
  return text;
}

bool Parse(const std::string& json, JSValue& out, std::string* error, size_t* offset, bool cut) {
  static const char kUtf8Bom[] = "\xEF\xBB\xBF";
  size_t start = 0;
  if (json.compare(0, 3, kUtf8Bom) == 0) start = 3;

  // A lone surrogate is read as U+FFFD, as everywhere else text crosses:
  // RapidJSON refuses a lone high one and writes a lone low one as bytes
  // that are not UTF-8.
  std::string repaired;
  const std::string* text = &json;
  if (HasSurrogateEscape(json)) {
    repaired = ReplaceLoneSurrogates(json);
    text = &repaired;
  }
  rapidjson::MemoryStream stream(text->data() + start, text->size() - start);
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
  if (!Convert(strict, converted, 0, cut)) {
    if (error) *error = kJsonTooDeepError;
    if (offset) *offset = 0;
    return false;
  }
  out = std::move(converted);
  return true;
}

}  // namespace

bool TryParseJson(const std::string& json, JSValue& out, std::string* error) {
  return TryParseJson(json, out, error, nullptr);
}

bool TryParseJson(const std::string& json, JSValue& out, std::string* error, size_t* offset) {
  return Parse(json, out, error, offset, false);
}

bool TryParseJsonCuttingDeepValues(const std::string& json, JSValue& out, std::string* error, size_t* offset) {
  return Parse(json, out, error, offset, true);
}

JSValue ParseJsonToJSValue(const std::string& json) {
  JSValue value;
  if (TryParseJson(json, value, nullptr)) return value;
  return JSValue(json);
}

}  // namespace morvanta
