// Native records for the C record tests: a full one of each kind (every
// optional engaged, every string distinct) and the sweep that makes each
// allocation of a builder fail in turn.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/c_records.h"

namespace crecords_test {

using namespace morvanta;

inline MvSearchAccountInfo FullAccount(const std::string& id) {
  return {"uuid-" + id, "nick-" + id, "avatar-" + id, "phone-" + id, "dept-" + id};
}

inline MvScheduledMember Scheduled(const std::string& id, MvMemberRole role) {
  return {"sched-" + id, role, "nick-" + id, std::nullopt, std::nullopt};
}

inline MvWaitingRoomMember FullWaiting(const std::string& id) {
  return {"wuuid-" + id, "wname-" + id, "wavatar-" + id, 1700000000123, 2};
}

inline MvMember FullMember(const std::string& id, MvMemberRole role) {
  MvMember m;
  m.uuid = "muuid-" + id;
  m.name = "mname-" + id;
  m.role = role;
  m.isAudioOn = true;
  m.isSharingScreen = true;
  m.isHandsUp = true;
  return m;
}

inline MvScreenCaptureSource FullSource(const std::string& id) {
  MvScreenCaptureSource s;
  s.sourceId = 4200000000017;
  s.sourceName = "screen-" + id;
  s.sourceType = 1;
  s.title = "title-" + id;
  s.processPath = "/opt/" + id;
  s.primaryMonitor = false;
  s.icon = MvScreenCaptureImage{16, 8, {1, 2, 3, 0, 255}};
  s.thumbImage = MvScreenCaptureImage{320, 200, std::vector<uint8_t>(64, 7)};
  return s;
}

inline MvMeetingInfo FullMeeting(const std::string& id) {
  MvMeetingInfo m;
  m.meetingId = 9007199254740991;
  m.meetingNum = "num-" + id;
  m.roomUuid = "room-" + id;
  m.state = 3;
  m.startTime = 1700000000000;
  m.endTime = 1700003600000;
  m.subject = "subject-" + id;
  m.ownerUserUuid = "owner-" + id;
  m.ownerNickname = "ownernick-" + id;
  m.enableWaitingRoom = true;
  m.localMember = MvLocalMember{"local-" + id, "localname-" + id, MvMemberRole::Supervise};
  m.scheduledMembers = std::vector<MvScheduledMember>{Scheduled(id + "a", MvMemberRole::Bidder),
                                                      Scheduled(id + "b", static_cast<MvMemberRole>(9))};
  m.noCloudRecord = true;
  m.noChat = false;
  return m;
}

inline MvMeetingSDKInfo FullMeetingSDKInfo() {
  MvMeetingSDKInfo i;
  i.userUuid = "u";
  i.name = "n";
  i.role = MvMemberRole::Evaluator;
  i.myUuid = "my";
  i.hostUuid = "hu";
  i.hostName = "hn";
  i.activeSpeakerUuid = "as";
  i.subject = "sj";
  i.ownerUserUuid = "ow";
  i.roomArchiveId = "ra";
  i.meetingNum = "mn";
  i.isSupportChatroom = true;
  i.startTime = 11;
  i.endTime = 22;
  i.type = 5;
  i.rtcStartTime = 33;
  i.joinMeetingTime = 44;
  i.meetingId = 55;
  i.isWaitingRoomEnabled = true;
  i.inWaitingRoom = false;
  i.maxMembers = 300;
  i.isBreakoutRoom = true;
  return i;
}

inline MvChatMessage FullChatMessage() {
  MvChatMessage m;
  m.messageUuid = "mid";
  m.fromClientType = "pc";
  m.fromUserUuid = "fu";
  m.fromNick = "fn";
  m.fromAvatar = "fa";
  m.messageType = kMvChatMessageFile;
  m.text = "hello";
  m.type = "file";
  m.status = "sent";
  m.toUserUuidList = std::vector<std::string>{"to1", "", "to3"};
  m.toNickname = "tn";
  m.time = 1700000000999;
  m.idClient = "ic";
  m.from = "fr";
  m.isMe = true;
  m.resend = false;
  m.isPrivate = true;
  m.chatroomType = 2;
  m.attach = MvChatMessageAttach{"af", "afn", "at", {"x", "y"}, {"xn"}, "au", "an", "am", 77, 8, "op"};
  m.file = MvChatMessageFile{"doc", "pdf", 5000000000ULL, "fu", "/tmp/doc.pdf", 640, 480};
  m.custom = "cu";
  m.tempFile = "tf";
  m.total = "100";
  m.loaded = "50";
  m.percentage = 0.5;
  m.percentageText = "50%";
  return m;
}

// Builds once and releases what was built; false when the builder failed.
using Attempt = std::function<bool()>;

template <typename C, typename Native>
Attempt RecordAttempt(C* (*build)(const Native&), void (*release)(C*), Native native) {
  return [=] {
    C* built = build(native);
    release(built);
    return built != nullptr;
  };
}

template <typename C, typename Native, typename Count>
Attempt ListAttempt(C* (*build)(const std::vector<Native>&, bool&), void (*release)(C*, Count),
                    std::vector<Native> natives) {
  return [=] {
    bool ok = false;
    C* built = build(natives, ok);
    if (!ok) {
      EXPECT_EQ(built, nullptr) << "a failed list must come back as null";
      return false;
    }
    release(built, static_cast<Count>(natives.size()));
    return true;
  };
}

// Makes the 1st, 2nd, ... allocation fail until an attempt gets through.
// Every attempt whose injected failure was reached must fail, and one that
// succeeds must not have reached it. Returns the allocations of a full build.
inline int SweepAllocationFailures(const Attempt& attempt, int limit = 1000) {
  for (int n = 1; n <= limit; ++n) {
    morvanta::capi::FailAllocationAfter(n);
    bool built = attempt();
    // The injected failure is still pending if the build never reached it.
    bool pending = false;
    for (int k = 0; k < n && !pending; ++k) pending = morvanta::capi::AllocationShouldFail();
    morvanta::capi::FailAllocationAfter(0);
    if (built) {
      EXPECT_TRUE(pending) << "allocation " << n << " failed, yet the build succeeded";
      return n - 1;
    }
    EXPECT_FALSE(pending) << "the build failed with no allocation failing (n=" << n << ")";
  }
  ADD_FAILURE() << "no build succeeded within " << limit << " allocations";
  return -1;
}

}  // namespace crecords_test
