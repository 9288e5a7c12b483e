// The meeting window: members (live), my controls, the host's actions, the
// chat, the waiting room, a status line, and leave / end for all.
#pragma once

#include <QWidget>

#include "meeting_client.h"

class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;

namespace meeting_app {

class ChatPane;
class HostDispatcher;
class MemberTable;
class WaitingRoomPanel;

class MeetingPage : public QWidget {
  Q_OBJECT
 public:
  MeetingPage(MeetingClient& client, HostDispatcher* dispatcher, QWidget* parent = nullptr);

  // Called when the client has entered a meeting.
  void begin(const QString& meetingNum, const QString& subject, bool isHost);
  // What the meeting's info says once read: number, subject, who hosts.
  void updateInfo(const QString& meetingNum, const QString& subject, const QString& hostUuid, bool isHost);
  // Empties everything when the meeting is over.
  void end();

 private:
  void refreshMyControls();
  void refreshStatus();
  void fillDevices(const QString& kind, const QList<Device>& devices, const QString& current);
  QPushButton* hostButton(const QString& text, const char* name, MeetingClient::HostAction action);

  MeetingClient& client_;
  HostDispatcher* dispatcher_;
  QLabel* title_;
  MemberTable* members_;
  ChatPane* chat_;
  WaitingRoomPanel* waiting_;
  QPushButton* mute_;
  QPushButton* camera_;
  QPushButton* share_;
  QPushButton* hand_;
  QComboBox* microphones_;
  QComboBox* speakers_;
  QComboBox* cameras_;
  QGroupBox* hostBox_;
  QLabel* status_;
  QPushButton* leave_;
  QPushButton* end_;
  RtcSummary stats_;
  bool isHost_ = false;
  bool fillingDevices_ = false;
};

}  // namespace meeting_app
