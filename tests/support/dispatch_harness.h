// Host dispatch from a test's point of view: the test's own thread is the
// host's main thread. `Witness` records where each callback or listener call
// ran, and DispatchUntil is the host's main loop (poll on the descriptor,
// then Morvanta_Dispatch).
#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "morvanta.h"
#include "support/sandbox_config.h"

namespace morvanta_test {

// Set by the test around its Morvanta_Dispatch calls.
inline thread_local bool t_in_dispatch = false;

// Where the calls ran: on which thread, and whether inside Morvanta_Dispatch.
struct Witness {
  std::mutex mutex;
  std::vector<std::string> calls;  // one text per call, in order
  int off_thread = 0;              // calls on another thread than `host`
  int outside_dispatch = 0;        // calls not inside Morvanta_Dispatch
  std::thread::id host = std::this_thread::get_id();

  void Saw(const std::string& what) {
    std::lock_guard<std::mutex> lock(mutex);
    calls.push_back(what);
    if (std::this_thread::get_id() != host) ++off_thread;
    if (!t_in_dispatch) ++outside_dispatch;
  }
  size_t Count() {
    std::lock_guard<std::mutex> lock(mutex);
    return calls.size();
  }
  std::vector<std::string> Calls() {
    std::lock_guard<std::mutex> lock(mutex);
    return calls;
  }
};

// True when the descriptor polls readable now.
inline bool Readable(int fd) {
  pollfd p{fd, POLLIN, 0};
  return ::poll(&p, 1, 0) == 1 && (p.revents & POLLIN);
}

// One dispatch, marked as such for Witness.
inline int32_t DispatchNow(int32_t max_items = 0) {
  t_in_dispatch = true;
  int32_t ran = Morvanta_Dispatch(max_items);
  t_in_dispatch = false;
  return ran;
}

// The host's loop: waits on the descriptor and dispatches until `done` holds
// or `limit` passes. Answers whether `done` held.
inline bool DispatchUntil(const std::function<bool()>& done,
                          std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  const int fd = Morvanta_GetDispatchFd();
  const auto until = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= until) return false;
    pollfd p{fd, POLLIN, 0};
    ::poll(&p, 1, 20);
    DispatchNow();
  }
  return true;
}

// Host dispatch chosen before initialising; worker dispatch again after.
class HostDispatchLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST), 0);
    MorvantaInitConfig config = SandboxConfig();
    ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
    fd = Morvanta_GetDispatchFd();
    ASSERT_GE(fd, 0);
  }
  void TearDown() override {
    if (Morvanta_IsInitialized()) EXPECT_EQ(Morvanta_Uninitialize(), 0);
    Morvanta_Dispatch(0);  // what the session left behind
    Morvanta_SetDispatchMode(MORVANTA_DISPATCH_WORKER);
  }
  MorvantaSDK_T* sdk = nullptr;
  int fd = -1;
};

}  // namespace morvanta_test
