// How the worker awaits the promise that a task's script yields, and how it
// idles between turns: the two things the bridge modes differ in on the
// worker. JSBridgeImpl::AdoptBridgeMode (bridge_mode_parts.cc) picks one
// implementation of each; nothing else in the bridge asks which mode runs.
#pragma once

#include <uv.h>
#include <v8.h>

#include <memory>
#include <string>
#include <vector>

#include "bridge/task.h"

namespace morvanta {
namespace jsbridge {

class JSBridgeImpl;
class PromiseTracker;

class PromiseAwaiter {
 public:
  virtual ~PromiseAwaiter() = default;
  // `task`'s script yielded `promise`: answer the task exactly once, now or
  // on a later turn. Worker only, inside the task's lock and context scopes.
  virtual void Await(v8::Local<v8::Promise> promise, v8::Local<v8::Context> context,
                     const std::shared_ptr<Task>& task) = 0;
  // Once per worker turn, after the microtask checkpoint (only called when
  // the bridge has a PromiseTracker). Worker only, inside the lock scope.
  virtual void Check(v8::Local<v8::Context> context) = 0;
  // Any thread: the entries pending now are to be failed at the worker's
  // next turn (the bridge is about to shut down).
  virtual void RequestFailPending() {}
  // Removes every pending entry and hands back their tasks, unanswered.
  // Worker only, inside the lock scope.
  virtual std::vector<std::shared_ptr<Task>> TakePending() { return {}; }
};

// Blocks in the task until the promise settles (30 ms polls, 15 s limit).
std::unique_ptr<PromiseAwaiter> MakeBlockingAwaiter(JSBridgeImpl& bridge);
// Hands the promise to `tracker` (15 s per entry) and returns at once.
std::unique_ptr<PromiseAwaiter> MakeTrackedAwaiter(JSBridgeImpl& bridge, PromiseTracker& tracker);

// The blocking wait's handler and extraction scripts (promise_resolution.cc),
// which the tracked awaiter runs against each entry's own slot.
const char* PromiseHandlerScriptText();
const char* PromiseExtractionScriptText();
// Whether an outcome text that the handler script wrote records a success.
// The handler writes the success flag first, so only the start of the text
// counts: a rejection's message that holds the marker (quoted in a string,
// or as an object of its own) cannot pass for a success.
bool IsSuccessOutcome(const std::string& json);

// The text of the failure that pending entries get when the bridge shuts down.
extern const char kPromiseAbandonedText[];

class WorkerIdle {
 public:
  virtual ~WorkerIdle() = default;
  // One turn of libuv. Worker only, inside the lock scope.
  virtual void RunLoop(uv_loop_t* loop, bool had_tasks, bool had_promises) = 0;
  // After the turn, with no lock held.
  virtual void Pause(bool had_tasks, bool had_promises) = 0;
  // Closes the handles it added to the loop; the next uv_run completes the
  // close. Called once, under the bridge's loop mutex, before teardown.
  virtual void Close() {}
};

// uv_run without waiting, then a 1 ms nap when there was nothing to do.
std::unique_ptr<WorkerIdle> MakeNapIdle();
// Blocks in uv_run until a submission (uv_async_send), a timer or I/O wakes
// it. While promises are pending a 50 ms tick bounds the time before the
// worker notices an entry's time-out; while idle with standard output
// batched, a 250 ms tick flushes it; a process exit wakes it through the
// runtime's exit wake.
std::unique_ptr<WorkerIdle> MakeLoopIdle(uv_loop_t* loop);

}  // namespace jsbridge
}  // namespace morvanta
