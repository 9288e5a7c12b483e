// Morvanta_Security_*: the chat permissions of the meeting and waiting room.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "managers/security_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kPermissionFail[] = "Failed to allocate MorvantaChatroomPermission";

// NULL and "" both leave a permission unchanged.
std::optional<std::string> SetPermission(const char* name) {
  return name && *name ? std::optional<std::string>(name) : std::nullopt;
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Security_ChangeChatroomPermission(MorvantaSecurityManager_T* handle, const char* cr_perm,
                                                            const char* wt_pr_chat, MorvantaCallback callback,
                                                            void* user_data) {
  return WithManager("Morvanta_Security_ChangeChatroomPermission", handle, false, [&](MvSecurityManager& m) {
    m.ChangeChatroomPermission({SetPermission(cr_perm), SetPermission(wt_pr_chat)}, PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_Security_GetChatroomPermission(MorvantaSecurityManager_T* handle,
                                                         MorvantaChatroomPermissionCallback callback,
                                                         void* user_data) {
  return WithManager("Morvanta_Security_GetChatroomPermission", handle, callback == nullptr, [&](MvSecurityManager& m) {
    m.GetChatroomPermission(RecordAdapter<MvChatroomPermission, MorvantaChatroomPermission>(
        callback, user_data, &BuildChatroomPermission, kPermissionFail));
  });
}

}  // extern "C"
