#include "managers/audio_manager.h"

#include "core/js_fields.h"
#include "managers/sdk_method.h"

namespace morvanta {
namespace {

constexpr SdkObject kSdk{"[AudioManager]", "morVantaMeeting.getAudioManager()"};

constexpr SdkMethod kGetSpeakerDeviceList{"GetSpeakerDeviceList", "getSpeakerDeviceList", kViaPromise};
constexpr SdkMethod kGetSpeakerDeviceId{"GetSpeakerDeviceId", "getSpeakerDeviceId", kViaPromise};
constexpr SdkMethod kSetSpeakerDevice{"SetSpeakerDevice", "setSpeakerDevice", kViaPromise};
constexpr SdkMethod kSetSpeakerDevicePreview{"SetSpeakerDevicePreview", "setSpeakerDevicePreview"};
constexpr SdkMethod kGetSpeakerVolume{"GetSpeakerVolume", "getSpeakerVolume"};
constexpr SdkMethod kSetSpeakerVolume{"SetSpeakerVolume", "setSpeakerVolume"};
constexpr SdkMethod kGetMicrophoneDeviceList{"GetMicrophoneDeviceList", "getMicrophoneDeviceList", kViaPromise};
constexpr SdkMethod kGetMicrophoneDeviceId{"GetMicrophoneDeviceId", "getMicrophoneDeviceId", kViaPromise};
constexpr SdkMethod kSetMicrophoneDevice{"SetMicrophoneDevice", "setMicrophoneDevice", kViaPromise};
constexpr SdkMethod kSetMicrophoneDevicePreview{"SetMicrophoneDevicePreview", "setMicrophoneDevicePreview",
                                                kViaPromise};
constexpr SdkMethod kGetMicrophoneVolume{"GetMicrophoneVolume", "getMicrophoneVolume", kViaPromise};
constexpr SdkMethod kGetMicrophoneVolumePreview{"GetMicrophoneVolumePreview", "getMicrophoneVolumePreview",
                                                kViaPromise};
constexpr SdkMethod kSetMicrophoneVolume{"SetMicrophoneVolume", "setMicrophoneVolume", kViaPromise};
constexpr SdkMethod kMuteMyAudio{"MuteMyAudio", "muteMyAudio"};
constexpr SdkMethod kUnmuteMyAudio{"UnmuteMyAudio", "unmuteMyAudio", kViaPromise};
constexpr SdkMethod kStartMicrophoneDeviceTest{"StartMicrophoneDeviceTest", "startMicrophoneDeviceTest", kViaPromise};
constexpr SdkMethod kStopMicrophoneDeviceTest{"StopMicrophoneDeviceTest", "stopMicrophoneDeviceTest", kViaPromise};
constexpr SdkMethod kStartSpeakerDeviceTest{"StartSpeakerDeviceTest", "startSpeakerDeviceTest", kViaPromise};
constexpr SdkMethod kStopSpeakerDeviceTest{"StopSpeakerDeviceTest", "stopSpeakerDeviceTest", kViaPromise};
constexpr SdkMethod kEnableAudioEffect{"EnableAudioEffect", "enableAudioEffect", kViaPromise};
constexpr SdkMethod kSetAudioEffect{"SetAudioEffect", "setAudioEffect", kViaPromise};
constexpr SdkMethod kEnableAIDenoise{"EnableAIDenoise", "enableAIDenoise"};
constexpr SdkMethod kDisableAIDenoise{"DisableAIDenoise", "disableAIDenoise"};

// The microphone volume getters read their answer as a bare number, not
// through the result forms: anything else counts as volume 0, with success.
template <const SdkMethod& Method>
MvResult<int> ReadBareVolume(const JSValue& answer) {
  int volume = 0;
  if (answer.IsNumber()) {
    volume = js_fields::TruncateToInt32(answer.numberValue);
    log::Info(kSdk.tag, " ✅ ", Method.name, " direct value: ", volume);
  } else {
    log::Error(kSdk.tag, " ❌ Expected number, got type: ", js_fields::KindNumber(answer));
  }
  return MvResult<int>::Success(volume);
}

// The device id answer, written out whole before its conversion.
void DumpAnswer(const JSValue& answer) {
  log::Info(kSdk.tag, " 🔍 GetSpeakerDeviceId raw result type: ", js_fields::KindNumber(answer));
  for (const auto& [key, value] : answer.objectValue) {
    if (value.IsString())
      log::Info(kSdk.tag, " 🔍   ", key, " (type ", js_fields::KindNumber(value), "): ", value.stringValue);
    else if (value.IsNumber())
      log::Info(kSdk.tag, " 🔍   ", key, " (type ", js_fields::KindNumber(value), "): ", value.numberValue);
    else
      log::Info(kSdk.tag, " 🔍   ", key, " (type ", js_fields::KindNumber(value), ")");
  }
}

JSValue EffectArgument(const AudioEffectValue& value) {
  if (const int* number = std::get_if<int>(&value)) {
    log::Info(kSdk.tag, " Value (int): ", *number);
    return JSValue(*number);
  }
  if (const auto* numbers = std::get_if<std::vector<int>>(&value)) {
    log::Info(kSdk.tag, " Value (array): ", numbers->size(), " elements");
    JSValue array = JSValue::Array();
    for (int n : *numbers) array.Push(JSValue(n));
    return array;
  }
  if (const auto* reverb = std::get_if<ReverbConfig>(&value)) {
    log::Info(kSdk.tag, " Value (ReverbConfig): wetGain=", reverb->wetGain);
    JSValue object = JSValue::Object();
    object.Set("wetGain", reverb->wetGain)
        .Set("dryGain", reverb->dryGain)
        .Set("damping", reverb->damping)
        .Set("roomSize", reverb->roomSize)
        .Set("decayTime", reverb->decayTime)
        .Set("preDelay", reverb->preDelay);
    return object;
  }
  return JSValue();  // a variant left without a value
}

}  // namespace

void MvAudioManager::GetSpeakerDeviceList(MvCallback<std::vector<MvDeviceBaseInfo>> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetSpeakerDeviceList, {}, std::move(done));
}

void MvAudioManager::GetSpeakerDeviceId(MvCallback<std::string> done) {
  SdkCall call = MethodCall(kSdk, kGetSpeakerDeviceId);
  call.inspect = &DumpAnswer;
  CallSdk<std::string>(bridge().get(), std::move(call), std::move(done));
}

void MvAudioManager::SetSpeakerDevice(const std::string& deviceId, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetSpeakerDevice, {JSValue(deviceId)}, std::move(done));
}

void MvAudioManager::SetSpeakerDevicePreview(const std::string& deviceId, MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge().get(), kSdk, kSetSpeakerDevicePreview, {JSValue(deviceId)}, std::move(done));
}

void MvAudioManager::GetSpeakerVolume(MvCallback<int> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetSpeakerVolume, {}, std::move(done));
}

void MvAudioManager::SetSpeakerVolume(int32_t volume, MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge().get(), kSdk, kSetSpeakerVolume, {JSValue(volume)}, std::move(done));
}

void MvAudioManager::GetMicrophoneDeviceList(MvCallback<std::vector<MvDeviceBaseInfo>> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetMicrophoneDeviceList, {}, std::move(done));
}

void MvAudioManager::GetMicrophoneDeviceId(MvCallback<std::string> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetMicrophoneDeviceId, {}, std::move(done));
}

void MvAudioManager::SetMicrophoneDevice(const std::string& deviceId, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetMicrophoneDevice, {JSValue(deviceId)}, std::move(done));
}

void MvAudioManager::SetMicrophoneDevicePreview(const std::string& deviceId, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetMicrophoneDevicePreview, {JSValue(deviceId)}, std::move(done));
}

void MvAudioManager::GetMicrophoneVolume(MvCallback<int> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetMicrophoneVolume, {}, std::move(done), &ReadBareVolume<kGetMicrophoneVolume>);
}

void MvAudioManager::GetMicrophoneVolumePreview(MvCallback<int> done) {
  CallSdkMethod(bridge().get(), kSdk, kGetMicrophoneVolumePreview, {}, std::move(done),
                &ReadBareVolume<kGetMicrophoneVolumePreview>);
}

void MvAudioManager::SetMicrophoneVolume(int32_t volume, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kSetMicrophoneVolume, {JSValue(volume)}, std::move(done));
}

void MvAudioManager::MuteMyAudio(MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge().get(), kSdk, kMuteMyAudio, {}, std::move(done));
}

void MvAudioManager::UnmuteMyAudio(bool need, MvCallback<void> done) {
  log::Info(kSdk.tag, " Need: ", need ? "true" : "false");
  CallSdkMethod(bridge().get(), kSdk, kUnmuteMyAudio, {JSValue(need)}, std::move(done));
}

void MvAudioManager::StartMicrophoneDeviceTest(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kStartMicrophoneDeviceTest, {}, std::move(done));
}

void MvAudioManager::StopMicrophoneDeviceTest(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kStopMicrophoneDeviceTest, {}, std::move(done));
}

void MvAudioManager::StartSpeakerDeviceTest(const std::string& audioResource, MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kStartSpeakerDeviceTest, {JSValue(audioResource)}, std::move(done));
}

void MvAudioManager::StopSpeakerDeviceTest(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kStopSpeakerDeviceTest, {}, std::move(done));
}

void MvAudioManager::EnableAudioEffect(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kEnableAudioEffect, {}, std::move(done));
}

void MvAudioManager::SetAudioEffect(int type, const AudioEffectValue& value, MvCallback<void> done) {
  log::Info(kSdk.tag, " Type: ", type);
  CallSdkMethod(bridge().get(), kSdk, kSetAudioEffect, {JSValue(type), EffectArgument(value)}, std::move(done));
}

void MvAudioManager::EnableAIDenoise(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kEnableAIDenoise, {}, std::move(done));
}

void MvAudioManager::DisableAIDenoise(MvCallback<void> done) {
  CallSdkMethod(bridge().get(), kSdk, kDisableAIDenoise, {}, std::move(done));
}

}  // namespace morvanta
