// Morvanta_ScreenShare_*: refusals, the options each function sends, the
// answers it reads by itself (every fulfilled call a success), the capture
// sources in all four answer forms, and a share against the sandbox.
#include <functional>
#include <tuple>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/c_records.h"
#include "capi/in_meeting_harness.h"
#include "managers/screen_share_manager.h"

using namespace morvanta_test;

namespace {

// What a capture source list delivered, copied out of the C records.
struct Source {
  int64_t id;
  std::string name;
  int32_t is_window;
  std::string app_name;  // "<null>" for NULL
  int32_t primary;
  int32_t icon_w, icon_h, thumb_w, thumb_h;
  uint32_t thumb_size;
};

struct SourceSlot : CallbackSlot {
  std::vector<Source> sources;
  static void On(int code, const char* message, MorvantaScreenCaptureSource* items, uint32_t count, void* ud) {
    auto* slot = static_cast<SourceSlot*>(ud);
    for (uint32_t i = 0; items && i < count; ++i) {
      const MorvantaScreenCaptureSource& s = items[i];
      slot->sources.push_back({s.source_id, s.source_name, s.is_window, s.app_name ? s.app_name : "<null>",
                               s.is_primary_monitor, s.icon.width, s.icon.height, s.thumbnail.width, s.thumbnail.height,
                               s.thumbnail.size});
    }
    Morvanta_FreeScreenCaptureSourceList(items, count);
    slot->Record(code, message, items, static_cast<int32_t>(count));
  }
};

struct TextSlot : CallbackSlot {
  std::string text;
  static void On(int code, const char* message, char* value, void* ud) {
    auto* slot = static_cast<TextSlot*>(ud);
    slot->text = value ? value : "";
    Morvanta_FreeString(value);
    slot->Record(code, message, value);
  }
};

MorvantaScreenShareConfig Unset() { return {-1, nullptr, -1, -1, -1, nullptr, -1, nullptr, -1, -1}; }

class ScreenShareApi : public InMeetingApi<MorvantaScreenShareManager_T, Morvanta_GetScreenShareManager,
                                           Morvanta_DestroyScreenShareManagerHandle> {
 protected:
  void Sources(SourceSlot& slot) {
    ASSERT_EQ(Morvanta_ScreenShare_GetScreenCaptureSourceList(handle, SourceSlot::On, &slot), 0);
    ExpectOneCallback(slot);
  }
  void ShareMessage(TextSlot& slot) {
    ASSERT_EQ(Morvanta_ScreenShare_GetScreenShareMessage(handle, TextSlot::On, &slot), 0);
    ExpectOneCallback(slot);
  }
  // f(handle, args..., callback, slot), with no callback for a NULL slot.
  template <typename F, typename... A>
  std::function<int(CallbackSlot*)> Bind(F f, A... args) {
    return [=](CallbackSlot* s) { return f(handle, args..., s ? CallbackSlot::OnPlain : nullptr, s); };
  }
  // The plain-callback functions, by their JS method.
  std::vector<std::pair<const char*, std::function<int(CallbackSlot*)>>> PlainCalls() {
    return {{"startScreenShare", Bind(Morvanta_ScreenShare_StartScreenShare, &unset)},
            {"stopScreenShare", Bind(Morvanta_ScreenShare_StopScreenShare, nullptr)},
            {"startShareSystemAudio", Bind(Morvanta_ScreenShare_StartShareSystemAudio, 1)},
            {"installAudioCaptureDriver", Bind(Morvanta_ScreenShare_InstallAudioCaptureDriver)}};
  }
  const MorvantaScreenShareConfig unset = Unset();
};

}  // namespace

TEST_F(ScreenShareApi, RefusedCallsStartNothing) {
  CallbackSlot plain;
  SourceSlot list;
  TextSlot text;
  const auto on = CallbackSlot::OnPlain;
  const char *sources = "getScreenCaptureSourceList", *start = "startScreenShare", *message = "getScreenShareMessage";
  const struct {
    const char* what;
    const char* method;
    CallbackSlot* slot;
    int rc;
  } rows[] = {
      {"sources: NULL handle", sources, &list,
       Morvanta_ScreenShare_GetScreenCaptureSourceList(nullptr, SourceSlot::On, &list)},
      {"sources: no manager", sources, &list,
       Morvanta_ScreenShare_GetScreenCaptureSourceList(&empty, SourceSlot::On, &list)},
      {"sources: NULL callback", sources, &list, Morvanta_ScreenShare_GetScreenCaptureSourceList(handle, nullptr, 0)},
      {"start: NULL handle", start, &plain, Morvanta_ScreenShare_StartScreenShare(nullptr, &unset, on, &plain)},
      {"start: no manager", start, &plain, Morvanta_ScreenShare_StartScreenShare(&empty, &unset, on, &plain)},
      {"start: NULL config", start, &plain, Morvanta_ScreenShare_StartScreenShare(handle, nullptr, on, &plain)},
      {"stop: no manager", "stopScreenShare", &plain,
       Morvanta_ScreenShare_StopScreenShare(&empty, nullptr, on, &plain)},
      {"system audio: NULL handle", "startShareSystemAudio", &plain,
       Morvanta_ScreenShare_StartShareSystemAudio(nullptr, 1, on, &plain)},
      {"driver: no manager", "installAudioCaptureDriver", &plain,
       Morvanta_ScreenShare_InstallAudioCaptureDriver(&empty, on, &plain)},
      {"message: no manager", message, &text, Morvanta_ScreenShare_GetScreenShareMessage(&empty, TextSlot::On, &text)},
      {"message: NULL callback", message, &text, Morvanta_ScreenShare_GetScreenShareMessage(handle, nullptr, 0)},
  };
  for (const auto& row : rows) ExpectRefused(row.what, row.rc, *row.slot, std::string("screenShare.") + row.method);
}

TEST_F(ScreenShareApi, OptionsCarryOnlyTheFieldsSet) {
  MorvantaScreenShareConfig all{1, "101", 1080, 30, 15, "hd", 0, "monitor", 1, 1};
  MorvantaScreenShareConfig some = Unset();
  some.source_id = "";
  some.frame_rate = 0;
  some.is_app = 7;
  MorvantaStopScreenShareConfig stop_unset{-1}, stop_true{3}, stop_false{0};
  const struct {
    const char* method;
    std::function<int(CallbackSlot*)> call;
    const char* args;
  } rows[] = {
      {"startScreenShare", Bind(Morvanta_ScreenShare_StartScreenShare, &unset), "[[{}]]"},
      {"startScreenShare", Bind(Morvanta_ScreenShare_StartScreenShare, &all),
       R"([[{"forceDisplaySurface":"monitor","frameRate":30,"isApp":false,"isLinux":true,"limitFrameRate":15,)"
       R"("needRequestMeetingServerScreenShare":true,"preferMotion":true,"resolution":1080,"sourceId":"101",)"
       R"("videoProfile":"hd"}]])"},
      {"startScreenShare", Bind(Morvanta_ScreenShare_StartScreenShare, &some),
       R"([[{"frameRate":0,"isApp":true,"sourceId":""}]])"},
      {"stopScreenShare", Bind(Morvanta_ScreenShare_StopScreenShare, nullptr), "[[]]"},
      {"stopScreenShare", Bind(Morvanta_ScreenShare_StopScreenShare, &stop_unset), "[[{}]]"},
      {"stopScreenShare", Bind(Morvanta_ScreenShare_StopScreenShare, &stop_true),
       R"([[{"needRequestMeetingServerScreenShare":true}]])"},
      {"stopScreenShare", Bind(Morvanta_ScreenShare_StopScreenShare, &stop_false),
       R"([[{"needRequestMeetingServerScreenShare":false}]])"},
      {"startShareSystemAudio", Bind(Morvanta_ScreenShare_StartShareSystemAudio, -4), "[[true]]"},
      {"startShareSystemAudio", Bind(Morvanta_ScreenShare_StartShareSystemAudio, 0), "[[false]]"},
      {"installAudioCaptureDriver", Bind(Morvanta_ScreenShare_InstallAudioCaptureDriver), "[[]]"},
  };
  for (const auto& row : rows) {
    SandboxEval("morVantaSandbox.clearCalls()");
    CallbackSlot slot;
    ASSERT_EQ(row.call(&slot), 0) << row.args;
    ExpectOneCallback(slot, row.args);
    EXPECT_EQ(CallArgs(std::string("screenShare.") + row.method), row.args);
  }
}

// Every fulfilled call is a success with an empty message; and with a NULL
// callback a call still reaches the service.
TEST_F(ScreenShareApi, PlainCallsSucceedWhenFulfilledAndRunWithoutCallback) {
  const std::pair<const char*, int> rules[] = {
      {"{fail: 'code', code: 1140, message: 'busy'}", 0},  // the answer is not read
      {"{answer: {result: {code: 9}}}", 0},
      {"{fail: 'reject', message: 'no screen'}", -1},
  };
  for (const auto& [method, call] : PlainCalls()) {
    SCOPED_TRACE(method);
    const std::string path = std::string("screenShare.") + method;
    for (const auto& [rule, code] : rules) {
      Override(path, rule);
      CallbackSlot slot;
      ASSERT_EQ(call(&slot), 0);
      ExpectOneCallback(slot, rule);
      EXPECT_EQ(slot.code, code) << rule;
      EXPECT_EQ(slot.message, code == 0 ? "" : R"(Promise rejected: {"success":false,"error":"no screen"})") << rule;
    }
    Override(path, "null");
    ASSERT_EQ(call(nullptr), 0);
    DrainWorker();
    EXPECT_EQ(CallCount(path), 4);
  }
}

TEST_F(ScreenShareApi, ShareMessageIsTheTextOrEmpty) {
  struct Row {
    const char* rule;
    int code;
    const char* text;
    bool null;
  };
  const Row rows[] = {
      {"{answer: 'Grace is sharing'}", 0, "Grace is sharing", false},
      {"{answer: 42}", 0, "", false},
      {"{answer: {code: 0, data: 'wrapped'}}", 0, "", false},
      {"{fail: 'reject', message: 'later'}", -1, "", true},
  };
  for (const Row& row : rows) {
    Override("screenShare.getScreenShareMessage", row.rule);
    TextSlot slot;
    ShareMessage(slot);
    EXPECT_EQ(slot.code, row.code) << row.rule;
    EXPECT_EQ(slot.text, row.text) << row.rule;
    EXPECT_EQ(slot.payload_null, row.null) << row.rule;
  }
}

TEST_F(ScreenShareApi, SandboxSourcesArriveWithTheirImageSizes) {
  SourceSlot slot;
  Sources(slot);
  ASSERT_EQ(slot.code, 0);
  EXPECT_EQ(slot.message, "");
  ASSERT_EQ(slot.count, 5);
  // id, name, is_window, app_name, is_primary_monitor, icon width.
  auto fields = [](const Source& x) {
    return std::make_tuple(x.id, x.name, x.is_window, x.app_name, x.primary, x.icon_w);
  };
  EXPECT_EQ(fields(slot.sources[0]), std::make_tuple(1, "Screen 1", 0, "<null>", 1, 0));  // no icon: zero block
  EXPECT_EQ(slot.sources[1].primary, 0);
  const Source& window = slot.sources[2];
  EXPECT_EQ(fields(window), std::make_tuple(101, "Quarterly review - Slides", 1, "Quarterly review", -1, 16));
  EXPECT_EQ(std::make_pair(window.thumb_w, window.thumb_h), std::make_pair(32, 18));
  // The bytes of a Buffer do not survive the answer's way through JSON.
  EXPECT_EQ(window.thumb_size, 0u);
}

TEST_F(ScreenShareApi, SourceListIsFoundInEachAnswerForm) {
  struct Row {
    const char* answer;
    std::vector<int64_t> ids;
    const char* first_name;
  };
  const Row rows[] = {
      {R"([{"id":5,"name":"Display","type":1}])", {5}, "Display"},
      {R"([{"sourceId":7,"id":5,"sourceName":"New","name":"Old"}])", {7}, "New"},
      {R"([{"sourceId":"7","id":5}])", {5}, ""},  // a string id is not a number
      {R"({"data":[{"id":1},"skip me",{"id":2}]})", {1, 2}, ""},
      {R"({"result":{"data":[{"id":3}]}})", {3}, ""},
      {R"({"data":"x","result":[{"id":4}]})", {4}, ""},
      {R"({"code":500,"message":"x"})", {}, nullptr},
      {R"("not a list")", {}, nullptr},
  };
  for (const Row& row : rows) {
    Override("screenShare.getScreenCaptureSourceList", std::string("{answer: ") + row.answer + "}");
    SourceSlot slot;
    Sources(slot);
    EXPECT_EQ(slot.code, 0) << row.answer;
    std::vector<int64_t> ids;
    for (const Source& s : slot.sources) ids.push_back(s.id);
    EXPECT_EQ(ids, row.ids) << row.answer;
    EXPECT_EQ(slot.payload_null, row.ids.empty()) << row.answer;
    if (row.first_name) EXPECT_EQ(slot.sources.at(0).name, row.first_name) << row.answer;
  }
}

TEST(ScreenCaptureSources, ImagesKeepTheirSizeAndTheBytesOfABuffer) {
  using morvanta::JSValue;
  const uint8_t pixels[] = {1, 2, 3, 4, 250};
  JSValue with_bytes = JSValue::Object();
  with_bytes.Set("size", JSValue::Object().Set("width", 2).Set("height", 1));
  with_bytes.Set("data", JSValue::Binary(pixels, sizeof pixels));
  JSValue size_only = JSValue::Object();
  size_only.Set("size", JSValue::Object().Set("width", 16).Set("height", 16));
  JSValue source = JSValue::Object();
  source.Set("id", 9).Set("title", "Editor").Set("primaryMonitor", false);
  source.Set("thumbImage", with_bytes).Set("icon", size_only);
  JSValue odd = JSValue::Object();
  odd.Set("id", 10).Set("icon", "not an object");

  auto sources = morvanta::ReadScreenCaptureSources(JSValue::Array().Push(source).Push(odd));
  ASSERT_EQ(sources.size(), 2u);
  ASSERT_TRUE(sources[0].thumbImage);
  EXPECT_EQ(sources[0].thumbImage->data, std::vector<uint8_t>(pixels, pixels + sizeof pixels));
  ASSERT_TRUE(sources[1].icon);
  EXPECT_EQ(sources[1].icon->width, 0);

  bool ok = false;
  MorvantaScreenCaptureSource* c = morvanta::capi::BuildScreenCaptureSourceList(sources, ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(c[0].thumbnail.width, 2);
  ASSERT_EQ(c[0].thumbnail.size, sizeof pixels);
  EXPECT_EQ(std::vector<uint8_t>(c[0].thumbnail.data, c[0].thumbnail.data + c[0].thumbnail.size),
            std::vector<uint8_t>(pixels, pixels + sizeof pixels));
  EXPECT_EQ(c[0].icon.width, 16);
  EXPECT_EQ(c[0].icon.data, nullptr);
  EXPECT_STREQ(c[0].app_name, "Editor");
  EXPECT_EQ(c[0].is_primary_monitor, 0);
  Morvanta_FreeScreenCaptureSourceList(c, 2);
}

TEST_F(ScreenShareApi, ShareAWindowThenStop) {
  MorvantaScreenShareConfig config = Unset();
  config.source_id = "101";
  CallbackSlot started;
  ASSERT_EQ(Morvanta_ScreenShare_StartScreenShare(handle, &config, CallbackSlot::OnPlain, &started), 0);
  ExpectOneCallback(started);
  EXPECT_EQ(started.code, 0);
  TextSlot message;
  ShareMessage(message);
  EXPECT_EQ(message.text, "You are sharing Quarterly review - Slides");

  CallbackSlot stopped;
  ASSERT_EQ(Morvanta_ScreenShare_StopScreenShare(handle, nullptr, CallbackSlot::OnPlain, &stopped), 0);
  ExpectOneCallback(stopped);
  EXPECT_EQ(stopped.code, 0);
  EXPECT_FALSE(SandboxFlag("morVantaSandbox.meeting.members.find((m) => m.uuid === 'local-user').isSharingScreen"));
  EXPECT_EQ(SandboxEval("morVantaSandbox.events.filter((e) => e.event === 'onMemberScreenShareStateChanged')"
                        ".map((e) => e.args[1]).join()")
                .stringValue,
            "true,false");
}

TEST_F(ScreenShareApi, UnbuildableListIsMinusNine) {
  morvanta::capi::FailAllocationAfter(1);
  SourceSlot slot;
  Sources(slot);
  morvanta::capi::FailAllocationAfter(0);
  EXPECT_EQ(slot.code, -9);
  EXPECT_EQ(slot.message, "Failed to allocate screen capture source list");
  EXPECT_TRUE(slot.payload_null);
  EXPECT_EQ(slot.count, 0);
}

TEST_F(ScreenShareApi, HandleKeptPastUninitializeAnswersBridgeNotInitialized) {
  Uninitialize();
  SourceSlot list;
  ASSERT_EQ(Morvanta_ScreenShare_GetScreenCaptureSourceList(handle, SourceSlot::On, &list), 0);
  CallbackSlot stop;
  ASSERT_EQ(Morvanta_ScreenShare_StopScreenShare(handle, nullptr, CallbackSlot::OnPlain, &stop), 0);
  for (CallbackSlot* slot : {static_cast<CallbackSlot*>(&list), &stop}) {
    EXPECT_EQ(slot->Calls(), 1);
    EXPECT_EQ(slot->code, -1);
    EXPECT_EQ(slot->message, "Bridge not initialized");
  }
  EXPECT_TRUE(list.payload_null);
}
