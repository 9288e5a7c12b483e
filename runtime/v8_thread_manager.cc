#include "runtime/v8_thread_manager.h"

#include <v8.h>

#include <exception>

#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {

V8ThreadManager::~V8ThreadManager() { Shutdown(); }

bool V8ThreadManager::Initialize(v8::Isolate* isolate, std::thread::id thread_id) {
  if (!isolate) {
    log::Error("[V8ThreadManager] Cannot initialize with null isolate");
    return false;
  }
  if (state_.load() != V8ThreadState::Uninitialized) {
    log::Error("[V8ThreadManager] Already initialized");
    return false;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    isolate_ = isolate;
    owner_thread_ = thread_id;
  }
  SetState(V8ThreadState::Initialized);
  log::Info("[V8ThreadManager] Initialized with isolate ", static_cast<const void*>(isolate),
            " for thread ", log::ThreadTag(thread_id));
  return true;
}

void V8ThreadManager::SetState(V8ThreadState next) {
  V8ThreadState old = state_.exchange(next);
  if (old != next) {
    log::Info("[V8ThreadManager] State changed from ", static_cast<int32_t>(old), " to ",
              static_cast<int32_t>(next));
  }
}

bool V8ThreadManager::TransferOwnership(std::thread::id thread_id) {
  if (shutdown_requested_.load()) {
    log::Error("[V8ThreadManager] Cannot transfer ownership during shutdown");
    return false;
  }
  std::thread::id old;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (locker_active_.load()) {  // the new owner starts free
      locker_.reset();
      locker_active_ = false;
    }
    old = owner_thread_;
    owner_thread_ = thread_id;
  }
  V8ThreadState s = state_.load();
  if (s == V8ThreadState::Initialized) SetState(V8ThreadState::TransferredOnce);
  else if (s == V8ThreadState::TransferredOnce) SetState(V8ThreadState::TransferredMore);
  log::Info("[V8ThreadManager] Ownership transferred from thread ", log::ThreadTag(old),
            " to thread ", log::ThreadTag(thread_id));
  return true;
}

void V8ThreadManager::Shutdown() {
  if (shutdown_requested_.exchange(true)) return;
  log::Info("[V8ThreadManager] Shutting down...");
  SetState(V8ThreadState::ShuttingDown);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (locker_active_.load()) {
      locker_.reset();
      locker_active_ = false;
    }
    isolate_ = nullptr;
  }
  SetState(V8ThreadState::Shutdown);
  log::Info("[V8ThreadManager] Shutdown complete");
}

bool V8ThreadManager::IsValid() const {
  V8ThreadState s = state_.load();
  std::lock_guard<std::mutex> lock(mutex_);
  return isolate_ != nullptr && s != V8ThreadState::Uninitialized &&
         s != V8ThreadState::Shutdown && !shutdown_requested_.load();
}

bool V8ThreadManager::RefusesAccess() const {
  V8ThreadState s = state_.load();
  return shutdown_requested_.load() || s == V8ThreadState::Uninitialized ||
         s == V8ThreadState::Shutdown;
}

bool V8ThreadManager::IsCurrentThreadOwner() const {
  if (RefusesAccess()) return false;
  return GetOwnerThread() == std::this_thread::get_id();
}

std::thread::id V8ThreadManager::GetOwnerThread() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return owner_thread_;
}

v8::Isolate* V8ThreadManager::AcquireLock() {
  try {
    if (RefusesAccess() || GetOwnerThread() != std::this_thread::get_id()) {
      log::Error("[V8ThreadManager] Cannot access V8 from thread ", log::ThreadTag(),
                 ", owner is ", log::ThreadTag(GetOwnerThread()));
      return nullptr;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (!isolate_) {
      log::Error("[V8ThreadManager] Isolate is null");
      return nullptr;
    }
    if (!locker_active_.load()) {
      locker_ = std::make_unique<v8::Locker>(isolate_);
      locker_active_ = true;
    }
    return isolate_;
  } catch (const std::exception& e) {
    log::Error("[V8ThreadManager] Failed to acquire V8 lock: ", e.what());
    return nullptr;
  }
}

void V8ThreadManager::ReleaseLock() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (locker_active_.load()) {
    locker_.reset();
    locker_active_ = false;
  }
}

V8Lock::V8Lock(std::shared_ptr<V8ThreadManager> manager) : thread_manager_(std::move(manager)) {
  if (thread_manager_) isolate_ = thread_manager_->AcquireLock();
  acquired_ = isolate_ != nullptr;
}

V8Lock::~V8Lock() {
  if (acquired_ && thread_manager_) thread_manager_->ReleaseLock();
}

}  // namespace jsbridge
}  // namespace morvanta
