#include "meeting_client.h"

#include <QCoreApplication>
#include <QThread>
#include <functional>

#include "app_session_impl.h"
#include "member_poller.h"

namespace meeting_app {

namespace {

// Every callback and listener call must arrive on the GUI thread (host
// dispatch); a debug build stops at once when one does not.
void assertGuiThread() {
  Q_ASSERT_X(QThread::currentThread() == QCoreApplication::instance()->thread(), "MeetingClient",
             "a library callback ran off the GUI thread");
}

QString text(const char* s) { return s ? QString::fromUtf8(s) : QString(); }

MemberState memberFrom(const MorvantaMember& m) {
  MemberState s;
  s.uuid = text(m.uuid);
  s.name = text(m.name);
  s.audioOn = m.is_audio_on != 0;
  s.videoOn = m.is_video_on != 0;
  s.sharing = m.is_sharing_screen != 0;
  s.handUp = m.is_hands_up != 0;
  return s;
}

ChatLine chatFrom(const MorvantaChatMessage& m) {
  ChatLine c;
  c.messageUuid = text(m.message_uuid);
  c.fromUuid = text(m.from_user_uuid);
  c.fromName = text(m.from_nick);
  c.text = m.text ? text(m.text) : (m.file && m.file->name ? QCoreApplication::translate("chat", "[file] %1").arg(text(m.file->name)) : QString());
  c.time = m.time;
  c.mine = m.is_me != 0;
  return c;
}

// One heap-held completion per call; freed by its trampoline, or at once
// when the library refused the call (then it never calls back).
using Done = std::function<void(int, const QString&)>;

void plainTrampoline(int code, const char* message, void* user_data) {
  assertGuiThread();
  std::unique_ptr<Done> done(static_cast<Done*>(user_data));
  (*done)(code, text(message));
}

template <class Call>
void callPlain(Call call, Done done) {
  auto* d = new Done(std::move(done));
  const int rc = call(plainTrampoline, d);
  if (rc != 0) {
    std::unique_ptr<Done> own(d);
    (*own)(rc, QCoreApplication::translate("client", "refused by the library"));
  }
}

}  // namespace

// The listener records the client registers, with their trampolines.
struct MeetingClient::Listeners {
  MorvantaMeetingListener meeting{};
  MorvantaRtcStatsListener rtc{};
  MorvantaWaitingRoomListener waiting{};
  bool attached = false;
};

struct ClientEvents {
  static MeetingClient* self(void* ud) {
    assertGuiThread();
    return static_cast<MeetingClient*>(ud);
  }
  static void memberJoin(const MorvantaMember* m, void* ud) {
    MeetingClient* c = self(ud);
    if (!m || !c->inMeeting_) return;
    MemberState s = memberFrom(*m);
    c->departed_.remove(s.uuid);
    c->present_.insert(s.uuid);
    emit c->memberJoined(s);
  }
  static void memberLeave(const MorvantaMember* m, void* ud) {
    MeetingClient* c = self(ud);
    if (!m || !c->inMeeting_) return;
    const QString uuid = text(m->uuid);
    c->present_.remove(uuid);
    c->departed_.insert(uuid);
    emit c->memberLeft(uuid);
  }
  static void audio(const char* uuid, bool mute, void* ud) {
    MeetingClient* c = self(ud);
    if (c->inMeeting_) emit c->audioChanged(text(uuid), !mute);
  }
  static void video(const char* uuid, bool mute, void* ud) {
    MeetingClient* c = self(ud);
    if (c->inMeeting_) emit c->videoChanged(text(uuid), !mute);
  }
  static void share(const MorvantaMember* m, bool sharing, const MorvantaMember*, void* ud) {
    MeetingClient* c = self(ud);
    if (m && c->inMeeting_) emit c->sharingChanged(text(m->uuid), sharing);
  }
  // A meeting I left or ended myself reports its end too, possibly after
  // the call's answer and even after the next meeting began: that report is
  // swallowed unless it still concerns the meeting I am in.
  static void roomEnded(const char* reason, const char*, void* ud) {
    MeetingClient* c = self(ud);
    if (c->selfEndGeneration_ != 0) {
      const bool same = c->selfEndGeneration_ == c->generation_;
      c->selfEndGeneration_ = 0;
      if (!same) return;
    }
    c->leftMeeting(text(reason));
  }
  static void chat(const MorvantaChatMessage* messages, uint32_t count, void* ud) {
    MeetingClient* c = self(ud);
    if (!c->inMeeting_) return;
    QList<ChatLine> lines;
    for (uint32_t i = 0; i < count; ++i) {
      ChatLine line = chatFrom(messages[i]);
      // Received messages come without their id: sender, time and text name them.
      if (line.messageUuid.isEmpty()) line.messageUuid = QStringLiteral("%1|%2|%3").arg(line.fromUuid).arg(line.time).arg(line.text);
      lines << line;
    }
    emit c->chatReceived(lines);
  }
  static void rtcStats(const MorvantaRtcStats* s, void* ud) {
    MeetingClient* c = self(ud);
    if (!s) return;
    c->stats_.durationSeconds = s->duration;
    emit c->statsUpdated(c->stats_);
  }
  static void localAudio(const MorvantaLocalAudioStats* s, void* ud) {
    if (s) self(ud)->stats_.localAudioKbps = s->sent_bitrate;
  }
  static void localVideo(const MorvantaLocalVideoStats* s, void* ud) {
    MeetingClient* c = self(ud);
    if (!s) return;
    c->stats_.localVideoKbps = s->sent_bitrate;
    c->stats_.txKbps = c->stats_.localAudioKbps + s->sent_bitrate;
  }
  static void remoteAudio(const MorvantaRemoteAudioStats* s, uint32_t count, void* ud) {
    MeetingClient* c = self(ud);
    int sum = 0;
    for (uint32_t i = 0; i < count; ++i) sum += s[i].received_bitrate;
    c->stats_.remoteAudioStreams = static_cast<int>(count);
    c->stats_.rxKbps = sum;
  }
  static void remoteVideo(const MorvantaRemoteVideoStats* s, uint32_t count, void* ud) {
    MeetingClient* c = self(ud);
    for (uint32_t i = 0; i < count; ++i) c->stats_.rxKbps += s[i].received_bitrate;
    c->stats_.remoteVideoStreams = static_cast<int>(count);
  }
  static void network(const MorvantaNetworkQualityInfo* q, uint32_t count, void* ud) {
    MeetingClient* c = self(ud);
    int worst = 0;
    for (uint32_t i = 0; i < count; ++i) worst = std::max({worst, q[i].uplink_quality, q[i].downlink_quality});
    c->stats_.worstQuality = worst;
    emit c->statsUpdated(c->stats_);
  }
  static void guestJoin(const MorvantaWaitingRoomMember* m, int32_t, void* ud) {
    MeetingClient* c = self(ud);
    if (m && c->inMeeting_) emit c->guestArrived(WaitingGuest{text(m->uuid), text(m->name)});
  }
  static void guestLeave(const char* uuid, int32_t, void* ud) {
    MeetingClient* c = self(ud);
    if (c->inMeeting_) emit c->guestGone(text(uuid));
  }
  static void guestAdmitted(const char* uuid, void* ud) { guestLeave(uuid, 0, ud); }
  static void guestName(const char* uuid, const char* name, const MorvantaMember*, void* ud) {
    MeetingClient* c = self(ud);
    if (c->inMeeting_) emit c->guestArrived(WaitingGuest{text(uuid), text(name)});
  }
  static void myStatus(int32_t status, int32_t, void* ud) {
    MeetingClient* c = self(ud);
    if (status != 2 || c->meetingNum_.isEmpty()) return;  // admitted: go in
    callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Meeting_RejoinAfterAdmittedToRoom(c->session_.impl().meeting, cb, d); },
              [c](int code, const QString& message) {
                if (c->check(QObject::tr("Entering the meeting"), code, message)) c->enterMeeting(c->meetingNum_, QString(), false);
              });
  }
};

MeetingClient::MeetingClient(AppSession& session, QObject* parent)
    : QObject(parent), session_(session), listeners_(std::make_unique<Listeners>()) {
  attachListeners();
}

MeetingClient::~MeetingClient() { shutdown(); }

void MeetingClient::shutdown() {
  poller_.reset();
  detachListeners();
}

bool MeetingClient::check(const QString& what, int code, const QString& message) {
  if (code == 0) return true;
  emit operationFailed(what, tr("%1 (code %2)").arg(message).arg(code));
  return false;
}

void MeetingClient::attachListeners() {
  AppSession::Impl& s = session_.impl();
  Listeners& l = *listeners_;
  l.meeting.onMemberJoinMeeting = ClientEvents::memberJoin;
  l.meeting.onMemberLeaveMeeting = ClientEvents::memberLeave;
  l.meeting.onMemberAudioMuteChanged = ClientEvents::audio;
  l.meeting.onMemberVideoMuteChanged = ClientEvents::video;
  l.meeting.onMemberScreenShareStateChanged = ClientEvents::share;
  l.meeting.onRoomEnded = ClientEvents::roomEnded;
  l.meeting.onReceiveChatroomMessages = ClientEvents::chat;
  l.meeting.user_data = this;
  l.rtc.onRtcStats = ClientEvents::rtcStats;
  l.rtc.onLocalAudioStats = ClientEvents::localAudio;
  l.rtc.onLocalVideoStats = ClientEvents::localVideo;
  l.rtc.onRemoteAudioStats = ClientEvents::remoteAudio;
  l.rtc.onRemoteVideoStats = ClientEvents::remoteVideo;
  l.rtc.onNetworkQuality = ClientEvents::network;
  l.rtc.user_data = this;
  l.waiting.onMemberJoin = ClientEvents::guestJoin;
  l.waiting.onMemberLeave = ClientEvents::guestLeave;
  l.waiting.onMemberAdmitted = ClientEvents::guestAdmitted;
  l.waiting.onMemberNameChanged = ClientEvents::guestName;
  l.waiting.onMyStatusChanged = ClientEvents::myStatus;
  l.waiting.user_data = this;
  if (!s.meeting) return;
  Morvanta_Meeting_AddMeetingListener(s.meeting, &l.meeting);
  Morvanta_Meeting_AddRtcStatsListener(s.meeting, &l.rtc);
  Morvanta_WaitingRoom_AddListener(s.waitingRoom, &l.waiting);
  l.attached = true;
}

void MeetingClient::detachListeners() {
  AppSession::Impl& s = session_.impl();
  Listeners& l = *listeners_;
  if (!l.attached || !s.meeting) return;
  Morvanta_Meeting_RemoveMeetingListener(s.meeting, &l.meeting);
  Morvanta_Meeting_RemoveRtcStatsListener(s.meeting, &l.rtc);
  Morvanta_WaitingRoom_RemoveListener(s.waitingRoom, &l.waiting);
  l.attached = false;
}

// --- account -------------------------------------------------------------------

void MeetingClient::signIn(const QString& username, const QString& password) {
  struct Ctx {
    MeetingClient* self;
  };
  const QByteArray u = username.toUtf8(), p = password.toUtf8();
  MorvantaLoginByPasswordOptions options{u.constData(), p.constData()};
  auto* ctx = new Ctx{this};
  const int rc = Morvanta_Account_LoginByPassword(
      session_.impl().account, &options,
      [](int code, const char* message, MorvantaAccountInfo* info, void* ud) {
        assertGuiThread();
        std::unique_ptr<Ctx> ctx(static_cast<Ctx*>(ud));
        MeetingClient* c = ctx->self;
        if (code != 0 || !info) {
          Morvanta_FreeAccountInfo(info);
          emit c->signInFailed(tr("%1 (code %2)").arg(text(message)).arg(code));
          return;
        }
        c->localUuid_ = text(info->user_uuid);
        c->nickname_ = text(info->nickname);
        Morvanta_FreeAccountInfo(info);
        emit c->signedIn(c->nickname_);
        c->refreshSchedule();
      },
      ctx);
  if (rc != 0) {
    delete ctx;
    emit signInFailed(tr("The library refused the request (code %1)").arg(rc));
  }
}

void MeetingClient::signOut() {
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Account_Logout(session_.impl().account, cb, d); },
            [this](int, const QString&) {
              localUuid_.clear();
              nickname_.clear();
              emit signedOut();
            });
}

// --- meetings ------------------------------------------------------------------

void MeetingClient::startMeeting() {
  const QString subjectText = tr("%1's meeting").arg(nickname_);
  const QByteArray subject = subjectText.toUtf8();
  const QByteArray nick = nickname_.toUtf8();
  MorvantaMeetingCreateOptions o{};
  o.subject = subject.constData();
  o.nickname = nick.constData();
  o.noChat = o.noWhiteboard = o.noCaptions = o.joinTimeout = o.subType = o.enableWaitingRoom = -1;
  o.startTime = o.endTime = -1;
  if (qEnvironmentVariableIntValue("MORVANTA_MEETING_WAITING_ROOM") > 0) o.enableWaitingRoom = 1;
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Meeting_CreateMeeting(session_.impl().meeting, &o, cb, d); },
            [this, subjectText](int code, const QString& message) {
              if (code != 0) {
                emit meetingFailed(tr("%1 (code %2)").arg(message).arg(code));
                return;
              }
              enterMeeting(QString(), subjectText, true);
            });
}

void MeetingClient::joinMeeting(const QString& meetingNum) {
  const QByteArray num = meetingNum.toUtf8(), nick = nickname_.toUtf8();
  MorvantaMeetingJoinOptions o{num.constData(), nullptr, nick.constData()};
  meetingNum_ = meetingNum;
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Meeting_JoinMeeting(session_.impl().meeting, &o, cb, d); },
            [this, meetingNum](int code, const QString& message) {
              if (code != 0) {
                meetingNum_.clear();
                emit meetingFailed(tr("%1 (code %2)").arg(message).arg(code));
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
  mine_.clear();
  lastSent_.reset();
  stats_ = RtcSummary();
  emit meetingEntered(meetingNum, subject, isHost);
  MemberState me;
  me.uuid = localUuid_;
  me.name = nickname_;
  present_.insert(me.uuid);
  emit memberJoined(me);
  MorvantaMeetingManager_T* meeting = session_.impl().meeting;
  MorvantaMemberManager_T* members = session_.impl().member;
  poller_ = std::make_unique<MemberPoller>(
      [meeting, members] {
        MeetingSnapshot snap;
        MorvantaMeetingSDKInfo* info = nullptr;
        if (Morvanta_Meeting_GetMeetingInfo(meeting, &info) == 0 && info) {
          snap.haveInfo = true;
          snap.meetingNum = text(info->meeting_num);
          snap.subject = text(info->subject);
          snap.hostUuid = text(info->host_uuid);
          snap.myUuid = text(info->my_uuid);
          snap.inWaitingRoom = info->in_waiting_room > 0;
          Morvanta_FreeMeetingInfo(info);
        }
        MorvantaMember* array = nullptr;
        uint32_t count = 0;
        if (Morvanta_Member_GetMemberList(members, &array, &count) == 0) {
          for (uint32_t i = 0; i < count; ++i) snap.members << memberFrom(array[i]);
          Morvanta_FreeMemberList(array, count);
        }
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
    } else {
      emit handChanged(m.uuid, m.handUp);
    }
  }
}

void MeetingClient::leaveMeeting(bool endForAll) {
  selfEndGeneration_ = generation_;
  callPlain([&](MorvantaCallback cb, void* d) {
              return endForAll ? Morvanta_Meeting_EndMeeting(session_.impl().meeting, cb, d)
                               : Morvanta_Meeting_LeaveMeeting(session_.impl().meeting, 0, cb, d);
            },
            [this, endForAll](int code, const QString& message) {
              if (check(endForAll ? tr("Ending the meeting") : tr("Leaving"), code, message)) {
                leftMeeting(endForAll ? tr("ended for all") : tr("left"));
              } else {
                selfEndGeneration_ = 0;
              }
            });
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
  struct Ctx {
    MeetingClient* self;
  };
  auto* ctx = new Ctx{this};
  const int rc = Morvanta_PreMeeting_GetMeetingListBySize(
      session_.impl().preMeeting, nullptr,
      [](int code, const char*, MorvantaMeetingInfo* meetings, int32_t count, void* ud) {
        assertGuiThread();
        std::unique_ptr<Ctx> ctx(static_cast<Ctx*>(ud));
        QList<ScheduledMeeting> list;
        for (int32_t i = 0; code == 0 && i < count; ++i) {
          list << ScheduledMeeting{meetings[i].meeting_id, text(meetings[i].meeting_num), text(meetings[i].subject),
                                   meetings[i].start_time};
        }
        Morvanta_FreeMeetingList(meetings, count);
        emit ctx->self->scheduleLoaded(list);
      },
      ctx);
  if (rc != 0) delete ctx;
}

void MeetingClient::scheduleMeeting(const QString& subject) {
  struct Ctx {
    MeetingClient* self;
  };
  const QByteArray s = subject.toUtf8();
  MorvantaPreMeetingCreateOptions o{};
  o.subject = s.constData();
  o.start_time = o.end_time = -1;
  o.enable_waiting_room = o.enable_join_before_host = o.no_chat = o.no_cloud_record = -1;
  auto* ctx = new Ctx{this};
  const int rc = Morvanta_PreMeeting_ScheduleMeeting(
      session_.impl().preMeeting, &o,
      [](int code, const char* message, MorvantaMeetingInfo* info, void* ud) {
        assertGuiThread();
        std::unique_ptr<Ctx> ctx(static_cast<Ctx*>(ud));
        Morvanta_FreePreMeetingInfo(info);
        if (ctx->self->check(tr("Scheduling"), code, text(message))) ctx->self->refreshSchedule();
      },
      ctx);
  if (rc != 0) delete ctx;
}

void MeetingClient::cancelScheduled(qint64 meetingId) {
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_PreMeeting_CancelMeeting(session_.impl().preMeeting, meetingId, -1, cb, d); },
            [this](int code, const QString& message) {
              if (check(tr("Cancelling"), code, message)) refreshSchedule();
            });
}

// --- my controls ---------------------------------------------------------------

void MeetingClient::setMicrophoneOn(bool on) {
  callPlain([&](MorvantaCallback cb, void* d) {
              return on ? Morvanta_Audio_UnmuteMyAudio(session_.impl().audio, cb, d)
                        : Morvanta_Audio_MuteMyAudio(session_.impl().audio, cb, d);
            },
            [this](int code, const QString& message) { check(tr("Microphone"), code, message); });
}

void MeetingClient::setCameraOn(bool on) {
  callPlain([&](MorvantaCallback cb, void* d) {
              return on ? Morvanta_Video_UnmuteMyVideo(session_.impl().video, cb, d)
                        : Morvanta_Video_MuteMyVideo(session_.impl().video, cb, d);
            },
            [this](int code, const QString& message) { check(tr("Camera"), code, message); });
}

void MeetingClient::setSharing(bool sharing) {
  MorvantaScreenShareConfig config{-1, nullptr, -1, -1, -1, nullptr, -1, nullptr, -1, 1};
  callPlain([&](MorvantaCallback cb, void* d) {
              return sharing ? Morvanta_ScreenShare_StartScreenShare(session_.impl().share, &config, cb, d)
                             : Morvanta_ScreenShare_StopScreenShare(session_.impl().share, nullptr, cb, d);
            },
            [this](int code, const QString& message) { check(tr("Screen share"), code, message); });
}

void MeetingClient::setHandUp(bool up) {
  callPlain([&](MorvantaCallback cb, void* d) {
              return up ? Morvanta_Member_HandsUp(session_.impl().member, cb, d)
                        : Morvanta_Member_HandsDown(session_.impl().member, nullptr, cb, d);
            },
            [this, up](int code, const QString& message) {
              if (check(tr("Hand"), code, message)) emit handChanged(localUuid_, up);
            });
}

void MeetingClient::loadDevices() {
  using ListCall = int (*)(void*, MorvantaDeviceListCallback, void*);
  using IdCall = int (*)(void*, MorvantaStringCallback, void*);
  struct Kind {
    const char* name;
    void* handle;
    ListCall list;
    IdCall id;
  };
  AppSession::Impl& s = session_.impl();
  const Kind kinds[] = {
      {"microphone", s.audio, reinterpret_cast<ListCall>(Morvanta_Audio_GetMicrophoneDeviceList),
       reinterpret_cast<IdCall>(Morvanta_Audio_GetMicrophoneDeviceId)},
      {"speaker", s.audio, reinterpret_cast<ListCall>(Morvanta_Audio_GetSpeakerDeviceList),
       reinterpret_cast<IdCall>(Morvanta_Audio_GetSpeakerDeviceId)},
      {"camera", s.video, reinterpret_cast<ListCall>(Morvanta_Video_GetCameraDeviceList),
       reinterpret_cast<IdCall>(Morvanta_Video_GetCameraDeviceId)},
  };
  struct Ctx {
    MeetingClient* self;
    Kind kind;
    QList<Device> devices;
  };
  for (const Kind& k : kinds) {
    auto* ctx = new Ctx{this, k, {}};
    const int rc = k.list(
        k.handle,
        [](int code, const char*, MorvantaDeviceInfo* devices, uint32_t count, void* ud) {
          assertGuiThread();
          auto* ctx = static_cast<Ctx*>(ud);
          for (uint32_t i = 0; code == 0 && i < count; ++i) {
            ctx->devices << Device{text(devices[i].device_id), text(devices[i].device_name)};
          }
          Morvanta_FreeDeviceList(devices, count);
          const int rc = ctx->kind.id(
              ctx->kind.handle,
              [](int, const char*, char* value, void* ud) {
                assertGuiThread();
                std::unique_ptr<Ctx> ctx(static_cast<Ctx*>(ud));
                emit ctx->self->devicesLoaded(QString::fromLatin1(ctx->kind.name), ctx->devices, text(value));
                Morvanta_FreeString(value);
              },
              ctx);
          if (rc != 0) delete ctx;
        },
        ctx);
    if (rc != 0) delete ctx;
  }
}

void MeetingClient::chooseMicrophone(const QString& id) {
  const QByteArray d8 = id.toUtf8();
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Audio_SetMicrophoneDevice(session_.impl().audio, d8.constData(), cb, d); },
            [this](int code, const QString& message) { check(tr("Choosing the microphone"), code, message); });
}

void MeetingClient::chooseSpeaker(const QString& id) {
  const QByteArray d8 = id.toUtf8();
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Audio_SetSpeakerDevice(session_.impl().audio, d8.constData(), cb, d); },
            [this](int code, const QString& message) { check(tr("Choosing the speaker"), code, message); });
}

void MeetingClient::chooseCamera(const QString& id) {
  const QByteArray d8 = id.toUtf8();
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Video_SetCameraDevice(session_.impl().video, d8.constData(), cb, d); },
            [this](int code, const QString& message) { check(tr("Choosing the camera"), code, message); });
}

// --- host actions --------------------------------------------------------------

void MeetingClient::actOnMember(HostAction action, const QString& uuid) {
  using Fn = int (*)(MorvantaMemberManager_T*, const char*, MorvantaCallback, void*);
  struct Row {
    HostAction action;
    Fn fn;
    const char* what;
  };
  static const Row rows[] = {
      {HostAction::MuteAudio, Morvanta_Member_MuteMemberAudio, "Muting the microphone"},
      {HostAction::UnmuteAudio, Morvanta_Member_UnmuteMemberAudio, "Unmuting the microphone"},
      {HostAction::MuteVideo, Morvanta_Member_MuteMemberVideo, "Stopping the camera"},
      {HostAction::UnmuteVideo, Morvanta_Member_UnmuteMemberVideo, "Starting the camera"},
      {HostAction::LowerHand, Morvanta_Member_HandsDown, "Lowering the hand"},
      {HostAction::StopShare, Morvanta_Member_StopMemberScreenShare, "Stopping the share"},
  };
  for (const Row& row : rows) {
    if (row.action != action) continue;
    const QByteArray u = uuid.toUtf8();
    const QString what = tr(row.what);
    callPlain([&](MorvantaCallback cb, void* d) { return row.fn(session_.impl().member, u.constData(), cb, d); },
              [this, action, uuid, what](int code, const QString& message) {
                if (check(what, code, message) && action == HostAction::LowerHand) emit handChanged(uuid, false);
              });
  }
}

void MeetingClient::muteAll() {
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_Member_MuteAllAudio(session_.impl().member, cb, d); },
            [this](int code, const QString& message) { check(tr("Muting everyone"), code, message); });
}

// --- chat ----------------------------------------------------------------------

void MeetingClient::sendChat(const QString& message) {
  struct Ctx {
    MeetingClient* self;
  };
  const QByteArray t = message.toUtf8();
  MorvantaChatroomTextMessageOptions o{nullptr, t.constData(), -1, nullptr, 0};
  auto* ctx = new Ctx{this};
  const int rc = Morvanta_Chatroom_SendTextMessage(
      session_.impl().chat, &o,
      [](int code, const char* msg, MorvantaChatMessage* sent, void* ud) {
        assertGuiThread();
        std::unique_ptr<Ctx> ctx(static_cast<Ctx*>(ud));
        MeetingClient* c = ctx->self;
        if (!c->check(tr("Sending"), code, text(msg)) || !sent) {
          Morvanta_FreeChatMessage(sent);
          return;
        }
        ChatLine line = chatFrom(*sent);
        line.mine = true;
        c->lastSent_ = std::shared_ptr<void>(sent, [](void* p) { Morvanta_FreeChatMessage(static_cast<MorvantaChatMessage*>(p)); });
        c->mine_ << line;
        emit c->chatReceived({line});
        emit c->canRecallChanged(true);
      },
      ctx);
  if (rc != 0) delete ctx;
}

void MeetingClient::recallLastMessage() {
  if (!lastSent_ || mine_.isEmpty()) return;
  auto record = lastSent_;
  const QString uuid = mine_.last().messageUuid;
  callPlain([&](MorvantaCallback cb, void* d) {
              return Morvanta_Chatroom_RecallMessage(session_.impl().chat, static_cast<MorvantaChatMessage*>(record.get()), cb, d);
            },
            [this, uuid, record](int code, const QString& message) {
              if (!check(tr("Recalling"), code, message)) return;
              emit chatRecalled(uuid);
              if (lastSent_ == record) {
                lastSent_.reset();
                emit canRecallChanged(false);
              }
            });
}

// --- waiting room --------------------------------------------------------------

void MeetingClient::admit(const QString& uuid) {
  const QByteArray u = uuid.toUtf8();
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_WaitingRoom_AdmitMember(session_.impl().waitingRoom, u.constData(), 0, cb, d); },
            [this](int code, const QString& message) { check(tr("Admitting"), code, message); });
}

void MeetingClient::expel(const QString& uuid) {
  const QByteArray u = uuid.toUtf8();
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_WaitingRoom_ExpelMember(session_.impl().waitingRoom, u.constData(), 0, cb, d); },
            [this](int code, const QString& message) { check(tr("Sending away"), code, message); });
}

void MeetingClient::admitAll() {
  callPlain([&](MorvantaCallback cb, void* d) { return Morvanta_WaitingRoom_AdmitAll(session_.impl().waitingRoom, cb, d); },
            [this](int code, const QString& message) { check(tr("Admitting everyone"), code, message); });
}

}  // namespace meeting_app
