// One-line outcomes for the C interface suites: a call accepted and answered
// once with a given code and message, and a listener telling what it heard.
#pragma once

#include <string>

#include "capi/channel_events_harness.h"
#include "capi/in_meeting_harness.h"

namespace morvanta_test {

// The call returned 0 and its one callback came.
inline void ExpectCalledBack(int rc, CallbackSlot& slot, const std::string& what = "") {
  ASSERT_EQ(rc, 0) << what;
  ExpectOneCallback(slot, what);
}

// As ExpectCalledBack, and the callback got `code` and `message`.
inline void ExpectAnswer(int rc, CallbackSlot& slot, int code, const std::string& message,
                         const std::string& what = "") {
  ExpectCalledBack(rc, slot, what);
  EXPECT_EQ(slot.code, code) << what << ": " << slot.message;
  EXPECT_EQ(slot.message, message) << what;
}

// A listener's user data is the Heard it tells.
inline void Tell(void* ud, std::string event) { static_cast<Heard*>(ud)->Add(std::move(event)); }

}  // namespace morvanta_test
