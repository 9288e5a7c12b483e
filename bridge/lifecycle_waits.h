// The waits of a bridge's start and stop, paced by its mode (see
// lifecycle_pacing.h): internal to the bridge.
#pragma once

#include <condition_variable>
#include <mutex>

namespace morvanta {
namespace jsbridge {

// Set once by the thread that joined the worker; read by the thread that
// shuts the bridge down, which may have given up waiting by then.
struct JoinSignal {
  std::mutex mutex;
  std::condition_variable cv;
  bool joined = false;

  void Set() {
    std::lock_guard<std::mutex> lock(mutex);
    joined = true;
    cv.notify_all();
  }
  bool IsSet() {
    std::lock_guard<std::mutex> lock(mutex);
    return joined;
  }
};

}  // namespace jsbridge
}  // namespace morvanta
