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

// getAccountInfoList answers with an object holding `meetingAccountListResp`,
// at its top level or under `result`, possibly as JSON text. Items that are
// not objects or have no userUuid are skipped; a missing name falls back to
// the userUuid.
MvResult<MvAccountInfoListResponse> ReadAccountInfoListAnswer(const JSValue& answer);

// searchAccountInfoByPhone answers with a bare array of accounts; anything
// else reads as no account found.
MvResult<std::vector<MvSearchAccountInfo>> ReadPhoneSearchAnswer(const JSValue& answer);

}  // namespace morvanta
