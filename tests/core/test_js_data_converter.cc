// JSDataConverter: which kinds each converter takes, the scalar conversions,
// the field treatments, the role and message-kind tables, required fields and
// their order, nested records and lists.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <iterator>
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
using namespace morvanta;

const char kAccount[] = R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})";

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
std::string Show(const T& v) {
  std::ostringstream os;
  os << std::boolalpha << v;
  return os.str();
}
template <typename T>
std::string Show(const std::optional<T>& v) {
  return v ? Show(*v) : "<none>";
}

TEST(JsDataConverterTest, ValidateLooksOnlyAtTheKind) {
  struct Row {
    bool (*validate)(const JSValue&);
    const char* accepted_kinds;  // tag digits
  } rows[] = {
      {JSDataConverter<void>::Validate, "01234567"}, {JSDataConverter<int>::Validate, "234"},
      {JSDataConverter<std::string>::Validate, "1234"},
      {JSDataConverter<MvAccountInfo>::Validate, "6"}, {JSDataConverter<MvChatMessage>::Validate, "6"},
      {JSDataConverter<MvChatroomPermission>::Validate, "6"},
      {JSDataConverter<MvDeviceBaseInfo>::Validate, "6"}, {JSDataConverter<MvLocalMember>::Validate, "6"},
      {JSDataConverter<MvMeetingInfo>::Validate, "6"}, {JSDataConverter<MvMeetingSDKInfo>::Validate, "6"},
      {JSDataConverter<MvMember>::Validate, "6"}, {JSDataConverter<MvScheduledMember>::Validate, "6"},
      {JSDataConverter<MvWaitingRoomInfo>::Validate, "6"},
      {JSDataConverter<MvWaitingRoomMember>::Validate, "6"},
      {JSDataConverter<std::vector<MvMember>>::Validate, "5"},
      {JSDataConverter<std::vector<MvDeviceBaseInfo>>::Validate, "5"},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    for (int kind = 0; kind <= 7; ++kind) {
      bool expected = std::string(rows[i].accepted_kinds).find(char('0' + kind)) != std::string::npos;
      EXPECT_EQ(rows[i].validate(OfKind(static_cast<JSValueType>(kind))), expected)
          << "row " << i << ", kind " << kind;
    }
  }
  // Required fields are Convert's business, not Validate's.
  EXPECT_TRUE(JSDataConverter<MvAccountInfo>::Validate(Json("{}")));
}

TEST(JsDataConverterTest, IntAndStringFromEachKind) {
  struct Row {
    JSValue input;
    const char* as_int;     // value, or the failure after "JSDataConversion: "
    const char* as_string;
  } rows[] = {
      {JSValue(42.9), "42", "42.900000"},
      {JSValue(-42.9), "-42", "-42.900000"},
      {JSValue(-0.5), "0", "-0.500000"},
      {JSValue(7), "7", "7.000000"},
      {JSValue(3e10), "2147483647", "30000000000.000000"},  // saturates, no wrap
      {JSValue(-2147483648.0), "-2147483648", "-2147483648.000000"},
      {JSValue(true), "1", "true"},
      {JSValue(false), "0", "false"},
      {Text("0042abc"), "42", "0042abc"},
      {Text("  -7"), "-7", "  -7"},
      {Text("+5"), "5", "+5"},
      {Text("abc"), "Cannot convert string to int: abc", "abc"},
      {Text("99999999999"), "Cannot convert string to int: 99999999999", "99999999999"},
      {Text(""), "Cannot convert string to int: ", ""},
      {JSValue::Null(), "Cannot convert JSValue to int", ""},
      {JSValue(), "Cannot convert JSValue to int", "Cannot convert JSValue to string"},
      {Json("[1]"), "Cannot convert JSValue to int", "Cannot convert JSValue to string"},
      {Json("{}"), "Cannot convert JSValue to int", "Cannot convert JSValue to string"},
  };
  for (const Row& row : rows) {
    std::string int_failure = FailureOf<int>(row.input);
    std::string string_failure = FailureOf<std::string>(row.input);
    EXPECT_EQ(int_failure.empty() ? std::to_string(JSDataConverter<int>::Convert(row.input))
                                  : int_failure,
              std::string(int_failure.empty() ? "" : "JSDataConversion: ") + row.as_int);
    EXPECT_EQ(string_failure.empty() ? JSDataConverter<std::string>::Convert(row.input)
                                     : string_failure,
              std::string(string_failure.empty() ? "" : "JSDataConversion: ") + row.as_string);
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
      {FailureOf<std::vector<MvDeviceBaseInfo>>, Json("{}"), "Expected array for std::vector<MvDeviceBaseInfo>"},
      {FailureOf<std::vector<MvMeetingInfo>>, Json("{}"), "Expected array for std::vector<MvMeetingInfo>"},
      {FailureOf<std::vector<MvMember>>, Text("[]"), "Expected array for std::vector<MvMember>"},
      {FailureOf<std::vector<MvScheduledMember>>, Json("{}"), "Expected array for std::vector<MvScheduledMember>"},
      {FailureOf<std::vector<MvWaitingRoomMember>>, Json("{}"), "Expected array for std::vector<MvWaitingRoomMember>"},
      // One bad element loses the whole list.
      {FailureOf<std::vector<MvMember>>, Json(R"([{"uuid":"a"},"b",{}])"), "Expected object for MvMember"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.fail(row.input), std::string("JSDataConversion: ") + row.message);
}

// Each required field: missing, of the wrong kind, null and (for a text)
// empty. The base object holds every required field and converts.
TEST(JsDataConverterTest, RequiredFields) {
  enum Need { kText, kNumber, kAnyKind };
  const char* local = R"({"userUuid":"u","name":"n","role":"host"})";
  const char* waiting = R"({"uuid":"u","name":"n","joinTime":5,"status":0})";
  struct Row {
    std::string (*fail)(const JSValue&);
    const char* base;
    const char* key;
    Need need;
    const char* message;
  } rows[] = {
      {FailureOf<MvAccountInfo>, kAccount, "userUuid", kText, "MvAccountInfo.userUuid is required"},
      {FailureOf<MvAccountInfo>, kAccount, "userToken", kText, "MvAccountInfo.userToken is required"},
      {FailureOf<MvAccountInfo>, kAccount, "nickname", kText, "MvAccountInfo.nickname is required"},
      {FailureOf<MvAccountInfo>, kAccount, "privateMeetingNum", kText, "MvAccountInfo.privateMeetingNum is required"},
      {FailureOf<MvLocalMember>, local, "userUuid", kText, "MvLocalMember.userUuid is required"},
      {FailureOf<MvLocalMember>, local, "name", kText, "MvLocalMember.name is required"},
      {FailureOf<MvLocalMember>, local, "role", kAnyKind, "MvLocalMember.role is required"},
      {FailureOf<MvScheduledMember>, R"({"userUuid":"u","role":1})", "userUuid", kText, "MvScheduledMember.userUuid is required"},
      {FailureOf<MvScheduledMember>, R"({"userUuid":"u","role":1})", "role", kAnyKind, "MvScheduledMember.role is required"},
      {FailureOf<MvMeetingInfo>, R"({"meetingNum":"m","roomUuid":"r"})", "meetingNum", kText, "MvMeetingInfo.meetingNum is required"},
      {FailureOf<MvMeetingInfo>, R"({"meetingNum":"m","roomUuid":"r"})", "roomUuid", kText, "MvMeetingInfo.roomUuid is required"},
      {FailureOf<MvWaitingRoomMember>, waiting, "uuid", kText, "MvWaitingRoomMember.uuid is required"},
      {FailureOf<MvWaitingRoomMember>, waiting, "name", kText, "MvWaitingRoomMember.name is required"},
      {FailureOf<MvWaitingRoomMember>, waiting, "joinTime", kNumber, "MvWaitingRoomMember.joinTime is required"},
      {FailureOf<MvWaitingRoomMember>, waiting, "status", kNumber, "MvWaitingRoomMember.status is required"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.message);
    const std::string expected = std::string("JSDataConversion: ") + row.message;
    const std::string if_kind_matters = row.need == kAnyKind ? "" : expected;
    JSValue complete = Json(row.base);
    EXPECT_EQ(row.fail(complete), "");
    JSValue changed = complete;
    changed.objectValue.erase(row.key);
    EXPECT_EQ(row.fail(changed), expected);
    EXPECT_EQ(row.fail(changed.Set(row.key, row.need == kNumber ? JSValue("5") : JSValue(1))), if_kind_matters);
    EXPECT_EQ(row.fail(changed.Set(row.key, JSValue::Null())), if_kind_matters);
    EXPECT_EQ(row.fail(changed.Set(row.key, JSValue(""))), if_kind_matters);
  }
  // Fields are read in order, so the first missing one is reported.
  EXPECT_EQ(FailureOf<MvAccountInfo>(Json(R"({"userUuid":"u","nickname":"n"})")),
            "JSDataConversion: MvAccountInfo.userToken is required");
  EXPECT_EQ(FailureOf<MvWaitingRoomMember>(Json(R"({"uuid":"u","name":"n","status":"x"})")),
            "JSDataConversion: MvWaitingRoomMember.joinTime is required");
}

// Converts `base` with `path` (one or two keys, dot-separated) set to the
// value, or left absent for undefined, and shows the field that `get` picks.
template <typename T, typename Get>
std::function<std::string(const JSValue&)> FieldOf(const char* base, std::string path, Get get) {
  return [=](const JSValue& v) {
    JSValue o = Json(base);
    JSValue* holder = &o;
    std::string key = path;
    if (auto dot = path.find('.'); dot != std::string::npos) {
      holder = &o.objectValue[path.substr(0, dot)];
      key = path.substr(dot + 1);
    }
    if (!v.IsUndefined()) holder->Set(key, v);
    return Show(get(JSDataConverter<T>::Convert(o)));
  };
}

// One row per field treatment, read through a representative field. The
// value column is JSON for the key's value, or empty for a missing key.
TEST(JsDataConverterTest, FieldTreatments) {
  auto corp_name = FieldOf<MvAccountInfo>(kAccount, "corpName", [](const auto& r) { return r.corpName; });
  auto avatar = FieldOf<MvMember>("{}", "avatar", [](const auto& r) { return r.avatar; });
  auto name = FieldOf<MvMember>("{}", "name", [](const auto& r) { return r.name; });
  auto audio_on = FieldOf<MvMember>("{}", "isAudioOn", [](const auto& r) { return r.isAudioOn; });
  auto hands_up = FieldOf<MvMember>("{}", "isHandsUp", [](const auto& r) { return r.isHandsUp; });
  auto is_me = FieldOf<MvChatMessage>("{}", "isMe", [](const auto& r) { return r.isMe; });
  auto client_type = FieldOf<MvMember>("{}", "clientType", [](const auto& r) { return r.clientType; });
  auto start_time = FieldOf<MvMeetingSDKInfo>("{}", "startTime", [](const auto& r) { return r.startTime; });
  auto volume = FieldOf<MvMember>("{}", "volume", [](const auto& r) { return r.volume; });
  auto meeting_id = FieldOf<MvMeetingSDKInfo>("{}", "meetingId", [](const auto& r) { return r.meetingId; });
  auto file_size = FieldOf<MvChatMessage>(R"({"file":{}})", "file.size", [](const auto& r) { return r.file->size; });
  auto percent = FieldOf<MvChatMessage>(R"({"progress":{}})", "progress.percentage",
                                        [](const auto& r) { return r.percentage; });
  auto device = FieldOf<MvDeviceBaseInfo>("{}", "defaultDevice", [](const auto& r) { return r.defaultDevice; });
  struct Row {
    std::function<std::string(const JSValue&)> read;
    const char* value_json;  // "" = key absent
    const char* expected;
  } rows[] = {
      {corp_name, R"("acme")", "acme"}, {corp_name, R"("")", "<none>"}, {corp_name, "5", "<none>"},
      {corp_name, "", "<none>"},
      {avatar, R"("")", ""}, {avatar, R"("a.png")", "a.png"}, {avatar, "null", "<none>"},
      {name, R"("Ann")", "Ann"}, {name, "7", ""}, {name, "", ""},
      {audio_on, "true", "true"}, {audio_on, "1", "false"}, {audio_on, R"("true")", "false"},
      {hands_up, "false", "false"}, {hands_up, "0", "<none>"}, {hands_up, "", "<none>"},
      {is_me, "true", "true"}, {is_me, "1", "true"}, {is_me, "0.5", "true"}, {is_me, "-1", "true"},
      {is_me, "0", "false"}, {is_me, "-0.0", "false"}, {is_me, R"("x")", "<none>"},
      {is_me, "null", "<none>"},
      {client_type, "2.9", "2"}, {client_type, "-2.9", "-2"}, {client_type, R"("3")", "0"},
      {client_type, "1e12", "2147483647"}, {client_type, "-1e12", "-2147483648"},
      {start_time, "1700000000123", "1700000000123"}, {start_time, "-1.5", "-1"},
      {start_time, "1e300", "9223372036854775807"}, {start_time, "true", "0"},
      {volume, "0", "0"}, {volume, "80.6", "80"}, {volume, R"("80")", "<none>"},
      {meeting_id, "12345678901", "12345678901"}, {meeting_id, "", "<none>"},
      {file_size, "1024", "1024"}, {file_size, "-1", "0"}, {file_size, "", "0"},
      {percent, "12.5", "12.5"}, {percent, R"("12.5")", "0"},
      // Always engaged: false unless the key holds a bool.
      {device, "true", "true"}, {device, "1", "false"}, {device, "", "false"},
  };
  for (const Row& row : rows) {
    JSValue value = *row.value_json ? Json(row.value_json) : JSValue();
    EXPECT_EQ(row.read(value), row.expected) << "value " << row.value_json << ", row " << (&row - rows);
  }
}

// The four readers of a role share one table; each is checked with every row.
TEST(JsDataConverterTest, RoleTable) {
  const char kLocalMember[] = R"({"userUuid":"u","name":"n"})", kUser[] = R"({"userUuid":"u"})";
  auto with_role = [](const char* base, const JSValue& role) { return Json(base).Set("role", role); };
  const std::function<MvMemberRole(const JSValue&)> readers[] = {
      [&](const JSValue& r) { return JSDataConverter<MvMember>::Convert(with_role("{}", r)).role; },
      [&](const JSValue& r) { return JSDataConverter<MvLocalMember>::Convert(with_role(kLocalMember, r)).role; },
      [&](const JSValue& r) { return JSDataConverter<MvScheduledMember>::Convert(with_role(kUser, r)).role; },
      [&](const JSValue& r) {
        return JSDataConverter<MvMeetingSDKInfo>::Convert(JSValue::Object().Set("localMember", with_role("{}", r))).role;
      },
  };
  struct Row {
    const char* role_json;
    int expected;
  } rows[] = {
      {R"("host")", 0}, {R"("evaluator")", 1}, {R"("bidder")", 2}, {R"("supervise")", 3},
      {R"("cohost")", 0}, {R"("coHost")", 0}, {R"("Bidder")", 0}, {R"("")", 0},
      {"0", 0}, {"1", 1}, {"2.9", 2}, {"3", 3}, {"3.99", 3}, {"4", 0}, {"-1", 0}, {"-0.5", 0},
      {"4294967298", 0}, {"true", 0}, {"null", 0}, {"[1]", 0}, {R"({"v":2})", 0},
  };
  for (size_t reader = 0; reader < std::size(readers); ++reader) {
    for (const Row& row : rows) {
      EXPECT_EQ(static_cast<int>(readers[reader](Json(row.role_json))), row.expected)
          << "reader " << reader << ", role " << row.role_json;
    }
  }
}

TEST(JsDataConverterTest, MessageKinds) {
  struct Row {
    const char* value_json;
    int32_t expected;
  } rows[] = {
      {R"("text")", 0}, {R"("image")", 1}, {R"("audio")", 2}, {R"("video")", 3}, {R"("file")", 4},
      {R"("geo")", 5}, {R"("custom")", 6}, {R"("tip")", 7}, {R"("notification")", 8},
      {R"("nonsense")", 0}, {R"("Image")", 0}, {R"("")", 0}, {"3", 3}, {"42.7", 42}, {"true", 0},
  };
  for (const Row& row : rows) {
    JSValue message = JSValue::Object().Set("messageType", Json(row.value_json));
    EXPECT_EQ(JSDataConverter<MvChatMessage>::Convert(message).messageType, row.expected) << row.value_json;
  }
}

template <typename... Fields>
std::string Join(const Fields&... fields) {
  std::string out;
  ((out += Show(fields) + "|"), ...);
  return out;
}
int Num(MvMemberRole role) { return static_cast<int>(role); }

// A row's reader: the record converted from the value, shown by `pick`.
template <typename T, typename Pick>
std::function<std::string(const JSValue&)> Dump(Pick pick) {
  return [pick](const JSValue& v) { return pick(JSDataConverter<T>::Convert(v)); };
}

// Every key of every record set to a value that differs from the default, so
// a misspelt key or two swapped fields show up.
TEST(JsDataConverterTest, EveryKeyReachesItsField) {
  struct Row {
    std::function<std::string(const JSValue&)> dump;
    const char* json;
    const char* expected;
  } rows[] = {
      {Dump<MvAccountInfo>([](const auto& r) {
         return Join(r.userUuid, r.userToken, r.nickname, r.privateMeetingNum, r.corpName, r.account, r.avatar,
                     r.phoneNumber, r.email, r.privateShortMeetingNum, r.isInitialPassword, r.isAnonymous);
       }),
       R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p","corpName":"c","account":"a",
           "avatar":"v","phoneNumber":"ph","email":"e","privateShortMeetingNum":"s","isInitialPassword":true,
           "isAnonymous":false})",
       "u|t|n|p|c|a|v|ph|e|s|true|false|"},
      {Dump<MvDeviceBaseInfo>([](const auto& r) { return Join(r.deviceId, r.deviceName, r.defaultDevice); }),
       R"({"deviceId":"d","deviceName":"n","defaultDevice":true})", "d|n|true|"},
      {Dump<MvChatroomPermission>([](const auto& r) { return Join(r.crPerm, r.wtPrChat); }),
       R"({"crPerm":"A","wtPrChat":"B"})", "A|B|"},
      {Dump<MvLocalMember>([](const auto& r) { return Join(r.userUuid, r.name, Num(r.role)); }),
       R"({"userUuid":"u","name":"n","role":3})", "u|n|3|"},
      {Dump<MvScheduledMember>([](const auto& r) {
         return Join(r.userUuid, Num(r.role), r.nickname, r.avatar, r.email);
       }),
       R"({"userUuid":"u","role":"bidder","nickname":"n","avatar":"a","email":"e"})", "u|2|n|a|e|"},
      {Dump<MvMeetingInfo>([](const auto& r) {
         return Join(r.meetingId, r.meetingNum, r.roomUuid, r.state, r.startTime, r.endTime, r.subject,
                     r.ownerUserUuid, r.ownerNickname, r.enableWaitingRoom, r.localMember->name,
                     r.scheduledMembers->at(0).userUuid, r.noCloudRecord, r.noChat);
       }),
       R"({"meetingId":1,"meetingNum":"m","roomUuid":"r","state":2,"startTime":3,"endTime":4,"subject":"s",
           "ownerUserUuid":"o","ownerNickname":"on","enableWaitingRoom":true,
           "localMember":{"userUuid":"lu","name":"ln","role":1},"scheduledMembers":[{"userUuid":"su","role":2}],
           "noCloudRecord":false,"noChat":true})",
       "1|m|r|2|3|4|s|o|on|true|ln|su|false|true|"},
      {Dump<MvMeetingSDKInfo>([](const auto& r) {
         return Join(r.userUuid, r.name, Num(r.role), r.myUuid, r.hostUuid, r.hostName, r.activeSpeakerUuid,
                     r.subject, r.ownerUserUuid, r.roomArchiveId, r.meetingNum, r.isSupportChatroom,
                     r.isCloudRecording, r.startTime, r.endTime, r.type, r.rtcStartTime, r.joinMeetingTime,
                     r.meetingId, r.isWaitingRoomEnabled, r.inWaitingRoom, r.maxMembers, r.isBreakoutRoom);
       }),
       R"({"localMember":{"userUuid":"lu","name":"ln","role":"evaluator"},"myUuid":"my","hostUuid":"h",
           "hostName":"hn","activeSpeakerUuid":"as","subject":"s","ownerUserUuid":"o","roomArchiveId":"ra",
           "meetingNum":"m","isSupportChatroom":true,"isCloudRecording":true,"startTime":1,"endTime":2,"type":3,
           "rtcStartTime":4,"joinMeetingTime":5,"meetingId":6,"isWaitingRoomEnabled":true,"inWaitingRoom":false,
           "maxMembers":7,"isBreakoutRoom":true})",
       "lu|ln|1|my|h|hn|as|s|o|ra|m|true|true|1|2|3|4|5|6|true|false|7|true|"},
      {Dump<MvMember>([](const auto& r) {
         return Join(r.isAudioConnected, r.isAudioOn, r.isInChatroom, r.isInRtcChannel, r.isSharingScreen,
                     r.isSharingSystemAudio, r.isVideoOn, r.name, r.uuid, Num(r.role), r.clientType,
                     r.inviteState, r.isSharingScreenView, r.isSharingWhiteboard, r.isSharingWhiteboardView,
                     r.isLocalRecording, r.localRecordAvailable, r.isHandsUp, r.volume, r.avatar, r.wbDrawable,
                     r.phoneState, r.tag, r.speakerOn);
       }),
       R"({"isAudioConnected":true,"isAudioOn":true,"isInChatroom":true,"isInRtcChannel":true,
           "isSharingScreen":true,"isSharingSystemAudio":true,"isVideoOn":true,"name":"n","uuid":"u",
           "role":"supervise","clientType":4,"inviteState":5,"isSharingScreenView":true,
           "isSharingWhiteboard":false,"isSharingWhiteboardView":true,"isLocalRecording":false,
           "localRecordAvailable":true,"isHandsUp":false,"volume":60,"avatar":"a",
           "properties":{"wbDrawable":{"value":"1"},"phoneState":{"value":"0"},"tag":{"value":"t"},
                         "speakerOn":{"value":"1"}}})",
       "true|true|true|true|true|true|true|n|u|3|4|5|true|false|true|false|true|false|60|a|true|false|t|true|"},
      {Dump<MvWaitingRoomMember>([](const auto& r) { return Join(r.uuid, r.name, r.avatar, r.joinTime, r.status); }),
       R"({"uuid":"u","name":"n","avatar":"a","joinTime":5,"status":2})", "u|n|a|5|2|"},
      {Dump<MvWaitingRoomInfo>([](const auto& r) {
         return Join(r.memberCount, r.isEnabledOnEntry, r.backgroundImageUrl);
       }),
       R"({"memberCount":3,"isEnabledOnEntry":true,"backgroundImageUrl":"b"})", "3|true|b|"},
      {[](const JSValue& v) {
         auto r = JSDataConverter<MvChatMessage>::Convert(v);
         auto& a = *r.attach;
         auto& f = *r.file;
         return Join(r.messageUuid, r.fromClientType, r.fromUserUuid, r.fromNick, r.fromAvatar, r.messageType,
                     r.text, r.type, r.status, r.toUserUuidList->at(0), r.toNickname, r.time, r.idClient, r.from,
                     r.isMe, r.resend, r.isPrivate, r.chatroomType, r.custom, r.tempFile, r.total, r.loaded,
                     r.percentage, r.percentageText) +
                Join(a.from, a.fromNick, a.type, a.to.at(0), a.toNick.at(0), a.url, a.name, a.msgId, a.msgTime,
                     a.id, a.operator_) +
                Join(f.name, f.ext, f.size, f.url, f.filePath, f.w, f.h);
       },
       R"({"messageUuid":"mu","fromClientType":"fc","fromUserUuid":"fu","fromNick":"fn","fromAvatar":"fa",
           "messageType":"video","text":"x","type":"ty","status":"st","toUserUuidList":["to"],"toNickname":"tn",
           "time":9,"idClient":"ic","from":"fr","isMe":true,"resend":0,"isPrivate":1,"chatroomType":2,
           "custom":"cu","tempFile":"tf","progress":{"total":"10","loaded":"5","percentage":50,
           "percentageText":"50%"},
           "attach":{"from":"af","fromNick":"an","type":"at","to":["t1"],"toNick":["n1"],"url":"au",
                     "name":"am","msgId":"ai","msgTime":7,"id":8,"operator":"op"},
           "file":{"name":"f","ext":"e","size":100,"url":"fu","filePath":"fp","w":640,"h":480}})",
       "mu|fc|fu|fn|fa|3|x|ty|st|to|tn|9|ic|fr|true|false|true|2|cu|tf|10|5|50|50%|"
       "af|an|at|t1|n1|au|am|ai|7|8|op|f|e|100|fu|fp|640|480|"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.dump(Json(row.json)), row.expected) << row.json;
}

TEST(JsDataConverterTest, NestedObjectsOfOneRecord) {
  // MvMeetingSDKInfo: the local member's part never fails.
  struct SdkRow {
    const char* local_member;
    const char* uuid_and_name;
  } sdk_rows[] = {
      {R"({"userUuid":"a","uuid":"b","name":"N"})", "a/N"}, {R"({"userUuid":5,"uuid":"b"})", "b/"},
      {R"({"userUuid":"","uuid":"b"})", "/"}, {R"({"name":7})", "/"}, {R"(["a"])", "/"}, {"null", "/"},
  };
  for (const SdkRow& row : sdk_rows) {
    MvMeetingSDKInfo info = JSDataConverter<MvMeetingSDKInfo>::Convert(
        Json(R"({"meetingNum":"m"})").Set("localMember", Json(row.local_member)));
    EXPECT_EQ(info.userUuid + "/" + info.name, row.uuid_and_name) << row.local_member;
    EXPECT_EQ(info.meetingNum, "m");
  }

  // MvMember: properties.<name>.value, each read on its own.
  struct MemberRow {
    const char* properties;
    const char* wb_phone_tag_speaker;
  } member_rows[] = {
      {R"({"wbDrawable":{"value":"1"},"speakerOn":{"value":"0"}})", "true <none> <none> false"},
      {R"({"phoneState":{"value":"true"},"tag":{"value":"vip"}})", "<none> false vip <none>"},
      {R"({"wbDrawable":{"value":1},"tag":{"value":""}})", "<none> <none>  <none>"},
      {R"({"wbDrawable":"1","speakerOn":{"value":"1"}})", "<none> <none> <none> true"},
      {R"("wbDrawable")", "<none> <none> <none> <none>"},
  };
  for (const MemberRow& row : member_rows) {
    MvMember m = JSDataConverter<MvMember>::Convert(JSValue::Object().Set("properties", Json(row.properties)));
    EXPECT_EQ(Show(m.wbDrawable) + " " + Show(m.phoneState) + " " + Show(m.tag) + " " + Show(m.speakerOn),
              row.wb_phone_tag_speaker) << row.properties;
  }

  // MvChatMessage: the recipient list keeps only strings and is empty if none are left.
  struct ListRow {
    const char* list_json;
    const char* joined;
  } list_rows[] = {{R"(["a",2,"b"])", "a,b,"}, {"[1,2]", "<none>"}, {"[]", "<none>"}, {R"("a")", "<none>"}};
  for (const ListRow& row : list_rows) {
    auto list = JSDataConverter<MvChatMessage>::Convert(
        JSValue::Object().Set("toUserUuidList", Json(row.list_json))).toUserUuidList;
    std::string joined = list ? "" : "<none>";
    for (const auto& s : list.value_or(std::vector<std::string>{})) joined += s + ",";
    EXPECT_EQ(joined, row.joined) << row.list_json;
  }
  // Nested parts read their keys with the same leniency.
  MvChatMessage m = JSDataConverter<MvChatMessage>::Convert(Json(
      R"({"attach":{"to":["x",1,"y"],"toNick":"z"},"file":{"w":"10"},"progress":{"loaded":3}})"));
  ASSERT_TRUE(m.attach && m.file);
  EXPECT_EQ(Join(m.attach->to.size(), m.attach->toNick.size(), m.file->w, m.loaded), "2|0|0|<none>|");
  MvChatMessage bare = JSDataConverter<MvChatMessage>::Convert(Json(R"({"attach":[],"file":"f"})"));
  EXPECT_FALSE(bare.attach || bare.file || bare.total);
}

TEST(JsDataConverterTest, MeetingInfoNestedRecordsAndLogs) {
  const std::string base = R"("meetingNum":"m1","roomUuid":"r1","subject":"S")";
  struct Row {
    std::string json;
    const char* failure;
    const char* log;
  } rows[] = {
      {"{" + base + R"(,"scheduledMembers":[{"userUuid":"a","role":"bidder"},{"userUuid":"b","role":null}]})", "",
       "[JSDataConverter] Converted MvMeetingInfo: meetingNum=m1, subject=S, scheduledMembers=2"},
      {"{" + base + R"(,"scheduledMembers":{"userUuid":"a"}})", "",
       "[JSDataConverter] Converted MvMeetingInfo: meetingNum=m1, subject=S, scheduledMembers=none"},
      {"{" + base + R"(,"scheduledMembers":[]})", "", "scheduledMembers=0"},
      {"{" + base + R"(,"scheduledMembers":[{}]})", "JSDataConversion: MvScheduledMember.userUuid is required", ""},
      {R"({"scheduledMembers":[{}]})", "JSDataConversion: MvMeetingInfo.meetingNum is required", ""},
      {"{" + base + R"(,"localMember":{"userUuid":"u","name":"n"}})", "JSDataConversion: MvLocalMember.role is required", ""},
      {"{" + base + R"(,"localMember":"u"})", "", "scheduledMembers=none"},
      {kAccount, "", "[JSDataConverter] Converted MvAccountInfo: userUuid=u, nickname=n"},
  };
  for (const Row& row : rows) {
    JSValue input = Json(row.json);
    LogCapture log;
    std::string failure = input.Find("userToken") ? FailureOf<MvAccountInfo>(input) : FailureOf<MvMeetingInfo>(input);
    std::string out = log.Take();
    EXPECT_EQ(failure, row.failure) << row.json;
    if (*row.log) { EXPECT_NE(out.find(row.log), std::string::npos) << row.json; }
  }
}

template <typename T>
std::string ListLog(const char* json) {
  JSValue input = Json(json);
  LogCapture log;
  size_t count = JSDataConverter<std::vector<T>>::Convert(input).size();
  return std::to_string(count) + " converted; " + log.Take();
}

TEST(JsDataConverterTest, ListsLogTheirCount) {
  using testing::HasSubstr;
  EXPECT_THAT(ListLog<MvMember>("[{},{}]"), HasSubstr("2 converted; [JSDataConverter] Converted 2 members\n"));
  EXPECT_THAT(ListLog<MvDeviceBaseInfo>("[{},{}]"), HasSubstr("[JSDataConverter] Converted 2 devices\n"));
  EXPECT_THAT(ListLog<MvScheduledMember>(R"([{"userUuid":"a","role":0},{"userUuid":"b","role":0}])"),
              HasSubstr("[JSDataConverter] Converted 2 scheduled members\n"));
  EXPECT_THAT(ListLog<MvWaitingRoomMember>(R"([{"uuid":"a","name":"A","joinTime":1,"status":0}])"),
              HasSubstr("[JSDataConverter] Converted 1 waiting room members\n"));
  EXPECT_THAT(ListLog<MvMeetingInfo>(R"([{"meetingNum":"1","roomUuid":"r"},{"meetingNum":"2","roomUuid":"r"}])"),
              HasSubstr("[JSDataConverter] Converted 2 meetings\n"));
  EXPECT_THAT(ListLog<MvMember>("[]"), HasSubstr("[JSDataConverter] Converted 0 members\n"));
}

}  // namespace
