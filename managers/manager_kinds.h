// The eleven manager kinds, written once and expanded wherever a list of them
// is needed (the factory, the SDK handle's cache, the C handle types).
//   X(Kind, NativeClass)
#pragma once

#define MORVANTA_MANAGER_KINDS(X)       \
  X(Account, AccountManager)            \
  X(Audio, MvAudioManager)              \
  X(Chatroom, MvChatroomManager)        \
  X(Invite, MvInviteManager)            \
  X(Meeting, MvMeetingManager)          \
  X(Member, MvMemberManager)            \
  X(PreMeeting, MvPreMeetingManager)    \
  X(ScreenShare, MvScreenShareManager)  \
  X(Security, MvSecurityManager)        \
  X(Video, MvVideoManager)              \
  X(WaitingRoom, MvWaitingRoomManager)
