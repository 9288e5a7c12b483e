// Morvanta_Video_*: what each function refuses, what it asks of the SDK's
// video object (native windows as 8 bytes) and how the answer comes back.
#include <cstdint>

#include "capi/channel_events_harness.h"
#include "capi/media_api_harness.h"
#include "support/sandbox_config.h"

using namespace morvanta_test;

namespace {

using VideoApi = FamilyApi<MorvantaVideoManager_T, Morvanta_GetVideoManager, Morvanta_DestroyVideoManagerHandle>;
using H = MorvantaVideoManager_T*;
using Cb = MorvantaCallback;

// A window handle whose value in hexadecimal ends in ABCDEF, higher bytes 0.
void* const kView = reinterpret_cast<void*>(uintptr_t{0xABCDEF});
constexpr char kViewArg[] = R"({"type":"Buffer","data":[239,205,171,0,0,0,0,0]})";
constexpr char kMember[] = "sim-member-02";

std::string VideoState(const std::string& field) { return Json("morVantaMeeting.getVideoManager().state." + field); }

// The functions with a plain callback, called with valid arguments.
std::vector<PlainCase<MorvantaVideoManager_T>> PlainCases() {
  const std::string member_view = std::string("[\"") + kMember + "\"," + kViewArg + "]";
  const std::string member_only = std::string("[\"") + kMember + "\"]";
  const std::string member_low = std::string("[\"") + kMember + "\",1]";
  const std::string view_only = std::string("[") + kViewArg + "]";
  return {
      {"video.setCameraDevice", With(Morvanta_Video_SetCameraDevice, "cam-usb-4k"), R"(["cam-usb-4k"])"},
      {"video.setCameraDevicePreview", With(Morvanta_Video_SetCameraDevicePreview, "cam-integrated"),
       R"(["cam-integrated"])"},
      {"video.setupLocalVideoCanvas", With(Morvanta_Video_SetupLocalVideoCanvas, kView), view_only},
      {"video.removeLocalVideoCanvas", Morvanta_Video_RemoveLocalVideoCanvas, "[]", true},
      {"video.setupVideoPreviewCanvas", With(Morvanta_Video_SetupVideoPreviewCanvas, nullptr), "[null]"},
      {"video.setupRemoteVideoCanvas", With(Morvanta_Video_SetupRemoteVideoCanvas, kMember, kView), member_view},
      {"video.setupRemoteVideoSubStreamCanvas", With(Morvanta_Video_SetupRemoteVideoSubStreamCanvas, kMember, kView),
       member_view},
      {"video.startVideoPreview", Morvanta_Video_StartVideoPreview, "[]"},
      {"video.stopVideoPreview", Morvanta_Video_StopVideoPreview, "[]"},
      {"video.muteMyVideo", Morvanta_Video_MuteMyVideo, "[]"},
      {"video.unmuteMyVideo", Morvanta_Video_UnmuteMyVideo, "[]"},
      {"video.subscribeRemoteVideoStream", With(Morvanta_Video_SubscribeRemoteVideoStream, kMember, 1), member_low},
      {"video.unsubscribeRemoteVideoStream", With(Morvanta_Video_UnsubscribeRemoteVideoStream, kMember, 1), member_low},
      {"video.subscribeRemoteVideoSubStream", With(Morvanta_Video_SubscribeRemoteVideoSubStream, kMember), member_only},
      {"video.unsubscribeRemoteVideoSubStream", With(Morvanta_Video_UnsubscribeRemoteVideoSubStream, kMember),
       member_only},
  };
}

}  // namespace

TEST_F(VideoApi, RefusedCallsReturnMinusOneAndStartNothing) {
  auto seen = std::make_shared<Seen>();
  void* ud = seen.get();
  MorvantaVideoManager_T empty{};  // a handle that holds no manager
  for (H h : {static_cast<H>(nullptr), &empty}) {
    SCOPED_TRACE(h ? "handle without manager" : "NULL handle");
    ExpectPlainRefusals(h, PlainCases(), ud);
    ExpectRefused("video", seen,
                  {
                      Morvanta_Video_GetCameraDeviceList(h, Seen::OnDevices, ud),
                      Morvanta_Video_GetCameraDeviceId(h, Seen::OnString, ud),
                      Morvanta_Video_SetVideoProfile(h, 2, 30),
                  });
  }
  ExpectRefused("video", seen,
                {
                    // A NULL device id or member uuid.
                    Morvanta_Video_SetCameraDevice(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Video_SetCameraDevicePreview(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Video_SetupRemoteVideoCanvas(handle, nullptr, kView, Seen::OnPlain, ud),
                    Morvanta_Video_SetupRemoteVideoSubStreamCanvas(handle, nullptr, kView, Seen::OnPlain, ud),
                    Morvanta_Video_SubscribeRemoteVideoStream(handle, nullptr, 0, Seen::OnPlain, ud),
                    Morvanta_Video_UnsubscribeRemoteVideoStream(handle, nullptr, 0, Seen::OnPlain, ud),
                    Morvanta_Video_SubscribeRemoteVideoSubStream(handle, nullptr, Seen::OnPlain, ud),
                    Morvanta_Video_UnsubscribeRemoteVideoSubStream(handle, nullptr, Seen::OnPlain, ud),
                    // A NULL callback where a value is delivered.
                    Morvanta_Video_GetCameraDeviceList(handle, nullptr, ud),
                    Morvanta_Video_GetCameraDeviceId(handle, nullptr, ud),
                });
}

TEST_F(VideoApi, PlainFunctionsSendTheirArgumentsAndAnswerOnce) {
  EnterQuietMeeting();  // remote canvases and streams need a member
  ExpectPlainCases(handle, PlainCases());
}

// Each canvas records the 8 bytes of the handle value it was given; a NULL
// view reaches the service as null and detaches the canvas.
TEST_F(VideoApi, CanvasesReceiveTheWindowHandleAsEightBytes) {
  EnterQuietMeeting();
  void* const wide = reinterpret_cast<void*>(uintptr_t{0x1122334455667788});
  const std::string remote = std::string("['") + kMember + "']";
  const struct {
    const char* what;
    std::function<std::shared_ptr<Seen>(void*)> setup;
    std::string canvas;    // where the sandbox keeps it
    const char* detached;  // what is left there after a NULL view
  } rows[] = {
      {"local", [&](void* v) { return Answer(Morvanta_Video_SetupLocalVideoCanvas, handle, v); }, "localCanvas",
       "null"},
      {"preview", [&](void* v) { return Answer(Morvanta_Video_SetupVideoPreviewCanvas, handle, v); }, "previewCanvas",
       "null"},
      {"remote", [&](void* v) { return Answer(Morvanta_Video_SetupRemoteVideoCanvas, handle, kMember, v); },
       "remoteCanvases" + remote, ""},
      {"remote sub-stream",
       [&](void* v) { return Answer(Morvanta_Video_SetupRemoteVideoSubStreamCanvas, handle, kMember, v); },
       "subStreamCanvases" + remote, ""},
  };
  const std::pair<void*, const char*> steps[] = {
      {kView, R"({"bytes":[239,205,171,0,0,0,0,0],"handle":"0xabcdef"})"},
      {wide, R"({"bytes":[136,119,102,85,68,51,34,17],"handle":"0x1122334455667788"})"},
      {nullptr, nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    for (const auto& [view, recorded] : steps) {
      auto seen = row.setup(view);
      ASSERT_EQ(seen->code, 0) << seen->message;
      EXPECT_EQ(VideoState(row.canvas), recorded ? recorded : row.detached);
    }
  }
}

TEST_F(VideoApi, RemovingTheLocalCanvasIgnoresTheAnswerCompatibleOnly) {
  ASSERT_EQ(Morvanta_Video_SetupLocalVideoCanvas(handle, kView, nullptr, nullptr), 0);
  ASSERT_EQ(VideoState("localCanvas.handle"), "\"0xabcdef\"");
  for (const char* rule : {"{answer: {code: 1, message: 'x'}, times: 1}", "{fail: 'code', code: 1001, times: 1}",
                           "{answer: 'not json', times: 1}"}) {
    SCOPED_TRACE(rule);
    Override("video.removeLocalVideoCanvas", rule);
    // C++ linkage: this call is bound to the decorated export.
    auto seen = Answer(Morvanta_Video_RemoveLocalVideoCanvas, handle);
    EXPECT_EQ(seen->code, 0);
    EXPECT_EQ(seen->message, "");
  }
  Answer(Morvanta_Video_RemoveLocalVideoCanvas, handle);
  EXPECT_EQ(VideoState("localCanvas"), "null");
}

TEST_F(VideoApi, CameraListAndSelection) {
  auto list = Answer(Morvanta_Video_GetCameraDeviceList, handle);
  ASSERT_EQ(list->code, 0) << list->message;
  ASSERT_EQ(list->count, 2u);
  EXPECT_EQ(list->devices[0], std::make_pair(std::string("cam-integrated"), std::string("Integrated Camera")));
  EXPECT_EQ(list->devices[1].first, "cam-usb-4k");

  ASSERT_EQ(Morvanta_Video_SetCameraDevice(handle, "cam-usb-4k", nullptr, nullptr), 0);
  auto id = Answer(Morvanta_Video_GetCameraDeviceId, handle);
  EXPECT_EQ(id->code, 0);
  EXPECT_EQ(id->text, "cam-usb-4k");

  Override("video.getCameraDeviceList", "{fail: 'code', code: 1001, message: 'no camera access', times: 1}");
  auto refused = Answer(Morvanta_Video_GetCameraDeviceList, handle);
  EXPECT_EQ(refused->code, 1001);
  EXPECT_EQ(refused->message, "no camera access");
  EXPECT_TRUE(refused->devices_null);
  EXPECT_EQ(refused->count, 0u);

  Override("video.getCameraDeviceId", "{fail: 'reject', times: 1}");
  auto failed = Answer(Morvanta_Video_GetCameraDeviceId, handle);
  EXPECT_EQ(failed->code, -1);
  EXPECT_TRUE(failed->text_null);
}

TEST_F(VideoApi, TheVideoProfileIsSentAndForgotten) {
  ASSERT_EQ(Morvanta_Video_SetVideoProfile(handle, 2, 30), 0);
  EXPECT_EQ(ArgsOf("video.setVideoProfile"), "[[2,30]]");
  EXPECT_EQ(VideoState("profile"), R"({"resolution":2,"frameRate":30})");
  // A refusal by the service changes nothing and reaches no one.
  ASSERT_EQ(Morvanta_Video_SetVideoProfile(handle, -1, 0), 0);
  EXPECT_EQ(ArgsOf("video.setVideoProfile"), "[[2,30],[-1,0]]");
  EXPECT_EQ(VideoState("profile"), R"({"resolution":2,"frameRate":30})");
}

// A failed profile call reaches no one either; it leaves one warning line.
TEST_F(VideoApi, AFailedVideoProfileCallIsLoggedAsAWarning) {
  Override("video.setVideoProfile", "{fail: 'reject', message: 'encoder busy', times: 1}");
  const std::string log = LogOf([&] {
    ASSERT_EQ(Morvanta_Video_SetVideoProfile(handle, 2, 30), 0);
    Settle();  // queued behind the profile call, answered after it
  });
  const auto lines = LinesStartingWith(log, "[VideoManager] ");
  const std::string warning = "[VideoManager] ⚠️ SetVideoProfile JavaScript call failed: ";
  std::vector<std::string> warnings;
  for (const std::string& line : lines)
    if (line.rfind(warning, 0) == 0) warnings.push_back(line);
  ASSERT_EQ(warnings.size(), 1u) << log;
  EXPECT_NE(warnings[0].find("encoder busy"), std::string::npos) << warnings[0];
  for (const std::string& line : lines) {
    EXPECT_EQ(line.find("SetVideoProfile failed"), std::string::npos) << line;
    EXPECT_EQ(line.find("SetVideoProfile completed successfully"), std::string::npos) << line;
  }
  EXPECT_EQ(VideoState("profile"), "null");
}

// A handle kept past Morvanta_Uninitialize still takes calls: those with a
// callback fail through it at once, the profile is dropped quietly.
TEST(VideoApiAfterUninitialize, AKeptHandleAnswersBridgeNotInitialized) {
  MorvantaInitConfig c = morvanta_test::SandboxConfig();
  MorvantaSDK_T* sdk = nullptr;
  ASSERT_EQ(Morvanta_Initialize(&c, &sdk), 0);
  MorvantaVideoManager_T* handle = Morvanta_GetVideoManager(sdk);
  ASSERT_NE(handle, nullptr);
  ASSERT_EQ(Morvanta_Uninitialize(), 0);

  EXPECT_EQ(Morvanta_Video_SetVideoProfile(handle, 2, 30), 0);
  auto seen = std::make_shared<Seen>();
  EXPECT_EQ(Morvanta_Video_SetupLocalVideoCanvas(handle, kView, Seen::OnPlain, seen.get()), 0);
  EXPECT_EQ(seen->Calls(), 1);  // on the calling thread, before the return
  EXPECT_EQ(seen->code, -1);
  EXPECT_EQ(seen->message, "Bridge not initialized");
  Morvanta_DestroyVideoManagerHandle(handle);
}
