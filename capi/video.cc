// Morvanta_Video_*: cameras, canvases, preview and remote streams.
#include "capi/family_calls.h"
#include "capi/sdk_state.h"
#include "managers/video_manager.h"

using namespace morvanta;
using namespace morvanta::capi;

namespace {

using CanvasMethod = void (MvVideoManager::*)(void*, MvCallback<void>);
using RemoteCanvasMethod = void (MvVideoManager::*)(const std::string&, void*, MvCallback<void>);
using StreamMethod = void (MvVideoManager::*)(const std::string&, int, MvCallback<void>);

// A NULL view is legal everywhere: it detaches the canvas.
int Canvas(const char* name, MorvantaVideoManager_T* handle, void* view, CanvasMethod method, MorvantaCallback callback,
           void* user_data) {
  return WithManager(name, handle, false,
                     [&](MvVideoManager& m) { (m.*method)(view, PlainAdapter(callback, user_data)); });
}

int RemoteCanvas(const char* name, MorvantaVideoManager_T* handle, const char* user_uuid, void* view,
                 RemoteCanvasMethod method, MorvantaCallback callback, void* user_data) {
  return WithManager(name, handle, !user_uuid,
                     [&](MvVideoManager& m) { (m.*method)(user_uuid, view, PlainAdapter(callback, user_data)); });
}

int Stream(const char* name, MorvantaVideoManager_T* handle, const char* user_uuid, int stream_type,
           StreamMethod method, MorvantaCallback callback, void* user_data) {
  return WithManager(name, handle, !user_uuid, [&](MvVideoManager& m) {
    (m.*method)(user_uuid, stream_type, PlainAdapter(callback, user_data));
  });
}

}  // namespace

extern "C" {

MORVANTA_API int Morvanta_Video_GetCameraDeviceList(MorvantaVideoManager_T* handle, MorvantaDeviceListCallback callback,
                                                    void* user_data) {
  return WithManager(__func__, handle, !callback,
                     [&](MvVideoManager& m) { m.GetCameraDeviceList(DeviceListAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Video_GetCameraDeviceId(MorvantaVideoManager_T* handle, MorvantaStringCallback callback,
                                                  void* user_data) {
  return WithManager(__func__, handle, !callback,
                     [&](MvVideoManager& m) { m.GetCameraDeviceId(DeviceIdAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Video_SetCameraDevice(MorvantaVideoManager_T* handle, const char* device_id,
                                                MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, device_id, &MvVideoManager::SetCameraDevice, callback, user_data);
}

MORVANTA_API int Morvanta_Video_SetCameraDevicePreview(MorvantaVideoManager_T* handle, const char* device_id,
                                                       MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, device_id, &MvVideoManager::SetCameraDevicePreview, callback, user_data);
}

MORVANTA_API int Morvanta_Video_SetupLocalVideoCanvas(MorvantaVideoManager_T* handle, void* view,
                                                      MorvantaCallback callback, void* user_data) {
  return Canvas(__func__, handle, view, &MvVideoManager::SetupLocalVideoCanvas, callback, user_data);
}

MORVANTA_API int Morvanta_Video_SetupVideoPreviewCanvas(MorvantaVideoManager_T* handle, void* view,
                                                        MorvantaCallback callback, void* user_data) {
  return Canvas(__func__, handle, view, &MvVideoManager::SetupVideoPreviewCanvas, callback, user_data);
}

MORVANTA_API int Morvanta_Video_SetupRemoteVideoCanvas(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                       void* view, MorvantaCallback callback, void* user_data) {
  return RemoteCanvas(__func__, handle, user_uuid, view, &MvVideoManager::SetupRemoteVideoCanvas, callback, user_data);
}

MORVANTA_API int Morvanta_Video_SetupRemoteVideoSubStreamCanvas(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                                void* view, MorvantaCallback callback,
                                                                void* user_data) {
  return RemoteCanvas(__func__, handle, user_uuid, view, &MvVideoManager::SetupRemoteVideoSubStreamCanvas, callback,
                      user_data);
}

MORVANTA_API int Morvanta_Video_StartVideoPreview(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                                  void* user_data) {
  return PlainCall(__func__, handle, &MvVideoManager::StartVideoPreview, callback, user_data);
}

MORVANTA_API int Morvanta_Video_StopVideoPreview(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                                 void* user_data) {
  return PlainCall(__func__, handle, &MvVideoManager::StopVideoPreview, callback, user_data);
}

MORVANTA_API int Morvanta_Video_MuteMyVideo(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                            void* user_data) {
  return PlainCall(__func__, handle, &MvVideoManager::MuteMyVideo, callback, user_data);
}

MORVANTA_API int Morvanta_Video_UnmuteMyVideo(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                              void* user_data) {
  return PlainCall(__func__, handle, &MvVideoManager::UnmuteMyVideo, callback, user_data);
}

MORVANTA_API int Morvanta_Video_SetVideoProfile(MorvantaVideoManager_T* handle, int resolution, int frame_rate) {
  return WithManager(__func__, handle, false, [&](MvVideoManager& m) { m.SetVideoProfile(resolution, frame_rate); });
}

MORVANTA_API int Morvanta_Video_SubscribeRemoteVideoStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                           int stream_type, MorvantaCallback callback,
                                                           void* user_data) {
  return Stream(__func__, handle, user_uuid, stream_type, &MvVideoManager::SubscribeRemoteVideoStream, callback,
                user_data);
}

MORVANTA_API int Morvanta_Video_UnsubscribeRemoteVideoStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                             int stream_type, MorvantaCallback callback,
                                                             void* user_data) {
  return Stream(__func__, handle, user_uuid, stream_type, &MvVideoManager::UnsubscribeRemoteVideoStream, callback,
                user_data);
}

MORVANTA_API int Morvanta_Video_SubscribeRemoteVideoSubStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                              MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvVideoManager::SubscribeRemoteVideoSubStream, callback, user_data);
}

MORVANTA_API int Morvanta_Video_UnsubscribeRemoteVideoSubStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                                MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, user_uuid, &MvVideoManager::UnsubscribeRemoteVideoSubStream, callback, user_data);
}

}  // extern "C"

// Exported with C++ linkage on purpose: the plain name is not in the export
// table, only the decorated one.
MORVANTA_API int Morvanta_Video_RemoveLocalVideoCanvas(MorvantaVideoManager_T* handle,
                                                       void (*callback)(int, const char*, void*), void* user_data) {
  return PlainCall("Morvanta_Video_RemoveLocalVideoCanvas", handle, &MvVideoManager::RemoveLocalVideoCanvas, callback,
                   user_data);
}
