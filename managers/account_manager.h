// Login, logout, the current account, its nickname and password, through the
// SDK's account object. Tokens and passwords pass through; nothing is stored.
#pragma once

#include <optional>
#include <string>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

struct LoginByPasswordOptions {
  std::string username;
  std::string password;
};

struct LoginBySmsCodeOptions {
  std::string phoneNumber;
  std::string smsCode;
};

struct LoginByTokenOptions {
  std::string accountId;
  std::string accountToken;
  std::optional<int32_t> authType;
  std::optional<bool> isTemporary;
};

struct ResetPasswordOptions {
  std::string oldPassword;
  std::string newPassword;
};

class AccountManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  void LoginByPassword(const LoginByPasswordOptions& options, MvCallback<MvAccountInfo> done);
  void LoginBySmsCode(const LoginBySmsCodeOptions& options, MvCallback<MvAccountInfo> done);
  void LoginByToken(const LoginByTokenOptions& options, MvCallback<MvAccountInfo> done);
  void GetAccountInfo(MvCallback<MvAccountInfo> done);
  void Logout(MvCallback<void> done);
  void ResetPassword(const ResetPasswordOptions& options, MvCallback<void> done);
  void UpdateNickname(const std::string& nickname, MvCallback<void> done);
};

}  // namespace morvanta
