// The SDK's VideoManager domain. Its operations follow the common call frame.
#pragma once

#include "managers/manager_base.h"

namespace morvanta {

class MvVideoManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;
};

}  // namespace morvanta
