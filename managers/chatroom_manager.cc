#include "managers/chatroom_manager.h"

#include "managers/sdk_method.h"

namespace morvanta {
namespace {

constexpr char kTag[] = "[ChatroomManager]";
constexpr char kSuccess[] = "Success";
const SdkObject kChatroom{kTag, "morVantaMeeting.getChatroomManager()"};
constexpr SdkMethod kSendText{"SendTextMessage", "sendTextMessage"};
constexpr SdkMethod kSendFile{"SendFileMessage", "sendFileMessage"};
constexpr SdkMethod kRecall{"RecallMessage", "recallMessage"};
constexpr SdkMethod kCancelSend{"CancelSendFileMessage", "cancelSendFileMessage"};
constexpr SdkMethod kDownload{"DownloadAttachment", "downloadAttachment"};
constexpr SdkMethod kCancelDownload{"CancelDownloadAttachment", "cancelDownloadAttachment"};

const char* KindName(const JSValue& value) {
  static const char* const kNames[] = {"undefined", "null", "bool", "number", "string", "array", "object", "binary"};
  return kNames[static_cast<int>(value.type)];
}

std::string KeysOf(const JSValue& object) {
  std::string keys;
  for (const auto& member : object.objectValue) keys += (keys.empty() ? "" : ", ") + member.first;
  return keys;
}

// Diagnostics of a send answer: which of the layers result and result.data
// it has. Nothing here changes the outcome.
void LogAnswerLayers(const JSValue& answer) {
  log::Info(kTag, " 🔍 Answer kind: ", KindName(answer));
  if (!answer.IsObject()) return;
  log::Info(kTag, " 🔍 Top-level keys: ", KeysOf(answer));
  const JSValue* result = answer.Find("result");
  if (!result || !result->IsObject()) {
    log::Info(kTag, " ⚠️ 'result' field not found in top-level object");
    return;
  }
  log::Info(kTag, " 🔍 'result' keys: ", KeysOf(*result));
  const JSValue* data = result->Find("data");
  if (!data || !data->IsObject()) {
    log::Info(kTag, " ⚠️ 'data' field not found in result object");
    return;
  }
  log::Info(kTag, " 🔍 'data' keys: ", KeysOf(*data));
}

// The sent message and "Success", or the failure without a message.
MvCallback<MvChatMessage> DeliverSent(const char* method, MvChatSendCallback done) {
  return [method, done](const MvResult<MvChatMessage>& r) {
    if (r.code == 0 && r.data) {
      log::Info(kTag, " ✅ ", method, " successful");
      if (done) done(0, kSuccess, r.data);
      return;
    }
    log::Error(kTag, " ❌ ", method, " failed: code=", r.code, ", message=", r.message);
    if (done) done(r.code, r.message, std::nullopt);
  };
}

// A send; the text send also logs the layers of its answer.
void Send(JSBridgeAdapter* bridge, const SdkMethod& method, std::vector<JSValue> args, bool log_layers,
          MvChatSendCallback done) {
  SdkCall call = MethodCall(kChatroom, method, std::move(args));
  call.inspect = [log_layers](const JSValue& answer) {
    if (log_layers) LogAnswerLayers(answer);
    log::Info(kTag, " 🔍 Calling ConvertToMvResult<MvChatMessage>...");
  };
  CallSdk<MvChatMessage>(bridge, std::move(call), DeliverSent(method.name, std::move(done)));
}

// The calls that only report their outcome: "Success" for any fulfilled
// call, whatever the SDK answered, or the failure.
void CallForOutcome(JSBridgeAdapter* bridge, const SdkMethod& method, std::vector<JSValue> args,
                    MvChatCallback done) {
  MvCallback<void> deliver;
  if (done) {
    deliver = [done](const MvResult<void>& r) { done(r.code, r.IsSuccess() ? std::string(kSuccess) : r.message); };
  }
  CallSdkMethodIgnoringAnswer(bridge, kChatroom, method, std::move(args), std::move(deliver));
}

// The private flag and the receivers close both sends: undefined when unset.
void AddAudience(std::vector<JSValue>& args, const std::optional<bool>& isPrivate,
                 const std::vector<std::string>& toUserUuids) {
  args.push_back(isPrivate ? JSValue(*isPrivate) : JSValue());
  args.push_back(toUserUuids.empty() ? JSValue() : StringArray(toUserUuids));
}

JSValue AttachToJS(const MvChatMessageAttach& a) {
  JSValue o = JSValue::Object();
  o.Set("from", a.from).Set("fromNick", a.fromNick).Set("type", a.type);
  if (!a.to.empty()) o.Set("to", StringArray(a.to));
  if (!a.toNick.empty()) o.Set("toNick", StringArray(a.toNick));
  o.Set("url", a.url).Set("name", a.name).Set("msgId", a.msgId);
  o.Set("msgTime", a.msgTime).Set("id", a.id).Set("operator", a.operator_);
  return o;
}

JSValue FileToJS(const MvChatMessageFile& f) {
  JSValue o = JSValue::Object();
  o.Set("name", f.name).Set("ext", f.ext).Set("size", static_cast<double>(f.size));
  o.Set("url", f.url).Set("filePath", f.filePath).Set("w", f.w).Set("h", f.h);
  return o;
}

JSValue ProgressToJS(const MvChatMessage& m) {
  JSValue o = JSValue::Object();
  SetIfEngaged(o, "total", m.total);
  SetIfEngaged(o, "loaded", m.loaded);
  o.Set("percentage", m.percentage);
  SetIfEngaged(o, "percentageText", m.percentageText);
  return o;
}

}  // namespace

JSValue ChatMessageToJS(const MvChatMessage& m) {
  JSValue o = JSValue::Object();
  SetIfEngaged(o, "messageUuid", m.messageUuid);
  o.Set("fromClientType", m.fromClientType);
  o.Set("messageType", ChatMessageKindText(m.messageType));
  o.Set("fromUserUuid", m.fromUserUuid).Set("fromNick", m.fromNick);
  if (m.toUserUuidList && !m.toUserUuidList->empty()) o.Set("toUserUuidList", StringArray(*m.toUserUuidList));
  o.Set("time", m.time).Set("type", m.type).Set("text", m.text).Set("status", m.status);
  if (m.attach) o.Set("attach", AttachToJS(*m.attach));
  o.Set("from", m.from);
  SetIfEngaged(o, "isMe", m.isMe);
  SetIfEngaged(o, "resend", m.resend);
  o.Set("idClient", m.idClient);
  if (m.file) o.Set("file", FileToJS(*m.file));
  SetIfEngaged(o, "custom", m.custom);
  SetIfEngaged(o, "chatroomType", m.chatroomType);
  SetIfEngaged(o, "isPrivate", m.isPrivate);
  SetIfEngaged(o, "toNickname", m.toNickname);
  SetIfEngaged(o, "fromAvatar", m.fromAvatar);
  o.Set("progress", ProgressToJS(m));
  return o;
}

void MvChatroomManager::SendTextMessage(const MvChatTextMessageOptions& o, MvChatSendCallback done) {
  std::vector<JSValue> args{JSValue(o.idClient), JSValue(o.text)};
  AddAudience(args, o.isPrivate, o.toUserUuids);
  Send(bridge().get(), kSendText, std::move(args), true, std::move(done));
}

void MvChatroomManager::SendFileMessage(const MvChatFileMessageOptions& o, MvChatSendCallback done) {
  // The option has no field of its own for the content: `base64` carries the
  // url's text as well.
  JSValue file = JSValue::Object();
  file.Set("url", o.url).Set("size", static_cast<double>(o.size));
  file.Set("width", static_cast<double>(o.width)).Set("height", static_cast<double>(o.height));
  file.Set("base64", o.url);
  std::vector<JSValue> args{JSValue(o.idClient), JSValue(o.type == 1 ? "image" : "file"), file};
  AddAudience(args, o.isPrivate, o.toUserUuids);
  Send(bridge().get(), kSendFile, std::move(args), false, std::move(done));
}

void MvChatroomManager::RecallMessage(const MvChatMessage& message, MvChatCallback done) {
  CallForOutcome(bridge().get(), kRecall, {ChatMessageToJS(message)}, std::move(done));
}

void MvChatroomManager::CancelSendFileMessage(const MvChatMessage& message, MvChatCallback done) {
  CallForOutcome(bridge().get(), kCancelSend, {ChatMessageToJS(message)}, std::move(done));
}

void MvChatroomManager::DownloadAttachment(const MvChatMessage& message, const std::string& savePath,
                                           MvChatCallback done) {
  CallForOutcome(bridge().get(), kDownload, {ChatMessageToJS(message), savePath}, std::move(done));
}

void MvChatroomManager::CancelDownloadAttachment(const MvChatMessage& message, MvChatCallback done) {
  CallForOutcome(bridge().get(), kCancelDownload, {ChatMessageToJS(message)}, std::move(done));
}

}  // namespace morvanta
