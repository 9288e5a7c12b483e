// The scripts the bridge runs on every call (the promise handler and the
// result extraction), compiled once per environment and run again from their
// compiled form. A compiled script is bound to the context it was compiled
// in, so the set remembers that context: asked for another one (a fresh
// environment after re-initialisation), it drops what it holds and compiles
// anew. Worker thread only, inside an open handle scope; Clear() must run
// while the isolate still lives.
#pragma once

#include <v8.h>

#include <cstddef>

namespace morvanta {
namespace jsbridge {

class FixedScripts {
 public:
  enum Slot : size_t { kPromiseHandler, kExtraction, kSlotCount };

  FixedScripts() = default;
  FixedScripts(const FixedScripts&) = delete;
  FixedScripts& operator=(const FixedScripts&) = delete;
  ~FixedScripts();

  // Runs `text` (the slot's one text) in `context`. An empty result means it
  // failed; `compiled` then tells whether compiling or running failed, and
  // the caller's TryCatch holds the reason.
  v8::MaybeLocal<v8::Value> Run(v8::Local<v8::Context> context, Slot slot, const char* text, bool* compiled);

  // Drops every compiled form.
  void Clear();

  // How many compiles this set has done (for tests).
  size_t compile_count() const { return compiles_; }

 private:
  v8::Isolate* isolate_ = nullptr;
  v8::Global<v8::Context> owner_;
  v8::Global<v8::Script> scripts_[kSlotCount];
  size_t compiles_ = 0;
};

}  // namespace jsbridge
}  // namespace morvanta
