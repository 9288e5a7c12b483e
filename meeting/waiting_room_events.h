// The waiting room channel: arrivals and departures in the waiting room, the
// host's decisions, the local user's own waiting status, names, the room's
// settings and its hosts. The listener interface, the scripts of the channel
// and the dispatch of one drained record to native listeners.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "core/records.h"
#include "meeting/channel_scripts.h"

namespace morvanta {

class IMvWaitingRoomListener {
 public:
  virtual ~IMvWaitingRoomListener() = default;
  virtual void OnMemberJoin(const MvWaitingRoomMember& member, int32_t reason) = 0;
  virtual void OnMemberLeave(const std::string& userUuid, int32_t reason) = 0;
  virtual void OnMemberAdmitted(const std::string& userUuid) = 0;
  virtual void OnMyStatusChanged(int32_t status, int32_t reason) = 0;
  virtual void OnMemberNameChanged(const std::string& userUuid, const std::string& name,
                                   const MvMember* operateBy) = 0;
  virtual void OnInfoUpdated(const MvWaitingRoomInfo& info) = 0;
  virtual void OnAllMembersKicked() = 0;
  virtual void OnManagersUpdated(const std::vector<MvMember>& managers) = 0;
};

// The globals and scripts of the waiting room channel. The register script
// attaches a listener object to morVantaMeeting.getWaitingRoomManager(); the
// channel has no check script (the native side decides by its own list).
extern const ChannelGlobals kWaitingRoomGlobals;
const ChannelScripts& WaitingRoomChannelScripts();
const std::string& WaitingRoomRegisterScript();

// Dispatches one {type, data} record of the waiting room channel; malformed
// records are logged and dropped. Listeners are called in order, none null.
void DispatchWaitingRoomEvent(const JSValue& record, const std::vector<IMvWaitingRoomListener*>& listeners);

}  // namespace morvanta
