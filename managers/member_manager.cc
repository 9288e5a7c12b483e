#include "managers/member_manager.h"

#include <chrono>

#include "managers/sdk_method.h"

namespace morvanta {
namespace {

constexpr SdkObject kSdk{"[MemberManager]", "morVantaMeeting.getMemberManager()"};

constexpr SdkMethod kGetMemberList{"GetMemberList", "getMemberList"};
constexpr SdkMethod kMuteMemberAudio{"MuteMemberAudio", "muteMemberAudio", kViaPromise};
constexpr SdkMethod kUnmuteMemberAudio{"UnmuteMemberAudio", "unmuteMemberAudio", kViaPromise};
constexpr SdkMethod kMuteMemberVideo{"MuteMemberVideo", "muteMemberVideo", kViaPromise};
constexpr SdkMethod kUnmuteMemberVideo{"UnmuteMemberVideo", "unmuteMemberVideo", kViaPromise};
constexpr SdkMethod kMuteVideoAndAudio{"MuteVideoAndAudio", "muteVideoAndAudio", kViaPromise};
constexpr SdkMethod kUnmuteVideoAndAudio{"UnmuteVideoAndAudio", "unmuteVideoAndAudio"};
constexpr SdkMethod kStopMemberScreenShare{"StopMemberScreenShare", "stopMemberScreenShare"};
constexpr SdkMethod kMuteAllAudio{"MuteAllAudio", "muteAllAudio"};
constexpr SdkMethod kUnmuteAllAudio{"UnmuteAllAudio", "unmuteAllAudio"};
constexpr SdkMethod kMuteAllVideo{"MuteAllVideo", "muteAllVideo"};
constexpr SdkMethod kUnmuteAllVideo{"UnmuteAllVideo", "unmuteAllVideo"};
constexpr SdkMethod kHandsUp{"HandsUp", "handsUp"};
constexpr SdkMethod kHandsDown{"HandsDown", "handsDown"};
constexpr SdkMethod kHandsDownAll{"HandsDownAll", "handsDownAll"};

constexpr char kTimedOut[] = "GetMemberList: no answer in time";

}  // namespace

MvMemberManager::MvMemberManager(std::weak_ptr<JSBridgeAdapter> bridge) : MvManagerBase(std::move(bridge)) {
  log::Info(kSdk.tag, " Initialized with JSBridge 2.0");
}

MvMemberManager::~MvMemberManager() { log::Info(kSdk.tag, " Destroyed"); }

std::vector<MvMember> MvMemberManager::GetMemberList() {
  log::Info(kSdk.tag, " GetMemberList - JSBridge 2.0 (sync method)");
  std::shared_ptr<JSBridgeAdapter> adapter = bridge();
  if (!adapter || !adapter->IsInitialized()) {
    log::Error(kSdk.tag, " ❌ GetMemberList failed: Bridge not initialized");
    return {};
  }
  // The wait's shared state outlives it, so an answer after the timeout is
  // dropped harmlessly.
  MvResult<std::vector<MvMember>> result = CallSdkAndWait<std::vector<MvMember>>(
      adapter.get(), MethodCall(kSdk, kGetMemberList), std::chrono::milliseconds(kMemberListWaitMs), kTimedOut);
  if (result.code != 0 || !result.data) {
    if (result.message == kTimedOut)
      log::Error(kSdk.tag, " ❌ GetMemberList timeout");
    else
      log::Error(kSdk.tag, " ❌ GetMemberList failed: ", result.message);
    return {};
  }
  log::Info(kSdk.tag, " ✅ GetMemberList succeeded, got ", result.data->size(), " members");
  return std::move(*result.data);
}

void MvMemberManager::MuteMemberAudio(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kMuteMemberAudio, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::UnmuteMemberAudio(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kUnmuteMemberAudio, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::MuteMemberVideo(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kMuteMemberVideo, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::UnmuteMemberVideo(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kUnmuteMemberVideo, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::MuteVideoAndAudio(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kMuteVideoAndAudio, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::UnmuteVideoAndAudio(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kUnmuteVideoAndAudio, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::StopMemberScreenShare(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kStopMemberScreenShare, {JSValue(userUuid)}, std::move(done));
}

void MvMemberManager::MuteAllAudio(MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kMuteAllAudio, {}, std::move(done));
}

void MvMemberManager::UnmuteAllAudio(MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kUnmuteAllAudio, {}, std::move(done));
}

void MvMemberManager::MuteAllVideo(MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kMuteAllVideo, {}, std::move(done));
}

void MvMemberManager::UnmuteAllVideo(MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kUnmuteAllVideo, {}, std::move(done));
}

void MvMemberManager::HandsUp(MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kHandsUp, {}, std::move(done));
}

void MvMemberManager::HandsDown(const std::string& userUuid, MvCallback<void> done) {
  std::vector<JSValue> args;
  if (!userUuid.empty()) args.emplace_back(userUuid);
  CallSdkMethod<void>(bridge().get(), kSdk, kHandsDown, std::move(args), std::move(done));
}

void MvMemberManager::HandsDownAll(MvCallback<void> done) {
  CallSdkMethod<void>(bridge().get(), kSdk, kHandsDownAll, {}, std::move(done));
}

}  // namespace morvanta
