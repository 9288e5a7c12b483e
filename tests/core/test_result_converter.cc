// ConvertToMvResult: the answer forms (JSON text, nested result, flat, direct
// result, bare payload), their precedence, the codes and messages each makes,
// the log lines, and the outcome-only (void) form.
#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>
#include <vector>

#include "core/result_converter.h"
#include "core_test_values.h"

namespace {

using core_test::Json;
using core_test::LogCapture;
using core_test::Text;
using morvanta::ConvertToMvResult;
using morvanta::JSValue;
using morvanta::MvResult;
using namespace morvanta;  // records

const char kInvalid[] = "Invalid data format for conversion";
const char kMissing[] = "Missing data field in result";

// A short text for the payload of a success, to compare in a table.
std::string Describe(const MvMeetingInfo& m) { return m.meetingNum; }
std::string Describe(int v) { return std::to_string(v); }
std::string Describe(const std::string& s) { return s; }
std::string Describe(const std::vector<MvMember>& members) {
  std::string out = "[";
  for (const auto& m : members) out += m.uuid + ";";
  return out + "]";
}

template <typename T>
struct Row {
  const char* name;
  JSValue input;
  int32_t code;
  std::string message;
  std::optional<std::string> data;  // description of the payload of a success
  const char* log = "";             // a line expected on standard output
};

template <typename T>
void RunTable(const std::vector<Row<T>>& rows) {
  for (const Row<T>& row : rows) {
    SCOPED_TRACE(row.name);
    LogCapture log;
    MvResult<T> result = ConvertToMvResult<T>(row.input);
    std::string out = log.Take();
    EXPECT_EQ(result.code, row.code);
    EXPECT_EQ(result.message, row.message);
    ASSERT_EQ(result.data.has_value(), row.data.has_value());
    if (row.data) { EXPECT_EQ(Describe(*result.data), *row.data); }
    if (*row.log) { EXPECT_NE(out.find(row.log), std::string::npos) << out; }
  }
}

const std::string kMeeting = R"({"meetingNum":"m1","roomUuid":"r1"})";

TEST(ResultConverterTest, RecordAnswerForms) {
  RunTable<MvMeetingInfo>({
      {"nested success drops the SDK's message",
       Json(R"({"result":{"code":0,"message":"ok","data":)" + kMeeting + "}}"), 0, "", "m1",
       "[ConvertToMvResult] 🔍 Found nested 'result' object"},
      {"nested failure keeps code and message",
       Json(R"({"result":{"code":1001,"message":"denied","data":{}}})"), 1001, "denied", {},
       "[ConvertToMvResult] ❌ Code != 0, returning failure"},
      {"nested failure with a non-string message", Json(R"({"result":{"code":5,"message":7}})"), 5,
       "success", {}},
      {"nested code truncates toward zero", Json(R"({"result":{"code":1.9}})"), 1, "success", {}},
      {"nested code -0.5 counts as 0", Json(R"({"result":{"code":-0.5,"data":)" + kMeeting + "}}"),
       0, "", "m1"},
      {"nested code 0 without data", Json(R"({"result":{"code":0}})"), -1, kMissing, {},
       "[ConvertToMvResult] ❌ Missing 'data' field in result object"},
      {"nested data of the wrong kind", Json(R"({"result":{"code":0,"data":[]}})"), -1, kInvalid,
       {}, "[ConvertToMvResult] ❌ JSDataConverter<T>::Validate failed for data field"},
      {"nested data missing a required field", Json(R"({"result":{"code":0,"data":{}}})"), -1,
       "JSDataConversion: MvMeetingInfo.meetingNum is required", {},
       "[ConvertToMvResult] ❌ JSDataConversionException: JSDataConversion: MvMeetingInfo.meetingNum"},
      {"nested without numeric code goes on to the direct result",
       Json(R"({"result":{"code":"7","meetingNum":"m2","roomUuid":"r"}})"), 0, "", "m2",
       "[ConvertToMvResult] ⚠️ 'code' field not found or not a number in result object"},
      {"nested wins over flat",
       Json(R"({"result":{"code":0,"data":)" + kMeeting + R"(},"code":9,"data":{}})"), 0, "", "m1"},
      {"flat when nested has no code",
       Json(R"({"result":{"x":1},"code":4,"message":"busy","data":null})"), 4, "busy", {}},
      {"flat success", Json(R"({"code":0,"message":"hi","data":)" + kMeeting + "}"), 0, "", "m1",
       "[ConvertToMvResult] 🔍 Found flat structure with 'code' and 'data'"},
      {"flat failure, data of any kind", Json(R"({"code":3,"data":null})"), 3, "success", {}},
      {"flat data of the wrong kind", Json(R"({"code":0,"data":"x"})"), -1, kInvalid, {}},
      {"top-level code without data is ignored", Json(R"({"code":1001})"), -1,
       "JSDataConversion: MvMeetingInfo.meetingNum is required", {},
       "[ConvertToMvResult] 🔍 Attempting direct conversion (not a result structure)"},
      {"top-level code 0 without data", Json(R"({"code":0})"), -1,
       "JSDataConversion: MvMeetingInfo.meetingNum is required", {}},
      {"string code is no flat structure",
       Json(R"({"code":"1","data":{},"meetingNum":"m3","roomUuid":"r"})"), 0, "", "m3"},
      {"direct result of the wrong kind", Json(R"({"result":[1]})"), -1, kInvalid, {},
       "[ConvertToMvResult] 🔍 Found direct 'result' field (array or object)"},
      {"scalar result is ignored", Json(R"({"result":"x","meetingNum":"m4","roomUuid":"r"})"), 0,
       "", "m4"},
      {"keys are case-sensitive", Json(R"({"Result":{"code":3},"meetingNum":"m5","roomUuid":"r"})"),
       0, "", "m5"},
      {"bare object", Json(kMeeting), 0, "", "m1"},
      {"JSON text with blanks ahead", Text(" \n\t" + kMeeting), 0, "", "m1"},
      {"JSON text of a nested failure", Text(R"({"result":{"code":8,"message":"m"}})"), 8, "m", {}},
      {"unparsable text stays a string", Text("{bad"), -1, kInvalid, {},
       "[ConvertToMvResult] ⚠️ JSON parse error: "},
      {"vertical tab is skipped but is not JSON", Text("\v" + kMeeting), -1, kInvalid, {},
       "[ConvertToMvResult] ❌ Direct validation failed"},
      {"null", JSValue::Null(), -1, kInvalid, {}},
      {"undefined", JSValue(), -1, kInvalid, {}},
  });
}

TEST(ResultConverterTest, IntAnswers) {
  RunTable<int>({
      {"bare number", JSValue(42.7), 0, "", "42"},
      {"plain text is read by stoi", Text(" 42"), 0, "", "42"},
      {"empty text", Text(""), -1, "JSDataConversion: Cannot convert string to int: ", {}},
      {"flat data as text", Json(R"({"code":0,"data":"7"})"), 0, "", "7"},
      {"nested data as bool", Json(R"({"result":{"code":0,"data":true}})"), 0, "", "1"},
      {"nested data null", Json(R"({"result":{"code":0,"data":null}})"), -1, kInvalid, {}},
      {"JSON array text", Text("[1]"), -1, kInvalid, {}},
      {"direct array result", Json(R"({"result":[1]})"), -1, kInvalid, {}},
      {"object", Json(R"({"volume":5})"), -1, kInvalid, {}},
  });
}

TEST(ResultConverterTest, StringAnswers) {
  RunTable<std::string>({
      {"plain text", Text("abc"), 0, "", "abc"},
      {"unparsable JSON-like text", Text("{bad"), 0, "", "{bad",
       "[ConvertToMvResult] ⚠️ JSON parse error: "},
      {"number", JSValue(7), 0, "", "7.000000"},
      {"null", JSValue::Null(), 0, "", ""},
      {"nested null data", Json(R"({"result":{"code":0,"data":null}})"), 0, "", ""},
      {"flat data in JSON text", Text(R"( {"code":0,"data":"dev-1"})"), 0, "", "dev-1"},
      {"JSON array text", Text(R"(["a"])"), -1, kInvalid, {}},
  });
}

TEST(ResultConverterTest, MemberListAnswers) {
  RunTable<std::vector<MvMember>>({
      {"bare array", Json(R"([{"uuid":"a"},{"uuid":"b"}])"), 0, "", "[a;b;]"},
      {"JSON text array", Text(R"([{"uuid":"a"}])"), 0, "", "[a;]"},
      {"direct result array", Json(R"({"result":[{"uuid":"c"}]})"), 0, "", "[c;]",
       "[JSDataConverter] Converted 1 members"},
      {"nested empty list", Json(R"({"result":{"code":0,"data":[]}})"), 0, "", "[]"},
      {"one bad element", Json(R"([{"uuid":"a"},"b"])"), -1,
       "JSDataConversion: Expected object for MvMember", {}},
      {"flat data object", Json(R"({"code":0,"data":{}})"), -1, kInvalid, {}},
      {"direct result object", Json(R"({"result":{"uuid":"a"}})"), -1, kInvalid, {}},
      {"scalar result falls to the whole object", Json(R"({"result":5})"), -1, kInvalid, {}},
  });
}

// The outcome-only form: a failure only through a numeric non-zero code. The
// last column says whether the value went on to JSDataConverter<void>, whose
// log line is the only output of this form.
TEST(ResultConverterTest, VoidAnswers) {
  struct VoidRow {
    const char* name;
    JSValue input;
    int32_t code;
    const char* message;
    bool reaches_converter;
  } rows[] = {
      {"top-level code without data", Json(R"({"code":1001})"), 1001, "success", false},
      {"top-level code 0 drops the message", Json(R"({"code":0,"message":"x"})"), 0, "", false},
      {"nested code 0 needs no data", Json(R"({"result":{"code":0}})"), 0, "", false},
      {"nested failure", Json(R"({"result":{"code":2,"message":"m"}})"), 2, "m", false},
      {"nested failure, message not text", Json(R"({"result":{"code":5,"message":7}})"), 5, "success", false},
      {"nested without code, then flat", Json(R"({"result":{"code":"3"},"code":4})"), 4, "success", false},
      {"result of any kind", Json(R"({"result":"anything"})"), 0, "", false},
      {"string code", Json(R"({"code":"9"})"), 0, "", true},
      {"code 1.9", Json(R"({"code":1.9})"), 1, "success", false},
      {"code -1.9", Json(R"({"code":-1.9})"), -1, "success", false},
      {"code -0.5", Json(R"({"code":-0.5})"), 0, "", false},
      {"code beyond int32 saturates", Json(R"({"code":3e10})"), INT_MAX, "success", false},
      {"JSON text", Text(R"(  {"code":7,"message":"t"})"), 7, "t", false},
      {"unparsable text", Text("{bad"), 0, "", true},
      {"undefined", JSValue(), 0, "", false},
      {"null", JSValue::Null(), 0, "", false},
      {"bool", JSValue(false), 0, "", true},
      {"number", JSValue(-3), 0, "", true},
      {"array", Json(R"([{"code":1}])"), 0, "", true},
  };
  for (const VoidRow& row : rows) {
    LogCapture log;
    MvResult<void> result = ConvertToMvResult<void>(row.input);
    std::string out = log.Take();
    EXPECT_EQ(result.code, row.code) << row.name;
    EXPECT_EQ(result.message, row.message) << row.name;
    EXPECT_EQ(out, row.reaches_converter ? "[JSDataConverter] Void operation completed\n" : "") << row.name;
  }
}

// Every instantiation exists, converts its payload and refuses a wrong kind.
template <typename T>
void ExpectInstantiation(const std::string& good_json) {
  SCOPED_TRACE(good_json);
  EXPECT_EQ(ConvertToMvResult<T>(Json(good_json)).code, 0);
  EXPECT_TRUE(ConvertToMvResult<T>(Text(good_json)).data.has_value());
  MvResult<T> bad = ConvertToMvResult<T>(JSValue());
  EXPECT_EQ(bad.code, -1);
  EXPECT_EQ(bad.message, kInvalid);
  EXPECT_FALSE(bad.data.has_value());
}

TEST(ResultConverterTest, EveryInstantiation) {
  ExpectInstantiation<int>("7");
  ExpectInstantiation<std::string>(R"("x")");
  ExpectInstantiation<MvMeetingSDKInfo>("{}");
  ExpectInstantiation<MvMeetingInfo>(kMeeting);
  ExpectInstantiation<MvWaitingRoomInfo>("{}");
  ExpectInstantiation<MvChatroomPermission>("{}");
  ExpectInstantiation<MvAccountInfo>(
      R"({"userUuid":"u","userToken":"t","nickname":"n","privateMeetingNum":"p"})");
  ExpectInstantiation<MvChatMessage>("{}");
  ExpectInstantiation<std::vector<MvDeviceBaseInfo>>("[{}]");
  ExpectInstantiation<std::vector<MvMember>>("[{}]");
  ExpectInstantiation<std::vector<MvMeetingInfo>>("[" + kMeeting + "]");
  ExpectInstantiation<std::vector<MvScheduledMember>>(R"([{"userUuid":"u","role":"host"}])");
  ExpectInstantiation<std::vector<MvWaitingRoomMember>>(
      R"([{"uuid":"u","name":"n","joinTime":1,"status":0}])");
}

TEST(ResultConverterTest, StartLineNamesTypeAndKind) {
  LogCapture log;
  ConvertToMvResult<std::vector<MvMember>>(Json("[]"));
  EXPECT_NE(log.Take().find("[ConvertToMvResult] 🔍 Starting conversion for type "
                            "std::vector<MvMember>, input kind 5"),
            std::string::npos);
}

}  // namespace

// JSON text nested beyond the parser's limit fails the same way in every
// family, the outcome-only one included; at the limit it is read as usual.
template <typename T>
void ExpectDepthBehaviour(const char* family) {
  SCOPED_TRACE(family);
  for (const std::string& deep : {std::string(514, '[') + std::string(514, ']'),
                                  "  " + std::string(100000, '[') + std::string(100000, ']')}) {
    MvResult<T> r = ConvertToMvResult<T>(Text(deep));
    EXPECT_EQ(r.code, -1);
    EXPECT_EQ(r.message, morvanta::kJsonTooDeepError);
  }
  MvResult<T> at_limit = ConvertToMvResult<T>(Text(std::string(513, '[') + std::string(513, ']')));
  EXPECT_NE(at_limit.message, morvanta::kJsonTooDeepError);
}

TEST(ResultConverterTest, JsonTextNestedTooDeepFailsAlikeInEveryFamily) {
  EXPECT_STREQ(morvanta::kJsonTooDeepError, "The document is nested more than 513 levels deep.");
  ExpectDepthBehaviour<void>("void");
  ExpectDepthBehaviour<int>("int");
  ExpectDepthBehaviour<std::string>("string");
  ExpectDepthBehaviour<MvMeetingInfo>("record");
  ExpectDepthBehaviour<std::vector<MvMember>>("list");
  // The void family reads a document at the limit as a success, as before.
  EXPECT_EQ(ConvertToMvResult<void>(Text(std::string(513, '[') + std::string(513, ']'))).code, 0);
}
