// Bridge values written as JavaScript source, the form in which call
// arguments reach the SDK.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <string>
#include <vector>

#include "bridge/script_writer.h"

using morvanta::jsbridge::BuildCallScript;
using morvanta::jsbridge::JSValue;
using morvanta::jsbridge::JSValueType;
using morvanta::jsbridge::ToJavaScriptSource;

namespace {

JSValue Str(const std::string& s) { return JSValue(s); }
JSValue Num(double d) { return JSValue(d); }

JSValue Obj(std::vector<std::pair<std::string, JSValue>> members) {
  JSValue v(JSValueType::Object);
  for (auto& m : members) v.object_value[m.first] = m.second;
  return v;
}

JSValue Arr(std::vector<JSValue> items) {
  JSValue v(JSValueType::Array);
  v.array_value = std::move(items);
  return v;
}

JSValue Buf(const uint8_t* data, uint64_t size) {
  JSValue v(JSValueType::Buffer);
  v.buffer_value.data = data;
  v.buffer_value.size = size;
  return v;
}

}  // namespace

TEST(ScriptWriter, EveryKindHasItsSourceForm) {
  static const uint8_t kBytes[] = {0, 255, 16, 7};
  struct Row {
    const char* what;
    JSValue value;
    std::string source;
  };
  const Row rows[] = {
      {"undefined", JSValue(), "undefined"},
      {"null", JSValue(JSValueType::Null), "null"},
      {"true", JSValue(true), "true"},
      {"false", JSValue(false), "false"},
      {"integer", Num(5), "5.000000"},
      {"zero", Num(0), "0.000000"},
      {"negative", Num(-2.5), "-2.500000"},
      {"rounded to six decimals", Num(0.1234567), "0.123457"},
      {"below the sixth decimal", Num(0.0000004), "0.000000"},
      {"large", Num(1e20), "100000000000000000000.000000"},
      // Found by fuzz_call_args: "%f" wrote nan and inf, which a script reads
      // as global names.
      {"not a number", Num(std::nan("")), "(0/0)"},
      {"negative not a number", Num(-std::nan("")), "(0/0)"},
      {"infinity", Num(HUGE_VAL), "(1/0)"},
      {"negative infinity", Num(-HUGE_VAL), "(-1/0)"},
      {"empty string", Str(""), "\"\""},
      {"plain string", Str("abc"), "\"abc\""},
      {"function", JSValue(JSValueType::Function), "null"},
      {"buffer", Buf(kBytes, sizeof(kBytes)), "Buffer.from([0,255,16,7])"},
      {"empty buffer", Buf(kBytes, 0), "Buffer.from([])"},
      {"buffer without bytes", Buf(nullptr, 3), "Buffer.from([])"},
      {"empty object", JSValue(JSValueType::Object), "{}"},
      {"empty array", JSValue(JSValueType::Array), "[]"},
      {"array", Arr({Num(1), Str("s"), JSValue(JSValueType::Null), JSValue()}),
       "[1.000000, \"s\", null, undefined]"},
      // Members come in the key order of the map, whatever the insertion order.
      {"object", Obj({{"zeta", Num(1)}, {"alpha", Str("x")}, {"Mid", JSValue(true)}}),
       "{\"Mid\": true, \"alpha\": \"x\", \"zeta\": 1.000000}"},
      {"escaped key", Obj({{"k\"e\\y\n", JSValue(JSValueType::Null)}}), "{\"k\\\"e\\\\y\\n\": null}"},
      // A literal "__proto__" key would set the prototype: computed, it is a member.
      {"prototype key", Obj({{"__proto__", Obj({})}, {"_proto_", Num(1)}}),
       "{[\"__proto__\"]: {}, \"_proto_\": 1.000000}"},
      {"nested", Obj({{"list", Arr({Obj({{"x", JSValue(false)}}), Arr({})})}, {"o", Obj({})}}),
       "{\"list\": [{\"x\": false}, []], \"o\": {}}"},
  };
  for (const Row& row : rows) EXPECT_EQ(ToJavaScriptSource(row.value), row.source) << row.what;
}

TEST(ScriptWriter, TheLargestNumberIsWrittenInFull) {
  std::string max = ToJavaScriptSource(Num(DBL_MAX));
  ASSERT_EQ(max.size(), 309u + 7u) << max;  // 309 digits, the point, six decimals
  EXPECT_EQ(max.compare(0, 17, "17976931348623157"), 0) << max;
  EXPECT_EQ(max.substr(max.size() - 7), ".000000");
  EXPECT_EQ(ToJavaScriptSource(Num(-DBL_MAX)), "-" + max);
}

TEST(ScriptWriter, StringEscapesOnlyTheListedCharacters) {
  struct Row {
    const char* what;
    std::string text;
    std::string source;
  };
  const Row rows[] = {
      {"quote", "a\"b", "\"a\\\"b\""},
      {"backslash", "a\\b", "\"a\\\\b\""},
      {"backspace", "\b", "\"\\b\""},
      {"form feed", "\f", "\"\\f\""},
      {"line feed", "\n", "\"\\n\""},
      {"carriage return", "\r", "\"\\r\""},
      {"tab", "\t", "\"\\t\""},
      {"all at once", "\"\\\b\f\n\r\t", "\"\\\"\\\\\\b\\f\\n\\r\\t\""},
      // Every other byte passes through as it is.
      {"apostrophe", "it's", "\"it's\""},
      {"vertical tab", "\v", "\"\v\""},
      {"start of heading", "\x01", "\"\x01\""},
      {"escape", "\x1b[0m", "\"\x1b[0m\""},
      {"delete", "\x7f", "\"\x7f\""},
      {"nul", std::string("a\0b", 3), std::string("\"a\0b\"", 5)},
      {"utf-8", "h\xc3\xa9llo \xe2\x80\xa8", "\"h\xc3\xa9llo \xe2\x80\xa8\""},
  };
  for (const Row& row : rows) EXPECT_EQ(ToJavaScriptSource(Str(row.text)), row.source) << row.what;
}

TEST(ScriptWriter, BytesThatAreNotUtf8BecomeOneReplacementCharacterEach) {
  const std::string kFffd = "\xEF\xBF\xBD";
  struct Row {
    const char* what;
    std::string text;
    std::string inside;  // the source between the quotes
  };
  const Row rows[] = {
      {"stray continuation byte", "a\x80" "b", "a" + kFffd + "b"},
      {"lead byte without its continuation", "a\xC3" "b", "a" + kFffd + "b"},
      {"overlong quote cannot end the string", "a\xC0\xA2" "b", "a" + kFffd + kFffd + "b"},
      {"overlong three-byte form", "\xE0\x80\xAF", kFffd + kFffd + kFffd},
      {"encoded surrogate", "\xED\xA0\x80", kFffd + kFffd + kFffd},
      {"above U+10FFFF", "\xF4\x90\x80\x80", kFffd + kFffd + kFffd + kFffd},
      {"byte that never occurs", "\xFF", kFffd},
      {"cut off at the end", "x\xE2\x82", "x" + kFffd + kFffd},
      // Well-formed sequences of every length, at their edges, pass unchanged.
      {"edges of the well-formed",
       "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ToJavaScriptSource(Str(row.text)), "\"" + row.inside + "\"") << row.what;
  }
  // Keys of an object are written the same way.
  EXPECT_EQ(ToJavaScriptSource(Obj({{"k\xFF", Num(1)}})), "{\"k" + kFffd + "\": 1.000000}");
}

TEST(ScriptWriter, CallScriptJoinsArgumentsAfterThePath) {
  static const uint8_t kBytes[] = {1, 2};
  struct Row {
    const char* what;
    std::string path;
    std::vector<JSValue> args;
    std::string script;
  };
  const Row rows[] = {
      {"no arguments", "morVantaMeeting.getVersion", {}, "morVantaMeeting.getVersion()"},
      {"several", "a.b.c", {Num(5), JSValue(JSValueType::Null), Buf(kBytes, 2)},
       "a.b.c(5.000000, null, Buffer.from([1,2]))"},
      {"nested", "g", {Obj({{"k", Arr({Str("v\n")})}})}, "g({\"k\": [\"v\\n\"]})"},
  };
  for (const Row& row : rows) EXPECT_EQ(BuildCallScript(row.path, row.args), row.script) << row.what;
}
