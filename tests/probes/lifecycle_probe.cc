// A host program for the lifecycle tests, which run it as a child process and
// check its exit status and output: process-wide Node state and exit handling
// can only be observed from outside the process.
//
//   lifecycle_probe reinit N        start, call and stop the bridge N times
//   lifecycle_probe exit-alive      return from main with the bridge running
//   lifecycle_probe stuck-shutdown  shut down while a promise never settles
//   lifecycle_probe wait-signal     start, print READY, wait to be signalled
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "bridge/js_bridge.h"
#include "bridge/js_bridge_adapter.h"

namespace {

using morvanta::JSBridgeAdapter;
using morvanta::JSBridgeAdapterConfig;
using morvanta::JSResult;

struct Slot {
  std::mutex mutex;
  std::condition_variable cv;
  bool done = false;
  JSResult result;
};

bool Call(JSBridgeAdapter& adapter, const std::string& script, std::string* text) {
  auto slot = std::make_shared<Slot>();
  adapter.ExecuteJS(script, [slot](const JSResult& r) {
    std::lock_guard<std::mutex> lock(slot->mutex);
    slot->result = r;
    slot->done = true;
    slot->cv.notify_all();
  });
  std::unique_lock<std::mutex> lock(slot->mutex);
  if (!slot->cv.wait_for(lock, std::chrono::seconds(20), [&] { return slot->done; })) return false;
  if (text) *text = slot->result.value.stringValue;
  return slot->result.success;
}

void Report(const char* line) {
  std::fprintf(stderr, "%s\n", line);
  std::fflush(stderr);
}

std::unique_ptr<JSBridgeAdapter> Start() {
  auto adapter = std::make_unique<JSBridgeAdapter>();
  if (!adapter->Initialize(JSBridgeAdapterConfig{})) {
    Report("PROBE: start failed");
    std::exit(3);
  }
  return adapter;
}

}  // namespace

int main(int argc, char** argv) {
  std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "reinit") {
    int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    for (int i = 0; i < rounds; ++i) {
      auto adapter = Start();
      std::string text;
      // A stale global from an earlier round must not survive.
      if (!Call(*adapter, "String(typeof globalThis.leftover) + ':' + String(typeof morVantaMeeting)", &text) ||
          text != "undefined:object") {
        std::fprintf(stderr, "PROBE: round %d saw %s\n", i, text.c_str());
        return 4;
      }
      Call(*adapter, "globalThis.leftover = 1; globalThis.MorvantaSDK = {}", nullptr);
      adapter->Cleanup();
      std::fprintf(stderr, "PROBE: round %d ok\n", i);
    }
    Report("PROBE: done");
    return 0;
  }
  if (mode == "exit-alive") {
    // Never cleaned up by the host: the process exits with the bridge
    // running. The static object itself goes away only after the exit
    // handler has taken Node down, as a host's globals would.
    static std::unique_ptr<JSBridgeAdapter> kept;
    kept = Start();
    std::string text;
    if (!Call(*kept, "'alive'", &text)) return 4;
    Report("PROBE: leaving main with the bridge running");
    return 0;
  }
  if (mode == "stuck-shutdown") {
    morvanta::jsbridge::JSBridge bridge;
    if (!bridge.Initialize(morvanta::jsbridge::JSBridgeConfig{})) return 3;
    bridge.ExecuteCode("new Promise(function () {})", nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    auto start = std::chrono::steady_clock::now();
    bridge.Shutdown();
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    std::fprintf(stderr, "PROBE: SHUTDOWN_MS=%lld\n", static_cast<long long>(ms.count()));
    return 0;
  }
  if (mode == "wait-signal") {
    auto adapter = Start();
    Report("PROBE: READY");
    for (int i = 0; i < 600; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return 5;
  }
  Report("PROBE: unknown mode");
  return 2;
}
