// Runs the library's waiting callbacks and listener calls on the GUI
// thread: a QSocketNotifier watches the library's descriptor, and each
// wake-up dispatches in slices, giving the event loop back (through a
// zero-timer) once a turn has taken its time budget, so that a flood of
// events never freezes the window. Every turn is timed; the longest is kept.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <functional>

class QSocketNotifier;
class QTimer;

namespace meeting_app {

class HostDispatcher : public QObject {
  Q_OBJECT
 public:
  // `dispatch(max)` runs up to `max` waiting items and answers how many ran
  // (negative: nothing to run here).
  HostDispatcher(int fd, std::function<int(int)> dispatch, QObject* parent = nullptr);
  ~HostDispatcher() override;

  void setModeText(const QString& text) { modeText_ = text; }
  QString modeText() const { return modeText_; }
  // The longest stretch, in ms, one turn of dispatching held the event loop.
  double longestBlockMs() const { return longestNs_ / 1e6; }
  qint64 itemsDispatched() const { return items_; }
  qint64 turns() const { return turns_; }
  void resetStats();
  // Runs what waits now (used before the session ends).
  void drain();

  static constexpr int kSliceItems = 4;
  static constexpr qint64 kTurnBudgetNs = 8'000'000;

 signals:
  void statsChanged();

 private:
  void turn();

  std::function<int(int)> dispatch_;
  QSocketNotifier* notifier_;
  QTimer* again_;
  QString modeText_;
  qint64 longestNs_ = 0;
  qint64 items_ = 0;
  qint64 turns_ = 0;
};

}  // namespace meeting_app
