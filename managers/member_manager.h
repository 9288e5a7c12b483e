// The SDK's MemberManager domain. Its operations follow the common call frame.
#pragma once

#include "managers/manager_base.h"

namespace morvanta {

class MvMemberManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;
};

}  // namespace morvanta
