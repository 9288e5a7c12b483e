// Choosing the bridge mode before Morvanta_Initialize.
#include "bridge/bridge_mode.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"

MORVANTA_API int32_t Morvanta_SetBridgeMode(int32_t mode) {
  using namespace morvanta;
  return capi::Guarded<int32_t>("Morvanta_SetBridgeMode", -999, [mode]() -> int32_t {
    if (capi::SessionRunning()) return -3;
    return jsbridge::RequestBridgeMode(mode) ? 0 : -1;
  });
}

MORVANTA_API int32_t Morvanta_GetBridgeMode(void) {
  using namespace morvanta;
  return capi::Guarded<int32_t>("Morvanta_GetBridgeMode", -999, [] {
    return static_cast<int32_t>(jsbridge::ResolveBridgeMode());
  });
}
