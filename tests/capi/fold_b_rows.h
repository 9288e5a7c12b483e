// One-line outcomes for the C interface suites: a call accepted and answered
// once with a given code and message, and a listener telling what it heard.
#pragma once

#include <chrono>
#include <string>
#include <thread>
#include <vector>

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

// What `heard` holds once `n` calls have come and `settle_ms` more have
// passed, in which a call too many would have come too.
inline std::vector<std::string> HeardAfter(Heard& heard, size_t n, int settle_ms = 250) {
  EXPECT_TRUE(heard.WaitFor(n)) << n << " calls";
  std::this_thread::sleep_for(std::chrono::milliseconds(settle_ms));
  return heard.Copy();
}

// A listener's user data is the Heard it tells.
inline void Tell(void* ud, std::string event) { static_cast<Heard*>(ud)->Add(std::move(event)); }

}  // namespace morvanta_test
