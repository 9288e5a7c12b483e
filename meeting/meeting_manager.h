// The way into a meeting (create, join, rejoin, leave, end, query, release)
// and the meeting event channel. The meeting logic is the SDK's: this class
// keeps no meeting state of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"
#include "meeting/meeting_events.h"
#include "meeting/message_channel_events.h"
#include "meeting/rtc_stats_events.h"

namespace morvanta {

struct MvMeetingCreateOptions {
  std::string meetingNum;
  std::string nickname;
  std::string subject;
  std::optional<std::string> password;
  std::optional<std::string> memberTag;
  std::optional<bool> noChat;
  std::optional<bool> noWhiteboard;
  std::optional<bool> noCaptions;
  std::optional<std::string> orgName;
  std::optional<std::string> avatar;
  std::optional<std::pair<int32_t, int32_t>> videoProfile;  // resolution, frameRate
  std::optional<int32_t> joinTimeout;
  std::optional<std::string> session;
  std::optional<int32_t> subType;
  std::optional<int64_t> startTime;
  std::optional<int64_t> endTime;
  std::optional<bool> enableWaitingRoom;
  std::optional<bool> cloudRecordEnable;
};

struct MvMeetingJoinOptions {
  std::string meetingNum;
  std::string userUuid;
  std::string nickname;
};

class MvMeetingManager : public MvManagerBase {
 public:
  explicit MvMeetingManager(std::weak_ptr<JSBridgeAdapter> bridge);
  ~MvMeetingManager() override;

  void CreateMeeting(const MvMeetingCreateOptions& options, MvCallback<void> done);
  void JoinMeeting(const MvMeetingJoinOptions& options, MvCallback<void> done);
  void RejoinAfterAdmittedToRoom(MvCallback<void> done);
  void LeaveMeeting(bool flag, MvCallback<void> done);
  void EndMeeting(MvCallback<void> done);
  // Blocks up to 10 s; null when not in a meeting or on any fault.
  std::shared_ptr<MvMeetingSDKInfo> GetMeetingInfo();
  void ReleaseMeeting();

  // Meeting channel. Adding waits up to 1.5 s for the JavaScript side.
  void AddMeetingListener(IMvMeetingListener* listener);
  // Null removes all; the last removal detaches the JavaScript listener.
  void RemoveMeetingListener(IMvMeetingListener* listener);
  size_t MeetingListenerCount() const;
  bool MeetingEventsRunning() const;

  // RTC stats and message channel. Adding waits up to 1 s for the old
  // JavaScript listener to detach; registration goes on in callbacks. Null
  // removes all; the last removal detaches the JavaScript listener and drops
  // the events queued for it.
  void AddRtcStatsListener(IMvRtcStatsListener* listener);
  void RemoveRtcStatsListener(IMvRtcStatsListener* listener);
  size_t RtcStatsListenerCount() const;
  bool RtcStatsEventsRunning() const;
  void AddMessageChannelListener(IMvMessageChannelListener* listener);
  void RemoveMessageChannelListener(IMvMessageChannelListener* listener);
  size_t MessageChannelListenerCount() const;
  bool MessageChannelEventsRunning() const;

  // The options object sent to createMeeting: only the keys that are set.
  static JSValue CreateOptionsObject(const MvMeetingCreateOptions& options);

  struct Core;

 private:
  std::shared_ptr<Core> core_;
};

}  // namespace morvanta
