// Unbounded first-in first-out queue of tasks under one mutex. The worker
// takes the whole content at once, so one lock serves a whole batch.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "bridge/task.h"

namespace morvanta {
namespace jsbridge {

class TaskQueue {
 public:
  void Push(std::shared_ptr<Task> task);
  bool Empty() const;
  size_t Size() const;
  std::vector<std::shared_ptr<Task>> PopAll();

 private:
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<Task>> tasks_;
};

}  // namespace jsbridge
}  // namespace morvanta
