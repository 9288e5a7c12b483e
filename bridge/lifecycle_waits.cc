// How the bridge waits for its worker at start and stop: fixed pauses and
// 10 ms polls, or the worker's own signals, as LifecyclePacing says.
#include "bridge/lifecycle_waits.h"

#include <chrono>
#include <thread>

#include "bridge/js_bridge_impl.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

// An event-driven start waits this long at most for the worker's report; a
// worker that has not reported by then is left to go on as after the pause.
constexpr std::chrono::seconds kWorkerStartLimit{5};

}  // namespace

void JSBridgeImpl::AwaitWorkerStart() {
  if (!pacing_.event_driven) {
    // No handshake: the worker's ownership transfer is expected to be done by then.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    return;
  }
  std::unique_lock<std::mutex> lock(started_mutex_);
  if (!started_cv_.wait_for(lock, kWorkerStartLimit, [this] { return worker_started_; }))
    log::Error("[JSBridge] Warning: the worker did not report its start in time, continuing");
}

void JSBridgeImpl::SignalWorkerStarted() {
  std::lock_guard<std::mutex> lock(started_mutex_);
  worker_started_ = true;
  started_cv_.notify_all();
}

bool JSBridgeImpl::AwaitJoin(const std::shared_ptr<JoinSignal>& joined, std::chrono::nanoseconds limit) {
  const auto start = std::chrono::steady_clock::now();
  if (!pacing_.event_driven) {
    while (!joined->IsSet() && std::chrono::steady_clock::now() - start <= limit)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return joined->IsSet();
  }
  std::unique_lock<std::mutex> lock(joined->mutex);
  return joined->cv.wait_until(lock, start + limit, [&] { return joined->joined; });
}

void JSBridgeImpl::WakeWorker() {
  std::lock_guard<std::mutex> lock(loop_mutex_);
  if (event_loop_ && !uv_is_closing(reinterpret_cast<uv_handle_t*>(&async_handle_)))
    uv_async_send(&async_handle_);
}

}  // namespace jsbridge
}  // namespace morvanta
