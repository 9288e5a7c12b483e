// TypeConverter against a live isolate: every kind in both directions, the
// substitutes for what has no counterpart, and the size limits at their edges.
#include <gtest/gtest.h>
#include <node_buffer.h>

#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>

#include "bridge/isolate_fixture.h"
#include "bridge/type_converter.h"

namespace {

using namespace morvanta::jsbridge;

// A compact rendering of a value tree, so that whole results compare at once.
std::string Show(const JSValue& v) {
  std::ostringstream os;
  os.precision(17);
  const char* sep = "";
  switch (v.type) {
    case JSValueType::Undefined: return "undefined";
    case JSValueType::Null: return "null";
    case JSValueType::Boolean: return v.bool_value ? "true" : "false";
    case JSValueType::Number: os << v.number_value; break;
    case JSValueType::String:
      for (char c : v.string_value) c ? os << c : os << "\\0";
      return '"' + os.str() + '"';
    case JSValueType::Array:
      for (const JSValue& e : v.array_value) os << sep << Show(e), sep = ",";
      return '[' + os.str() + ']';
    case JSValueType::Object:
      for (const auto& [key, e] : v.object_value) os << sep << key << ':' << Show(e), sep = ",";
      return '{' + os.str() + '}';
    case JSValueType::Function: return "fn:" + v.string_value;
    default: return "kind " + std::to_string(static_cast<int>(v.type));
  }
  return os.str();
}

using TypeConverterTest = bridge_test::IsolateTest;
using bridge_test::LogCapture;

// `line` must be in the log; without one the log must hold no `marker`, or
// with no marker either, nothing at all.
void ExpectLogLine(const std::string& log, const char* line, const std::string& marker, const std::string& what) {
  if (*line) {
    EXPECT_NE(log.find(line), std::string::npos) << what << "\n" << log;
  } else if (marker.empty()) {
    EXPECT_EQ(log, "") << what;
  } else {
    EXPECT_EQ(log.find(marker), std::string::npos) << what << "\n" << log;
  }
}

TEST_F(TypeConverterTest, FromV8CoversEveryKind) {
  struct Row {
    const char* code;
    const char* expected;
    const char* log;  // a line the conversion must write, or "" when it must write none
  } rows[] = {
      {"[undefined, null, false, 0.1 + 0.2, -1e308 * 10]", "[undefined,null,false,0.30000000000000004,-inf]", ""},
      {"['h\\u00e9llo', 'a\\0b']", "[\"h\xC3\xA9llo\",\"a\\0b\"]", ""},
      {"[Symbol('tag'), Symbol(), 2n ** 70n]", "[\"Symbol(tag)\",\"Symbol()\",\"1180591620717411303424\"]", ""},
      {"[function namedFn() {}, () => 1, [, 2]]", "[fn:namedFn,fn:,[undefined,2]]", ""},
      {"({b: 2, a: {c: [true]}, 7: 'seven', [Symbol()]: 1})", "{7:\"seven\",a:{c:[true]},b:2}", ""},
      {"[Object.defineProperty({}, 'hidden', {value: 1}), new Number(5)]", "[{},{}]", ""},
      {"Object.defineProperty([1, 2, 3], 1, {get() { throw 0; }})", "[1,undefined,3]",
       "[TypeConverter] Warning: Failed to get array element 1"},
      {"({ok: 1, get bad() { throw 0; }})", "{ok:1}", ""},
      {"(() => { const a = {n: 1}; a.self = a; return a; })()", "{n:1,self:undefined}", "Circular reference"},
      {"(() => { const s = {v: 1}; return [s, [s]]; })()", "[{v:1},[{v:1}]]", ""},
  };
  Enter();
  TypeConverter converter(isolate());
  for (const Row& row : rows) {
    LogCapture capture;
    const JSValue out = converter.FromV8(Eval(row.code));
    const std::string log = capture.Take();
    // A substitute nobody asked for (a false cycle, say) would show in the log.
    ExpectLogLine(log, row.log, "[TypeConverter]", row.code);
    EXPECT_EQ(Show(out), row.expected) << row.code;
  }
}

TEST_F(TypeConverterTest, ToV8RoundTripsAndSubstitutes) {
  const uint64_t signalling_bits = 0x7FF4000000000001ULL;
  double signalling_nan;
  std::memcpy(&signalling_nan, &signalling_bits, sizeof signalling_nan);
  const double inf = std::numeric_limits<double>::infinity();
  JSValue function(JSValueType::Function);
  struct Row {
    JSValue value;
    const char* expected;
    const char* log;  // a line the conversion must write, or "" when it must write nothing
  } rows[] = {
      {JSValue(std::numeric_limits<double>::quiet_NaN()), "nan", ""},
      {JSValue(signalling_nan), "nan", ""},
      {JSValue(inf), "inf", ""},
      {JSValue(-inf), "-inf", ""},
      {JSValue(""), "\"\"", ""},
      {JSValue(std::string("a\0b", 3)), "\"a\\0b\"", ""},
      {function, "undefined", "[TypeConverter] Warning: Cannot convert Function type to V8, using undefined"},
      {JSValue(static_cast<JSValueType>(42)), "undefined",
       "[TypeConverter] Warning: Unknown JSValue type 42, using undefined"},
  };
  Enter();
  TypeConverter converter(isolate());
  for (const Row& row : rows) {
    LogCapture capture;
    v8::Local<v8::Value> v8_value = converter.ToV8(row.value);
    const std::string log = capture.Take();
    ExpectLogLine(log, row.log, "", row.expected);
    ASSERT_FALSE(v8_value.IsEmpty()) << row.expected;
    EXPECT_EQ(Show(converter.FromV8(v8_value)), row.expected);
  }
  // Structures survive both ways; "__proto__" stays an own property.
  for (const char* code : {"[null, true, -2.5, '\\u20ac', {k: [1, 'x', {}]}, []]", "({['__proto__']: {x: 1}})"}) {
    const JSValue once = converter.FromV8(Eval(code));
    EXPECT_EQ(Show(converter.FromV8(converter.ToV8(once))), Show(once)) << code;
  }
}

TEST_F(TypeConverterTest, BuffersAreCopiedAndEmptyWithoutBytes) {
  uint8_t bytes[] = {'a', 'b', 0, 'c'};
  const JSBuffer rows[] = {{bytes, 4}, {nullptr, 10}, {bytes, 0}};
  Enter();
  TypeConverter converter(isolate());
  for (const JSBuffer& row : rows) {
    JSValue value(JSValueType::Buffer);
    value.buffer_value = row;
    v8::Local<v8::Value> buffer = converter.ToV8(value);
    bytes[0] = 'z';  // the Buffer owns a copy
    ASSERT_TRUE(node::Buffer::HasInstance(buffer)) << row.size;
    EXPECT_EQ(std::string(node::Buffer::Data(buffer), node::Buffer::Length(buffer)),
              row.data && row.size ? std::string("ab\0c", 4) : "");
    bytes[0] = 'a';
  }
}

TEST_F(TypeConverterTest, ArraysAreCutAtOneMillionElements) {
  const std::string warning = "[TypeConverter] Warning: Array too large (";
  Enter();
  TypeConverter converter(isolate());
  for (uint32_t length : {1000000u, 1000001u}) {
    const bool cut = length == 1000001u;
    LogCapture from_capture;
    JSValue from = converter.FromV8(Eval("Array.from({length: " + std::to_string(length) + "}, (_, i) => i)"));
    std::string log = from_capture.Take();
    ASSERT_EQ(from.array_value.size(), 1000000u);
    EXPECT_EQ(from.array_value.back().number_value, 999999.0);
    EXPECT_EQ(log.find(warning + "1000001 elements), truncating to 1M") != std::string::npos, cut);
    EXPECT_EQ(log.find(warning) != std::string::npos, cut);

    from.array_value.resize(length, JSValue(7.0));
    LogCapture to_capture;
    v8::Local<v8::Value> back = converter.ToV8(from);
    EXPECT_EQ(to_capture.Take().find(warning) != std::string::npos, cut);
    ASSERT_TRUE(back->IsArray());
    EXPECT_EQ(back.As<v8::Array>()->Length(), 1000000u);
  }
}

TEST_F(TypeConverterTest, ObjectPropertyLimitIgnoresEmptyKeys) {
  struct Row {
    int keys;
    bool empty_key;
    bool limit_line;
  } rows[] = {{10000, true, false}, {10001, false, true}, {10001, true, true}};
  Enter();
  v8::Local<v8::Context> context = isolate()->GetCurrentContext();
  TypeConverter converter(isolate());
  for (const Row& row : rows) {
    JSValue value(JSValueType::Object);
    char key[16];
    for (int i = 0; i < row.keys; ++i) {
      std::snprintf(key, sizeof key, "k%05d", i);
      value.object_value[key] = JSValue(static_cast<double>(i));
    }
    if (row.empty_key) value.object_value[""] = JSValue(true);
    LogCapture capture;
    v8::Local<v8::Object> object = converter.ToV8(value).As<v8::Object>();
    const std::string log = capture.Take();
    EXPECT_EQ(object->GetOwnPropertyNames(context).ToLocalChecked()->Length(), 10000u) << row.keys;
    EXPECT_TRUE(object->Has(context, V8String(isolate(), "k09999")).FromJust());
    EXPECT_EQ(log.find("Warning: Object property limit reached, skipping remaining properties") != std::string::npos,
              row.limit_line);
    EXPECT_EQ(log.find("Warning: Skipping empty property key") != std::string::npos, row.empty_key);
    EXPECT_EQ(log.find("(10001 properties), some may be skipped") != std::string::npos, row.keys + row.empty_key == 10001);
  }
}

TEST_F(TypeConverterTest, WithoutContextEverythingWarns) {
  Enter(false);
  v8::Local<v8::Array> array;
  {
    v8::Context::Scope context_scope(rt.GetContext());
    array = v8::Array::New(isolate(), 3);
  }
  TypeConverter converter(isolate());
  LogCapture capture;
  const JSValue number = converter.FromV8(v8::Number::New(isolate(), 1.5));
  const JSValue list = converter.FromV8Array(array);
  const bool empty = converter.ToV8(JSValue(1.0)).IsEmpty();
  std::string log = capture.Take();
  EXPECT_EQ(Show(number), "undefined");
  EXPECT_EQ(Show(list), "[]");
  EXPECT_TRUE(empty);
  const std::string warning = "[TypeConverter] Warning: No current V8 context available\n";
  for (int i = 0; i < 3; ++i) {
    const size_t at = log.find(warning);
    ASSERT_NE(at, std::string::npos) << "warning " << i;
    log.erase(at, warning.size());
  }
}

}  // namespace
