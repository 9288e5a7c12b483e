#include "capi/sdk_state.h"

#include "runtime/log.h"

namespace morvanta {
namespace capi {

std::shared_ptr<MvGatherdeck> g_gatherdeck;
std::shared_ptr<JSBridgeAdapter> g_bridge;
std::shared_ptr<MorvantaSDK_T> g_sdk_handle;

std::mutex& g_global_listener_mutex = *new std::mutex;
std::vector<MorvantaGlobalEventListener>& g_global_c_listeners = *new std::vector<MorvantaGlobalEventListener>;
std::vector<std::shared_ptr<GlobalEventListenerWrapper>>& g_global_listener_wrappers =
    *new std::vector<std::shared_ptr<GlobalEventListenerWrapper>>;

bool SessionRunning() {
  return (g_bridge && g_bridge->IsInitialized()) || (g_gatherdeck && g_gatherdeck->IsInitialized());
}

std::shared_ptr<MorvantaSDK_T> ValidateSdkHandle(MorvantaSDK_T* sdk, const char* name) {
  const char* reason = nullptr;
  if (!sdk)
    reason = ": SDK handle is NULL";
  else if (!g_bridge || !g_bridge->IsInitialized() || !g_gatherdeck || !g_gatherdeck->IsInitialized())
    reason = ": SDK not initialized";
  else if (!g_sdk_handle)
    reason = ": Internal SDK state not ready";
  else if (g_sdk_handle.get() != sdk)
    reason = ": SDK handle mismatch";
  if (reason) {
    log::Error("[Gatherdeck C API] ❌ ", name, reason);
    return nullptr;
  }
  return g_sdk_handle;
}

}  // namespace capi
}  // namespace morvanta
