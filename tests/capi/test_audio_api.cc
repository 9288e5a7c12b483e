// Morvanta_Audio_*: what each function refuses, what it asks of the SDK's
// audio object and how the answer reaches the caller.
#include "capi/media_api_harness.h"

using namespace morvanta_test;

namespace {

using AudioApi = FamilyApi<MorvantaAudioManager_T, Morvanta_GetAudioManager, Morvanta_DestroyAudioManagerHandle>;
using H = MorvantaAudioManager_T*;
using Cb = MorvantaCallback;

// The functions that deliver a value. The first five deliver none on a
// failure; the microphone volumes read a bare number (see VolumeAnswersByGetter).
const std::pair<const char*, std::function<int(H, AnyCallback, void*)>> kGetters[] = {
    {"audio.getSpeakerDeviceList", Getter(Morvanta_Audio_GetSpeakerDeviceList)},
    {"audio.getMicrophoneDeviceList", Getter(Morvanta_Audio_GetMicrophoneDeviceList)},
    {"audio.getSpeakerDeviceId", Getter(Morvanta_Audio_GetSpeakerDeviceId)},
    {"audio.getMicrophoneDeviceId", Getter(Morvanta_Audio_GetMicrophoneDeviceId)},
    {"audio.getSpeakerVolume", Getter(Morvanta_Audio_GetSpeakerVolume)},
    {"audio.getMicrophoneVolume", Getter(Morvanta_Audio_GetMicrophoneVolume)},
    {"audio.getMicrophoneVolumePreview", Getter(Morvanta_Audio_GetMicrophoneVolumePreview)},
};

// The functions with a plain callback, called with valid arguments.
std::vector<PlainCase<MorvantaAudioManager_T>> PlainCases() {
  return {
      {"audio.setSpeakerDevice", With(Morvanta_Audio_SetSpeakerDevice, "spk-usb-headset"), R"(["spk-usb-headset"])"},
      {"audio.setSpeakerDevicePreview", With(Morvanta_Audio_SetSpeakerDevicePreview, "spk-hdmi"), R"(["spk-hdmi"])",
       true},
      {"audio.setSpeakerVolume", With(Morvanta_Audio_SetSpeakerVolume, 35u), "[35]", true},
      {"audio.setMicrophoneDevice", With(Morvanta_Audio_SetMicrophoneDevice, "mic-usb-headset"),
       R"(["mic-usb-headset"])"},
      {"audio.setMicrophoneDevicePreview", With(Morvanta_Audio_SetMicrophoneDevicePreview, "mic-builtin"),
       R"(["mic-builtin"])"},
      {"audio.setMicrophoneVolume", With(Morvanta_Audio_SetMicrophoneVolume, 45u), "[45]"},
      {"audio.muteMyAudio", Morvanta_Audio_MuteMyAudio, "[]", true},
      {"audio.unmuteMyAudio", Morvanta_Audio_UnmuteMyAudio, "[true]"},
      {"audio.startMicrophoneDeviceTest", Morvanta_Audio_StartMicrophoneDeviceTest, "[]"},
      {"audio.stopMicrophoneDeviceTest", Morvanta_Audio_StopMicrophoneDeviceTest, "[]"},
      {"audio.startSpeakerDeviceTest", With(Morvanta_Audio_StartSpeakerDeviceTest, "ring.wav"), R"(["ring.wav"])"},
      {"audio.stopSpeakerDeviceTest", Morvanta_Audio_StopSpeakerDeviceTest, "[]"},
      {"audio.enableAudioEffect", Morvanta_Audio_EnableAudioEffect, "[]"},
      {"audio.setAudioEffect", With(Morvanta_Audio_SetAudioEffect, 2, 7), "[2,7]"},
      {"audio.enableAIDenoise", Morvanta_Audio_EnableAIDenoise, "[]"},
      {"audio.disableAIDenoise", Morvanta_Audio_DisableAIDenoise, "[]"},
  };
}

}  // namespace

TEST_F(AudioApi, RefusedCallsReturnMinusOneAndStartNothing) {
  auto seen = std::make_shared<Seen>();
  void* ud = seen.get();
  for (const auto& [path, get] : kGetters) {
    EXPECT_EQ(get(nullptr, AnyCallback{}, ud), -1) << path << " with a NULL handle";
    EXPECT_EQ(get(handle, AnyCallback{true}, ud), -1) << path << " without a callback";
  }
  ExpectRefused("audio", seen,
                {
                    // A NULL device id or audio resource.
                    Morvanta_Audio_SetSpeakerDevice(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetSpeakerDevicePreview(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetMicrophoneDevice(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetMicrophoneDevicePreview(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_StartSpeakerDeviceTest(handle, nullptr, Seen::OnPlain, ud),
                });
}

TEST_F(AudioApi, PlainFunctionsSendTheirArgumentsAndAnswerOnce) {
  EnterQuietMeeting();  // muting works in the meeting room only
  ExpectPlainCases(handle, PlainCases());
  // The last successful calls are what the service kept.
  EXPECT_EQ(Json("morVantaMeeting.getAudioManager().state.effects"), R"({"2":7})");
  EXPECT_EQ(Json("morVantaMeeting.getAudioManager().state.speaker"),
            R"({"selected":"spk-usb-headset","preview":"spk-hdmi"})");
}

// What the service answers, the caller sees: for an ignored answer even a
// refusal is success, where the same refusal of a sibling is a failure.
TEST_F(AudioApi, ServiceRefusalsPassThroughExceptWhereTheAnswerIsIgnored) {
  const struct {
    const char* what;
    std::function<int(H, Cb, void*)> call;
    int code;
  } rows[] = {
      {"unknown speaker", With(Morvanta_Audio_SetSpeakerDevice, "nope"), 1000},
      {"unknown preview speaker, ignored", With(Morvanta_Audio_SetSpeakerDevicePreview, "nope"), 0},
      {"unknown preview microphone", With(Morvanta_Audio_SetMicrophoneDevicePreview, "nope"), 1000},
      // 4294967295 reaches the service as -1, which it refuses.
      {"speaker volume -1, ignored", With(Morvanta_Audio_SetSpeakerVolume, 4294967295u), 0},
      {"microphone volume -1", With(Morvanta_Audio_SetMicrophoneVolume, 4294967295u), 1000},
      // Outside a meeting.
      {"mute, ignored", Morvanta_Audio_MuteMyAudio, 0},
      {"unmute", Morvanta_Audio_UnmuteMyAudio, 1100},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    auto seen = Answer(row.call, handle);
    EXPECT_EQ(seen->code, row.code) << seen->message;
  }
  EXPECT_EQ(ArgsOf("audio.setSpeakerVolume"), "[[-1]]");
  EXPECT_EQ(ArgsOf("audio.setMicrophoneVolume"), "[[-1]]");
}

TEST_F(AudioApi, DeviceListsAndIdsFollowTheSelection) {
  const struct {
    const char* name;
    int (*list)(H, MorvantaDeviceListCallback, void*);
    int (*id)(H, MorvantaStringCallback, void*);
    int (*select)(H, const char*, Cb, void*);
    const char *first_id, *first_name;
    uint32_t count;
    const char* other_id;
  } kinds[] = {
      {"speakers", Morvanta_Audio_GetSpeakerDeviceList, Morvanta_Audio_GetSpeakerDeviceId,
       Morvanta_Audio_SetSpeakerDevice, "spk-builtin", "Built-in Speakers", 3, "spk-hdmi"},
      {"microphones", Morvanta_Audio_GetMicrophoneDeviceList, Morvanta_Audio_GetMicrophoneDeviceId,
       Morvanta_Audio_SetMicrophoneDevice, "mic-builtin", "Built-in Microphone", 2, "mic-usb-headset"},
  };
  for (const auto& k : kinds) {
    SCOPED_TRACE(k.name);
    auto list = Answer(k.list, handle);
    ASSERT_EQ(list->code, 0) << list->message;
    ASSERT_EQ(list->count, k.count);
    ASSERT_EQ(list->devices.size(), k.count);
    EXPECT_EQ(list->devices[0], std::make_pair(std::string(k.first_id), std::string(k.first_name)));
    EXPECT_EQ(Answer(k.id, handle)->text, k.first_id);
    Answer(k.select, handle, k.other_id);
    auto after = Answer(k.id, handle);
    EXPECT_EQ(after->code, 0);
    EXPECT_EQ(after->text, k.other_id);
  }
}

TEST_F(AudioApi, ValueGettersDeliverNoPayloadOnFailure) {
  for (size_t i = 0; i < 5; ++i) {
    const auto& [path, get] = kGetters[i];
    SCOPED_TRACE(path);
    for (const char* rule : {"{fail: 'code', code: 1001, message: 'no permission', times: 1}",
                             "{fail: 'reject', message: 'service down', times: 1}"}) {
      Override(path, rule);
      auto seen = Answer(get, handle);
      Settle();
      EXPECT_EQ(seen->Calls(), 1);
      EXPECT_NE(seen->code, 0);
      EXPECT_TRUE(seen->devices_null);
      EXPECT_TRUE(seen->text_null);
      if (seen->count != 99) EXPECT_EQ(seen->count, 0u);
      if (seen->value != 99) EXPECT_EQ(seen->value, 0u);
    }
  }
}

// The speaker volume goes through the common answer forms; the two
// microphone getters read a bare number only and take anything else as 0.
TEST_F(AudioApi, VolumeAnswersByGetter) {
  const struct {
    const char* path;
    int (*get)(H, MorvantaIntegerCallback, void*);
    const char* answer;
    int code;
    uint32_t volume;
  } rows[] = {
      {"audio.getSpeakerVolume", Morvanta_Audio_GetSpeakerVolume, "{code: 0, data: 50}", 0, 50},
      {"audio.getSpeakerVolume", Morvanta_Audio_GetSpeakerVolume, "'30'", 0, 30},
      {"audio.getSpeakerVolume", Morvanta_Audio_GetSpeakerVolume, "{code: 1, message: 'x', data: null}", 1, 0},
      {"audio.getMicrophoneVolume", Morvanta_Audio_GetMicrophoneVolume, "50", 0, 50},
      {"audio.getMicrophoneVolume", Morvanta_Audio_GetMicrophoneVolume, "{code: 0, data: 50}", 0, 0},
      {"audio.getMicrophoneVolume", Morvanta_Audio_GetMicrophoneVolume, "{code: 1, message: 'x', data: null}", 0, 0},
      {"audio.getMicrophoneVolumePreview", Morvanta_Audio_GetMicrophoneVolumePreview, "12.9", 0, 12},
      {"audio.getMicrophoneVolumePreview", Morvanta_Audio_GetMicrophoneVolumePreview, "'12'", 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.path) + " answering " + row.answer);
    Override(row.path, std::string("{answer: ") + row.answer + ", times: 1}");
    auto seen = Answer(row.get, handle);
    EXPECT_EQ(seen->code, row.code);
    EXPECT_EQ(seen->value, row.volume);
  }
}

// Each step runs one call, which must succeed; a read step's volume follows.
TEST_F(AudioApi, VolumesReadBackAndTheMicrophoneTestShowsItsLevel) {
  const struct {
    const char* what;
    std::function<std::shared_ptr<Seen>()> call;
    int volume;  // -1: no volume to check
  } steps[] = {
      {"set speaker 35", [&] { return Answer(Morvanta_Audio_SetSpeakerVolume, handle, 35u); }, -1},
      {"set microphone 45", [&] { return Answer(Morvanta_Audio_SetMicrophoneVolume, handle, 45u); }, -1},
      {"speaker", [&] { return Answer(Morvanta_Audio_GetSpeakerVolume, handle); }, 35},
      {"microphone", [&] { return Answer(Morvanta_Audio_GetMicrophoneVolume, handle); }, 45},
      {"level, no test", [&] { return Answer(Morvanta_Audio_GetMicrophoneVolumePreview, handle); }, 0},
      {"start test", [&] { return Answer(Morvanta_Audio_StartMicrophoneDeviceTest, handle); }, -1},
      {"level, testing", [&] { return Answer(Morvanta_Audio_GetMicrophoneVolumePreview, handle); }, 45},
      {"stop test", [&] { return Answer(Morvanta_Audio_StopMicrophoneDeviceTest, handle); }, -1},
      {"level, stopped", [&] { return Answer(Morvanta_Audio_GetMicrophoneVolumePreview, handle); }, 0},
  };
  for (const auto& step : steps) {
    auto seen = step.call();
    ASSERT_EQ(seen->code, 0) << step.what << ": " << seen->message;
    EXPECT_TRUE(step.volume < 0 || seen->value == static_cast<uint32_t>(step.volume))
        << step.what << ": " << seen->value;
  }
}

TEST_F(AudioApi, MutingChangesTheLocalMemberOfTheMeetingCompatibleOnly) {
  EnterQuietMeeting();
  ASSERT_EQ(MemberField("isAudioOn"), "false");  // the local user enters muted
  Answer(Morvanta_Audio_UnmuteMyAudio, handle);
  EXPECT_EQ(MemberField("isAudioOn"), "true");
  ASSERT_EQ(Morvanta_Audio_MuteMyAudio(handle, nullptr, nullptr), 0);
  EXPECT_EQ(MemberField("isAudioOn"), "false");
}
