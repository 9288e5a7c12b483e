#include "managers/security_manager.h"

#include "managers/sdk_method.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[SecurityManager]";
const SdkObject kSecurity{kTag, "morVantaMeeting.getSecurityManager()"};
constexpr SdkMethod kChange{"ChangeChatroomPermission", "changeChatroomPermission"};
constexpr SdkMethod kGet{"GetChatroomPermission", "getChatroomPermission"};

}  // namespace

void MvSecurityManager::ChangeChatroomPermission(const MvChatroomPermissionChange& change, MvCallback<void> done) {
  JSValue permission = JSValue::Object();
  if (change.crPerm) {
    log::Info(kTag, " Setting crPerm: ", *change.crPerm);
    permission.Set("crPerm", *change.crPerm);
  }
  if (change.wtPrChat) {
    log::Info(kTag, " Setting wtPrChat: ", *change.wtPrChat);
    permission.Set("wtPrChat", *change.wtPrChat);
  }
  SdkCall call = MethodCall(kSecurity, kChange, {permission});
  call.inspect = [](const JSValue&) { log::Info(kTag, " ✅ ChangeChatroomPermission successful"); };
  CallSdk<void>(bridge().get(), std::move(call), std::move(done));
}

void MvSecurityManager::GetChatroomPermission(MvCallback<MvChatroomPermission> done) {
  auto deliver = [done](const MvResult<MvChatroomPermission>& r) {
    log::Info(kTag, " 📊 ConvertToMvResult result - code: ", r.code, ", message: ", r.message);
    if (r.code != 0) {
      log::Error(kTag, " ❌ GetChatroomPermission failed: code=", r.code, ", message=", r.message);
      if (done) done(r);
      return;
    }
    // A result of code 0 always carries data when it comes from the
    // conversion; anything else is refused rather than handed on empty.
    if (!r.data) {
      log::Error(kTag, " ❌ GetChatroomPermission: data field is missing");
      if (done) done(MvResult<MvChatroomPermission>::Failure(-1, "Missing data field"));
      return;
    }
    log::Info(kTag, " ✅ GetChatroomPermission successful, crPerm: ", r.data->crPerm,
              ", wtPrChat: ", r.data->wtPrChat);
    if (done) done(r);
  };
  CallSdkMethod<MvChatroomPermission>(bridge().get(), kSecurity, kGet, {}, std::move(deliver));
}

}  // namespace morvanta
