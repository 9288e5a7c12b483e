// Which thread runs host code: the worker (the default) or the host's own
// thread through Morvanta_Dispatch. The mode chosen while not initialised
// becomes the session's mode at Morvanta_Initialize and stays in force
// until the next Morvanta_Initialize, so what a session left behind (late
// answers to kept handles, callbacks still queued) follows its own mode.
#pragma once

#include <cstdint>

namespace morvanta {
namespace capi {

// True when the current (or last) session dispatches on the host's thread.
bool HostDispatch();
// The chosen mode becomes the session's (Morvanta_Initialize).
void BeginSessionDispatch();
// True when host dispatch was chosen or is the session's: the descriptor
// and Morvanta_Dispatch serve the host.
bool HostDispatchInUse();

}  // namespace capi
}  // namespace morvanta
