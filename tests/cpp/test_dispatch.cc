// Host dispatch through the session: completions, futures and listener calls
// run only inside Session::dispatch(), on the thread that calls it; a
// subscription may end inside its own call there too.
#include <poll.h>

#include <atomic>

#include "cpp_harness.h"
#include "support/row_checks.h"

using namespace cpp_test;
using test_rows::ExpectRows;

namespace {

// The host's main loop: waits on the descriptor and dispatches until `done`.
bool DispatchUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 20s) {
  const int fd = morvanta::Session::dispatchFd();
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    pollfd p{fd, POLLIN, 0};
    ::poll(&p, 1, 20);
    morvanta::Session::dispatch();
  }
  return true;
}

// A future's result, dispatching while it waits.
template <class T>
morvanta::Result<T> Pump(std::future<morvanta::Result<T>> f) {
  bool ready = DispatchUntil([&] { return f.wait_for(0ms) == std::future_status::ready; });
  EXPECT_TRUE(ready);
  return ready ? f.get() : morvanta::detail::failure<T>(424242, "not dispatched in time");
}

// One member whose microphone goes off and on three times.
const char* kToggles = R"({"meeting": {"memberCount": 1, "joinStepMs": 30, "script": [
  {"atMs": 100, "member": 0, "action": "muteAudio"}, {"atMs": 150, "member": 0, "action": "unmuteAudio"},
  {"atMs": 200, "member": 0, "action": "muteAudio"}, {"atMs": 250, "member": 0, "action": "unmuteAudio"},
  {"atMs": 300, "member": 0, "action": "muteAudio"}, {"atMs": 350, "member": 0, "action": "unmuteAudio"}]}})";

class HostDispatch : public ::testing::Test {
 protected:
  Scenario scenario{kToggles};
  void SetUp() override {
    morvanta::SessionOptions options = SandboxOptions();
    options.dispatchMode = morvanta::DispatchMode::Host;
    session = StartSession(options);
    ASSERT_TRUE(session.valid());
  }
  void TearDown() override {
    if (session.valid()) {
      EXPECT_EQ(session.close(), 0);
    }
    EXPECT_EQ(morvanta::Session::setDispatchMode(morvanta::DispatchMode::Worker), 0);
  }
  morvanta::Session session;
};

}  // namespace

TEST_F(HostDispatch, CompletionsAndFuturesWaitForTheHostThread) {
  EXPECT_EQ(morvanta::Session::dispatchMode(), morvanta::DispatchMode::Host);
  ASSERT_GE(morvanta::Session::dispatchFd(), 0);
  EXPECT_EQ(morvanta::Session::setDispatchMode(morvanta::DispatchMode::Worker), -3);  // not while live

  auto audio = session.audio();
  Answer<uint32_t> volume;
  audio.getSpeakerVolume(volume.callback());
  auto microphone = audio.getMicrophoneVolume();
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(volume.calls(), 0);
  EXPECT_EQ(microphone.wait_for(0ms), std::future_status::timeout);

  ASSERT_TRUE(DispatchUntil([&] { return volume.calls() == 1; }));
  ExpectRows(ROW(volume.thread()), std::this_thread::get_id(), ROW(volume.wait(0ms).value), std::optional<uint32_t>(80),
             ROW(Pump(std::move(microphone)).value), std::optional<uint32_t>(60));

  // A refusal does not wait for the host.
  morvanta::AudioManager none;
  Answer<uint32_t> refused;
  none.getSpeakerVolume(refused.callback());
  ExpectRows(ROW(refused.calls()), 1, ROW(refused.wait(0ms).code), -1);
}

TEST_F(HostDispatch, ListenersRunOnTheHostThreadAndMayEndTheirSubscriptionInside) {
  ASSERT_EQ(Pump(session.account().loginByPassword({"alice", "alice-password"})).code, 0);
  auto meeting = session.meeting();

  struct Counter : morvanta::MeetingListener {
    std::atomic<int> changes{0};
    std::atomic<int> elsewhere{0};
    std::thread::id host = std::this_thread::get_id();
    morvanta::Subscription* self = nullptr;
    void onMemberAudioMuteChanged(const std::string&, bool) override {
      ++changes;
      if (std::this_thread::get_id() != host) ++elsewhere;
      if (self) self->reset();
    }
  } keeper, once;
  morvanta::Subscription keep = meeting.addMeetingListener(keeper);
  morvanta::Subscription single = meeting.addMeetingListener(once);
  once.self = &single;

  morvanta::MeetingCreateOptions create;
  create.subject = "Dispatched";
  ASSERT_EQ(Pump(meeting.createMeeting(create)).code, 0);
  ASSERT_TRUE(DispatchUntil([&] { return keeper.changes >= 6; }));
  ExpectRows(ROW(once.changes.load()), 1, ROW(single.active()), false, ROW(keeper.elsewhere.load()), 0,
             ROW(once.elsewhere.load()), 0);

  // Nothing runs without dispatching.
  auto leave = meeting.leaveMeeting(true);
  EXPECT_EQ(leave.wait_for(300ms), std::future_status::timeout);
  EXPECT_EQ(Pump(std::move(leave)).code, 0);
}
