// JSON text from the SDK turned into product values.
#include <gtest/gtest.h>

#include <string>

#include "bridge/product_value.h"

using morvanta::JSValue;
using morvanta::JSValueType;
using morvanta::kMaxJsonDepth;
using morvanta::ParseJsonToJSValue;
using morvanta::TryParseJson;
using morvanta::TryParseJsonCuttingDeepValues;

namespace {

// How many arrays are nested through first elements; `end` gets the value
// below the innermost one (nullptr if that array is empty).
int ArrayDepth(const JSValue& v, const JSValue** end = nullptr) {
  int depth = 0;
  const JSValue* at = &v;
  while (at && at->IsArray()) {
    ++depth;
    at = at->arrayValue.empty() ? nullptr : &at->arrayValue[0];
  }
  if (end) *end = at;
  return depth;
}

}  // namespace

TEST(JsonValue, TextThatIsNotJsonBecomesAStringHoldingIt) {
  const std::string texts[] = {
      "",
      "hello",
      "{",
      "[1,]",
      "{\"a\":1} trailing",
      "nul",
      "'single'",
      "{a:1}",
      "01",
      "1e400",                        // too big for a double
      std::string("123\0garbage", 11),  // nothing may hide behind a NUL
      "\xEF\xBB{}",                   // a partial byte-order mark
      "\"unterminated",
  };
  for (const std::string& text : texts) {
    JSValue v = ParseJsonToJSValue(text);
    EXPECT_EQ(v.type, JSValueType::String) << text;
    EXPECT_EQ(v.stringValue, text);
  }
}

TEST(JsonValue, ScalarsMapToTheirKinds) {
  struct Row {
    const char* text;
    JSValueType type;
    double number;
    bool boolean;
    std::string string;
  };
  const Row rows[] = {
      {"null", JSValueType::Null, 0, false, ""},
      {"true", JSValueType::Boolean, 0, true, ""},
      {" false\n", JSValueType::Boolean, 0, false, ""},
      {"42", JSValueType::Number, 42, false, ""},
      {"-0.5e1", JSValueType::Number, -5, false, ""},
      {"1.25", JSValueType::Number, 1.25, false, ""},
      // Integers beyond 2^53 arrive as the nearest double.
      {"9007199254740993", JSValueType::Number, 9007199254740992.0, false, ""},
      {"18446744073709551615", JSValueType::Number, 18446744073709551615.0, false, ""},
      {"-9223372036854775808", JSValueType::Number, -9223372036854775808.0, false, ""},
      {"\"h\\u00e9\\n\"", JSValueType::String, 0, false, "h\xc3\xa9\n"},
      {"\"a\\u0000b\"", JSValueType::String, 0, false, std::string("a\0b", 3)},
      {"\xEF\xBB\xBF\"bom\"", JSValueType::String, 0, false, "bom"},
  };
  for (const Row& row : rows) {
    JSValue v = ParseJsonToJSValue(row.text);
    EXPECT_EQ(v.type, row.type) << row.text;
    EXPECT_EQ(v.numberValue, row.number) << row.text;
    EXPECT_EQ(v.boolValue, row.boolean) << row.text;
    EXPECT_EQ(v.stringValue, row.string) << row.text;
  }
}

TEST(JsonValue, ContainersNestAndDuplicateKeysKeepTheLast) {
  JSValue v = ParseJsonToJSValue(
      "{\"a\": 1, \"list\": [true, null, {\"deep\": [2]}], \"a\": {\"x\": 0}, \"a\": \"last\"}");
  ASSERT_EQ(v.type, JSValueType::Object);
  EXPECT_EQ(v.objectValue.size(), 2u);
  ASSERT_NE(v.Find("a"), nullptr);
  // The last duplicate replaces the earlier ones whole, whatever their kind.
  EXPECT_EQ(v.Find("a")->type, JSValueType::String);
  EXPECT_EQ(v.Find("a")->stringValue, "last");
  EXPECT_TRUE(v.Find("a")->objectValue.empty());

  const JSValue* list = v.Find("list");
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->arrayValue.size(), 3u);
  EXPECT_EQ(list->arrayValue[0].type, JSValueType::Boolean);
  EXPECT_EQ(list->arrayValue[1].type, JSValueType::Null);
  const JSValue* deep = list->arrayValue[2].Find("deep");
  ASSERT_NE(deep, nullptr);
  ASSERT_EQ(deep->arrayValue.size(), 1u);
  EXPECT_EQ(deep->arrayValue[0].numberValue, 2);
}

TEST(JsonValue, DeepNestingNeverCrashes) {
  // Within the limit the whole depth arrives.
  const int allowed = kMaxJsonDepth;
  EXPECT_EQ(ArrayDepth(ParseJsonToJSValue(std::string(allowed, '[') + std::string(allowed, ']'))), allowed);

  // Far beyond it, closed or not, the text comes back as a string.
  std::string objects;
  for (int i = 0; i < 50000; ++i) objects += "{\"a\":";
  objects += "1" + std::string(50000, '}');
  for (const std::string& text :
       {std::string(100000, '[') + std::string(100000, ']'), std::string(100000, '['), objects}) {
    JSValue deep = ParseJsonToJSValue(text);
    EXPECT_EQ(deep.type, JSValueType::String);
    EXPECT_EQ(deep.stringValue.size(), text.size());
  }
}

// Found by fuzz_events: JSON.stringify writes a string's lone surrogate as an
// escape, which the parser refused, so one such text in an event record
// lost the whole drained batch.
TEST(JsonValue, EscapedLoneSurrogatesReadAsReplacementCharacters) {
  struct Row {
    const char* text;
    std::string expected;
  };
  const std::string fffd = "\xEF\xBF\xBD";
  const Row rows[] = {
      {R"(["a\ud800b"])", "a" + fffd + "b"},
      {R"(["\uDC00"])", fffd},
      {R"(["\udbff"])", fffd},
      {R"(["\ud800\u0041"])", fffd + "A"},
      {R"(["\ud800\ud800\udc00"])", fffd + "\xF0\x90\x80\x80"},
      {R"(["\ud83d\ude00", "\\ud800"])", "\xF0\x9F\x98\x80"},
  };
  for (const Row& row : rows) {
    JSValue v;
    std::string error;
    ASSERT_TRUE(TryParseJson(row.text, v, &error)) << row.text << ": " << error;
    ASSERT_EQ(v.type, JSValueType::Array) << row.text;
    EXPECT_EQ(v.arrayValue[0].stringValue, row.expected) << row.text;
  }
  // An escaped backslash before "ud800" is text, not an escape, and stays.
  JSValue v;
  ASSERT_TRUE(TryParseJson(R"(["\ud83d\ude00", "\\ud800"])", v, nullptr));
  EXPECT_EQ(v.arrayValue[1].stringValue, "\\ud800");
  // Keys too; and a surrogate escape outside a string is still an error.
  ASSERT_TRUE(TryParseJson(R"({"k\udfff": 1})", v, nullptr));
  EXPECT_NE(v.Find("k" + fffd), nullptr);
  std::string error;
  EXPECT_FALSE(TryParseJson(R"([\ud800])", v, &error));
  EXPECT_FALSE(TryParseJson(R"(["\ud800)", v, &error));
}

// Found by fuzz_events: a drained batch is one JSON text, so one record
// nested too deep lost every record of its batch. The channel's parse cuts
// the deep value off instead; the plain parse still refuses the text.
TEST(JsonValue, TheCuttingParseReplacesOnlyTheValuesNestedTooDeep) {
  const int too_deep = kMaxJsonDepth + 10;
  const std::string text = R"({"events": [{"deep": )" + std::string(too_deep, '[') + std::string(too_deep, ']') +
                           R"(}, {"next": 2}]})";
  JSValue v;
  std::string error;
  EXPECT_FALSE(TryParseJson(text, v, &error));
  EXPECT_EQ(error, morvanta::kJsonTooDeepError);

  size_t offset = 99;
  ASSERT_TRUE(TryParseJsonCuttingDeepValues(text, v, &error, &offset));
  const JSValue* events = v.Find("events");
  ASSERT_TRUE(events && events->IsArray() && events->arrayValue.size() == 2u);
  ASSERT_NE(events->arrayValue[1].Find("next"), nullptr);
  EXPECT_EQ(events->arrayValue[1].Find("next")->numberValue, 2);
  // Arrays down to the limit, then the marker in place of the rest.
  const JSValue* deep = events->arrayValue[0].Find("deep");
  ASSERT_NE(deep, nullptr);
  const JSValue* at = nullptr;
  // Three levels above: the object, the events array, the record.
  EXPECT_EQ(3 + ArrayDepth(*deep, &at), kMaxJsonDepth + 1);
  ASSERT_NE(at, nullptr);
  EXPECT_EQ(at->stringValue, morvanta::kJsonTooDeepValue);
  // Text that does not parse fails alike.
  EXPECT_FALSE(TryParseJsonCuttingDeepValues("[1,", v, &error, &offset));
  EXPECT_EQ(offset, 3u);
}
