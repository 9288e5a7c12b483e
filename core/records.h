// The product records: plain value types filled from the SDK's answers by
// JSDataConverter (core/js_data_converter.h) and copied into C records by the
// C layer. Field names follow the SDK's JSON keys. Numbers arrive as doubles,
// so 64-bit identifiers and timestamps above 2^53 have already lost precision.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace morvanta {

// A member's role. The SDK sends it as text ("host", "evaluator", "bidder",
// "supervise") or as its number; anything else, co-host names included, reads
// as Host.
enum class MvMemberRole : int32_t {
  Host = 0,
  Evaluator = 1,
  Bidder = 2,
  Supervise = 3,
};

// Values of MvChatMessage::messageType named by the SDK's text forms. The field
// is a plain int32 because a numeric messageType is taken as it is.
enum MvChatMessageType : int32_t {
  kMvChatMessageText = 0,
  kMvChatMessageImage = 1,
  kMvChatMessageAudio = 2,
  kMvChatMessageVideo = 3,
  kMvChatMessageFile = 4,
  kMvChatMessageGeo = 5,
  kMvChatMessageCustom = 6,
  kMvChatMessageTip = 7,
  kMvChatMessageNotification = 8,
};

// The SDK's text of a message kind, "text" for a number outside 0-8; and the
// kind a text names, 0 (text) for any text not in that list.
const char* ChatMessageKindText(int32_t kind);
int32_t ChatMessageKindFromText(const std::string& text);

struct MvAccountInfo {
  std::string userUuid;
  std::string userToken;
  std::string nickname;
  std::string privateMeetingNum;
  std::optional<std::string> corpName;
  std::optional<std::string> account;
  std::optional<std::string> avatar;
  std::optional<std::string> phoneNumber;
  std::optional<std::string> email;
  std::optional<std::string> privateShortMeetingNum;
  std::optional<bool> isInitialPassword;
  std::optional<bool> isAnonymous;
};

struct MvDeviceBaseInfo {
  std::string deviceId;
  std::string deviceName;
  std::optional<bool> defaultDevice;  // always engaged after conversion
};

// Both fields hold the SDK's permission names as text.
struct MvChatroomPermission {
  std::string crPerm;
  std::string wtPrChat;
};

struct MvLocalMember {
  std::string userUuid;
  std::string name;
  MvMemberRole role = MvMemberRole::Host;
};

struct MvScheduledMember {
  std::string userUuid;
  MvMemberRole role = MvMemberRole::Host;
  std::optional<std::string> nickname;
  std::optional<std::string> avatar;
  std::optional<std::string> email;
};

// A meeting as the pre-meeting (scheduling) operations describe it.
struct MvMeetingInfo {
  int64_t meetingId = 0;
  std::string meetingNum;
  std::string roomUuid;
  int32_t state = 0;
  int64_t startTime = 0;
  int64_t endTime = 0;
  std::string subject;
  std::string ownerUserUuid;
  std::string ownerNickname;
  bool enableWaitingRoom = false;
  std::optional<MvLocalMember> localMember;
  std::optional<std::vector<MvScheduledMember>> scheduledMembers;
  std::optional<bool> noCloudRecord;
  std::optional<bool> noChat;
};

// The meeting the local user is in (the answer of getMeetingInfo). The first
// three fields come from the nested localMember object.
struct MvMeetingSDKInfo {
  std::string userUuid;
  std::string name;
  MvMemberRole role = MvMemberRole::Host;
  std::string myUuid;
  std::string hostUuid;
  std::string hostName;
  std::string activeSpeakerUuid;
  std::string subject;
  std::string ownerUserUuid;
  std::string roomArchiveId;
  std::string meetingNum;
  bool isSupportChatroom = false;
  bool isCloudRecording = false;
  int64_t startTime = 0;
  int64_t endTime = 0;
  int32_t type = 0;
  int64_t rtcStartTime = 0;
  int64_t joinMeetingTime = 0;
  std::optional<int64_t> meetingId;
  std::optional<bool> isWaitingRoomEnabled;
  std::optional<bool> inWaitingRoom;
  std::optional<int32_t> maxMembers;
  std::optional<bool> isBreakoutRoom;
};

struct MvMember {
  bool isAudioConnected = false;
  bool isAudioOn = false;
  bool isInChatroom = false;
  bool isInRtcChannel = false;
  bool isSharingScreen = false;
  bool isSharingSystemAudio = false;
  bool isVideoOn = false;
  std::string name;
  std::string uuid;
  MvMemberRole role = MvMemberRole::Host;
  int32_t clientType = 0;
  int32_t inviteState = 0;
  std::optional<bool> isSharingScreenView;
  std::optional<bool> isSharingWhiteboard;
  std::optional<bool> isSharingWhiteboardView;
  std::optional<bool> isLocalRecording;
  std::optional<bool> localRecordAvailable;
  std::optional<bool> isHandsUp;
  std::optional<int32_t> volume;
  std::optional<std::string> avatar;
  // From properties.<name>.value, which the SDK keeps as text; "1" is true.
  std::optional<bool> wbDrawable;
  std::optional<bool> phoneState;
  std::optional<std::string> tag;
  std::optional<bool> speakerOn;
};

struct MvWaitingRoomMember {
  std::string uuid;
  std::string name;
  std::optional<std::string> avatar;
  int64_t joinTime = 0;
  int32_t status = 0;
};

struct MvWaitingRoomInfo {
  int32_t memberCount = 0;
  bool isEnabledOnEntry = false;
  std::string backgroundImageUrl;
};

// The `attach` object of a notification message.
struct MvChatMessageAttach {
  std::string from;
  std::string fromNick;
  std::string type;
  std::vector<std::string> to;
  std::vector<std::string> toNick;
  std::string url;
  std::string name;
  std::string msgId;
  int64_t msgTime = 0;
  int32_t id = 0;
  std::string operator_;  // JSON key "operator"
};

// The `file` object of an image, audio, video or file message.
struct MvChatMessageFile {
  std::string name;
  std::string ext;
  uint64_t size = 0;
  std::string url;
  std::string filePath;
  int32_t w = 0;
  int32_t h = 0;
};

// One chat message; the text, file and notification forms share this record,
// so most of it is optional.
struct MvChatMessage {
  std::optional<std::string> messageUuid;
  std::string fromClientType;
  std::string fromUserUuid;
  std::string fromNick;
  std::optional<std::string> fromAvatar;
  int32_t messageType = kMvChatMessageText;
  std::string text;
  std::string type;
  std::string status;
  std::optional<std::vector<std::string>> toUserUuidList;
  std::optional<std::string> toNickname;
  int64_t time = 0;
  std::string idClient;
  std::string from;
  std::optional<bool> isMe;
  std::optional<bool> resend;
  std::optional<bool> isPrivate;
  std::optional<int32_t> chatroomType;
  std::optional<MvChatMessageAttach> attach;
  std::optional<MvChatMessageFile> file;
  std::optional<std::string> custom;
  std::optional<std::string> tempFile;
  // From the nested `progress` object of a file transfer.
  std::optional<std::string> total;
  std::optional<std::string> loaded;
  double percentage = 0.0;
  std::optional<std::string> percentageText;
};

}  // namespace morvanta
