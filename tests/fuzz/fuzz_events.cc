// Arbitrary JSON records through each event channel: pushed into the
// channel's array on the JavaScript side, taken by the channel's drain,
// converted record by record and handed to C listeners registered through the
// public functions, on all five channels (global, meeting, RTC statistics,
// message channel, waiting room).
//
// Input: byte 0 picks the channel; byte 1 picks how the rest is read: below
// 0x80 as the `data` of a record of one of the channel's event types
// (byte 1 picks it), from 0x80 on as a JSON list of whole records (or one
// record, if it is no list). Text that JSON.parse refuses is pushed as a
// string record.
//
// After the records, a sentinel record of the same channel is pushed in the
// same turn, so it is drained in the same batch. Properties:
//  - the sentinel reaches its C listener: no record, however made, may make
//    the channel drop the records around it;
//  - every text a C listener receives is well-formed UTF-8, and every array
//    it receives is readable for its whole count (ASan checks the reads).
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bridge/script_writer.h"
#include "fuzz/fuzz_library.h"

namespace {

using namespace morvanta;

constexpr char kTarget[] = "events";

// ---- what the C listeners check ----

void Text(const char* text) {
  if (!text) return;
  const std::string s(text);
  if (jsbridge::WellFormedUtf8(s) != s) fuzz::Fail(kTarget, "a listener received text that is not UTF-8");
}
void Member(const MorvantaMember* m) {
  if (!m) return;
  Text(m->uuid);
  Text(m->name);
}
void Members(const MorvantaMember* m, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) Member(&m[i]);
}

// The sentinel: its channel's C listener reports the text it carries.
struct Sentinel {
  std::mutex mutex;
  std::condition_variable cv;
  std::string expected;
  bool arrived = false;

  void Heard(const char* text) {
    if (!text) return;
    std::lock_guard<std::mutex> lock(mutex);
    if (expected == text) {
      arrived = true;
      cv.notify_all();
    }
  }
} g_sentinel;

// Global channel.
void OnRoom(const char* room_uuid, void*) {
  Text(room_uuid);
  g_sentinel.Heard(room_uuid);
}

// Meeting channel.
void OnMember(const MorvantaMember* m, void*) { Member(m); }
void OnMute(const char* uuid, bool, void*) { Text(uuid); }
void OnRoomEnded(const char* reason, const char* extra, void*) {
  Text(reason);
  Text(extra);
  g_sentinel.Heard(reason);
}
void OnAudioConnect(const MorvantaMember* m, bool, void*) { Member(m); }
void OnChatroomMembers(const MorvantaMember* m, uint32_t count, void*) { Members(m, count); }
void OnScreenShare(const MorvantaMember* m, bool, const MorvantaMember* by, void*) {
  Member(m);
  Member(by);
}
void OnMessages(const MorvantaChatMessage* messages, uint32_t count, void*) {
  for (uint32_t i = 0; i < count; ++i) {
    const MorvantaChatMessage& c = messages[i];
    for (const char* t : {c.message_uuid, c.from_client_type, c.message_type, c.from_user_uuid, c.from_nick, c.type,
                          c.text, c.status})
      Text(t);
    for (int32_t k = 0; k < c.to_user_uuid_count; ++k) Text(c.to_user_uuid_list[k]);
  }
}
void OnChatBan(const MorvantaMember* m, bool, int32_t, const char* ext, const MorvantaMember* by, void*) {
  Member(m);
  Text(ext);
  Member(by);
}

// RTC statistics channel.
void OnRtcStats(const MorvantaRtcStats* s, void*) {
  if (s) (void)s->duration;
}
void OnLocalAudio(const MorvantaLocalAudioStats* s, void*) {
  if (s) (void)s->volume;
}
void OnRemoteAudio(const MorvantaRemoteAudioStats* s, uint32_t count, void*) {
  for (uint32_t i = 0; i < count; ++i) Text(s[i].user_uuid);
}
void OnLocalVideo(const MorvantaLocalVideoStats* s, void*) {
  if (s) (void)s->sent_bitrate;
}
void OnRemoteVideo(const MorvantaRemoteVideoStats* s, uint32_t count, void*) {
  for (uint32_t i = 0; i < count; ++i) Text(s[i].user_uuid);
}
void OnNetwork(const MorvantaNetworkQualityInfo* s, uint32_t count, void*) {
  for (uint32_t i = 0; i < count; ++i) {
    Text(s[i].user_uuid);
    g_sentinel.Heard(s[i].user_uuid);
  }
}

// Message channel.
void OnCustom(const MorvantaCustomMessage* m, void*) {
  Text(m->room_uuid);
  Text(m->sender_uuid);
  Text(m->data);
}
void OnSession(const MorvantaSessionMessage* m, void*) {
  Text(m->session_id);
  Text(m->message_id);
  Text(m->data);
}
void OnRecent(const MorvantaSessionRecentInfo* s, uint32_t count, void*) {
  for (uint32_t i = 0; i < count; ++i) Text(s[i].session_id);
}
void OnDeleteAll(const char* session_id, int32_t, void*) {
  Text(session_id);
  g_sentinel.Heard(session_id);
}

// Waiting room channel.
void OnWaitingJoin(const MorvantaWaitingRoomMember* m, int32_t, void*) {
  Text(m->uuid);
  Text(m->name);
  Text(m->avatar);
}
void OnWaitingLeave(const char* uuid, int32_t, void*) { Text(uuid); }
void OnAdmitted(const char* uuid, void*) {
  Text(uuid);
  g_sentinel.Heard(uuid);
}
void OnMyStatus(int32_t, int32_t, void*) {}
void OnNameChanged(const char* uuid, const char* name, const MorvantaMember* by, void*) {
  Text(uuid);
  Text(name);
  Member(by);
}
void OnInfo(const MorvantaWaitingRoomInfo* info, void*) { Text(info->background_image_url); }
void OnKicked(void*) {}
void OnManagers(const MorvantaMember* m, uint32_t count, void*) { Members(m, count); }

// ---- the channels ----

struct Channel {
  const char* array;       // the JavaScript array the listener pushes to
  const char* registered;  // its registered flag
  std::vector<const char*> types;
  // The sentinel record, around the text it carries.
  const char* sentinelBefore;
  const char* sentinelAfter;
};

const Channel kChannels[] = {
    {"__morvantaGlobalEventCallbacks", "__morvantaGlobalEventListenerRegistered",
     {"beforeRtcEngineInitialize", "afterRtcEngineInitialize", "beforeRtcEngineRelease"},
     "{\"type\":\"afterRtcEngineInitialize\",\"data\":{\"roomUuid\":\"", "\"}}"},
    {"__morvantaMeetingCallbacks", "__morvantaMeetingListenerRegistered",
     {"onMemberJoinRoom", "onMemberLeaveRoom", "onMemberAudioMuteChanged", "onMemberVideoMuteChanged", "onRoomEnded",
      "onMemberAudioConnectStateChanged", "onMemberJoinChatroom", "onMemberLeaveChatroom",
      "onMemberScreenShareStateChanged", "onReceiveChatroomMessages", "onMemberChatBanStateChanged"},
     "{\"type\":\"onRoomEnded\",\"data\":{\"reason\":\"", "\",\"extra\":\"\"}}"},
    {"__morvantaRtcStatsCallbacks", "__morvantaRtcStatsListenerRegistered",
     {"onRtcStats", "onLocalAudioStats", "onRemoteAudioStats", "onLocalVideoStats", "onRemoteVideoStats",
      "onNetworkQuality"},
     "{\"type\":\"onNetworkQuality\",\"data\":[{\"userUuid\":\"", "\"}]}"},
    {"__morvantaMessageChannelCallbacks", "__morvantaMessageChannelListenerRegistered",
     {"onCustomMessageReceived", "onSessionMessageReceived", "onSessionMessageRecentChanged",
      "onSessionMessageDeleted", "onDeleteAllSessionMessage"},
     "{\"type\":\"onDeleteAllSessionMessage\",\"data\":{\"sessionId\":\"", "\",\"sessionType\":0}}"},
    {"__morvantaWaitingRoomCallbacks", "__morvantaWaitingRoomListenerRegistered",
     {"onMemberJoin", "onMemberLeave", "onMemberAdmitted", "onMyWaitingRoomStatusChanged", "onMemberNameChanged",
      "onWaitingRoomInfoUpdated", "onAllMembersKicked", "onManagersUpdated"},
     "{\"type\":\"onMemberAdmitted\",\"data\":{\"userUuid\":\"", "\"}}"},
};

// Pushes the records and the sentinel in one turn, then wakes the channel.
constexpr char kPush[] = R"JS(globalThis.__fuzzPush = function (array, text, type, sentinel) {
  var records;
  try {
    var parsed = JSON.parse(text);
    if (type === '') records = Array.isArray(parsed) ? parsed : [parsed];
    else records = [{ type: type, data: parsed }];
  } catch (e) {
    records = [type === '' ? text : { type: type, data: text }];
  }
  var queue = globalThis[array];
  if (!Array.isArray(queue)) return 'no array ' + array;
  for (var i = 0; i < records.length; i++) queue.push(records[i]);
  queue.push(JSON.parse(sentinel));
  if (typeof globalThis.__morvantaChannelWake === 'function') globalThis.__morvantaChannelWake(array);
  return 'pushed';
}, 'installed')JS";

bool WaitJs(const std::string& expression) {
  for (int i = 0; i < 200; ++i) {
    JSResult r = fuzz::RunScript(kTarget, "(" + expression + ") === true");
    if (r.success && r.value.IsBool() && r.value.boolValue) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  return false;
}

uint64_t g_count = 0;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  MorvantaSDK_T* sdk = fuzz::StartLibrary(kTarget);
  static MorvantaGlobalEventListener global{&OnRoom, &OnRoom, &OnRoom, nullptr};
  static MorvantaMeetingListener meeting{nullptr,         &OnMember,          &OnMember,      nullptr,
                                         &OnMute,         &OnMute,            &OnRoomEnded,   &OnAudioConnect,
                                         &OnChatroomMembers, &OnChatroomMembers, &OnScreenShare, &OnMessages,
                                         &OnChatBan,      nullptr};
  static MorvantaRtcStatsListener rtc{&OnRtcStats, &OnLocalAudio, &OnRemoteAudio, &OnLocalVideo,
                                      &OnRemoteVideo, &OnNetwork, nullptr};
  static MorvantaMessageChannelListener message{&OnCustom, &OnSession, &OnRecent, &OnSession, &OnDeleteAll,
                                                nullptr};
  static MorvantaWaitingRoomListener waiting{&OnWaitingJoin, &OnWaitingLeave, &OnAdmitted, &OnMyStatus,
                                             &OnNameChanged, &OnInfo,         &OnKicked,   &OnManagers,
                                             nullptr};
  MorvantaMeetingManager_T* meetings = Morvanta_GetMeetingManager(sdk);
  MorvantaWaitingRoomManager_T* room = Morvanta_GetWaitingRoomManager(sdk);
  if (Morvanta_AddGlobalEventListener(&global) != 0 || Morvanta_Meeting_AddMeetingListener(meetings, &meeting) != 0 ||
      Morvanta_Meeting_AddRtcStatsListener(meetings, &rtc) != 0 ||
      Morvanta_Meeting_AddMessageChannelListener(meetings, &message) != 0 ||
      Morvanta_WaitingRoom_AddListener(room, &waiting) != 0)
    fuzz::Fail(kTarget, "a listener was refused");
  for (const Channel& c : kChannels)
    if (!WaitJs(std::string("globalThis.") + c.registered + " && Array.isArray(globalThis." + c.array + ")"))
      fuzz::Fail(kTarget, std::string("channel not registered: ") + c.array);
  const JSResult installed = fuzz::RunScript(kTarget, kPush);
  if (!installed.success || installed.value.stringValue != "installed") fuzz::Fail(kTarget, "push not installed");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const Channel& channel = kChannels[data[0] % 5];
  const std::string type = data[1] < 0x80 ? channel.types[data[1] % channel.types.size()] : "";
  const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::string id = "fuzz-sentinel-" + std::to_string(++g_count);
  {
    std::lock_guard<std::mutex> lock(g_sentinel.mutex);
    g_sentinel.expected = id;
    g_sentinel.arrived = false;
  }
  auto pushed = std::make_shared<fuzz::Answer>();
  capi::g_bridge->CallFunction(
      "__fuzzPush",
      {JSValue(channel.array), JSValue(text), JSValue(type),
       JSValue(std::string(channel.sentinelBefore) + id + channel.sentinelAfter)},
      pushed->Callback());
  if (!pushed->Wait(std::chrono::seconds(10))) fuzz::Fail(kTarget, "the push was not answered within 10 s");
  if (!pushed->result.success || pushed->result.value.stringValue != "pushed")
    fuzz::Fail(kTarget, "the push failed: " + pushed->result.error + pushed->result.value.stringValue);
  std::unique_lock<std::mutex> lock(g_sentinel.mutex);
  if (!g_sentinel.cv.wait_for(lock, std::chrono::seconds(5), [] { return g_sentinel.arrived; }))
    fuzz::Fail(kTarget, std::string("the records before the sentinel made the channel drop their batch (") +
                            channel.array + ")");
  return 0;
}
