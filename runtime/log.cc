#include "runtime/log.h"
#include "runtime/stdout_batched.h"

#include <stdio_ext.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace morvanta {
namespace log {

namespace detail {

std::atomic<int32_t> g_threshold{-1};
std::atomic<bool> g_has_handler{false};

namespace {

struct Route {
  std::mutex m;
  Handler handler = nullptr;
  void* user_data = nullptr;
};

Route& TheRoute() {
  // Never destroyed: threads may still log while static objects go away.
  static auto* route = new Route;
  return *route;
}

// Several threads write lines here (the host's callers, the worker), each
// holding the stream for the time of one short write. Waiting for the lock in
// the kernel costs a sleep and a wake-up on both sides, far more than the
// holder on the other core takes to finish, so a taker first retries briefly.
constexpr int kStreamSpins = 64;

void LockStream(FILE* stream) {
  for (int i = 0; i < kStreamSpins; ++i) {
    if (ftrylockfile(stream) == 0) return;
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
  }
  flockfile(stream);
}

void FlushStream(FILE* stream) {
  LockStream(stream);
  fflush_unlocked(stream);
  funlockfile(stream);
}

}  // namespace

int32_t ResolveThreshold() {
  int32_t level = ParseLevelName(std::getenv("MORVANTA_LOG_LEVEL"));
  if (level < 0) level = kDebug;
  int32_t unset = -1;
  // An explicit SetLevel made meanwhile wins.
  if (!g_threshold.compare_exchange_strong(unset, level, std::memory_order_relaxed)) return unset;
  return level;
}

void LineBuffer::Grow(size_t need) {
  size_t capacity = this->capacity() * 2;
  while (capacity < need) capacity *= 2;
  if (heap_.empty()) {
    heap_.resize(capacity);
    std::memcpy(&heap_[0], inline_, size_);
  } else {
    heap_.resize(capacity);
  }
}

void AppendFloating(LineBuffer& out, double value) {
  // A stream's default: %g with six significant digits.
  char text[32];
  const int n = std::snprintf(text, sizeof(text), "%g", value);
  if (n > 0) out.Append(text, static_cast<size_t>(n));
}

void AppendLongDouble(LineBuffer& out, long double value) {
  char text[48];
  const int n = std::snprintf(text, sizeof(text), "%Lg", value);
  if (n > 0) out.Append(text, static_cast<size_t>(n));
}

void AppendPointer(LineBuffer& out, const void* value) {
  // A stream prints a null pointer as 0 and others as 0x and lowercase hex.
  if (!value) {
    out.Append('0');
    return;
  }
  char text[2 + 2 * sizeof(void*)];
  text[0] = '0';
  text[1] = 'x';
  auto end = std::to_chars(text + 2, text + sizeof(text), reinterpret_cast<uintptr_t>(value), 16).ptr;
  out.Append(text, static_cast<size_t>(end - text));
}

void Emit(int32_t level, bool to_error_stream, LineBuffer& line) {
  char* text = line.data();
  const size_t n = line.size();  // the buffer always has two spare bytes
  if (g_has_handler.load(std::memory_order_acquire)) {
    Route& route = TheRoute();
    Handler handler;
    void* user_data;
    {
      std::lock_guard<std::mutex> lock(route.m);
      handler = route.handler;
      user_data = route.user_data;
    }
    if (handler) {
      text[n] = '\0';
      handler(level, text, user_data);
      return;
    }
  }
  text[n] = '\n';
  LockStream(stdout);
  if (to_error_stream) {
    // Buffered lines of standard output go first, so that both streams keep
    // their order when they are one file. Standard output stays locked until
    // the line is out: a block-buffered stream writes a line that crosses the
    // end of its buffer in two pieces, and this line must not land between
    // another thread's two.
    fflush_unlocked(stdout);
    LockStream(stderr);
    fwrite_unlocked(text, 1, n + 1, stderr);
    funlockfile(stderr);
  } else {
    fwrite_unlocked(text, 1, n + 1, stdout);
  }
  funlockfile(stdout);
}

}  // namespace detail

void SetHandler(Handler handler, void* user_data) {
  detail::Route& route = detail::TheRoute();
  std::lock_guard<std::mutex> lock(route.m);
  route.handler = handler;
  route.user_data = user_data;
  detail::g_has_handler.store(handler != nullptr, std::memory_order_release);
}

void SetLevel(int32_t level) {
  if (level < kDebug || level > kOff) return;
  detail::g_threshold.store(level, std::memory_order_relaxed);
}

int32_t CurrentLevel() { return detail::Threshold(); }

bool Routed() {
  return detail::g_has_handler.load(std::memory_order_relaxed) || detail::Threshold() > kInfo;
}

int32_t ParseLevelName(const char* name) {
  if (!name) return -1;
  static const char* const kNames[] = {"debug", "info", "warning", "error", "off"};
  for (int32_t level = kDebug; level <= kOff; ++level)
    if (strcasecmp(name, kNames[level]) == 0) return level;
  return -1;
}

void FlushAll() {
  detail::FlushStream(stdout);
  detail::FlushStream(stderr);
}

void FlushStdout() {
  // With nothing pending this is a lock and a comparison, no system call.
  detail::FlushStream(stdout);
}

namespace {

struct Batching {
  std::mutex m;
  int holders = 0;
  bool switched = false;  // this batching made the stream buffered
  char buffer[BUFSIZ];
};

Batching& TheBatching() {
  // Never destroyed: the buffer must outlive every use of the stream.
  static Batching* batching = new Batching;
  return *batching;
}

}  // namespace

bool StdoutBatched() {
  Batching& b = TheBatching();
  std::lock_guard<std::mutex> lock(b.m);
  return b.switched;
}

StdoutBatch::StdoutBatch() {
  Batching& b = TheBatching();
  std::lock_guard<std::mutex> lock(b.m);
  if (b.holders++ > 0) return;
  // An unbuffered stream has a one-byte buffer. One the host buffers itself,
  // and a terminal, are left as they are.
  if (__fbufsize(stdout) > 1 || isatty(STDOUT_FILENO)) return;
  b.switched = std::setvbuf(stdout, b.buffer, _IOFBF, sizeof(b.buffer)) == 0;
}

StdoutBatch::~StdoutBatch() {
  Batching& b = TheBatching();
  std::lock_guard<std::mutex> lock(b.m);
  if (--b.holders > 0 || !b.switched) return;
  b.switched = false;
  std::fflush(stdout);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
}

}  // namespace log
}  // namespace morvanta
