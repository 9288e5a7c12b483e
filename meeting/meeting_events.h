// The meeting channel: who entered or left, mutes, screen shares, the end of
// the room, chatroom presence and chat messages. The listener interface, the
// records the JavaScript listener pushes, their lenient parsing and the
// dispatch to native listeners.
#pragma once

#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "core/records.h"
#include "meeting/channel_scripts.h"

namespace morvanta {

class IMvMeetingListener {
 public:
  virtual ~IMvMeetingListener() = default;
  virtual void OnMemberJoinMeeting(const std::vector<MvMember>& members) = 0;
  virtual void OnMemberLeaveMeeting(const std::vector<MvMember>& members) = 0;
  virtual void OnMemberAudioMuteChanged(const std::string& userUuid, bool mute, const MvMember* operateBy) = 0;
  virtual void OnMemberVideoMuteChanged(const std::string& userUuid, bool mute, const MvMember* operateBy) = 0;
  virtual void OnRoomEnded(const std::string& reason, const std::string& extra) = 0;
  virtual void OnMemberAudioConnectStateChanged(const MvMember& member, bool isAudioConnected) = 0;
  virtual void OnMemberJoinChatroom(const std::vector<MvMember>& members) = 0;
  virtual void OnMemberLeaveChatroom(const std::vector<MvMember>& members) = 0;
  virtual void OnMemberScreenShareStateChanged(const MvMember& member, bool isSharing,
                                               const MvMember* operateBy) = 0;
  virtual void OnReceiveChatroomMessages(const std::vector<MvChatMessage>& messages) = 0;
  virtual void OnMemberChatBanStateChanged(const MvMember& member, bool banned, int32_t duration,
                                           const std::string& notifyExt, const MvMember* operateBy) = 0;
};

// The globals and scripts of the meeting channel.
extern const ChannelGlobals kMeetingGlobals;
const ChannelScripts& MeetingChannelScripts();
// The register script: the first text attaches; the re-registration text
// first detaches a listener it finds attached.
const std::string& MeetingRegisterScript(bool reregister);

// Lenient readers of event data; they never fail. A member may come as a
// bare uuid string.
MvMember ParseEventMember(const JSValue& value);
MvChatMessage ParseEventMessage(const JSValue& value);

// Dispatches one {type, data} record of the meeting channel.
void DispatchMeetingEvent(const JSValue& record, const std::vector<IMvMeetingListener*>& listeners);

}  // namespace morvanta
