// JSDataConverter: which kinds each converter takes, the scalar conversions,
// the field treatments, the role and message-kind tables, required fields and
// their order, nested records and lists.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "core/js_data_converter.h"
#include "core_test_values.h"

namespace {

using core_test::Json;
using core_test::LogCapture;
using core_test::OfKind;
using core_test::Text;
using morvanta::JSDataConversionException;
using morvanta::JSDataConverter;
using morvanta::JSValue;
using morvanta::JSValueType;
using namespace morvanta;  // records

// The reason a conversion failed, or "" if it did not throw.
template <typename T>
std::string FailureOf(const JSValue& value) {
  try {
    JSDataConverter<T>::Convert(value);
  } catch (const JSDataConversionException& e) {
    return e.what();
  }
  return "";
}

template <typename T>
std::string Show(const std::optional<T>& v) {
  if (!v) return "<none>";
  std::ostringstream os;
  os << std::boolalpha << *v;
  return os.str();
}

TEST(JsDataConverterTest, ValidateLooksOnlyAtTheKind) {
  struct Row {
    const char* type;
    bool (*validate)(const JSValue&);
    const char* accepted_kinds;  // tag digits
  } rows[] = {
      {"void", JSDataConverter<void>::Validate, "01234567"},
      {"int", JSDataConverter<int>::Validate, "234"},
      {"string", JSDataConverter<std::string>::Validate, "1234"},
      {"MvAccountInfo", JSDataConverter<MvAccountInfo>::Validate, "6"},
      {"MvChatMessage", JSDataConverter<MvChatMessage>::Validate, "6"},
      {"MvChatroomPermission", JSDataConverter<MvChatroomPermission>::Validate, "6"},
      {"MvDeviceBaseInfo", JSDataConverter<MvDeviceBaseInfo>::Validate, "6"},
      {"MvLocalMember", JSDataConverter<MvLocalMember>::Validate, "6"},
      {"MvMeetingInfo", JSDataConverter<MvMeetingInfo>::Validate, "6"},
      {"MvMeetingSDKInfo", JSDataConverter<MvMeetingSDKInfo>::Validate, "6"},
      {"MvMember", JSDataConverter<MvMember>::Validate, "6"},
      {"MvScheduledMember", JSDataConverter<MvScheduledMember>::Validate, "6"},
      {"MvWaitingRoomInfo", JSDataConverter<MvWaitingRoomInfo>::Validate, "6"},
      {"MvWaitingRoomMember", JSDataConverter<MvWaitingRoomMember>::Validate, "6"},
      {"vector<MvMember>", JSDataConverter<std::vector<MvMember>>::Validate, "5"},
      {"vector<MvDeviceBaseInfo>", JSDataConverter<std::vector<MvDeviceBaseInfo>>::Validate, "5"},
  };
  for (const Row& row : rows) {
    for (int kind = 0; kind <= 7; ++kind) {
      bool expected = std::string(row.accepted_kinds).find(char('0' + kind)) != std::string::npos;
      EXPECT_EQ(row.validate(OfKind(static_cast<JSValueType>(kind))), expected)
          << row.type << " with kind " << kind;
    }
  }
  // A record with every required field missing still validates: only Convert fails.
  EXPECT_TRUE(JSDataConverter<MvAccountInfo>::Validate(Json("{}")));
}

TEST(JsDataConverterTest, IntFromEachKind) {
  struct Row {
    JSValue input;
    int value;
    const char* failure;  // "" for success
  } rows[] = {
      {JSValue(42.9), 42, ""},
      {JSValue(-42.9), -42, ""},
      {JSValue(-0.5), 0, ""},
      {JSValue(3e10), INT_MAX, ""},  // saturates instead of wrapping
      {JSValue(-2147483648.0), INT_MIN, ""},
      {JSValue(true), 1, ""},
      {JSValue(false), 0, ""},
      {Text("0042abc"), 42, ""},
      {Text("  -7"), -7, ""},
      {Text("+5"), 5, ""},
      {Text("2147483647"), INT_MAX, ""},
      {Text("abc"), 0, "JSDataConversion: Cannot convert string to int: abc"},
      {Text("99999999999"), 0, "JSDataConversion: Cannot convert string to int: 99999999999"},
      {Text(""), 0, "JSDataConversion: Cannot convert string to int: "},
      {JSValue::Null(), 0, "JSDataConversion: Cannot convert JSValue to int"},
      {JSValue(), 0, "JSDataConversion: Cannot convert JSValue to int"},
      {Json("[1]"), 0, "JSDataConversion: Cannot convert JSValue to int"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "kind " << int(row.input.type) << " '"
                                    << row.input.stringValue << "' " << row.input.numberValue);
    EXPECT_EQ(FailureOf<int>(row.input), row.failure);
    if (*row.failure == '\0') { EXPECT_EQ(JSDataConverter<int>::Convert(row.input), row.value); }
  }
}

TEST(JsDataConverterTest, StringFromEachKind) {
  struct Row {
    JSValue input;
    const char* value;
    const char* failure;
  } rows[] = {
      {Text("abc"), "abc", ""},
      {Text(""), "", ""},
      {JSValue(7), "7.000000", ""},
      {JSValue(-0.25), "-0.250000", ""},
      {JSValue(true), "true", ""},
      {JSValue(false), "false", ""},
      {JSValue::Null(), "", ""},
      {JSValue(), "", "JSDataConversion: Cannot convert JSValue to string"},
      {Json("[\"a\"]"), "", "JSDataConversion: Cannot convert JSValue to string"},
      {Json("{}"), "", "JSDataConversion: Cannot convert JSValue to string"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "kind " << int(row.input.type));
    EXPECT_EQ(FailureOf<std::string>(row.input), row.failure);
    if (*row.failure == '\0') { EXPECT_EQ(JSDataConverter<std::string>::Convert(row.input), row.value); }
  }
}

TEST(JsDataConverterTest, VoidLogsOnlyForAValue) {
  for (int kind = 0; kind <= 7; ++kind) {
    LogCapture log;
    JSDataConverter<void>::Convert(OfKind(static_cast<JSValueType>(kind)));
    bool logged = log.Take().find("[JSDataConverter] Void operation completed") != std::string::npos;
    EXPECT_EQ(logged, kind > 1) << "kind " << kind;
  }
}

TEST(JsDataConverterTest, WrongKindMessages) {
  struct Row {
    std::string (*fail)(const JSValue&);
    JSValue input;
    const char* message;
  } rows[] = {
      {FailureOf<MvAccountInfo>, Json("[]"), "Expected object for MvAccountInfo, got 5"},
      {FailureOf<MvAccountInfo>, JSValue::Null(), "Expected object for MvAccountInfo, got 1"},
      {FailureOf<MvChatroomPermission>, Text("x"), "Expected object for MvChatroomPermission, got 4"},
      {FailureOf<MvWaitingRoomMember>, JSValue(1), "Expected object for MvWaitingRoomMember, got 3"},
      {FailureOf<MvWaitingRoomInfo>, JSValue(true), "Expected object for MvWaitingRoomInfo, got 2"},
      {FailureOf<MvChatMessage>, Json("[]"), "Expected object for MvChatMessage"},
      {FailureOf<MvDeviceBaseInfo>, Json("[]"), "Expected object for MvDeviceBaseInfo"},
      {FailureOf<MvLocalMember>, Json("[]"), "Expected object for MvLocalMember"},
      {FailureOf<MvMeetingInfo>, Json("[]"), "Expected object for MvMeetingInfo"},
      {FailureOf<MvMeetingSDKInfo>, Json("[]"), "Expected object for MvMeetingSDKInfo"},
      {FailureOf<MvMember>, Json("[]"), "Expected object for MvMember"},
      {FailureOf<MvScheduledMember>, Json("[]"), "Expected object for MvScheduledMember"},
      {FailureOf<std::vector<MvDeviceBaseInfo>>, Json("{}"),
       "Expected array for std::vector<MvDeviceBaseInfo>"},
      {FailureOf<std::vector<MvMeetingInfo>>, Json("{}"),
       "Expected array for std::vector<MvMeetingInfo>"},
      {FailureOf<std::vector<MvMember>>, Text("[]"), "Expected array for std::vector<MvMember>"},
      {FailureOf<std::vector<MvScheduledMember>>, Json("{}"),
       "Expected array for std::vector<MvScheduledMember>"},
      {FailureOf<std::vector<MvWaitingRoomMember>>, Json("{}"),
       "Expected array for std::vector<MvWaitingRoomMember>"},
      // One bad element loses the whole list.
      {FailureOf<std::vector<MvMember>>, Json(R"([{"uuid":"a"},"b",{"uuid":"c"}])"),
       "Expected object for MvMember"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.fail(row.input), std::string("JSDataConversion: ") + row.message);
  }
}

// Each required field of each record: missing, of the wrong kind, and (for a
// text) empty. The base object holds every required field.
TEST(JsDataConverterTest, RequiredFields) {
  enum Need { kText, kNumber, kAnyKind };
  struct Row {
    std::string (*fail)(const JSValue&);
    const char* base;
    const char* key;
    Need need;
    const char* message;
  } rows[] = {
      {FailureOf<MvAccountInfo>,
       R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})", "userUuid",
       kText, "MvAccountInfo.userUuid is required"},
      {FailureOf<MvAccountInfo>,
       R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})", "userToken",
       kText, "MvAccountInfo.userToken is required"},
      {FailureOf<MvAccountInfo>,
       R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})", "nickname",
       kText, "MvAccountInfo.nickname is required"},
      {FailureOf<MvAccountInfo>,
       R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})",
       "privateMeetingNum", kText, "MvAccountInfo.privateMeetingNum is required"},
      {FailureOf<MvLocalMember>, R"({"userUuid":"u","name":"n","role":"host"})", "userUuid", kText,
       "MvLocalMember.userUuid is required"},
      {FailureOf<MvLocalMember>, R"({"userUuid":"u","name":"n","role":"host"})", "name", kText,
       "MvLocalMember.name is required"},
      {FailureOf<MvLocalMember>, R"({"userUuid":"u","name":"n","role":"host"})", "role", kAnyKind,
       "MvLocalMember.role is required"},
      {FailureOf<MvScheduledMember>, R"({"userUuid":"u","role":1})", "userUuid", kText,
       "MvScheduledMember.userUuid is required"},
      {FailureOf<MvScheduledMember>, R"({"userUuid":"u","role":1})", "role", kAnyKind,
       "MvScheduledMember.role is required"},
      {FailureOf<MvMeetingInfo>, R"({"meetingNum":"m","roomUuid":"r"})", "meetingNum", kText,
       "MvMeetingInfo.meetingNum is required"},
      {FailureOf<MvMeetingInfo>, R"({"meetingNum":"m","roomUuid":"r"})", "roomUuid", kText,
       "MvMeetingInfo.roomUuid is required"},
      {FailureOf<MvWaitingRoomMember>, R"({"uuid":"u","name":"n","joinTime":5,"status":0})",
       "uuid", kText, "MvWaitingRoomMember.uuid is required"},
      {FailureOf<MvWaitingRoomMember>, R"({"uuid":"u","name":"n","joinTime":5,"status":0})",
       "name", kText, "MvWaitingRoomMember.name is required"},
      {FailureOf<MvWaitingRoomMember>, R"({"uuid":"u","name":"n","joinTime":5,"status":0})",
       "joinTime", kNumber, "MvWaitingRoomMember.joinTime is required"},
      {FailureOf<MvWaitingRoomMember>, R"({"uuid":"u","name":"n","joinTime":5,"status":0})",
       "status", kNumber, "MvWaitingRoomMember.status is required"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.message);
    const std::string expected = std::string("JSDataConversion: ") + row.message;
    JSValue complete = Json(row.base);
    EXPECT_EQ(row.fail(complete), "");

    JSValue missing = complete;
    missing.objectValue.erase(row.key);
    EXPECT_EQ(row.fail(missing), expected);

    JSValue wrong = complete;
    wrong.Set(row.key, row.need == kNumber ? JSValue("5") : JSValue(1));
    EXPECT_EQ(row.fail(wrong), row.need == kAnyKind ? "" : expected);

    JSValue null_value = complete;
    null_value.Set(row.key, JSValue::Null());
    EXPECT_EQ(row.fail(null_value), row.need == kAnyKind ? "" : expected);

    if (row.need == kText) {
      JSValue empty = complete;
      empty.Set(row.key, JSValue(""));
      EXPECT_EQ(row.fail(empty), expected);
    }
  }
}

TEST(JsDataConverterTest, FirstMissingRequiredFieldIsReported) {
  EXPECT_EQ(FailureOf<MvAccountInfo>(Json(R"({"nickname":"n"})")),
            "JSDataConversion: MvAccountInfo.userUuid is required");
  EXPECT_EQ(FailureOf<MvAccountInfo>(Json(R"({"userUuid":"u","nickname":"n"})")),
            "JSDataConversion: MvAccountInfo.userToken is required");
  EXPECT_EQ(FailureOf<MvWaitingRoomMember>(Json(R"({"uuid":"u","name":"n","status":"x"})")),
            "JSDataConversion: MvWaitingRoomMember.joinTime is required");
}

// One row per field treatment, read through a representative field. The
// value column is JSON for the key's value, or empty for a missing key.
TEST(JsDataConverterTest, FieldTreatments) {
  using Reader = std::function<std::string(const JSValue&)>;
  const Reader corp_name = [](const JSValue& v) {  // optional string, non-empty
    JSValue o = Json(R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})");
    if (!v.IsUndefined()) o.Set("corpName", v);
    return Show(JSDataConverter<MvAccountInfo>::Convert(o).corpName);
  };
  const Reader avatar = [](const JSValue& v) {  // optional string
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("avatar", v);
    return Show(JSDataConverter<MvMember>::Convert(o).avatar);
  };
  const Reader name = [](const JSValue& v) {  // string
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("name", v);
    return JSDataConverter<MvMember>::Convert(o).name;
  };
  const Reader audio_on = [](const JSValue& v) {  // bool
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("isAudioOn", v);
    return Show(std::optional<bool>(JSDataConverter<MvMember>::Convert(o).isAudioOn));
  };
  const Reader hands_up = [](const JSValue& v) {  // optional bool
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("isHandsUp", v);
    return Show(JSDataConverter<MvMember>::Convert(o).isHandsUp);
  };
  const Reader is_me = [](const JSValue& v) {  // lenient optional bool
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("isMe", v);
    return Show(JSDataConverter<MvChatMessage>::Convert(o).isMe);
  };
  const Reader client_type = [](const JSValue& v) {  // int32
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("clientType", v);
    return std::to_string(JSDataConverter<MvMember>::Convert(o).clientType);
  };
  const Reader start_time = [](const JSValue& v) {  // int64
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("startTime", v);
    return std::to_string(JSDataConverter<MvMeetingSDKInfo>::Convert(o).startTime);
  };
  const Reader volume = [](const JSValue& v) {  // optional int32
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("volume", v);
    return Show(JSDataConverter<MvMember>::Convert(o).volume);
  };
  const Reader meeting_id = [](const JSValue& v) {  // optional int64
    JSValue o = Json("{}");
    if (!v.IsUndefined()) o.Set("meetingId", v);
    return Show(JSDataConverter<MvMeetingSDKInfo>::Convert(o).meetingId);
  };
  const Reader file_size = [](const JSValue& v) {  // unsigned 64-bit
    JSValue o = Json(R"({"file":{}})");
    if (!v.IsUndefined()) o.objectValue["file"].Set("size", v);
    return std::to_string(JSDataConverter<MvChatMessage>::Convert(o).file->size);
  };
  const Reader percentage = [](const JSValue& v) {  // double under progress
    JSValue o = Json(R"({"progress":{}})");
    if (!v.IsUndefined()) o.objectValue["progress"].Set("percentage", v);
    return std::to_string(JSDataConverter<MvChatMessage>::Convert(o).percentage);
  };

  struct Row {
    const char* treatment;
    const Reader& read;
    const char* value_json;  // "" = key absent
    const char* expected;
  } rows[] = {
      {"optional non-empty", corp_name, R"("acme")", "acme"},
      {"optional non-empty", corp_name, R"("")", "<none>"},
      {"optional non-empty", corp_name, "5", "<none>"},
      {"optional non-empty", corp_name, "", "<none>"},
      {"optional string", avatar, R"("")", ""},
      {"optional string", avatar, R"("a.png")", "a.png"},
      {"optional string", avatar, "null", "<none>"},
      {"string", name, R"("Ann")", "Ann"},
      {"string", name, "7", ""},
      {"string", name, "", ""},
      {"bool", audio_on, "true", "true"},
      {"bool", audio_on, "1", "false"},
      {"bool", audio_on, R"("true")", "false"},
      {"optional bool", hands_up, "false", "false"},
      {"optional bool", hands_up, "0", "<none>"},
      {"optional bool", hands_up, "", "<none>"},
      {"lenient bool", is_me, "true", "true"},
      {"lenient bool", is_me, "1", "true"},
      {"lenient bool", is_me, "0.5", "true"},
      {"lenient bool", is_me, "-1", "true"},
      {"lenient bool", is_me, "0", "false"},
      {"lenient bool", is_me, "-0.0", "false"},
      {"lenient bool", is_me, R"("x")", "<none>"},
      {"lenient bool", is_me, "null", "<none>"},
      {"int32", client_type, "2.9", "2"},
      {"int32", client_type, "-2.9", "-2"},
      {"int32", client_type, R"("3")", "0"},
      {"int32", client_type, "1e12", "2147483647"},
      {"int32", client_type, "-1e12", "-2147483648"},
      {"int64", start_time, "1700000000123", "1700000000123"},
      {"int64", start_time, "-1.5", "-1"},
      {"int64", start_time, "1e300", "9223372036854775807"},
      {"int64", start_time, "true", "0"},
      {"optional int32", volume, "0", "0"},
      {"optional int32", volume, "80.6", "80"},
      {"optional int32", volume, R"("80")", "<none>"},
      {"optional int64", meeting_id, "12345678901", "12345678901"},
      {"optional int64", meeting_id, "", "<none>"},
      {"uint64", file_size, "1024", "1024"},
      {"uint64", file_size, "-1", "0"},
      {"uint64", file_size, "", "0"},
      {"double", percentage, "12.5", "12.500000"},
      {"double", percentage, R"("12.5")", "0.000000"},
  };
  for (const Row& row : rows) {
    JSValue value = *row.value_json ? Json(row.value_json) : JSValue();
    EXPECT_EQ(row.read(value), row.expected) << row.treatment << " with " << row.value_json;
  }
}

// The four readers of a role share one table; each is checked with every row.
TEST(JsDataConverterTest, RoleTable) {
  const std::function<MvMemberRole(const JSValue&)> readers[] = {
      [](const JSValue& r) { return JSDataConverter<MvMember>::Convert(JSValue::Object().Set("role", r)).role; },
      [](const JSValue& r) {
        return JSDataConverter<MvLocalMember>::Convert(
                   Json(R"({"userUuid":"u","name":"n"})").Set("role", r)).role;
      },
      [](const JSValue& r) {
        return JSDataConverter<MvScheduledMember>::Convert(Json(R"({"userUuid":"u"})").Set("role", r)).role;
      },
      [](const JSValue& r) {
        return JSDataConverter<MvMeetingSDKInfo>::Convert(
                   JSValue::Object().Set("localMember", JSValue::Object().Set("role", r))).role;
      },
  };
  struct Row {
    const char* role_json;
    int expected;
  } rows[] = {
      {R"("host")", 0},      {R"("evaluator")", 1}, {R"("bidder")", 2},  {R"("supervise")", 3},
      {R"("cohost")", 0},    {R"("coHost")", 0},    {R"("Bidder")", 0},  {R"("")", 0},
      {"0", 0},              {"1", 1},              {"2.9", 2},          {"3", 3},
      {"3.99", 3},           {"4", 0},              {"-1", 0},           {"-0.5", 0},
      {"4294967298", 0},     {"true", 0},           {"null", 0},         {"[1]", 0},
      {R"({"v":2})", 0},
  };
  for (size_t reader = 0; reader < std::size(readers); ++reader) {
    for (const Row& row : rows) {
      EXPECT_EQ(static_cast<int>(readers[reader](Json(row.role_json))), row.expected)
          << "reader " << reader << " role " << row.role_json;
    }
  }
}

TEST(JsDataConverterTest, MessageKinds) {
  struct Row {
    const char* value_json;
    int32_t expected;
  } rows[] = {
      {R"("text")", 0},  {R"("image")", 1}, {R"("audio")", 2},  {R"("video")", 3},
      {R"("file")", 4},  {R"("geo")", 5},   {R"("custom")", 6}, {R"("tip")", 7},
      {R"("notification")", 8}, {R"("nonsense")", 0}, {R"("Image")", 0}, {R"("")", 0},
      {"3", 3},          {"42.7", 42},      {"true", 0},        {"null", 0},
  };
  for (const Row& row : rows) {
    JSValue message = JSValue::Object().Set("messageType", Json(row.value_json));
    EXPECT_EQ(JSDataConverter<MvChatMessage>::Convert(message).messageType, row.expected)
        << row.value_json;
  }
}

TEST(JsDataConverterTest, AccountInfoKeepsOptionalsAndLogs) {
  JSValue input = Json(R"({
      "userUuid":"u1","userToken":"t","nickname":"Nick","privateMeetingNum":"123",
      "email":"e@x","phoneNumber":"","isAnonymous":false,"isInitialPassword":"yes"})");
  LogCapture log;
  MvAccountInfo a = JSDataConverter<MvAccountInfo>::Convert(input);
  EXPECT_NE(log.Take().find("[JSDataConverter] Converted MvAccountInfo: userUuid=u1, nickname=Nick"),
            std::string::npos);
  EXPECT_EQ(a.privateMeetingNum, "123");
  EXPECT_EQ(Show(a.email), "e@x");
  EXPECT_EQ(Show(a.phoneNumber), "<none>");
  EXPECT_EQ(Show(a.isAnonymous), "false");
  EXPECT_EQ(Show(a.isInitialPassword), "<none>");
}

TEST(JsDataConverterTest, SmallRecords) {
  MvDeviceBaseInfo mic = JSDataConverter<MvDeviceBaseInfo>::Convert(
      Json(R"({"deviceId":"d1","deviceName":"Mic","defaultDevice":1})"));
  EXPECT_EQ(mic.deviceId + "/" + mic.deviceName, "d1/Mic");
  EXPECT_EQ(Show(mic.defaultDevice), "false");  // engaged even for a wrong kind
  EXPECT_EQ(Show(JSDataConverter<MvDeviceBaseInfo>::Convert(Json("{}")).defaultDevice), "false");

  MvChatroomPermission perm = JSDataConverter<MvChatroomPermission>::Convert(
      Json(R"({"crPerm":"ALL","wtPrChat":3})"));
  EXPECT_EQ(perm.crPerm, "ALL");
  EXPECT_EQ(perm.wtPrChat, "");

  MvWaitingRoomInfo room = JSDataConverter<MvWaitingRoomInfo>::Convert(
      Json(R"({"memberCount":4.8,"isEnabledOnEntry":true,"backgroundImageUrl":"u"})"));
  EXPECT_EQ(room.memberCount, 4);
  EXPECT_TRUE(room.isEnabledOnEntry);

  MvWaitingRoomMember waiting = JSDataConverter<MvWaitingRoomMember>::Convert(
      Json(R"({"uuid":"u","name":"n","avatar":"","joinTime":1700000000000,"status":2})"));
  EXPECT_EQ(Show(waiting.avatar), "");
  EXPECT_EQ(waiting.joinTime, 1700000000000);
  EXPECT_EQ(waiting.status, 2);
}

TEST(JsDataConverterTest, MeetingSdkInfoLocalMemberNeverFails) {
  struct Row {
    const char* local_member;
    const char* uuid;
    const char* name;
  } rows[] = {
      {R"({"userUuid":"a","uuid":"b","name":"N"})", "a", "N"},
      {R"({"userUuid":5,"uuid":"b"})", "b", ""},
      {R"({"userUuid":"","uuid":"b"})", "", ""},  // an empty text is still a string
      {R"({"name":7})", "", ""},
      {R"(["a"])", "", ""},
      {"null", "", ""},
  };
  for (const Row& row : rows) {
    MvMeetingSDKInfo info = JSDataConverter<MvMeetingSDKInfo>::Convert(
        Json(R"({"meetingNum":"m","maxMembers":50})").Set("localMember", Json(row.local_member)));
    EXPECT_EQ(info.userUuid, row.uuid) << row.local_member;
    EXPECT_EQ(info.name, row.name) << row.local_member;
    EXPECT_EQ(info.meetingNum, "m");
    EXPECT_EQ(Show(info.maxMembers), "50");
  }
}

TEST(JsDataConverterTest, MemberProperties) {
  struct Row {
    const char* properties;
    const char* wb_phone_tag_speaker;
  } rows[] = {
      {R"({"wbDrawable":{"value":"1"},"speakerOn":{"value":"0"}})", "true <none> <none> false"},
      {R"({"phoneState":{"value":"true"},"tag":{"value":"vip"}})", "<none> false vip <none>"},
      {R"({"wbDrawable":{"value":1},"tag":{"value":""}})", "<none> <none>  <none>"},
      {R"({"wbDrawable":"1","speakerOn":{"value":"1"}})", "<none> <none> <none> true"},
      {R"("wbDrawable")", "<none> <none> <none> <none>"},
  };
  for (const Row& row : rows) {
    MvMember m = JSDataConverter<MvMember>::Convert(
        JSValue::Object().Set("properties", Json(row.properties)));
    EXPECT_EQ(Show(m.wbDrawable) + " " + Show(m.phoneState) + " " + Show(m.tag) + " " +
                  Show(m.speakerOn),
              row.wb_phone_tag_speaker)
        << row.properties;
  }
}

TEST(JsDataConverterTest, ChatMessageListsAndNestedParts) {
  struct Row {
    const char* list_json;
    const char* joined;
  } rows[] = {
      {R"(["a",2,"b"])", "a,b,"}, {"[1,2]", "<none>"}, {"[]", "<none>"}, {R"("a")", "<none>"},
  };
  for (const Row& row : rows) {
    auto list = JSDataConverter<MvChatMessage>::Convert(
                    JSValue::Object().Set("toUserUuidList", Json(row.list_json))).toUserUuidList;
    std::string joined = list ? "" : "<none>";
    if (list) for (const auto& s : *list) joined += s + ",";
    EXPECT_EQ(joined, row.joined) << row.list_json;
  }

  MvChatMessage m = JSDataConverter<MvChatMessage>::Convert(Json(R"({
      "attach":{"from":"f","to":["x",1,"y"],"toNick":"z","msgTime":1.5e12,"id":9,"operator":"op"},
      "file":{"name":"a.txt","size":2048,"w":"10"},
      "progress":{"total":"10","loaded":3,"percentage":30,"percentageText":"30%"}})"));
  ASSERT_TRUE(m.attach && m.file);
  EXPECT_EQ(m.attach->to, (std::vector<std::string>{"x", "y"}));
  EXPECT_TRUE(m.attach->toNick.empty());
  EXPECT_EQ(m.attach->msgTime, 1500000000000);
  EXPECT_EQ(m.attach->operator_, "op");
  EXPECT_EQ(m.file->size, 2048u);
  EXPECT_EQ(m.file->w, 0);
  EXPECT_EQ(Show(m.total) + "|" + Show(m.loaded) + "|" + Show(m.percentageText), "10|<none>|30%");
  EXPECT_DOUBLE_EQ(m.percentage, 30.0);

  MvChatMessage bare = JSDataConverter<MvChatMessage>::Convert(Json(R"({"attach":[],"file":"f"})"));
  EXPECT_FALSE(bare.attach || bare.file || bare.total);
}

TEST(JsDataConverterTest, MeetingInfoNestedRecords) {
  const std::string base = R"("meetingNum":"m1","roomUuid":"r1","subject":"S")";
  struct Row {
    std::string json;
    const char* failure;
    const char* log;
  } rows[] = {
      {"{" + base + R"(,"scheduledMembers":[{"userUuid":"a","role":"bidder"},{"userUuid":"b","role":null}]})",
       "", "[JSDataConverter] Converted MvMeetingInfo: meetingNum=m1, subject=S, scheduledMembers=2"},
      {"{" + base + R"(,"scheduledMembers":{"userUuid":"a"}})", "",
       "[JSDataConverter] Converted MvMeetingInfo: meetingNum=m1, subject=S, scheduledMembers=none"},
      {"{" + base + R"(,"scheduledMembers":[]})", "", "scheduledMembers=0"},
      {"{" + base + R"(,"scheduledMembers":[{}]})",
       "JSDataConversion: MvScheduledMember.userUuid is required", ""},
      {R"({"scheduledMembers":[{}]})", "JSDataConversion: MvMeetingInfo.meetingNum is required", ""},
      {"{" + base + R"(,"localMember":{"userUuid":"u","name":"n"}})",
       "JSDataConversion: MvLocalMember.role is required", ""},
      {"{" + base + R"(,"localMember":"u"})", "", "scheduledMembers=none"},
  };
  for (const Row& row : rows) {
    JSValue input = Json(row.json);
    LogCapture log;
    std::string failure = FailureOf<MvMeetingInfo>(input);
    std::string out = log.Take();
    EXPECT_EQ(failure, row.failure) << row.json;
    if (*row.log) { EXPECT_NE(out.find(row.log), std::string::npos) << row.json; }
  }
  MvMeetingInfo info = JSDataConverter<MvMeetingInfo>::Convert(Json(
      "{" + base + R"(,"localMember":{"userUuid":"u","name":"n","role":"supervise"},"noChat":true})"));
  ASSERT_TRUE(info.localMember.has_value());
  EXPECT_EQ(info.localMember->role, MvMemberRole::Supervise);
  EXPECT_EQ(Show(info.noChat) + Show(info.noCloudRecord), "true<none>");
}

TEST(JsDataConverterTest, ListsLogTheirCount) {
  struct Row {
    std::function<size_t()> convert;
    const char* log;
  } rows[] = {
      {[] { return JSDataConverter<std::vector<MvMember>>::Convert(Json("[{},{}]")).size(); },
       "[JSDataConverter] Converted 2 members"},
      {[] { return JSDataConverter<std::vector<MvDeviceBaseInfo>>::Convert(Json("[{},{}]")).size(); },
       "[JSDataConverter] Converted 2 devices"},
      {[] {
         return JSDataConverter<std::vector<MvScheduledMember>>::Convert(
                    Json(R"([{"userUuid":"a","role":0},{"userUuid":"b","role":0}])")).size();
       },
       "[JSDataConverter] Converted 2 scheduled members"},
      {[] {
         return JSDataConverter<std::vector<MvWaitingRoomMember>>::Convert(Json(
                    R"([{"uuid":"a","name":"A","joinTime":1,"status":0},{"uuid":"b","name":"B","joinTime":2,"status":1}])")).size();
       },
       "[JSDataConverter] Converted 2 waiting room members"},
      {[] {
         return JSDataConverter<std::vector<MvMeetingInfo>>::Convert(
                    Json(R"([{"meetingNum":"1","roomUuid":"r"},{"meetingNum":"2","roomUuid":"r"}])")).size();
       },
       "[JSDataConverter] Converted 2 meetings"},
  };
  for (const Row& row : rows) {
    LogCapture log;
    size_t count = row.convert();
    std::string out = log.Take();
    EXPECT_EQ(count, 2u);
    EXPECT_NE(out.find(row.log), std::string::npos) << row.log;
  }
}

}  // namespace
