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
#include "support/waited_calls.h"

namespace bridge_test {

struct Delivery : morvanta_test::WaitedCalls {
  std::thread::id thread;
  morvanta::JSResult result;

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
