// A non-blocking way of awaiting promises: holds many pending promises and
// inspects their state once per worker turn. The live path blocks on one
// promise instead (promise_resolution.cc); the worker does not create a
// tracker in this build, but its call sites stay so it can return unchanged.
#pragma once

#include <v8.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "bridge/js_value.h"
#include "bridge/task.h"

namespace morvanta {
namespace jsbridge {

class PromiseTracker {
 public:
  using CompletionCallback =
      std::function<void(const std::shared_ptr<Task>&, const JSResult<JSValue>&)>;

  explicit PromiseTracker(v8::Isolate* isolate);
  ~PromiseTracker();
  PromiseTracker(const PromiseTracker&) = delete;
  PromiseTracker& operator=(const PromiseTracker&) = delete;

  // Starts watching `promise` on behalf of `task`. Worker only.
  void Track(v8::Local<v8::Promise> promise, std::shared_ptr<Task> task,
             std::chrono::milliseconds timeout);

  int32_t GetPendingCount() const;

  // Removes every entry without a callback and hands back their tasks.
  // Worker only, inside the lock scope.
  std::vector<std::shared_ptr<Task>> Release();

  // One scan: settled and timed-out entries are removed and reported through
  // `on_complete` after the scan. Worker only, inside the lock scope.
  void CheckPendingPromises(const CompletionCallback& on_complete);

 private:
  struct Entry {
    v8::Global<v8::Promise> promise;
    std::shared_ptr<Task> task;
    std::chrono::steady_clock::time_point started;
    std::chrono::milliseconds timeout;
  };

  JSValue ExtractValue(v8::Local<v8::Value> value);
  JSError ExtractError(v8::Local<v8::Value> reason);

  v8::Isolate* isolate_;
  std::list<Entry> entries_;
  int32_t count_ = 0;
};

}  // namespace jsbridge
}  // namespace morvanta
