// The SDK's PreMeetingManager domain. Its operations follow the common call frame.
#pragma once

#include "managers/manager_base.h"

namespace morvanta {

class MvPreMeetingManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;
};

}  // namespace morvanta
