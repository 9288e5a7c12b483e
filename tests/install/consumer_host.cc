// A C++17 host built against an installed libmorvanta only, through
// morvanta.hpp: a session against the installed sandbox SDK, one password
// login answered through a future, and the session's end. Its log lines go
// through a log handler, which counts them. Exit status 0 when all went well.
#include <morvanta.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>

int main() {
  static std::atomic<long> lines{0};
  morvanta::SessionOptions options;
  options.appKey = "consumer-app-key-01";
  options.logPath = "/tmp";
  options.logHandler = [](morvanta::LogLevel, std::string_view line) {
    if (!line.empty() && line.front() == '[') ++lines;
  };
  morvanta::Result<morvanta::Session> session = morvanta::Session::create(options);
  if (session.code != 0 || !session.value) {
    std::fprintf(stderr, "consumer++: initialize failed (%d %s)\n", session.code, session.message.c_str());
    return 1;
  }
  morvanta::Result<morvanta::AccountInfo> answer;
  bool answered = false;
  {
    morvanta::AccountManager account = session.value->account();
    auto login = account.loginByPassword(morvanta::LoginByPasswordOptions{"alice", "alice-password"});
    answered = login.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    if (answered) answer = login.get();
  }
  bool ok = answered && answer.code == 0 && answer.value && answer.value->userUuid == "user-alice-0001" &&
            lines > 0;
  if (session.value->close() != 0) ok = false;
  morvanta::Session::setLogHandler(nullptr);
  std::printf("consumer++: login %s (code %d, %s), %ld library lines through the handler\n", ok ? "ok" : "FAILED",
              answer.code, answer.value ? answer.value->userUuid.c_str() : "", lines.load());
  return ok ? 0 : 1;
}
