// Who waits to be let into the meeting, with the host's buttons to admit
// one, send one away, or admit everyone.
#pragma once

#include <QWidget>

#include "meeting_types.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace meeting_app {

class WaitingRoomPanel : public QWidget {
  Q_OBJECT
 public:
  explicit WaitingRoomPanel(QWidget* parent = nullptr);

  void addGuest(const WaitingGuest& guest);
  void removeGuest(const QString& uuid);
  void clearGuests();
  void setHostControls(bool enabled);
  int guestCount() const;

 signals:
  void admitRequested(const QString& uuid);
  void expelRequested(const QString& uuid);
  void admitAllRequested();

 private:
  QString selectedUuid() const;
  void refresh();

  QLabel* title_;
  QListWidget* list_;
  QPushButton* admit_;
  QPushButton* expel_;
  QPushButton* admitAll_;
  bool host_ = false;
};

}  // namespace meeting_app
