// ConvertToMvResult<T> turns the JSValue answer of one SDK operation into an
// MvResult<T>. The SDK is not uniform in how it answers: the same logical
// answer may be JSON text, { result: { code, message, data } }, a flat
// { code, message, data }, { result: <payload> } or the payload itself. All of
// these are accepted; success or failure is decided, the payload is picked out
// and JSDataConverter<T> is run on it.
//
// It never throws: every failure leaves as a code and a message. The SDK's own
// codes pass through; the library's own failures are -1 with one of
//   "Missing data field in result"
//   "Invalid data format for conversion"
//   "JSDataConversion: <reason>"          (a required field, a wrong kind, ...)
//   "Conversion error: <what()>"          (any other std::exception)
//   kJsonTooDeepError                     (JSON text nested more than 513
//                                          levels deep, in every family)
// A success always has code 0 and an empty message, whatever text the SDK sent.
//
// The function is pure apart from log lines on standard output (the void form
// logs nothing of its own) and may run on any thread.
#pragma once

#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "core/mv_result.h"
#include "core/records.h"

namespace morvanta {

template <typename T>
MvResult<T> ConvertToMvResult(const JSValue& jsValue);

// Operations without a payload: a failure only through a numeric, non-zero
// code (nested under `result` or at the top level), or JSON text nested too
// deep to read; anything else, undefined, null, an array or unparsable text
// included, is a success.
template <>
MvResult<void> ConvertToMvResult<void>(const JSValue& jsValue);

// The only instantiations; they are compiled in result_converter.cc.
extern template MvResult<int> ConvertToMvResult<int>(const JSValue&);
extern template MvResult<std::string> ConvertToMvResult<std::string>(const JSValue&);
extern template MvResult<MvMeetingSDKInfo> ConvertToMvResult<MvMeetingSDKInfo>(const JSValue&);
extern template MvResult<MvMeetingInfo> ConvertToMvResult<MvMeetingInfo>(const JSValue&);
extern template MvResult<MvWaitingRoomInfo> ConvertToMvResult<MvWaitingRoomInfo>(const JSValue&);
extern template MvResult<MvChatroomPermission> ConvertToMvResult<MvChatroomPermission>(
    const JSValue&);
extern template MvResult<MvAccountInfo> ConvertToMvResult<MvAccountInfo>(const JSValue&);
extern template MvResult<MvChatMessage> ConvertToMvResult<MvChatMessage>(const JSValue&);
extern template MvResult<std::vector<MvDeviceBaseInfo>>
ConvertToMvResult<std::vector<MvDeviceBaseInfo>>(const JSValue&);
extern template MvResult<std::vector<MvMember>> ConvertToMvResult<std::vector<MvMember>>(
    const JSValue&);
extern template MvResult<std::vector<MvMeetingInfo>>
ConvertToMvResult<std::vector<MvMeetingInfo>>(const JSValue&);
extern template MvResult<std::vector<MvScheduledMember>>
ConvertToMvResult<std::vector<MvScheduledMember>>(const JSValue&);
extern template MvResult<std::vector<MvWaitingRoomMember>>
ConvertToMvResult<std::vector<MvWaitingRoomMember>>(const JSValue&);

}  // namespace morvanta
