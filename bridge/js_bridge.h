// The public face of the JS bridge: start it, hand it scripts from any
// thread, stop it. Every outcome arrives through the script's callback.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "bridge/js_value.h"
#include "bridge/lifecycle_pacing.h"

namespace morvanta {
namespace jsbridge {

class JSBridgeImpl;

class JSBridge {
 public:
  JSBridge();
  ~JSBridge();
  JSBridge(const JSBridge&) = delete;
  JSBridge& operator=(const JSBridge&) = delete;

  bool Initialize(const JSBridgeConfig& config);
  void Shutdown();
  bool IsInitialized() const;
  // False once the worker has left its loop (shutdown, process exit, or a
  // fault); nothing queued after that will be answered.
  bool IsWorkerAlive() const;

  // Queues `code` for the worker and returns at once. Refusals (-1 empty,
  // -2 over 1000000 bytes, -3 not running, -4 submission failure) call the
  // callback on the calling thread; every other outcome is delivered once on
  // the worker, after the script's JavaScript has ended.
  void ExecuteCode(const std::string& code, ValueCallback callback);
  // The same for `code`, the text of the call path(args...), with every
  // outcome that text would have; the worker may make the call without
  // compiling the text.
  void ExecuteCall(const std::string& code, const std::string& path, std::vector<JSValue> args,
                   ValueCallback callback);

  std::string GetLastError() const;

  // Pending promise entries (the concurrent mode's) are failed with "Bridge
  // shutting down" at the worker's next turn; nothing happens in the
  // compatible mode, which has none. Any thread.
  void FailPendingPromises();
  // Registers `wake` as the wake function of the event channel `key` (its
  // array's name; an empty function removes it). Called from the worker,
  // inside JavaScript, when a push makes the array non-empty: it must not
  // block. Any thread.
  void SetChannelWake(const std::string& key, std::function<void()> wake);

  // How start and stop wait in this bridge's mode (the defaults before
  // Initialize has succeeded).
  LifecyclePacing Pacing() const;

  static constexpr size_t kMaxCodeBytes = 1000000;

 private:
  // Shared with the worker thread, which may outlive this object when a
  // shutdown gives up waiting for it.
  std::shared_ptr<JSBridgeImpl> impl_;
  std::atomic<bool> initialized_{false};
};

}  // namespace jsbridge
}  // namespace morvanta
