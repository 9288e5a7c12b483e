// Morvanta_Security_*: refusals, the permission object the change sends, the
// record the read delivers, and permissions that read back what was set.
#include <functional>

#include "capi/c_alloc.h"
#include "capi/in_meeting_harness.h"

using namespace morvanta_test;

namespace {

struct PermissionSlot : CallbackSlot {
  std::string cr_perm, wt_pr_chat;
  static void On(int code, const char* message, MorvantaChatroomPermission* p, void* ud) {
    auto* slot = static_cast<PermissionSlot*>(ud);
    if (p) {
      slot->cr_perm = p->cr_perm;
      slot->wt_pr_chat = p->wt_pr_chat;
    }
    Morvanta_FreeChatroomPermission(p);
    slot->Record(code, message, p);
  }
};

class SecurityApi : public InMeetingApi<MorvantaSecurityManager_T, Morvanta_GetSecurityManager,
                                        Morvanta_DestroySecurityManagerHandle> {
 protected:
  void Change(const char* cr_perm, const char* wt_pr_chat, CallbackSlot& slot) {
    ASSERT_EQ(Morvanta_Security_ChangeChatroomPermission(handle, cr_perm, wt_pr_chat, CallbackSlot::OnPlain, &slot), 0);
    ExpectOneCallback(slot);
  }
  void Get(PermissionSlot& slot) {
    ASSERT_EQ(Morvanta_Security_GetChatroomPermission(handle, PermissionSlot::On, &slot), 0);
    ExpectOneCallback(slot);
  }
};

}  // namespace

TEST_F(SecurityApi, RefusedCallsStartNothing) {
  CallbackSlot plain;
  PermissionSlot record;
  ExpectRefused("change: NULL handle",
                Morvanta_Security_ChangeChatroomPermission(nullptr, "noChat", nullptr, CallbackSlot::OnPlain, &plain),
                plain, "security.changeChatroomPermission");
  ExpectRefused("change: no manager",
                Morvanta_Security_ChangeChatroomPermission(&empty, "noChat", nullptr, CallbackSlot::OnPlain, &plain),
                plain, "security.changeChatroomPermission");
  ExpectRefused("get: NULL handle", Morvanta_Security_GetChatroomPermission(nullptr, PermissionSlot::On, &record),
                record, "security.getChatroomPermission");
  ExpectRefused("get: no manager", Morvanta_Security_GetChatroomPermission(&empty, PermissionSlot::On, &record), record,
                "security.getChatroomPermission");
  ExpectRefused("get: NULL callback", Morvanta_Security_GetChatroomPermission(handle, nullptr, nullptr), record,
                "security.getChatroomPermission");
}

TEST_F(SecurityApi, ChangeSendsOnlyThePermissionsGiven) {
  struct Row {
    const char* cr_perm;
    const char* wt_pr_chat;
    const char* args;
  };
  const Row rows[] = {
      {nullptr, nullptr, "[[{}]]"},
      {"", "", "[[{}]]"},
      {"noChat", nullptr, R"([[{"crPerm":"noChat"}]])"},
      {"", "privateChatHostOnly", R"([[{"wtPrChat":"privateChatHostOnly"}]])"},
      {"publicChatOnly", "noChat", R"([[{"crPerm":"publicChatOnly","wtPrChat":"noChat"}]])"},
      // Names pass through unread: the service judges them.
      {"whatever", nullptr, R"([[{"crPerm":"whatever"}]])"},
  };
  for (const Row& row : rows) {
    SandboxEval("morVantaSandbox.clearCalls()");
    CallbackSlot slot;
    Change(row.cr_perm, row.wt_pr_chat, slot);
    EXPECT_EQ(CallArgs("security.changeChatroomPermission"), row.args);
  }
  PermissionSlot read;
  Get(read);
  EXPECT_EQ(CallArgs("security.getChatroomPermission"), "[[]]");
}

TEST_F(SecurityApi, PermissionsReadBackWhatWasSet) {
  PermissionSlot before;
  Get(before);
  EXPECT_EQ(before.code, 0);
  EXPECT_EQ(before.message, "");
  EXPECT_FALSE(before.payload_null);
  EXPECT_EQ(before.cr_perm, "freeChat");
  EXPECT_EQ(before.wt_pr_chat, "noChat");

  CallbackSlot changed;
  Change("publicChatOnly", nullptr, changed);
  EXPECT_EQ(changed.code, 0);
  EXPECT_EQ(changed.message, "");
  CallbackSlot changed_too;
  Change(nullptr, "privateChatHostOnly", changed_too);
  PermissionSlot after;
  Get(after);
  EXPECT_EQ(after.cr_perm, "publicChatOnly");
  EXPECT_EQ(after.wt_pr_chat, "privateChatHostOnly");

  // The service's refusals arrive with their codes and texts.
  CallbackSlot unknown;
  Change("everyone", nullptr, unknown);
  EXPECT_EQ(unknown.code, 1000);
  EXPECT_EQ(unknown.message, "crPerm must be one of freeChat, publicChatOnly, privateChatHostOnly, noChat");
  ASSERT_TRUE(EnterQuietMeeting(false));
  CallbackSlot member;
  Change("noChat", nullptr, member);
  EXPECT_EQ(member.code, 1103);
  EXPECT_EQ(member.message, "only the host can do this");
}

TEST_F(SecurityApi, AnswersOfTheRead) {
  struct Row {
    const char* rule;
    int code;
    const char* message;
    bool record;
    const char* cr_perm;
  };
  const Row rows[] = {
      {"{answer: {result: {code: 0, data: {crPerm: 'a', wtPrChat: 'b'}}}}", 0, "", true, "a"},
      {"{answer: {crPerm: 'c'}}", 0, "", true, "c"},
      {"{answer: JSON.stringify({code: 0, data: {crPerm: 'd', wtPrChat: 'e'}})}", 0, "", true, "d"},
      {"{answer: {result: {code: 0}}}", -1, "Missing data field in result", false, ""},
      {"{answer: 'noChat'}", -1, "Invalid data format for conversion", false, ""},
      {"{fail: 'code', code: 1100, message: 'not in a meeting', shape: 'nested'}", 1100, "not in a meeting", false, ""},
      {"{fail: 'reject', message: 'gone'}", -1, R"(Promise rejected: {"success":false,"error":"gone"})", false, ""},
      // No rule: the service answers, but the record cannot be allocated.
      {nullptr, -9, "Failed to allocate MorvantaChatroomPermission", false, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.rule ? row.rule : "failed allocation");
    Override("security.getChatroomPermission", row.rule ? row.rule : "null");
    morvanta::capi::FailAllocationAfter(row.rule ? 0 : 1);
    PermissionSlot slot;
    Get(slot);
    morvanta::capi::FailAllocationAfter(0);
    EXPECT_EQ(slot.code, row.code);
    EXPECT_EQ(slot.message, row.message);
    EXPECT_EQ(!slot.payload_null, row.record);
    EXPECT_EQ(slot.cr_perm, row.cr_perm);
  }
}

TEST_F(SecurityApi, AnswersOfTheChange) {
  struct Row {
    const char* rule;
    int code;
    const char* message;
  };
  const Row rows[] = {
      {"{answer: undefined}", 0, ""},
      {"{answer: {code: 0, message: 'fine'}}", 0, ""},
      {"{answer: {code: 5, message: 'locked'}}", 5, "locked"},
      {"{answer: {result: {code: 6}}}", 6, "success"},
      {"{fail: 'throw', message: 'refused'}", -1, "Error: refused"},
  };
  for (const Row& row : rows) {
    Override("security.changeChatroomPermission", row.rule);
    CallbackSlot slot;
    Change("noChat", nullptr, slot);
    EXPECT_EQ(slot.code, row.code) << row.rule;
    EXPECT_EQ(slot.message, row.message) << row.rule;
  }
}

TEST_F(SecurityApi, ChangeWithoutCallbackStillRuns) {
  ASSERT_EQ(Morvanta_Security_ChangeChatroomPermission(handle, "noChat", nullptr, nullptr, nullptr), 0);
  PermissionSlot read;
  Get(read);
  EXPECT_EQ(read.cr_perm, "noChat");
}

TEST_F(SecurityApi, HandleKeptPastUninitializeAnswersBridgeNotInitialized) {
  Uninitialize();
  CallbackSlot changed;
  ASSERT_EQ(Morvanta_Security_ChangeChatroomPermission(handle, "noChat", nullptr, CallbackSlot::OnPlain, &changed), 0);
  PermissionSlot read;
  ASSERT_EQ(Morvanta_Security_GetChatroomPermission(handle, PermissionSlot::On, &read), 0);
  for (CallbackSlot* slot : {static_cast<CallbackSlot*>(&changed), static_cast<CallbackSlot*>(&read)}) {
    EXPECT_EQ(slot->Calls(), 1);
    EXPECT_EQ(slot->code, -1);
    EXPECT_EQ(slot->message, "Bridge not initialized");
  }
  EXPECT_TRUE(read.payload_null);
}
