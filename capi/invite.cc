// Morvanta_Invite_*: account look-ups for invitations, by user ids and by
// phone number.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "managers/invite_manager.h"

namespace morvanta {
namespace capi {
namespace {

using AccountList = std::vector<MvSearchAccountInfo>;

// This family hands NULL rather than "" to the callback when there is no
// message; otherwise it is the common list family with an int32_t count.
struct NullForEmptyMessage {
  MorvantaAccountListCallback callback;

  explicit operator bool() const { return callback != nullptr; }
  void operator()(int code, const char* message, MorvantaSearchAccountInfo* accounts, int32_t count,
                  void* user_data) const {
    callback(code, message && *message ? message : nullptr, accounts, count, user_data);
  }
};

MvCallback<AccountList> AccountListAdapter(MorvantaAccountListCallback callback, void* user_data) {
  return ListAdapter<MvSearchAccountInfo, MorvantaSearchAccountInfo, int32_t>(
      NullForEmptyMessage{callback}, user_data, &BuildSearchAccountList, "Failed to allocate account list");
}

// The id search answers with a response record; its accounts go on as a list.
MvCallback<MvAccountInfoListResponse> ResponseAdapter(MorvantaAccountListCallback callback, void* user_data) {
  auto deliver = AccountListAdapter(callback, user_data);
  return [deliver](const MvResult<MvAccountInfoListResponse>& r) {
    deliver(r.data ? MvResult<AccountList>::Success(r.data->accounts)
                   : MvResult<AccountList>::Failure(r.code, r.message));
  };
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Invite_GetAccountInfoList(MorvantaInviteManager_T* handle, const char** user_uuids,
                                                    int32_t count, MorvantaAccountListCallback callback,
                                                    void* user_data) {
  return WithManager("Morvanta_Invite_GetAccountInfoList", handle, !user_uuids || !callback || count < 1,
                     [&](MvInviteManager& m) {
                       std::vector<std::string> uuids;
                       for (int32_t i = 0; i < count; ++i) {
                         if (user_uuids[i]) uuids.emplace_back(user_uuids[i]);
                       }
                       m.GetAccountInfoList(uuids, ResponseAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Invite_SearchAccountByPhone(MorvantaInviteManager_T* handle, const char* phone,
                                                      MorvantaAccountListCallback callback, void* user_data) {
  return WithManager("Morvanta_Invite_SearchAccountByPhone", handle, !phone || !callback,
                     [&](MvInviteManager& m) {
                       m.SearchAccountInfoByPhone(phone, AccountListAdapter(callback, user_data));
                     });
}

}  // extern "C"
