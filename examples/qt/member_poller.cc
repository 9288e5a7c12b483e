#include "member_poller.h"

#include <QMetaObject>

namespace meeting_app {

MemberPoller::MemberPoller(Fetch fetch, QObject* context, Deliver deliver, int periodMs)
    : fetch_(std::move(fetch)), context_(context), deliver_(std::move(deliver)), periodMs_(periodMs) {
  thread_ = std::thread([this] { run(); });
}

MemberPoller::~MemberPoller() {
  {
    std::lock_guard<std::mutex> lock(m_);
    stop_ = true;
  }
  cv_.notify_all();
  thread_.join();
}

void MemberPoller::poke() {
  {
    std::lock_guard<std::mutex> lock(m_);
    poked_ = true;
  }
  cv_.notify_all();
}

void MemberPoller::run() {
  std::unique_lock<std::mutex> lock(m_);
  for (;;) {
    cv_.wait_for(lock, std::chrono::milliseconds(periodMs_), [this] { return stop_ || poked_; });
    if (stop_) return;
    poked_ = false;
    lock.unlock();
    MeetingSnapshot snapshot = fetch_();
    // A queued call to a receiver that is gone is dropped by Qt.
    QMetaObject::invokeMethod(
        context_, [deliver = deliver_, snapshot] { deliver(snapshot); }, Qt::QueuedConnection);
    lock.lock();
  }
}

}  // namespace meeting_app
