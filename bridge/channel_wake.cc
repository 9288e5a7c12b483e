#include "bridge/channel_wake.h"

namespace morvanta {
namespace jsbridge {

void ChannelWakeHub::Set(const std::string& key, std::function<void()> wake) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (wake)
    wakes_[key] = std::move(wake);
  else
    wakes_.erase(key);
}

void ChannelWakeHub::Wake(const std::string& key) {
  std::function<void()> wake;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = wakes_.find(key);
    if (found == wakes_.end()) return;
    wake = found->second;
  }
  wake();
}

}  // namespace jsbridge
}  // namespace morvanta
