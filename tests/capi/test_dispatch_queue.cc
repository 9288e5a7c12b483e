// The dispatch queue itself, where its faults would hide from the public
// interface: a removal racing a call that runs on another thread, dead
// records' calls, an item that throws, and the descriptor's level.
#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "capi/dispatch_queue.h"

using morvanta::capi::DispatchQueue;
using morvanta::capi::DispatchToken;

namespace {

bool Readable(int fd) {
  pollfd p{fd, POLLIN, 0};
  return ::poll(&p, 1, 0) == 1;
}

}  // namespace

TEST(DispatchQueue, ADropWaitsForItsRecordsCallRunningOnAnotherThreadAndReleasesTheRest) {
  DispatchQueue& q = DispatchQueue::Instance();
  auto token = std::make_shared<DispatchToken>();
  auto other = std::make_shared<DispatchToken>();
  std::atomic<bool> started{false}, finished{false};
  std::vector<std::string> ran;
  q.Post(
      [&] {
        started = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        finished = true;
        ran.push_back("slow");
      },
      token);
  q.Post([&] { ran.push_back("same record"); }, token);
  q.Post([&] { ran.push_back("other record"); }, other);
  q.Post([&] { ran.push_back("callback"); });
  std::thread dispatcher([&] { EXPECT_EQ(q.Run(0), 3); });
  while (!started) std::this_thread::yield();
  token->alive = false;
  q.Drop(*token);
  // The call already running ended before the removal returned; the one
  // still queued never runs.
  EXPECT_TRUE(finished.load());
  dispatcher.join();
  EXPECT_EQ(ran, (std::vector<std::string>{"slow", "other record", "callback"}));
  EXPECT_EQ(q.Size(), 0u);
  EXPECT_FALSE(Readable(q.Descriptor()));
}

TEST(DispatchQueue, ADeadRecordsCallIsSkippedEvenWhenTakenBeforeTheDrop) {
  DispatchQueue& q = DispatchQueue::Instance();
  auto token = std::make_shared<DispatchToken>();
  int calls = 0;
  q.Post([&] { ++calls; }, token);
  q.Post([&] { ++calls; });
  token->alive = false;  // killed, not yet dropped
  EXPECT_EQ(q.Run(0), 1);
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(Readable(q.Descriptor()));
}

TEST(DispatchQueue, AThrowingItemIsContainedAndTheBatchGoesOn) {
  DispatchQueue& q = DispatchQueue::Instance();
  int after = 0;
  q.Post([] { throw std::runtime_error("boom"); });
  q.Post([&] { ++after; });
  EXPECT_EQ(q.Run(0), 2);
  EXPECT_EQ(after, 1);
}

TEST(DispatchQueue, TheDescriptorFollowsTheQueueThroughPartialRunsAndDrops) {
  DispatchQueue& q = DispatchQueue::Instance();
  auto token = std::make_shared<DispatchToken>();
  const int fd = q.Descriptor();
  EXPECT_FALSE(Readable(fd));
  for (int i = 0; i < 3; ++i) q.Post([] {}, token);
  EXPECT_TRUE(Readable(fd));
  EXPECT_EQ(q.Run(2), 2);
  EXPECT_TRUE(Readable(fd));
  token->alive = false;
  q.Drop(*token);  // the last one goes unrun
  EXPECT_FALSE(Readable(fd));
  EXPECT_EQ(q.Run(0), 0);
  // Many posts still make one readable level, cleared by one full run.
  for (int i = 0; i < 100; ++i) q.Post([] {});
  EXPECT_TRUE(Readable(fd));
  EXPECT_EQ(q.Run(0), 100);
  EXPECT_FALSE(Readable(fd));
}
