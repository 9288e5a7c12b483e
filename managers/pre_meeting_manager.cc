#include "managers/pre_meeting_manager.h"

#include "core/js_fields.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[PreMeetingManager]";
const std::string kPath = "morVantaMeeting.getPreMeetingManager().";

SdkCall Call(const char* method, const char* jsMethod, std::vector<JSValue> args) {
  SdkCall call;
  call.tag = kTag;
  call.method = method;
  call.path = kPath + jsMethod;
  call.args = std::move(args);
  call.announce = std::string("About to call ") + jsMethod + " with Promise support";
  return call;
}

// The record-answering calls also log the raw answer's kind and how its
// conversion went.
SdkCall RecordCall(const char* method, const char* jsMethod, std::vector<JSValue> args) {
  SdkCall call = Call(method, jsMethod, std::move(args));
  call.inspect = [](const JSValue& raw) {
    log::Info(kTag, " 🔍 Raw JS result type: ", js_fields::KindNumber(raw));
  };
  return call;
}

MvCallback<MvMeetingInfo> WithConversionLog(MvCallback<MvMeetingInfo> done) {
  return [done](const MvResult<MvMeetingInfo>& r) {
    log::Info(kTag, " 🔍 Conversion result - success: ", r.IsSuccess() ? "true" : "false", ", message: ", r.message);
    if (done) done(r);
  };
}

const char* BoolText(bool b) { return b ? "true" : "false"; }

// Adds one key to an argument object, with its log line; `shown` is what the
// log says of the value.
void Add(JSValue& object, const char* key, JSValue value, const std::string& shown) {
  log::Info(kTag, " Adding ", key, ": ", shown);
  object.Set(key, std::move(value));
}

// The options object of scheduleMeeting (`scheduling`) or editMeeting. The
// password's text never reaches the log.
JSValue OptionsObject(const MvPreMeetingOptions& o, bool scheduling) {
  JSValue object = JSValue::Object();
  if (scheduling || o.subject) Add(object, "subject", o.subject.value_or(""), o.subject.value_or(""));
  if (o.startTime) Add(object, "startTime", *o.startTime, std::to_string(*o.startTime));
  if (o.endTime) Add(object, "endTime", *o.endTime, std::to_string(*o.endTime));
  if (o.password) Add(object, "password", *o.password, "[HIDDEN]");
  if (o.enableWaitingRoom) Add(object, "enableWaitingRoom", *o.enableWaitingRoom, BoolText(*o.enableWaitingRoom));
  if (!scheduling && o.enableJoinBeforeHost) {
    Add(object, "enableJoinBeforeHost", *o.enableJoinBeforeHost, BoolText(*o.enableJoinBeforeHost));
  }
  return object;
}

JSValue MeetingIdArgument(const MvMeetingId& id) {
  if (const int64_t* number = std::get_if<int64_t>(&id)) {
    log::Info(kTag, " Adding meetingId (number): ", *number);
    return JSValue(*number);
  }
  const std::string& text = std::get<std::string>(id);
  log::Info(kTag, " Adding meetingId (string): ", text);
  return JSValue(text);
}

JSValue MeetingNumArgument(const std::string& meetingNum) {
  log::Info(kTag, " Meeting number: ", meetingNum);
  return JSValue(meetingNum);
}

}  // namespace

void MvPreMeetingManager::ScheduleMeeting(const MvPreMeetingOptions& options, MvCallback<MvMeetingInfo> done) {
  SdkCall call = RecordCall("ScheduleMeeting", "scheduleMeeting", {OptionsObject(options, true)});
  CallSdk<MvMeetingInfo>(bridge().get(), std::move(call), WithConversionLog(std::move(done)));
}

void MvPreMeetingManager::EditMeeting(const MvMeetingId& meetingId, const MvPreMeetingOptions& options,
                                      MvCallback<void> done) {
  SdkCall call = Call("EditMeeting", "editMeeting", {MeetingIdArgument(meetingId), OptionsObject(options, false)});
  CallSdk<void>(bridge().get(), std::move(call), std::move(done));
}

void MvPreMeetingManager::CancelMeeting(const MvMeetingId& meetingId, std::optional<bool> cancelRecurringMeeting,
                                        MvCallback<void> done) {
  std::vector<JSValue> args{MeetingIdArgument(meetingId)};
  if (cancelRecurringMeeting) {
    log::Info(kTag, " Adding cancelRecurringMeeting: ", BoolText(*cancelRecurringMeeting));
    args.emplace_back(*cancelRecurringMeeting);
  }
  CallSdk<void>(bridge().get(), Call("CancelMeeting", "cancelMeeting", std::move(args)), std::move(done));
}

void MvPreMeetingManager::GetMeetingListBySize(const MvMeetingListParams& params,
                                               MvCallback<std::vector<MvMeetingInfo>> done) {
  JSValue object = JSValue::Object();
  if (params.size) Add(object, "size", *params.size, std::to_string(*params.size));
  if (params.offset) Add(object, "offset", *params.offset, std::to_string(*params.offset));
  if (!params.states.empty()) {
    log::Info(kTag, " Adding states array with ", params.states.size(), " items");
    JSValue states = JSValue::Array();
    for (int32_t state : params.states) states.Push(state);
    object.Set("states", std::move(states));
  }
  CallSdk<std::vector<MvMeetingInfo>>(bridge().get(), Call("GetMeetingListBySize", "getMeetingListBySize", {object}),
                                      std::move(done));
}

void MvPreMeetingManager::GetMeetingInfoByMeetingNum(const std::string& meetingNum, MvCallback<MvMeetingInfo> done) {
  SdkCall call =
      RecordCall("GetMeetingInfoByMeetingNum", "getMeetingInfoByMeetingNum", {MeetingNumArgument(meetingNum)});
  CallSdk<MvMeetingInfo>(bridge().get(), std::move(call), WithConversionLog(std::move(done)));
}

void MvPreMeetingManager::GetScheduledMembers(const std::string& meetingNum,
                                              MvCallback<std::vector<MvScheduledMember>> done) {
  CallSdk<std::vector<MvScheduledMember>>(
      bridge().get(), Call("GetScheduledMembers", "getScheduledMembers", {MeetingNumArgument(meetingNum)}),
      std::move(done));
}

}  // namespace morvanta
