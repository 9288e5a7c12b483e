// The SDK's ScreenShareManager domain. Its operations follow the common call frame.
#pragma once

#include "managers/manager_base.h"

namespace morvanta {

class MvScreenShareManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;
};

}  // namespace morvanta
