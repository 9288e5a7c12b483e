// Morvanta_Invite_* against the sandbox service, and the id search's reading
// of the answer shapes it accepts (and of those it refuses).
#include <functional>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/callback_slot.h"

using namespace morvanta_test;

namespace {

// A slot that keeps the accounts as "uuid|nickname|avatar|phone|dept", with
// "-" for a NULL field.
struct Slot : CallbackSlot {
  std::vector<std::string> accounts;

  static void OnAccounts(int code, const char* message, MorvantaSearchAccountInfo* items, int32_t count, void* ud) {
    auto* s = static_cast<Slot*>(ud);
    auto text = [](const char* f) { return f ? std::string(f) : std::string("-"); };
    for (int32_t i = 0; i < count; ++i) {
      const MorvantaSearchAccountInfo& a = items[i];
      s->accounts.push_back(text(a.user_uuid) + "|" + text(a.nickname) + "|" + text(a.avatar) + "|" +
                            text(a.phone_number) + "|" + text(a.dept));
    }
    Morvanta_FreeAccountList(items, count);
    s->Record(code, message, items, count);
  }
};

const std::string kBob = "user-bob-0002|Bob Baker|-|13800000002|-";
const std::string kAlice =
    "user-alice-0001|Alice Archer|https://sandbox.morvanta.test/avatars/alice.png|13800000001|Morvanta Sandbox";

class InviteApi : public CapiLibrary {
 protected:
  void SetUp() override {
    CapiLibrary::SetUp();
    ASSERT_TRUE(SandboxLogin("carol", "carol-initial"));
    invite = Morvanta_GetInviteManager(sdk);
    ASSERT_NE(invite, nullptr);
  }
  void TearDown() override {
    Morvanta_DestroyInviteManagerHandle(invite);
    CapiLibrary::TearDown();
  }
  // The id search for bob and alice (and two ids that are skipped).
  void SearchIds(Slot& s) {
    const char* ids[] = {"user-bob-0002", nullptr, "nobody", "user-alice-0001"};
    ASSERT_EQ(Morvanta_Invite_GetAccountInfoList(invite, ids, 4, Slot::OnAccounts, &s), 0);
    ASSERT_TRUE(s.Wait());
  }
  MorvantaInviteManager_T* invite = nullptr;
};

}  // namespace

TEST_F(InviteApi, RefusedArgumentsReturnMinusOneAndReachNothing) {
  Slot s;
  MorvantaInviteManager_T no_manager{};
  const char* ids[] = {"user-bob-0002"};
  std::vector<std::function<int()>> refused = {
      [&] { return Morvanta_Invite_GetAccountInfoList(nullptr, ids, 1, Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_GetAccountInfoList(&no_manager, ids, 1, Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_GetAccountInfoList(invite, nullptr, 1, Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_GetAccountInfoList(invite, ids, 1, nullptr, &s); },
      [&] { return Morvanta_Invite_GetAccountInfoList(invite, ids, 0, Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_GetAccountInfoList(invite, ids, -3, Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_SearchAccountByPhone(nullptr, "13800000002", Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_SearchAccountByPhone(&no_manager, "13800000002", Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_SearchAccountByPhone(invite, nullptr, Slot::OnAccounts, &s); },
      [&] { return Morvanta_Invite_SearchAccountByPhone(invite, "13800000002", nullptr, &s); },
  };
  for (size_t i = 0; i < refused.size(); ++i) EXPECT_EQ(refused[i](), -1) << "case " << i;
  DrainWorker();
  EXPECT_EQ(s.Calls(), 0);
  EXPECT_EQ(SandboxNumber("morVantaSandbox.calls.filter((c) => c.path.startsWith('invite.')).length"), 0);
}

TEST_F(InviteApi, IdsGoAsOneArrayWithoutNullsAndAccountsComeBackWithANullMessage) {
  Slot s;
  SearchIds(s);
  EXPECT_EQ(SandboxArgs("invite.getAccountInfoList"), R"([[["user-bob-0002","nobody","user-alice-0001"]]])");
  EXPECT_EQ(s.calls, 1);
  EXPECT_EQ(s.code, 0);
  EXPECT_TRUE(s.message_null);
  EXPECT_EQ(s.accounts, (std::vector<std::string>{kBob, kAlice}));

  const char* only_nulls[] = {nullptr, nullptr};
  Slot none;
  ASSERT_EQ(Morvanta_Invite_GetAccountInfoList(invite, only_nulls, 2, Slot::OnAccounts, &none), 0);
  ASSERT_TRUE(none.Wait());
  EXPECT_EQ(SandboxArgs("invite.getAccountInfoList"), R"([[["user-bob-0002","nobody","user-alice-0001"]],[[]]])");
  EXPECT_EQ(none.code, 0);
  EXPECT_TRUE(none.payload_null);
  EXPECT_EQ(none.count, 0);
}

TEST_F(InviteApi, EveryAnswerShapeOfTheSandboxReadsTheSame) {
  for (const char* shape : {"flat", "nested", "result", "bare", "json"}) {
    SandboxEval(std::string("morVantaSandbox.configure({defaultShape: '") + shape + "'})");
    Slot s;
    SearchIds(s);
    EXPECT_EQ(s.code, 0) << shape << ": " << s.message;
    EXPECT_EQ(s.accounts, (std::vector<std::string>{kBob, kAlice})) << shape;
  }
}

TEST_F(InviteApi, HostileAnswersOfTheIdSearch) {
  struct Row {
    const char* answer;  // the SDK's answer, as a JavaScript expression
    int code;
    const char* message;  // nullptr: the success's NULL message
    std::vector<std::string> accounts;
  };
  const Row rows[] = {
      {R"('{"meetingAccountListResp":[{"userUuid":"u","name":"Una"}]}')", 0, nullptr, {"u|Una|-|-|-"}},
      {"{result: {meetingAccountListResp: []}}", 0, nullptr, {}},
      {"{result: {}}", -1, "Missing meetingAccountListResp field", {}},
      {"{}", -1, "Missing result field in response", {}},
      {"{result: 'x', code: 0}", -1, "Missing result field in response", {}},
      {"{code: 1010, message: 'not logged in', data: null}", -1, "Missing result field in response", {}},
      {"{meetingAccountListResp: 'x'}", -1, "meetingAccountListResp must be an array", {}},
      {"'{bad'", -1, "Failed to parse JSON response", {}},
      {"[]", -1, "Invalid response format: expected object", {}},
      {"{meetingAccountListResp: [5, {name: 'a'}, {userUuid: 'u'}, "
       "{userUuid: 'v', name: '', avatar: '', phoneNumber: 7, dept: 'D', nickname: 'ignored'}]}",
       0, nullptr, {"u|u|-|-|-", "v|v|-|-|D"}},
  };
  for (const Row& row : rows) {
    SandboxEval(std::string("morVantaSandbox.override('invite.getAccountInfoList', {answer: ") + row.answer + "})");
    Slot s;
    SearchIds(s);
    EXPECT_EQ(s.code, row.code) << row.answer;
    EXPECT_EQ(s.message_null, row.message == nullptr) << row.answer;
    if (row.message) {
      EXPECT_EQ(s.message, row.message) << row.answer;
    }
    EXPECT_EQ(s.accounts, row.accounts) << row.answer;
  }
}

TEST_F(InviteApi, PhoneSearch) {
  struct Row {
    const char* override_rule;  // for invite.searchAccountInfoByPhone, or nullptr
    const char* phone;
    int code;
    std::vector<std::string> accounts;
  };
  const Row rows[] = {
      {nullptr, "13800000002", 0, {kBob}},
      {nullptr, "19900000000", 0, {}},
      // Anything but an array reads as no account, even a failure.
      {"{fail: 'code', code: 1010}", "13800000002", 0, {}},
      {"{answer: {code: 0, data: [{userUuid: 'u'}]}}", "1", 0, {}},
      // Present optional fields are kept even when empty; other items skipped.
      {"{answer: [{userUuid: 'u', name: 'U', avatar: '', dept: 'D'}, 'x', null]}", "1", 0, {"u|U||-|D"}},
  };
  for (const Row& row : rows) {
    SandboxEval(std::string("morVantaSandbox.override('invite.searchAccountInfoByPhone', ") +
                (row.override_rule ? row.override_rule : "null") + ")");
    Slot s;
    ASSERT_EQ(Morvanta_Invite_SearchAccountByPhone(invite, row.phone, Slot::OnAccounts, &s), 0);
    ASSERT_TRUE(s.Wait());
    EXPECT_EQ(s.code, row.code) << row.phone;
    EXPECT_TRUE(s.message_null);
    EXPECT_EQ(s.accounts, row.accounts) << (row.override_rule ? row.override_rule : row.phone);
  }
  EXPECT_EQ(SandboxArgs("invite.searchAccountInfoByPhone"),
            R"([["13800000002"],["19900000000"],["13800000002"],["1"],["1"]])");
}

TEST_F(InviteApi, RejectionsAndFailedAllocations) {
  SandboxEval("morVantaSandbox.override('invite.*', {fail: 'reject', message: 'network down', times: 2})");
  Slot ids;
  SearchIds(ids);
  Slot phone;
  ASSERT_EQ(Morvanta_Invite_SearchAccountByPhone(invite, "13800000002", Slot::OnAccounts, &phone), 0);
  ASSERT_TRUE(phone.Wait());
  for (Slot* s : {&ids, &phone}) {
    EXPECT_EQ(s->code, -1);
    EXPECT_NE(s->message.find("network down"), std::string::npos) << s->message;
    EXPECT_TRUE(s->payload_null);
  }

  Slot failed;
  morvanta::capi::FailAllocationAfter(1);
  SearchIds(failed);
  morvanta::capi::FailAllocationAfter(0);
  EXPECT_EQ(failed.code, -9);
  EXPECT_EQ(failed.message, "Failed to allocate account list");
  EXPECT_TRUE(failed.payload_null);
  EXPECT_EQ(failed.count, 0);
}
