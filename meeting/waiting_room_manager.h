// The host's hand on the people who wait outside a meeting (admit, expel,
// put back, two queries) and the waiting room event channel. Whether the
// caller may act as host is the SDK's concern: a refusal comes back as a
// rejected call. Like the meeting manager, it keeps no meeting state.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"
#include "meeting/waiting_room_events.h"

namespace morvanta {

class MvWaitingRoomManager : public MvManagerBase {
 public:
  explicit MvWaitingRoomManager(std::weak_ptr<JSBridgeAdapter> bridge);
  ~MvWaitingRoomManager() override;

  // Commands: a fulfilled call is a success whatever the SDK resolved with;
  // only a failed call is a failure (-1 and the error text).
  void AdmitMember(const std::string& userUuid, bool flag, MvCallback<void> done);
  void AdmitAllMembers(MvCallback<void> done);
  void ExpelMember(const std::string& userUuid, bool flag, MvCallback<void> done);
  void ExpelAllMembers(bool flag, MvCallback<void> done);
  void PutInWaitingRoom(const std::string& userUuid, MvCallback<void> done);

  void GetWaitingRoomMemberList(int64_t fromJoinTime, int32_t count, bool flag,
                                MvCallback<std::vector<MvWaitingRoomMember>> done);
  void GetWaitingRoomInfoAsync(MvCallback<MvWaitingRoomInfo> done);
  // Blocks a little over 5 s at most. The default record on time-out or any
  // failure: the failure itself is only logged.
  MvWaitingRoomInfo GetWaitingRoomInfo();

  // Waiting room channel. Adding waits up to 1 s for the JavaScript side to
  // detach an earlier listener; only the first listener attaches one, so a
  // second listener silences the channel until all are removed.
  void AddListener(IMvWaitingRoomListener* listener);
  // Null removes all; the last removal detaches the JavaScript listener and
  // drops its queued events.
  void RemoveListener(IMvWaitingRoomListener* listener);
  size_t ListenerCount() const;
  bool EventsRunning() const;

  struct Core;

 private:
  std::shared_ptr<Core> core_;
};

}  // namespace morvanta
