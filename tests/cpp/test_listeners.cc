// Listener classes and their subscriptions against a sandbox meeting: every
// channel hears its events with C++ arguments; a subscription removes its
// listener when destroyed, also from inside the listener's own call, and a
// listener whose subscription is gone is never called again.
#include <atomic>
#include <set>

#include "cpp_harness.h"
#include "support/row_checks.h"

using namespace cpp_test;
using test_rows::ExpectRows;

namespace {

// Members arrive 40 ms apart; statistics every 50 ms; a short script.
const char* kMeetingScenario = R"({"meeting": {
  "memberCount": 2, "joinStepMs": 40, "rtcStatsIntervalMs": 50, "autoAdmitMs": null,
  "script": [
    {"atMs": 150, "member": 0, "action": "chat", "text": "hello C++"},
    {"atMs": 200, "member": 1, "action": "muteAudio"},
    {"atMs": 250, "member": 1, "action": "startShare"},
    {"atMs": 300, "member": 0, "action": "customMessage", "data": "poll"},
    {"atMs": 350, "action": "sessionMessage", "sessionId": "s-1", "sessionType": 0, "data": "note"}
  ]}})";

class Listeners : public ::testing::Test {
 protected:
  void SetUp() override {
    session = StartSession();
    ASSERT_TRUE(session.valid());
    ASSERT_TRUE(LogIn(session));
    meeting = session.meeting();
  }
  Scenario scenario{kMeetingScenario};
  morvanta::Session session;
  morvanta::MeetingManager meeting;
};

struct MeetingEvents : morvanta::MeetingListener {
  Signal signal;
  std::vector<std::string> joined;
  std::vector<std::string> chat;
  std::vector<std::pair<std::string, bool>> audio;
  std::vector<std::pair<std::string, bool>> sharing;
  size_t chatroomJoins = 0;
  std::string ended;

  void onMemberJoinMeeting(const morvanta::Member& m) override {
    signal.update([&] { joined.push_back(m.name); });
  }
  void onReceiveChatroomMessages(const std::vector<morvanta::ChatMessage>& messages) override {
    signal.update([&] {
      for (const auto& m : messages) chat.push_back(m.fromNick + ": " + m.text);
    });
  }
  void onMemberAudioMuteChanged(const std::string& uuid, bool mute) override {
    signal.update([&] { audio.emplace_back(uuid, mute); });
  }
  void onMemberScreenShareStateChanged(const morvanta::Member& m, bool isSharing,
                                       const std::optional<morvanta::Member>&) override {
    signal.update([&] { sharing.emplace_back(m.name, isSharing); });
  }
  void onMemberJoinChatroom(const std::vector<morvanta::Member>& members) override {
    signal.update([&] { chatroomJoins += members.size(); });
  }
  void onRoomEnded(const std::string& reason, const std::string&) override {
    signal.update([&] { ended = reason.empty() ? "(empty)" : reason; });
  }
};

struct Engine : morvanta::GlobalEventListener {
  Signal signal;
  std::vector<std::string> seen;
  void afterRtcEngineInitialize(const std::string& room) override {
    signal.update([&] { seen.push_back("after " + room); });
  }
  void beforeRtcEngineRelease(const std::string& room) override {
    signal.update([&] { seen.push_back("release " + room); });
  }
};

// Counts statistics rounds; optional hooks run inside the call.
struct StatsCounter : morvanta::RtcStatsListener {
  std::atomic<int> rounds{0};
  std::function<void(int)> onRound;
  void onRtcStats(const morvanta::RtcStats&) override {
    int n = ++rounds;
    if (onRound) onRound(n);
  }
};

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = 10s) {
  auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

}  // namespace

TEST_F(Listeners, MeetingListenerHearsMembersChatMutesSharesAndTheEnd) {
  MeetingEvents events;
  morvanta::Subscription sub = meeting.addMeetingListener(events);
  ASSERT_TRUE(sub.active());
  EXPECT_EQ(sub.code(), 0);
  ASSERT_TRUE(CreateMeeting(meeting));
  ASSERT_TRUE(events.signal.waitFor([&] { return !events.sharing.empty() && !events.chat.empty(); }));
  {
    std::lock_guard<std::mutex> lock(events.signal.mutex());
    ASSERT_EQ(events.audio.size(), 1u);
    ExpectRows(ROW(events.joined), std::vector<std::string>{"Grace Hopper", "Alan Turing"}, ROW(events.chat),
               std::vector<std::string>{"Grace Hopper: hello C++"}, ROW(events.audio[0].second), true,
               ROW(events.audio[0].first.empty()), false, ROW(events.chatroomJoins), 2u, ROW(events.sharing),
               std::vector<std::pair<std::string, bool>>{{"Alan Turing", true}});
  }
  EXPECT_EQ(Get(meeting.leaveMeeting(true)).code, 0);
  EXPECT_TRUE(events.signal.waitFor([&] { return !events.ended.empty(); }));
}

TEST_F(Listeners, EveryGlobalListenerHearsTheEngineWhereTheCChannelServesOne) {
  Engine first, second;
  morvanta::Subscription a = session.addGlobalEventListener(first);
  morvanta::Subscription b = session.addGlobalEventListener(second);
  ASSERT_TRUE(a && b);
  // The service listener is attached after the add returns (as in C).
  std::this_thread::sleep_for(500ms);
  ASSERT_TRUE(CreateMeeting(meeting));
  for (Engine* e : {&first, &second}) EXPECT_TRUE(e->signal.waitFor([&] { return !e->seen.empty(); }));
  EXPECT_EQ(Get(meeting.leaveMeeting(true)).code, 0);
  for (Engine* e : {&first, &second}) EXPECT_TRUE(e->signal.waitFor([&] { return e->seen.size() == 2; }));
  std::string room = first.seen.empty() ? "" : first.seen[0].substr(std::string("after ").size());
  EXPECT_EQ(room.rfind("room-", 0), 0u) << room;
  std::vector<std::string> expected{"after " + room, "release " + room};
  for (Engine* e : {&first, &second}) {
    std::lock_guard<std::mutex> lock(e->signal.mutex());
    EXPECT_EQ(e->seen, expected) << (e == &first ? "first" : "second");
  }
}

TEST_F(Listeners, StatisticsAndMessageChannelsArriveAsValues) {
  struct Stats : morvanta::RtcStatsListener {
    Signal signal;
    int rounds = 0;
    std::set<std::string> remote;
    int quality = 0;
    void onRtcStats(const morvanta::RtcStats& s) override {
      signal.update([&] { rounds += s.duration >= 0 ? 1 : 0; });
    }
    void onRemoteAudioStats(const std::vector<morvanta::RemoteAudioStats>& v) override {
      signal.update([&] {
        for (const auto& r : v) remote.insert(r.userUuid);
      });
    }
    void onNetworkQuality(const std::vector<morvanta::NetworkQualityInfo>& v) override {
      signal.update([&] { quality += static_cast<int>(v.size()); });
    }
  } stats;
  struct Messages : morvanta::MessageChannelListener {
    Signal signal;
    std::vector<morvanta::CustomMessage> custom;
    std::vector<morvanta::SessionMessage> session;
    size_t recent = 0;
    void onCustomMessageReceived(const morvanta::CustomMessage& m) override {
      signal.update([&] { custom.push_back(m); });
    }
    void onSessionMessageReceived(const morvanta::SessionMessage& m) override {
      signal.update([&] { session.push_back(m); });
    }
    void onSessionMessageRecentChanged(const std::vector<morvanta::SessionRecentInfo>& v) override {
      signal.update([&] { recent += v.size(); });
    }
  } messages;
  morvanta::Subscription s1 = meeting.addRtcStatsListener(stats);
  morvanta::Subscription s2 = meeting.addMessageChannelListener(messages);
  ASSERT_TRUE(s1 && s2);
  ASSERT_TRUE(CreateMeeting(meeting));
  EXPECT_TRUE(stats.signal.waitFor([&] { return stats.rounds >= 3 && stats.remote.size() >= 2 && stats.quality > 0; }));
  ASSERT_TRUE(messages.signal.waitFor([&] { return !messages.custom.empty() && !messages.session.empty(); }));
  std::lock_guard<std::mutex> lock(messages.signal.mutex());
  const morvanta::CustomMessage& c = messages.custom[0];
  const morvanta::SessionMessage& m = messages.session[0];
  ExpectRows(ROW(c.data), "poll", ROW(c.senderUuid.empty()), false, ROW(c.roomUuid.rfind("room-", 0)), 0u,
             ROW(m.sessionId), "s-1", ROW(m.data), "note", ROW(m.sessionType), 0);
}

TEST_F(Listeners, WaitingRoomListenerHearsArrivalsAndAdmissions) {
  struct Room : morvanta::WaitingRoomListener {
    Signal signal;
    std::vector<morvanta::WaitingRoomMember> joined;
    std::vector<std::string> admitted;
    int infos = 0;
    int lastCount = -1;
    void onMemberJoin(const morvanta::WaitingRoomMember& m, int32_t) override {
      signal.update([&] { joined.push_back(m); });
    }
    void onMemberAdmitted(const std::string& uuid) override {
      signal.update([&] { admitted.push_back(uuid); });
    }
    void onInfoUpdated(const morvanta::WaitingRoomInfo& info) override {
      signal.update([&] {
        ++infos;
        lastCount = info.memberCount;
      });
    }
  } room;
  auto waitingRoom = session.waitingRoom();
  morvanta::Subscription sub = waitingRoom.addListener(room);
  ASSERT_TRUE(sub);
  ASSERT_TRUE(CreateMeeting(meeting, "Waiting", true));
  ASSERT_TRUE(room.signal.waitFor([&] { return room.joined.size() == 2; }));
  std::string first;
  {
    std::lock_guard<std::mutex> lock(room.signal.mutex());
    EXPECT_EQ(room.joined[0].name, "Grace Hopper");
    EXPECT_GT(room.joined[0].joinTime, 0);
    first = room.joined[0].uuid;
  }
  auto list = Get(waitingRoom.getMemberList(0, 0, 1));
  ASSERT_TRUE(list.value);
  EXPECT_EQ(list.value->size(), 2u);
  EXPECT_EQ(Get(waitingRoom.admitMember(first, false)).code, 0);
  EXPECT_TRUE(room.signal.waitFor([&] { return room.admitted.size() == 1 && room.lastCount == 1; }));
  std::lock_guard<std::mutex> lock(room.signal.mutex());
  EXPECT_EQ(room.admitted, std::vector<std::string>{first});
  EXPECT_GT(room.infos, 1);
}

TEST_F(Listeners, ASubscriptionEndsItsListenerWhereverItIsDestroyed) {
  StatsCounter keeper, outside, inside, subscriber, late;
  morvanta::Subscription keep = meeting.addRtcStatsListener(keeper);
  morvanta::Subscription subOutside = meeting.addRtcStatsListener(outside);
  // Destroyed inside its own first call (the C interface would block here).
  morvanta::Subscription subInside = meeting.addRtcStatsListener(inside);
  inside.onRound = [&](int) { subInside.reset(); };
  // Subscribes another listener of the same channel inside its first call.
  morvanta::Subscription subLate;
  morvanta::Subscription subSubscriber = meeting.addRtcStatsListener(subscriber);
  subscriber.onRound = [&](int n) {
    if (n == 1) subLate = meeting.addRtcStatsListener(late);
  };
  ASSERT_TRUE(CreateMeeting(meeting));

  ASSERT_TRUE(WaitUntil([&] { return outside.rounds >= 2 && late.rounds >= 2; }));
  subOutside.reset();
  EXPECT_FALSE(subOutside.active());
  int atReset = outside.rounds;
  int keeperAtReset = keeper.rounds;
  ASSERT_TRUE(WaitUntil([&] { return keeper.rounds >= keeperAtReset + 4; }));
  ExpectRows(ROW(outside.rounds.load()), atReset, ROW(inside.rounds.load()), 1, ROW(subInside.active()), false,
             ROW(late.rounds >= 4), true);
}

TEST_F(Listeners, DestroyingASubscriptionWaitsForItsListenerCallInProgress) {
  StatsCounter slow;
  std::atomic<bool> started{false}, finished{false};
  slow.onRound = [&](int n) {
    if (n != 1) return;
    started = true;
    std::this_thread::sleep_for(300ms);
    finished = true;
  };
  morvanta::Subscription sub = meeting.addRtcStatsListener(slow);
  ASSERT_TRUE(CreateMeeting(meeting));
  ASSERT_TRUE(WaitUntil([&] { return started.load(); }));
  sub.reset();
  EXPECT_TRUE(finished.load());  // the call in progress ended first
  int rounds = slow.rounds;
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(slow.rounds, rounds);
}

TEST_F(Listeners, SubscriptionsOutlivingTheirManagerOrMovedStaySafe) {
  StatsCounter counter, moved;
  morvanta::Subscription sub;
  morvanta::Subscription target;
  {
    auto stats = session.meeting();
    sub = stats.addRtcStatsListener(counter);
    morvanta::Subscription original = stats.addRtcStatsListener(moved);
    target = std::move(original);
    EXPECT_FALSE(original.active());
    ASSERT_TRUE(target.active());
    ASSERT_TRUE(CreateMeeting(meeting));
    ASSERT_TRUE(WaitUntil([&] { return counter.rounds >= 2 && moved.rounds >= 2; }));
  }  // the manager goes first: its listeners fall silent
  int rounds = counter.rounds, movedRounds = moved.rounds;
  std::this_thread::sleep_for(300ms);
  ExpectRows(ROW(counter.rounds.load()), rounds, ROW(moved.rounds.load()), movedRounds, ROW(sub.active()), true);
  sub.reset();
  target = morvanta::Subscription();

  // Adding to managers that cannot reach the library is refused.
  morvanta::MeetingManager none;
  morvanta::Subscription refused = none.addRtcStatsListener(counter);
  ExpectRows(ROW(refused.active()), false, ROW(refused.code()), -1);
  morvanta::Session notLive;
  Engine engine;
  EXPECT_EQ(notLive.addGlobalEventListener(engine).code(), -2);
}
