#include "meeting_client.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>
#include <algorithm>

#include "app_session_impl.h"
#include "member_poller.h"

namespace meeting_app {

namespace {

using morvanta::Result;

// Every completion and listener call must arrive on the GUI thread (host
// dispatch); a debug build stops at once when one does not.
void assertGuiThread() {
  Q_ASSERT_X(QThread::currentThread() == QCoreApplication::instance()->thread(), "MeetingClient",
             "a library callback ran off the GUI thread");
}

QString qs(const std::string& s) { return QString::fromStdString(s); }

MemberState memberFrom(const morvanta::Member& m) {
  MemberState s;
  s.uuid = qs(m.uuid);
  s.name = qs(m.name);
  s.audioOn = m.isAudioOn;
  s.videoOn = m.isVideoOn;
  s.sharing = m.isSharingScreen;
  s.handUp = m.isHandsUp;
  return s;
}

ChatLine chatFrom(const morvanta::ChatMessage& m) {
  ChatLine c;
  c.messageUuid = qs(m.messageUuid);
  c.fromUuid = qs(m.fromUserUuid);
  c.fromName = qs(m.fromNick);
  c.text = m.file ? QCoreApplication::translate("chat", "[file] %1").arg(qs(m.file->name)) : qs(m.text);
  c.time = m.time;
  c.mine = m.isMe;
  // Received messages come without their id: sender, time and text name them.
  if (c.messageUuid.isEmpty()) c.messageUuid = QStringLiteral("%1|%2|%3").arg(c.fromUuid).arg(c.time).arg(c.text);
  return c;
}

}  // namespace

// The client's ears: the meeting, RTC statistics and waiting room
// listeners, subscribed for as long as the client listens.
class MeetingClient::Events final : public morvanta::MeetingListener,
                                    public morvanta::RtcStatsListener,
                                    public morvanta::WaitingRoomListener {
 public:
  Events(MeetingClient& c, AppSession::Impl& s) : c_(c) {
    subscriptions_[0] = s.meeting.addMeetingListener(*this);
    subscriptions_[1] = s.meeting.addRtcStatsListener(*this);
    subscriptions_[2] = s.waitingRoom.addListener(*this);
  }

  // --- meeting ---
  void onMemberJoinMeeting(const morvanta::Member& m) override {
    if (!live()) return;
    MemberState s = memberFrom(m);
    c_.departed_.remove(s.uuid);
    c_.present_.insert(s.uuid);
    emit c_.memberJoined(s);
  }
  void onMemberLeaveMeeting(const morvanta::Member& m) override {
    if (!live()) return;
    const QString uuid = qs(m.uuid);
    c_.present_.remove(uuid);
    c_.departed_.insert(uuid);
    emit c_.memberLeft(uuid);
  }
  void onMemberAudioMuteChanged(const std::string& uuid, bool mute) override {
    if (live()) emit c_.audioChanged(qs(uuid), !mute);
  }
  void onMemberVideoMuteChanged(const std::string& uuid, bool mute) override {
    if (live()) emit c_.videoChanged(qs(uuid), !mute);
  }
  void onMemberScreenShareStateChanged(const morvanta::Member& m, bool sharing,
                                       const std::optional<morvanta::Member>&) override {
    if (live()) emit c_.sharingChanged(qs(m.uuid), sharing);
  }
  // A meeting I left or ended myself reports its end too, possibly after
  // the call's answer and even after the next meeting began: that report is
  // swallowed unless it still concerns the meeting I am in.
  void onRoomEnded(const std::string& reason, const std::string&) override {
    assertGuiThread();
    if (c_.selfEndGeneration_ != 0) {
      const bool same = c_.selfEndGeneration_ == c_.generation_;
      c_.selfEndGeneration_ = 0;
      if (!same) return;
    }
    c_.leftMeeting(qs(reason));
  }
  void onReceiveChatroomMessages(const std::vector<morvanta::ChatMessage>& messages) override {
    if (!live()) return;
    QList<ChatLine> lines;
    for (const auto& m : messages) lines << chatFrom(m);
    emit c_.chatReceived(lines);
  }

  // --- RTC statistics (one round: totals first, network quality last) ---
  void onRtcStats(const morvanta::RtcStats& s) override {
    assertGuiThread();
    c_.stats_.durationSeconds = s.duration;
  }
  void onLocalAudioStats(const morvanta::LocalAudioStats& s) override {
    assertGuiThread();
    c_.stats_.localAudioKbps = s.sentBitrate;
  }
  void onRemoteAudioStats(const std::vector<morvanta::RemoteAudioStats>& s) override {
    assertGuiThread();
    c_.stats_.remoteAudioStreams = static_cast<int>(s.size());
    c_.stats_.rxKbps = 0;
    for (const auto& r : s) c_.stats_.rxKbps += r.receivedBitrate;
  }
  void onLocalVideoStats(const morvanta::LocalVideoStats& s) override {
    assertGuiThread();
    c_.stats_.localVideoKbps = s.sentBitrate;
    c_.stats_.txKbps = c_.stats_.localAudioKbps + s.sentBitrate;
  }
  void onRemoteVideoStats(const std::vector<morvanta::RemoteVideoStats>& s) override {
    assertGuiThread();
    c_.stats_.remoteVideoStreams = static_cast<int>(s.size());
    for (const auto& r : s) c_.stats_.rxKbps += r.receivedBitrate;
  }
  void onNetworkQuality(const std::vector<morvanta::NetworkQualityInfo>& q) override {
    assertGuiThread();
    int worst = 0;
    for (const auto& i : q) worst = std::max({worst, i.uplinkQuality, i.downlinkQuality});
    c_.stats_.worstQuality = worst;
    if (c_.inMeeting_) emit c_.statsUpdated(c_.stats_);
  }

  // --- waiting room ---
  void onMemberJoin(const morvanta::WaitingRoomMember& m, int32_t) override {
    if (live()) emit c_.guestArrived(WaitingGuest{qs(m.uuid), qs(m.name)});
  }
  void onMemberLeave(const std::string& uuid, int32_t) override {
    if (live()) emit c_.guestGone(qs(uuid));
  }
  void onMemberAdmitted(const std::string& uuid) override {
    if (live()) emit c_.guestGone(qs(uuid));
  }
  void onMemberNameChanged(const std::string& uuid, const std::string& name,
                           const std::optional<morvanta::Member>&) override {
    if (live()) emit c_.guestArrived(WaitingGuest{qs(uuid), qs(name)});
  }
  // Waiting myself to be let in: admitted (status 2), I go in.
  void onMyStatusChanged(int32_t status, int32_t) override {
    assertGuiThread();
    if (status != 2 || c_.meetingNum_.isEmpty()) return;
    MeetingClient* c = &c_;
    c->session_.impl().meeting.rejoinAfterAdmittedToRoom([c](Result<void> r) {
      assertGuiThread();
      if (c->check(tr("Entering the meeting"), r)) c->enterMeeting(c->meetingNum_, QString(), false);
    });
  }

 private:
  bool live() const {
    assertGuiThread();
    return c_.inMeeting_;
  }

  MeetingClient& c_;
  morvanta::Subscription subscriptions_[3];
};

MeetingClient::MeetingClient(AppSession& session, QObject* parent)
    : QObject(parent), session_(session), events_(std::make_unique<Events>(*this, session.impl())) {}

MeetingClient::~MeetingClient() { shutdown(); }

void MeetingClient::shutdown() {
  poller_.reset();
  events_.reset();
}

template <class R>
bool MeetingClient::check(const QString& what, const R& r) {
  if (r.ok()) return true;
  emit operationFailed(what, tr("%1 (code %2)").arg(qs(r.message)).arg(r.code));
  return false;
}

// A completion that only reports a failure.
auto MeetingClient::reportFailure(const QString& what) {
  return [this, what](Result<void> r) {
    assertGuiThread();
    check(what, r);
  };
}

// --- account -------------------------------------------------------------------

void MeetingClient::signIn(const QString& username, const QString& password) {
  session_.impl().account.loginByPassword({username.toStdString(), password.toStdString()},
                                          [this](Result<morvanta::AccountInfo> r) {
                                            assertGuiThread();
                                            if (!r.ok() || !r.value) {
                                              emit signInFailed(tr("%1 (code %2)").arg(qs(r.message)).arg(r.code));
                                              return;
                                            }
                                            localUuid_ = qs(r.value->userUuid);
                                            nickname_ = qs(r.value->nickname);
                                            emit signedIn(nickname_);
                                            refreshSchedule();
                                          });
}

void MeetingClient::signOut() {
  session_.impl().account.logout([this](Result<void>) {
    assertGuiThread();
    localUuid_.clear();
    nickname_.clear();
    emit signedOut();
  });
}

// --- meetings ------------------------------------------------------------------

void MeetingClient::startMeeting() {
  const QString subject = tr("%1's meeting").arg(nickname_);
  morvanta::MeetingCreateOptions o;
  o.subject = subject.toStdString();
  o.nickname = nickname_.toStdString();
  session_.impl().meeting.createMeeting(o, [this, subject](Result<void> r) {
    assertGuiThread();
    if (!r.ok()) {
      emit meetingFailed(tr("%1 (code %2)").arg(qs(r.message)).arg(r.code));
      return;
    }
    enterMeeting(QString(), subject, true);
  });
}

void MeetingClient::joinMeeting(const QString& meetingNum) {
  morvanta::MeetingJoinOptions o;
  o.meetingNum = meetingNum.toStdString();
  o.nickname = nickname_.toStdString();
  meetingNum_ = meetingNum;
  session_.impl().meeting.joinMeeting(o, [this, meetingNum](Result<void> r) {
    assertGuiThread();
    if (!r.ok()) {
      meetingNum_.clear();
      emit meetingFailed(tr("%1 (code %2)").arg(qs(r.message)).arg(r.code));
      return;
    }
    enterMeeting(meetingNum, QString(), false);
  });
}

// Inside the room now: my own row at once; who hosts, the meeting's number
// and the members already there come with the first reading of the poller.
void MeetingClient::enterMeeting(const QString& meetingNum, const QString& subject, bool isHost) {
  inMeeting_ = true;
  ++generation_;
  isHost_ = isHost;
  hostUuid_ = isHost ? localUuid_ : QString();
  meetingNum_ = meetingNum;
  subject_ = subject;
  present_.clear();
  departed_.clear();
  handSetAtMs_.clear();
  mine_.clear();
  lastSent_.reset();
  stats_ = RtcSummary();
  emit meetingEntered(meetingNum, subject, isHost);
  MemberState me;
  me.uuid = localUuid_;
  me.name = nickname_;
  present_.insert(me.uuid);
  emit memberJoined(me);
  // The two readings block: they run on the poller's thread.
  const morvanta::MeetingManager* meeting = &session_.impl().meeting;
  const morvanta::MemberManager* members = &session_.impl().member;
  poller_ = std::make_unique<MemberPoller>(
      [meeting, members] {
        MeetingSnapshot snap;
        snap.takenFromMs = QDateTime::currentMSecsSinceEpoch();
        meeting->getMeetingInfo([&snap](Result<morvanta::MeetingSDKInfo> r) {
          if (!r.ok() || !r.value) return;
          snap.haveInfo = true;
          snap.meetingNum = qs(r.value->meetingNum);
          snap.subject = qs(r.value->subject);
          snap.hostUuid = qs(r.value->hostUuid);
          snap.myUuid = qs(r.value->myUuid);
          snap.inWaitingRoom = r.value->inWaitingRoom.value_or(false);
        });
        members->getMemberList([&snap](Result<std::vector<morvanta::Member>> r) {
          if (!r.value) return;
          for (const auto& m : *r.value) snap.members << memberFrom(m);
        });
        return snap;
      },
      this, [this](const MeetingSnapshot& snap) { applySnapshot(snap); }, 1000);
}

// A reading of the meeting: who hosts, members the events have not brought
// yet, and the raised hands, which have no event.
void MeetingClient::applySnapshot(const MeetingSnapshot& snap) {
  if (!inMeeting_) return;
  if (snap.haveInfo) {
    const bool isHost = !snap.hostUuid.isEmpty() && snap.hostUuid == snap.myUuid;
    if (snap.hostUuid != hostUuid_ || isHost != isHost_ || snap.meetingNum != meetingNum_ || snap.subject != subject_) {
      hostUuid_ = snap.hostUuid;
      isHost_ = isHost;
      meetingNum_ = snap.meetingNum;
      subject_ = snap.subject;
      emit meetingInfoUpdated(meetingNum_, subject_, hostUuid_, isHost_);
    }
  }
  for (const MemberState& m : snap.members) {
    if (departed_.contains(m.uuid)) continue;
    if (!present_.contains(m.uuid)) {
      present_.insert(m.uuid);
      emit memberJoined(m);
    } else if (handSetAtMs_.value(m.uuid, 0) < snap.takenFromMs) {
      // (a reading begun before an answer that changed the hand is older
      // than what the row shows)
      emit handChanged(m.uuid, m.handUp);
    }
  }
}

void MeetingClient::leaveMeeting(bool endForAll) {
  selfEndGeneration_ = generation_;
  auto done = [this, endForAll](Result<void> r) {
    assertGuiThread();
    if (check(endForAll ? tr("Ending the meeting") : tr("Leaving"), r)) {
      leftMeeting(endForAll ? tr("ended for all") : tr("left"));
    } else {
      selfEndGeneration_ = 0;
    }
  };
  if (endForAll) {
    session_.impl().meeting.endMeeting(done);
  } else {
    session_.impl().meeting.leaveMeeting(false, done);
  }
}

void MeetingClient::leftMeeting(const QString& reason) {
  if (!inMeeting_) return;
  inMeeting_ = false;
  poller_.reset();
  present_.clear();
  departed_.clear();
  lastSent_.reset();
  meetingNum_.clear();
  subject_.clear();
  hostUuid_.clear();
  emit canRecallChanged(false);
  emit meetingLeft(reason);
  refreshSchedule();
}

// --- scheduling ----------------------------------------------------------------

void MeetingClient::refreshSchedule() {
  session_.impl().preMeeting.getMeetingListBySize(std::nullopt, [this](Result<std::vector<morvanta::MeetingInfo>> r) {
    assertGuiThread();
    QList<ScheduledMeeting> list;
    if (r.value) {
      for (const auto& m : *r.value) list << ScheduledMeeting{m.meetingId, qs(m.meetingNum), qs(m.subject), m.startTime};
    }
    emit scheduleLoaded(list);
  });
}

void MeetingClient::scheduleMeeting(const QString& subject) {
  morvanta::PreMeetingCreateOptions o;
  o.subject = subject.toStdString();
  session_.impl().preMeeting.scheduleMeeting(o, [this](Result<morvanta::MeetingInfo> r) {
    assertGuiThread();
    if (check(tr("Scheduling"), r)) refreshSchedule();
  });
}

void MeetingClient::cancelScheduled(qint64 meetingId) {
  session_.impl().preMeeting.cancelMeeting(meetingId, std::nullopt, [this](Result<void> r) {
    assertGuiThread();
    if (check(tr("Cancelling"), r)) refreshSchedule();
  });
}

// --- my controls ---------------------------------------------------------------

void MeetingClient::setMicrophoneOn(bool on) {
  auto& audio = session_.impl().audio;
  if (on) {
    audio.unmuteMyAudio(reportFailure(tr("Microphone")));
  } else {
    audio.muteMyAudio(reportFailure(tr("Microphone")));
  }
}

void MeetingClient::setCameraOn(bool on) {
  auto& video = session_.impl().video;
  if (on) {
    video.unmuteMyVideo(reportFailure(tr("Camera")));
  } else {
    video.muteMyVideo(reportFailure(tr("Camera")));
  }
}

void MeetingClient::setSharing(bool sharing) {
  auto& share = session_.impl().share;
  if (sharing) {
    morvanta::ScreenShareConfig config;
    config.isLinux = true;
    share.startScreenShare(config, reportFailure(tr("Screen share")));
  } else {
    share.stopScreenShare(std::nullopt, reportFailure(tr("Screen share")));
  }
}

void MeetingClient::setHandUp(bool up) {
  auto done = [this, up](Result<void> r) {
    assertGuiThread();
    if (!check(tr("Hand"), r)) return;
    handSetAtMs_[localUuid_] = QDateTime::currentMSecsSinceEpoch();
    emit handChanged(localUuid_, up);
  };
  if (up) {
    session_.impl().member.handsUp(done);
  } else {
    session_.impl().member.handsDown(std::nullopt, done);
  }
}

void MeetingClient::loadDevices() {
  // One row per device kind: its list, then the one in use.
  using List = Result<std::vector<morvanta::DeviceInfo>>;
  using Id = Result<std::string>;
  auto deliver = [this](const QString& kind) {
    return [this, kind](const List& list, const Id& id) {
      assertGuiThread();
      QList<Device> devices;
      if (list.value) {
        for (const auto& d : *list.value) devices << Device{qs(d.deviceId), qs(d.deviceName)};
      }
      emit devicesLoaded(kind, devices, id.value ? qs(*id.value) : QString());
    };
  };
  auto& audio = session_.impl().audio;
  auto& video = session_.impl().video;
  audio.getMicrophoneDeviceList([&audio, d = deliver("microphone")](List list) {
    audio.getMicrophoneDeviceId([d, list](Id id) { d(list, id); });
  });
  audio.getSpeakerDeviceList([&audio, d = deliver("speaker")](List list) {
    audio.getSpeakerDeviceId([d, list](Id id) { d(list, id); });
  });
  video.getCameraDeviceList([&video, d = deliver("camera")](List list) {
    video.getCameraDeviceId([d, list](Id id) { d(list, id); });
  });
}

void MeetingClient::chooseMicrophone(const QString& id) {
  session_.impl().audio.setMicrophoneDevice(id.toStdString(), reportFailure(tr("Choosing the microphone")));
}

void MeetingClient::chooseSpeaker(const QString& id) {
  session_.impl().audio.setSpeakerDevice(id.toStdString(), reportFailure(tr("Choosing the speaker")));
}

void MeetingClient::chooseCamera(const QString& id) {
  session_.impl().video.setCameraDevice(id.toStdString(), reportFailure(tr("Choosing the camera")));
}

// --- host actions --------------------------------------------------------------

void MeetingClient::actOnMember(HostAction action, const QString& uuid) {
  using Done = std::function<void(Result<void>)>;
  using Act = void (*)(const morvanta::MemberManager&, const std::string&, Done);
  struct Row {
    HostAction action;
    Act act;
    const char* what;
  };
  static const Row rows[] = {
      {HostAction::MuteAudio, [](auto& m, auto& u, Done d) { m.muteMemberAudio(u, d); }, "Muting the microphone"},
      {HostAction::UnmuteAudio, [](auto& m, auto& u, Done d) { m.unmuteMemberAudio(u, d); }, "Unmuting the microphone"},
      {HostAction::MuteVideo, [](auto& m, auto& u, Done d) { m.muteMemberVideo(u, d); }, "Stopping the camera"},
      {HostAction::UnmuteVideo, [](auto& m, auto& u, Done d) { m.unmuteMemberVideo(u, d); }, "Starting the camera"},
      {HostAction::LowerHand, [](auto& m, auto& u, Done d) { m.handsDown(std::optional<std::string>(u), d); },
       "Lowering the hand"},
      {HostAction::StopShare, [](auto& m, auto& u, Done d) { m.stopMemberScreenShare(u, d); }, "Stopping the share"},
  };
  const auto row = std::find_if(std::begin(rows), std::end(rows), [action](const Row& r) { return r.action == action; });
  if (row == std::end(rows)) return;
  const QString what = tr(row->what);
  row->act(session_.impl().member, uuid.toStdString(), [this, action, uuid, what](Result<void> r) {
    assertGuiThread();
    // A lowered hand has no event of its own: the row changes on the answer.
    if (!check(what, r) || action != HostAction::LowerHand) return;
    handSetAtMs_[uuid] = QDateTime::currentMSecsSinceEpoch();
    emit handChanged(uuid, false);
  });
}

void MeetingClient::muteAll() { session_.impl().member.muteAllAudio(reportFailure(tr("Muting everyone"))); }

// --- chat ----------------------------------------------------------------------

void MeetingClient::sendChat(const QString& message) {
  morvanta::ChatroomTextMessageOptions o;
  o.text = message.toStdString();
  session_.impl().chat.sendTextMessage(o, [this](Result<morvanta::ChatMessage> r) {
    assertGuiThread();
    if (!check(tr("Sending"), r) || !r.value) return;
    ChatLine line = chatFrom(*r.value);
    line.mine = true;
    lastSent_ = std::make_shared<morvanta::ChatMessage>(std::move(*r.value));
    mine_ << line;
    emit chatReceived({line});
    emit canRecallChanged(true);
  });
}

void MeetingClient::recallLastMessage() {
  if (!lastSent_ || mine_.isEmpty()) return;
  auto record = std::static_pointer_cast<const morvanta::ChatMessage>(lastSent_);
  const QString uuid = mine_.last().messageUuid;
  session_.impl().chat.recallMessage(*record, [this, uuid, record](Result<void> r) {
    assertGuiThread();
    if (!check(tr("Recalling"), r)) return;
    emit chatRecalled(uuid);
    if (lastSent_ == record) {
      lastSent_.reset();
      emit canRecallChanged(false);
    }
  });
}

// --- waiting room --------------------------------------------------------------

void MeetingClient::admit(const QString& uuid) {
  session_.impl().waitingRoom.admitMember(uuid.toStdString(), false, reportFailure(tr("Admitting")));
}

void MeetingClient::expel(const QString& uuid) {
  session_.impl().waitingRoom.expelMember(uuid.toStdString(), false, reportFailure(tr("Sending away")));
}

void MeetingClient::admitAll() { session_.impl().waitingRoom.admitAll(reportFailure(tr("Admitting everyone"))); }

}  // namespace meeting_app
