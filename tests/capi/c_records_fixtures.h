// Native records for the C record tests (full ones: every optional engaged,
// every string distinct), compact field checks, and the sweep that makes each
// allocation of a builder fail in turn.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
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
  m.isAudioOn = m.isSharingScreen = true;
  m.isHandsUp = true;
  return m;
}

inline MvScreenCaptureSource FullSource(const std::string& id) {
  return {4200000000017, "screen-" + id, 1, "title-" + id, "/opt/" + id, false,
          MvScreenCaptureImage{16, 8, {1, 2, 3, 0, 255}}, MvScreenCaptureImage{320, 200, std::vector<uint8_t>(64, 7)}};
}

// Two scheduled members, the second with a role that has no text.
inline MvMeetingInfo FullMeeting(const std::string& id) {
  return {9007199254740991, "num-" + id, "room-" + id, 3, 1700000000000, 1700003600000, "subject-" + id,
          "owner-" + id, "ownernick-" + id, true,
          MvLocalMember{"local-" + id, "localname-" + id, MvMemberRole::Supervise},
          std::vector<MvScheduledMember>{Scheduled(id + "a", MvMemberRole::Bidder),
                                         Scheduled(id + "b", static_cast<MvMemberRole>(9))},
          true, false};
}

inline MvMeetingSDKInfo FullMeetingSDKInfo() {
  return {"u",  "n",  MvMemberRole::Evaluator, "my", "hu", "hn", "as", "sj", "ow", "ra", "mn", true, false, 11, 22, 5,
          33, 44, 55, true, false, 300, true};
}

inline MvChatMessage FullChatMessage() {
  return {"mid", "pc", "fu", "fn", "fa", kMvChatMessageFile, "hello", "file", "sent",
          std::vector<std::string>{"to1", "", "to3"}, "tn", 1700000000999, "ic", "fr", true, false, true, 2,
          MvChatMessageAttach{"af", "afn", "at", {"x", "y"}, {"xn"}, "au", "an", "am", 77, 8, "op"},
          MvChatMessageFile{"doc", "pdf", 5000000000ULL, "fu", "/tmp/doc.pdf", 640, 480},
          "cu", "tf", "100", "50", 0.5, "50%"};
}

// Field checks: a C value beside its expected value; an expected NULL text
// means the field must be NULL.
using Texts = std::vector<std::pair<const char*, const char*>>;
using Numbers = std::vector<std::pair<int64_t, int64_t>>;

inline void ExpectTexts(const Texts& rows) {
  for (size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].second) {
      EXPECT_STREQ(rows[i].first, rows[i].second) << "text " << i;
    } else {
      EXPECT_EQ(rows[i].first, nullptr) << "text " << i;
    }
  }
}

inline void ExpectNumbers(const Numbers& rows) {
  for (size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i].first, rows[i].second) << "number " << i;
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
