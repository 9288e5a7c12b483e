#include "managers/invite_manager.h"

#include "core/js_fields.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[InviteManager]";
constexpr char kListKey[] = "meetingAccountListResp";
const std::string kPath = "morVantaMeeting.getInviteManager().";

using js_fields::FieldReader;
using js_fields::KindNumber;
using OptionalReader = std::optional<std::string> (FieldReader::*)(const char*) const;

std::string KeysOf(const JSValue& object) {
  std::string keys;
  for (const auto& member : object.objectValue) {
    if (!keys.empty()) keys += ", ";
    keys += member.first;
  }
  return keys;
}

// One account of an answer. The SDK calls the nickname `name`; `optional`
// decides whether an empty avatar, phone number or department still counts.
MvSearchAccountInfo ReadAccount(const JSValue& item, OptionalReader optional) {
  FieldReader fields(item, "MvSearchAccountInfo");
  MvSearchAccountInfo account;
  account.userUuid = fields.String("userUuid");
  account.nickname = fields.String("name");
  account.avatar = (fields.*optional)("avatar");
  account.phoneNumber = (fields.*optional)("phoneNumber");
  account.dept = (fields.*optional)("dept");
  return account;
}

}  // namespace

using ListResult = MvResult<MvAccountInfoListResponse>;

namespace {

ListResult ListFailure(const char* message) { return ListResult::Failure(-1, message); }

// The list of an answer object: at its top level, or inside its `result`.
// Null, with `failure` set, when it is in neither place.
const JSValue* FindAccountList(const JSValue& object, const char*& failure) {
  if (const JSValue* list = object.Find(kListKey)) {
    log::Info(kTag, " 📊 Found meetingAccountListResp at top level (result already extracted by JSBridge)");
    return list;
  }
  const JSValue* result = object.Find("result");
  if (!result || !result->IsObject()) {
    log::Error(kTag, " ❌ Missing or invalid 'result' field, and no meetingAccountListResp at top level");
    failure = "Missing result field in response";
    return nullptr;
  }
  log::Info(kTag, " 📊 Result object keys: ", KeysOf(*result));
  const JSValue* list = result->Find(kListKey);
  if (!list) {
    log::Error(kTag, " ❌ Missing 'meetingAccountListResp' field");
    failure = "Missing meetingAccountListResp field";
  }
  return list;
}

}  // namespace

ListResult ReadAccountInfoListAnswer(const JSValue& answer) {
  log::Info(kTag, " 📊 Raw result type: ", KindNumber(answer));
  const JSValue* value = &answer;
  JSValue parsed;
  if (answer.IsString()) {
    log::Info(kTag, " 📊 Result is string, parsing JSON...");
    std::string error;
    if (!TryParseJson(answer.stringValue, parsed, &error)) {
      log::Error(kTag, " ❌ JSON parse error: ", error);
      return ListFailure("Failed to parse JSON response");
    }
    log::Info(kTag, " 📊 JSON parsed successfully, normalized type: ", KindNumber(parsed));
    value = &parsed;
  }
  if (!value->IsObject()) {
    log::Error(kTag, " ❌ Expected object, got type ", KindNumber(*value));
    return ListFailure("Invalid response format: expected object");
  }
  log::Info(kTag, " 📊 Top-level object keys: ", KeysOf(*value));

  const char* failure = "";
  const JSValue* list = FindAccountList(*value, failure);
  if (!list) return ListFailure(failure);
  if (!list->IsArray()) {
    log::Error(kTag, " ❌ 'meetingAccountListResp' must be an array, got type ", KindNumber(*list));
    return ListFailure("meetingAccountListResp must be an array");
  }
  log::Info(kTag, " 📊 Found ", list->arrayValue.size(), " items in meetingAccountListResp");

  MvAccountInfoListResponse response;
  for (size_t i = 0; i < list->arrayValue.size(); ++i) {
    const JSValue& item = list->arrayValue[i];
    if (!item.IsObject()) {
      log::Info(kTag, " ⚠️ Skipping invalid item at index ", i, " (not an object, type=", KindNumber(item), ")");
      continue;
    }
    log::Info(kTag, " 📊 Item[", i, "] keys: ", KeysOf(item));
    MvSearchAccountInfo account = ReadAccount(item, &FieldReader::OptionalNonEmptyString);
    if (account.userUuid.empty()) {
      log::Info(kTag, " ⚠️ Skipping item at index ", i, " (missing userUuid)");
      continue;
    }
    if (account.nickname.empty()) {
      log::Info(kTag, " ⚠️ Item[", i, "] nickname is empty, using userUuid as default");
      account.nickname = account.userUuid;
    }
    log::Info(kTag, " 📊 Item[", i, "] converted: userUuid=", account.userUuid, ", nickname=", account.nickname);
    response.accounts.push_back(std::move(account));
  }
  log::Info(kTag, " ✅ GetAccountInfoList successful, converted ", response.accounts.size(),
            " account(s) from meetingAccountListResp");
  return ListResult::Success(std::move(response));
}

MvResult<std::vector<MvSearchAccountInfo>> ReadPhoneSearchAnswer(const JSValue& answer) {
  std::vector<MvSearchAccountInfo> accounts;
  if (answer.IsArray()) {
    for (const JSValue& item : answer.arrayValue) {
      if (item.IsObject()) accounts.push_back(ReadAccount(item, &FieldReader::OptionalString));
    }
  }
  log::Info(kTag, " ✅ SearchAccountInfoByPhone successful, count: ", accounts.size());
  return MvResult<std::vector<MvSearchAccountInfo>>::Success(std::move(accounts));
}

namespace {

SdkCall Call(const char* method, const char* jsMethod, JSValue argument) {
  SdkCall call;
  call.tag = kTag;
  call.method = method;
  call.path = kPath + jsMethod;
  call.args = {std::move(argument)};
  call.announce = std::string("Calling ") + jsMethod + " with Promise support";
  return call;
}

}  // namespace

void MvInviteManager::GetAccountInfoList(const std::vector<std::string>& userUuids,
                                         MvCallback<MvAccountInfoListResponse> done) {
  JSValue uuids = JSValue::Array();
  for (const std::string& uuid : userUuids) uuids.Push(uuid);
  CallSdk<MvAccountInfoListResponse>(bridge().get(), Call("GetAccountInfoList", "getAccountInfoList", uuids),
                                     std::move(done), &ReadAccountInfoListAnswer);
}

void MvInviteManager::SearchAccountInfoByPhone(const std::string& phone,
                                               MvCallback<std::vector<MvSearchAccountInfo>> done) {
  CallSdk<std::vector<MvSearchAccountInfo>>(bridge().get(),
                                            Call("SearchAccountInfoByPhone", "searchAccountInfoByPhone", phone),
                                            std::move(done), &ReadPhoneSearchAnswer);
}

}  // namespace morvanta
