#include "runtime/log.h"

#include <cstdio>
#include <mutex>

namespace morvanta {
namespace log {

namespace {
std::mutex& LogMutex() {
  // Never destroyed: threads may still log while static objects go away.
  static auto* m = new std::mutex;
  return *m;
}
}  // namespace

void WriteLine(bool to_error_stream, const std::string& line) {
  FILE* stream = to_error_stream ? stderr : stdout;
  std::lock_guard<std::mutex> lock(LogMutex());
  fwrite(line.data(), 1, line.size(), stream);
  fputc('\n', stream);
}

void FlushAll() {
  std::lock_guard<std::mutex> lock(LogMutex());
  fflush(stdout);
  fflush(stderr);
}

}  // namespace log
}  // namespace morvanta
