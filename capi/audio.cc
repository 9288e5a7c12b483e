// Morvanta_Audio_*: speakers, microphones, volumes, tests and effects.
//
// Unlike the other families, audio functions are specified to test only the
// handle; they also refuse a handle without a manager (as WithManager does)
// rather than use a null manager, which Morvanta_GetAudioManager never hands
// out anyway.
#include "capi/family_calls.h"
#include "capi/sdk_state.h"
#include "managers/audio_manager.h"

using namespace morvanta;
using namespace morvanta::capi;

namespace {

using VolumeSetter = void (MvAudioManager::*)(int32_t, MvCallback<void>);
using VolumeGetter = void (MvAudioManager::*)(MvCallback<int>);

// Volumes go to the service as signed 32-bit numbers: 4294967295 is -1.
int SetVolume(const char* name, MorvantaAudioManager_T* handle, uint32_t volume, VolumeSetter method,
              MorvantaCallback callback, void* user_data) {
  return WithManager(name, handle, false, [&](MvAudioManager& m) {
    (m.*method)(static_cast<int32_t>(volume), PlainAdapter(callback, user_data));
  });
}

int GetVolume(const char* name, MorvantaAudioManager_T* handle, VolumeGetter method, MorvantaIntegerCallback callback,
              void* user_data) {
  return WithManager(name, handle, !callback,
                     [&](MvAudioManager& m) { (m.*method)(IntegerAdapter(callback, user_data)); });
}

}  // namespace

extern "C" {

MORVANTA_API int Morvanta_Audio_GetSpeakerDeviceList(MorvantaAudioManager_T* handle,
                                                     MorvantaDeviceListCallback callback, void* user_data) {
  return WithManager(__func__, handle, !callback,
                     [&](MvAudioManager& m) { m.GetSpeakerDeviceList(DeviceListAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Audio_GetSpeakerDeviceId(MorvantaAudioManager_T* handle, MorvantaStringCallback callback,
                                                   void* user_data) {
  return WithManager(__func__, handle, !callback,
                     [&](MvAudioManager& m) { m.GetSpeakerDeviceId(DeviceIdAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Audio_SetSpeakerDevice(MorvantaAudioManager_T* handle, const char* device_id,
                                                 MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, device_id, &MvAudioManager::SetSpeakerDevice, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_SetSpeakerDevicePreview(MorvantaAudioManager_T* handle, const char* device_id,
                                                        MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, device_id, &MvAudioManager::SetSpeakerDevicePreview, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_GetSpeakerVolume(MorvantaAudioManager_T* handle, MorvantaIntegerCallback callback,
                                                 void* user_data) {
  return GetVolume(__func__, handle, &MvAudioManager::GetSpeakerVolume, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_SetSpeakerVolume(MorvantaAudioManager_T* handle, uint32_t volume,
                                                 MorvantaCallback callback, void* user_data) {
  return SetVolume(__func__, handle, volume, &MvAudioManager::SetSpeakerVolume, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_GetMicrophoneDeviceList(MorvantaAudioManager_T* handle,
                                                        MorvantaDeviceListCallback callback, void* user_data) {
  return WithManager(__func__, handle, !callback,
                     [&](MvAudioManager& m) { m.GetMicrophoneDeviceList(DeviceListAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Audio_GetMicrophoneDeviceId(MorvantaAudioManager_T* handle, MorvantaStringCallback callback,
                                                      void* user_data) {
  return WithManager(__func__, handle, !callback,
                     [&](MvAudioManager& m) { m.GetMicrophoneDeviceId(DeviceIdAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Audio_SetMicrophoneDevice(MorvantaAudioManager_T* handle, const char* device_id,
                                                    MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, device_id, &MvAudioManager::SetMicrophoneDevice, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_SetMicrophoneDevicePreview(MorvantaAudioManager_T* handle, const char* device_id,
                                                           MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, device_id, &MvAudioManager::SetMicrophoneDevicePreview, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_GetMicrophoneVolume(MorvantaAudioManager_T* handle, MorvantaIntegerCallback callback,
                                                    void* user_data) {
  return GetVolume(__func__, handle, &MvAudioManager::GetMicrophoneVolume, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_GetMicrophoneVolumePreview(MorvantaAudioManager_T* handle,
                                                           MorvantaIntegerCallback callback, void* user_data) {
  return GetVolume(__func__, handle, &MvAudioManager::GetMicrophoneVolumePreview, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_SetMicrophoneVolume(MorvantaAudioManager_T* handle, uint32_t volume,
                                                    MorvantaCallback callback, void* user_data) {
  return SetVolume(__func__, handle, volume, &MvAudioManager::SetMicrophoneVolume, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_MuteMyAudio(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                            void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::MuteMyAudio, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_UnmuteMyAudio(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                              void* user_data) {
  return WithManager(__func__, handle, false,
                     [&](MvAudioManager& m) { m.UnmuteMyAudio(true, PlainAdapter(callback, user_data)); });
}

MORVANTA_API int Morvanta_Audio_StartMicrophoneDeviceTest(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                          void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::StartMicrophoneDeviceTest, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_StopMicrophoneDeviceTest(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                         void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::StopMicrophoneDeviceTest, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_StartSpeakerDeviceTest(MorvantaAudioManager_T* handle, const char* audio_resource,
                                                       MorvantaCallback callback, void* user_data) {
  return TextCall(__func__, handle, audio_resource, &MvAudioManager::StartSpeakerDeviceTest, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_StopSpeakerDeviceTest(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                      void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::StopSpeakerDeviceTest, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_EnableAudioEffect(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                  void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::EnableAudioEffect, callback, user_data);
}

// The C form offers the single-number effect value only.
MORVANTA_API int Morvanta_Audio_SetAudioEffect(MorvantaAudioManager_T* handle, int type, int value,
                                               MorvantaCallback callback, void* user_data) {
  return WithManager(__func__, handle, false, [&](MvAudioManager& m) {
    m.SetAudioEffect(type, AudioEffectValue(std::in_place_type<int>, value), PlainAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_Audio_EnableAIDenoise(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::EnableAIDenoise, callback, user_data);
}

MORVANTA_API int Morvanta_Audio_DisableAIDenoise(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                 void* user_data) {
  return PlainCall(__func__, handle, &MvAudioManager::DisableAIDenoise, callback, user_data);
}

}  // extern "C"
