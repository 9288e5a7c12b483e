#include "host_dispatcher.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

namespace meeting_app {

HostDispatcher::HostDispatcher(int fd, std::function<int(int)> dispatch, QObject* parent)
    : QObject(parent), dispatch_(std::move(dispatch)) {
  notifier_ = new QSocketNotifier(fd, QSocketNotifier::Read, this);
  again_ = new QTimer(this);
  again_->setSingleShot(true);
  again_->setInterval(0);
  connect(notifier_, &QSocketNotifier::activated, this, &HostDispatcher::turn);
  connect(again_, &QTimer::timeout, this, &HostDispatcher::turn);
}

HostDispatcher::~HostDispatcher() = default;

void HostDispatcher::resetStats() {
  longestNs_ = 0;
  items_ = 0;
  turns_ = 0;
  emit statsChanged();
}

// One turn: slices of kSliceItems until nothing waits or the budget is
// spent; then the notifier (or the zero-timer, when items remain) brings the
// next turn after the event loop has had its go.
void HostDispatcher::turn() {
  Q_ASSERT_X(QThread::currentThread() == thread(), "HostDispatcher", "dispatching off the GUI thread");
  notifier_->setEnabled(false);
  QElapsedTimer clock;
  clock.start();
  bool more = false;
  qint64 ran = 0;
  for (;;) {
    const int n = dispatch_(kSliceItems);
    if (n <= 0) break;
    ran += n;
    if (n < kSliceItems) break;
    if (clock.nsecsElapsed() >= kTurnBudgetNs) {
      more = true;
      break;
    }
  }
  const qint64 spent = clock.nsecsElapsed();
  if (ran > 0) {
    ++turns_;
    items_ += ran;
    if (spent > longestNs_) longestNs_ = spent;
    emit statsChanged();
  }
  if (more) {
    again_->start();
  } else {
    notifier_->setEnabled(true);
  }
}

void HostDispatcher::drain() {
  while (dispatch_(0) > 0) {
  }
}

}  // namespace meeting_app
