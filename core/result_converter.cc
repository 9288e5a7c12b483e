#include "core/result_converter.h"

#include <cstdint>
#include <exception>
#include <optional>

#include "core/core_log.h"
#include "core/js_data_converter.h"
#include "core/js_fields.h"

namespace morvanta {
namespace {

constexpr const char kInvalidFormat[] = "Invalid data format for conversion";
constexpr const char kMissingData[] = "Missing data field in result";

// White space as the C locale's isspace() sees it. Spelled out so that a host
// that changes the global locale cannot change what counts as JSON text.
bool IsCLocaleSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// If the working value is a string that looks like JSON text (its first
// non-blank character is '{' or '['), replaces it by the parsed document.
// Text that does not parse stays a string: that alone is no failure. Returns
// the parser's error text, if there was one, for the caller to log.
std::optional<std::string> ParseJsonText(JSValue& working) {
  if (!working.IsString()) return std::nullopt;
  const std::string& text = working.stringValue;
  size_t first = 0;
  while (first < text.size() && IsCLocaleSpace(text[first])) ++first;
  if (first == text.size() || (text[first] != '{' && text[first] != '[')) return std::nullopt;

  // The whole text is parsed, blanks ahead included.
  JSValue parsed;
  std::string error;
  if (!TryParseJson(text, parsed, &error)) return error;
  working = std::move(parsed);
  return std::nullopt;
}

// Valid JSON text nested beyond the parser's limit is neither a payload nor
// plain text: every family, the outcome-only one included, fails it alike.
bool IsTooDeep(const std::string& parse_error) { return parse_error == kJsonTooDeepError; }

struct SdkStatus {
  int32_t code;
  std::string message;
};

// The SDK's code and message held by `holder`, if it has a numeric `code`.
// The message defaults to "success", also for a failure: that is the text a
// caller sees when the SDK fails without saying why.
std::optional<SdkStatus> ReadStatus(const JSValue& holder) {
  const JSValue* code = holder.Find("code");
  if (!code || !code->IsNumber()) return std::nullopt;
  SdkStatus status{js_fields::TruncateToInt32(code->numberValue), "success"};
  const JSValue* message = holder.Find("message");
  if (message && message->IsString()) status.message = message->stringValue;
  return status;
}

std::string KeyList(const JSValue& object) {
  std::string keys;
  for (const auto& member : object.objectValue) {
    if (!keys.empty()) keys += ", ";
    keys += member.first;
  }
  return keys;
}

}  // namespace

template <typename T>
MvResult<T> ConvertToMvResult(const JSValue& jsValue) {
  using Converter = JSDataConverter<T>;
  try {
    CoreLogLine("[ConvertToMvResult] 🔍 Starting conversion for type ", ConverterTypeName<T>::Get(),
                ", input kind ", js_fields::KindNumber(jsValue));
    JSValue working = jsValue;

    if (auto parse_error = ParseJsonText(working)) {
      CoreLogLine("[ConvertToMvResult] ⚠️ JSON parse error: ", *parse_error);
      if (IsTooDeep(*parse_error)) return MvResult<T>::Failure(-1, kJsonTooDeepError);
    }

    if (working.IsObject()) {
      if (CoreLogWanted()) CoreLogLine("[ConvertToMvResult] 🔍 Object keys: ", KeyList(working));

      // { result: { code, message, data } }
      const JSValue* result = working.Find("result");
      if (result && result->IsObject()) {
        CoreLogLine("[ConvertToMvResult] 🔍 Found nested 'result' object");
        if (auto status = ReadStatus(*result)) {
          if (status->code != 0) {
            CoreLogLine("[ConvertToMvResult] ❌ Code != 0, returning failure");
            return MvResult<T>::Failure(status->code, std::move(status->message));
          }
          const JSValue* data = result->Find("data");
          if (!data) {
            CoreLogLine("[ConvertToMvResult] ❌ Missing 'data' field in result object");
            return MvResult<T>::Failure(-1, kMissingData);
          }
          if (!Converter::Validate(*data)) {
            CoreLogLine(
                "[ConvertToMvResult] ❌ JSDataConverter<T>::Validate failed for data field");
            return MvResult<T>::Failure(-1, kInvalidFormat);
          }
          return MvResult<T>::Success(Converter::Convert(*data));
        }
        CoreLogLine(
            "[ConvertToMvResult] ⚠️ 'code' field not found or not a number in result object");
      }

      // { code, message, data }. A top-level code without data is not this
      // form, so a non-zero code there is ignored and the object goes on.
      const JSValue* data = working.Find("data");
      if (data) {
        if (auto status = ReadStatus(working)) {
          CoreLogLine("[ConvertToMvResult] 🔍 Found flat structure with 'code' and 'data'");
          if (status->code != 0) {
            return MvResult<T>::Failure(status->code, std::move(status->message));
          }
          if (!Converter::Validate(*data)) return MvResult<T>::Failure(-1, kInvalidFormat);
          return MvResult<T>::Success(Converter::Convert(*data));
        }
      }

      // { result: <payload> }, also an object result without a numeric code.
      if (result && (result->IsArray() || result->IsObject())) {
        CoreLogLine("[ConvertToMvResult] 🔍 Found direct 'result' field (array or object)");
        if (!Converter::Validate(*result)) return MvResult<T>::Failure(-1, kInvalidFormat);
        return MvResult<T>::Success(Converter::Convert(*result));
      }
    }

    // The payload itself: a bare array for a list, a bare number for an int.
    CoreLogLine("[ConvertToMvResult] 🔍 Attempting direct conversion (not a result structure)");
    if (!Converter::Validate(working)) {
      CoreLogLine("[ConvertToMvResult] ❌ Direct validation failed");
      return MvResult<T>::Failure(-1, kInvalidFormat);
    }
    return MvResult<T>::Success(Converter::Convert(working));
  } catch (const JSDataConversionException& e) {
    CoreLogLine("[ConvertToMvResult] ❌ JSDataConversionException: ", e.what());
    return MvResult<T>::Failure(-1, e.what());
  } catch (const std::exception& e) {
    CoreLogLine("[ConvertToMvResult] ❌ Exception: ", e.what());
    return MvResult<T>::Failure(-1, std::string("Conversion error: ") + e.what());
  }
}

// The outcome-only form looks for a code and nothing else: no payload is
// needed, so a success without `data` is the normal case. It logs nothing of
// its own.
template <>
MvResult<void> ConvertToMvResult<void>(const JSValue& jsValue) {
  try {
    JSValue working = jsValue;
    if (auto parse_error = ParseJsonText(working)) {
      if (IsTooDeep(*parse_error)) return MvResult<void>::Failure(-1, kJsonTooDeepError);
    }

    if (working.IsObject()) {
      const JSValue* result = working.Find("result");
      if (result && result->IsObject()) {
        if (auto status = ReadStatus(*result)) {
          if (status->code != 0) {
            return MvResult<void>::Failure(status->code, std::move(status->message));
          }
          return MvResult<void>::Success();
        }
      }
      if (auto status = ReadStatus(working)) {
        if (status->code != 0) {
          return MvResult<void>::Failure(status->code, std::move(status->message));
        }
        return MvResult<void>::Success();
      }
      if (result) return MvResult<void>::Success();
    }

    if (JSDataConverter<void>::Validate(working)) JSDataConverter<void>::Convert(working);
    return MvResult<void>::Success();
  } catch (const JSDataConversionException& e) {
    return MvResult<void>::Failure(-1, e.what());
  } catch (const std::exception& e) {
    return MvResult<void>::Failure(-1, std::string("Conversion error: ") + e.what());
  }
}

template MvResult<int> ConvertToMvResult<int>(const JSValue&);
template MvResult<std::string> ConvertToMvResult<std::string>(const JSValue&);
template MvResult<MvMeetingSDKInfo> ConvertToMvResult<MvMeetingSDKInfo>(const JSValue&);
template MvResult<MvMeetingInfo> ConvertToMvResult<MvMeetingInfo>(const JSValue&);
template MvResult<MvWaitingRoomInfo> ConvertToMvResult<MvWaitingRoomInfo>(const JSValue&);
template MvResult<MvChatroomPermission> ConvertToMvResult<MvChatroomPermission>(const JSValue&);
template MvResult<MvAccountInfo> ConvertToMvResult<MvAccountInfo>(const JSValue&);
template MvResult<MvChatMessage> ConvertToMvResult<MvChatMessage>(const JSValue&);
template MvResult<std::vector<MvDeviceBaseInfo>>
ConvertToMvResult<std::vector<MvDeviceBaseInfo>>(const JSValue&);
template MvResult<std::vector<MvMember>> ConvertToMvResult<std::vector<MvMember>>(const JSValue&);
template MvResult<std::vector<MvMeetingInfo>>
ConvertToMvResult<std::vector<MvMeetingInfo>>(const JSValue&);
template MvResult<std::vector<MvScheduledMember>>
ConvertToMvResult<std::vector<MvScheduledMember>>(const JSValue&);
template MvResult<std::vector<MvWaitingRoomMember>>
ConvertToMvResult<std::vector<MvWaitingRoomMember>>(const JSValue&);

}  // namespace morvanta
