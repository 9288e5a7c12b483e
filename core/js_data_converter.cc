// The record conversions. Each record reads its fields in the order listed,
// and a required field throws as soon as it is read, so the first missing one
// in that order is the one reported.
#include "core/js_data_converter.h"

#include <exception>

#include "core/js_fields.h"

namespace morvanta {

using js_fields::FieldReader;
using js_fields::KindNumber;

namespace {

// Four records name the kind they got in their "Expected object" message and
// the others do not; that difference is part of the messages callers see.
void RequireObject(const JSValue& value, const char* record, bool with_kind) {
  if (value.IsObject()) return;
  std::string reason = std::string("Expected object for ") + record;
  if (with_kind) reason += ", got " + std::to_string(KindNumber(value));
  throw JSDataConversionException(reason);
}

// Values of properties.<name>.value on a member: text that is "1" for true.
std::optional<bool> PropertyFlag(const JSValue* properties, const char* name) {
  const JSValue* entry = FieldReader(properties, "").Object(name);
  std::optional<std::string> text = FieldReader(entry, "").OptionalString("value");
  if (!text) return std::nullopt;
  return *text == "1";
}

std::optional<std::string> PropertyText(const JSValue* properties, const char* name) {
  const JSValue* entry = FieldReader(properties, "").Object(name);
  return FieldReader(entry, "").OptionalString("value");
}

MvChatMessageAttach ConvertAttach(const JSValue& object) {
  FieldReader in(object, "MvChatMessageAttach");
  MvChatMessageAttach a;
  a.from = in.String("from");
  a.fromNick = in.String("fromNick");
  a.type = in.String("type");
  a.to = in.StringElements("to");
  a.toNick = in.StringElements("toNick");
  a.url = in.String("url");
  a.name = in.String("name");
  a.msgId = in.String("msgId");
  a.msgTime = in.Int64("msgTime");
  a.id = in.Int32("id");
  a.operator_ = in.String("operator");
  return a;
}

MvChatMessageFile ConvertFile(const JSValue& object) {
  FieldReader in(object, "MvChatMessageFile");
  MvChatMessageFile f;
  f.name = in.String("name");
  f.ext = in.String("ext");
  f.size = in.Uint64("size");
  f.url = in.String("url");
  f.filePath = in.String("filePath");
  f.w = in.Int32("w");
  f.h = in.Int32("h");
  return f;
}

// The SDK's texts of the message kinds, indexed by MvChatMessageType.
constexpr const char* kChatMessageKindTexts[] = {"text", "image",  "audio", "video",       "file",
                                                 "geo",  "custom", "tip",   "notification"};
constexpr int32_t kChatMessageKindCount =
    static_cast<int32_t>(sizeof kChatMessageKindTexts / sizeof kChatMessageKindTexts[0]);

}  // namespace

const char* ChatMessageKindText(int32_t kind) {
  if (kind < 0 || kind >= kChatMessageKindCount) return kChatMessageKindTexts[kMvChatMessageText];
  return kChatMessageKindTexts[kind];
}

int32_t ChatMessageKindFromText(const std::string& text) {
  for (int32_t kind = 0; kind < kChatMessageKindCount; ++kind) {
    if (text == kChatMessageKindTexts[kind]) return kind;
  }
  return kMvChatMessageText;
}

// ---- scalars ----

void JSDataConverter<void>::Convert(const JSValue& value) {
  if (value.IsUndefined() || value.IsNull()) return;
  CoreLogLine("[JSDataConverter] Void operation completed");
}

int JSDataConverter<int>::Convert(const JSValue& value) {
  if (value.IsNumber()) return js_fields::TruncateToInt32(value.numberValue);
  if (value.IsBool()) return value.boolValue ? 1 : 0;
  if (value.IsString()) {
    try {
      return std::stoi(value.stringValue, nullptr, 10);
    } catch (const std::exception&) {
      // std::invalid_argument for no digits, std::out_of_range beyond int.
      throw JSDataConversionException("Cannot convert string to int: " + value.stringValue);
    }
  }
  throw JSDataConversionException("Cannot convert JSValue to int");
}

std::string JSDataConverter<std::string>::Convert(const JSValue& value) {
  if (value.IsString()) return value.stringValue;
  if (value.IsNumber()) return std::to_string(value.numberValue);  // "%f"
  if (value.IsBool()) return value.boolValue ? "true" : "false";
  if (value.IsNull()) return std::string();
  throw JSDataConversionException("Cannot convert JSValue to string");
}

// ---- records ----

template <>
MvAccountInfo RecordConverter<MvAccountInfo>::Convert(const JSValue& value) {
  RequireObject(value, "MvAccountInfo", true);
  FieldReader in(value, "MvAccountInfo");
  MvAccountInfo r;
  r.userUuid = in.RequiredString("userUuid");
  r.userToken = in.RequiredString("userToken");
  r.nickname = in.RequiredString("nickname");
  r.privateMeetingNum = in.RequiredString("privateMeetingNum");
  r.corpName = in.OptionalNonEmptyString("corpName");
  r.account = in.OptionalNonEmptyString("account");
  r.avatar = in.OptionalNonEmptyString("avatar");
  r.phoneNumber = in.OptionalNonEmptyString("phoneNumber");
  r.email = in.OptionalNonEmptyString("email");
  r.privateShortMeetingNum = in.OptionalNonEmptyString("privateShortMeetingNum");
  r.isInitialPassword = in.OptionalBool("isInitialPassword");
  r.isAnonymous = in.OptionalBool("isAnonymous");
  CoreLogLine("[JSDataConverter] Converted MvAccountInfo: userUuid=", r.userUuid,
              ", nickname=", r.nickname);
  return r;
}

template <>
MvDeviceBaseInfo RecordConverter<MvDeviceBaseInfo>::Convert(const JSValue& value) {
  RequireObject(value, "MvDeviceBaseInfo", false);
  FieldReader in(value, "MvDeviceBaseInfo");
  MvDeviceBaseInfo r;
  r.deviceId = in.String("deviceId");
  r.deviceName = in.String("deviceName");
  r.defaultDevice = in.Bool("defaultDevice");  // always engaged
  return r;
}

template <>
MvChatroomPermission RecordConverter<MvChatroomPermission>::Convert(const JSValue& value) {
  RequireObject(value, "MvChatroomPermission", true);
  FieldReader in(value, "MvChatroomPermission");
  MvChatroomPermission r;
  r.crPerm = in.String("crPerm");
  r.wtPrChat = in.String("wtPrChat");
  return r;
}

template <>
MvLocalMember RecordConverter<MvLocalMember>::Convert(const JSValue& value) {
  RequireObject(value, "MvLocalMember", false);
  FieldReader in(value, "MvLocalMember");
  MvLocalMember r;
  r.userUuid = in.RequiredString("userUuid");
  r.name = in.RequiredString("name");
  r.role = in.RequiredRole("role");
  return r;
}

template <>
MvScheduledMember RecordConverter<MvScheduledMember>::Convert(const JSValue& value) {
  RequireObject(value, "MvScheduledMember", false);
  FieldReader in(value, "MvScheduledMember");
  MvScheduledMember r;
  r.userUuid = in.RequiredString("userUuid");
  r.role = in.RequiredRole("role");
  r.nickname = in.OptionalNonEmptyString("nickname");
  r.avatar = in.OptionalNonEmptyString("avatar");
  r.email = in.OptionalNonEmptyString("email");
  return r;
}

template <>
MvMeetingInfo RecordConverter<MvMeetingInfo>::Convert(const JSValue& value) {
  RequireObject(value, "MvMeetingInfo", false);
  FieldReader in(value, "MvMeetingInfo");
  MvMeetingInfo r;
  r.meetingId = in.Int64("meetingId");
  r.meetingNum = in.RequiredString("meetingNum");
  r.roomUuid = in.RequiredString("roomUuid");
  r.state = in.Int32("state");
  r.startTime = in.Int64("startTime");
  r.endTime = in.Int64("endTime");
  r.subject = in.String("subject");
  r.ownerUserUuid = in.String("ownerUserUuid");
  r.ownerNickname = in.String("ownerNickname");
  r.enableWaitingRoom = in.Bool("enableWaitingRoom");
  // A nested failure fails the whole meeting.
  if (const JSValue* local = in.Object("localMember")) {
    r.localMember = JSDataConverter<MvLocalMember>::Convert(*local);
  }
  if (const JSValue* scheduled = in.Array("scheduledMembers")) {
    r.scheduledMembers = JSDataConverter<std::vector<MvScheduledMember>>::Convert(*scheduled);
  }
  r.noCloudRecord = in.OptionalBool("noCloudRecord");
  r.noChat = in.OptionalBool("noChat");
  if (r.scheduledMembers) {
    CoreLogLine("[JSDataConverter] Converted MvMeetingInfo: meetingNum=", r.meetingNum, ", subject=",
                r.subject, ", scheduledMembers=", r.scheduledMembers->size());
  } else {
    CoreLogLine("[JSDataConverter] Converted MvMeetingInfo: meetingNum=", r.meetingNum, ", subject=",
                r.subject, ", scheduledMembers=none");
  }
  return r;
}

template <>
MvMeetingSDKInfo RecordConverter<MvMeetingSDKInfo>::Convert(const JSValue& value) {
  RequireObject(value, "MvMeetingSDKInfo", false);
  FieldReader in(value, "MvMeetingSDKInfo");
  // The local member's part never fails: a missing or odd localMember leaves
  // these fields at their defaults.
  FieldReader local(in.Object("localMember"), "MvMeetingSDKInfo");
  MvMeetingSDKInfo r;
  if (const JSValue* uuid = local.Find("userUuid", JSValueType::String)) {
    r.userUuid = uuid->stringValue;
  } else {
    r.userUuid = local.String("uuid");
  }
  r.name = local.String("name");
  r.role = local.Role("role");
  r.myUuid = in.String("myUuid");
  r.hostUuid = in.String("hostUuid");
  r.hostName = in.String("hostName");
  r.activeSpeakerUuid = in.String("activeSpeakerUuid");
  r.subject = in.String("subject");
  r.ownerUserUuid = in.String("ownerUserUuid");
  r.roomArchiveId = in.String("roomArchiveId");
  r.meetingNum = in.String("meetingNum");
  r.isSupportChatroom = in.Bool("isSupportChatroom");
  r.isCloudRecording = in.Bool("isCloudRecording");
  r.startTime = in.Int64("startTime");
  r.endTime = in.Int64("endTime");
  r.type = in.Int32("type");
  r.rtcStartTime = in.Int64("rtcStartTime");
  r.joinMeetingTime = in.Int64("joinMeetingTime");
  r.meetingId = in.OptionalInt64("meetingId");
  r.isWaitingRoomEnabled = in.OptionalBool("isWaitingRoomEnabled");
  r.inWaitingRoom = in.OptionalBool("inWaitingRoom");
  r.maxMembers = in.OptionalInt32("maxMembers");
  r.isBreakoutRoom = in.OptionalBool("isBreakoutRoom");
  return r;
}

template <>
MvMember RecordConverter<MvMember>::Convert(const JSValue& value) {
  RequireObject(value, "MvMember", false);
  FieldReader in(value, "MvMember");
  MvMember r;
  r.isAudioConnected = in.Bool("isAudioConnected");
  r.isAudioOn = in.Bool("isAudioOn");
  r.isInChatroom = in.Bool("isInChatroom");
  r.isInRtcChannel = in.Bool("isInRtcChannel");
  r.isSharingScreen = in.Bool("isSharingScreen");
  r.isSharingSystemAudio = in.Bool("isSharingSystemAudio");
  r.isVideoOn = in.Bool("isVideoOn");
  r.name = in.String("name");
  r.uuid = in.String("uuid");
  r.role = in.Role("role");  // "cohost" and "coHost" are Host, not role 1
  r.clientType = in.Int32("clientType");
  r.inviteState = in.Int32("inviteState");
  r.isSharingScreenView = in.OptionalBool("isSharingScreenView");
  r.isSharingWhiteboard = in.OptionalBool("isSharingWhiteboard");
  r.isSharingWhiteboardView = in.OptionalBool("isSharingWhiteboardView");
  r.isLocalRecording = in.OptionalBool("isLocalRecording");
  r.localRecordAvailable = in.OptionalBool("localRecordAvailable");
  r.isHandsUp = in.OptionalBool("isHandsUp");
  r.volume = in.OptionalInt32("volume");
  r.avatar = in.OptionalString("avatar");
  // Each property is read on its own; one of the wrong shape leaves only
  // that field empty.
  const JSValue* properties = in.Object("properties");
  r.wbDrawable = PropertyFlag(properties, "wbDrawable");
  r.phoneState = PropertyFlag(properties, "phoneState");
  r.tag = PropertyText(properties, "tag");
  r.speakerOn = PropertyFlag(properties, "speakerOn");
  return r;
}

template <>
MvWaitingRoomMember RecordConverter<MvWaitingRoomMember>::Convert(const JSValue& value) {
  RequireObject(value, "MvWaitingRoomMember", true);
  FieldReader in(value, "MvWaitingRoomMember");
  MvWaitingRoomMember r;
  r.uuid = in.RequiredString("uuid");
  r.name = in.RequiredString("name");
  r.avatar = in.OptionalString("avatar");
  r.joinTime = in.RequiredInt64("joinTime");
  r.status = in.RequiredInt32("status");
  return r;
}

template <>
MvWaitingRoomInfo RecordConverter<MvWaitingRoomInfo>::Convert(const JSValue& value) {
  RequireObject(value, "MvWaitingRoomInfo", true);
  FieldReader in(value, "MvWaitingRoomInfo");
  MvWaitingRoomInfo r;
  r.memberCount = in.Int32("memberCount");
  r.isEnabledOnEntry = in.Bool("isEnabledOnEntry");
  r.backgroundImageUrl = in.String("backgroundImageUrl");
  return r;
}

template <>
MvChatMessage RecordConverter<MvChatMessage>::Convert(const JSValue& value) {
  RequireObject(value, "MvChatMessage", false);
  FieldReader in(value, "MvChatMessage");
  MvChatMessage r;
  r.messageUuid = in.OptionalString("messageUuid");
  r.fromClientType = in.String("fromClientType");
  r.fromUserUuid = in.String("fromUserUuid");
  r.fromNick = in.String("fromNick");
  r.fromAvatar = in.OptionalString("fromAvatar");
  // A non-empty text names the kind; otherwise the key is read as a number.
  if (auto kind = in.OptionalNonEmptyString("messageType")) {
    r.messageType = ChatMessageKindFromText(*kind);
  } else {
    r.messageType = in.Int32("messageType");
  }
  r.text = in.String("text");
  r.type = in.String("type");
  r.status = in.String("status");
  std::vector<std::string> recipients = in.StringElements("toUserUuidList");
  if (!recipients.empty()) r.toUserUuidList = std::move(recipients);
  r.toNickname = in.OptionalString("toNickname");
  r.time = in.Int64("time");
  r.idClient = in.String("idClient");
  r.from = in.String("from");
  r.isMe = in.LenientBool("isMe");
  r.resend = in.LenientBool("resend");
  r.isPrivate = in.LenientBool("isPrivate");
  r.chatroomType = in.OptionalInt32("chatroomType");
  if (const JSValue* attach = in.Object("attach")) r.attach = ConvertAttach(*attach);
  if (const JSValue* file = in.Object("file")) r.file = ConvertFile(*file);
  r.custom = in.OptionalString("custom");
  r.tempFile = in.OptionalString("tempFile");
  FieldReader progress(in.Object("progress"), "MvChatMessage");
  r.total = progress.OptionalString("total");
  r.loaded = progress.OptionalString("loaded");
  r.percentage = progress.Double("percentage");
  r.percentageText = progress.OptionalString("percentageText");
  return r;
}

}  // namespace morvanta
