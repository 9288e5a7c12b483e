// Shared by the waiting room suites: the library against the sandbox with the
// local user hosting a quiet meeting, a waiting room handle, a way to fill
// the waiting room, and what the C listeners heard.
#pragma once

#include <string>

#include "capi/channel_events_harness.h"
#include "capi/in_meeting_harness.h"

namespace morvanta_test {

// The host's meeting with its waiting room on, nobody admitted by the
// simulated host, and `arrivals` roster members waiting (sim-member-03, -04,
// ... in that order). True when all of them wait.
inline bool OpenWaitingRoom(int arrivals) {
  std::string script =
      "morVantaSandbox.configure({meeting: {script: [], rtcStatsIntervalMs: 0, memberCount: 2, autoAdmitMs: null}}),"
      " morVantaSandbox.enterMeeting({userUuid: 'local-user', asHost: true, enableWaitingRoom: true})";
  for (int i = 0; i < arrivals; ++i)
    script += ", morVantaSandbox.meetingAction({member: " + std::to_string(2 + i) + ", action: 'join'})";
  script += ", morVantaSandbox.meeting.waitingRoom.memberCount";
  return SandboxNumber(script) == arrivals;
}

// The JavaScript side of the channel is attached (registration finishes on
// the worker after the add returns).
inline bool WaitingRoomRegistered(bool registered = true) {
  return WaitRegistered("__morvantaWaitingRoomListenerRegistered", registered);
}

// A C text for a log line of the test: "(null)" for NULL.
inline std::string OrNull(const char* s) { return s ? s : "(null)"; }
inline Heard& HeardOf(void* ud) { return *static_cast<Heard*>(ud); }

// A listener record with every field set, telling `heard` one line per call.
inline MorvantaWaitingRoomListener WaitingRoomListener(Heard* heard) {
  MorvantaWaitingRoomListener l{};
  l.onMemberJoin = [](const MorvantaWaitingRoomMember* m, int32_t reason, void* ud) {
    HeardOf(ud).Add("join:" + OrNull(m->uuid) + "/" + OrNull(m->name) + "/" + OrNull(m->avatar) + "/" +
                    std::to_string(m->status) + "/" + (m->join_time > 0 ? "t" : "0") + "/" + std::to_string(reason));
  };
  l.onMemberLeave = [](const char* uuid, int32_t reason, void* ud) {
    HeardOf(ud).Add("leave:" + OrNull(uuid) + "/" + std::to_string(reason));
  };
  l.onMemberAdmitted = [](const char* uuid, void* ud) { HeardOf(ud).Add("admitted:" + OrNull(uuid)); };
  l.onMyStatusChanged = [](int32_t status, int32_t reason, void* ud) {
    HeardOf(ud).Add("status:" + std::to_string(status) + "/" + std::to_string(reason));
  };
  l.onMemberNameChanged = [](const char* uuid, const char* name, const MorvantaMember* by, void* ud) {
    HeardOf(ud).Add("name:" + OrNull(uuid) + "/" + OrNull(name) + "/" + (by ? OrNull(by->uuid) : "no-operator"));
  };
  l.onInfoUpdated = [](const MorvantaWaitingRoomInfo* info, void* ud) {
    HeardOf(ud).Add("info:" + std::to_string(info->member_count) + "/" + (info->is_enabled_on_entry ? "on" : "off") +
                    "/" + OrNull(info->background_image_url));
  };
  l.onAllMembersKicked = [](void* ud) { HeardOf(ud).Add("kicked"); };
  l.onManagersUpdated = [](const MorvantaMember* m, uint32_t count, void* ud) {
    std::string line = "managers:" + std::to_string(count);
    for (uint32_t i = 0; i < count; ++i) line += ":" + OrNull(m[i].uuid) + "/" + OrNull(m[i].name);
    HeardOf(ud).Add(line);
  };
  l.user_data = heard;
  return l;
}

// The fixture: initialised, hosting a quiet meeting, with a waiting room handle.
class WaitingRoomTest : public InMeetingApi<MorvantaWaitingRoomManager_T, Morvanta_GetWaitingRoomManager,
                                            Morvanta_DestroyWaitingRoomManagerHandle> {};

}  // namespace morvanta_test
