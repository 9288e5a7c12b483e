// Who may chat in the meeting, through the SDK's security object. The
// permissions are the SDK's own text names and pass through uninterpreted.
#pragma once

#include <optional>
#include <string>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

// A change of the chat permissions; a field left unset is not sent, so the
// SDK keeps its current value.
struct MvChatroomPermissionChange {
  std::optional<std::string> crPerm;    // the meeting room
  std::optional<std::string> wtPrChat;  // the waiting room
};

class MvSecurityManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  // Sends one object with the set fields only (an empty one when none is set).
  void ChangeChatroomPermission(const MvChatroomPermissionChange& change, MvCallback<void> done);
  void GetChatroomPermission(MvCallback<MvChatroomPermission> done);
};

}  // namespace morvanta
