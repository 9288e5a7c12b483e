#include "managers/screen_share_manager.h"

#include "core/js_fields.h"
#include "managers/sdk_method.h"

namespace morvanta {
namespace {

using js_fields::FieldReader;

constexpr char kTag[] = "[ScreenShareManager]";
const SdkObject kScreenShare{kTag, "morVantaMeeting.getScreenShareManager()"};
constexpr SdkMethod kGetSources{"GetScreenCaptureSourceList", "getScreenCaptureSourceList"};
constexpr SdkMethod kStart{"StartScreenShare", "startScreenShare"};
constexpr SdkMethod kStop{"StopScreenShare", "stopScreenShare"};
constexpr SdkMethod kSystemAudio{"StartShareSystemAudio", "startShareSystemAudio"};
constexpr SdkMethod kInstallDriver{"InstallAudioCaptureDriver", "installAudioCaptureDriver"};
constexpr SdkMethod kGetMessage{"GetScreenShareMessage", "getScreenShareMessage"};

// The array that holds the sources, by the first of the answer's forms that
// matches; null when none does.
const JSValue* FindSourceArray(const JSValue& answer) {
  if (answer.IsArray()) {
    log::Info(kTag, " Parsing list from top-level Array");
    return &answer;
  }
  FieldReader top(answer, "");
  if (const JSValue* data = top.Array("data")) {
    log::Info(kTag, " Parsing list from result.data Array");
    return data;
  }
  if (const JSValue* data = FieldReader(top.Object("result"), "").Array("data")) {
    log::Info(kTag, " Parsing list from result.result.data Array");
    return data;
  }
  if (const JSValue* result = top.Array("result")) {
    log::Info(kTag, " Parsing list from result.result Array");
    return result;
  }
  return nullptr;
}

// An icon or thumbnail: its size from `size`, its bytes only from a buffer.
// A value that is not an object gives an empty image.
MvScreenCaptureImage ReadImage(const JSValue& value) {
  MvScreenCaptureImage image;
  FieldReader in(value, "");
  FieldReader size(in.Object("size"), "");
  image.width = size.Int32("width");
  image.height = size.Int32("height");
  if (const JSValue* data = in.Find("data", JSValueType::Binary)) image.data = data->binaryValue;
  return image;
}

// Each field has a preferred key and, for the first three, an older one that
// is read when the preferred one does not hold the right kind.
MvScreenCaptureSource ReadSource(const JSValue& object) {
  FieldReader in(object, "");
  MvScreenCaptureSource source;
  source.sourceId = in.OptionalInt64("sourceId").value_or(in.Int64("id"));
  source.sourceName = in.OptionalString("sourceName").value_or(in.String("name"));
  source.sourceType = in.OptionalInt32("sourceType").value_or(in.Int32("type"));
  source.title = in.OptionalString("title");
  source.processPath = in.OptionalString("processPath");
  source.primaryMonitor = in.OptionalBool("primaryMonitor");
  if (const JSValue* icon = in.Find("icon")) source.icon = ReadImage(*icon);
  if (const JSValue* thumb = in.Find("thumbImage")) source.thumbImage = ReadImage(*thumb);
  return source;
}

MvResult<std::vector<MvScreenCaptureSource>> ReadSourceAnswer(const JSValue& answer) {
  return MvResult<std::vector<MvScreenCaptureSource>>::Success(ReadScreenCaptureSources(answer));
}

MvResult<std::string> ReadMessageAnswer(const JSValue& answer) {
  return MvResult<std::string>::Success(answer.IsString() ? answer.stringValue : std::string());
}

}  // namespace

std::vector<MvScreenCaptureSource> ReadScreenCaptureSources(const JSValue& answer) {
  std::vector<MvScreenCaptureSource> sources;
  if (const JSValue* list = FindSourceArray(answer)) {
    for (const JSValue& element : list->arrayValue) {
      if (element.IsObject()) sources.push_back(ReadSource(element));
    }
  }
  return sources;
}

void MvScreenShareManager::GetScreenCaptureSourceList(MvCallback<std::vector<MvScreenCaptureSource>> done) {
  auto deliver = [done](const MvResult<std::vector<MvScreenCaptureSource>>& r) {
    if (r.data) log::Info(kTag, " ✅ GetScreenCaptureSourceList successful, count: ", r.data->size());
    if (done) done(r);
  };
  CallSdkMethod<std::vector<MvScreenCaptureSource>>(bridge().get(), kScreenShare, kGetSources, {}, std::move(deliver),
                                                    &ReadSourceAnswer);
}

void MvScreenShareManager::StartScreenShare(const MvScreenShareOptions& o, MvCallback<void> done) {
  JSValue options = JSValue::Object();
  SetIfEngaged(options, "needRequestMeetingServerScreenShare", o.needRequestMeetingServerScreenShare);
  SetIfEngaged(options, "sourceId", o.sourceId);
  SetIfEngaged(options, "resolution", o.resolution);
  SetIfEngaged(options, "frameRate", o.frameRate);
  SetIfEngaged(options, "limitFrameRate", o.limitFrameRate);
  SetIfEngaged(options, "videoProfile", o.videoProfile);
  SetIfEngaged(options, "isApp", o.isApp);
  SetIfEngaged(options, "forceDisplaySurface", o.forceDisplaySurface);
  SetIfEngaged(options, "preferMotion", o.preferMotion);
  SetIfEngaged(options, "isLinux", o.isLinux);
  CallSdkMethodIgnoringAnswer(bridge().get(), kScreenShare, kStart, {options}, std::move(done));
}

void MvScreenShareManager::StopScreenShare(const std::optional<MvStopScreenShareOptions>& o, MvCallback<void> done) {
  std::vector<JSValue> args;
  if (o) {
    JSValue options = JSValue::Object();
    SetIfEngaged(options, "needRequestMeetingServerScreenShare", o->needRequestMeetingServerScreenShare);
    args.push_back(std::move(options));
  }
  CallSdkMethodIgnoringAnswer(bridge().get(), kScreenShare, kStop, std::move(args), std::move(done));
}

void MvScreenShareManager::StartShareSystemAudio(bool needAudio, MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge().get(), kScreenShare, kSystemAudio, {needAudio}, std::move(done));
}

void MvScreenShareManager::InstallAudioCaptureDriver(MvCallback<void> done) {
  CallSdkMethodIgnoringAnswer(bridge().get(), kScreenShare, kInstallDriver, {}, std::move(done));
}

void MvScreenShareManager::GetScreenShareMessage(MvCallback<std::string> done) {
  auto deliver = [done](const MvResult<std::string>& r) {
    if (r.IsSuccess()) log::Info(kTag, " ✅ GetScreenShareMessage successful");
    if (done) done(r);
  };
  CallSdkMethod<std::string>(bridge().get(), kScreenShare, kGetMessage, {}, std::move(deliver), &ReadMessageAnswer);
}

}  // namespace morvanta
