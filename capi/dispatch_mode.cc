// Morvanta_SetDispatchMode and Morvanta_GetDispatchMode, and the session's
// mode that the callback adapters and listener channels read.
#include "capi/dispatch_mode.h"

#include <atomic>

#include "capi/call_frame.h"
#include "capi/sdk_state.h"

namespace morvanta {
namespace capi {
namespace {

std::atomic<int32_t> g_chosen{MORVANTA_DISPATCH_WORKER};
std::atomic<int32_t> g_session{MORVANTA_DISPATCH_WORKER};

}  // namespace

bool HostDispatch() { return g_session.load(std::memory_order_relaxed) == MORVANTA_DISPATCH_HOST; }

void BeginSessionDispatch() { g_session.store(g_chosen.load()); }

bool HostDispatchInUse() { return HostDispatch() || g_chosen.load() == MORVANTA_DISPATCH_HOST; }

}  // namespace capi
}  // namespace morvanta

MORVANTA_API int32_t Morvanta_SetDispatchMode(int32_t mode) {
  using namespace morvanta;
  return capi::Guarded<int32_t>("Morvanta_SetDispatchMode", -999, [mode]() -> int32_t {
    if (capi::SessionRunning()) return -3;
    if (mode != MORVANTA_DISPATCH_WORKER && mode != MORVANTA_DISPATCH_HOST) return -1;
    capi::g_chosen.store(mode);
    return 0;
  });
}

MORVANTA_API int32_t Morvanta_GetDispatchMode(void) { return morvanta::capi::g_chosen.load(); }
