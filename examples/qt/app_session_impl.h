// What AppSession holds of the library (for MeetingClient only): the C++
// session and one manager of each kind the app uses.
#pragma once

#include "app_session.h"
#include "morvanta.hpp"

namespace meeting_app {

struct AppSession::Impl {
  morvanta::Session session;
  morvanta::AccountManager account;
  morvanta::AudioManager audio;
  morvanta::VideoManager video;
  morvanta::ChatroomManager chat;
  morvanta::MeetingManager meeting;
  morvanta::MemberManager member;
  morvanta::PreMeetingManager preMeeting;
  morvanta::ScreenShareManager share;
  morvanta::WaitingRoomManager waitingRoom;
};

}  // namespace meeting_app
