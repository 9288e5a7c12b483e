// Push wake-up of event channels. A channel's native thread registers a wake
// function under its key (the name of its event array); in the concurrent
// mode the environment exposes globalThis.__morvantaChannelWake(key), which
// the listener scripts call when a push makes the array non-empty. Without
// that function (the compatible mode) the registrations are never used and
// the channels' 100 ms poll alone drains them.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>

namespace morvanta {
namespace jsbridge {

class ChannelWakeHub {
 public:
  // Replaces the wake function of `key`; an empty function removes it.
  void Set(const std::string& key, std::function<void()> wake);
  // Calls the wake function of `key`, if any, on the calling thread (the
  // worker, from JavaScript). The function must not block.
  void Wake(const std::string& key);

 private:
  std::mutex mutex_;
  std::unordered_map<std::string, std::function<void()>> wakes_;
};

}  // namespace jsbridge
}  // namespace morvanta
