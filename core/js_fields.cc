#include "core/js_fields.h"

#include <cmath>
#include <limits>

#include "core/js_data_converter.h"

namespace morvanta {
namespace js_fields {
namespace {

template <typename Int>
Int Truncate(double value) {
  if (std::isnan(value)) return 0;
  // Compare in double space: the limits of the 64-bit types are not exact
  // doubles, so the upper test is ">=" against 2^bits (or 2^(bits-1)).
  constexpr double kMin = static_cast<double>(std::numeric_limits<Int>::min());
  constexpr double kMaxPlusOne =
      2.0 * static_cast<double>(std::numeric_limits<Int>::max() / 2 + 1);
  if (value <= kMin) return std::numeric_limits<Int>::min();
  if (value >= kMaxPlusOne) return std::numeric_limits<Int>::max();
  return static_cast<Int>(value);  // truncates toward zero
}

}  // namespace

int32_t TruncateToInt32(double value) { return Truncate<int32_t>(value); }
int64_t TruncateToInt64(double value) { return Truncate<int64_t>(value); }
uint64_t TruncateToUint64(double value) { return Truncate<uint64_t>(value); }

MvMemberRole RoleFromValue(const JSValue& value) {
  if (value.IsString()) {
    const std::string& text = value.stringValue;
    if (text == "evaluator") return MvMemberRole::Evaluator;
    if (text == "bidder") return MvMemberRole::Bidder;
    if (text == "supervise") return MvMemberRole::Supervise;
    // "host", the co-host aliases "cohost" and "coHost", and any other text.
    return MvMemberRole::Host;
  }
  if (value.IsNumber()) {
    // Compared as unsigned so that negative numbers fall out of range.
    const auto number = static_cast<uint32_t>(TruncateToInt32(value.numberValue));
    if (number <= static_cast<uint32_t>(MvMemberRole::Supervise)) {
      return static_cast<MvMemberRole>(number);
    }
  }
  return MvMemberRole::Host;
}

const JSValue* FieldReader::Find(const char* key) const {
  return object_ ? object_->Find(key) : nullptr;
}

const JSValue* FieldReader::Find(const char* key, JSValueType kind) const {
  const JSValue* member = Find(key);
  return member && member->type == kind ? member : nullptr;
}

void FieldReader::ThrowRequired(const char* key) const {
  throw JSDataConversionException(std::string(record_) + "." + key + " is required");
}

std::string FieldReader::String(const char* key) const {
  const JSValue* member = Find(key, JSValueType::String);
  return member ? member->stringValue : std::string();
}

std::string FieldReader::RequiredString(const char* key) const {
  std::string text = String(key);
  if (text.empty()) ThrowRequired(key);
  return text;
}

std::optional<std::string> FieldReader::OptionalString(const char* key) const {
  const JSValue* member = Find(key, JSValueType::String);
  if (!member) return std::nullopt;
  return member->stringValue;
}

std::optional<std::string> FieldReader::OptionalNonEmptyString(const char* key) const {
  const JSValue* member = Find(key, JSValueType::String);
  if (!member || member->stringValue.empty()) return std::nullopt;
  return member->stringValue;
}

bool FieldReader::Bool(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Boolean);
  return member && member->boolValue;
}

std::optional<bool> FieldReader::OptionalBool(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Boolean);
  if (!member) return std::nullopt;
  return member->boolValue;
}

std::optional<bool> FieldReader::LenientBool(const char* key) const {
  const JSValue* member = Find(key);
  if (!member) return std::nullopt;
  if (member->IsBool()) return member->boolValue;
  if (member->IsNumber()) return member->numberValue != 0.0;
  return std::nullopt;
}

int32_t FieldReader::Int32(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  return member ? TruncateToInt32(member->numberValue) : 0;
}

int64_t FieldReader::Int64(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  return member ? TruncateToInt64(member->numberValue) : 0;
}

uint64_t FieldReader::Uint64(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  return member ? TruncateToUint64(member->numberValue) : 0;
}

double FieldReader::Double(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  return member ? member->numberValue : 0.0;
}

std::optional<int32_t> FieldReader::OptionalInt32(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  if (!member) return std::nullopt;
  return TruncateToInt32(member->numberValue);
}

std::optional<int64_t> FieldReader::OptionalInt64(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  if (!member) return std::nullopt;
  return TruncateToInt64(member->numberValue);
}

int32_t FieldReader::RequiredInt32(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  if (!member) ThrowRequired(key);
  return TruncateToInt32(member->numberValue);
}

int64_t FieldReader::RequiredInt64(const char* key) const {
  const JSValue* member = Find(key, JSValueType::Number);
  if (!member) ThrowRequired(key);
  return TruncateToInt64(member->numberValue);
}

MvMemberRole FieldReader::Role(const char* key) const {
  const JSValue* member = Find(key);
  if (!member || !(member->IsString() || member->IsNumber())) return MvMemberRole::Host;
  return RoleFromValue(*member);
}

MvMemberRole FieldReader::RequiredRole(const char* key) const {
  const JSValue* member = Find(key);
  if (!member) ThrowRequired(key);
  return RoleFromValue(*member);
}

std::vector<std::string> FieldReader::StringElements(const char* key) const {
  std::vector<std::string> out;
  const JSValue* array = Array(key);
  if (!array) return out;
  for (const JSValue& element : array->arrayValue) {
    if (element.IsString()) out.push_back(element.stringValue);
  }
  return out;
}

}  // namespace js_fields
}  // namespace morvanta
