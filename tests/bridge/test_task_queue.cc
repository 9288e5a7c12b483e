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

TEST(TaskQueue, PopAllTakesEverythingOnceInPushOrderAndNullsAreIgnored) {
  TaskQueue queue;
  queue.Push(nullptr);
  EXPECT_TRUE(queue.Empty());
  EXPECT_TRUE(queue.PopAll().empty());

  std::vector<std::shared_ptr<Task>> pushed;
  for (int i = 0; i < 5; ++i) {
    pushed.push_back(MakeTask("t" + std::to_string(i)));
    queue.Push(pushed.back());
    queue.Push(nullptr);
  }
  EXPECT_FALSE(queue.Empty());
  EXPECT_EQ(queue.Size(), pushed.size());
  EXPECT_EQ(queue.PopAll(), pushed);
  EXPECT_TRUE(queue.Empty());
  EXPECT_TRUE(queue.PopAll().empty());

  // Usable again: the next batch holds only what came after the last one.
  auto later = MakeTask("later");
  queue.Push(later);
  EXPECT_EQ(queue.PopAll(), std::vector<std::shared_ptr<Task>>{later});
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
