// Morvanta_Member_*: what each function refuses, what it asks of the SDK's
// member object, how the answer reaches the caller, and the synchronous
// member list with its 5 second limit.
#include <chrono>
#include <functional>
#include <iterator>

#include "capi/media_api_harness.h"
#include "support/sandbox_config.h"

using namespace morvanta_test;

namespace {

using MemberApi = FamilyApi<MorvantaMemberManager_T, Morvanta_GetMemberManager, Morvanta_DestroyMemberManagerHandle>;
using H = MorvantaMemberManager_T*;
using Cb = MorvantaCallback;

constexpr char kMember[] = "sim-member-02";

// The member list through the C interface, copied and released.
struct Listed {
  int result = 12345;
  bool null = true;
  uint32_t count = 99;
  std::vector<MorvantaMember> members;  // strings dangle: compare uuids via `uuids`
  std::vector<std::string> uuids;
};

Listed List(H handle) {
  Listed out;
  MorvantaMember* members = reinterpret_cast<MorvantaMember*>(0x1);  // must be overwritten
  uint32_t count = 77;
  out.result = Morvanta_Member_GetMemberList(handle, &members, &count);
  out.null = members == nullptr;
  out.count = count;
  for (uint32_t i = 0; members && i < count; ++i) {
    out.members.push_back(members[i]);
    out.uuids.emplace_back(members[i].uuid);
  }
  if (members) Morvanta_FreeMemberList(members, count);
  return out;
}

// A list that came back empty, as every failure of the list does.
void ExpectNoMembers(const Listed& listed) {
  EXPECT_EQ(listed.result, 0);
  EXPECT_TRUE(listed.null);
  EXPECT_EQ(listed.count, 0u);
}

const MorvantaMember* Find(const Listed& list, const std::string& uuid) {
  for (size_t i = 0; i < list.uuids.size(); ++i)
    if (list.uuids[i] == uuid) return &list.members[i];
  return nullptr;
}

// The functions aimed at one member.
const std::pair<const char*, int (*)(H, const char*, Cb, void*)> kOnMember[] = {
    {"member.muteMemberAudio", Morvanta_Member_MuteMemberAudio},
    {"member.unmuteMemberAudio", Morvanta_Member_UnmuteMemberAudio},
    {"member.muteMemberVideo", Morvanta_Member_MuteMemberVideo},
    {"member.unmuteMemberVideo", Morvanta_Member_UnmuteMemberVideo},
    {"member.muteVideoAndAudio", Morvanta_Member_MuteVideoAndAudio},
    {"member.unmuteVideoAndAudio", Morvanta_Member_UnmuteVideoAndAudio},
    {"member.stopMemberScreenShare", Morvanta_Member_StopMemberScreenShare},
};

// The functions with a plain callback, called with valid arguments;
// `share` runs before each call that stops a member's screen share.
std::vector<PlainCase<MorvantaMemberManager_T>> PlainCases(std::function<void()> share = [] {}) {
  const std::string member = std::string("[\"") + kMember + "\"]";
  std::vector<PlainCase<MorvantaMemberManager_T>> cases;
  for (const auto& [path, call] : kOnMember) {
    cases.push_back({path,
                     [share, call = call](H h, Cb cb, void* ud) {
                       if (call == Morvanta_Member_StopMemberScreenShare) share();
                       return call(h, kMember, cb, ud);
                     },
                     member});
  }
  const PlainCase<MorvantaMemberManager_T> others[] = {
      {"member.muteAllAudio", Morvanta_Member_MuteAllAudio, "[]"},
      {"member.unmuteAllAudio", Morvanta_Member_UnmuteAllAudio, "[]"},
      {"member.muteAllVideo", Morvanta_Member_MuteAllVideo, "[]"},
      {"member.unmuteAllVideo", Morvanta_Member_UnmuteAllVideo, "[]"},
      {"member.handsUp", Morvanta_Member_HandsUp, "[]"},
      // Only a uuid that is there and not empty is passed on.
      {"member.handsDown", With(Morvanta_Member_HandsDown, nullptr), "[]"},
      {"member.handsDown", With(Morvanta_Member_HandsDown, ""), "[]"},
      {"member.handsDown", With(Morvanta_Member_HandsDown, kMember), member},
      {"member.handsDownAll", Morvanta_Member_HandsDownAll, "[]"},
      // An empty uuid is not refused here: the service answers it.
      {"member.muteMemberAudio", With(Morvanta_Member_MuteMemberAudio, ""), R"([""])", false, 1104},
  };
  cases.insert(cases.end(), std::begin(others), std::end(others));
  return cases;
}

}  // namespace

TEST_F(MemberApi, RefusedCallsReturnMinusOneAndStartNothing) {
  auto seen = std::make_shared<Seen>();
  void* ud = seen.get();
  MorvantaMember* members = nullptr;
  uint32_t count = 0;
  MorvantaMemberManager_T empty{};  // a handle that holds no manager
  for (H h : {static_cast<H>(nullptr), &empty}) {
    SCOPED_TRACE(h ? "handle without manager" : "NULL handle");
    ExpectPlainRefusals(h, PlainCases(), ud);
    ExpectRefused("member", seen, {Morvanta_Member_GetMemberList(h, &members, &count)});
  }
  // A NULL member uuid, and the list without a place for its result.
  for (const auto& [path, call] : kOnMember) EXPECT_EQ(call(handle, nullptr, Seen::OnPlain, ud), -1) << path;
  ExpectRefused("member", seen,
                {Morvanta_Member_GetMemberList(handle, nullptr, &count),
                 Morvanta_Member_GetMemberList(handle, &members, nullptr)});
}

TEST_F(MemberApi, PlainFunctionsSendTheirArgumentsAndAnswerOnce) {
  EnterQuietMeeting("{asHost: true}");
  ExpectPlainCases(
      handle, PlainCases([] {
        // Somebody has to share for stopMemberScreenShare to succeed, every time.
        SandboxEval(std::string("morVantaSandbox.meetingAction({member: '") + kMember + "', action: 'startShare'})");
      }));
}

TEST_F(MemberApi, TheServicesAnswerDecidesTheOutcome) {
  EnterQuietMeeting();  // as a plain member
  struct Row {
    const char* what;
    const char* rule;  // null: the service's own answer
    int code;
    const char* message;
  };
  const Row rows[] = {
      {"another member's microphone, not being host", nullptr, 1103, "only the host can do this"},
      {"an answer of undefined", "{answer: undefined, times: 1}", 0, ""},
      {"a nested refusal", "{answer: {result: {code: 1001, message: 'no permission'}}, times: 1}", 1001,
       "no permission"},
      {"a refusal without text", "{answer: {code: 5}, times: 1}", 5, "success"},
      {"a success with text", "{answer: {code: 0, message: 'done'}, times: 1}", 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    if (row.rule) Override("member.muteMemberAudio", row.rule);
    auto seen = Answer(Morvanta_Member_MuteMemberAudio, handle, kMember);
    EXPECT_EQ(seen->code, row.code);
    EXPECT_EQ(seen->message, row.message);
  }
}

TEST_F(MemberApi, GetMemberListCopiesTheMeetingsMembers) {
  EnterQuietMeeting("{asHost: true}");
  Listed before = List(handle);
  ASSERT_EQ(before.result, 0);
  ASSERT_EQ(before.count, 4u);  // three simulated members and the local user
  const std::string local = Json("morVantaSandbox.meeting.myUuid");
  const MorvantaMember* me = Find(before, local.substr(1, local.size() - 2));
  ASSERT_NE(me, nullptr);
  EXPECT_EQ(me->is_host, 1);
  EXPECT_EQ(me->is_audio_on, 0);  // the local user enters muted
  const MorvantaMember* other = Find(before, kMember);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->is_audio_on, 1);

  // What the functions change shows in the next list.
  Answer(Morvanta_Member_MuteMemberAudio, handle, kMember);
  Answer(Morvanta_Member_HandsUp, handle);
  Listed after = List(handle);
  ASSERT_EQ(after.count, 4u);
  EXPECT_EQ(Find(after, kMember)->is_audio_on, 0);
  EXPECT_EQ(Find(after, local.substr(1, local.size() - 2))->is_hands_up, 1);
}

// Every failure of the synchronous list looks like an empty meeting.
TEST_F(MemberApi, GetMemberListFailuresGiveNoMembers) {
  struct Row {
    const char* what;
    const char* rule;  // null: the service's own answer
  };
  const Row rows[] = {
      {"outside a meeting", nullptr},
      {"a service refusal", "{fail: 'code', code: 1001, times: 1}"},
      {"a rejected call", "{fail: 'reject', times: 1}"},
      {"an answer that is no list", "{answer: {code: 0, data: 'x'}, times: 1}"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    if (row.rule) Override("member.getMemberList", row.rule);
    ExpectNoMembers(List(handle));
  }
  // A member record in another of the answer forms converts.
  Override("member.getMemberList",
           "{answer: {result: [{uuid: 'u1', name: 'Eve', role: 'evaluator', isVideoOn: true}]}, times: 1}");
  Listed one = List(handle);
  ASSERT_EQ(one.count, 1u);
  EXPECT_EQ(one.uuids[0], "u1");
  EXPECT_EQ(one.members[0].is_evaluator, 1);
  EXPECT_EQ(one.members[0].is_host, 0);
  EXPECT_EQ(one.members[0].is_video_on, 1);
}

TEST_F(MemberApi, SlowGetMemberListGivesUpAfterFiveSecondsAndSurvivesTheLateAnswer) {
  EnterQuietMeeting();
  Override("member.getMemberList", "{delayMs: 6500, times: 1}");
  const auto start = std::chrono::steady_clock::now();
  ExpectNoMembers(List(handle));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(4500));
  EXPECT_LT(waited, std::chrono::milliseconds(6400));
  // The answer lands after the wait has gone; the next list is unharmed.
  Listed next = List(handle);
  EXPECT_EQ(next.result, 0);
  EXPECT_EQ(next.count, 4u);
}

// A handle kept past Morvanta_Uninitialize fails at once, through the
// callback on the calling thread; the list is empty.
TEST(MemberApiAfterUninitialize, AKeptHandleAnswersBridgeNotInitialized) {
  MorvantaInitConfig c = morvanta_test::SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
  MorvantaMemberManager_T* handle = Morvanta_GetMemberManager(sdk);
  ASSERT_NE(handle, nullptr);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);

  auto seen = std::make_shared<Seen>();
  EXPECT_EQ(Morvanta_Member_MuteAllAudio(handle, Seen::OnPlain, seen.get()), 0);
  EXPECT_EQ(seen->Calls(), 1);
  EXPECT_EQ(seen->code, -1);
  EXPECT_EQ(seen->message, "Bridge not initialized");
  EXPECT_EQ(Morvanta_Member_HandsUp(handle, nullptr, nullptr), 0);  // nobody to tell
  ExpectNoMembers(List(handle));
  Morvanta_DestroyMemberManagerHandle(handle);
}
