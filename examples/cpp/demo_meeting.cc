// The console demo's meeting scene, written against morvanta.hpp: listen to
// a meeting, create it, watch members arrive and talk, read the meeting and
// its members, mute someone, chat, then leave. The library's own lines go to
// morvanta-cpp-demo.log.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>

#include "morvanta.hpp"

using namespace std::chrono;

namespace {

const steady_clock::time_point start = steady_clock::now();
std::mutex out;  // listeners print from the library's thread

template <class... A>
void line(const char* what, const char* format, A... args) {
  std::lock_guard<std::mutex> lock(out);
  std::printf("  %-36s ", what);
  std::printf(format, args...);
  std::printf("\n");
}

template <class... A>
void event(const char* format, A... args) {
  std::lock_guard<std::mutex> lock(out);
  std::printf("    [%5.1fs] ", duration<double>(steady_clock::now() - start).count());
  std::printf(format, args...);
  std::printf("\n");
}

template <class T>
bool show(const char* what, const morvanta::Result<T>& r) {
  if (r.ok()) line(what, "ok");
  else line(what, "refused: code %d, \"%s\"", r.code, r.message.c_str());
  return r.ok();
}

// Listeners run on the library's worker thread; override what you need.
struct Meeting : morvanta::MeetingListener {
  void onMemberJoinMeeting(const morvanta::Member& m) override { event("%s joined", m.name.c_str()); }
  void onMemberLeaveMeeting(const morvanta::Member& m) override { event("%s left", m.name.c_str()); }
  void onMemberAudioMuteChanged(const std::string& uuid, bool mute) override {
    event("member %s %s", uuid.c_str(), mute ? "muted" : "unmuted");
  }
  void onMemberScreenShareStateChanged(const morvanta::Member& m, bool sharing,
                                       const std::optional<morvanta::Member>&) override {
    event("%s %s sharing the screen", m.name.c_str(), sharing ? "started" : "stopped");
  }
  void onReceiveChatroomMessages(const std::vector<morvanta::ChatMessage>& messages) override {
    for (const auto& c : messages) {
      const std::string& who = !c.fromNick.empty() ? c.fromNick : c.fromUserUuid;
      if (c.file && !c.file->name.empty())
        event("chat from %s: file %s (%llu bytes)", who.c_str(), c.file->name.c_str(),
              static_cast<unsigned long long>(c.file->size));
      else
        event("chat from %s: %s", who.c_str(), c.text.c_str());
    }
  }
  void onRoomEnded(const std::string& reason, const std::string&) override {
    event("the room ended: %s", reason.c_str());
  }
};

struct Engine : morvanta::GlobalEventListener {
  void afterRtcEngineInitialize(const std::string& room) override { event("media engine ready for %s", room.c_str()); }
  void beforeRtcEngineRelease(const std::string& room) override {
    event("media engine released for %s", room.c_str());
  }
};

struct Stats : morvanta::RtcStatsListener {
  bool shown = false;  // one line for the first round only
  void onRtcStats(const morvanta::RtcStats& s) override {
    if (std::exchange(shown, true)) return;
    event("statistics: %lld s in the meeting, %d bytes sent, %d bytes received", static_cast<long long>(s.duration),
          s.txBytes, s.rxBytes);
  }
};

int meetingScene(const morvanta::Session& session) {
  auto meeting = session.meeting();
  auto members = session.member();
  std::printf("\nMeeting\n");

  auto mics = session.audio().getMicrophoneDeviceList().get();
  if (!mics.value) line("microphones", "could not be listed");
  for (size_t i = 0; mics.value && i < mics.value->size(); ++i)
    line(i == 0 ? "microphones" : "", "%s (%s)", (*mics.value)[i].deviceName.c_str(), (*mics.value)[i].deviceId.c_str());

  Engine engine;
  Stats stats;
  Meeting listener;
  auto globalSub = session.addGlobalEventListener(engine);
  line("global listener", globalSub ? "added" : "refused");
  auto statsSub = meeting.addRtcStatsListener(stats);
  line("statistics listener", statsSub ? "added" : "refused");
  auto meetingSub = meeting.addMeetingListener(listener);
  line("meeting listener", meetingSub ? "added" : "refused");

  morvanta::MeetingCreateOptions create;
  create.subject = "Demo planning";
  create.nickname = "Alice";
  if (!show("create a meeting", meeting.createMeeting(create).get())) return 1;

  if (auto info = meeting.getMeetingInfo().get(); info.value)
    line("meeting information", "number %s, \"%s\", host %s, I am %s (%s)", info.value->meetingNum.c_str(),
         info.value->subject.c_str(), info.value->hostName.c_str(), info.value->name.c_str(),
         info.value->role == morvanta::Role::Host ? "host" : "member");
  else
    line("meeting information", "unavailable (code %d)", info.code);

  std::this_thread::sleep_for(1200ms);  // the first members arrive
  auto list = members.getMemberList().get().value.value_or(std::vector<morvanta::Member>{});
  for (size_t i = 0; i < list.size(); ++i)
    line(i == 0 ? "members" : "", "%s (%s), audio %s, video %s", list[i].name.c_str(), list[i].uuid.c_str(),
         list[i].isAudioOn ? "on" : "off", list[i].isVideoOn ? "on" : "off");
  if (list.size() > 1) show("mute a member", members.muteMemberAudio(list[1].uuid).get());

  morvanta::ChatroomTextMessageOptions text;
  text.text = "Welcome, everyone!";
  auto sent = session.chatroom().sendTextMessage(text).get();
  if (sent.value) line("send a chat message", "sent as %s", sent.value->messageUuid.c_str());
  else line("send a chat message", "refused: code %d, \"%s\"", sent.code, sent.message.c_str());

  std::this_thread::sleep_for(6500ms);  // the meeting goes on: chat, a screen share, a file
  show("leave (and end) the meeting", meeting.leaveMeeting(true).get());
  std::this_thread::sleep_for(300ms);  // the last events drain
  return 0;
}  // subscriptions, then managers, go here

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  auto log = std::make_shared<std::ofstream>("morvanta-cpp-demo.log");
  morvanta::SessionOptions options;
  options.appKey = "demo-app-key-0001";
  options.logPath = "/tmp";
  options.logHandler = [log](morvanta::LogLevel, std::string_view text) { *log << text << '\n'; };
  std::printf("morvanta %s C++ demo (the library's own log: morvanta-cpp-demo.log)\n",
              morvanta::Session::version().c_str());

  auto created = morvanta::Session::create(options);
  line("initialize", "%s (code %d)", created ? "ok" : "failed", created.code);
  if (!created) return 1;
  morvanta::Session& session = *created.value;
  show("log in", session.account().loginByPassword({"alice", "alice-password"}).get());
  int failures = meetingScene(session);
  line("uninitialize", "%s", session.close() == 0 ? "ok" : "failed");
  std::printf("\ndone%s.\n", failures ? " (the scene could not run)" : "");
  return failures;
}
