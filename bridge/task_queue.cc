#include "bridge/task_queue.h"

namespace morvanta {
namespace jsbridge {

void TaskQueue::Push(std::shared_ptr<Task> task) {
  if (!task) return;
  std::lock_guard<std::mutex> lock(mutex_);
  tasks_.push_back(std::move(task));
}

bool TaskQueue::Empty() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return tasks_.empty();
}

size_t TaskQueue::Size() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return tasks_.size();
}

std::vector<std::shared_ptr<Task>> TaskQueue::PopAll() {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::shared_ptr<Task>> all(std::make_move_iterator(tasks_.begin()),
                                         std::make_move_iterator(tasks_.end()));
  tasks_.clear();
  return all;
}

}  // namespace jsbridge
}  // namespace morvanta
