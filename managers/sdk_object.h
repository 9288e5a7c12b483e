// A manager's SDK object written once: its log tag and the JS expression that
// reaches it. Each method then describes itself in one line, by its native
// name, its JS name and its arguments.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "managers/call_frame.h"

namespace morvanta {

struct SdkObject {
  const char* tag;     // such as "[ChatroomManager]"
  const char* getter;  // such as "morVantaMeeting.getChatroomManager()"
  const char* failureMark = " ❌ ";  // between the tag and "<method> failed: "

  SdkCall Call(const char* method, const char* js_method, std::vector<JSValue> args = {}) const {
    SdkCall call;
    call.tag = tag;
    call.method = method;
    call.path = std::string(getter) + "." + js_method;
    call.args = std::move(args);
    call.failure_mark = failureMark;
    return call;
  }
};

// The reader of operations whose answer carries nothing the library uses: a
// fulfilled call is a success, whatever the SDK resolved with.
inline MvResult<void> AcceptAnyAnswer(const JSValue&) { return MvResult<void>::Success(); }

// Strings as a JS array of strings.
inline JSValue StringArray(const std::vector<std::string>& texts) {
  JSValue array = JSValue::Array();
  for (const std::string& text : texts) array.Push(JSValue(text));
  return array;
}

// Sets `key` only when the value is engaged (an options object of the SDK
// carries only the keys that were set).
template <typename T>
void SetIfEngaged(JSValue& object, const char* key, const std::optional<T>& value) {
  if (value) object.Set(key, JSValue(*value));
}

}  // namespace morvanta
