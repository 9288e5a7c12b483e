// A plain scope over an isolate for the few places that must enter V8 without
// going through SafeV8Accessor: building the environment before the worker
// owns the isolate, and tearing it down after the worker has ended. Opens the
// locker, isolate scope, handle scope and (optionally) context scope in that
// order and closes them in reverse.
#pragma once

#include <v8.h>

#include <optional>

namespace morvanta {
namespace jsbridge {

class DirectV8Scope {
 public:
  explicit DirectV8Scope(v8::Isolate* isolate)
      : locker_(isolate), isolate_scope_(isolate), handle_scope_(isolate) {}
  // Enters a context inside the scope. The context handle must be made after
  // the scope exists (a handle needs the scope's HandleScope).
  void EnterContext(v8::Local<v8::Context> context) {
    if (!context.IsEmpty()) context_scope_.emplace(context);
  }
  DirectV8Scope(const DirectV8Scope&) = delete;
  DirectV8Scope& operator=(const DirectV8Scope&) = delete;

 private:
  v8::Locker locker_;
  v8::Isolate::Scope isolate_scope_;
  v8::HandleScope handle_scope_;
  std::optional<v8::Context::Scope> context_scope_;
};

}  // namespace jsbridge
}  // namespace morvanta
