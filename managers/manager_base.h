// What every domain manager holds: the adapter through which it reaches the
// SDK. The adapter is owned by the library's lifecycle, not by the manager;
// a manager that outlives it finds it gone and answers with failures.
#pragma once

#include "bridge/js_bridge_adapter.h"

namespace morvanta {

class MvManagerBase {
 public:
  explicit MvManagerBase(JSBridgeAdapter* bridge) : bridge_(bridge) {}
  virtual ~MvManagerBase() = default;
  MvManagerBase(const MvManagerBase&) = delete;
  MvManagerBase& operator=(const MvManagerBase&) = delete;

  JSBridgeAdapter* bridge() const { return bridge_; }

 private:
  JSBridgeAdapter* bridge_;
};

}  // namespace morvanta
