// The SDK's SecurityManager domain. Its operations follow the common call frame.
#pragma once

#include "managers/manager_base.h"

namespace morvanta {

class MvSecurityManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;
};

}  // namespace morvanta
