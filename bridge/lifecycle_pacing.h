// How the start and stop of a bridge, and of the product layer around it,
// wait. The bridge mode decides it (bridge_mode_parts.cc); the waiting code
// in the bridge, the product object and the C layer reads it.
//
// Fixed pauses (the compatible mode): 300 ms after the worker starts, 10 ms
// polls for a lifecycle call's answer and for the worker's join, 200 ms
// before the SDK is told to stop, and 100 ms after the async clean-up
// script. Event-driven (the concurrent mode): each wait ends as soon as what
// it waits for has happened, with the same upper limits.
//
// V8-free: the product layer includes it.
#pragma once

#include <chrono>

namespace morvanta {
namespace jsbridge {

struct LifecyclePacing {
  bool event_driven = false;
  // How long an event channel's thread sleeps before it drains without
  // having been woken. 100 ms, where nothing wakes it; where a listener's
  // push wakes it, the poll is only a fallback and runs far more rarely.
  std::chrono::milliseconds channel_poll{100};
};

}  // namespace jsbridge
}  // namespace morvanta
