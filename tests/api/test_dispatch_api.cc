// Host dispatch through the public interface: the mode's choice, the
// descriptor, where and when operation callbacks of every family run, what
// a dispatched callback may do, and two threads dispatching at once.
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/row_checks.h"
#include "support/dispatch_harness.h"

using namespace morvanta_test;
using test_rows::ExpectSteps;

namespace {

using Clock = std::chrono::steady_clock;

void Tell(void* ud, const std::string& kind, int code, const std::string& rest) {
  static_cast<Witness*>(ud)->Saw(kind + ":" + std::to_string(code) + rest);
}
void OnPlain(int code, const char* message, void* ud) { Tell(ud, "plain", code, ":" + test_rows::Str(message)); }
void OnAccount(int code, const char*, MorvantaAccountInfo* info, void* ud) {
  Tell(ud, "record", code, info ? ":info" : ":null");
  Morvanta_FreeAccountInfo(info);
}
void OnString(int code, const char*, char* value, void* ud) {
  Tell(ud, "string", code, ":" + test_rows::Str(value));
  Morvanta_FreeString(value);
}
void OnInteger(int code, const char*, uint32_t v, void* ud) { Tell(ud, "integer", code, ":" + std::to_string(v)); }
void OnDevices(int code, const char*, MorvantaDeviceInfo* devices, uint32_t count, void* ud) {
  Tell(ud, "list", code, ":" + std::to_string(count) + ":" + (count ? devices[0].device_id : ""));
  Morvanta_FreeDeviceList(devices, count);
}
void OnSent(int code, const char*, MorvantaChatMessage* sent, void* ud) {
  Tell(ud, "sent", code, sent ? ":message" : ":null");
  Morvanta_FreeChatMessage(sent);
}
void OnAccounts(int code, const char*, MorvantaSearchAccountInfo* accounts, int32_t count, void* ud) {
  Tell(ud, "accounts", code, ":" + std::to_string(count));
  Morvanta_FreeAccountList(accounts, count);
}

// Waits (without dispatching) until the descriptor is readable.
bool WaitReadable(int fd, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
  pollfd p{fd, POLLIN, 0};
  return ::poll(&p, 1, static_cast<int>(limit.count())) == 1;
}

}  // namespace

TEST(DispatchMode, TheChoiceHoldsFromTheNextSessionAndTheDescriptorForTheProcess) {
  ExpectSteps({STEP(Morvanta_GetDispatchMode(), MORVANTA_DISPATCH_WORKER), STEP(Morvanta_GetDispatchFd(), -1),
               STEP(Morvanta_Dispatch(0), -1), STEP(Morvanta_SetDispatchMode(7), -1),
               STEP(Morvanta_SetDispatchMode(-1), -1), STEP(Morvanta_GetDispatchMode(), MORVANTA_DISPATCH_WORKER)});

  // Chosen before the first session: the descriptor is there at once, for a
  // watch the host registers before it initialises.
  ASSERT_EQ(Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST), 0);
  EXPECT_EQ(Morvanta_GetDispatchMode(), MORVANTA_DISPATCH_HOST);
  const int fd = Morvanta_GetDispatchFd();
  ASSERT_GE(fd, 0);
  EXPECT_FALSE(Readable(fd));
  EXPECT_EQ(Morvanta_Dispatch(0), 0);

  // Then a host session, a worker one (no descriptor, no dispatch) and a
  // host one again (the very same descriptor); no choice while one is live.
  MorvantaInitConfig config = SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  const struct {
    const char* name;
    int mode, other, fd;
  } sessions[] = {{"host", MORVANTA_DISPATCH_HOST, MORVANTA_DISPATCH_WORKER, fd},
                  {"worker", MORVANTA_DISPATCH_WORKER, MORVANTA_DISPATCH_HOST, -1},
                  {"host again", MORVANTA_DISPATCH_HOST, MORVANTA_DISPATCH_WORKER, fd}};
  for (const auto& row : sessions) {
    SCOPED_TRACE(row.name);
    ASSERT_EQ(Morvanta_SetDispatchMode(row.mode), 0);
    ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
    ExpectSteps({STEP(Morvanta_SetDispatchMode(row.other), -3), STEP(Morvanta_SetDispatchMode(9), -3),
                 STEP(Morvanta_GetDispatchMode(), row.mode), STEP(Morvanta_GetDispatchFd(), row.fd),
                 STEP(Morvanta_Dispatch(0) >= 0, row.mode == MORVANTA_DISPATCH_HOST)});
    ASSERT_EQ(Morvanta_Uninitialize(), 0);
  }
  Morvanta_SetDispatchMode(MORVANTA_DISPATCH_WORKER);
}

using HostDispatch = HostDispatchLibrary;

TEST_F(HostDispatch, EveryResultFamilyRunsOnTheDispatchingThreadOnlyInsideADispatch) {
  Witness w;
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  MorvantaChatroomManager_T* chat = Morvanta_GetChatroomManager(sdk);
  MorvantaInviteManager_T* invite = Morvanta_GetInviteManager(sdk);
  MorvantaChatroomTextMessageOptions text{nullptr, "hello", -1, nullptr, 0};
  MorvantaChatMessage message{};
  ASSERT_EQ(Morvanta_Account_UpdateNickname(account, "Ann", OnPlain, &w), 0);
  ASSERT_EQ(Morvanta_Account_GetAccountInfo(account, OnAccount, &w), 0);
  ASSERT_EQ(Morvanta_Audio_GetSpeakerDeviceId(audio, OnString, &w), 0);
  ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnInteger, &w), 0);
  ASSERT_EQ(Morvanta_Audio_GetSpeakerDeviceList(audio, OnDevices, &w), 0);
  ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(chat, &text, OnSent, &w), 0);
  ASSERT_EQ(Morvanta_Chatroom_RecallMessage(chat, &message, OnPlain, &w), 0);
  ASSERT_EQ(Morvanta_Invite_SearchAccountByPhone(invite, "13800000002", OnAccounts, &w), 0);

  // The worker answers all of them, but nothing runs until the host asks.
  ASSERT_TRUE(WaitReadable(fd));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(w.Count(), 0u);
  ASSERT_TRUE(DispatchUntil([&] { return w.Count() >= 8; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(DispatchNow(), 0);
  EXPECT_FALSE(Readable(fd));

  const std::vector<std::string> calls = w.Calls();
  ASSERT_EQ(calls.size(), 8u);
  EXPECT_EQ(w.off_thread, 0);
  EXPECT_EQ(w.outside_dispatch, 0);
  // The payloads, built at dispatch time, are those of worker dispatch (in
  // the concurrent bridge mode the order may follow settlement).
  std::vector<std::string> sorted = calls;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (std::vector<std::string>{"accounts:0:0", "integer:0:80", "list:0:3:spk-builtin",
                                              "plain:0:Success", "plain:1010:not logged in", "record:1010:null",
                                              "sent:1100:null", "string:0:spk-builtin"}));
  Morvanta_DestroyAccountManagerHandle(account);
  Morvanta_DestroyAudioManagerHandle(audio);
  Morvanta_DestroyChatroomManagerHandle(chat);
  Morvanta_DestroyInviteManagerHandle(invite);
}

TEST_F(HostDispatch, AFailureFoundBeforeAnyWorkStillWaitsForTheDispatch) {
  Witness w;
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);
  // The handle outlived the session: the manager answers at once that the
  // bridge is gone, which worker dispatch reports inside the call.
  ASSERT_EQ(Morvanta_Account_UpdateNickname(account, "Ann", OnPlain, &w), 0);
  ExpectSteps({STEP(w.Count(), 0), STEP(Readable(fd), true), STEP(DispatchNow(), 1), STEP(w.outside_dispatch, 0),
               STEP(Readable(fd), false)});
  EXPECT_EQ(w.Calls(), std::vector<std::string>{"plain:-1:Bridge not initialized"});
  Morvanta_DestroyAccountManagerHandle(account);
}

TEST_F(HostDispatch, TheDescriptorIsReadableExactlyWhileCallsWait) {
  Witness w;
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  EXPECT_FALSE(Readable(fd));
  for (int i = 0; i < 3; ++i) ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnInteger, &w), 0);
  ASSERT_TRUE(WaitReadable(fd));
  // All three answered (the worker takes them in order).
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  ExpectSteps({STEP(DispatchNow(1), 1), STEP(Readable(fd), true), STEP(DispatchNow(1), 1), STEP(Readable(fd), true),
               STEP(DispatchNow(5), 1), STEP(Readable(fd), false), STEP(DispatchNow(0), 0), STEP(Readable(fd), false),
               STEP(w.Count(), 3)});
  Morvanta_DestroyAudioManagerHandle(audio);
}

namespace {

// A callback that starts another call and waits until its answer is queued
// too, then tries to dispatch from inside and asks a synchronous query.
struct Reentrant {
  MorvantaAudioManager_T* audio = nullptr;
  MorvantaMeetingManager_T* meeting = nullptr;
  Witness witness;
  int32_t nested = 99;
  double query_seconds = -1;
  int32_t query_rc = 0;
  int fd = -1;
};

void OnFirst(int, const char*, uint32_t, void* ud) {
  auto* r = static_cast<Reentrant*>(ud);
  r->witness.Saw("first");
  Morvanta_Audio_GetSpeakerVolume(r->audio, [](int, const char*, uint32_t, void* u) {
    static_cast<Reentrant*>(u)->witness.Saw("second");
  }, r);
  pollfd p{r->fd, POLLIN, 0};
  ::poll(&p, 1, 5000);  // the second answer is queued now
  r->nested = Morvanta_Dispatch(0);
  const auto start = Clock::now();
  MorvantaMeetingSDKInfo* info = nullptr;
  r->query_rc = Morvanta_Meeting_GetMeetingInfo(r->meeting, &info);
  r->query_seconds = std::chrono::duration<double>(Clock::now() - start).count();
  Morvanta_FreeMeetingInfo(info);
}

}  // namespace

TEST_F(HostDispatch, ADispatchedCallbackMayQueryButNotDispatchAndLaterArrivalsWait) {
  Reentrant r;
  r.audio = Morvanta_GetAudioManager(sdk);
  r.meeting = Morvanta_GetMeetingManager(sdk);
  r.fd = fd;
  ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(r.audio, OnFirst, &r), 0);
  ASSERT_TRUE(WaitReadable(fd));
  // Only what waited when the dispatch began runs: the second answer, queued
  // during the first callback, waits for the next dispatch.
  // Not in a meeting: the query has the SDK's answer, not the 10 s limit of
  // a held worker.
  ExpectSteps({STEP(DispatchNow(), 1), STEP(r.nested, -1), STEP(r.query_rc, -999), STEP(r.query_seconds < 5.0, true),
               STEP(Readable(fd), true), STEP(DispatchNow(), 1)});
  EXPECT_EQ(r.witness.Calls(), (std::vector<std::string>{"first", "second"}));
  Morvanta_DestroyAudioManagerHandle(r.audio);
  Morvanta_DestroyMeetingManagerHandle(r.meeting);
}

namespace {

struct Ender {
  MorvantaAudioManager_T* audio = nullptr;
  int32_t rc = 99;
  int calls = 0;
};

}  // namespace

TEST_F(HostDispatch, UninitializeFromInsideADispatchedCallbackEndsTheSession) {
  Ender e;
  e.audio = Morvanta_GetAudioManager(sdk);
  ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(e.audio, [](int, const char*, uint32_t, void* ud) {
    auto* en = static_cast<Ender*>(ud);
    ++en->calls;
    en->rc = Morvanta_Uninitialize();
  }, &e), 0);
  ASSERT_TRUE(DispatchUntil([&] { return e.calls > 0; }));
  EXPECT_EQ(e.rc, 0);
  EXPECT_EQ(Morvanta_IsInitialized(), 0);
  Morvanta_DestroyAudioManagerHandle(e.audio);

  // A new session works as before, with the same descriptor.
  MorvantaInitConfig config = SandboxConfig();
  ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
  EXPECT_EQ(Morvanta_GetDispatchFd(), fd);
  Witness w;
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnInteger, &w), 0);
  ASSERT_TRUE(DispatchUntil([&] { return w.Count() == 1; }));
  EXPECT_EQ(w.Calls()[0], "integer:0:80");
  Morvanta_DestroyAudioManagerHandle(audio);
}

namespace {

struct Overlap {
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  std::vector<std::atomic<int>> seen;
  explicit Overlap(size_t n) : seen(n) {}
};
struct Tag {
  Overlap* overlap;
  size_t index;
};

void OnTagged(int, const char*, uint32_t, void* ud) {
  auto* t = static_cast<Tag*>(ud);
  if (t->overlap->inside.fetch_add(1) != 0) ++t->overlap->overlaps;
  std::this_thread::sleep_for(std::chrono::microseconds(200));
  ++t->overlap->seen[t->index];
  t->overlap->inside.fetch_sub(1);
}

}  // namespace

TEST_F(HostDispatch, TwoDispatchingThreadsNeverRunCallsAtTheSameTime) {
  constexpr size_t kCalls = 300;
  Overlap o(kCalls);
  std::vector<Tag> tags;
  for (size_t i = 0; i < kCalls; ++i) tags.push_back({&o, i});
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  auto total = [&] {
    int n = 0;
    for (auto& s : o.seen) n += s.load();
    return n;
  };
  std::atomic<bool> stop{false};
  auto loop = [&] {
    while (!stop) {
      pollfd p{fd, POLLIN, 0};
      ::poll(&p, 1, 5);
      Morvanta_Dispatch(3);  // small batches, so the two threads interleave
    }
  };
  std::thread a(loop), b(loop);
  for (size_t i = 0; i < kCalls; ++i) ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnTagged, &tags[i]), 0);
  const auto until = Clock::now() + std::chrono::seconds(30);
  while (total() < static_cast<int>(kCalls) && Clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  stop = true;
  a.join();
  b.join();
  EXPECT_EQ(o.overlaps.load(), 0);
  for (size_t i = 0; i < kCalls; ++i) EXPECT_EQ(o.seen[i].load(), 1) << "call " << i;
  Morvanta_DestroyAudioManagerHandle(audio);
}

TEST(DispatchSessions, AHostSessionThenAWorkerSessionInOneProcess) {
  MorvantaInitConfig config = SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  for (const int mode : {MORVANTA_DISPATCH_HOST, MORVANTA_DISPATCH_WORKER}) {
    const bool host = mode == MORVANTA_DISPATCH_HOST;
    SCOPED_TRACE(host ? "host session" : "worker session");
    ASSERT_EQ(Morvanta_SetDispatchMode(mode), 0);
    ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
    Witness w;
    MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
    ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnInteger, &w), 0);
    // In worker dispatch the callback comes on its own, on the worker.
    const auto until = Clock::now() + std::chrono::seconds(20);
    if (host) ASSERT_TRUE(DispatchUntil([&] { return w.Count() == 1; }));
    while (w.Count() == 0 && Clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(w.Calls(), std::vector<std::string>{"integer:0:80"});
    ExpectSteps({STEP(w.off_thread, host ? 0 : 1), STEP(Morvanta_Dispatch(0), host ? 0 : -1),
                 STEP(Morvanta_GetDispatchFd() >= 0, host)});
    Morvanta_DestroyAudioManagerHandle(audio);
    ASSERT_EQ(Morvanta_Uninitialize(), 0);
  }
}
