// A waiting place for one C callback: counts its calls and keeps the code,
// the message (and whether it was NULL) and whether a payload came. Tests
// copy what they need out of the payload before Record() and free it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "capi/capi_harness.h"
#include "support/waited_calls.h"

namespace morvanta_test {

struct CallbackSlot : WaitedCalls {
  int code = 12345;
  std::string message;
  bool message_null = false;
  bool payload_null = true;
  int32_t count = -1;

  void Record(int c, const char* m, const void* payload = nullptr, int32_t n = -1) {
    std::lock_guard<std::mutex> lock(mutex);
    ++calls;
    code = c;
    message_null = m == nullptr;
    message = m ? m : "";
    payload_null = payload == nullptr;
    count = n;
    cv.notify_all();
  }

  static void OnPlain(int code, const char* message, void* ud) {
    static_cast<CallbackSlot*>(ud)->Record(code, message);
  }
};

// Runs one more script through the worker and waits for it: whatever the
// worker had to deliver before has been delivered by then.
inline void DrainWorker() { SandboxEval("0"); }

// The arguments of every call of `path` the sandbox received, as JSON with
// object keys sorted, such as [[42,false]].
inline std::string SandboxArgs(const std::string& path) {
  morvanta::JSValue v = SandboxEval(
      "JSON.stringify(morVantaSandbox.callsTo('" + path +
      "').map((c) => c.args), (k, x) => (x && typeof x === 'object' && !Array.isArray(x)"
      " ? Object.fromEntries(Object.entries(x).sort()) : x))");
  return v.stringValue;
}

// Logs the sandbox's user in (by script); true when the service accepted it.
inline bool SandboxLogin(const std::string& username, const std::string& password) {
  morvanta::JSValue code = SandboxEval("morVantaMeeting.getAccountManager().loginByPassword({username: '" + username +
                                       "', password: '" + password + "'}).then((a) => a.code)");
  return code.IsNumber() && code.numberValue == 0;
}

}  // namespace morvanta_test
