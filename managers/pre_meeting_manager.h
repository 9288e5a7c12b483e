// Meetings arranged ahead of time, through the SDK's pre-meeting object:
// schedule, edit and cancel one, list them, read one back by its number, and
// read the members scheduled into it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

// The SDK takes a meeting id as a number or as text. Numbers travel as
// doubles, so ids above 2^53 lose precision on the way.
using MvMeetingId = std::variant<int64_t, std::string>;

// The settings of a meeting to schedule or to change. Unset fields are left
// out of the SDK call; scheduling always sends a subject ("" when unset).
struct MvPreMeetingOptions {
  std::optional<std::string> subject;
  std::optional<int64_t> startTime;
  std::optional<int64_t> endTime;
  std::optional<std::string> password;
  std::optional<bool> enableWaitingRoom;
  // Sent by EditMeeting only.
  std::optional<bool> enableJoinBeforeHost;
  // Carried with the options but sent by neither call: the SDK's schedule and
  // edit calls do not take them.
  std::vector<MvScheduledMember> scheduledMembers;
  std::optional<bool> noChat;
  std::optional<bool> noCloudRecord;
};

// One page of the meeting list. An empty `states` leaves the filter to the SDK.
struct MvMeetingListParams {
  std::vector<int32_t> states;
  std::optional<int32_t> offset;
  std::optional<int32_t> size;
};

class MvPreMeetingManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  void ScheduleMeeting(const MvPreMeetingOptions& options, MvCallback<MvMeetingInfo> done);
  void EditMeeting(const MvMeetingId& meetingId, const MvPreMeetingOptions& options, MvCallback<void> done);
  void CancelMeeting(const MvMeetingId& meetingId, std::optional<bool> cancelRecurringMeeting,
                     MvCallback<void> done);
  void GetMeetingListBySize(const MvMeetingListParams& params, MvCallback<std::vector<MvMeetingInfo>> done);
  void GetMeetingInfoByMeetingNum(const std::string& meetingNum, MvCallback<MvMeetingInfo> done);
  void GetScheduledMembers(const std::string& meetingNum, MvCallback<std::vector<MvScheduledMember>> done);
};

}  // namespace morvanta
