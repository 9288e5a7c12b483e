#include "managers/account_manager.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[AccountManager]";
const std::string kPath = "morVantaMeeting.getAccountManager().";

SdkCall Call(const char* method, const char* jsMethod, std::vector<JSValue> args = {}) {
  SdkCall call;
  call.tag = kTag;
  call.method = method;
  call.path = kPath + jsMethod;
  call.args = std::move(args);
  return call;
}

// Password and nickname changes log only their failure.
SdkCall QuietCall(const char* method, const char* jsMethod, std::vector<JSValue> args) {
  SdkCall call = Call(method, jsMethod, std::move(args));
  call.log_received = false;
  return call;
}

const char* KindName(const JSValue& v) {
  switch (v.type) {
    case JSValueType::Undefined: return "undefined";
    case JSValueType::Null: return "null";
    case JSValueType::Boolean: return "boolean";
    case JSValueType::Number: return "number";
    case JSValueType::String: return "string";
    case JSValueType::Array: return "array";
    case JSValueType::Object: return "object";
    case JSValueType::Binary: return "binary";
  }
  return "unknown";
}

std::string Brief(const JSValue& v) {
  switch (v.type) {
    case JSValueType::String: return v.stringValue;
    case JSValueType::Number: return std::to_string(v.numberValue);
    case JSValueType::Boolean: return v.boolValue ? "true" : "false";
    default: return std::string("<") + KindName(v) + ">";
  }
}

MvCallback<MvAccountInfo> WithConversionLog(MvCallback<MvAccountInfo> done) {
  return [done](const MvResult<MvAccountInfo>& r) {
    log::Info(kTag, " 🔍 Conversion result - success: ", r.IsSuccess() ? "true" : "false", ", message: ", r.message);
    if (done) done(r);
  };
}

}  // namespace

void AccountManager::LoginByPassword(const LoginByPasswordOptions& o, MvCallback<MvAccountInfo> done) {
  JSValue options = JSValue::Object();
  options.Set("username", o.username).Set("password", o.password);
  CallSdk<MvAccountInfo>(bridge().get(), Call("LoginByPassword", "loginByPassword", {options}), std::move(done));
}

void AccountManager::LoginBySmsCode(const LoginBySmsCodeOptions& o, MvCallback<MvAccountInfo> done) {
  JSValue options = JSValue::Object();
  options.Set("phoneNumber", o.phoneNumber).Set("smsCode", o.smsCode);
  CallSdk<MvAccountInfo>(bridge().get(), Call("LoginBySmsCode", "loginBySmsCode", {options}), std::move(done));
}

void AccountManager::LoginByToken(const LoginByTokenOptions& o, MvCallback<MvAccountInfo> done) {
  JSValue options = JSValue::Object();
  options.Set("accountId", o.accountId).Set("accountToken", o.accountToken);
  if (auto b = bridge(); b && b->IsInitialized()) {
    if (o.authType) log::Info(kTag, " Adding authType: ", *o.authType);
    if (o.isTemporary) log::Info(kTag, " Adding isTemporary: ", *o.isTemporary ? "true" : "false");
  }
  if (o.authType) options.Set("authType", *o.authType);
  if (o.isTemporary) options.Set("isTemporary", *o.isTemporary);
  SdkCall call = Call("LoginByToken", "loginByToken", {options});
  call.announce = "About to call loginByToken with Promise support";
  // Raw-answer diagnostics, in this method only: they can show tokens.
  call.inspect = [](const JSValue& raw) {
    log::Info(kTag, " 🔍 Raw JS result type: ", KindName(raw));
    if (raw.IsObject()) {
      log::Info(kTag, " 🔍 JS Object fields:");
      for (const auto& [key, value] : raw.objectValue) log::Info("  ", key, ": ", Brief(value));
    } else if (raw.IsString()) {
      log::Info(kTag, " 🔍 JS String value: ", raw.stringValue);
    }
  };
  CallSdk<MvAccountInfo>(bridge().get(), std::move(call), WithConversionLog(std::move(done)));
}

void AccountManager::GetAccountInfo(MvCallback<MvAccountInfo> done) {
  CallSdk<MvAccountInfo>(bridge().get(), Call("GetAccountInfo", "getAccountInfo"), std::move(done));
}

void AccountManager::Logout(MvCallback<void> done) {
  CallSdk<void>(bridge().get(), Call("Logout", "logout"), std::move(done));
}

void AccountManager::ResetPassword(const ResetPasswordOptions& o, MvCallback<void> done) {
  JSValue options = JSValue::Object();
  options.Set("oldPassword", o.oldPassword).Set("newPassword", o.newPassword);
  CallSdk<void>(bridge().get(), QuietCall("ResetPassword", "resetPassword", {options}), std::move(done));
}

void AccountManager::UpdateNickname(const std::string& nickname, MvCallback<void> done) {
  CallSdk<void>(bridge().get(), QuietCall("UpdateNickname", "updateNickname", {JSValue(nickname)}), std::move(done));
}

}  // namespace morvanta
