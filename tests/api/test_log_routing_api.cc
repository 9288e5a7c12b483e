// Log routing through the public interface: a handler set before
// initialisation receives the library's lines (also those its JavaScript
// writes through the console) with their levels and without newlines, a
// level drops what is below it, and a NULL handler gives the streams back.
#include <algorithm>

#include "api/api_harness.h"

using namespace morvanta_test;

namespace {

struct Collected {
  std::mutex mutex;
  std::vector<std::pair<int32_t, std::string>> lines;

  static void Handle(int32_t level, const char* line, void* user_data) {
    auto* self = static_cast<Collected*>(user_data);
    std::lock_guard<std::mutex> lock(self->mutex);
    self->lines.emplace_back(level, line);
  }
  int Count(const std::string& text, int32_t level) {
    std::lock_guard<std::mutex> lock(mutex);
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const auto& l) {
      return l.first == level && l.second == text;
    }));
  }
};

// Initialises, logs in once (a failed login: a ❌ line), uninitialises.
void RunSession() {
  MorvantaInitConfig config = SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  MorvantaLoginByPasswordOptions o{"alice", "wrong-password"};
  auto slot = std::make_shared<Slot>();
  ASSERT_EQ(Morvanta_Account_LoginByPassword(account, &o, Slot::OnAccount, slot.get()), 0);
  ASSERT_TRUE(slot->Wait());
  EXPECT_NE(slot->code, 0);
  Morvanta_DestroyAccountManagerHandle(account);
  EXPECT_EQ(Morvanta_Uninitialize(), 0);
}

}  // namespace

TEST(LogRoutingApi, HandlerSetBeforeInitializeGetsEveryLineWithItsLevel) {
  static Collected* collected = new Collected;  // lines may come until exit
  Morvanta_SetLogHandler(Collected::Handle, collected);
  testing::internal::CaptureStdout();
  RunSession();
  const std::string stdout_text = testing::internal::GetCapturedStdout();
  Morvanta_SetLogHandler(nullptr, nullptr);

  // Nothing of the library reached standard output.
  EXPECT_EQ(stdout_text.find("[Gatherdeck C API]"), std::string::npos);
  EXPECT_EQ(stdout_text.find("[NodeRuntime]"), std::string::npos);
  // C++ lines and lines the JavaScript side wrote through the console.
  EXPECT_EQ(collected->Count("[Gatherdeck C API] 🛑 Morvanta_Uninitialize", MORVANTA_LOG_INFO), 1);
  EXPECT_EQ(collected->Count("[NodeRuntime] Setting up Node.js environment...", MORVANTA_LOG_INFO), 1);
  std::lock_guard<std::mutex> lock(collected->mutex);
  ASSERT_GT(collected->lines.size(), 20u);
  int errors = 0;
  for (const auto& [level, line] : collected->lines) {
    if (line.find("    at ") == std::string::npos) EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    const bool cross = line.find("❌") != std::string::npos;
    const bool warn = line.find("⚠️") != std::string::npos;
    if (cross) ++errors;
    if (level == MORVANTA_LOG_ERROR) EXPECT_TRUE(cross) << line;
    if (level == MORVANTA_LOG_WARNING) EXPECT_TRUE(warn) << line;
    EXPECT_NE(level, MORVANTA_LOG_DEBUG) << line;  // debug is off in this configuration
  }
  EXPECT_GT(errors, 0);
}

TEST(LogRoutingApi, LevelWarningDropsInfoLinesAndOffDropsAll) {
  static Collected* collected = new Collected;
  Morvanta_SetLogHandler(Collected::Handle, collected);
  Morvanta_SetLogLevel(MORVANTA_LOG_WARNING);
  RunSession();
  {
    std::lock_guard<std::mutex> lock(collected->mutex);
    ASSERT_FALSE(collected->lines.empty());
    for (const auto& [level, line] : collected->lines) EXPECT_GE(level, MORVANTA_LOG_WARNING) << line;
    collected->lines.clear();
  }
  Morvanta_SetLogLevel(MORVANTA_LOG_OFF);
  RunSession();
  {
    std::lock_guard<std::mutex> lock(collected->mutex);
    EXPECT_TRUE(collected->lines.empty());
  }
  Morvanta_SetLogHandler(nullptr, nullptr);
  Morvanta_SetLogLevel(MORVANTA_LOG_DEBUG);
}

TEST(LogRoutingApi, NullHandlerRestoresStandardOutput) {
  static Collected* collected = new Collected;
  Morvanta_SetLogHandler(Collected::Handle, collected);
  Morvanta_SetLogHandler(nullptr, nullptr);
  testing::internal::CaptureStdout();
  RunSession();
  const std::string stdout_text = testing::internal::GetCapturedStdout();
  EXPECT_NE(stdout_text.find("[Gatherdeck C API] 🛑 Morvanta_Uninitialize\n"), std::string::npos);
  EXPECT_NE(stdout_text.find("[NodeRuntime] Setting up Node.js environment...\n"), std::string::npos);
  std::lock_guard<std::mutex> lock(collected->mutex);
  EXPECT_TRUE(collected->lines.empty());
}
