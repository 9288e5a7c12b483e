// The queue of host dispatch: calls into host code (operation callbacks and
// listener calls) that wait until the host runs them with Morvanta_Dispatch,
// in the order they were produced. One queue per process, made on first use
// with an eventfd that stays open for the life of the process and is
// readable exactly while something waits. A listener call carries its C
// record's token: once the token is dead the call is dropped, never run.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace morvanta {
namespace capi {

// Shared by one C listener record's registration and its queued calls.
struct DispatchToken {
  std::atomic<bool> alive{true};
};

class DispatchQueue {
 public:
  // The queue, made (with its descriptor) on the first call.
  static DispatchQueue& Instance();
  // The queue if it was ever made, else null: worker-mode sessions never
  // make it.
  static DispatchQueue* IfMade();
  // True while this thread runs a dispatched item.
  static bool InDispatch();

  int Descriptor() const { return fd_; }

  // Appends an item; `token` is null for an operation callback. After the
  // process began to exit the item is released at once, unrun.
  void Post(std::function<void()> run, std::shared_ptr<const DispatchToken> token = nullptr);

  // Runs, on the calling thread, the items that were waiting when it was
  // called (at most `max_items` of them when positive), one at a time and
  // never beside another thread's dispatch. Answers how many ran, or -1 when
  // called from inside a dispatched item.
  int Run(int max_items);

  // Releases the items of a dead `token` and, unless this thread is the one
  // dispatching, waits until none of its items is running elsewhere.
  void Drop(const DispatchToken& token);
  // The same for every listener call (Morvanta_Uninitialize).
  void DropListenerItems();

  // Items waiting.
  size_t Size();

 private:
  struct Item {
    uint64_t seq = 0;
    std::function<void()> run;
    std::shared_ptr<const DispatchToken> token;
  };

  DispatchQueue();
  static void ReleaseAtExit();
  // Both with mutex_ held: the descriptor follows the queue's emptiness.
  void MarkNonEmpty();
  void MarkEmpty();
  template <typename Matches>
  void DropWhere(Matches matches);

  const int fd_;
  std::mutex mutex_;
  std::condition_variable idle_;
  std::deque<Item> items_;
  uint64_t next_seq_ = 0;
  bool closed_ = false;
  // The token of the item running now (null for none or an operation callback).
  const DispatchToken* running_ = nullptr;
  // Threads in Drop waiting for the running item to end.
  int waiters_ = 0;
  // Held through a whole Run, so two dispatching threads take turns.
  std::mutex run_mutex_;
};

}  // namespace capi
}  // namespace morvanta
