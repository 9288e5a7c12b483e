// Morvanta_Account_*: login, logout, account record, nickname and password.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "managers/account_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kAccountFail[] = "Failed to allocate MorvantaAccountInfo";

using AccountCallback = void (*)(int, const char*, MorvantaAccountInfo*, void*);

MvCallback<MvAccountInfo> AccountAdapter(AccountCallback callback, void* user_data) {
  return RecordAdapter<MvAccountInfo, MorvantaAccountInfo>(callback, user_data, &BuildAccountInfo, kAccountFail);
}

// The account family tests the handle, its manager, the options record and
// the callback; `body` runs only when all are there.
template <typename Options, typename Body>
int WithOptions(const char* name, MorvantaAccountManager_T* handle, const Options* options, const void* callback,
                Body&& body) {
  return Guarded<int>(name, -999, [&] {
    AccountManager* manager = ManagerOf(handle);
    if (!manager || !options || !callback) return -1;
    body(*manager, *options);
    return 0;
  });
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Account_LoginByPassword(MorvantaAccountManager_T* handle,
                                                  const MorvantaLoginByPasswordOptions* options,
                                                  MorvantaAccountInfoCallback callback, void* user_data) {
  return WithOptions("Morvanta_Account_LoginByPassword", handle, options, reinterpret_cast<const void*>(callback),
                     [&](AccountManager& m, const MorvantaLoginByPasswordOptions& o) {
                       m.LoginByPassword({Str(o.username), Str(o.password)}, AccountAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Account_LoginByToken(MorvantaAccountManager_T* handle,
                                               const MorvantaLoginByTokenOptions* options,
                                               MorvantaAccountInfoCallback callback, void* user_data) {
  return WithOptions("Morvanta_Account_LoginByToken", handle, options, reinterpret_cast<const void*>(callback),
                     [&](AccountManager& m, const MorvantaLoginByTokenOptions& o) {
                       LoginByTokenOptions native{Str(o.account_id), Str(o.account_token), {}, {}};
                       if (o.auth_type >= 0) native.authType = o.auth_type;
                       if (o.is_temporary >= 0) native.isTemporary = o.is_temporary > 0;
                       m.LoginByToken(native, AccountAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Account_GetAccountInfo(MorvantaAccountManager_T* handle,
                                                 MorvantaAccountInfoCallback callback, void* user_data) {
  return Guarded<int>("Morvanta_Account_GetAccountInfo", -999, [&] {
    AccountManager* manager = ManagerOf(handle);
    if (!manager || !callback) return -1;
    manager->GetAccountInfo(AccountAdapter(callback, user_data));
    return 0;
  });
}

MORVANTA_API int Morvanta_Account_Logout(MorvantaAccountManager_T* handle, MorvantaCallback callback,
                                         void* user_data) {
  return Guarded<int>("Morvanta_Account_Logout", -999, [&] {
    AccountManager* manager = ManagerOf(handle);
    if (!manager) return -1;
    manager->Logout(PlainAdapter(callback, user_data));
    return 0;
  });
}

MORVANTA_API int Morvanta_Account_ResetPassword(MorvantaAccountManager_T* handle,
                                                const MorvantaResetPasswordOptions* options,
                                                MorvantaCallback callback, void* user_data) {
  return WithOptions("Morvanta_Account_ResetPassword", handle, options, reinterpret_cast<const void*>(callback),
                     [&](AccountManager& m, const MorvantaResetPasswordOptions& o) {
                       m.ResetPassword({Str(o.old_password), Str(o.new_password)}, PlainAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Account_UpdateNickname(MorvantaAccountManager_T* handle, const char* nickname,
                                                 MorvantaCallback callback, void* user_data) {
  return Guarded<int>("Morvanta_Account_UpdateNickname", -999, [&] {
    AccountManager* manager = ManagerOf(handle);
    if (!manager || !nickname) return -1;
    manager->UpdateNickname(nickname, PlainAdapter(callback, user_data));
    return 0;
  });
}

}  // extern "C"

// Exported with C++ linkage on purpose: the plain name is not in the export
// table, only the decorated one.
MORVANTA_API int Morvanta_Account_LoginBySmsCode(MorvantaAccountManager_T* handle,
                                                 const MorvantaLoginBySmsCodeOptions* options,
                                                 void (*callback)(int, const char*, MorvantaAccountInfo*, void*),
                                                 void* user_data) {
  return WithOptions("Morvanta_Account_LoginBySmsCode", handle, options, reinterpret_cast<const void*>(callback),
                     [&](AccountManager& m, const MorvantaLoginBySmsCodeOptions& o) {
                       m.LoginBySmsCode({Str(o.phone_number), Str(o.sms_code)}, AccountAdapter(callback, user_data));
                     });
}
