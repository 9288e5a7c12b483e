// How Morvanta_Uninitialize takes the C listener channels down. Each channel
// holds its C records, one native wrapper and a reference to the manager it
// registered on. Before the bridge stops, `Stop*` removes the wrapper from
// the manager (its loop ends, its JavaScript listener is detached while
// scripts still run); after the SDK is uninitialised, `Clear*` forgets the C
// records and drops the manager reference, so the manager and its threads go
// with the product object.
#pragma once

namespace morvanta {
namespace capi {

// Each returns whether the channel had anything registered.
bool StopMeetingListeners();
void ClearMeetingListeners();
bool StopRtcStatsListeners();
void ClearRtcStatsListeners();
bool StopMessageChannelListeners();
void ClearMessageChannelListeners();
bool StopWaitingRoomListeners();
void ClearWaitingRoomListeners();

}  // namespace capi
}  // namespace morvanta
