// Routes the JavaScript console (console.log/info/debug to standard output,
// console.warn/error to standard error) through the library's log when the
// host routes or filters it (a log handler, or a level above info), so that
// the lines of the library's own scripts and of the SDK reach the handler
// too. Otherwise the console writes as Node always does.
#pragma once

#include <v8.h>

namespace morvanta {
namespace jsbridge {

// Installs the route in `context` (entered, with the isolate locked). Runs a
// small script; false when it could not.
bool InstallConsoleRoute(v8::Isolate* isolate, v8::Local<v8::Context> context);

}  // namespace jsbridge
}  // namespace morvanta
