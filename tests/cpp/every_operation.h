// Visits every operation row of morvanta.hpp with default arguments: the
// coverage test calls each one, the compile checks instantiate each one.
#pragma once

#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "morvanta.hpp"

namespace cpp_test {

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

// Becomes a default value of any parameter type (an optional parameter gets
// an engaged default value).
struct Any {
  template <class T, std::enable_if_t<!IsOptional<T>::value, int> = 0>
  operator T() const {
    return T{};
  }
};

#if MORVANTA_CPP_FUTURES
#define CPP_TEST_FUTURE_FORM(...) __VA_ARGS__
#else
#define CPP_TEST_FUTURE_FORM(...) [] { return 0; }
#endif

// visit(C function name, callback form, future form): the callback form
// takes the completion, the future form answers the future (or 0 without
// futures).
#define CPP_TEST_VISIT(name, cfn, params, args)                                                     \
  visit(#cfn, [&](auto&& done) { m.name(MORVANTA_CPP_LIST args, std::forward<decltype(done)>(done)); }, \
        CPP_TEST_FUTURE_FORM([&] { return m.name(MORVANTA_CPP_LIST args); }));
#define CPP_TEST_VISIT0(name, cfn)                                                                  \
  visit(#cfn, [&](auto&& done) { m.name(std::forward<decltype(done)>(done)); },                      \
        CPP_TEST_FUTURE_FORM([&] { return m.name(); }));

// One manager of each kind, taken from a session.
struct Managers {
  explicit Managers(const morvanta::Session& s)
      : account(s.account()), audio(s.audio()), video(s.video()), member(s.member()), chatroom(s.chatroom()),
        security(s.security()), screenShare(s.screenShare()), preMeeting(s.preMeeting()), invite(s.invite()),
        meeting(s.meeting()), waitingRoom(s.waitingRoom()) {}
  morvanta::AccountManager account;
  morvanta::AudioManager audio;
  morvanta::VideoManager video;
  morvanta::MemberManager member;
  morvanta::ChatroomManager chatroom;
  morvanta::SecurityManager security;
  morvanta::ScreenShareManager screenShare;
  morvanta::PreMeetingManager preMeeting;
  morvanta::InviteManager invite;
  morvanta::MeetingManager meeting;
  morvanta::WaitingRoomManager waitingRoom;
};

template <class Visit>
void ForEveryOperation(const Managers& all, Visit&& visit) {
  // The rows' argument names, each a default value of its parameter.
  Any options, deviceId, volume, audioResource, type, value, view, userUuid, streamType, message, savePath, needAudio,
      config, meetingId, meetingNum, userUuids, phone, flag, fromJoinTime, count, nickname;
  std::optional<bool> cancelRecurring;
  std::optional<std::string> crPerm, wtPrChat;
  std::optional<morvanta::MeetingListParams> params;
#define CPP_TEST_MANAGER(member, OPERATIONS) \
  {                                          \
    const auto& m = all.member;              \
    OPERATIONS(CPP_TEST_VISIT, CPP_TEST_VISIT0) \
  }
  CPP_TEST_MANAGER(account, MORVANTA_CPP_ACCOUNT_OPERATIONS)
  CPP_TEST_MANAGER(audio, MORVANTA_CPP_AUDIO_OPERATIONS)
  CPP_TEST_MANAGER(video, MORVANTA_CPP_VIDEO_OPERATIONS)
  CPP_TEST_MANAGER(member, MORVANTA_CPP_MEMBER_OPERATIONS)
  CPP_TEST_MANAGER(chatroom, MORVANTA_CPP_CHATROOM_OPERATIONS)
  CPP_TEST_MANAGER(security, MORVANTA_CPP_SECURITY_OPERATIONS)
  CPP_TEST_MANAGER(screenShare, MORVANTA_CPP_SCREEN_SHARE_OPERATIONS)
  CPP_TEST_MANAGER(preMeeting, MORVANTA_CPP_PRE_MEETING_OPERATIONS)
  CPP_TEST_MANAGER(invite, MORVANTA_CPP_INVITE_OPERATIONS)
  CPP_TEST_MANAGER(meeting, MORVANTA_CPP_MEETING_OPERATIONS)
  CPP_TEST_MANAGER(waitingRoom, MORVANTA_CPP_WAITING_ROOM_OPERATIONS)
#undef CPP_TEST_MANAGER
}

#undef CPP_TEST_VISIT
#undef CPP_TEST_VISIT0

}  // namespace cpp_test
