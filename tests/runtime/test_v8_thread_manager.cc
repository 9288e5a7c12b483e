// Isolate ownership with a real isolate: states, refusals of other threads,
// the accessor's door and the locker shared by nested guards.
#include <gtest/gtest.h>

#include <v8.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

#include "runtime/log.h"
#include "runtime/node_runtime.h"
#include "runtime/safe_v8_accessor.h"
#include "runtime/v8_thread_manager.h"

using morvanta::jsbridge::NodeRuntime;
using morvanta::jsbridge::SafeV8Accessor;
using morvanta::jsbridge::V8Lock;
using morvanta::jsbridge::V8ThreadManager;
using morvanta::jsbridge::V8ThreadState;

namespace {

int StateOf(const V8ThreadManager& m) { return static_cast<int>(m.GetState()); }

// The id of a thread that has already ended: never the caller's.
std::thread::id EndedThreadId() {
  std::thread t([] {});
  std::thread::id id = t.get_id();
  t.join();
  return id;
}

template <typename F>
void OnOtherThread(F f) {
  std::thread t(f);
  t.join();
}

class ThreadManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(rt.Initialize({"node"})) << rt.GetLastError();
    manager = rt.GetThreadManager();
    ASSERT_NE(manager, nullptr);
  }
  void TearDown() override {
    // Cleanup runs here, so this thread must own the isolate again.
    if (manager && manager->GetState() != V8ThreadState::Shutdown &&
        manager->GetOwnerThread() != std::this_thread::get_id())
      manager->TransferOwnership(std::this_thread::get_id());
    rt.Cleanup();
  }
  NodeRuntime rt;
  std::shared_ptr<V8ThreadManager> manager;
};

}  // namespace

TEST_F(ThreadManagerTest, OwnershipMovesThroughTheStates) {
  const std::thread::id self = std::this_thread::get_id();
  EXPECT_EQ(StateOf(*manager), 1);
  EXPECT_TRUE(manager->IsValid());
  EXPECT_TRUE(manager->IsCurrentThreadOwner());
  EXPECT_EQ(manager->GetOwnerThread(), self);

  // A second Initialize is refused and changes nothing.
  const std::thread::id other = EndedThreadId();
  EXPECT_FALSE(manager->Initialize(rt.GetIsolate(), other));
  EXPECT_EQ(StateOf(*manager), 1);
  EXPECT_EQ(manager->GetOwnerThread(), self);

  const int expected[] = {2, 3, 3, 3};
  for (int i = 0; i < 4; ++i) {
    const std::thread::id to = i % 2 ? self : other;
    ASSERT_TRUE(manager->TransferOwnership(to)) << i;
    EXPECT_EQ(StateOf(*manager), expected[i]) << i;
    EXPECT_EQ(manager->GetOwnerThread(), to);
    EXPECT_EQ(manager->IsCurrentThreadOwner(), to == self) << i;
    EXPECT_TRUE(manager->IsValid());
  }
  // Ownership is judged per thread: the current owner is not owner elsewhere.
  bool elsewhere = true;
  OnOtherThread([&] { elsewhere = manager->IsCurrentThreadOwner(); });
  EXPECT_FALSE(elsewhere);
}

TEST_F(ThreadManagerTest, ShutdownIsFinalAndHappensOnce) {
  // A manager of its own over the same isolate, so that the runtime's stays intact.
  V8ThreadManager own;
  EXPECT_FALSE(own.Initialize(nullptr, std::this_thread::get_id()));
  EXPECT_EQ(StateOf(own), 0);
  EXPECT_FALSE(own.IsCurrentThreadOwner());
  EXPECT_EQ(own.AcquireLock(), nullptr);

  ASSERT_TRUE(own.Initialize(rt.GetIsolate(), std::this_thread::get_id()));
  ASSERT_EQ(own.AcquireLock(), rt.GetIsolate());
  EXPECT_TRUE(own.IsLockerActive());

  testing::internal::CaptureStdout();
  own.Shutdown();
  own.Shutdown();
  morvanta::log::FlushAll();
  const std::string out = testing::internal::GetCapturedStdout();
  size_t first = out.find("[V8ThreadManager] Shutting down...");
  EXPECT_NE(first, std::string::npos) << out;
  EXPECT_EQ(out.find("[V8ThreadManager] Shutting down...", first + 1), std::string::npos) << out;

  EXPECT_EQ(StateOf(own), 5);
  EXPECT_FALSE(own.IsLockerActive());  // the locker went with the shutdown
  EXPECT_FALSE(own.IsValid());
  EXPECT_FALSE(own.IsCurrentThreadOwner());
  EXPECT_EQ(own.AcquireLock(), nullptr);
  EXPECT_FALSE(own.TransferOwnership(std::this_thread::get_id()));
  EXPECT_EQ(StateOf(own), 5);
  EXPECT_FALSE(own.Initialize(rt.GetIsolate(), std::this_thread::get_id()));
  EXPECT_EQ(StateOf(own), 5);
}

TEST_F(ThreadManagerTest, TheAccessorRunsOperationsOnlyOnTheOwnerWithTheIsolateEntered) {
  SafeV8Accessor accessor(manager);
  v8::Isolate* const isolate = rt.GetIsolate();

  // Another thread gets the default and the operation never runs.
  std::atomic<int> ran{0};
  int value = -1;
  bool valid = true;
  OnOtherThread([&] {
    valid = accessor.IsValid();
    value = accessor.ExecuteWithLock([&](v8::Isolate*) { ++ran; return 7; });
    accessor.ExecuteVoidOperation([&](v8::Isolate*) { ++ran; });
  });
  EXPECT_FALSE(valid);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(ran.load(), 0);
  EXPECT_FALSE(manager->IsLockerActive());

  // On the owner it runs with the lock held and the isolate entered, and
  // afterwards neither remains.
  EXPECT_TRUE(accessor.IsValid());
  bool inside = false;
  value = accessor.ExecuteWithLock([&](v8::Isolate* iso) {
    inside = iso == isolate && v8::Isolate::GetCurrent() == iso && v8::Locker::IsLocked(iso) &&
             manager->IsLockerActive();
    return 7;
  });
  EXPECT_EQ(value, 7);
  EXPECT_TRUE(inside);
  EXPECT_FALSE(manager->IsLockerActive());
  EXPECT_EQ(v8::Isolate::GetCurrent(), nullptr);

  // A throwing operation gives the default and still releases the lock.
  int thrown = accessor.ExecuteWithLock([](v8::Isolate*) -> int { throw std::runtime_error("op failed"); });
  EXPECT_EQ(thrown, 0);
  EXPECT_FALSE(manager->IsLockerActive());
  EXPECT_EQ(v8::Isolate::GetCurrent(), nullptr);
}

TEST_F(ThreadManagerTest, TheNewOwnerStartsFreeAndTheOldOneIsRefused) {
  SafeV8Accessor accessor(manager);
  ASSERT_EQ(manager->AcquireLock(), rt.GetIsolate());
  ASSERT_TRUE(manager->IsLockerActive());

  // A thread that waits for ownership before it touches V8.
  std::promise<void> go;
  int there = 0;
  bool entered = false;
  std::thread owner([&, ready = go.get_future()] {
    ready.wait();
    there = accessor.ExecuteWithLock([&](v8::Isolate* iso) {
      entered = v8::Isolate::GetCurrent() == iso && v8::Locker::IsLocked(iso);
      return 5;
    });
  });
  EXPECT_TRUE(manager->TransferOwnership(owner.get_id()));
  EXPECT_FALSE(manager->IsLockerActive());  // given up for the new owner

  bool ran_here = false;
  EXPECT_EQ(accessor.ExecuteWithLock([&](v8::Isolate*) { ran_here = true; return 1; }), 0);
  EXPECT_FALSE(ran_here);

  // The new owner can lock the isolate (it would block if the old locker lived).
  go.set_value();
  owner.join();
  EXPECT_EQ(there, 5);
  EXPECT_TRUE(entered);
  EXPECT_FALSE(manager->IsLockerActive());
  // TearDown hands ownership back to this thread before the clean-up.
}

TEST_F(ThreadManagerTest, NestedGuardsShareOneLockerAndTheFirstToEndClosesIt) {
  {
    V8Lock outer(manager);
    ASSERT_TRUE(outer.acquired());
    EXPECT_EQ(outer.isolate(), rt.GetIsolate());
    EXPECT_TRUE(manager->IsLockerActive());
    {
      V8Lock inner(manager);
      EXPECT_TRUE(inner.acquired());
      EXPECT_EQ(inner.isolate(), outer.isolate());
      EXPECT_TRUE(v8::Locker::IsLocked(inner.isolate()));
    }
    // The inner guard closed the shared locker although the outer one lives.
    EXPECT_FALSE(manager->IsLockerActive());
    EXPECT_FALSE(v8::Locker::IsLocked(outer.isolate()));
  }
  EXPECT_FALSE(manager->IsLockerActive());

  // The other way round: the outer guard ends first.
  auto outer = std::make_unique<V8Lock>(manager);
  V8Lock inner(manager);
  ASSERT_TRUE(inner.acquired());
  outer.reset();
  EXPECT_FALSE(manager->IsLockerActive());
  EXPECT_FALSE(v8::Locker::IsLocked(rt.GetIsolate()));

  // Guards without a manager or off the owner thread acquire nothing.
  V8Lock none(nullptr);
  EXPECT_FALSE(none.acquired());
  EXPECT_EQ(none.isolate(), nullptr);
  bool acquired_elsewhere = true;
  OnOtherThread([&] { acquired_elsewhere = V8Lock(manager).acquired(); });
  EXPECT_FALSE(acquired_elsewhere);
  EXPECT_FALSE(manager->IsLockerActive());
}
