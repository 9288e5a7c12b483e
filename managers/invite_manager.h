// Account look-ups for invitations, through the SDK's invite object: by user
// ids and by phone number. The SDK answers these in shapes of their own, so
// both answers are read here by hand rather than by ConvertToMvResult.
#pragma once

#include <string>
#include <vector>

#include "core/manager_records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

// The answer of getAccountInfoList: the accounts found, in the SDK's order.
struct MvAccountInfoListResponse {
  std::vector<MvSearchAccountInfo> accounts;
};

class MvInviteManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  void GetAccountInfoList(const std::vector<std::string>& userUuids, MvCallback<MvAccountInfoListResponse> done);
  void SearchAccountInfoByPhone(const std::string& phone, MvCallback<std::vector<MvSearchAccountInfo>> done);
};

}  // namespace morvanta
