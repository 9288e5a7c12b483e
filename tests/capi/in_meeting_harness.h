// Shared by the chatroom, security and screen share suites: the library
// against the sandbox with the local user in a quiet meeting, a handle of the
// family's kind, and questions to the sandbox about the calls it received.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "capi/callback_slot.h"
#include "capi/capi_harness.h"

namespace morvanta_test {

// The arguments of every call of `path`, as JSON with object keys sorted and
// an undefined argument written as "(undefined)", such as
// [["","hi","(undefined)","(undefined)"]].
inline std::string CallArgs(const std::string& path) {
  return SandboxEval("JSON.stringify(morVantaSandbox.callsTo('" + path +
                     "').map((c) => c.args), (k, x) => x === undefined ? '(undefined)'"
                     " : (x && typeof x === 'object' && !Array.isArray(x)"
                     " ? Object.fromEntries(Object.entries(x).sort()) : x))")
      .stringValue;
}

inline int CallCount(const std::string& path) {
  return static_cast<int>(SandboxNumber("morVantaSandbox.callsTo('" + path + "').length"));
}

// Sets the sandbox's override of one path (`rule` is a JS object literal).
inline void Override(const std::string& path, const std::string& rule) {
  SandboxEval("morVantaSandbox.override('" + path + "', " + rule + ")");
}

// A quiet meeting (no script, no statistics) with two simulated members,
// sim-member-01 (Grace Hopper) and sim-member-02 (Alan Turing). With
// `as_host` the local user, "local-user", hosts it; otherwise it is another
// meeting, which sim-member-01 hosts. True when the sandbox put the user in.
inline bool EnterQuietMeeting(bool as_host) {
  return SandboxFlag("morVantaSandbox.configure({meeting: {script: [], rtcStatsIntervalMs: 0, memberCount: 2}}),"
                     " morVantaSandbox.enterMeeting({userUuid: 'local-user', " +
                     std::string(as_host ? "asHost: true" : "meetingNum: '7700000002'") +
                     "}).myUuid === 'local-user'");
}

// The fixture: initialised, in the meeting as host, with a handle of the
// family's kind. Tests that uninitialise on purpose call Uninitialize().
template <typename Handle, Handle* (*Get)(MorvantaSDK_T*), void (*Destroy)(Handle*)>
class InMeetingApi : public CapiLibrary {
 protected:
  void SetUp() override {
    CapiLibrary::SetUp();
    handle = Get(sdk);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(EnterQuietMeeting(true));
  }
  void TearDown() override {
    Destroy(handle);
    if (initialized) CapiLibrary::TearDown();
  }
  // Leaves the handle alive past the library, as a careless host would.
  void Uninitialize() {
    ASSERT_EQ(Morvanta_Uninitialize(), 0);
    initialized = false;
  }

  // -1, and neither a callback nor a call of `path` follows.
  void ExpectRefused(const char* what, int rc, CallbackSlot& slot, const std::string& path) {
    EXPECT_EQ(rc, -1) << what;
    DrainWorker();
    EXPECT_EQ(slot.Calls(), 0) << what;
    EXPECT_EQ(CallCount(path), 0) << what;
  }

  Handle* handle = nullptr;
  Handle empty{};  // a handle without a manager
  bool initialized = true;
};

// Waits for the one callback of a call, then makes sure no second follows.
inline void ExpectOneCallback(CallbackSlot& slot, const std::string& what = "") {
  ASSERT_TRUE(slot.Wait()) << what;
  DrainWorker();
  EXPECT_EQ(slot.Calls(), 1) << what;
}

}  // namespace morvanta_test
