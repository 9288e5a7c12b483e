// Host dispatch of listener calls: the meeting channel's calls wait for the
// host's dispatch and run on its thread; a removed record's queued calls are
// dropped, and only its own; a listener may add and remove listeners of its
// own channel, and Morvanta_Uninitialize drops what listeners had queued but
// keeps the operation callbacks.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "capi/callback_slot.h"
#include "capi/channel_events_harness.h"
#include "support/row_checks.h"
#include "support/dispatch_harness.h"

using namespace morvanta_test;
using test_rows::ExpectRows;
using test_rows::ExpectSteps;

namespace {

// Fires meeting events through the JavaScript listener the library installed.
void Fire(const std::string& statements) { FireOn("__morvantaMeetingListenerRef", statements); }

bool MeetingRegistered() { return WaitRegistered("__morvantaMeetingListenerRegistered"); }

// A meeting listener that tells the witness every call, with its record's
// name first.
struct Named {
  std::string name;
  Witness* witness;
};

void Say(void* ud, const std::string& what) {
  auto* n = static_cast<Named*>(ud);
  n->witness->Saw(n->name + " " + what);
}
void Tell(void* ud, const std::string& what) { static_cast<Witness*>(ud)->Saw(what); }

// Each item's part followed by a comma.
template <class T, class F>
std::string Join(const T* items, uint32_t count, F part) {
  std::string s;
  for (uint32_t i = 0; i < count; ++i) s += part(items[i]) + ",";
  return s;
}
std::string Uuids(const MorvantaMember* ms, uint32_t count) {
  return Join(ms, count, [](const MorvantaMember& m) { return std::string(m.uuid); });
}
std::string Flag(bool on) { return on ? ":1" : ":0"; }
std::string By(const MorvantaMember* m) { return m ? m->uuid : "none"; }

MorvantaMeetingListener ListenerFor(Named* n) {
  MorvantaMeetingListener l{};
  l.onMemberJoinMeeting = [](const MorvantaMember* m, void* ud) {
    Say(ud, std::string("join:") + m->uuid + "/" + m->name);
  };
  l.onMemberAudioMuteChanged = [](const char* u, bool on, void* ud) { Say(ud, std::string("audio:") + u + Flag(on)); };
  l.onRoomEnded = [](const char* why, const char* x, void* ud) { Say(ud, "ended:" + std::string(why) + "/" + x); };
  l.onMemberJoinChatroom = [](const MorvantaMember* ms, uint32_t n, void* ud) { Say(ud, "chatroom:" + Uuids(ms, n)); };
  l.onMemberScreenShareStateChanged = [](const MorvantaMember* m, bool sharing, const MorvantaMember* by, void* ud) {
    Say(ud, "share:" + std::string(m->uuid) + Flag(sharing) + ":" + By(by));
  };
  l.onReceiveChatroomMessages = [](const MorvantaChatMessage* ms, uint32_t count, void* ud) {
    Say(ud, "chat:" + Join(ms, count, [](const MorvantaChatMessage& m) { return test_rows::Str(m.text); }));
  };
  l.onMemberChatBanStateChanged = [](const MorvantaMember* m, bool banned, int32_t duration, const char* ext,
                                     const MorvantaMember* by, void* ud) {
    Say(ud, "ban:" + std::string(m->uuid) + Flag(banned) + ":" + std::to_string(duration) + ":" + ext + ":" + By(by));
  };
  l.user_data = n;
  return l;
}

class HostDispatchChannels : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST), 0);
    MorvantaInitConfig c = SandboxConfig();
    ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
    meeting = Morvanta_GetMeetingManager(sdk);
    ASSERT_NE(meeting, nullptr);
    fd = Morvanta_GetDispatchFd();
    ASSERT_GE(fd, 0);
  }
  void TearDown() override {
    Morvanta_DestroyMeetingManagerHandle(meeting);
    if (Morvanta_IsInitialized()) EXPECT_EQ(Morvanta_Uninitialize(), 0);
    Morvanta_Dispatch(0);
    Morvanta_SetDispatchMode(MORVANTA_DISPATCH_WORKER);
  }
  // Waits until the descriptor is readable and then a little longer, so
  // that a batch of events fired together has been queued whole.
  void WaitQueued() {
    pollfd p{fd, POLLIN, 0};
    ASSERT_EQ(::poll(&p, 1, 10000), 1);
    DrainWorker();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  // Adds the records, then fires `statements` and waits until they are queued.
  void ListenAndFire(std::initializer_list<const MorvantaMeetingListener*> records, const std::string& statements) {
    for (const MorvantaMeetingListener* l : records) ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, l), 0);
    ASSERT_TRUE(MeetingRegistered());
    Fire(statements);
    WaitQueued();
  }
  MorvantaSDK_T* sdk = nullptr;
  MorvantaMeetingManager_T* meeting = nullptr;
  int fd = -1;
};

const char kEveryKind[] =
    "L.onMemberJoinRoom([{uuid: 'u1', name: 'Ann'}, {uuid: 'u2', name: 'Bo'}]);"
    "L.onMemberAudioMuteChanged({uuid: 'u1'}, true, null);"
    "L.onMemberJoinChatroom([{uuid: 'u1'}, {uuid: 'u2'}]);"
    "L.onMemberScreenShareStateChanged({uuid: 'u2'}, true, {uuid: 'u1'});"
    "L.onReceiveChatroomMessages([{messageUuid: 'm1', text: 'hi'}, {messageUuid: 'm2', text: 'yo'}]);"
    "L.onMemberChatBanStateChanged({uuid: 'u2'}, true, 60, 'spam', {uuid: 'u1'});"
    "L.onRoomEnded('CLOSE_BY_MEMBER', '');";

// `count` microphone changes of members u0, u1, ...
std::string Mutes(int count) {
  return "for (var i = 0; i < " + std::to_string(count) +
         "; i++) L.onMemberAudioMuteChanged({uuid: 'u' + i}, true, null);";
}

}  // namespace

TEST_F(HostDispatchChannels, MeetingListenerCallsWaitForTheDispatchAndCarryTheirValues) {
  Witness w;
  Named a{"a", &w};
  MorvantaMeetingListener l = ListenerFor(&a);
  ListenAndFire({&l}, kEveryKind);
  EXPECT_EQ(w.Count(), 0u);
  ASSERT_TRUE(DispatchUntil([&] { return w.Count() >= 8; }));
  EXPECT_EQ(w.Calls(), (std::vector<std::string>{
                           "a join:u1/Ann",
                           "a join:u2/Bo",
                           "a audio:u1:1",
                           "a chatroom:u1,u2,",
                           "a share:u2:1:u1",
                           "a chat:hi,yo,",
                           "a ban:u2:1:60:spam:u1",
                           "a ended:CLOSE_BY_MEMBER/",
                       }));
  ExpectRows(ROW(w.off_thread), 0, ROW(w.outside_dispatch), 0, ROW(Readable(fd)), false);
}

TEST_F(HostDispatchChannels, RemovingARecordDropsItsQueuedCallsAndOnlyItsOwn) {
  Witness w;
  Named a{"a", &w}, b{"b", &w};
  MorvantaMeetingListener la = ListenerFor(&a), lb = ListenerFor(&b);
  ListenAndFire({&la, &lb}, Mutes(5));
  ASSERT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &la), 0);
  ExpectSteps({STEP(Readable(fd), true), STEP(DispatchNow(), 5)});
  std::vector<std::string> expected;
  for (int i = 0; i < 5; ++i) expected.push_back("b audio:u" + std::to_string(i) + ":1");
  EXPECT_EQ(w.Calls(), expected);
  // Removing the last record drops the rest: nothing waits any more.
  Fire("L.onMemberAudioMuteChanged({uuid: 'late'}, false, null);");
  WaitQueued();
  ASSERT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &lb), 0);
  ExpectSteps({STEP(Readable(fd), false), STEP(DispatchNow(), 0), STEP(w.Count(), 5)});
}

namespace {

// Removes itself at its first call and adds `next` instead.
struct Handover {
  MorvantaMeetingManager_T* meeting = nullptr;
  MorvantaMeetingListener self{};
  MorvantaMeetingListener next{};
  Witness* witness = nullptr;
  int removed = 99, added = 99;
};

}  // namespace

TEST_F(HostDispatchChannels, AListenerMayRemoveItselfAndAddAnotherOfItsOwnChannel) {
  Witness w;
  Handover h;
  h.meeting = meeting;
  h.witness = &w;
  h.self.onMemberAudioMuteChanged = [](const char* uuid, bool, void* ud) {
    auto* h = static_cast<Handover*>(ud);
    h->witness->Saw(std::string("self:") + uuid);
    h->removed = Morvanta_Meeting_RemoveMeetingListener(h->meeting, &h->self);
    h->added = Morvanta_Meeting_AddMeetingListener(h->meeting, &h->next);
  };
  h.self.user_data = &h;
  h.next.onMemberAudioMuteChanged = [](const char* uuid, bool, void* ud) {
    static_cast<Handover*>(ud)->witness->Saw(std::string("next:") + uuid);
  };
  h.next.user_data = &h;
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &h.self), 0);
  ASSERT_TRUE(MeetingRegistered());
  Fire("L.onMemberAudioMuteChanged({uuid: 'one'}, true, null); L.onMemberAudioMuteChanged({uuid: 'two'}, true, null);");
  WaitQueued();
  // The first call removes its record: the second call queued for it is
  // dropped; the new record hears only later events.
  ExpectSteps({STEP(DispatchNow(), 1), STEP(h.removed, 0), STEP(h.added, 0), STEP(Readable(fd), false)});
  ASSERT_TRUE(MeetingRegistered());
  Fire("L.onMemberAudioMuteChanged({uuid: 'three'}, true, null);");
  ASSERT_TRUE(DispatchUntil([&] { return w.Count() >= 2; }));
  EXPECT_EQ(w.Calls(), (std::vector<std::string>{"self:one", "next:three"}));
  EXPECT_EQ(Morvanta_Meeting_RemoveMeetingListener(meeting, &h.next), 0);
}

TEST_F(HostDispatchChannels, UninitializeDropsQueuedListenerCallsButKeepsOperationCallbacks) {
  Witness w;
  Named a{"a", &w};
  MorvantaMeetingListener l = ListenerFor(&a);
  ListenAndFire({&l}, Mutes(20));
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, [](int code, const char*, uint32_t value, void* ud) {
    Tell(ud, "volume:" + std::to_string(code) + ":" + std::to_string(value));
  }, &w), 0);
  DrainWorker();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  ExpectSteps({STEP(Readable(fd), true), STEP(DispatchNow(), 1)});
  EXPECT_EQ(w.Calls(), (std::vector<std::string>{"volume:0:80"}));
  EXPECT_FALSE(Readable(fd));
  Morvanta_DestroyAudioManagerHandle(audio);
}

namespace {

void SeeRtc(const MorvantaRtcStats* s, void* ud) { Tell(ud, "rtc:" + std::to_string(s->tx_bytes)); }
void SeeRemoteAudio(const MorvantaRemoteAudioStats* s, uint32_t count, void* ud) {
  Tell(ud, "remote:" + Join(s, count, [](auto& r) { return r.user_uuid + ("=" + std::to_string(r.volume)); }));
}
void SeeCustom(const MorvantaCustomMessage* m, void* ud) {
  Tell(ud, std::string("custom:") + m->sender_uuid + ":" + m->data);
}
void SeeRecent(const MorvantaSessionRecentInfo* s, uint32_t count, void* ud) {
  Tell(ud, "recent:" + Join(s, count, [](auto& r) { return r.session_id + ("=" + std::to_string(r.unread_count)); }));
}
void SeeWaiting(const MorvantaWaitingRoomMember* m, int32_t reason, void* ud) {
  Tell(ud, std::string("waiting:") + m->uuid + "/" + m->name + "/" + std::to_string(reason));
}
void SeeManagers(const MorvantaMember* ms, uint32_t count, void* ud) { Tell(ud, "managers:" + Uuids(ms, count)); }
void SeeEngine(const char* room, void* ud) { Tell(ud, std::string("engine:") + room); }
void EmitEngine(const std::string& room) {
  SandboxEval("morVantaSandbox.emit({manager: 'global', channel: 'global', event: 'beforeRtcEngineInitialize',"
              " args: ['" + room + "']})");
}

}  // namespace

TEST_F(HostDispatchChannels, StatisticsMessagesWaitingRoomAndGlobalCallsWaitForTheDispatchToo) {
  Witness w;
  MorvantaRtcStatsListener rtc{};
  rtc.onRtcStats = SeeRtc;
  rtc.onRemoteAudioStats = SeeRemoteAudio;
  rtc.user_data = &w;
  MorvantaMessageChannelListener messages{};
  messages.onCustomMessageReceived = SeeCustom;
  messages.onSessionMessageRecentChanged = SeeRecent;
  messages.user_data = &w;
  MorvantaWaitingRoomListener waiting{};
  waiting.onMemberJoin = SeeWaiting;
  waiting.onManagersUpdated = SeeManagers;
  waiting.user_data = &w;
  MorvantaGlobalEventListener global{};
  global.before_rtc_engine_initialize = SeeEngine;
  global.user_data = &w;
  MorvantaWaitingRoomManager_T* room = Morvanta_GetWaitingRoomManager(sdk);
  ASSERT_EQ(Morvanta_Meeting_AddRtcStatsListener(meeting, &rtc), 0);
  ASSERT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, &messages), 0);
  ASSERT_EQ(Morvanta_WaitingRoom_AddListener(room, &waiting), 0);
  ASSERT_EQ(Morvanta_AddGlobalEventListener(&global), 0);
  for (const char* flag : {"__morvantaRtcStatsListenerRegistered", "__morvantaMessageChannelListenerRegistered",
                           "__morvantaWaitingRoomListenerRegistered", "__morvantaGlobalEventListenerRegistered"})
    ASSERT_TRUE(WaitRegistered(flag)) << flag;

  FireOn("__morvantaRtcStatsListenerRef",
         "L.onRtcStats({txBytes: 42}); L.onRemoteAudioStats([{userUuid: 'r1', volume: 3}, {userUuid: 'r2', volume: 4}]);");
  FireOn("__morvantaMessageChannelListenerRef",
         "L.onCustomMessageReceived({roomUuid: 'room', senderUuid: 's1', data: 'ping', timestamp: 1});"
         "L.onSessionMessageRecentChanged([{sessionId: 'a', sessionType: 0, unreadCount: 2}]);");
  FireOn("__morvantaWaitingRoomListenerRef",
         "L.onMemberJoin({uuid: 'w1', name: 'Wes', joinTime: 5, status: 1}, 0);"
         "L.onManagersUpdated([{uuid: 'h1'}, {uuid: 'h2'}]);");
  EmitEngine("room-9");
  WaitQueued();
  EXPECT_EQ(w.Count(), 0u);
  ASSERT_TRUE(DispatchUntil([&] { return w.Count() >= 7; }));
  std::vector<std::string> calls = w.Calls();
  std::sort(calls.begin(), calls.end());  // the channels drain on threads of their own
  EXPECT_EQ(calls, (std::vector<std::string>{"custom:s1:ping", "engine:room-9", "managers:h1,h2,", "recent:a=2,",
                                             "remote:r1=3,r2=4,", "rtc:42", "waiting:w1/Wes/0"}));
  ExpectRows(ROW(w.off_thread), 0, ROW(w.outside_dispatch), 0);

  // Removal drops queued calls on these channels as well.
  FireOn("__morvantaRtcStatsListenerRef", "L.onRtcStats({txBytes: 1});");
  EmitEngine("room-10");
  WaitQueued();
  ExpectSteps({STEP(Morvanta_Meeting_RemoveRtcStatsListener(meeting, &rtc), 0),
               STEP(Morvanta_RemoveGlobalEventListener(&global), 0), STEP(Readable(fd), false),
               STEP(DispatchNow(), 0), STEP(w.Count(), 7),
               STEP(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &messages), 0),
               STEP(Morvanta_WaitingRoom_RemoveListener(room, &waiting), 0)});
  Morvanta_DestroyWaitingRoomManagerHandle(room);
}

namespace {

// Numbered events of one channel: each number must come once, in order.
struct Sequence {
  std::mutex mutex;
  long next = 0;
  long wrong = 0;
  void See(long n) {
    std::lock_guard<std::mutex> lock(mutex);
    if (n != next) ++wrong;
    next = n + 1;
  }
};
struct Flood {
  Sequence meeting, messages;
  std::atomic<int> answers{0};
  std::atomic<int> answer_failures{0};
  std::thread::id host = std::this_thread::get_id();
  std::atomic<int> off_thread{0};
  void Check() {
    if (std::this_thread::get_id() != host) ++off_thread;
  }
  // Event number `n` of one channel.
  static void See(void* ud, Sequence Flood::*channel, const char* n) {
    auto* f = static_cast<Flood*>(ud);
    f->Check();
    (f->*channel).See(std::atol(n));
  }
};

}  // namespace

TEST_F(HostDispatchChannels, TenThousandEventsOnTwoChannelsAndCallsInFlightArriveOnceInOrder) {
  constexpr int kPerChannel = 5000;
  constexpr int kBatch = 250;
  constexpr int kCalls = 200;
  Flood f;
  MorvantaMeetingListener ml{};
  ml.onMemberAudioMuteChanged = [](const char* uuid, bool, void* ud) { Flood::See(ud, &Flood::meeting, uuid); };
  ml.user_data = &f;
  MorvantaMessageChannelListener cl{};
  cl.onCustomMessageReceived = [](const MorvantaCustomMessage* m, void* ud) {
    Flood::See(ud, &Flood::messages, m->data);
  };
  cl.user_data = &f;
  ASSERT_EQ(Morvanta_Meeting_AddMeetingListener(meeting, &ml), 0);
  ASSERT_EQ(Morvanta_Meeting_AddMessageChannelListener(meeting, &cl), 0);
  ASSERT_TRUE(MeetingRegistered());
  ASSERT_TRUE(WaitRegistered("__morvantaMessageChannelListenerRegistered"));
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);

  // Another thread makes the service busy; this one is the host's loop.
  std::thread service([&] {
    for (int start = 0; start < kPerChannel; start += kBatch) {
      const std::string range = "for (var i = " + std::to_string(start) + "; i < " + std::to_string(start + kBatch) +
                                "; i++) ";
      FireOn("__morvantaMeetingListenerRef", range + "L.onMemberAudioMuteChanged({uuid: String(i)}, true, null);");
      FireOn("__morvantaMessageChannelListenerRef",
             range + "L.onCustomMessageReceived({roomUuid: 'r', senderUuid: 's', data: String(i), timestamp: i});");
    }
  });
  for (int i = 0; i < kCalls; ++i)
    ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, [](int code, const char*, uint32_t value, void* ud) {
      auto* fl = static_cast<Flood*>(ud);
      fl->Check();
      if (code != 0 || value != 80) ++fl->answer_failures;
      ++fl->answers;
    }, &f), 0);
  auto done = [&] {
    std::lock_guard<std::mutex> a(f.meeting.mutex);
    std::lock_guard<std::mutex> b(f.messages.mutex);
    return f.meeting.next >= kPerChannel && f.messages.next >= kPerChannel && f.answers >= kCalls;
  };
  const bool all = DispatchUntil(done, std::chrono::seconds(90));
  service.join();
  ASSERT_TRUE(all) << f.meeting.next << " / " << f.messages.next << " / " << f.answers;
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(DispatchNow(), 0);  // nothing twice, nothing left over
  ExpectRows(ROW(f.meeting.next), kPerChannel, ROW(f.meeting.wrong), 0, ROW(f.messages.next), kPerChannel,
             ROW(f.messages.wrong), 0, ROW(f.answers.load()), kCalls, ROW(f.answer_failures.load()), 0,
             ROW(f.off_thread.load()), 0);
  ExpectSteps({STEP(Morvanta_Meeting_RemoveMeetingListener(meeting, &ml), 0),
               STEP(Morvanta_Meeting_RemoveMessageChannelListener(meeting, &cl), 0)});
  Morvanta_DestroyAudioManagerHandle(audio);
}

TEST_F(HostDispatchChannels, ConcurrentOnlyCallsPendingAtUninitializeAreAnsweredThroughTheQueue) {
  SandboxEval("(morVantaSandbox.override('audio.getSpeakerVolume', {fail: 'hang'}), true)");
  Witness w;
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, [](int code, const char* message, uint32_t, void* ud) {
      Tell(ud, std::to_string(code) + ":" + message);
    }, &w), 0);
  DrainWorker();
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  // Answered before Morvanta_Uninitialize returned, but run only now.
  ExpectSteps({STEP(w.Count(), 0), STEP(Readable(fd), true), STEP(DispatchNow(), 3), STEP(w.off_thread, 0)});
  EXPECT_EQ(w.Calls(), (std::vector<std::string>(3, "-1:Bridge shutting down")));
  Morvanta_DestroyAudioManagerHandle(audio);
}
