// Line logging to the process's standard streams. Every line starts with a
// bracketed component tag; there is no log file. A line is written whole,
// under a lock, so lines from different threads never interleave.
#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <thread>

namespace morvanta {
namespace log {

void WriteLine(bool to_error_stream, const std::string& line);
void FlushAll();

template <typename... Args>
std::string Concat(const Args&... args) {
  std::ostringstream os;
  (os << ... << args);
  return os.str();
}

template <typename... Args>
void Info(const Args&... args) {
  WriteLine(false, Concat(args...));
}

template <typename... Args>
void Error(const Args&... args) {
  WriteLine(true, Concat(args...));
}

// Thread ids in log lines are the standard hash of std::thread::id, so they do
// not equal the system's thread number.
inline size_t ThreadTag(std::thread::id id = std::this_thread::get_id()) {
  return std::hash<std::thread::id>{}(id);
}

}  // namespace log
}  // namespace morvanta
