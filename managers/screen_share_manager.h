// Screen and window sharing through the SDK's screen share object: capture
// sources, start and stop, system audio, the audio capture driver and the
// share message. This family reads the SDK's answers itself instead of
// through ConvertToMvResult: a fulfilled call is a success whatever it
// holds, and an answer of an unknown shape is an empty list or text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/manager_records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

// Options of startScreenShare. Only the set fields are sent, in this order.
struct MvScreenShareOptions {
  std::optional<bool> needRequestMeetingServerScreenShare;
  std::optional<std::string> sourceId;
  std::optional<int> resolution;
  std::optional<int> frameRate;
  std::optional<int> limitFrameRate;
  std::optional<std::string> videoProfile;
  std::optional<bool> isApp;
  std::optional<std::string> forceDisplaySurface;
  std::optional<bool> preferMotion;
  std::optional<bool> isLinux;
};

struct MvStopScreenShareOptions {
  std::optional<bool> needRequestMeetingServerScreenShare;
};

class MvScreenShareManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  void GetScreenCaptureSourceList(MvCallback<std::vector<MvScreenCaptureSource>> done);
  void StartScreenShare(const MvScreenShareOptions& options, MvCallback<void> done);
  // Without options, stopScreenShare is called with no argument at all.
  void StopScreenShare(const std::optional<MvStopScreenShareOptions>& options, MvCallback<void> done);
  void StartShareSystemAudio(bool needAudio, MvCallback<void> done);
  void InstallAudioCaptureDriver(MvCallback<void> done);
  // The SDK's text, or "" when it answered anything but a string.
  void GetScreenShareMessage(MvCallback<std::string> done);
};

// The capture sources of an answer of getScreenCaptureSourceList. The list is
// looked for, in this order, as the answer itself, its `data`, its
// `result.data` and its `result`, each only if it is an array; an answer
// without one gives no sources. Elements that are not objects are skipped.
std::vector<MvScreenCaptureSource> ReadScreenCaptureSources(const JSValue& answer);

}  // namespace morvanta
