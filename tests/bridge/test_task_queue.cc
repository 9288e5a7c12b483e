// The worker's task queue: order, null tasks, batch removal and concurrent use.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "bridge/task_queue.h"

using morvanta::jsbridge::Task;
using morvanta::jsbridge::TaskQueue;

namespace {

std::shared_ptr<Task> MakeTask(const std::string& code) {
  auto task = std::make_shared<Task>();
  task->code = code;
  return task;
}

}  // namespace

TEST(TaskQueue, PopAllReturnsEverythingInPushOrderExactlyOnce) {
  TaskQueue queue;
  EXPECT_TRUE(queue.Empty());
  EXPECT_TRUE(queue.PopAll().empty());

  std::vector<std::shared_ptr<Task>> pushed;
  for (int i = 0; i < 5; ++i) {
    pushed.push_back(MakeTask("t" + std::to_string(i)));
    queue.Push(pushed.back());
  }
  EXPECT_FALSE(queue.Empty());
  EXPECT_EQ(queue.Size(), 5u);

  std::vector<std::shared_ptr<Task>> batch = queue.PopAll();
  ASSERT_EQ(batch.size(), pushed.size());
  for (size_t i = 0; i < pushed.size(); ++i) EXPECT_EQ(batch[i], pushed[i]) << i;
  EXPECT_TRUE(queue.Empty());
  EXPECT_TRUE(queue.PopAll().empty());

  // The queue is usable again after a batch, and the next batch holds only
  // what came after it.
  auto later = MakeTask("later");
  queue.Push(later);
  batch = queue.PopAll();
  ASSERT_EQ(batch.size(), 1u);
  EXPECT_EQ(batch[0], later);
}

TEST(TaskQueue, NullTasksAreIgnored) {
  TaskQueue queue;
  queue.Push(nullptr);
  EXPECT_TRUE(queue.Empty());
  EXPECT_EQ(queue.Size(), 0u);

  auto first = MakeTask("a");
  auto second = MakeTask("b");
  queue.Push(first);
  queue.Push(std::shared_ptr<Task>());
  queue.Push(second);
  std::vector<std::shared_ptr<Task>> batch = queue.PopAll();
  ASSERT_EQ(batch.size(), 2u);
  EXPECT_EQ(batch[0], first);
  EXPECT_EQ(batch[1], second);
}

TEST(TaskQueue, ConcurrentPushersAndADrainingReaderLoseAndDuplicateNothing) {
  constexpr int kPushers = 4;
  constexpr int kPerPusher = 2000;
  TaskQueue queue;
  std::atomic<int> finished{0};
  std::vector<std::vector<int>> seen(kPushers);  // per pusher, in the order taken
  std::set<uint64_t> distinct;  // task ids are unique per process
  size_t total = 0;

  std::thread reader([&] {
    for (;;) {
      bool last_round = finished.load() == kPushers;
      for (const auto& task : queue.PopAll()) {
        ASSERT_NE(task, nullptr);
        distinct.insert(task->id);
        ++total;
        int tag = std::stoi(task->code);
        seen[tag / kPerPusher].push_back(tag % kPerPusher);
      }
      if (last_round) break;
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> pushers;
  for (int p = 0; p < kPushers; ++p) {
    pushers.emplace_back([&, p] {
      for (int i = 0; i < kPerPusher; ++i) {
        queue.Push(MakeTask(std::to_string(p * kPerPusher + i)));
        if (i % 3 == 0) queue.Push(nullptr);
      }
      ++finished;
    });
  }
  for (auto& t : pushers) t.join();
  reader.join();

  EXPECT_EQ(total, static_cast<size_t>(kPushers * kPerPusher));
  EXPECT_EQ(distinct.size(), total);
  // Each pusher's tasks come out in the order it pushed them.
  for (int p = 0; p < kPushers; ++p) {
    ASSERT_EQ(seen[p].size(), static_cast<size_t>(kPerPusher)) << "pusher " << p;
    for (int i = 0; i < kPerPusher; ++i) ASSERT_EQ(seen[p][i], i) << "pusher " << p;
  }
  EXPECT_TRUE(queue.Empty());
}
