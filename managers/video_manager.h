// Cameras and video canvases through the SDK's video object: camera
// selection, native windows attached as local, preview and remote canvases,
// the preview, muting the local camera, the video profile and subscriptions
// to remote streams.
//
// A native window handle reaches the SDK as an 8-byte buffer holding the
// handle's value in the machine's byte order; no handle (null) detaches the
// canvas.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

class MvVideoManager : public MvManagerBase {
 public:
  explicit MvVideoManager(std::weak_ptr<JSBridgeAdapter> bridge);
  ~MvVideoManager() override;

  void GetCameraDeviceList(MvCallback<std::vector<MvDeviceBaseInfo>> done);
  void GetCameraDeviceId(MvCallback<std::string> done);
  void SetCameraDevice(const std::string& deviceId, MvCallback<void> done);
  void SetCameraDevicePreview(const std::string& deviceId, MvCallback<void> done);

  // `view` is the native window; null detaches. Only its value is used, and
  // only while the call is being made.
  void SetupLocalVideoCanvas(void* view, MvCallback<void> done);
  // The SDK's answer is not looked at: a fulfilled call is a success.
  void RemoveLocalVideoCanvas(MvCallback<void> done);
  void SetupVideoPreviewCanvas(void* view, MvCallback<void> done);
  void SetupRemoteVideoCanvas(const std::string& userUuid, void* view, MvCallback<void> done);
  void SetupRemoteVideoSubStreamCanvas(const std::string& userUuid, void* view, MvCallback<void> done);

  void StartVideoPreview(MvCallback<void> done);
  void StopVideoPreview(MvCallback<void> done);
  void MuteMyVideo(MvCallback<void> done);
  void UnmuteMyVideo(MvCallback<void> done);

  // Sent and forgotten: the outcome is only logged. The numbers' meanings
  // lie with the SDK.
  void SetVideoProfile(int resolution, int frameRate);

  void SubscribeRemoteVideoStream(const std::string& userUuid, int streamType, MvCallback<void> done);
  void UnsubscribeRemoteVideoStream(const std::string& userUuid, int streamType, MvCallback<void> done);
  void SubscribeRemoteVideoSubStream(const std::string& userUuid, MvCallback<void> done);
  void UnsubscribeRemoteVideoSubStream(const std::string& userUuid, MvCallback<void> done);
};

// The SDK argument for a native window: 8 bytes of the handle's value in the
// machine's byte order, or null for no window.
JSValue NativeViewArgument(void* view);

}  // namespace morvanta
