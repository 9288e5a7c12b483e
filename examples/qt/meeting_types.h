// Plain values the meeting client hands to the windows: what a row, a chat
// line or a waiting guest shows, copied out of the library's records.
#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

namespace meeting_app {

struct MemberState {
  QString uuid;
  QString name;
  bool audioOn = false;
  bool videoOn = false;
  bool sharing = false;
  bool handUp = false;

  bool operator==(const MemberState& o) const {
    return uuid == o.uuid && name == o.name && audioOn == o.audioOn && videoOn == o.videoOn && sharing == o.sharing &&
           handUp == o.handUp;
  }
};

struct ChatLine {
  QString messageUuid;
  QString fromUuid;
  QString fromName;
  QString text;
  qint64 time = 0;
  bool mine = false;
};

struct WaitingGuest {
  QString uuid;
  QString name;
};

struct Device {
  QString id;
  QString name;
};

struct ScheduledMeeting {
  qint64 meetingId = 0;
  QString meetingNum;
  QString subject;
  qint64 startTime = 0;
};

// A reading of the meeting taken off the GUI thread: who hosts, and the
// members with their states (raised hands included, which have no event).
struct MeetingSnapshot {
  qint64 takenFromMs = 0;  // when the reading began (QDateTime::currentMSecsSinceEpoch)
  bool haveInfo = false;
  QString meetingNum;
  QString subject;
  QString hostUuid;
  QString myUuid;
  bool inWaitingRoom = false;
  QList<MemberState> members;
};

// The statistics shown in the status line, refreshed as the library reports.
struct RtcSummary {
  qint64 durationSeconds = 0;
  int txKbps = 0;
  int rxKbps = 0;
  int localAudioKbps = 0;
  int localVideoKbps = 0;
  int remoteAudioStreams = 0;
  int remoteVideoStreams = 0;
  int worstQuality = 0;
};

}  // namespace meeting_app

Q_DECLARE_METATYPE(meeting_app::MemberState)
Q_DECLARE_METATYPE(meeting_app::ChatLine)
