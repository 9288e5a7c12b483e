// Arbitrary bytes as the SDK's JSON text answer, through every result family:
// the text (or the value it parses to) becomes an MvResult<T> the way the
// managers read it, then the C payload the way the C layer builds it, which
// goes back through its Morvanta_Free* function. No V8 is involved.
//
// Input: byte 0 picks the family, byte 1 the form of the answer and an
// allocation failure to inject, the rest is the answer's text.
//
// Beyond ASan and UBSan (every payload is released, so LeakSanitizer sees any
// record a path forgets), the target checks what the families promise:
//  - a success has code 0, an empty message and a payload; a failure has no
//    payload, and the C callback is called exactly once, with a payload
//    exactly when the code is 0;
//  - a list arrives with as many C records as the native list has, and a
//    NULL array only for an empty list;
//  - an answer handed over as JSON text converts exactly like the value the
//    text parses to (the promise path hands over values, the synchronous
//    path text);
//  - a value survives the trip to the bridge's value type and back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bridge/js_bridge_adapter.h"
#include "bridge/js_value.h"
#include "bridge/product_value.h"
#include "capi/c_alloc.h"
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "core/result_converter.h"
#include "fuzz/fuzz_values.h"
#include "managers/invite_manager.h"
#include "managers/screen_share_manager.h"
#include "morvanta.h"

namespace {

using namespace morvanta;
using namespace morvanta::capi;

// What a C callback saw.
struct Seen {
  int calls = 0;
  int code = 0;
  std::string message;
  bool payload = false;
  int64_t count = 0;   // list count, or the integer
  std::string text;    // the string payload
};

void Check(bool holds, const char* what) {
  if (!holds) fuzz::Fail("answers", what);
}

// The message of a callback must be a readable C string.
void Record(Seen* seen, int code, const char* message, bool payload, int64_t count) {
  Check(message != nullptr, "callback message is NULL");
  ++seen->calls;
  seen->code = code;
  seen->message = message ? message : "";
  seen->payload = payload;
  seen->count = count;
}

void OnPlain(int code, const char* message, void* user_data) {
  Record(static_cast<Seen*>(user_data), code, message, false, 0);
}
void OnString(int code, const char* message, char* value, void* user_data) {
  auto* seen = static_cast<Seen*>(user_data);
  Record(seen, code, message, value != nullptr, 0);
  if (value) seen->text = value;
  Morvanta_FreeString(value);
}
void OnInteger(int code, const char* message, uint32_t value, void* user_data) {
  if (code != 0) Check(value == 0, "integer set on a failure");
  Record(static_cast<Seen*>(user_data), code, message, false, value);
}

template <typename CRecord, void (*Release)(CRecord*)>
void OnRecord(int code, const char* message, CRecord* record, void* user_data) {
  Record(static_cast<Seen*>(user_data), code, message, record != nullptr, 0);
  Release(record);
}

template <typename CItem, typename Count, void (*Release)(CItem*, Count)>
void OnList(int code, const char* message, CItem* items, Count count, void* user_data) {
  Check((items == nullptr) == (count == 0), "list array and count disagree");
  Record(static_cast<Seen*>(user_data), code, message, items != nullptr, static_cast<int64_t>(count));
  Release(items, count);
}

// The invariants of one converted result, whatever its payload.
template <typename T>
void CheckResult(const MvResult<T>& r) {
  if (r.code == 0) {
    Check(r.message.empty(), "success with a message");
    Check(r.data.has_value(), "success without a payload");
  } else {
    Check(!r.data.has_value(), "failure with a payload");
  }
}
void CheckResult(const MvResult<void>& r) {
  if (r.code == 0) Check(r.message.empty(), "success with a message");
}

template <typename T>
size_t NativeCount(const MvResult<std::vector<T>>& r) {
  return r.data ? r.data->size() : 0;
}

// Hands `r` to the C layer through `adapter` and checks what the callback got.
template <typename T, typename Adapter>
Seen Deliver(const MvResult<T>& r, Adapter&& make_adapter, bool injected) {
  CheckResult(r);
  Seen seen;
  auto adapter = make_adapter(&seen);
  adapter(r);
  Check(seen.calls == 1, "callback not called exactly once");
  if (seen.code == -9 && r.code != -9) {
    Check(injected, "allocation failure reported without one");
    Check(!seen.payload, "payload on an allocation failure");
    return seen;
  }
  Check(seen.code == r.code, "callback code differs from the result's");
  Check(seen.message == r.message, "callback message differs from the result's");
  if (r.code != 0) Check(!seen.payload, "payload on a failure");
  return seen;
}

// A success of a record family hands over a record (unless its allocation
// was made to fail, which Deliver has checked).
void CheckRecord(const Seen& seen, int32_t code) {
  if (code == 0 && seen.code == 0) Check(seen.payload, "success without its C record");
}

// One family: converts `answer` and hands the result to its C adapter.
// Returns the code and message, for the text-against-value comparison.
struct Outcome {
  int32_t code;
  std::string message;
};

template <typename T, typename CItem, typename Count, void (*Release)(CItem*, Count)>
Outcome DeliverList(const MvResult<std::vector<T>>& r, CItem* (*build)(const std::vector<T>&, bool&),
                    bool injected) {
  const Seen seen = Deliver(
      r, [&](Seen* s) { return ListAdapter<T, CItem, Count>(&OnList<CItem, Count, Release>, s, build, "fail"); },
      injected);
  if (seen.code == 0 && r.code == 0) Check(static_cast<size_t>(seen.count) == NativeCount(r), "C list count differs");
  return {r.code, r.message};
}

template <typename T, typename CItem, typename Count, void (*Release)(CItem*, Count)>
Outcome ConvertList(const JSValue& answer, CItem* (*build)(const std::vector<T>&, bool&), bool injected) {
  return DeliverList<T, CItem, Count, Release>(ConvertToMvResult<std::vector<T>>(answer), build, injected);
}

// Where the converters read a string answer as JSON text: its first
// character after C-locale white space is '{' or '['.
bool LooksLikeJson(const std::string& text) {
  size_t first = 0;
  while (first < text.size() && (text[first] == ' ' || (text[first] >= '\t' && text[first] <= '\r'))) ++first;
  return first < text.size() && (text[first] == '{' || text[first] == '[');
}

Outcome ConvertFamily(uint8_t family, const JSValue& answer, bool injected) {
  switch (family) {
    case 0: {
      auto r = ConvertToMvResult<void>(answer);
      Deliver(r, [](Seen* s) { return PlainAdapter(&OnPlain, s); }, injected);
      return {r.code, r.message};
    }
    case 1: {
      auto r = ConvertToMvResult<int>(answer);
      const Seen seen = Deliver(r, [](Seen* s) { return IntegerAdapter(&OnInteger, s); }, injected);
      if (r.code == 0) Check(seen.count == std::max(*r.data, 0), "integer differs from the result's");
      return {r.code, r.message};
    }
    case 2: {
      auto r = ConvertToMvResult<std::string>(answer);
      const Seen seen = Deliver(r, [](Seen* s) { return StringAdapter(&OnString, s, &DupString); }, injected);
      // The C copy ends at the first NUL of the text.
      if (r.code == 0 && seen.code == 0)
        Check(seen.payload && seen.text == std::string(r.data->c_str()), "string differs from the result's");
      if (answer.IsString() && !LooksLikeJson(answer.stringValue))
        Check(r.data && *r.data == answer.stringValue, "plain text answer not passed on as it is");
      return {r.code, r.message};
    }
    case 3: {
      auto r = ConvertToMvResult<MvMeetingSDKInfo>(answer);
      CheckRecord(Deliver(r, [](Seen* s) {
        return RecordAdapter<MvMeetingSDKInfo, MorvantaMeetingSDKInfo>(
            &OnRecord<MorvantaMeetingSDKInfo, Morvanta_FreeMeetingInfo>, s, &BuildMeetingSDKInfo, "fail");
      }, injected), r.code);
      return {r.code, r.message};
    }
    case 4: {
      auto r = ConvertToMvResult<MvMeetingInfo>(answer);
      CheckRecord(Deliver(r, [](Seen* s) {
        return RecordAdapter<MvMeetingInfo, MorvantaMeetingInfo>(
            &OnRecord<MorvantaMeetingInfo, Morvanta_FreePreMeetingInfo>, s, &BuildMeetingInfo, "fail");
      }, injected), r.code);
      return {r.code, r.message};
    }
    case 5: {
      // Read by the synchronous query into a record over the native strings.
      auto r = ConvertToMvResult<MvWaitingRoomInfo>(answer);
      CheckResult(r);
      return {r.code, r.message};
    }
    case 6: {
      auto r = ConvertToMvResult<MvChatroomPermission>(answer);
      CheckRecord(Deliver(r, [](Seen* s) {
        return RecordAdapter<MvChatroomPermission, MorvantaChatroomPermission>(
            &OnRecord<MorvantaChatroomPermission, Morvanta_FreeChatroomPermission>, s, &BuildChatroomPermission,
            "fail");
      }, injected), r.code);
      return {r.code, r.message};
    }
    case 7: {
      auto r = ConvertToMvResult<MvAccountInfo>(answer);
      CheckRecord(Deliver(r, [](Seen* s) {
        return RecordAdapter<MvAccountInfo, MorvantaAccountInfo>(
            &OnRecord<MorvantaAccountInfo, Morvanta_FreeAccountInfo>, s, &BuildAccountInfo, "fail");
      }, injected), r.code);
      return {r.code, r.message};
    }
    case 8: {
      auto r = ConvertToMvResult<MvChatMessage>(answer);
      CheckRecord(Deliver(r, [](Seen* s) {
        return RecordAdapter<MvChatMessage, MorvantaChatMessage>(
            &OnRecord<MorvantaChatMessage, Morvanta_FreeChatMessage>, s, &BuildChatMessage, "fail");
      }, injected), r.code);
      return {r.code, r.message};
    }
    case 9: return ConvertList<MvDeviceBaseInfo, MorvantaDeviceInfo, uint32_t, Morvanta_FreeDeviceList>(
                 answer, &BuildDeviceList, injected);
    case 10: return ConvertList<MvMember, MorvantaMember, uint32_t, Morvanta_FreeMemberList>(
                 answer, &BuildMemberList, injected);
    case 11: return ConvertList<MvMeetingInfo, MorvantaMeetingInfo, int32_t, Morvanta_FreeMeetingList>(
                 answer, &BuildMeetingList, injected);
    case 12: return ConvertList<MvScheduledMember, MorvantaScheduledMember, int32_t, Morvanta_FreeScheduledMembers>(
                 answer, &BuildScheduledMemberList, injected);
    case 13:
      return ConvertList<MvWaitingRoomMember, MorvantaWaitingRoomMember, int32_t,
                         Morvanta_FreeWaitingRoomMemberList>(answer, &BuildWaitingRoomMemberList, injected);
    case 14: {
      // getAccountInfoList has a reader of its own, as has the phone search.
      MvResult<MvAccountInfoListResponse> read = ReadAccountInfoListAnswer(answer);
      CheckResult(read);
      auto r = read.data ? MvResult<std::vector<MvSearchAccountInfo>>::Success(read.data->accounts)
                         : MvResult<std::vector<MvSearchAccountInfo>>::Failure(read.code, read.message);
      return DeliverList<MvSearchAccountInfo, MorvantaSearchAccountInfo, int32_t, Morvanta_FreeAccountList>(
          r, &BuildSearchAccountList, injected);
    }
    case 15:
      return DeliverList<MvSearchAccountInfo, MorvantaSearchAccountInfo, int32_t, Morvanta_FreeAccountList>(
          ReadPhoneSearchAnswer(answer), &BuildSearchAccountList, injected);
    default:
      return DeliverList<MvScreenCaptureSource, MorvantaScreenCaptureSource, uint32_t,
                         Morvanta_FreeScreenCaptureSourceList>(
          MvResult<std::vector<MvScreenCaptureSource>>::Success(ReadScreenCaptureSources(answer)),
          &BuildScreenCaptureSourceList, injected);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Morvanta_SetLogLevel(MORVANTA_LOG_OFF);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const uint8_t family = data[0] % 17;
  const uint8_t form = data[1];
  const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);

  // The value the text parses to (text that does not parse stays a string),
  // as the bridge hands over a settled promise's value.
  const JSValue parsed = ParseJsonToJSValue(text);
  Check(fuzz::SameValue(JSBridgeAdapter::FromBridgeValue(JSBridgeAdapter::ToBridgeValue(parsed)), parsed),
        "value changed on its way through the bridge's value type");

  const int fail_after = form >> 2;  // 0: no allocation fails
  const bool injected = fail_after != 0;
  FailAllocationAfter(fail_after);
  const Outcome as_value = ConvertFamily(family, (form & 1) ? JSValue(text) : parsed, injected);
  FailAllocationAfter(0);

  // The same answer in the other form converts alike, where the text is one
  // the converters read as JSON: a whole document starting with '{' or '['.
  JSValue strict;
  if ((form & 2) && family <= 13 && LooksLikeJson(text) && TryParseJson(text, strict, nullptr)) {
    const Outcome other = ConvertFamily(family, (form & 1) ? strict : JSValue(text), false);
    Check(other.code == as_value.code, "text and value answers differ in code");
    Check(other.message == as_value.message, "text and value answers differ in message");
  }
  return 0;
}
