// Morvanta_Audio_*: what each function refuses, what it asks of the SDK's
// audio object and how the answer reaches the caller.
#include "capi/media_api_harness.h"

using namespace morvanta_test;

namespace {

using AudioApi = FamilyApi<MorvantaAudioManager_T, Morvanta_GetAudioManager, Morvanta_DestroyAudioManagerHandle>;
using Case = PlainCase<MorvantaAudioManager_T>;
using H = MorvantaAudioManager_T*;
using Cb = MorvantaCallback;

}  // namespace

TEST_F(AudioApi, RefusedCallsReturnMinusOneAndStartNothing) {
  auto seen = std::make_shared<Seen>();
  void* ud = seen.get();
  ExpectRefused("audio", seen,
                {
                    // A NULL handle, in every function.
                    Morvanta_Audio_GetSpeakerDeviceList(nullptr, Seen::OnDevices, ud),
                    Morvanta_Audio_GetSpeakerDeviceId(nullptr, Seen::OnString, ud),
                    Morvanta_Audio_SetSpeakerDevice(nullptr, "spk-hdmi", Seen::OnPlain, ud),
                    Morvanta_Audio_SetSpeakerDevicePreview(nullptr, "spk-hdmi", Seen::OnPlain, ud),
                    Morvanta_Audio_GetSpeakerVolume(nullptr, Seen::OnVolume, ud),
                    Morvanta_Audio_SetSpeakerVolume(nullptr, 10, Seen::OnPlain, ud),
                    Morvanta_Audio_GetMicrophoneDeviceList(nullptr, Seen::OnDevices, ud),
                    Morvanta_Audio_GetMicrophoneDeviceId(nullptr, Seen::OnString, ud),
                    Morvanta_Audio_SetMicrophoneDevice(nullptr, "mic-builtin", Seen::OnPlain, ud),
                    Morvanta_Audio_SetMicrophoneDevicePreview(nullptr, "mic-builtin", Seen::OnPlain, ud),
                    Morvanta_Audio_GetMicrophoneVolume(nullptr, Seen::OnVolume, ud),
                    Morvanta_Audio_GetMicrophoneVolumePreview(nullptr, Seen::OnVolume, ud),
                    Morvanta_Audio_SetMicrophoneVolume(nullptr, 10, Seen::OnPlain, ud),
                    Morvanta_Audio_MuteMyAudio(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_UnmuteMyAudio(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_StartMicrophoneDeviceTest(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_StopMicrophoneDeviceTest(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_StartSpeakerDeviceTest(nullptr, "ring.wav", Seen::OnPlain, ud),
                    Morvanta_Audio_StopSpeakerDeviceTest(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_EnableAudioEffect(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetAudioEffect(nullptr, 2, 7, Seen::OnPlain, ud),
                    Morvanta_Audio_EnableAIDenoise(nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_DisableAIDenoise(nullptr, Seen::OnPlain, ud),
                    // A NULL device id or audio resource.
                    Morvanta_Audio_SetSpeakerDevice(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetSpeakerDevicePreview(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetMicrophoneDevice(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_SetMicrophoneDevicePreview(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Audio_StartSpeakerDeviceTest(handle, nullptr, Seen::OnPlain, ud),
                    // A NULL callback where a value is delivered.
                    Morvanta_Audio_GetSpeakerDeviceList(handle, nullptr, ud),
                    Morvanta_Audio_GetSpeakerDeviceId(handle, nullptr, ud),
                    Morvanta_Audio_GetSpeakerVolume(handle, nullptr, ud),
                    Morvanta_Audio_GetMicrophoneDeviceList(handle, nullptr, ud),
                    Morvanta_Audio_GetMicrophoneDeviceId(handle, nullptr, ud),
                    Morvanta_Audio_GetMicrophoneVolume(handle, nullptr, ud),
                    Morvanta_Audio_GetMicrophoneVolumePreview(handle, nullptr, ud),
                });
}

TEST_F(AudioApi, PlainFunctionsSendTheirArgumentsAndAnswerOnce) {
  EnterQuietMeeting();  // muting works in the meeting room only
  ExpectPlainCases<MorvantaAudioManager_T>(
      handle,
      {
          {"audio.setSpeakerDevice",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerDevice(h, "spk-usb-headset", cb, ud); },
           R"(["spk-usb-headset"])"},
          {"audio.setSpeakerDevicePreview",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerDevicePreview(h, "spk-hdmi", cb, ud); },
           R"(["spk-hdmi"])", true},
          {"audio.setSpeakerVolume",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerVolume(h, 35, cb, ud); }, "[35]", true},
          {"audio.setMicrophoneDevice",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetMicrophoneDevice(h, "mic-usb-headset", cb, ud); },
           R"(["mic-usb-headset"])"},
          {"audio.setMicrophoneDevicePreview",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetMicrophoneDevicePreview(h, "mic-builtin", cb, ud); },
           R"(["mic-builtin"])"},
          {"audio.setMicrophoneVolume",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetMicrophoneVolume(h, 45, cb, ud); }, "[45]"},
          {"audio.muteMyAudio", Morvanta_Audio_MuteMyAudio, "[]", true},
          {"audio.unmuteMyAudio", Morvanta_Audio_UnmuteMyAudio, "[true]"},
          {"audio.startMicrophoneDeviceTest", Morvanta_Audio_StartMicrophoneDeviceTest, "[]"},
          {"audio.stopMicrophoneDeviceTest", Morvanta_Audio_StopMicrophoneDeviceTest, "[]"},
          {"audio.startSpeakerDeviceTest",
           [](H h, Cb cb, void* ud) { return Morvanta_Audio_StartSpeakerDeviceTest(h, "ring.wav", cb, ud); },
           R"(["ring.wav"])"},
          {"audio.stopSpeakerDeviceTest", Morvanta_Audio_StopSpeakerDeviceTest, "[]"},
          {"audio.enableAudioEffect", Morvanta_Audio_EnableAudioEffect, "[]"},
          {"audio.setAudioEffect", [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetAudioEffect(h, 2, 7, cb, ud); },
           "[2,7]"},
          {"audio.enableAIDenoise", Morvanta_Audio_EnableAIDenoise, "[]"},
          {"audio.disableAIDenoise", Morvanta_Audio_DisableAIDenoise, "[]"},
      });
  // The last successful calls are what the service kept.
  EXPECT_EQ(Json("morVantaMeeting.getAudioManager().state.effects"), R"({"2":7})");
  EXPECT_EQ(Json("morVantaMeeting.getAudioManager().state.speaker"),
            R"({"selected":"spk-usb-headset","preview":"spk-hdmi"})");
}

// What the service answers, the caller sees: for an ignored answer even a
// refusal is success, where the same refusal of a sibling is a failure.
TEST_F(AudioApi, ServiceRefusalsPassThroughExceptWhereTheAnswerIsIgnored) {
  struct Row {
    const char* what;
    std::function<int(H, Cb, void*)> call;
    int code;
  };
  const Row rows[] = {
      {"unknown speaker", [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerDevice(h, "nope", cb, ud); },
       1000},
      {"unknown preview speaker, ignored",
       [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerDevicePreview(h, "nope", cb, ud); }, 0},
      {"unknown preview microphone",
       [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetMicrophoneDevicePreview(h, "nope", cb, ud); }, 1000},
      // 4294967295 reaches the service as -1, which it refuses.
      {"speaker volume -1, ignored",
       [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerVolume(h, 4294967295u, cb, ud); }, 0},
      {"microphone volume -1",
       [](H h, Cb cb, void* ud) { return Morvanta_Audio_SetMicrophoneVolume(h, 4294967295u, cb, ud); }, 1000},
      // Outside a meeting.
      {"mute, ignored", Morvanta_Audio_MuteMyAudio, 0},
      {"unmute", Morvanta_Audio_UnmuteMyAudio, 1100},
  };
  for (const Row& row : rows) {
    auto seen = std::make_shared<Seen>();
    ASSERT_EQ(row.call(handle, &Seen::OnPlain, seen.get()), 0) << row.what;
    ASSERT_TRUE(seen->Wait()) << row.what;
    EXPECT_EQ(seen->code, row.code) << row.what << ": " << seen->message;
  }
  EXPECT_EQ(ArgsOf("audio.setSpeakerVolume"), "[[-1]]");
  EXPECT_EQ(ArgsOf("audio.setMicrophoneVolume"), "[[-1]]");
}

TEST_F(AudioApi, DeviceListsAndIdsFollowTheSelection) {
  struct Kind {
    const char* name;
    int (*list)(H, MorvantaDeviceListCallback, void*);
    int (*id)(H, MorvantaStringCallback, void*);
    int (*select)(H, const char*, Cb, void*);
    const char* first_id;
    const char* first_name;
    uint32_t count;
    const char* other_id;
  };
  const Kind kinds[] = {
      {"speakers", Morvanta_Audio_GetSpeakerDeviceList, Morvanta_Audio_GetSpeakerDeviceId,
       Morvanta_Audio_SetSpeakerDevice, "spk-builtin", "Built-in Speakers", 3, "spk-hdmi"},
      {"microphones", Morvanta_Audio_GetMicrophoneDeviceList, Morvanta_Audio_GetMicrophoneDeviceId,
       Morvanta_Audio_SetMicrophoneDevice, "mic-builtin", "Built-in Microphone", 2, "mic-usb-headset"},
  };
  for (const Kind& k : kinds) {
    SCOPED_TRACE(k.name);
    auto list = std::make_shared<Seen>();
    ASSERT_EQ(k.list(handle, Seen::OnDevices, list.get()), 0);
    ASSERT_TRUE(list->Wait());
    ASSERT_EQ(list->code, 0) << list->message;
    ASSERT_EQ(list->count, k.count);
    ASSERT_EQ(list->devices.size(), k.count);
    EXPECT_EQ(list->devices[0].first, k.first_id);
    EXPECT_EQ(list->devices[0].second, k.first_name);

    auto before = std::make_shared<Seen>();
    ASSERT_EQ(k.id(handle, Seen::OnString, before.get()), 0);
    ASSERT_TRUE(before->Wait());
    EXPECT_EQ(before->text, k.first_id);

    auto chosen = std::make_shared<Seen>();
    ASSERT_EQ(k.select(handle, k.other_id, Seen::OnPlain, chosen.get()), 0);
    ASSERT_TRUE(chosen->Wait());
    auto after = std::make_shared<Seen>();
    ASSERT_EQ(k.id(handle, Seen::OnString, after.get()), 0);
    ASSERT_TRUE(after->Wait());
    EXPECT_EQ(after->code, 0);
    EXPECT_EQ(after->text, k.other_id);
  }
}

TEST_F(AudioApi, ValueGettersDeliverNoPayloadOnFailure) {
  struct Row {
    const char* path;
    std::function<int(std::shared_ptr<Seen>&)> call;
  };
  const Row rows[] = {
      {"audio.getSpeakerDeviceList",
       [&](std::shared_ptr<Seen>& s) { return Morvanta_Audio_GetSpeakerDeviceList(handle, Seen::OnDevices, s.get()); }},
      {"audio.getMicrophoneDeviceList",
       [&](std::shared_ptr<Seen>& s) {
         return Morvanta_Audio_GetMicrophoneDeviceList(handle, Seen::OnDevices, s.get());
       }},
      {"audio.getSpeakerDeviceId",
       [&](std::shared_ptr<Seen>& s) { return Morvanta_Audio_GetSpeakerDeviceId(handle, Seen::OnString, s.get()); }},
      {"audio.getMicrophoneDeviceId",
       [&](std::shared_ptr<Seen>& s) { return Morvanta_Audio_GetMicrophoneDeviceId(handle, Seen::OnString, s.get()); }},
      {"audio.getSpeakerVolume",
       [&](std::shared_ptr<Seen>& s) { return Morvanta_Audio_GetSpeakerVolume(handle, Seen::OnVolume, s.get()); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path);
    for (const char* rule : {"{fail: 'code', code: 1001, message: 'no permission', times: 1}",
                             "{fail: 'reject', message: 'service down', times: 1}"}) {
      Override(row.path, rule);
      auto seen = std::make_shared<Seen>();
      ASSERT_EQ(row.call(seen), 0);
      ASSERT_TRUE(seen->Wait());
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
  struct Row {
    const char* path;
    int (*get)(H, MorvantaIntegerCallback, void*);
    const char* answer;
    int code;
    uint32_t volume;
  };
  const Row rows[] = {
      {"audio.getSpeakerVolume", Morvanta_Audio_GetSpeakerVolume, "{code: 0, data: 50}", 0, 50},
      {"audio.getSpeakerVolume", Morvanta_Audio_GetSpeakerVolume, "'30'", 0, 30},
      {"audio.getSpeakerVolume", Morvanta_Audio_GetSpeakerVolume, "{code: 1, message: 'x', data: null}", 1, 0},
      {"audio.getMicrophoneVolume", Morvanta_Audio_GetMicrophoneVolume, "50", 0, 50},
      {"audio.getMicrophoneVolume", Morvanta_Audio_GetMicrophoneVolume, "{code: 0, data: 50}", 0, 0},
      {"audio.getMicrophoneVolume", Morvanta_Audio_GetMicrophoneVolume, "{code: 1, message: 'x', data: null}", 0, 0},
      {"audio.getMicrophoneVolumePreview", Morvanta_Audio_GetMicrophoneVolumePreview, "12.9", 0, 12},
      {"audio.getMicrophoneVolumePreview", Morvanta_Audio_GetMicrophoneVolumePreview, "'12'", 0, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.path) + " answering " + row.answer);
    Override(row.path, std::string("{answer: ") + row.answer + ", times: 1}");
    auto seen = std::make_shared<Seen>();
    ASSERT_EQ(row.get(handle, Seen::OnVolume, seen.get()), 0);
    ASSERT_TRUE(seen->Wait());
    EXPECT_EQ(seen->code, row.code);
    EXPECT_EQ(seen->value, row.volume);
  }
}

TEST_F(AudioApi, VolumesReadBackAndTheMicrophoneTestShowsItsLevel) {
  auto read = [&](int (*get)(H, MorvantaIntegerCallback, void*)) {
    auto seen = std::make_shared<Seen>();
    EXPECT_EQ(get(handle, Seen::OnVolume, seen.get()), 0);
    EXPECT_TRUE(seen->Wait());
    EXPECT_EQ(seen->code, 0) << seen->message;
    return seen->value;
  };
  auto run = [&](std::function<int(Cb, void*)> call) {
    auto seen = std::make_shared<Seen>();
    ASSERT_EQ(call(Seen::OnPlain, seen.get()), 0);
    ASSERT_TRUE(seen->Wait());
    ASSERT_EQ(seen->code, 0) << seen->message;
  };
  run([&](Cb cb, void* ud) { return Morvanta_Audio_SetSpeakerVolume(handle, 35, cb, ud); });
  run([&](Cb cb, void* ud) { return Morvanta_Audio_SetMicrophoneVolume(handle, 45, cb, ud); });
  EXPECT_EQ(read(Morvanta_Audio_GetSpeakerVolume), 35u);
  EXPECT_EQ(read(Morvanta_Audio_GetMicrophoneVolume), 45u);
  EXPECT_EQ(read(Morvanta_Audio_GetMicrophoneVolumePreview), 0u);
  run([&](Cb cb, void* ud) { return Morvanta_Audio_StartMicrophoneDeviceTest(handle, cb, ud); });
  EXPECT_EQ(read(Morvanta_Audio_GetMicrophoneVolumePreview), 45u);
  run([&](Cb cb, void* ud) { return Morvanta_Audio_StopMicrophoneDeviceTest(handle, cb, ud); });
  EXPECT_EQ(read(Morvanta_Audio_GetMicrophoneVolumePreview), 0u);
}

TEST_F(AudioApi, MutingChangesTheLocalMemberOfTheMeetingCompatibleOnly) {
  EnterQuietMeeting();
  ASSERT_EQ(MemberField("isAudioOn"), "false");  // the local user enters muted
  auto unmuted = std::make_shared<Seen>();
  ASSERT_EQ(Morvanta_Audio_UnmuteMyAudio(handle, Seen::OnPlain, unmuted.get()), 0);
  ASSERT_TRUE(unmuted->Wait());
  EXPECT_EQ(MemberField("isAudioOn"), "true");
  ASSERT_EQ(Morvanta_Audio_MuteMyAudio(handle, nullptr, nullptr), 0);
  EXPECT_EQ(MemberField("isAudioOn"), "false");
}
