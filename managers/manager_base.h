// What every domain manager holds: the adapter through which it reaches the
// SDK. The adapter is owned by the library's lifecycle, not by the manager,
// which holds it weakly: a manager that outlives it (a handle kept past
// Morvanta_Uninitialize) finds it gone and answers with failures.
#pragma once

#include <memory>

#include "bridge/js_bridge_adapter.h"

namespace morvanta {

class MvManagerBase {
 public:
  explicit MvManagerBase(std::weak_ptr<JSBridgeAdapter> bridge) : bridge_(std::move(bridge)) {}
  virtual ~MvManagerBase() = default;
  MvManagerBase(const MvManagerBase&) = delete;
  MvManagerBase& operator=(const MvManagerBase&) = delete;

  // Null once the adapter is gone; hold the result for the length of a call.
  std::shared_ptr<JSBridgeAdapter> bridge() const { return bridge_.lock(); }

 private:
  std::weak_ptr<JSBridgeAdapter> bridge_;
};

}  // namespace morvanta
