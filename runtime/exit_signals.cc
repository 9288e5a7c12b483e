#include "runtime/exit_signals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "runtime/log.h"

namespace morvanta {
namespace {

int g_pipe[2] = {-1, -1};
std::atomic<ExitRoutine> g_routine{nullptr};
constexpr int kSignals[] = {SIGINT, SIGHUP};

extern "C" void OnExitSignal(int signo) {
  const int saved = errno;
  unsigned char byte = static_cast<unsigned char>(signo);
  ssize_t ignored = write(g_pipe[1], &byte, 1);
  (void)ignored;
  errno = saved;
}

void SignalThread() {
  // This thread must see the signals only through the pipe.
  sigset_t set;
  sigemptyset(&set);
  for (int s : kSignals) sigaddset(&set, s);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  for (;;) {
    unsigned char byte = 0;
    ssize_t n = read(g_pipe[0], &byte, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    int signo = byte;
    if (ExitRoutine routine = g_routine.load()) routine();
    // Hand the signal back to its default action: the process ends as it
    // would have without the library.
    signal(signo, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    kill(getpid(), signo);
    return;
  }
}

}  // namespace

void InstallExitSignalHandlers(ExitRoutine routine) {
  static std::atomic<bool> installed{false};
  if (installed.exchange(true)) return;
  g_routine = routine;
  if (pipe2(g_pipe, O_CLOEXEC) != 0) {
    log::Error("[NodeRuntime] ⚠️ Could not create the signal pipe; exit on SIGINT/SIGHUP will skip cleanup");
    return;
  }
  std::thread(SignalThread).detach();
  for (int s : kSignals) {
    struct sigaction current = {};
    sigaction(s, nullptr, &current);
    if (current.sa_handler == SIG_IGN) continue;  // the host chose to ignore it
    struct sigaction action = {};
    action.sa_handler = OnExitSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(s, &action, nullptr);
  }
}

}  // namespace morvanta
