// JSDataConverter<T> turns one product JSValue into one value of T. It holds
// all knowledge of which JS keys feed which field, which fields must be there
// and what the others fall back to.
//
//  - Validate(value) looks only at the value's kind and never throws.
//  - Convert(value) returns T or throws JSDataConversionException; only the
//    few fields called required can make a record fail. The SDK's objects are
//    loose, so a key of the wrong kind counts as missing.
//
// Records are specialised here and converted in js_data_converter.cc; a vector
// of any record converts through the generic vector specialisation, so a new
// record needs one specialisation (with kTypeName, and kListWord if it is
// ever read as a list) and one Convert.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "core/core_log.h"
#include "core/records.h"

namespace morvanta {

// Thrown by Convert. what() is "JSDataConversion: " followed by the reason,
// and reaches the C caller unchanged as the failure message.
class JSDataConversionException : public std::runtime_error {
 public:
  explicit JSDataConversionException(const std::string& reason)
      : std::runtime_error("JSDataConversion: " + reason) {}
};

template <typename T>
struct JSDataConverter;  // only the specialisations below exist

template <>
struct JSDataConverter<void> {
  static constexpr const char* kTypeName = "void";
  static bool Validate(const JSValue&) noexcept { return true; }
  static void Convert(const JSValue& value);
};

// Bool gives 1 or 0, a number is truncated toward zero, a string is read by
// std::stoi (leading blanks and a sign allowed, trailing text ignored).
template <>
struct JSDataConverter<int> {
  static constexpr const char* kTypeName = "int";
  static bool Validate(const JSValue& value) noexcept {
    return value.IsBool() || value.IsNumber() || value.IsString();
  }
  static int Convert(const JSValue& value);
};

// A number is formatted as "%f" (5 gives "5.000000"), a bool as "true" or
// "false", null as the empty string.
template <>
struct JSDataConverter<std::string> {
  static constexpr const char* kTypeName = "std::string";
  static bool Validate(const JSValue& value) noexcept {
    return value.IsNull() || value.IsBool() || value.IsNumber() || value.IsString();
  }
  static std::string Convert(const JSValue& value);
};

// Every record is read from an object. Convert checks the kind again and
// throws the record's own "Expected object" message.
template <typename Record>
struct RecordConverter {
  static bool Validate(const JSValue& value) noexcept { return value.IsObject(); }
  static Record Convert(const JSValue& value);
};

// The per-record conversions, defined in js_data_converter.cc.
template <> MvAccountInfo RecordConverter<MvAccountInfo>::Convert(const JSValue&);
template <> MvChatMessage RecordConverter<MvChatMessage>::Convert(const JSValue&);
template <> MvChatroomPermission RecordConverter<MvChatroomPermission>::Convert(const JSValue&);
template <> MvDeviceBaseInfo RecordConverter<MvDeviceBaseInfo>::Convert(const JSValue&);
template <> MvLocalMember RecordConverter<MvLocalMember>::Convert(const JSValue&);
template <> MvMeetingInfo RecordConverter<MvMeetingInfo>::Convert(const JSValue&);
template <> MvMeetingSDKInfo RecordConverter<MvMeetingSDKInfo>::Convert(const JSValue&);
template <> MvMember RecordConverter<MvMember>::Convert(const JSValue&);
template <> MvScheduledMember RecordConverter<MvScheduledMember>::Convert(const JSValue&);
template <> MvWaitingRoomInfo RecordConverter<MvWaitingRoomInfo>::Convert(const JSValue&);
template <> MvWaitingRoomMember RecordConverter<MvWaitingRoomMember>::Convert(const JSValue&);

template <>
struct JSDataConverter<MvAccountInfo> : RecordConverter<MvAccountInfo> {
  static constexpr const char* kTypeName = "MvAccountInfo";
};
template <>
struct JSDataConverter<MvChatMessage> : RecordConverter<MvChatMessage> {
  static constexpr const char* kTypeName = "MvChatMessage";
};
template <>
struct JSDataConverter<MvChatroomPermission> : RecordConverter<MvChatroomPermission> {
  static constexpr const char* kTypeName = "MvChatroomPermission";
};
template <>
struct JSDataConverter<MvDeviceBaseInfo> : RecordConverter<MvDeviceBaseInfo> {
  static constexpr const char* kTypeName = "MvDeviceBaseInfo";
  static constexpr const char* kListWord = " devices";
};
template <>
struct JSDataConverter<MvLocalMember> : RecordConverter<MvLocalMember> {
  static constexpr const char* kTypeName = "MvLocalMember";
};
template <>
struct JSDataConverter<MvMeetingInfo> : RecordConverter<MvMeetingInfo> {
  static constexpr const char* kTypeName = "MvMeetingInfo";
  static constexpr const char* kListWord = " meetings";
};
template <>
struct JSDataConverter<MvMeetingSDKInfo> : RecordConverter<MvMeetingSDKInfo> {
  static constexpr const char* kTypeName = "MvMeetingSDKInfo";
};
template <>
struct JSDataConverter<MvMember> : RecordConverter<MvMember> {
  static constexpr const char* kTypeName = "MvMember";
  static constexpr const char* kListWord = " members";
};
template <>
struct JSDataConverter<MvScheduledMember> : RecordConverter<MvScheduledMember> {
  static constexpr const char* kTypeName = "MvScheduledMember";
  static constexpr const char* kListWord = " scheduled members";
};
template <>
struct JSDataConverter<MvWaitingRoomInfo> : RecordConverter<MvWaitingRoomInfo> {
  static constexpr const char* kTypeName = "MvWaitingRoomInfo";
};
template <>
struct JSDataConverter<MvWaitingRoomMember> : RecordConverter<MvWaitingRoomMember> {
  static constexpr const char* kTypeName = "MvWaitingRoomMember";
  static constexpr const char* kListWord = " waiting room members";
};

// A list of records: only an array is accepted, the elements are converted in
// order, and one bad element fails the whole list (nothing is skipped).
template <typename Element>
struct JSDataConverter<std::vector<Element>> {
  static std::string TypeName() {
    return std::string("std::vector<") + JSDataConverter<Element>::kTypeName + ">";
  }

  static bool Validate(const JSValue& value) noexcept { return value.IsArray(); }

  static std::vector<Element> Convert(const JSValue& value) {
    if (!value.IsArray()) throw JSDataConversionException("Expected array for " + TypeName());
    std::vector<Element> out;
    out.reserve(value.arrayValue.size());
    for (const JSValue& element : value.arrayValue) {
      out.push_back(JSDataConverter<Element>::Convert(element));
    }
    CoreLogLine("[JSDataConverter] Converted ", out.size(), JSDataConverter<Element>::kListWord);
    return out;
  }
};

// The name of T as the conversion logs show it.
template <typename T>
struct ConverterTypeName {
  static std::string Get() { return JSDataConverter<T>::kTypeName; }
};
template <typename Element>
struct ConverterTypeName<std::vector<Element>> {
  static std::string Get() { return JSDataConverter<std::vector<Element>>::TypeName(); }
};

}  // namespace morvanta
