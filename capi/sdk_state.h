// The process-wide anchors of the C layer and the objects behind the opaque
// handles. Lifecycle functions must not overlap other calls, so the three
// anchors have no lock; the global listener tables have one.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bridge/js_bridge_adapter.h"
#include "core/mv_gatherdeck.h"
#include "managers/manager_kinds.h"
#include "morvanta.h"

// The object behind MorvantaSDK_T*: the product object and a cache of the
// manager of each kind once a handle for it has been made.
struct MorvantaSDK_T {
  void* reserved[2] = {nullptr, nullptr};
  std::shared_ptr<morvanta::MvGatherdeck> gatherdeck;
#define MORVANTA_WEAK_MANAGER(Kind, Class) std::weak_ptr<morvanta::Class> Kind;
  MORVANTA_MANAGER_KINDS(MORVANTA_WEAK_MANAGER)
#undef MORVANTA_WEAK_MANAGER

  void ResetManagers() {
#define MORVANTA_RESET_MANAGER(Kind, Class) Kind.reset();
    MORVANTA_MANAGER_KINDS(MORVANTA_RESET_MANAGER)
#undef MORVANTA_RESET_MANAGER
  }
};

// Every manager handle is the same record: it keeps the SDK handle and the
// manager alive for as long as it lives.
#define MORVANTA_HANDLE_TYPE(Kind, Class)                 \
  struct Morvanta##Kind##Manager_T {                      \
    std::shared_ptr<MorvantaSDK_T> sdkHandle;             \
    std::shared_ptr<morvanta::Class> manager;             \
  };
MORVANTA_MANAGER_KINDS(MORVANTA_HANDLE_TYPE)
#undef MORVANTA_HANDLE_TYPE

namespace morvanta {
namespace capi {

extern std::shared_ptr<MvGatherdeck> g_gatherdeck;
extern std::shared_ptr<JSBridgeAdapter> g_bridge;
extern std::shared_ptr<MorvantaSDK_T> g_sdk_handle;

// The global event listeners: the C records as given, and the native
// wrappers registered on MvGatherdeck for them, both under the mutex. A
// wrapper stays alive after its record has gone (see global_listener.cc),
// as a drain in flight may still hold its address. Never destroyed, so they
// outlive static destruction.
class GlobalEventListenerWrapper;
extern std::mutex& g_global_listener_mutex;
extern std::vector<MorvantaGlobalEventListener>& g_global_c_listeners;
extern std::vector<std::shared_ptr<GlobalEventListenerWrapper>>& g_global_listener_wrappers;

// Forgets every C record (Morvanta_Uninitialize); their wrappers stay but
// call nothing any more. Returns how many records there were.
size_t ClearGlobalCListeners();

// True while the bridge or the product object is up: the modes chosen for
// the next session cannot change now.
bool SessionRunning();

// Checks an SDK handle for a Get*Manager call; logs "<name>: <reason>" and
// returns null when it cannot be used.
std::shared_ptr<MorvantaSDK_T> ValidateSdkHandle(MorvantaSDK_T* sdk, const char* name);

}  // namespace capi
}  // namespace morvanta
