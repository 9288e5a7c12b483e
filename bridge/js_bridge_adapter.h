// The one door through which the product layer reaches JavaScript. Owns the
// bridge, loads the SDK file, runs scripts and calls SDK functions by path,
// translating between the product's JSValue and the bridge's own values.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "bridge/lifecycle_pacing.h"
#include "bridge/product_value.h"

namespace morvanta {
namespace jsbridge {
class JSBridge;
struct JSValue;
}  // namespace jsbridge

struct JSBridgeAdapterConfig {
  std::string appKey;   // not passed on to the bridge
  std::string sdkPath;  // empty: index.js beside the host executable
  bool debug = false;
  std::optional<std::string> locale;  // not passed on to the bridge
};

class JSBridgeAdapter {
 public:
  JSBridgeAdapter();
  ~JSBridgeAdapter();
  JSBridgeAdapter(const JSBridgeAdapter&) = delete;
  JSBridgeAdapter& operator=(const JSBridgeAdapter&) = delete;

  // Starts the bridge and loads the SDK (5 s limit). On a failed load the
  // bridge stays up, so that Cleanup or the destructor stops it.
  bool Initialize(const JSBridgeAdapterConfig& config);
  bool IsInitialized() const;
  std::string GetLastError() const;
  bool LoadSDKFile(const std::string& path);

  // Both deliver their outcome once through `callback` on the bridge's worker,
  // or at once on the calling thread with "JSBridge not initialized".
  void ExecuteJS(const std::string& script, JSCallback callback);
  void CallFunction(const std::string& functionPath, const std::vector<JSValue>& args,
                    JSCallback callback);

  // Closes the door to new calls, waits for calls in flight, stops the bridge.
  // Promises still pending in the concurrent mode are failed first, so the
  // wait does not last until their time limits.
  void Cleanup();
  // The wake function of the event channel `key` (see JSBridge); dropped
  // when there is no bridge.
  void SetChannelWake(const std::string& key, std::function<void()> wake);
  std::string GetDiagnosticReport() const;

  // How start and stop wait in the bridge's mode (the defaults without a
  // running bridge).
  jsbridge::LifecyclePacing Pacing() const;
  // Returns once every script queued before it has run and those whose
  // value was not a pending promise have been answered, or after `limit`;
  // false on the limit or without a running bridge.
  bool AwaitQueuedWork(std::chrono::milliseconds limit);

  // Value mapping between the two tag numberings (binary <-> Buffer).
  static jsbridge::JSValue ToBridgeValue(const JSValue& value);
  static JSValue FromBridgeValue(const jsbridge::JSValue& value);

  static constexpr int kSdkLoadTimeoutMs = 5000;

 private:
  std::shared_ptr<jsbridge::JSBridge> AcquireBridge();
  JSCallback MakeGuardedCallback(JSCallback callback);
  // Queues `script`; when it is the call path(args...), both are passed on so
  // the worker can make the call without compiling the text.
  void Submit(const std::shared_ptr<jsbridge::JSBridge>& bridge, const std::string& script,
              JSCallback callback, const std::string& path = std::string(),
              std::vector<jsbridge::JSValue> args = {});
  void SetError(const std::string& text);

  std::shared_ptr<jsbridge::JSBridge> bridge;
  bool initialized = false;
  std::string lastError;
  mutable std::mutex errorMutex;
  mutable std::mutex stateMutex;

  // Calls between their guard's creation and release. Shared with the
  // guards, which may outlive the adapter if a callback arrives very late.
  struct ActiveCalls {
    std::atomic<int32_t> count{0};
    std::mutex mutex;
    std::condition_variable cv;
  };
  std::shared_ptr<ActiveCalls> activeCalls = std::make_shared<ActiveCalls>();
};

}  // namespace morvanta
