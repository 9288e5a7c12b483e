// Line logging. Every line starts with a bracketed component tag. By default
// lines go to the process's standard output (Info, Debug) or standard error
// (Error, DebugError); a host may take them over with a handler and quiet
// them with a level (Morvanta_SetLogHandler, Morvanta_SetLogLevel, the
// MORVANTA_LOG_LEVEL environment variable).
//
// A line's level comes from the literal parts of the call, before anything is
// formatted: a part containing ❌ makes it an error, ⚠️ a warning, otherwise
// it is info; Debug and DebugError lines (the bridge's verbose lines, printed
// only when the configuration's debug flag is on) are debug. A line below the
// level is not formatted at all.
//
// Formatting appends each part into a buffer on the stack (no stream, no heap
// for lines up to a kilobyte); the texts are those a std::ostream would print
// for the same arguments (bool as 0/1, doubles with six significant digits,
// pointers in hex). A line is written whole with one fwrite, so lines from
// different threads never interleave.
//
// Flushing. Node makes standard output unbuffered when it starts, so each
// line is one system call. While a bridge worker runs its loop (and standard
// output is neither a terminal nor buffered by the host) it holds a
// StdoutBatch, which buffers the stream in blocks; lines then reach the
// descriptor in the order they were logged, and in order with what else
// writes there:
//   - the host's own stdio output shares the stream's buffer;
//   - JavaScript's console writes to the descriptor directly, so the worker
//     flushes standard output (FlushStdout) before it runs any;
//   - an error line (standard error, unbuffered) flushes standard output
//     first, so the two keep their order when they go to one file;
//   - the worker flushes whenever it goes idle (within a millisecond or a
//     tick of its loop), and the stream is unbuffered again, and so flushed,
//     when the last batch ends.
// Outside a batch every line is written at once, as before.
#pragma once

#include <atomic>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>

namespace morvanta {
namespace log {

// Levels, numerically equal to the public MORVANTA_LOG_* constants.
enum Level : int32_t { kDebug = 0, kInfo = 1, kWarning = 2, kError = 3, kOff = 4 };

using Handler = void (*)(int32_t level, const char* line, void* user_data);

// Routes every later line to handler (null: back to the standard streams).
void SetHandler(Handler handler, void* user_data);
// Sets the threshold; lines below it are dropped. Out-of-range values are
// ignored. An explicit call wins over MORVANTA_LOG_LEVEL.
void SetLevel(int32_t level);
// The threshold in force (from SetLevel, else MORVANTA_LOG_LEVEL, else debug:
// nothing filtered, debug lines governed by the configuration's debug flag).
int32_t CurrentLevel();
// Whether lines are taken over by a handler or filtered above info: the
// JavaScript console then writes through this log too.
bool Routed();
// "debug", "info", "warning", "error", "off" (any case) -> level; else -1.
int32_t ParseLevelName(const char* name);

// Flushes standard output and standard error.
void FlushAll();
// Flushes standard output: the worker calls it before it runs JavaScript and
// when it goes idle. Cheap (no system call) when nothing is pending.
void FlushStdout();

// Buffers standard output in blocks while at least one batch lives, if it
// was unbuffered and is not a terminal when the first batch began; the last
// one to end makes it unbuffered again. Any thread.
class StdoutBatch {
 public:
  StdoutBatch();
  ~StdoutBatch();
  StdoutBatch(const StdoutBatch&) = delete;
  StdoutBatch& operator=(const StdoutBatch&) = delete;
};

namespace detail {

// -1 until the threshold is first needed (then resolved from the environment).
extern std::atomic<int32_t> g_threshold;
extern std::atomic<bool> g_has_handler;
int32_t ResolveThreshold();

inline int32_t Threshold() {
  int32_t t = g_threshold.load(std::memory_order_relaxed);
  return t >= 0 ? t : ResolveThreshold();
}

// The level a literal part asks for: error (❌), warning (⚠️) or info.
inline int32_t PartLevel(const char* s) {
  if (!s) return kInfo;
  int32_t level = kInfo;
  for (const char* p = std::strchr(s, '\xE2'); p; p = std::strchr(p + 1, '\xE2')) {
    if (p[1] == '\x9D' && p[2] == '\x8C') return kError;        // U+274C ❌
    if (p[1] == '\x9A' && p[2] == '\xA0') level = kWarning;     // U+26A0 ⚠
  }
  return level;
}
template <typename T>
inline int32_t LiteralLevel(const T& part) {
  using D = std::decay_t<T>;
  if constexpr (std::is_same_v<D, const char*> || std::is_same_v<D, char*>) {
    return PartLevel(part);
  } else {
    return kInfo;
  }
}
template <typename... Args>
inline int32_t LineLevel(const Args&... parts) {
  int32_t level = kInfo;
  ((level = level < LiteralLevel(parts) ? LiteralLevel(parts) : level), ...);
  return level;
}

// A line under construction: inline storage for the common case, the heap
// beyond it. Two spare bytes are always kept for the newline and terminator.
class LineBuffer {
 public:
  LineBuffer() = default;
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;

  void Append(const char* s, size_t n) {
    if (size_ + n + 2 > capacity()) Grow(size_ + n + 2);
    std::memcpy(data() + size_, s, n);
    size_ += n;
  }
  void Append(char c) { Append(&c, 1); }
  char* data() { return heap_.empty() ? inline_ : &heap_[0]; }
  size_t size() const { return size_; }

 private:
  size_t capacity() const { return heap_.empty() ? sizeof(inline_) : heap_.size(); }
  void Grow(size_t need);

  char inline_[1024];
  std::string heap_;
  size_t size_ = 0;
};

template <typename T>
void AppendInteger(LineBuffer& out, T value) {
  char digits[24];
  auto end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
  out.Append(digits, static_cast<size_t>(end - digits));
}
void AppendFloating(LineBuffer& out, double value);
void AppendLongDouble(LineBuffer& out, long double value);
void AppendPointer(LineBuffer& out, const void* value);

template <typename T>
void AppendPart(LineBuffer& out, const T& part) {
  using D = std::decay_t<T>;
  if constexpr (std::is_same_v<D, const char*> || std::is_same_v<D, char*>) {
    const char* text = part;
    if (text) out.Append(text, std::strlen(text));  // a stream prints nothing for null
  } else if constexpr (std::is_same_v<D, std::string> || std::is_same_v<D, std::string_view>) {
    out.Append(part.data(), part.size());
  } else if constexpr (std::is_same_v<D, bool>) {
    out.Append(part ? '1' : '0');
  } else if constexpr (std::is_same_v<D, char> || std::is_same_v<D, signed char> ||
                       std::is_same_v<D, unsigned char>) {
    out.Append(static_cast<char>(part));
  } else if constexpr (std::is_enum_v<D>) {
    AppendInteger(out, static_cast<std::underlying_type_t<D>>(part));
  } else if constexpr (std::is_integral_v<D>) {
    AppendInteger(out, part);
  } else if constexpr (std::is_same_v<D, long double>) {
    AppendLongDouble(out, part);
  } else if constexpr (std::is_floating_point_v<D>) {
    AppendFloating(out, static_cast<double>(part));
  } else if constexpr (std::is_pointer_v<D>) {
    AppendPointer(out, static_cast<const void*>(part));
  } else {
    // Any other type prints through its own stream operator.
    std::ostringstream os;
    os << part;
    const std::string text = os.str();
    out.Append(text.data(), text.size());
  }
}

// Writes the finished line (to the handler, or the stream with its newline).
void Emit(int32_t level, bool to_error_stream, LineBuffer& line);

template <typename... Args>
void Line(int32_t level, bool to_error_stream, const Args&... parts) {
  LineBuffer line;
  (AppendPart(line, parts), ...);
  Emit(level, to_error_stream, line);
}

template <typename... Args>
inline void Leveled(bool to_error_stream, const Args&... parts) {
  const int32_t threshold = Threshold();
  // Below warning with no handler, the level decides nothing: skip the scan.
  if (threshold <= kInfo && !g_has_handler.load(std::memory_order_relaxed)) {
    Line(kInfo, to_error_stream, parts...);
    return;
  }
  const int32_t level = LineLevel(parts...);
  if (level >= threshold) Line(level, to_error_stream, parts...);
}

}  // namespace detail

// The concatenation of the parts, as a stream would print them.
template <typename... Args>
std::string Concat(const Args&... args) {
  detail::LineBuffer line;
  (detail::AppendPart(line, args), ...);
  return std::string(line.data(), line.size());
}

// A line on standard output.
template <typename... Args>
void Info(const Args&... args) {
  detail::Leveled(false, args...);
}

// A line on standard error.
template <typename... Args>
void Error(const Args&... args) {
  detail::Leveled(true, args...);
}

// Debug-level lines (call sites print them only in debug mode), on standard
// output and standard error respectively.
template <typename... Args>
void Debug(const Args&... args) {
  if (detail::Threshold() <= kDebug) detail::Line(kDebug, false, args...);
}
template <typename... Args>
void DebugError(const Args&... args) {
  if (detail::Threshold() <= kDebug) detail::Line(kDebug, true, args...);
}

// Thread ids in log lines are the standard hash of std::thread::id, so they do
// not equal the system's thread number.
inline size_t ThreadTag(std::thread::id id = std::this_thread::get_id()) {
  return std::hash<std::thread::id>{}(id);
}

}  // namespace log
}  // namespace morvanta
