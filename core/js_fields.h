// Reading the fields of a loose SDK object. Every lookup is an exact,
// case-sensitive key lookup, and a key whose value has the wrong kind counts
// as missing: the plain readers then give their default, the optional readers
// stay empty and the required readers throw JSDataConversionException with
// "<Record>.<key> is required". No reader converts between kinds.
//
// Numbers in a JSValue are doubles. They are truncated toward zero into the
// integer fields; NaN gives 0 and values beyond the target's range saturate,
// instead of the undefined behaviour of a plain cast.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "core/records.h"

namespace morvanta {
namespace js_fields {

int32_t TruncateToInt32(double value);
int64_t TruncateToInt64(double value);
uint64_t TruncateToUint64(double value);

// A member role from the SDK's text or number. "host", "evaluator", "bidder"
// and "supervise" name the four roles; a number counts if it truncates to 0..3.
// Everything else (other texts such as "cohost", other numbers, other kinds)
// is Host.
MvMemberRole RoleFromValue(const JSValue& value);

// The kind of a value as its tag number, for "got N" messages and logs.
inline int KindNumber(const JSValue& value) { return static_cast<int>(value.type); }

class FieldReader {
 public:
  // `object` may be null or of a kind other than object: every key is then
  // missing. `record` names the record in required-field failures.
  FieldReader(const JSValue* object, const char* record) : object_(object), record_(record) {}
  FieldReader(const JSValue& object, const char* record) : FieldReader(&object, record) {}

  // The member under `key`, of any kind; null if absent.
  const JSValue* Find(const char* key) const;
  // The member under `key` if it has `kind`; null otherwise.
  const JSValue* Find(const char* key, JSValueType kind) const;
  const JSValue* Object(const char* key) const { return Find(key, JSValueType::Object); }
  const JSValue* Array(const char* key) const { return Find(key, JSValueType::Array); }

  std::string String(const char* key) const;                  // else ""
  std::string RequiredString(const char* key) const;          // empty text throws too
  std::optional<std::string> OptionalString(const char* key) const;
  std::optional<std::string> OptionalNonEmptyString(const char* key) const;

  bool Bool(const char* key) const;  // else false
  std::optional<bool> OptionalBool(const char* key) const;
  // A bool as it is; a number is true unless exactly 0.0; other kinds empty.
  std::optional<bool> LenientBool(const char* key) const;

  int32_t Int32(const char* key) const;  // else 0
  int64_t Int64(const char* key) const;  // else 0
  uint64_t Uint64(const char* key) const;  // else 0
  double Double(const char* key) const;  // else 0.0
  std::optional<int32_t> OptionalInt32(const char* key) const;
  std::optional<int64_t> OptionalInt64(const char* key) const;
  int32_t RequiredInt32(const char* key) const;  // must be a number
  int64_t RequiredInt64(const char* key) const;  // must be a number

  // By RoleFromValue if the key holds a string or a number, else Host.
  MvMemberRole Role(const char* key) const;
  // The key must be present, of any kind; its value is read by RoleFromValue.
  MvMemberRole RequiredRole(const char* key) const;

  // The string elements of an array, in order; other elements are skipped.
  // Empty if the key does not hold an array.
  std::vector<std::string> StringElements(const char* key) const;

 private:
  [[noreturn]] void ThrowRequired(const char* key) const;

  const JSValue* object_;
  const char* record_;
};

}  // namespace js_fields
}  // namespace morvanta
