// Home, once signed in: start a meeting, join one by number, and the
// scheduled meetings (schedule one, cancel one).
#pragma once

#include <QWidget>

#include "meeting_types.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace meeting_app {

class HomePage : public QWidget {
  Q_OBJECT
 public:
  explicit HomePage(QWidget* parent = nullptr);
  void setWelcome(const QString& nickname);
  void setSchedule(const QList<ScheduledMeeting>& meetings);
  void setStatus(const QString& text);
  void setBusy(bool busy);

 signals:
  void startRequested();
  void joinRequested(const QString& meetingNum);
  void scheduleRequested(const QString& subject);
  void cancelRequested(qint64 meetingId);
  void signOutRequested();

 private:
  QLabel* welcome_;
  QPushButton* start_;
  QLineEdit* number_;
  QPushButton* join_;
  QLineEdit* subject_;
  QPushButton* schedule_;
  QListWidget* scheduled_;
  QPushButton* cancel_;
  QPushButton* signOut_;
  QLabel* status_;
};

}  // namespace meeting_app
