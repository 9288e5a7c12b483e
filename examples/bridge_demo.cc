// A small host that brings the JS bridge up on the sandbox SDK beside it,
// makes a few real calls and prints a readable transcript. The library's own
// log lines go to standard output; scripts/run-demo.sh sends them to a file
// and leaves this transcript (written to standard error) on the terminal.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>

#include "bridge/js_bridge_adapter.h"

namespace {

struct Waiter {
  std::mutex mutex;
  std::condition_variable cv;
  bool done = false;
  morvanta::JSResult result;
};

std::string Describe(const morvanta::JSValue& v) {
  using T = morvanta::JSValueType;
  switch (v.type) {
    case T::Undefined: return "undefined";
    case T::Null: return "null";
    case T::Boolean: return v.boolValue ? "true" : "false";
    case T::Number: return std::to_string(v.numberValue);
    case T::String: return "\"" + v.stringValue + "\"";
    case T::Array: return "[array of " + std::to_string(v.arrayValue.size()) + "]";
    case T::Object: {
      std::string keys;
      for (const auto& kv : v.objectValue) keys += (keys.empty() ? "" : ", ") + kv.first;
      return "{" + keys + "}";
    }
    case T::Binary: return "<" + std::to_string(v.binaryValue.size()) + " bytes>";
  }
  return "?";
}

void Say(const char* fmt, const std::string& a = "", const std::string& b = "") {
  std::fprintf(stderr, fmt, a.c_str(), b.c_str());
  std::fflush(stderr);
}

void Call(morvanta::JSBridgeAdapter& adapter, const char* title, const std::string& script) {
  auto waiter = std::make_shared<Waiter>();
  auto start = std::chrono::steady_clock::now();
  adapter.ExecuteJS(script, [waiter](const morvanta::JSResult& r) {
    std::lock_guard<std::mutex> lock(waiter->mutex);
    waiter->result = r;
    waiter->done = true;
    waiter->cv.notify_all();
  });
  std::unique_lock<std::mutex> lock(waiter->mutex);
  waiter->cv.wait_for(lock, std::chrono::seconds(20), [&] { return waiter->done; });
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  Say("  %s\n", title);
  Say("    script : %s\n", script);
  if (!waiter->done) {
    Say("    outcome: no answer%s%s\n");
  } else if (waiter->result.success) {
    Say("    outcome: success, value %s (%s)\n", Describe(waiter->result.value),
        std::to_string(ms.count()) + " ms");
  } else {
    Say("    outcome: failure \"%s\" (%s)\n", waiter->result.error, std::to_string(ms.count()) + " ms");
  }
}

}  // namespace

int main() {
  Say("morvanta bridge demo%s%s\n");
  morvanta::JSBridgeAdapter adapter;
  morvanta::JSBridgeAdapterConfig config;
  config.appKey = "demo";
  if (!adapter.Initialize(config)) {
    Say("  could not start: %s%s\n", adapter.GetLastError());
    return 1;
  }
  Say("  bridge started, sandbox SDK loaded from beside the executable%s%s\n\n");
  Call(adapter, "An SDK call that answers at once",
       "morVantaMeeting.initialize({appKey: \"demo-app-key-0001\", logPath: \"/tmp\"})");
  Call(adapter, "A promise that settles after 200 ms",
       "new Promise(function (resolve) { setTimeout(function () { resolve({ waited: 200 }); }, 200); })");
  Call(adapter, "A rejection", "Promise.reject(new Error(\"the service said no\"))");
  Call(adapter, "A script that throws", "undefinedFunction()");
  Call(adapter, "SDK shutdown", "morVantaMeeting.unInitialize()");
  adapter.Cleanup();
  Say("\n  bridge stopped cleanly%s%s\n");
  return 0;
}
