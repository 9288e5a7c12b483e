#include "bridge/bridge_mode.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace morvanta {
namespace jsbridge {
namespace {

// 0 while the host has not chosen.
std::atomic<int32_t> g_requested{0};

}  // namespace

bool RequestBridgeMode(int32_t requested) {
  if (requested != 0 && requested != static_cast<int32_t>(BridgeMode::Compatible) &&
      requested != static_cast<int32_t>(BridgeMode::Concurrent))
    return false;
  g_requested.store(requested);
  return true;
}

BridgeMode ResolveBridgeMode() {
  const int32_t requested = g_requested.load();
  if (requested != 0) return static_cast<BridgeMode>(requested);
  const char* fromEnv = std::getenv("MORVANTA_BRIDGE_MODE");
  if (fromEnv && std::strcmp(fromEnv, "concurrent") == 0) return BridgeMode::Concurrent;
  return BridgeMode::Compatible;
}

const char* BridgeModeName(BridgeMode mode) {
  return mode == BridgeMode::Concurrent ? "concurrent" : "compatible";
}

}  // namespace jsbridge
}  // namespace morvanta
