// How an event channel's native thread is woken besides its 100 ms poll: it
// hands the bridge a wake function under its key. Whether anything ever
// calls it is the bridge mode's business (the concurrent mode lets the
// listener scripts call it on a push; the compatible mode never does), so a
// channel behaves the same way in both modes apart from when it drains.
#pragma once

#include <memory>
#include <string>

#include "bridge/js_bridge_adapter.h"

namespace morvanta {

// Registers `state->Wake()` under `key`. The bridge keeps only a weak
// reference, so a wake after the channel is gone does nothing.
template <typename State>
void ConnectChannelWaker(const std::weak_ptr<JSBridgeAdapter>& bridge, const std::string& key,
                         const std::shared_ptr<State>& state) {
  if (key.empty()) return;
  auto b = bridge.lock();
  if (!b) return;
  std::weak_ptr<State> weak = state;
  b->SetChannelWake(key, [weak] {
    if (auto s = weak.lock()) s->Wake();
  });
}

}  // namespace morvanta
