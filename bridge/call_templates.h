// Every SDK method is reached by a script of the form "path(arg, ...)", whose
// text differs from call to call only in its arguments. Compiling each of
// those texts costs tens of microseconds and leaves one more script in V8's
// compilation cache. A call template is the same call compiled once per path
// and argument count,
//
//     (function (__morvantaArg0, __morvantaArg1) {
//       return path(__morvantaArg0, __morvantaArg1);
//     })
//
// and run with the arguments handed over as values made exactly as the
// script's literals would make them: a number is the value of its "%f" text
// (six decimals; NaN and the infinities as they are), a string its
// well-formed UTF-8 (U+FFFD for each bad byte), an object a plain object with
// its members in key order ("__proto__" an own member, as its computed key
// makes it), an array a plain array, a function null, an unknown type
// undefined. Calls whose text would not be a plain literal call run from
// their text as before: a path that is not a dotted chain of names and empty
// calls, or a buffer (its text calls Buffer.from).
//
// Worker thread only, inside an open handle scope and the caller's TryCatch.
// Templates are bound to the context they were compiled in; asked for
// another context they are dropped and compiled anew. Clear() must run while
// the isolate lives.
#pragma once

#include <v8.h>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "bridge/js_value.h"

namespace morvanta {
namespace jsbridge {

class CallTemplates {
 public:
  CallTemplates() = default;
  CallTemplates(const CallTemplates&) = delete;
  CallTemplates& operator=(const CallTemplates&) = delete;
  ~CallTemplates();

  // Runs path(args...) through its template. Returns false, having run
  // nothing, when the call must run from its text instead. Otherwise
  // `*result` is the call's value, or empty when it threw (the caller's
  // TryCatch holds the exception).
  bool Run(v8::Local<v8::Context> context, const std::string& path, const std::vector<JSValue>& args,
           v8::MaybeLocal<v8::Value>* result);

  // Drops every template.
  void Clear();

  // How many templates have been compiled (for tests).
  size_t compile_count() const { return compiles_; }

  // Whether `path` is a chain the template can call the way its text would:
  // names joined by dots, each optionally followed by "()".
  static bool IsPlainPath(const std::string& path);
  // Whether `value` has a literal the template can hand over as a value.
  static bool HasPlainLiteral(const JSValue& value);

  // More distinct paths than this run from their text.
  static constexpr size_t kMaxTemplates = 1024;

 private:
  v8::MaybeLocal<v8::Function> Template(v8::Local<v8::Context> context, const std::string& path, size_t argc);

  v8::Isolate* isolate_ = nullptr;
  v8::Global<v8::Context> owner_;
  std::unordered_map<std::string, v8::Global<v8::Function>> templates_;
  size_t compiles_ = 0;
};

}  // namespace jsbridge
}  // namespace morvanta
