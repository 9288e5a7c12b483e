#include "managers/video_manager.h"

#include <cstdint>
#include <cstring>

#include "managers/sdk_method.h"

namespace morvanta {
namespace {

constexpr SdkObject kSdk{"[VideoManager]", "morVantaMeeting.getVideoManager()"};
constexpr char kViaBuffer[] = "JSBuffer";

constexpr SdkMethod kGetCameraDeviceList{"GetCameraDeviceList", "getCameraDeviceList"};
constexpr SdkMethod kGetCameraDeviceId{"GetCameraDeviceId", "getCameraDeviceId"};
constexpr SdkMethod kSetCameraDevice{"SetCameraDevice", "setCameraDevice"};
constexpr SdkMethod kSetCameraDevicePreview{"SetCameraDevicePreview", "setCameraDevicePreview"};
constexpr SdkMethod kSetupLocalVideoCanvas{"SetupLocalVideoCanvas", "setupLocalVideoCanvas", kViaBuffer};
constexpr SdkMethod kRemoveLocalVideoCanvas{"RemoveLocalVideoCanvas", "removeLocalVideoCanvas"};
constexpr SdkMethod kSetupVideoPreviewCanvas{"SetupVideoPreviewCanvas", "setupVideoPreviewCanvas", kViaBuffer};
constexpr SdkMethod kSetupRemoteVideoCanvas{"SetupRemoteVideoCanvas", "setupRemoteVideoCanvas", kViaBuffer};
constexpr SdkMethod kSetupRemoteVideoSubStreamCanvas{"SetupRemoteVideoSubStreamCanvas",
                                                     "setupRemoteVideoSubStreamCanvas", kViaBuffer};
constexpr SdkMethod kStartVideoPreview{"StartVideoPreview", "startVideoPreview"};
constexpr SdkMethod kStopVideoPreview{"StopVideoPreview", "stopVideoPreview"};
constexpr SdkMethod kMuteMyVideo{"MuteMyVideo", "muteMyVideo"};
constexpr SdkMethod kUnmuteMyVideo{"UnmuteMyVideo", "unmuteMyVideo"};
constexpr SdkMethod kSetVideoProfile{"SetVideoProfile", "setVideoProfile"};
constexpr SdkMethod kSubscribeRemoteVideoStream{"SubscribeRemoteVideoStream", "subscribeRemoteVideoStream"};
constexpr SdkMethod kUnsubscribeRemoteVideoStream{"UnsubscribeRemoteVideoStream", "unsubscribeRemoteVideoStream"};
constexpr SdkMethod kSubscribeRemoteVideoSubStream{"SubscribeRemoteVideoSubStream", "subscribeRemoteVideoSubStream"};
constexpr SdkMethod kUnsubscribeRemoteVideoSubStream{"UnsubscribeRemoteVideoSubStream",
                                                     "unsubscribeRemoteVideoSubStream"};

constexpr size_t kViewBytes = 8;

}  // namespace

JSValue NativeViewArgument(void* view) {
  if (!view) return JSValue::Null();
  // Widened to 8 bytes so the layout is the same whatever the pointer size.
  const uint64_t value = reinterpret_cast<uintptr_t>(view);
  uint8_t bytes[kViewBytes];
  std::memcpy(bytes, &value, kViewBytes);
  return JSValue::Binary(bytes, kViewBytes);
}

MvVideoManager::MvVideoManager(std::weak_ptr<JSBridgeAdapter> bridge) : MvManagerBase(std::move(bridge)) {
  log::Info(kSdk.tag, " Initialized with JSBridge 2.0");
}

MvVideoManager::~MvVideoManager() { log::Info(kSdk.tag, " Destroyed"); }

void MvVideoManager::GetCameraDeviceList(MvCallback<std::vector<MvDeviceBaseInfo>> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetCameraDeviceList, {}, std::move(done));
}

void MvVideoManager::GetCameraDeviceId(MvCallback<std::string> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetCameraDeviceId, {}, std::move(done));
}

void MvVideoManager::SetCameraDevice(const std::string& deviceId, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetCameraDevice, {JSValue(deviceId)}, std::move(done));
}

void MvVideoManager::SetCameraDevicePreview(const std::string& deviceId, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetCameraDevicePreview, {JSValue(deviceId)}, std::move(done));
}

void MvVideoManager::SetupLocalVideoCanvas(void* view, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetupLocalVideoCanvas, {NativeViewArgument(view)}, std::move(done));
}

void MvVideoManager::RemoveLocalVideoCanvas(MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge().get(), kSdk, kRemoveLocalVideoCanvas, {}, std::move(done));
}

void MvVideoManager::SetupVideoPreviewCanvas(void* view, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetupVideoPreviewCanvas, {NativeViewArgument(view)}, std::move(done));
}

void MvVideoManager::SetupRemoteVideoCanvas(const std::string& userUuid, void* view, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetupRemoteVideoCanvas, {JSValue(userUuid), NativeViewArgument(view)},
                std::move(done));
}

void MvVideoManager::SetupRemoteVideoSubStreamCanvas(const std::string& userUuid, void* view, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetupRemoteVideoSubStreamCanvas, {JSValue(userUuid), NativeViewArgument(view)},
                std::move(done));
}

void MvVideoManager::StartVideoPreview(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kStartVideoPreview, {}, std::move(done));
}

void MvVideoManager::StopVideoPreview(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kStopVideoPreview, {}, std::move(done));
}

void MvVideoManager::MuteMyVideo(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kMuteMyVideo, {}, std::move(done));
}

void MvVideoManager::UnmuteMyVideo(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kUnmuteMyVideo, {}, std::move(done));
}

void MvVideoManager::SetVideoProfile(int resolution, int frameRate) {
  std::shared_ptr<JSBridgeAdapter> adapter = bridge();
  if (adapter && adapter->IsInitialized())
    log::Info(kSdk.tag, " 🚀 SetVideoProfile - JSBridge 2.0 (resolution=", resolution, ", frameRate=", frameRate, ")");
  CallSdkMethodIgnoringAnswer(adapter.get(), kSdk, kSetVideoProfile, {JSValue(resolution), JSValue(frameRate)}, nullptr,
                              "completed successfully", " ⚠️ SetVideoProfile JavaScript call failed: ");
}

void MvVideoManager::SubscribeRemoteVideoStream(const std::string& userUuid, int streamType, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSubscribeRemoteVideoStream, {JSValue(userUuid), JSValue(streamType)},
                std::move(done));
}

void MvVideoManager::UnsubscribeRemoteVideoStream(const std::string& userUuid, int streamType, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kUnsubscribeRemoteVideoStream, {JSValue(userUuid), JSValue(streamType)},
                std::move(done));
}

void MvVideoManager::SubscribeRemoteVideoSubStream(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSubscribeRemoteVideoSubStream, {JSValue(userUuid)}, std::move(done));
}

void MvVideoManager::UnsubscribeRemoteVideoSubStream(const std::string& userUuid, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kUnsubscribeRemoteVideoSubStream, {JSValue(userUuid)}, std::move(done));
}

}  // namespace morvanta
