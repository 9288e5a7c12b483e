// What the tests' callback slots share: the count of calls a callback made,
// and a wait for its first one.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace morvanta_test {

struct WaitedCalls {
  std::mutex mutex;
  std::condition_variable cv;
  int calls = 0;

  bool Wait(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return calls > 0; });
  }
  int Calls() {
    std::lock_guard<std::mutex> lock(mutex);
    return calls;
  }
};

}  // namespace morvanta_test
