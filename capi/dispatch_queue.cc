#include "capi/dispatch_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "runtime/log.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kTag[] = "[Dispatch]";

std::atomic<DispatchQueue*> g_queue{nullptr};
thread_local bool t_dispatching = false;

int MakeDescriptor() {
  int fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (fd < 0) throw std::runtime_error("eventfd failed");
  return fd;
}

}  // namespace

DispatchQueue::DispatchQueue() : fd_(MakeDescriptor()) {}

DispatchQueue& DispatchQueue::Instance() {
  // Never destroyed: the worker may still post while the process exits.
  static DispatchQueue* queue = [] {
    auto* q = new DispatchQueue;
    g_queue.store(q);
    std::atexit(&DispatchQueue::ReleaseAtExit);
    return q;
  }();
  return *queue;
}

DispatchQueue* DispatchQueue::IfMade() { return g_queue.load(); }

bool DispatchQueue::InDispatch() { return t_dispatching; }

void DispatchQueue::MarkNonEmpty() {
  const uint64_t one = 1;
  ssize_t n = ::write(fd_, &one, sizeof one);
  (void)n;  // a full counter is still readable
}

void DispatchQueue::MarkEmpty() {
  uint64_t value = 0;
  ssize_t n = ::read(fd_, &value, sizeof value);
  (void)n;  // EAGAIN: it was not readable
}

void DispatchQueue::Post(std::function<void()> run, std::shared_ptr<const DispatchToken> token) {
  Item item{0, std::move(run), std::move(token)};
  std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return;  // the process is exiting: `item` is released unrun, after the lock
  item.seq = ++next_seq_;
  const bool wasEmpty = items_.empty();
  items_.push_back(std::move(item));
  if (wasEmpty) MarkNonEmpty();
}

int DispatchQueue::Run(int max_items) {
  if (t_dispatching) return -1;
  std::lock_guard<std::mutex> turn(run_mutex_);
  t_dispatching = true;
  struct Reset {
    ~Reset() { t_dispatching = false; }
  } reset;

  uint64_t last = 0;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (items_.empty()) return 0;
    last = items_.back().seq;
  }
  int ran = 0;
  bool wake = false;  // a Drop waits for the item that just ended
  while (max_items <= 0 || ran < max_items) {
    Item item;
    bool live = false;
    {
      // One lock both ends the previous item and takes the next one.
      std::lock_guard<std::mutex> lock(mutex_);
      wake = running_ && waiters_ > 0;
      running_ = nullptr;
      if (items_.empty() || items_.front().seq > last) break;
      item = std::move(items_.front());
      items_.pop_front();
      if (items_.empty()) MarkEmpty();
      live = !item.token || item.token->alive.load();
      if (live) running_ = item.token.get();
    }
    if (wake) idle_.notify_all();
    if (!live) continue;  // a dead record's call: released unrun
    try {
      item.run();
    } catch (const std::exception& e) {
      log::Error(kTag, " ❌ Exception in a dispatched item: ", e.what());
    } catch (...) {
      log::Error(kTag, " ❌ Unknown exception in a dispatched item");
    }
    ++ran;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    wake = wake || (running_ && waiters_ > 0);
    running_ = nullptr;
  }
  if (wake) idle_.notify_all();
  return ran;
}

template <typename Matches>
void DispatchQueue::DropWhere(Matches matches) {
  std::deque<Item> dropped;
  {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool wasEmpty = items_.empty();
    for (auto it = items_.begin(); it != items_.end();) {
      if (it->token && matches(it->token.get())) {
        dropped.push_back(std::move(*it));
        it = items_.erase(it);
      } else {
        ++it;
      }
    }
    if (!wasEmpty && items_.empty()) MarkEmpty();
    // Items never overlap, so on the dispatching thread nothing else runs.
    if (!t_dispatching && running_ && matches(running_)) {
      ++waiters_;
      idle_.wait(lock, [&] { return !running_ || !matches(running_); });
      --waiters_;
    }
  }
  // `dropped` goes here, outside the lock.
}

void DispatchQueue::Drop(const DispatchToken& token) {
  DropWhere([&token](const DispatchToken* t) { return t == &token; });
}

void DispatchQueue::DropListenerItems() {
  DropWhere([](const DispatchToken*) { return true; });
}

size_t DispatchQueue::Size() {
  std::lock_guard<std::mutex> lock(mutex_);
  return items_.size();
}

void DispatchQueue::ReleaseAtExit() {
  DispatchQueue* q = g_queue.load();
  if (!q) return;
  std::deque<Item> released;
  {
    std::lock_guard<std::mutex> lock(q->mutex_);
    q->closed_ = true;
    released.swap(q->items_);
    if (!released.empty()) q->MarkEmpty();
  }
}

}  // namespace capi
}  // namespace morvanta
