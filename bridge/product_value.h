// The value type of the product layer (core, meeting, managers). It mirrors
// the bridge's value but numbers its kinds differently and owns binary bytes,
// so a manager can build an argument and forget about it. JSBridgeAdapter maps
// between the two forms.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace morvanta {

enum class JSValueType : int32_t {
  Undefined = 0,
  Null = 1,
  Boolean = 2,
  Number = 3,
  String = 4,
  Array = 5,
  Object = 6,
  Binary = 7,
};

struct JSValue {
  JSValueType type = JSValueType::Undefined;
  bool boolValue = false;
  double numberValue = 0.0;
  std::string stringValue;
  std::vector<JSValue> arrayValue;
  std::map<std::string, JSValue> objectValue;
  std::vector<uint8_t> binaryValue;

  JSValue() = default;
  explicit JSValue(JSValueType t) : type(t) {}
  JSValue(std::string s) : type(JSValueType::String), stringValue(std::move(s)) {}
  JSValue(const char* s) : type(JSValueType::String), stringValue(s ? s : "") {}
  JSValue(double d) : type(JSValueType::Number), numberValue(d) {}
  JSValue(int i) : type(JSValueType::Number), numberValue(static_cast<double>(i)) {}
  JSValue(int64_t i) : type(JSValueType::Number), numberValue(static_cast<double>(i)) {}
  JSValue(bool b) : type(JSValueType::Boolean), boolValue(b) {}

  static JSValue Null() { return JSValue(JSValueType::Null); }
  static JSValue Object() { return JSValue(JSValueType::Object); }
  static JSValue Array() { return JSValue(JSValueType::Array); }
  static JSValue Binary(const void* data, size_t size) {
    JSValue v(JSValueType::Binary);
    const auto* p = static_cast<const uint8_t*>(data);
    if (p && size) v.binaryValue.assign(p, p + size);
    return v;
  }

  bool IsUndefined() const { return type == JSValueType::Undefined; }
  bool IsNull() const { return type == JSValueType::Null; }
  bool IsBool() const { return type == JSValueType::Boolean; }
  bool IsNumber() const { return type == JSValueType::Number; }
  bool IsString() const { return type == JSValueType::String; }
  bool IsArray() const { return type == JSValueType::Array; }
  bool IsObject() const { return type == JSValueType::Object; }
  bool IsBinary() const { return type == JSValueType::Binary; }

  // Exact, case-sensitive lookup of an object member; null when absent or
  // when this value is not an object.
  const JSValue* Find(const std::string& key) const {
    if (type != JSValueType::Object) return nullptr;
    auto it = objectValue.find(key);
    return it == objectValue.end() ? nullptr : &it->second;
  }
  // Sets a member, turning this value into an object if it was not one.
  JSValue& Set(const std::string& key, JSValue v) {
    type = JSValueType::Object;
    objectValue[key] = std::move(v);
    return *this;
  }
  JSValue& Push(JSValue v) {
    type = JSValueType::Array;
    arrayValue.push_back(std::move(v));
    return *this;
  }
};

// What a product callback receives: a success flag, the converted value and,
// for a failure, the bridge's error text.
struct JSResult {
  bool success = false;
  JSValue value;
  std::string error;
};

using JSCallback = std::function<void(const JSResult&)>;

// Parses JSON text into a JSValue (numbers become doubles, objects keep their
// last duplicate key). Text that does not parse yields a String value that
// holds the original text; no failure is raised.
JSValue ParseJsonToJSValue(const std::string& json);

// Like ParseJsonToJSValue but reports failure: returns false and fills `error`
// with RapidJSON's English text for the parse error. Text nested more than
// kMaxJsonDepth + 1 levels deep (513 arrays or objects inside each other
// pass) is refused rather than risking the stack, with kJsonTooDeepError as
// its text and offset 0.
constexpr int kMaxJsonDepth = 512;
constexpr char kJsonTooDeepError[] = "The document is nested more than 513 levels deep.";
bool TryParseJson(const std::string& json, JSValue& out, std::string* error);
// The same, also giving the byte offset of the fault.
bool TryParseJson(const std::string& json, JSValue& out, std::string* error, size_t* offset);
// For text that carries many records at once (an event channel's batch): a
// value nested too deep becomes the string kJsonTooDeepValue in place,
// instead of failing the whole text.
constexpr char kJsonTooDeepValue[] = "[nesting too deep]";
bool TryParseJsonCuttingDeepValues(const std::string& json, JSValue& out, std::string* error, size_t* offset);

}  // namespace morvanta
