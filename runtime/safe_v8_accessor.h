// The one door through which bridge code enters V8. An operation runs only on
// the isolate's owner thread, with the locker, isolate scope and handle scope
// taken in that order and released in reverse. Any other thread gets one
// error line and the operation's default result; V8 is not touched.
#pragma once

#include <v8.h>

#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "runtime/log.h"
#include "runtime/v8_thread_manager.h"

namespace morvanta {
namespace jsbridge {

class SafeV8Accessor {
 public:
  explicit SafeV8Accessor(std::shared_ptr<V8ThreadManager> manager);

  bool IsValid() const;

  template <typename Operation>
  auto ExecuteWithLock(Operation&& operation) -> decltype(operation(std::declval<v8::Isolate*>())) {
    using Result = decltype(operation(std::declval<v8::Isolate*>()));
    return Run<Result>("ExecuteWithLock", std::forward<Operation>(operation));
  }

  template <typename Operation>
  void ExecuteVoidOperation(Operation&& operation) {
    Run<void>("ExecuteVoidOperation", std::forward<Operation>(operation));
  }

  void LogAccessError(const std::string& context_text) const;

 private:
  template <typename Result, typename Operation>
  Result Run(const char* name, Operation&& operation) {
    try {
      if (!IsValid()) {
        LogAccessError(name);
        return Result();
      }
      V8Lock lock(thread_manager_);
      if (!lock.isolate()) {
        LogAccessError(std::string(name) + " - lock acquisition failed");
        return Result();
      }
      v8::Isolate::Scope isolate_scope(lock.isolate());
      v8::HandleScope handle_scope(lock.isolate());
      return operation(lock.isolate());
    } catch (const std::exception& e) {
      log::Error("[SafeV8Accessor] Exception in ", name, ": ", e.what());
      return Result();
    }
  }

  std::shared_ptr<V8ThreadManager> thread_manager_;
  mutable std::mutex access_mutex_;
};

}  // namespace jsbridge
}  // namespace morvanta
