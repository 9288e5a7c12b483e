#include "support/test_support.h"

#include <unistd.h>

#include <climits>

namespace morvanta_test {

std::string ExecutableDir() {
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
  if (n <= 0) return ".";
  std::string path(buf, static_cast<size_t>(n));
  auto slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string SourceDir() { return MORVANTA_TEST_SOURCE_DIR; }

}  // namespace morvanta_test

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

namespace morvanta_test {

ProcessResult RunProcess(const std::vector<std::string>& args, std::chrono::milliseconds limit,
                         const std::string& signal_after_text, int signal_to_send) {
  ProcessResult result;
  int fds[2];
  if (pipe(fds) != 0) return result;
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = fork();
  if (pid == 0) {
    dup2(fds[1], 1);
    dup2(fds[1], 2);
    close(fds[0]);
    close(fds[1]);
    std::vector<char*> argv;
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(fds[1]);
  bool signalled = signal_after_text.empty();
  std::chrono::steady_clock::time_point marked{};
  for (;;) {
    auto elapsed = std::chrono::steady_clock::now() - start;
    if (elapsed > limit) {
      result.timed_out = true;
      kill(pid, SIGKILL);
      break;
    }
    pollfd p{fds[0], POLLIN, 0};
    if (poll(&p, 1, 50) > 0) {
      char buf[4096];
      ssize_t n = read(fds[0], buf, sizeof(buf));
      if (n <= 0) break;
      result.output.append(buf, static_cast<size_t>(n));
      if (!signalled && result.output.find(signal_after_text) != std::string::npos) {
        signalled = true;
        marked = std::chrono::steady_clock::now();
        if (signal_to_send != 0) kill(pid, signal_to_send);
      }
    }
  }
  // Drain what is left.
  char buf[4096];
  ssize_t n;
  while ((n = read(fds[0], buf, sizeof(buf))) > 0) result.output.append(buf, static_cast<size_t>(n));
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  const auto end = std::chrono::steady_clock::now();
  result.seconds = std::chrono::duration<double>(end - start).count();
  if (!signal_after_text.empty() && signalled)
    result.seconds_after_text = std::chrono::duration<double>(end - marked).count();
  if (WIFEXITED(status)) {
    result.exited = true;
    result.exit_code = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  }
  return result;
}

int CountOf(const std::string& haystack, const std::string& needle) {
  int count = 0;
  for (size_t pos = haystack.find(needle); pos != std::string::npos; pos = haystack.find(needle, pos + 1))
    ++count;
  return count;
}

}  // namespace morvanta_test
