// The account family's requests as the sandbox service receives them: option
// strings a host leaves NULL go out as empty strings (never missing, never
// null), and the service's refusal of them comes back with its own code; a
// rejection reaches the callback with its reason's message as the SDK gave it.
#include <functional>
#include <string>

#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

struct AccountSlot : CallbackSlot {
  static void OnAccount(int code, const char* message, MorvantaAccountInfo* info, void* ud) {
    static_cast<AccountSlot*>(ud)->Record(code, message, info);
    Morvanta_FreeAccountInfo(info);
  }
};

class AccountRequests : public CapiLibrary {
 protected:
  void SetUp() override {
    CapiLibrary::SetUp();
    account = Morvanta_GetAccountManager(sdk);
    ASSERT_NE(account, nullptr);
  }
  void TearDown() override {
    Morvanta_DestroyAccountManagerHandle(account);
    CapiLibrary::TearDown();
  }
  MorvantaAccountManager_T* account = nullptr;
};

}  // namespace

TEST_F(AccountRequests, NullStringsInOptionsAreSentAsEmptyStrings) {
  // Logged in, so that the password reset gets as far as its options.
  ASSERT_TRUE(SandboxLogin("alice", "alice-password"));
  SandboxEval("morVantaSandbox.clearCalls()");
  const MorvantaResetPasswordOptions reset{nullptr, nullptr};
  const MorvantaLoginByPasswordOptions password{nullptr, nullptr};
  const MorvantaLoginBySmsCodeOptions sms{nullptr, nullptr};
  const MorvantaLoginByTokenOptions token{nullptr, nullptr, -1, -1};
  struct Row {
    const char* path;
    std::function<int(AccountSlot*)> call;
    const char* sent;     // the arguments the sandbox received, keys sorted
    const char* refusal;  // the service's text for the first empty field
  };
  const Row rows[] = {
      {"account.resetPassword",
       [&](AccountSlot* s) { return Morvanta_Account_ResetPassword(account, &reset, &AccountSlot::OnPlain, s); },
       R"([[{"newPassword":"","oldPassword":""}]])", "oldPassword is required"},
      {"account.loginByPassword",
       [&](AccountSlot* s) {
         return Morvanta_Account_LoginByPassword(account, &password, &AccountSlot::OnAccount, s);
       },
       R"([[{"password":"","username":""}]])", "username is required"},
      {"account.loginBySmsCode",
       [&](AccountSlot* s) { return Morvanta_Account_LoginBySmsCode(account, &sms, &AccountSlot::OnAccount, s); },
       R"([[{"phoneNumber":"","smsCode":""}]])", "phoneNumber is required"},
      {"account.loginByToken",
       [&](AccountSlot* s) { return Morvanta_Account_LoginByToken(account, &token, &AccountSlot::OnAccount, s); },
       R"([[{"accountId":"","accountToken":""}]])", "accountId is required"},
  };
  for (const Row& row : rows) {
    AccountSlot slot;
    ExpectAnswer(row.call(&slot), slot, 1000, row.refusal, row.path);  // the service's "invalid parameter"
    EXPECT_TRUE(slot.payload_null) << row.path;
    EXPECT_EQ(SandboxArgs(row.path), row.sent) << row.path;
  }
}

TEST_F(AccountRequests, ARejectionReachesTheCallbackWithItsReasonAsItIs) {
  const std::string fixed = R"({"success":false,"error":"Rejected with a reason that cannot be shown as text"})";
  struct Row {
    const char* reason;  // what the SDK's logout rejects with
    std::string json;
  };
  const Row rows[] = {
      {"new Error('gone')", R"({"success":false,"error":"gone"})"},
      {"{message: 42}", R"({"success":false,"error":42})"},
      {"{code: 7, message: {code: 5}}", R"({"success":false,"error":{"code":5}})"},
      {"null", fixed},
      {"{message: 10n}", fixed},
  };
  for (const Row& row : rows) {
    SandboxEval(std::string("(morVantaMeeting.getAccountManager().logout = function () { return Promise.reject(") +
                row.reason + "); }, true)");
    AccountSlot slot;
    ExpectAnswer(Morvanta_Account_Logout(account, &AccountSlot::OnPlain, &slot), slot, -1,
                 "Promise rejected: " + row.json, row.reason);
  }
  // The outcome's text is searched for the success marker as it is, so an
  // object message holding it reads as a success.
  SandboxEval("(morVantaMeeting.getAccountManager().logout = function () {"
              " return Promise.reject({message: {success: true}}); }, true)");
  AccountSlot slot;
  ExpectCalledBack(Morvanta_Account_Logout(account, &AccountSlot::OnPlain, &slot), slot, "success marker");
  EXPECT_EQ(slot.code, 0);
}
