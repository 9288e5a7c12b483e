// How many threads this process has, and their names, for tests that check
// that a teardown leaves none behind.
#pragma once

#include <chrono>
#include <filesystem>
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

// The names of this process's threads, for a failure message.
inline std::string ThreadNames() {
  std::string names;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream comm(entry.path() / "comm");
    std::string name;
    std::getline(comm, name);
    names += name + " ";
  }
  return names;
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
