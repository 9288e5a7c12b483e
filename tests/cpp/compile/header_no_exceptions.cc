// The callback form alone, without exceptions and RTTI: every operation,
// the session, the listeners and their subscriptions instantiated, under
// -std=c++17 -Wall -Wextra -Wpedantic -Werror -fno-exceptions -fno-rtti.
#include "morvanta.hpp"

#include "../every_operation.h"

#if MORVANTA_CPP_FUTURES
#error "no future form without exceptions"
#endif

namespace {
struct Listener : morvanta::MeetingListener, morvanta::RtcStatsListener, morvanta::MessageChannelListener,
                  morvanta::WaitingRoomListener, morvanta::GlobalEventListener {
  void onMemberJoinMeeting(const morvanta::Member& m) override { (void)m.name; }
};
}  // namespace

int InstantiateCallbackForm() {
  auto created = morvanta::Session::create(morvanta::SessionOptions{});
  if (!created.value) return created.code;
  morvanta::Session session = std::move(*created.value);
  cpp_test::Managers all(session);
  int calls = 0;
  cpp_test::ForEveryOperation(all, [&](const char*, auto callbackForm, auto) {
    callbackForm([&calls](auto result) { calls += result.ok() ? 1 : 0; });
  });
  Listener l;
  auto meeting = session.meeting();
  morvanta::Subscription subs[] = {meeting.addMeetingListener(l), meeting.addRtcStatsListener(l),
                                   meeting.addMessageChannelListener(l), session.waitingRoom().addListener(l),
                                   session.addGlobalEventListener(l)};
  all.member.getMemberList([&calls](morvanta::Result<std::vector<morvanta::Member>> r) { calls += r.code; });
  all.meeting.getMeetingInfo([&calls](morvanta::Result<morvanta::MeetingSDKInfo> r) { calls += r.code; });
  all.waitingRoom.getInfo([&calls](morvanta::Result<morvanta::WaitingRoomInfo> r) { calls += r.code; });
  all.video.setVideoProfile(1, 2, [&calls](morvanta::Result<void> r) { calls += r.code; });
  all.meeting.releaseMeeting([&calls](morvanta::Result<void> r) { calls += r.code; });
  morvanta::Session::setLogHandler([](morvanta::LogLevel, std::string_view) {});
  calls += morvanta::Session::isInitialized() ? 1 : 0;
  calls += morvanta::Session::setDispatchMode(morvanta::DispatchMode::Worker);
  calls += static_cast<int>(morvanta::Session::dispatchMode()) + morvanta::Session::dispatchFd();
  calls += morvanta::Session::dispatch();
  calls += static_cast<int>(morvanta::Session::bridgeMode()) + static_cast<int>(morvanta::Session::version().size());
  return calls + subs[0].code() + session.close();
}
