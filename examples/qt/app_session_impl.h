// What AppSession holds of the library (for MeetingClient only).
#pragma once

#include "app_session.h"
#include "morvanta.h"

namespace meeting_app {

struct AppSession::Impl {
  MorvantaSDK_T* sdk = nullptr;
  MorvantaAccountManager_T* account = nullptr;
  MorvantaAudioManager_T* audio = nullptr;
  MorvantaVideoManager_T* video = nullptr;
  MorvantaChatroomManager_T* chat = nullptr;
  MorvantaMeetingManager_T* meeting = nullptr;
  MorvantaMemberManager_T* member = nullptr;
  MorvantaPreMeetingManager_T* preMeeting = nullptr;
  MorvantaScreenShareManager_T* share = nullptr;
  MorvantaWaitingRoomManager_T* waitingRoom = nullptr;
};

}  // namespace meeting_app
