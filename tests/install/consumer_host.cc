// A C++17 host built against an installed libmorvanta only: the same session
// as consumer_host.c (initialise against the installed sandbox SDK, one
// password login, uninitialise), written the way a C++ host would, with the
// answer delivered through a std::promise. Exit status 0 when all went well.
#include <morvanta.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <string>

namespace {

struct Answer {
  int code = -1;
  std::string uuid;
};

std::atomic<long> lines{0};

void OnLine(int32_t, const char* line, void*) {
  if (line && line[0] == '[') ++lines;
}

void OnLogin(int code, const char*, MorvantaAccountInfo* info, void* user_data) {
  Answer answer;
  answer.code = code;
  if (info && info->user_uuid) answer.uuid = info->user_uuid;
  Morvanta_FreeAccountInfo(info);
  static_cast<std::promise<Answer>*>(user_data)->set_value(answer);
}

}  // namespace

int main() {
  Morvanta_SetLogHandler(OnLine, nullptr);
  MorvantaInitConfig config{};
  config.app_key = "consumer-app-key-01";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  MorvantaSDK_T* sdk = nullptr;
  if (Morvanta_Initialize(&config, &sdk) != 0) {
    std::fprintf(stderr, "consumer++: initialize failed\n");
    return 1;
  }
  std::promise<Answer> promise;
  std::future<Answer> future = promise.get_future();
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  MorvantaLoginByPasswordOptions options = {"alice", "alice-password"};
  if (!account || Morvanta_Account_LoginByPassword(account, &options, OnLogin, &promise) != 0) {
    std::fprintf(stderr, "consumer++: login refused\n");
    return 1;
  }
  bool answered = future.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
  Answer answer = answered ? future.get() : Answer{};
  bool ok = answered && answer.code == 0 && answer.uuid == "user-alice-0001" && lines > 0;
  Morvanta_DestroyAccountManagerHandle(account);
  if (Morvanta_Uninitialize() != 0) ok = false;
  Morvanta_SetLogHandler(nullptr, nullptr);
  std::printf("consumer++: login %s (code %d, %s), %ld library lines through the handler\n", ok ? "ok" : "FAILED",
              answer.code, answer.uuid.c_str(), lines.load());
  return ok ? 0 : 1;
}
