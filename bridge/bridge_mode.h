// Which of the two bridge modes a new bridge runs in, decided in one place.
//
// Compatible: the worker awaits one promise at a time, polling it every
// 30 ms, naps 1 ms when idle, and event channels are drained by their 100 ms
// poll alone. Concurrent: promises wait in the PromiseTracker while the worker
// goes on, the worker sleeps in libuv until work or a timer wakes it, and a
// listener's push wakes its channel at once.
//
// V8-free: the C layer includes it.
#pragma once

#include <cstdint>

namespace morvanta {
namespace jsbridge {

enum class BridgeMode : int32_t { Compatible = 1, Concurrent = 2 };

// The host's explicit choice: 0 clears it, 1 compatible, 2 concurrent.
// Returns false (and changes nothing) for any other value.
bool RequestBridgeMode(int32_t requested);

// The mode the next bridge takes: an explicit request wins, then the
// environment variable MORVANTA_BRIDGE_MODE ("concurrent"; anything else is
// compatible), then compatible.
BridgeMode ResolveBridgeMode();

const char* BridgeModeName(BridgeMode mode);

}  // namespace jsbridge
}  // namespace morvanta
