// One-line outcomes for the C interface suites: a call accepted and answered
// once with a given code and message, and a listener telling what it heard.
#pragma once

#include <chrono>
#include <sstream>
#include <string>
#include <type_traits>
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

// A channel suite's fixture: the library with a meeting manager handle, and
// a listener record of the channel's kind (made by `Make`) telling `heard`.
template <typename Listener, Listener (*Make)(Heard*),
          int (*Add)(MorvantaMeetingManager_T*, const Listener*), bool (*Registered)(bool)>
class ListeningApi : public ChannelApi {
 protected:
  // Adds the listener and waits until its JavaScript side is attached.
  void Listen() {
    l = Make(&heard);
    ASSERT_EQ(Add(meeting, &l), 0);
    ASSERT_TRUE(Registered(true));
  }
  Heard heard;
  Listener l{};
};

// A listener's user data is the Heard it tells.
inline void Tell(void* ud, std::string event) { static_cast<Heard*>(ud)->Add(std::move(event)); }

// `v` as a stream writes it: numbers (char-sized ones too) in decimal.
template <typename V>
auto Printable(const V& v) {
  if constexpr (std::is_arithmetic_v<V>) {
    return +v;
  } else {
    return v;
  }
}

// The values one after the other with `sep` between them, such as "a/1/2".
template <typename... V>
std::string Joined(const char* sep, const V&... values) {
  std::ostringstream out;
  const char* between = "";
  ((out << between << Printable(values), between = sep), ...);
  return out.str();
}

// "kind" and the count, then "," and `each` of every item, such as "quality:2,a/1/2,b/3/3".
template <typename T, typename F>
std::string Listed(const std::string& kind, const T* items, uint32_t n, F each) {
  std::string text = kind + std::to_string(n);
  for (uint32_t i = 0; i < n; ++i) text += "," + each(items[i]);
  return text;
}

}  // namespace morvanta_test
