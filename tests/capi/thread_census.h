// How many threads this process has, for tests that check that a teardown
// leaves none behind.
#pragma once

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace morvanta_test {

inline int ThreadCount() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("Threads:", 0) == 0) return std::stoi(line.substr(8));
  return -1;
}

// Thread counts settle a moment after a thread has ended.
inline bool WaitThreadCount(int expected, std::chrono::milliseconds limit = std::chrono::seconds(2)) {
  const auto until = std::chrono::steady_clock::now() + limit;
  while (ThreadCount() != expected) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace morvanta_test
