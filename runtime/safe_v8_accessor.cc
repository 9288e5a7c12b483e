#include "runtime/safe_v8_accessor.h"

namespace morvanta {
namespace jsbridge {

SafeV8Accessor::SafeV8Accessor(std::shared_ptr<V8ThreadManager> manager)
    : thread_manager_(std::move(manager)) {
  if (!thread_manager_) log::Error("[SafeV8Accessor] Warning: Created with null V8ThreadManager");
}

bool SafeV8Accessor::IsValid() const {
  std::lock_guard<std::mutex> lock(access_mutex_);
  return thread_manager_ && thread_manager_->IsValid() && thread_manager_->IsCurrentThreadOwner();
}

void SafeV8Accessor::LogAccessError(const std::string& context_text) const {
  if (!thread_manager_) {
    log::Error("[SafeV8Accessor] V8 access error in ", context_text, " from thread ",
               log::ThreadTag(), ", V8ThreadManager is null");
    return;
  }
  log::Error("[SafeV8Accessor] V8 access error in ", context_text, " from thread ", log::ThreadTag(),
             ", V8 owner thread: ", log::ThreadTag(thread_manager_->GetOwnerThread()),
             ", state: ", static_cast<int32_t>(thread_manager_->GetState()));
}

}  // namespace jsbridge
}  // namespace morvanta
