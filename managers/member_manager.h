// Participants of the running meeting, through the SDK's member object:
// the member list, muting one member or everyone, hands up and down, and
// stopping a member's screen share.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

class MvMemberManager : public MvManagerBase {
 public:
  explicit MvMemberManager(std::weak_ptr<JSBridgeAdapter> bridge);
  ~MvMemberManager() override;

  // How long GetMemberList waits for the SDK.
  static constexpr int kMemberListWaitMs = 5000;

  // The members of the running meeting. Blocks the calling thread until the
  // SDK answers, at most kMemberListWaitMs. A missing bridge, a failure or a
  // timeout all give an empty list. Answers are delivered on the bridge's
  // worker, so this must never be called from a callback: it would always
  // wait out the whole limit.
  std::vector<MvMember> GetMemberList();

  void MuteMemberAudio(const std::string& userUuid, MvCallback<void> done);
  void UnmuteMemberAudio(const std::string& userUuid, MvCallback<void> done);
  void MuteMemberVideo(const std::string& userUuid, MvCallback<void> done);
  void UnmuteMemberVideo(const std::string& userUuid, MvCallback<void> done);
  void MuteVideoAndAudio(const std::string& userUuid, MvCallback<void> done);
  void UnmuteVideoAndAudio(const std::string& userUuid, MvCallback<void> done);
  void StopMemberScreenShare(const std::string& userUuid, MvCallback<void> done);
  void MuteAllAudio(MvCallback<void> done);
  void UnmuteAllAudio(MvCallback<void> done);
  void MuteAllVideo(MvCallback<void> done);
  void UnmuteAllVideo(MvCallback<void> done);
  void HandsUp(MvCallback<void> done);
  // An empty uuid lowers the caller's own hand: the SDK gets no argument.
  void HandsDown(const std::string& userUuid, MvCallback<void> done);
  void HandsDownAll(MvCallback<void> done);
};

}  // namespace morvanta
