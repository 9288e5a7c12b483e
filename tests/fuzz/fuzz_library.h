// The library brought up once per fuzzing process, against the sandbox SDK
// beside the executable, in the concurrent bridge mode (answers without the
// compatible mode's 1 ms timer, events pushed to their channel at once), with
// its log quiet. The embedded runtime starts once per process, so every input
// reuses it. Scripts run on the library's own bridge through RunScript.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bridge/js_bridge_adapter.h"
#include "capi/sdk_state.h"
#include "fuzz/fuzz_values.h"
#include "morvanta.h"

namespace morvanta {
namespace fuzz {

inline MorvantaSDK_T* StartLibrary(const char* target) {
  Morvanta_SetLogLevel(MORVANTA_LOG_OFF);
  Morvanta_SetBridgeMode(MORVANTA_BRIDGE_MODE_CONCURRENT);
  MorvantaInitConfig config{};
  config.app_key = "fuzz-app-key-0001";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  MorvantaSDK_T* sdk = nullptr;
  if (Morvanta_Initialize(&config, &sdk) != 0 || !sdk) Fail(target, "the library did not start");
  return sdk;
}

// One answer of the bridge, waited for.
struct Answer {
  std::mutex mutex;
  std::condition_variable cv;
  int calls = 0;
  JSResult result;

  std::function<void(const JSResult&)> Callback() {
    return [this](const JSResult& r) {
      std::lock_guard<std::mutex> lock(mutex);
      ++calls;
      result = r;
      cv.notify_all();
    };
  }
  // False when no answer came within `limit`.
  bool Wait(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return calls > 0; });
  }
};

// Runs `script` on the library's bridge; its value (a script's object value
// arrives as JSON text).
inline JSResult RunScript(const char* target, const std::string& script) {
  auto answer = std::make_shared<Answer>();
  capi::g_bridge->ExecuteJS(script, [answer](const JSResult& r) { answer->Callback()(r); });
  if (!answer->Wait(std::chrono::seconds(10))) Fail(target, "no answer to a script within 10 s");
  std::lock_guard<std::mutex> lock(answer->mutex);
  return answer->result;
}

}  // namespace fuzz
}  // namespace morvanta
