// The local audio devices through the SDK's audio object: speaker and
// microphone selection and tests, volumes, muting the local microphone,
// audio effects and the AI noise filter.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

// Reverb parameters of setAudioEffect, sent as an object of these keys.
struct ReverbConfig {
  double wetGain = 0;
  double dryGain = 0;
  double damping = 0;
  double roomSize = 0;
  double decayTime = 0;
  double preDelay = 0;
};

// The value of an audio effect: a number, a list of numbers or a reverb. The
// meaning of each effect type and value lies with the SDK.
using AudioEffectValue = std::variant<int, std::vector<int>, ReverbConfig>;

class MvAudioManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  void GetSpeakerDeviceList(MvCallback<std::vector<MvDeviceBaseInfo>> done);
  void GetSpeakerDeviceId(MvCallback<std::string> done);
  void SetSpeakerDevice(const std::string& deviceId, MvCallback<void> done);
  // The SDK's answer is not looked at: a fulfilled call is a success.
  void SetSpeakerDevicePreview(const std::string& deviceId, MvCallback<void> done);
  void GetSpeakerVolume(MvCallback<int> done);
  // The SDK's answer is not looked at: a fulfilled call is a success.
  void SetSpeakerVolume(int32_t volume, MvCallback<void> done);

  void GetMicrophoneDeviceList(MvCallback<std::vector<MvDeviceBaseInfo>> done);
  void GetMicrophoneDeviceId(MvCallback<std::string> done);
  void SetMicrophoneDevice(const std::string& deviceId, MvCallback<void> done);
  void SetMicrophoneDevicePreview(const std::string& deviceId, MvCallback<void> done);
  // The two microphone volume getters take the answer only as a bare number:
  // anything else, a {code, data} object included, is a success with 0.
  void GetMicrophoneVolume(MvCallback<int> done);
  void GetMicrophoneVolumePreview(MvCallback<int> done);
  void SetMicrophoneVolume(int32_t volume, MvCallback<void> done);

  // The SDK's answer is not looked at: a fulfilled call is a success.
  void MuteMyAudio(MvCallback<void> done);
  void UnmuteMyAudio(bool need, MvCallback<void> done);

  void StartMicrophoneDeviceTest(MvCallback<void> done);
  void StopMicrophoneDeviceTest(MvCallback<void> done);
  void StartSpeakerDeviceTest(const std::string& audioResource, MvCallback<void> done);
  void StopSpeakerDeviceTest(MvCallback<void> done);

  void EnableAudioEffect(MvCallback<void> done);
  void SetAudioEffect(int type, const AudioEffectValue& value, MvCallback<void> done);
  void EnableAIDenoise(MvCallback<void> done);
  void DisableAIDenoise(MvCallback<void> done);
};

}  // namespace morvanta
