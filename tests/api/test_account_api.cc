// The account family through the public C interface, against the sandbox
// service: every answer converted, delivered once and owned by the caller.
#include "api/api_harness.h"

using namespace morvanta_test;

namespace {

class AccountApi : public InitializedLibrary {
 protected:
  void SetUp() override {
    InitializedLibrary::SetUp();
    account = Morvanta_GetAccountManager(sdk);
    ASSERT_NE(account, nullptr);
  }
  void TearDown() override {
    Morvanta_DestroyAccountManagerHandle(account);
    InitializedLibrary::TearDown();
  }
  // Logs in as alice; the caller frees nothing (the record is freed here).
  void LoginAlice() {
    MorvantaLoginByPasswordOptions o{"alice", "alice-password"};
    auto slot = std::make_shared<Slot>();
    ASSERT_EQ(Morvanta_Account_LoginByPassword(account, &o, Slot::OnAccount, slot.get()), 0);
    ASSERT_TRUE(slot->Wait());
    ASSERT_EQ(slot->code, 0) << slot->message;
    Morvanta_FreeAccountInfo(slot->account);
  }
  MorvantaAccountManager_T* account = nullptr;
};

}  // namespace

TEST_F(AccountApi, PasswordLoginAnswersTheFullAccountRecord) {
  MorvantaLoginByPasswordOptions o{"alice", "alice-password"};
  auto slot = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_LoginByPassword(account, &o, Slot::OnAccount, slot.get()), 0);
  ASSERT_TRUE(slot->WaitSettled());
  EXPECT_EQ(slot->Calls(), 1);
  ASSERT_EQ(slot->code, 0) << slot->message;
  EXPECT_EQ(slot->message, "");
  EXPECT_FALSE(slot->message_null);
  MorvantaAccountInfo* info = slot->account;
  ASSERT_NE(info, nullptr);
  EXPECT_STREQ(info->user_uuid, "user-alice-0001");
  EXPECT_STREQ(info->nickname, "Alice Archer");
  ASSERT_NE(info->user_token, nullptr);
  EXPECT_GT(strlen(info->user_token), 0u);
  ASSERT_NE(info->email, nullptr);
  EXPECT_STREQ(info->email, "alice@sandbox.morvanta.test");
  EXPECT_EQ(info->is_initial_password, 0);
  Morvanta_FreeAccountInfo(info);
}

TEST_F(AccountApi, OptionalFieldsTheServiceOmitsAreNullOrUnset) {
  MorvantaLoginByPasswordOptions o{"bob", "bob-password"};
  auto slot = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_LoginByPassword(account, &o, Slot::OnAccount, slot.get()), 0);
  ASSERT_TRUE(slot->Wait());
  ASSERT_EQ(slot->code, 0) << slot->message;
  ASSERT_NE(slot->account, nullptr);
  EXPECT_EQ(slot->account->email, nullptr);
  EXPECT_EQ(slot->account->avatar, nullptr);
  EXPECT_NE(slot->account->user_uuid, nullptr);
  Morvanta_FreeAccountInfo(slot->account);
}

TEST_F(AccountApi, AWrongPasswordIsRefusedWithTheServicesCodeAndNoRecord) {
  MorvantaLoginByPasswordOptions o{"alice", "wrong"};
  auto slot = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_LoginByPassword(account, &o, Slot::OnAccount, slot.get()), 0);
  ASSERT_TRUE(slot->WaitSettled());
  EXPECT_EQ(slot->Calls(), 1);
  EXPECT_EQ(slot->code, 1011);
  EXPECT_EQ(slot->message, "incorrect username or password");
  EXPECT_EQ(slot->account, nullptr);
}

TEST_F(AccountApi, SmsAndTokenLogins) {
  MorvantaLoginBySmsCodeOptions sms{"13800000002", "222222"};
  auto s1 = std::make_shared<Slot>();
  // C++ linkage: this call resolves to the decorated export.
  ASSERT_EQ(Morvanta_Account_LoginBySmsCode(account, &sms, Slot::OnAccount, s1.get()), 0);
  ASSERT_TRUE(s1->Wait());
  ASSERT_EQ(s1->code, 0) << s1->message;
  EXPECT_STREQ(s1->account->user_uuid, "user-bob-0002");
  Morvanta_FreeAccountInfo(s1->account);

  MorvantaLoginByTokenOptions token{"alice", "alice-token", -1, -1};
  auto s2 = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_LoginByToken(account, &token, Slot::OnAccount, s2.get()), 0);
  ASSERT_TRUE(s2->Wait());
  ASSERT_EQ(s2->code, 0) << s2->message;
  EXPECT_STREQ(s2->account->user_uuid, "user-alice-0001");
  Morvanta_FreeAccountInfo(s2->account);

  MorvantaLoginByTokenOptions bad{"alice", "forged-token", 1, 1};
  auto s3 = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_LoginByToken(account, &bad, Slot::OnAccount, s3.get()), 0);
  ASSERT_TRUE(s3->Wait());
  EXPECT_EQ(s3->code, 1013);
  EXPECT_EQ(s3->message, "token is invalid or expired");
  EXPECT_EQ(s3->account, nullptr);
}

TEST_F(AccountApi, NicknameChangeShowsInTheNextReadAndLogoutEndsTheSession) {
  LoginAlice();
  auto renamed = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_UpdateNickname(account, "Alice B.", Slot::OnPlain, renamed.get()), 0);
  ASSERT_TRUE(renamed->Wait());
  EXPECT_EQ(renamed->code, 0) << renamed->message;

  auto read = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_GetAccountInfo(account, Slot::OnAccount, read.get()), 0);
  ASSERT_TRUE(read->Wait());
  ASSERT_EQ(read->code, 0) << read->message;
  EXPECT_STREQ(read->account->nickname, "Alice B.");
  Morvanta_FreeAccountInfo(read->account);

  // A NULL callback is legal for logout: the logout still happens.
  ASSERT_EQ(Morvanta_Account_Logout(account, nullptr, nullptr), 0);
  auto after = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_GetAccountInfo(account, Slot::OnAccount, after.get()), 0);
  ASSERT_TRUE(after->Wait());
  EXPECT_EQ(after->code, 1010);
  EXPECT_EQ(after->message, "not logged in");
  EXPECT_EQ(after->account, nullptr);
}

TEST_F(AccountApi, PasswordResetChecksTheOldPassword) {
  LoginAlice();
  MorvantaResetPasswordOptions wrong{"nope", "new-password-1"};
  auto s1 = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_ResetPassword(account, &wrong, Slot::OnPlain, s1.get()), 0);
  ASSERT_TRUE(s1->Wait());
  EXPECT_EQ(s1->code, 1020);
  EXPECT_EQ(s1->message, "old password is incorrect");

  MorvantaResetPasswordOptions right{"alice-password", "new-password-1"};
  auto s2 = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_ResetPassword(account, &right, Slot::OnPlain, s2.get()), 0);
  ASSERT_TRUE(s2->Wait());
  EXPECT_EQ(s2->code, 0) << s2->message;
}

TEST_F(AccountApi, RefusedArgumentsReturnMinusOneAndNeverCallBack) {
  auto slot = std::make_shared<Slot>();
  MorvantaLoginByPasswordOptions pw{"alice", "alice-password"};
  MorvantaLoginBySmsCodeOptions sms{"1", "2"};
  MorvantaLoginByTokenOptions token{"a", "b", -1, -1};
  MorvantaResetPasswordOptions reset{"a", "b"};
  void* ud = slot.get();
  EXPECT_EQ(Morvanta_Account_LoginByPassword(nullptr, &pw, Slot::OnAccount, ud), -1);
  EXPECT_EQ(Morvanta_Account_LoginByPassword(account, nullptr, Slot::OnAccount, ud), -1);
  EXPECT_EQ(Morvanta_Account_LoginByPassword(account, &pw, nullptr, ud), -1);
  EXPECT_EQ(Morvanta_Account_LoginBySmsCode(account, &sms, nullptr, ud), -1);
  EXPECT_EQ(Morvanta_Account_LoginBySmsCode(account, nullptr, Slot::OnAccount, ud), -1);
  EXPECT_EQ(Morvanta_Account_LoginByToken(account, nullptr, Slot::OnAccount, ud), -1);
  EXPECT_EQ(Morvanta_Account_LoginByToken(nullptr, &token, Slot::OnAccount, ud), -1);
  EXPECT_EQ(Morvanta_Account_GetAccountInfo(account, nullptr, ud), -1);
  EXPECT_EQ(Morvanta_Account_GetAccountInfo(nullptr, Slot::OnAccount, ud), -1);
  EXPECT_EQ(Morvanta_Account_Logout(nullptr, Slot::OnPlain, ud), -1);
  EXPECT_EQ(Morvanta_Account_ResetPassword(account, &reset, nullptr, ud), -1);
  EXPECT_EQ(Morvanta_Account_ResetPassword(account, nullptr, Slot::OnPlain, ud), -1);
  EXPECT_EQ(Morvanta_Account_UpdateNickname(account, nullptr, Slot::OnPlain, ud), -1);
  EXPECT_EQ(Morvanta_Account_UpdateNickname(nullptr, "x", Slot::OnPlain, ud), -1);
  // A later answered call proves the refused ones queued nothing.
  auto probe = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_Logout(account, Slot::OnPlain, probe.get()), 0);
  ASSERT_TRUE(probe->Wait());
  EXPECT_EQ(slot->Calls(), 0);
}

TEST_F(AccountApi, ManyLoginsEachDeliveredOnceAndFreedByTheCaller) {
  constexpr int kRounds = 40;
  std::vector<std::shared_ptr<Slot>> slots;
  MorvantaLoginByPasswordOptions o{"alice", "alice-password"};
  for (int i = 0; i < kRounds; ++i) {
    slots.push_back(std::make_shared<Slot>());
    ASSERT_EQ(Morvanta_Account_LoginByPassword(account, &o, Slot::OnAccount, slots.back().get()), 0);
  }
  for (auto& slot : slots) ASSERT_TRUE(slot->Wait());
  std::this_thread::sleep_for(std::chrono::milliseconds(150));  // a doubled delivery would show now
  for (auto& slot : slots) {
    EXPECT_EQ(slot->Calls(), 1);
    ASSERT_EQ(slot->code, 0) << slot->message;
    Morvanta_FreeAccountInfo(slot->account);
  }
}
