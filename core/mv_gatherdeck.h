// The central product object: turns the start configuration into the SDK's
// configuration object, initialises and uninitialises the SDK, and creates
// the domain managers on demand, one per kind.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "core/init_config.h"
#include "core/mv_result.h"
#include "managers/manager_kinds.h"

namespace morvanta {

class JSBridgeAdapter;
class MvGlobalEventListener;
#define MORVANTA_DECLARE_MANAGER(Kind, Class) class Class;
MORVANTA_MANAGER_KINDS(MORVANTA_DECLARE_MANAGER)
#undef MORVANTA_DECLARE_MANAGER

class MvGatherdeck {
 public:
  // The adapter is not owned: the library's lifecycle owns it. It is held
  // weakly, so a late use after it is gone is a failure, not a crash.
  explicit MvGatherdeck(std::weak_ptr<JSBridgeAdapter> bridge);
  ~MvGatherdeck();
  MvGatherdeck(const MvGatherdeck&) = delete;
  MvGatherdeck& operator=(const MvGatherdeck&) = delete;

  MvResult<void> Initialize(const MvGatherdeckInitConfig& config);
  MvResult<void> UnInitialize();
  bool IsInitialized() const;

  // Empty until initialised; then one instance per kind, made on first use.
#define MORVANTA_MANAGER_GETTER(Kind, Class) std::shared_ptr<Class> Get##Kind##Manager();
  MORVANTA_MANAGER_KINDS(MORVANTA_MANAGER_GETTER)
#undef MORVANTA_MANAGER_GETTER

  // The global channel (RTC engine events). Listeners are not owned. Add
  // waits up to 1 s for the JavaScript listener to be detached; the new one
  // is registered afterwards, on the bridge's thread, and only when the list
  // was empty: a second listener leaves the channel stalled until the list
  // has emptied again. Removing the last listener stops the loop, detaches
  // the JavaScript listener and drops the queued events.
  void AddGlobalEventListener(MvGlobalEventListener* listener);
  void RemoveGlobalEventListener(MvGlobalEventListener* listener);

  // The configuration object sent to the SDK's initialize (keys in order,
  // optional keys only when set).
  static JSValue BuildSdkConfig(const MvGatherdeckInitConfig& config);

  static constexpr int kCallTimeoutMs = 10000;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace morvanta
