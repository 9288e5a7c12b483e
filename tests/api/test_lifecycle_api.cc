// Lifecycle and manager handles through the public C interface.
#include <chrono>

#include "api/api_harness.h"

using namespace morvanta_test;

TEST(LifecycleApi, RefusedArgumentsClearTheHandleAndStartNothing) {
  MorvantaSDK_T* handle = reinterpret_cast<MorvantaSDK_T*>(0x1);
  EXPECT_EQ(Morvanta_Initialize(nullptr, &handle), -1);
  EXPECT_EQ(handle, nullptr);
  MorvantaInitConfig config = SandboxConfig();
  for (const char* key : {static_cast<const char*>(nullptr), ""}) {
    config.app_key = key;
    handle = reinterpret_cast<MorvantaSDK_T*>(0x1);
    EXPECT_EQ(Morvanta_Initialize(&config, &handle), -1);
    EXPECT_EQ(handle, nullptr);
  }
  EXPECT_EQ(Morvanta_IsInitialized(), 0);
  EXPECT_STREQ(Morvanta_GetVersion(), "1.0.0");
}

TEST(LifecycleApi, UninitializeWithoutInitializeIsRefusedAtOnce) {
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Morvanta_Uninitialize(), -2);
  EXPECT_EQ(Morvanta_Uninitialize(), -2);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
}

TEST(LifecycleApi, InitializeTwiceAndAgainAfterUninitializeGiveTheSameHandle) {
  MorvantaInitConfig config = SandboxConfig();
  MorvantaSDK_T* first = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&config, &first), 0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(Morvanta_IsInitialized(), 1);

  MorvantaSDK_T* second = nullptr;
  EXPECT_EQ(Morvanta_Initialize(&config, &second), -3);
  EXPECT_EQ(second, first);

  EXPECT_EQ(Morvanta_Uninitialize(), 0);
  EXPECT_EQ(Morvanta_IsInitialized(), 0);
  EXPECT_EQ(Morvanta_Uninitialize(), -2);
  EXPECT_EQ(Morvanta_GetAccountManager(first), nullptr);  // not initialised any more

  MorvantaSDK_T* third = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&config, &third), 0);
  EXPECT_EQ(third, first);
  Morvanta_DestroySDKHandle(third);  // a no-op: the handle stays usable
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(third);
  EXPECT_NE(account, nullptr);
  Morvanta_DestroyAccountManagerHandle(account);
  EXPECT_EQ(Morvanta_Uninitialize(), 0);
}

TEST(LifecycleApi, InvalidConfigurationIsRefusedWithMinusThreeAndCanBeRetried) {
  MorvantaInitConfig config = SandboxConfig();
  struct Row {
    const char* what;
    const char* log_path;
    const char* locale;
    const char* server_url;
    const char* app_key;
  };
  const Row rows[] = {
      {"no log path", nullptr, nullptr, nullptr, "test-app-key-0001"},
      {"empty log path", "", nullptr, nullptr, "test-app-key-0001"},
      {"bad locale", "/tmp", "en_US", nullptr, "test-app-key-0001"},
      {"empty server url", "/tmp", nullptr, "", "test-app-key-0001"},
      {"bad app key", "/tmp", nullptr, nullptr, "k y"},
  };
  for (const Row& row : rows) {
    config.log_path = row.log_path;
    config.locale = row.locale;
    config.server_url = row.server_url;
    config.app_key = row.app_key;
    MorvantaSDK_T* handle = nullptr;
    EXPECT_EQ(Morvanta_Initialize(&config, &handle), -3) << row.what;
    EXPECT_EQ(handle, nullptr) << row.what;
    EXPECT_EQ(Morvanta_IsInitialized(), 0) << row.what;
  }
  config = SandboxConfig();
  MorvantaSDK_T* handle = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&config, &handle), 0);
  EXPECT_EQ(Morvanta_Uninitialize(), 0);
}

TEST(LifecycleApi, ARefusedSdkInitializeFailsSoftlyAndCanBeRetried) {
  MorvantaInitConfig config = SandboxConfig();
  config.app_key = "sandbox-revoked-key";  // the sandbox service refuses this key
  MorvantaSDK_T* handle = nullptr;
  // The SDK's rejection is the library's -1 failure of the initialize call.
  EXPECT_EQ(Morvanta_Initialize(&config, &handle), -1);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(Morvanta_IsInitialized(), 0);
  config = SandboxConfig();
  ASSERT_EQ(Morvanta_Initialize(&config, &handle), 0);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(Morvanta_Uninitialize(), 0);
}

namespace {

// One manager kind: two handles of it are distinct and not NULL,
// neither NULL nor a foreign pointer gives one, and all are released
// (NULL included).
template <typename Handle, Handle* (*Get)(MorvantaSDK_T*), void (*Destroy)(Handle*)>
void ExpectHandlesOfOneKind(MorvantaSDK_T* sdk, const char* kind) {
  SCOPED_TRACE(kind);
  Handle* a = Get(sdk);
  Handle* b = Get(sdk);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(b, nullptr);
  EXPECT_NE(a, b);
  EXPECT_EQ(Get(nullptr), nullptr);
  int foreign = 0;
  EXPECT_EQ(Get(reinterpret_cast<MorvantaSDK_T*>(&foreign)), nullptr);
  Destroy(a);
  Destroy(b);
  Destroy(nullptr);
}

}  // namespace

TEST_F(InitializedLibrary, ManagerHandlesAreNewEachTimeAndRefuseForeignSdkHandles) {
#define EXPECT_HANDLES_OF(Kind)                                                                        \
  ExpectHandlesOfOneKind<Morvanta##Kind##Manager_T, Morvanta_Get##Kind##Manager,                       \
                         Morvanta_Destroy##Kind##ManagerHandle>(sdk, #Kind)
  EXPECT_HANDLES_OF(Account);
  EXPECT_HANDLES_OF(Audio);
  EXPECT_HANDLES_OF(Chatroom);
  EXPECT_HANDLES_OF(Invite);
  EXPECT_HANDLES_OF(Meeting);
  EXPECT_HANDLES_OF(Member);
  EXPECT_HANDLES_OF(PreMeeting);
  EXPECT_HANDLES_OF(ScreenShare);
  EXPECT_HANDLES_OF(Security);
  EXPECT_HANDLES_OF(Video);
  EXPECT_HANDLES_OF(WaitingRoom);
#undef EXPECT_HANDLES_OF
  Morvanta_DestroySDKHandle(nullptr);
  // A handle obtained after all that still works: the releases touched no
  // shared state.
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  ASSERT_NE(account, nullptr);
  auto slot = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_GetAccountInfo(account, Slot::OnAccount, slot.get()), 0);
  ASSERT_TRUE(slot->Wait());
  EXPECT_EQ(slot->code, 1010) << slot->message;  // answered by the service: nobody is logged in
  Morvanta_DestroyAccountManagerHandle(account);
}

TEST(LifecycleApi, AHandleKeptPastUninitializeAnswersWithFailures) {
  MorvantaInitConfig config = SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  ASSERT_NE(account, nullptr);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  // Unsafe order on purpose: the manager is still there; its calls fail.
  auto slot = std::make_shared<Slot>();
  EXPECT_EQ(Morvanta_Account_Logout(account, Slot::OnPlain, slot.get()), 0);
  ASSERT_TRUE(slot->Wait());
  EXPECT_EQ(slot->code, -1);
  EXPECT_EQ(slot->message, "Bridge not initialized");
  Morvanta_DestroyAccountManagerHandle(account);
}
