// Morvanta_ScreenShare_*: capture sources, starting and stopping a share,
// system audio, the audio capture driver and the share message.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/family_calls.h"
#include "capi/sdk_state.h"
#include "managers/screen_share_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kSourceListFail[] = "Failed to allocate screen capture source list";

// Option fields: a negative number or a NULL string is unset; a set flag is
// true unless 0.
std::optional<bool> FlagOption(int value) { return value < 0 ? std::nullopt : std::optional<bool>(value != 0); }
std::optional<int> NumberOption(int value) { return value < 0 ? std::nullopt : std::optional<int>(value); }
std::optional<std::string> TextOption(const char* value) {
  return value ? std::optional<std::string>(value) : std::nullopt;
}

MvScreenShareOptions ShareOptionsFromC(const MorvantaScreenShareConfig& c) {
  MvScreenShareOptions o;
  o.needRequestMeetingServerScreenShare = FlagOption(c.need_request_meeting_server_screen_share);
  o.sourceId = TextOption(c.source_id);
  o.resolution = NumberOption(c.resolution);
  o.frameRate = NumberOption(c.frame_rate);
  o.limitFrameRate = NumberOption(c.limit_frame_rate);
  o.videoProfile = TextOption(c.video_profile);
  o.isApp = FlagOption(c.is_app);
  o.forceDisplaySurface = TextOption(c.force_display_surface);
  o.preferMotion = FlagOption(c.prefer_motion);
  o.isLinux = FlagOption(c.is_linux);
  return o;
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_ScreenShare_GetScreenCaptureSourceList(MorvantaScreenShareManager_T* handle,
                                                                 MorvantaScreenCaptureSourceListCallback callback,
                                                                 void* user_data) {
  return WithManager("Morvanta_ScreenShare_GetScreenCaptureSourceList", handle,
                     callback == nullptr, [&](MvScreenShareManager& m) {
                       m.GetScreenCaptureSourceList(
                           ListAdapter<MvScreenCaptureSource, MorvantaScreenCaptureSource, uint32_t>(
                               callback, user_data, &BuildScreenCaptureSourceList, kSourceListFail));
                     });
}

MORVANTA_API int Morvanta_ScreenShare_StartScreenShare(MorvantaScreenShareManager_T* handle,
                                                       const MorvantaScreenShareConfig* config,
                                                       MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_ScreenShare_StartScreenShare", handle, config == nullptr, [&](MvScreenShareManager& m) {
    m.StartScreenShare(ShareOptionsFromC(*config), PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_ScreenShare_StopScreenShare(MorvantaScreenShareManager_T* handle,
                                                      const MorvantaStopScreenShareConfig* config,
                                                      MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_ScreenShare_StopScreenShare", handle, false, [&](MvScreenShareManager& m) {
    std::optional<MvStopScreenShareOptions> options;
    if (config) options = MvStopScreenShareOptions{FlagOption(config->need_request_meeting_server_screen_share)};
    m.StopScreenShare(options, PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_ScreenShare_StartShareSystemAudio(MorvantaScreenShareManager_T* handle, int need_audio,
                                                            MorvantaCallback callback, void* user_data) {
  return WithManager("Morvanta_ScreenShare_StartShareSystemAudio", handle, false, [&](MvScreenShareManager& m) {
    m.StartShareSystemAudio(need_audio != 0, PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_ScreenShare_InstallAudioCaptureDriver(MorvantaScreenShareManager_T* handle,
                                                                MorvantaCallback callback, void* user_data) {
  return PlainCall("Morvanta_ScreenShare_InstallAudioCaptureDriver", handle,
                   &MvScreenShareManager::InstallAudioCaptureDriver, callback, user_data);
}

MORVANTA_API int Morvanta_ScreenShare_GetScreenShareMessage(MorvantaScreenShareManager_T* handle,
                                                            MorvantaStringCallback callback, void* user_data) {
  return WithManager("Morvanta_ScreenShare_GetScreenShareMessage", handle, callback == nullptr,
                     [&](MvScreenShareManager& m) {
                       m.GetScreenShareMessage(StringAdapter(callback, user_data, &DupString));
                     });
}

}  // extern "C"
