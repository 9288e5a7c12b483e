// The app's one door to the meeting library: every operation the windows
// ask for, and every answer and event as a Qt signal. Lives on the GUI
// thread; the library's callbacks and listener calls reach it there through
// host dispatch (HostDispatcher), never from another thread.
#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <memory>

#include "meeting_types.h"

namespace meeting_app {

class AppSession;
class MemberPoller;

class MeetingClient : public QObject {
  Q_OBJECT
 public:
  explicit MeetingClient(AppSession& session, QObject* parent = nullptr);
  ~MeetingClient() override;

  // Stops reading the meeting and hearing events (before the session ends).
  void shutdown();

  bool inMeeting() const { return inMeeting_; }
  bool isHost() const { return isHost_; }
  QString localUuid() const { return localUuid_; }
  QString nickname() const { return nickname_; }

  // Account.
  void signIn(const QString& username, const QString& password);
  void signOut();
  // Meetings.
  void startMeeting();
  void joinMeeting(const QString& meetingNum);
  void leaveMeeting(bool endForAll);
  // Scheduling.
  void refreshSchedule();
  void scheduleMeeting(const QString& subject);
  void cancelScheduled(qint64 meetingId);
  // My own controls.
  void setMicrophoneOn(bool on);
  void setCameraOn(bool on);
  void setSharing(bool sharing);
  void setHandUp(bool up);
  void loadDevices();
  void chooseMicrophone(const QString& id);
  void chooseSpeaker(const QString& id);
  void chooseCamera(const QString& id);
  // Host actions on a member, and on everyone.
  enum class HostAction { MuteAudio, UnmuteAudio, MuteVideo, UnmuteVideo, LowerHand, StopShare };
  void actOnMember(HostAction action, const QString& uuid);
  void muteAll();
  // Chat.
  void sendChat(const QString& text);
  void recallLastMessage();
  // Waiting room.
  void admit(const QString& uuid);
  void expel(const QString& uuid);
  void admitAll();

 signals:
  void signedIn(const QString& nickname);
  void signInFailed(const QString& reason);
  void signedOut();
  void scheduleLoaded(const QList<meeting_app::ScheduledMeeting>& meetings);
  void meetingEntered(const QString& meetingNum, const QString& subject, bool isHost);
  void meetingInfoUpdated(const QString& meetingNum, const QString& subject, const QString& hostUuid, bool isHost);
  void meetingFailed(const QString& reason);
  void meetingLeft(const QString& reason);

  void memberJoined(const meeting_app::MemberState& member);
  void memberLeft(const QString& uuid);
  void audioChanged(const QString& uuid, bool on);
  void videoChanged(const QString& uuid, bool on);
  void sharingChanged(const QString& uuid, bool sharing);
  void handChanged(const QString& uuid, bool up);

  void chatReceived(const QList<meeting_app::ChatLine>& lines);
  void chatRecalled(const QString& messageUuid);
  void canRecallChanged(bool canRecall);

  void guestArrived(const meeting_app::WaitingGuest& guest);
  void guestGone(const QString& uuid);

  void devicesLoaded(const QString& kind, const QList<meeting_app::Device>& devices, const QString& current);
  void statsUpdated(const meeting_app::RtcSummary& stats);
  void operationFailed(const QString& what, const QString& reason);

 private:
  class Events;
  void enterMeeting(const QString& meetingNum, const QString& subject, bool isHost);
  void leftMeeting(const QString& reason);
  void applySnapshot(const MeetingSnapshot& snapshot);
  // Reports a failed operation, or nothing on success; answers success.
  template <class R>
  bool check(const QString& what, const R& result);
  auto reportFailure(const QString& what);

  AppSession& session_;
  std::unique_ptr<Events> events_;
  std::unique_ptr<MemberPoller> poller_;
  bool inMeeting_ = false;
  quint64 generation_ = 0;          // counts the meetings entered
  quint64 selfEndGeneration_ = 0;   // the meeting I asked to leave or end, until its end is reported
  bool isHost_ = false;
  QString localUuid_;
  QString nickname_;
  QString meetingNum_;
  QString subject_;
  QString hostUuid_;
  QSet<QString> present_;   // members the client has announced and not seen leave
  QSet<QString> departed_;  // members seen leaving (a late poll must not bring them back)
  QHash<QString, qint64> handSetAtMs_;  // when an answer last changed a member's hand
  QList<ChatLine> mine_;    // my sent messages, newest last, for recall
  std::shared_ptr<const void> lastSent_;  // the library's record of my last message (a morvanta::ChatMessage)
  RtcSummary stats_;
};

}  // namespace meeting_app
