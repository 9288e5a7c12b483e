// The answers of an adapter's calls, as the adapter and product-object tests
// wait for them: one slot per call, shared with a callback that may come late.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "bridge/js_bridge_adapter.h"

namespace bridge_test {

struct Delivery {
  std::mutex mutex;
  std::condition_variable cv;
  int calls = 0;
  std::thread::id thread;
  morvanta::JSResult result;

  bool Wait(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return calls > 0; });
  }
  int Calls() {
    std::lock_guard<std::mutex> lock(mutex);
    return calls;
  }
};

inline morvanta::JSCallback Catch(const std::shared_ptr<Delivery>& d) {
  return [d](const morvanta::JSResult& r) {
    std::lock_guard<std::mutex> lock(d->mutex);
    ++d->calls;
    d->result = r;
    d->thread = std::this_thread::get_id();
    d->cv.notify_all();
  };
}

// Runs a script (a promise's object value arrives as an object) and waits
// for its single answer.
inline morvanta::JSResult RunJS(morvanta::JSBridgeAdapter& adapter, const std::string& script) {
  auto d = std::make_shared<Delivery>();
  adapter.ExecuteJS(script, Catch(d));
  EXPECT_TRUE(d->Wait()) << script;
  EXPECT_EQ(d->Calls(), 1) << script;
  return d->result;
}

}  // namespace bridge_test
