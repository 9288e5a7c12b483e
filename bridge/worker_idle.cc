// How the worker spends the time between turns.
#include <chrono>
#include <thread>

#include "bridge/promise_awaiter.h"
#include "runtime/stdout_batched.h"

namespace morvanta {
namespace jsbridge {
namespace {

class NapIdle final : public WorkerIdle {
 public:
  void RunLoop(uv_loop_t* loop, bool, bool) override { uv_run(loop, UV_RUN_NOWAIT); }
  void Pause(bool had_tasks, bool had_promises) override {
    if (!had_tasks && !had_promises) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
};

class LoopIdle final : public WorkerIdle {
 public:
  explicit LoopIdle(uv_loop_t* loop) : tick_(new uv_timer_t) {
    if (uv_timer_init(loop, tick_) != 0) {
      delete tick_;
      tick_ = nullptr;
      return;
    }
  }
  void RunLoop(uv_loop_t* loop, bool had_tasks, bool had_promises) override {
    // The tick runs every 50 ms while promises are pending, whose time
    // limits the worker checks between turns. An idle worker ticks only
    // while standard output is batched, slowly, so that what other threads
    // write there meanwhile is flushed; otherwise it has no timer of its own
    // (a submission, a shutdown or a process exit wakes it).
    const uint64_t period = had_promises ? kTickMs : log::StdoutBatched() ? kIdleFlushTickMs : 0;
    if (tick_ && period != period_) {
      if (period)
        uv_timer_start(tick_, [](uv_timer_t*) {}, period, period);  // returning from uv_run is what counts
      else
        uv_timer_stop(tick_);
      period_ = period;
    }
    // Tasks still queued are taken at once; otherwise sleep until a
    // submission, a timer (the SDK's, a delivery's, the tick) or I/O.
    uv_run(loop, had_tasks ? UV_RUN_NOWAIT : UV_RUN_ONCE);
  }
  void Pause(bool, bool) override {}

  void Close() override {
    if (!tick_) return;
    uv_timer_stop(tick_);
    uv_close(reinterpret_cast<uv_handle_t*>(tick_),
             [](uv_handle_t* handle) { delete reinterpret_cast<uv_timer_t*>(handle); });
    tick_ = nullptr;
  }

 private:
  static constexpr uint64_t kTickMs = 50;
  static constexpr uint64_t kIdleFlushTickMs = 250;
  uv_timer_t* tick_;
  uint64_t period_ = 0;
};

}  // namespace

std::unique_ptr<WorkerIdle> MakeNapIdle() { return std::make_unique<NapIdle>(); }
std::unique_ptr<WorkerIdle> MakeLoopIdle(uv_loop_t* loop) { return std::make_unique<LoopIdle>(loop); }

}  // namespace jsbridge
}  // namespace morvanta
