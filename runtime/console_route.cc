#include "runtime/console_route.h"

#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {

namespace {

// Each console method keeps Node's own writer and asks the native side, per
// call, whether the line is to be routed; a routed line is formatted as
// console.log formats it (util.format) and handed over whole.
const char kConsoleRouteScript[] = R"JS(
(function (write, routed) {
  var c = globalThis.console;
  if (!c || c.__morvantaRouted) return;
  function format(args) {
    var req = globalThis.require;
    if (typeof req === 'function') {
      try { return req('util').format.apply(null, args); } catch (e) {}
    }
    return Array.prototype.map.call(args, String).join(' ');
  }
  [['log', false], ['info', false], ['debug', false], ['warn', true], ['error', true]].forEach(function (m) {
    var original = c[m[0]];
    if (typeof original !== 'function') return;
    c[m[0]] = function () {
      if (!routed()) return original.apply(c, arguments);
      write(m[1], format(arguments));
    };
  });
  Object.defineProperty(c, '__morvantaRouted', { value: true });
})
)JS";

void Write(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 2) return;
  const bool to_error = info[0]->BooleanValue(isolate);
  v8::String::Utf8Value text(isolate, info[1]);
  const char* line = *text ? *text : "";
  if (to_error)
    log::Error(line);
  else
    log::Info(line);
}

void Routed(const v8::FunctionCallbackInfo<v8::Value>& info) {
  info.GetReturnValue().Set(log::Routed());
}

}  // namespace

bool InstallConsoleRoute(v8::Isolate* isolate, v8::Local<v8::Context> context) {
  v8::TryCatch try_catch(isolate);
  v8::Local<v8::String> source;
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> installer;
  v8::Local<v8::Function> write;
  v8::Local<v8::Function> routed;
  if (!v8::String::NewFromUtf8(isolate, kConsoleRouteScript).ToLocal(&source) ||
      !v8::Script::Compile(context, source).ToLocal(&script) || !script->Run(context).ToLocal(&installer) ||
      !installer->IsFunction() || !v8::Function::New(context, Write).ToLocal(&write) ||
      !v8::Function::New(context, Routed).ToLocal(&routed))
    return false;
  v8::Local<v8::Value> args[] = {write, routed};
  v8::Local<v8::Value> ignored;
  return installer.As<v8::Function>()->Call(context, context->Global(), 2, args).ToLocal(&ignored);
}

}  // namespace jsbridge
}  // namespace morvanta
