// Records which thread owns the isolate and holds the v8::Locker on its
// behalf. Only the owner may enter V8; every other thread is refused by a
// thread-id check before any V8 call.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace v8 {
class Isolate;
class Locker;
}  // namespace v8

namespace morvanta {
namespace jsbridge {

enum class V8ThreadState : int32_t {
  Uninitialized = 0,
  Initialized = 1,     // owned by the creating thread
  TransferredOnce = 2,
  TransferredMore = 3,  // transferred twice or more
  ShuttingDown = 4,
  Shutdown = 5,
};

class V8ThreadManager {
 public:
  V8ThreadManager() = default;
  ~V8ThreadManager();
  V8ThreadManager(const V8ThreadManager&) = delete;
  V8ThreadManager& operator=(const V8ThreadManager&) = delete;

  bool Initialize(v8::Isolate* isolate, std::thread::id thread_id);
  bool TransferOwnership(std::thread::id thread_id);
  void Shutdown();

  bool IsValid() const;
  bool IsCurrentThreadOwner() const;

  // Takes the heap Locker (if not already active) for the owner thread and
  // returns the isolate; null for any other thread or after shutdown.
  v8::Isolate* AcquireLock();
  void ReleaseLock();

  std::thread::id GetOwnerThread() const;
  V8ThreadState GetState() const { return state_.load(); }
  bool IsLockerActive() const { return locker_active_.load(); }

 private:
  void SetState(V8ThreadState next);
  bool RefusesAccess() const;

  v8::Isolate* isolate_ = nullptr;
  std::thread::id owner_thread_;
  std::atomic<V8ThreadState> state_{V8ThreadState::Uninitialized};
  mutable std::mutex mutex_;
  // On the heap so that it can be opened and closed by separate calls.
  std::unique_ptr<v8::Locker> locker_;
  std::atomic<bool> locker_active_{false};
  std::atomic<bool> shutdown_requested_{false};
};

// Scoped guard over AcquireLock/ReleaseLock. A second guard on the same
// thread shares the active locker, and whichever guard ends first closes it.
class V8Lock {
 public:
  explicit V8Lock(std::shared_ptr<V8ThreadManager> manager);
  ~V8Lock();
  V8Lock(const V8Lock&) = delete;
  V8Lock& operator=(const V8Lock&) = delete;

  v8::Isolate* isolate() const { return isolate_; }
  bool acquired() const { return acquired_; }

 private:
  std::shared_ptr<V8ThreadManager> thread_manager_;
  v8::Isolate* isolate_ = nullptr;
  bool acquired_ = false;
};

}  // namespace jsbridge
}  // namespace morvanta
