#include "bridge/fixed_scripts.h"

#include "bridge/v8_text.h"

namespace morvanta {
namespace jsbridge {

FixedScripts::~FixedScripts() {
  // A set still holding handles of an isolate that may be gone lets them go
  // without touching that isolate.
  if (isolate_) {
    owner_.Empty();
    for (auto& script : scripts_) script.Empty();
  }
}

void FixedScripts::Clear() {
  owner_.Reset();
  for (auto& script : scripts_) script.Reset();
  isolate_ = nullptr;
}

v8::MaybeLocal<v8::Value> FixedScripts::Run(v8::Local<v8::Context> context, Slot slot, const char* text,
                                            bool* compiled) {
  v8::Isolate* isolate = context->GetIsolate();
  const bool usable = slot < kSlotCount && (isolate_ == nullptr || isolate_ == isolate);
  if (usable && (owner_.IsEmpty() || !(owner_ == context))) {
    // First use, or a context other than the one the set was compiled for.
    Clear();
    isolate_ = isolate;
    owner_.Reset(isolate, context);
  }
  v8::Local<v8::Script> script;
  if (usable && !scripts_[slot].IsEmpty()) {
    script = scripts_[slot].Get(isolate);
  } else {
    *compiled = v8::Script::Compile(context, V8String(isolate, text)).ToLocal(&script);
    if (!*compiled) return {};
    ++compiles_;
    if (usable) scripts_[slot].Reset(isolate, script);
  }
  *compiled = true;
  return script->Run(context);
}

}  // namespace jsbridge
}  // namespace morvanta
