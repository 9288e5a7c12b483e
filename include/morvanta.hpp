/*
 * morvanta.hpp - the C++17 interface of libmorvanta, header-only over the C
 * interface of morvanta.h. Nothing of it is compiled into the library, so the
 * library keeps no C++ ABI: this header is the whole of it.
 *
 * What it gives a C++ host
 * ------------------------
 *   morvanta::Session       initialises the library when created
 *                           (Session::create answers a Result, since start-up
 *                           can fail) and uninitialises it when destroyed.
 *   managers                session.audio(), session.meeting(), ... each own
 *                           one C manager handle and destroy it with
 *                           themselves. Sessions, managers and subscriptions
 *                           are move-only.
 *   operations              every operation of the C interface, named in
 *                           lowerCamelCase after it (Morvanta_Audio_MuteMyAudio
 *                           is session.audio().muteMyAudio(...)), in two forms:
 *                             op(args..., done)  done is any callable taking
 *                                                Result<T>; called once.
 *                             op(args...)        answers
 *                                                std::future<Result<T>>.
 *   Result<T>               code (0 success; the C interface's codes
 *                           otherwise), message, and value, a std::optional<T>
 *                           (Result<void> has none).
 *   records                 value types (std::string, std::vector,
 *                           std::optional<bool> for tri-states, enum class);
 *                           the C payload is copied and released at once.
 *   listeners               classes whose virtual functions do nothing by
 *                           default; adding one answers a Subscription that
 *                           removes it when destroyed.
 *
 * Rules
 * -----
 * The wrapper throws nothing. A C call that refuses a request (a non-zero
 * return: the C callback will never come) completes the callable or the
 * future at once, on the calling thread, with that code and a message naming
 * the C function. Otherwise the completion runs where the C callback runs:
 * on the library's worker thread, or, in host dispatch mode, on the thread
 * that calls Session::dispatch() (a future then becomes ready only once the
 * host dispatches: do not wait on it on the thread that dispatches). A
 * refusal completes at once in both dispatch modes. The rules of morvanta.h
 * for callbacks hold for completions and listener functions: copy what you
 * keep, never block waiting for another operation (a future's get() inside a
 * completion or a listener never returns), never call the synchronous
 * queries from them. A completion or listener function must not throw: an
 * exception leaving one ends the process (std::terminate), as it may not
 * cross into the library.
 *
 * A completion runs when its C callback runs. Where the C interface calls
 * nothing back, nothing completes: a call still queued when a session in the
 * compatible bridge mode ends, a call never dispatched in host dispatch, a
 * call in flight at process exit. Its callable is then never called (nor
 * freed) and its future never becomes ready; end sessions with no call in
 * flight, and dispatch what is queued.
 *
 * Futures need exceptions. Built with -fno-exceptions (or with
 * MORVANTA_CPP_NO_FUTURES defined), only the callback form is declared.
 *
 * The synchronous queries (meeting().getMeetingInfo(),
 * member().getMemberList(), waitingRoom().getInfo()) and the two operations
 * that answer no outcome (video().setVideoProfile(), meeting().releaseMeeting())
 * block or return as their C functions do: the callable is called, and the
 * future is ready, before the call returns.
 *
 * Listeners. One C listener record per channel and manager object fans an
 * event out to every subscribed listener object, in order of subscription,
 * with the event converted once. Subscriptions may be created and destroyed
 * on any thread, also inside a listener function of the same channel (unlike
 * the C interface, this does not block). Once a Subscription is destroyed (or
 * reset()) its listener is never called again: destruction on another thread
 * waits for a listener call in progress to return. Several global event
 * listeners may be subscribed at once (the C channel serves one record; the
 * session holds that one). A channel's C record is removed when its last
 * subscription goes outside a listener call of that channel, or at the latest
 * when the manager (the session, for global events) is destroyed.
 *
 * Order. Destroy subscriptions and managers before the session. A manager
 * that outlives its session still answers every operation, with the failures
 * of its C handle (the completion gets the C callback's code and message, or
 * the refusal's).
 */
#ifndef MORVANTA_HPP
#define MORVANTA_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>
#include <functional>

#include "morvanta.h"

#if defined(__cpp_exceptions) && !defined(MORVANTA_CPP_NO_FUTURES)
#include <future>
#define MORVANTA_CPP_FUTURES 1
#define MORVANTA_CPP_IF_FUTURES(...) __VA_ARGS__
#else
#define MORVANTA_CPP_FUTURES 0
#define MORVANTA_CPP_IF_FUTURES(...)
#endif

namespace morvanta {
// The wrapper's names live in an inline namespace: hosts write
// morvanta::Session, and the mangled names can never meet the library's own
// classes of the same names in a program that links both.
inline namespace cxx {

/* ======================================================================
 * Results
 * ====================================================================== */

/* The outcome of an operation: `code` 0 on success, else the C interface's
 * code (a refusal's return value, or the callback's code); `message` the C
 * message ("" when the C side gave none); `value` the payload, when there
 * is one. */
template <class T>
struct Result {
  int code = 0;
  std::string message;
  std::optional<T> value;

  bool ok() const noexcept { return code == 0; }
  explicit operator bool() const noexcept { return ok(); }
};

template <>
struct Result<void> {
  int code = 0;
  std::string message;

  bool ok() const noexcept { return code == 0; }
  explicit operator bool() const noexcept { return ok(); }
};

/* ======================================================================
 * Enumerations
 * ====================================================================== */

enum class BridgeMode : int32_t {
  Default = MORVANTA_BRIDGE_MODE_DEFAULT,  // no explicit choice: MORVANTA_BRIDGE_MODE decides
  Compatible = MORVANTA_BRIDGE_MODE_COMPATIBLE,
  Concurrent = MORVANTA_BRIDGE_MODE_CONCURRENT,
};

enum class DispatchMode : int32_t {
  Worker = MORVANTA_DISPATCH_WORKER,  // callbacks and listeners run on the library's worker
  Host = MORVANTA_DISPATCH_HOST,      // they wait for Session::dispatch() on a host thread
};

enum class LogLevel : int32_t {
  Debug = MORVANTA_LOG_DEBUG,
  Info = MORVANTA_LOG_INFO,
  Warning = MORVANTA_LOG_WARNING,
  Error = MORVANTA_LOG_ERROR,
  Off = MORVANTA_LOG_OFF,
};

/* A member's role, from the C records' role texts; a text the library does
 * not know reads as Host, as in the C records. */
enum class Role { Host, Evaluator, Bidder, Supervise };

/* The kind of a chat message ("text", "image", ... in the C record);
 * Unknown for a record without one. */
enum class ChatMessageType { Unknown, Text, Image, Audio, Video, File, Geo, Custom, Tip, Notification };

/* What Chatroom::sendFileMessage sends. */
enum class ChatFileType : int { File = 0, Image = 1 };

/* ======================================================================
 * Records (payloads)
 * ====================================================================== */

struct DeviceInfo {
  std::string deviceId;
  std::string deviceName;
};

struct AccountInfo {
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

struct SearchAccountInfo {
  std::string userUuid;
  std::string nickname;
  std::optional<std::string> avatar;
  std::optional<std::string> phoneNumber;
  std::optional<std::string> dept;
};

struct ChatroomPermission {
  std::string crPerm;
  std::string wtPrChat;
};

struct ScheduledMember {
  std::string userUuid;
  Role role = Role::Host;
};

struct WaitingRoomMember {
  std::string uuid;
  std::string name;
  std::optional<std::string> avatar;
  int64_t joinTime = 0;
  int32_t status = 0;
};

struct Member {
  std::string uuid;
  std::string name;
  bool isHost = false;
  bool isEvaluator = false;
  bool isAudioOn = false;
  bool isVideoOn = false;
  bool isSharingScreen = false;
  bool isHandsUp = false;
};

struct ScreenCaptureImage {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> data;
};

struct ScreenCaptureSource {
  int64_t sourceId = 0;
  std::string sourceName;
  bool isWindow = false;
  std::optional<std::string> appName;
  std::optional<std::string> appPath;
  std::optional<bool> isPrimaryMonitor;
  std::optional<ScreenCaptureImage> icon;       // none when the service gave none
  std::optional<ScreenCaptureImage> thumbnail;
};

struct LocalMember {
  std::string userUuid;
  std::string name;
  Role role = Role::Host;
};

/* A scheduled meeting. */
struct MeetingInfo {
  std::optional<LocalMember> localMember;
  int64_t meetingId = 0;
  std::string meetingNum;
  std::string roomUuid;
  int32_t state = 0;
  int64_t startTime = 0;
  int64_t endTime = 0;
  std::string subject;
  std::string ownerUserUuid;
  std::string ownerNickname;
  std::vector<ScheduledMember> scheduledMembers;
  std::optional<bool> noCloudRecord;
  std::optional<bool> noChat;
  bool enableWaitingRoom = false;
};

/* The meeting the local user is in. */
struct MeetingSDKInfo {
  std::string userUuid;
  std::string name;
  Role role = Role::Host;
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

/* Chat records: a string the service did not give is "" (the C records
 * cannot tell an absent text from an empty one). */
struct ChatMessageAttach {
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
  std::string operator_;
};

struct ChatMessageFile {
  std::string name;
  std::string ext;
  uint64_t size = 0;
  std::string url;
  std::string filePath;
  int32_t width = 0;
  int32_t height = 0;
};

struct ChatMessage {
  std::string messageUuid;
  std::string fromClientType;
  ChatMessageType messageType = ChatMessageType::Unknown;
  std::string fromUserUuid;
  std::string fromNick;
  std::vector<std::string> toUserUuidList;
  int64_t time = 0;
  std::string type;
  std::string text;
  std::string status;
  std::optional<ChatMessageAttach> attach;
  std::string from;
  bool isMe = false;
  bool resend = false;
  std::string idClient;
  std::optional<ChatMessageFile> file;
  std::string custom;
  int32_t chatroomType = 0;
  bool hasTempFile = false;
  std::string tempFile;
  bool isPrivate = false;
  std::string toNickname;
  std::string fromAvatar;
  double percentage = 0;
  std::string percentageText;
  std::string total;
  std::string loaded;
};

struct WaitingRoomInfo {
  int32_t memberCount = 0;
  bool isEnabledOnEntry = false;
  std::string backgroundImageUrl;
};

struct RtcStats {
  int64_t duration = 0;
  int32_t txBytes = 0;
  int32_t rxBytes = 0;
  int32_t txAudioBytes = 0;
  int32_t txVideoBytes = 0;
  int32_t rxAudioBytes = 0;
  int32_t rxVideoBytes = 0;
};

struct LocalAudioStats {
  int32_t volume = 0;
  int32_t numChannels = 0;
  int32_t sentSampleRate = 0;
  int32_t sentBitrate = 0;
};

struct LocalVideoStats {
  int32_t captureWidth = 0;
  int32_t captureHeight = 0;
  int32_t encodedFrameWidth = 0;
  int32_t encodedFrameHeight = 0;
  int32_t encoderOutputFrameRate = 0;
  int32_t sentFrameRate = 0;
  int32_t sentBitrate = 0;
};

struct RemoteAudioStats {
  std::string userUuid;
  int32_t volume = 0;
  int32_t receivedBitrate = 0;
};

struct RemoteVideoStats {
  std::string userUuid;
  int32_t width = 0;
  int32_t height = 0;
  int32_t receivedBitrate = 0;
  int32_t decoderOutputFrameRate = 0;
  int32_t rendererOutputFrameRate = 0;
};

struct NetworkQualityInfo {
  std::string userUuid;
  int32_t uplinkQuality = 0;
  int32_t downlinkQuality = 0;
};

struct CustomMessage {
  std::string roomUuid;
  std::string senderUuid;
  std::string data;
  int64_t timestamp = 0;
};

struct SessionMessage {
  std::string sessionId;
  int32_t sessionType = 0;
  std::string messageId;
  std::string data;
  int64_t time = 0;
};

struct SessionRecentInfo {
  std::string sessionId;
  int32_t sessionType = 0;
  int32_t unreadCount = 0;
};

/* ======================================================================
 * Options (arguments)
 * ====================================================================== */

/* How to start a session. Unset optionals are left as the library has them
 * (its defaults, or an earlier process-wide choice). */
using LogHandler = std::function<void(LogLevel level, std::string_view line)>;

struct SessionOptions {
  std::string appKey;                              // required
  std::string logPath;                             // required: the SDK's log folder
  std::optional<std::string> serverUrl;
  std::optional<std::string> locale;
  std::optional<bool> useAssetServerConfig;
  std::optional<bool> debug;                       // the bridge's verbose lines
  std::optional<BridgeMode> bridgeMode;            // Session::setBridgeMode before starting
  std::optional<DispatchMode> dispatchMode;        // Session::setDispatchMode before starting
  std::optional<LogLevel> logLevel;                // Session::setLogLevel before starting
  std::optional<LogHandler> logHandler;            // Session::setLogHandler before starting
};

struct LoginByPasswordOptions {
  std::string username;
  std::string password;
};

struct LoginBySmsCodeOptions {
  std::string phoneNumber;
  std::string smsCode;
};

struct LoginByTokenOptions {
  std::string accountId;
  std::string accountToken;
  std::optional<int32_t> authType;
  std::optional<bool> isTemporary;
};

struct ResetPasswordOptions {
  std::string oldPassword;
  std::string newPassword;
};

struct ChatroomTextMessageOptions {
  std::optional<std::string> idClient;
  std::string text;
  std::optional<bool> isPrivate;
  std::vector<std::string> toUserUuidList;  // empty: not sent
};

struct ChatroomSendFileMessageOptions {
  std::optional<std::string> idClient;
  ChatFileType type = ChatFileType::File;
  std::string url;
  uint64_t size = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  std::optional<bool> isPrivate;
  std::vector<std::string> toUserUuidList;
};

struct ScreenShareConfig {
  std::optional<bool> needRequestMeetingServerScreenShare;
  std::optional<std::string> sourceId;
  std::optional<int> resolution;
  std::optional<int> frameRate;
  std::optional<int> limitFrameRate;
  std::optional<std::string> videoProfile;
  std::optional<bool> isApp;
  std::optional<std::string> forceDisplaySurface;
  std::optional<bool> preferMotion;
  std::optional<bool> isLinux;
};

struct StopScreenShareConfig {
  std::optional<bool> needRequestMeetingServerScreenShare;
};

struct ScheduledMemberOption {
  std::string userUuid;
  Role role = Role::Host;
};

/* Scheduling a meeting and changing one take the same fields; what reaches
 * the service is said in morvanta.h (MorvantaPreMeetingCreateOptions,
 * MorvantaPreMeetingEditOptions). */
struct PreMeetingOptions {
  std::optional<std::string> subject;
  std::optional<int64_t> startTime;
  std::optional<int64_t> endTime;
  std::optional<std::string> password;
  std::optional<bool> enableWaitingRoom;
  std::optional<bool> enableJoinBeforeHost;
  std::vector<ScheduledMemberOption> scheduledMembers;
  std::optional<bool> noChat;
  std::optional<bool> noCloudRecord;
};
using PreMeetingCreateOptions = PreMeetingOptions;
using PreMeetingEditOptions = PreMeetingOptions;

struct MeetingListParams {
  std::vector<int> states;  // empty: not sent
  std::optional<int> offset;
  std::optional<int> size;
};

struct VideoProfile {
  int32_t resolution = 0;
  int32_t frameRate = 0;
};

struct CloudRecordConfig {
  bool enable = false;
};

struct MeetingCreateOptions {
  std::optional<std::string> meetingNum;
  std::optional<std::string> nickname;
  std::string subject;  // required, not empty
  std::optional<std::string> password;
  std::optional<std::string> memberTag;
  std::optional<bool> noChat;
  std::optional<bool> noWhiteboard;
  std::optional<bool> noCaptions;
  std::optional<std::string> orgName;
  std::optional<std::string> avatar;
  std::optional<VideoProfile> videoProfile;
  std::optional<int32_t> joinTimeout;
  std::optional<std::string> session;
  std::optional<int32_t> subType;
  std::optional<int64_t> startTime;
  std::optional<int64_t> endTime;
  std::optional<bool> enableWaitingRoom;
  std::optional<CloudRecordConfig> cloudRecordConfig;
};

struct MeetingJoinOptions {
  std::string meetingNum;  // required, not empty
  std::optional<std::string> userUuid;
  std::optional<std::string> nickname;
};

/* ======================================================================
 * Listeners: override what you need; every function does nothing by
 * default. Arguments are valid during the call only (copy what you keep).
 * ====================================================================== */

class GlobalEventListener {
 public:
  virtual ~GlobalEventListener() = default;
  virtual void beforeRtcEngineInitialize(const std::string& /*roomUuid*/) {}
  virtual void afterRtcEngineInitialize(const std::string& /*roomUuid*/) {}
  virtual void beforeRtcEngineRelease(const std::string& /*roomUuid*/) {}
};

class MeetingListener {
 public:
  virtual ~MeetingListener() = default;
  /* Once per member who entered or left. */
  virtual void onMemberJoinMeeting(const Member& /*member*/) {}
  virtual void onMemberLeaveMeeting(const Member& /*member*/) {}
  virtual void onMemberAudioMuteChanged(const std::string& /*userUuid*/, bool /*mute*/) {}
  virtual void onMemberVideoMuteChanged(const std::string& /*userUuid*/, bool /*mute*/) {}
  virtual void onRoomEnded(const std::string& /*reason*/, const std::string& /*extra*/) {}
  virtual void onMemberAudioConnectStateChanged(const Member& /*member*/, bool /*isAudioConnected*/) {}
  /* Whole batches. */
  virtual void onMemberJoinChatroom(const std::vector<Member>& /*members*/) {}
  virtual void onMemberLeaveChatroom(const std::vector<Member>& /*members*/) {}
  virtual void onMemberScreenShareStateChanged(const Member& /*member*/, bool /*isSharing*/,
                                               const std::optional<Member>& /*operateBy*/) {}
  virtual void onReceiveChatroomMessages(const std::vector<ChatMessage>& /*messages*/) {}
  virtual void onMemberChatBanStateChanged(const Member& /*member*/, bool /*banned*/, int32_t /*duration*/,
                                           const std::string& /*notifyExt*/,
                                           const std::optional<Member>& /*operateBy*/) {}
};

class RtcStatsListener {
 public:
  virtual ~RtcStatsListener() = default;
  virtual void onRtcStats(const RtcStats& /*stats*/) {}
  virtual void onLocalAudioStats(const LocalAudioStats& /*stats*/) {}
  virtual void onRemoteAudioStats(const std::vector<RemoteAudioStats>& /*stats*/) {}
  virtual void onLocalVideoStats(const LocalVideoStats& /*stats*/) {}
  virtual void onRemoteVideoStats(const std::vector<RemoteVideoStats>& /*stats*/) {}
  virtual void onNetworkQuality(const std::vector<NetworkQualityInfo>& /*infos*/) {}
};

class MessageChannelListener {
 public:
  virtual ~MessageChannelListener() = default;
  virtual void onCustomMessageReceived(const CustomMessage& /*message*/) {}
  virtual void onSessionMessageReceived(const SessionMessage& /*message*/) {}
  virtual void onSessionMessageRecentChanged(const std::vector<SessionRecentInfo>& /*sessions*/) {}
  virtual void onSessionMessageDeleted(const SessionMessage& /*message*/) {}
  virtual void onDeleteAllSessionMessage(const std::string& /*sessionId*/, int32_t /*sessionType*/) {}
};

class WaitingRoomListener {
 public:
  virtual ~WaitingRoomListener() = default;
  virtual void onMemberJoin(const WaitingRoomMember& /*member*/, int32_t /*reason*/) {}
  virtual void onMemberLeave(const std::string& /*userUuid*/, int32_t /*reason*/) {}
  virtual void onMemberAdmitted(const std::string& /*userUuid*/) {}
  virtual void onMyStatusChanged(int32_t /*status*/, int32_t /*reason*/) {}
  virtual void onMemberNameChanged(const std::string& /*userUuid*/, const std::string& /*name*/,
                                   const std::optional<Member>& /*operateBy*/) {}
  virtual void onInfoUpdated(const WaitingRoomInfo& /*info*/) {}
  virtual void onAllMembersKicked() {}
  /* Only uuid and name are filled. */
  virtual void onManagersUpdated(const std::vector<Member>& /*managers*/) {}
};

/* ======================================================================
 * Implementation details (not API: names under detail may change)
 * ====================================================================== */

namespace detail {

// ---- C to C++ ----

inline std::string str(const char* s) { return s ? std::string(s) : std::string(); }
inline std::optional<std::string> optStr(const char* s) {
  return s ? std::optional<std::string>(s) : std::nullopt;
}
template <class I>
std::optional<bool> tri(I v) {
  return v < 0 ? std::nullopt : std::optional<bool>(v != 0);
}
inline std::vector<std::string> strs(char* const* v, int32_t n) {
  std::vector<std::string> out;
  for (int32_t i = 0; v && i < n; ++i) out.push_back(str(v[i]));
  return out;
}

inline Role roleFromText(const char* s) {
  std::string_view t = s ? s : "";
  if (t == "evaluator") return Role::Evaluator;
  if (t == "bidder") return Role::Bidder;
  if (t == "supervise") return Role::Supervise;
  return Role::Host;
}
inline const char* roleText(Role r) {
  switch (r) {
    case Role::Evaluator: return "evaluator";
    case Role::Bidder: return "bidder";
    case Role::Supervise: return "supervise";
    case Role::Host: break;
  }
  return "host";
}

inline constexpr const char* kChatMessageTypes[] = {"",      "text", "image",  "audio", "video",
                                                    "file",  "geo",  "custom", "tip",   "notification"};
inline ChatMessageType chatTypeFromText(const char* s) {
  if (!s) return ChatMessageType::Unknown;
  for (size_t i = 1; i < std::size(kChatMessageTypes); ++i)
    if (std::string_view(s) == kChatMessageTypes[i]) return static_cast<ChatMessageType>(i);
  return ChatMessageType::Unknown;
}

inline DeviceInfo toCpp(const MorvantaDeviceInfo& c) { return {str(c.device_id), str(c.device_name)}; }

inline AccountInfo toCpp(const MorvantaAccountInfo& c) {
  return {str(c.user_uuid),   str(c.user_token),          str(c.nickname),
          str(c.private_meeting_num), optStr(c.corp_name), optStr(c.account),
          optStr(c.avatar),   optStr(c.phone_number),     optStr(c.email),
          optStr(c.private_short_meeting_num), tri(c.is_initial_password), tri(c.is_anonymous)};
}

inline SearchAccountInfo toCpp(const MorvantaSearchAccountInfo& c) {
  return {str(c.user_uuid), str(c.nickname), optStr(c.avatar), optStr(c.phone_number), optStr(c.dept)};
}

inline ChatroomPermission toCpp(const MorvantaChatroomPermission& c) { return {str(c.cr_perm), str(c.wt_pr_chat)}; }

inline ScheduledMember toCpp(const MorvantaScheduledMember& c) { return {str(c.user_uuid), roleFromText(c.role)}; }

inline WaitingRoomMember toCpp(const MorvantaWaitingRoomMember& c) {
  return {str(c.uuid), str(c.name), optStr(c.avatar), c.join_time, c.status};
}

inline Member toCpp(const MorvantaMember& c) {
  return {str(c.uuid),       str(c.name),        c.is_host != 0,           c.is_evaluator != 0,
          c.is_audio_on != 0, c.is_video_on != 0, c.is_sharing_screen != 0, c.is_hands_up != 0};
}

inline std::optional<ScreenCaptureImage> toCpp(const MorvantaScreenCaptureImage& c) {
  if (c.width == 0 && c.height == 0 && c.size == 0 && !c.data) return std::nullopt;
  ScreenCaptureImage image{c.width, c.height, {}};
  if (c.data) image.data.assign(c.data, c.data + c.size);
  return image;
}

inline ScreenCaptureSource toCpp(const MorvantaScreenCaptureSource& c) {
  return {c.source_id,      str(c.source_name), c.is_window != 0,     optStr(c.app_name),
          optStr(c.app_path), tri(c.is_primary_monitor), toCpp(c.icon), toCpp(c.thumbnail)};
}

inline MeetingInfo toCpp(const MorvantaMeetingInfo& c) {
  MeetingInfo m;
  if (c.local_member)
    m.localMember = LocalMember{str(c.local_member->user_uuid), str(c.local_member->name),
                                roleFromText(c.local_member->role)};
  m.meetingId = c.meeting_id;
  m.meetingNum = str(c.meeting_num);
  m.roomUuid = str(c.room_uuid);
  m.state = c.state;
  m.startTime = c.start_time;
  m.endTime = c.end_time;
  m.subject = str(c.subject);
  m.ownerUserUuid = str(c.owner_user_uuid);
  m.ownerNickname = str(c.owner_nickname);
  for (int32_t i = 0; c.scheduled_members && i < c.scheduled_member_count; ++i)
    m.scheduledMembers.push_back(toCpp(c.scheduled_members[i]));
  m.noCloudRecord = tri(c.no_cloud_record);
  m.noChat = tri(c.no_chat);
  m.enableWaitingRoom = c.enable_waiting_room != 0;
  return m;
}

inline MeetingSDKInfo toCpp(const MorvantaMeetingSDKInfo& c) {
  MeetingSDKInfo m;
  m.userUuid = str(c.user_uuid);
  m.name = str(c.name);
  m.role = roleFromText(c.role);
  m.myUuid = str(c.my_uuid);
  m.hostUuid = str(c.host_uuid);
  m.hostName = str(c.host_name);
  m.activeSpeakerUuid = str(c.active_speaker_uuid);
  m.subject = str(c.subject);
  m.ownerUserUuid = str(c.owner_user_uuid);
  m.roomArchiveId = str(c.room_archive_id);
  m.meetingNum = str(c.meeting_num);
  m.isSupportChatroom = c.is_support_chatroom != 0;
  m.isCloudRecording = c.is_cloud_recording != 0;
  m.startTime = c.start_time;
  m.endTime = c.end_time;
  m.type = c.type;
  m.rtcStartTime = c.rtc_start_time;
  m.joinMeetingTime = c.join_meeting_time;
  if (c.meeting_id != -1) m.meetingId = c.meeting_id;
  m.isWaitingRoomEnabled = tri(c.is_waiting_room_enabled);
  m.inWaitingRoom = tri(c.in_waiting_room);
  if (c.max_members != -1) m.maxMembers = c.max_members;
  m.isBreakoutRoom = tri(c.is_breakout_room);
  return m;
}

inline ChatMessage toCpp(const MorvantaChatMessage& c) {
  ChatMessage m;
  m.messageUuid = str(c.message_uuid);
  m.fromClientType = str(c.from_client_type);
  m.messageType = chatTypeFromText(c.message_type);
  m.fromUserUuid = str(c.from_user_uuid);
  m.fromNick = str(c.from_nick);
  m.toUserUuidList = strs(c.to_user_uuid_list, c.to_user_uuid_count);
  m.time = c.time;
  m.type = str(c.type);
  m.text = str(c.text);
  m.status = str(c.status);
  if (const MorvantaChatMessageAttach* a = c.attach)
    m.attach = ChatMessageAttach{str(a->from),    str(a->from_nick), str(a->type),
                                 strs(a->to, a->to_count), strs(a->to_nick, a->to_nick_count),
                                 str(a->url),     str(a->name),      str(a->msg_id),
                                 a->msg_time,     a->id,             str(a->operator_)};
  m.from = str(c.from);
  m.isMe = c.is_me != 0;
  m.resend = c.resend != 0;
  m.idClient = str(c.id_client);
  if (const MorvantaChatMessageFile* f = c.file)
    m.file = ChatMessageFile{str(f->name), str(f->ext), f->size, str(f->url), str(f->file_path), f->width, f->height};
  m.custom = str(c.custom);
  m.chatroomType = c.chatroom_type;
  m.hasTempFile = c.has_temp_file != 0;
  m.tempFile = str(c.temp_file);
  m.isPrivate = c.is_private != 0;
  m.toNickname = str(c.to_nickname);
  m.fromAvatar = str(c.from_avatar);
  m.percentage = c.percentage;
  m.percentageText = str(c.percentage_text);
  m.total = str(c.total);
  m.loaded = str(c.loaded);
  return m;
}

inline WaitingRoomInfo toCpp(const MorvantaWaitingRoomInfo& c) {
  return {c.member_count, c.is_enabled_on_entry, str(c.background_image_url)};
}

inline RtcStats toCpp(const MorvantaRtcStats& c) {
  return {c.duration, c.tx_bytes, c.rx_bytes, c.tx_audio_bytes, c.tx_video_bytes, c.rx_audio_bytes, c.rx_video_bytes};
}
inline LocalAudioStats toCpp(const MorvantaLocalAudioStats& c) {
  return {c.volume, c.num_channels, c.sent_sample_rate, c.sent_bitrate};
}
inline LocalVideoStats toCpp(const MorvantaLocalVideoStats& c) {
  return {c.capture_width,  c.capture_height,           c.encoded_frame_width, c.encoded_frame_height,
          c.encoder_output_frame_rate, c.sent_frame_rate, c.sent_bitrate};
}
inline RemoteAudioStats toCpp(const MorvantaRemoteAudioStats& c) {
  return {str(c.user_uuid), c.volume, c.received_bitrate};
}
inline RemoteVideoStats toCpp(const MorvantaRemoteVideoStats& c) {
  return {str(c.user_uuid), c.width, c.height, c.received_bitrate, c.decoder_output_frame_rate,
          c.renderer_output_frame_rate};
}
inline NetworkQualityInfo toCpp(const MorvantaNetworkQualityInfo& c) {
  return {str(c.user_uuid), c.uplink_quality, c.downlink_quality};
}
inline CustomMessage toCpp(const MorvantaCustomMessage& c) {
  return {str(c.room_uuid), str(c.sender_uuid), str(c.data), c.timestamp};
}
inline SessionMessage toCpp(const MorvantaSessionMessage& c) {
  return {str(c.session_id), c.session_type, str(c.message_id), str(c.data), c.time};
}
inline SessionRecentInfo toCpp(const MorvantaSessionRecentInfo& c) {
  return {str(c.session_id), c.session_type, c.unread_count};
}

// A C array of `count` records as a vector (a null array is empty).
template <class C, class N>
auto toCppList(const C* items, N count) {
  std::vector<decltype(toCpp(*items))> out;
  if (!items || count <= 0) return out;
  out.reserve(static_cast<size_t>(count));
  for (N i = 0; i < count; ++i) out.push_back(toCpp(items[i]));
  return out;
}
template <class C>
std::optional<decltype(toCpp(std::declval<const C&>()))> toCppOpt(const C* item) {
  if (!item) return std::nullopt;
  return toCpp(*item);
}

// ---- C++ to C: each argument becomes one or more C arguments, through a
// holder that lives until the C call returns (the C side copies). ----

template <class T, class = void>
struct Lower {  // numbers, pointers, enumerations: as they are
  explicit Lower(const T& v) : v_(v) {}
  auto args() const {
    if constexpr (std::is_enum_v<T>)
      return std::make_tuple(static_cast<std::underlying_type_t<T>>(v_));
    else
      return std::make_tuple(v_);
  }
  T v_;
};
template <>
struct Lower<bool> {
  explicit Lower(bool v) : v_(v) {}
  std::tuple<int> args() const { return {v_ ? 1 : 0}; }
  bool v_;
};
template <>
struct Lower<std::optional<bool>> {
  explicit Lower(const std::optional<bool>& v) : v_(v) {}
  std::tuple<int> args() const { return {v_ ? (*v_ ? 1 : 0) : -1}; }
  std::optional<bool> v_;
};
template <>
struct Lower<std::string> {
  explicit Lower(const std::string& v) : v_(v) {}
  std::tuple<const char*> args() const { return {v_.c_str()}; }
  const std::string& v_;
};
template <>
struct Lower<std::optional<std::string>> {
  explicit Lower(const std::optional<std::string>& v) : v_(v) {}
  std::tuple<const char*> args() const { return {v_ ? v_->c_str() : nullptr}; }
  const std::optional<std::string>& v_;
};
// A list of strings is two C arguments: the array and its count.
template <>
struct Lower<std::vector<std::string>> {
  explicit Lower(const std::vector<std::string>& v) {
    for (const std::string& s : v) ptrs_.push_back(s.c_str());
  }
  std::tuple<const char**, int32_t> args() const {
    return {ptrs_.empty() ? nullptr : const_cast<const char**>(ptrs_.data()), static_cast<int32_t>(ptrs_.size())};
  }
  std::vector<const char*> ptrs_;
};

inline const char* cstr(const std::optional<std::string>& s) { return s ? s->c_str() : nullptr; }
template <class I>
I triC(const std::optional<bool>& b) {
  return static_cast<I>(b ? (*b ? 1 : 0) : -1);
}
template <class I, class V>
I orNegative(const std::optional<V>& v) {
  return v ? static_cast<I>(*v) : static_cast<I>(-1);
}

// Options records: the C record, pointing into the C++ one, as one pointer.
template <class C>
struct LowerRecord {
  std::tuple<const C*> args() const { return {&c_}; }
  C c_{};
};

template <>
struct Lower<LoginByPasswordOptions> : LowerRecord<MorvantaLoginByPasswordOptions> {
  explicit Lower(const LoginByPasswordOptions& o) { c_ = {o.username.c_str(), o.password.c_str()}; }
};
template <>
struct Lower<LoginBySmsCodeOptions> : LowerRecord<MorvantaLoginBySmsCodeOptions> {
  explicit Lower(const LoginBySmsCodeOptions& o) { c_ = {o.phoneNumber.c_str(), o.smsCode.c_str()}; }
};
template <>
struct Lower<LoginByTokenOptions> : LowerRecord<MorvantaLoginByTokenOptions> {
  explicit Lower(const LoginByTokenOptions& o) {
    c_ = {o.accountId.c_str(), o.accountToken.c_str(), orNegative<int32_t>(o.authType), triC<int32_t>(o.isTemporary)};
  }
};
template <>
struct Lower<ResetPasswordOptions> : LowerRecord<MorvantaResetPasswordOptions> {
  explicit Lower(const ResetPasswordOptions& o) { c_ = {o.oldPassword.c_str(), o.newPassword.c_str()}; }
};
template <>
struct Lower<ChatroomTextMessageOptions> : LowerRecord<MorvantaChatroomTextMessageOptions> {
  explicit Lower(const ChatroomTextMessageOptions& o) : to_(o.toUserUuidList) {
    auto [list, count] = to_.args();
    c_ = {cstr(o.idClient), o.text.c_str(), triC<int8_t>(o.isPrivate), list, count};
  }
  Lower<std::vector<std::string>> to_;
};
template <>
struct Lower<ChatroomSendFileMessageOptions> : LowerRecord<MorvantaChatroomSendFileMessageOptions> {
  explicit Lower(const ChatroomSendFileMessageOptions& o) : to_(o.toUserUuidList) {
    auto [list, count] = to_.args();
    c_ = {cstr(o.idClient), static_cast<int>(o.type), o.url.c_str(), o.size, o.width, o.height,
          triC<int8_t>(o.isPrivate), list, count};
  }
  Lower<std::vector<std::string>> to_;
};
template <>
struct Lower<ScreenShareConfig> : LowerRecord<MorvantaScreenShareConfig> {
  explicit Lower(const ScreenShareConfig& o) {
    c_ = {triC<int>(o.needRequestMeetingServerScreenShare), cstr(o.sourceId), orNegative<int>(o.resolution),
          orNegative<int>(o.frameRate), orNegative<int>(o.limitFrameRate), cstr(o.videoProfile),
          triC<int>(o.isApp), cstr(o.forceDisplaySurface), triC<int>(o.preferMotion), triC<int>(o.isLinux)};
  }
};
template <>
struct Lower<std::optional<StopScreenShareConfig>> {
  explicit Lower(const std::optional<StopScreenShareConfig>& o) : set_(o.has_value()) {
    if (o) c_.need_request_meeting_server_screen_share = triC<int>(o->needRequestMeetingServerScreenShare);
  }
  std::tuple<const MorvantaStopScreenShareConfig*> args() const { return {set_ ? &c_ : nullptr}; }
  MorvantaStopScreenShareConfig c_{};
  bool set_;
};
// Scheduling and editing share one C++ record and two C records of the same
// fields; the C function's parameter picks the one (see PreMeetingArg).
struct LoweredPreMeeting {
  explicit LoweredPreMeeting(const PreMeetingOptions& o) {
    for (const ScheduledMemberOption& m : o.scheduledMembers) members_.push_back({m.userUuid.c_str(), roleText(m.role)});
    fill(create_, o);
    fill(edit_, o);
  }
  template <class C>
  void fill(C& c, const PreMeetingOptions& o) {
    c = {cstr(o.subject),        orNegative<int64_t>(o.startTime),     orNegative<int64_t>(o.endTime),
         cstr(o.password),       triC<int32_t>(o.enableWaitingRoom),   triC<int32_t>(o.enableJoinBeforeHost),
         members_.empty() ? nullptr : members_.data(), static_cast<int32_t>(members_.size()),
         triC<int32_t>(o.noChat), triC<int32_t>(o.noCloudRecord)};
  }
  std::vector<MorvantaScheduledMemberOption> members_;
  MorvantaPreMeetingCreateOptions create_{};
  MorvantaPreMeetingEditOptions edit_{};
};
// Converts to whichever of the two C records the C function takes.
struct PreMeetingArg {
  const LoweredPreMeeting* l;
  operator const MorvantaPreMeetingCreateOptions*() const { return &l->create_; }
  operator const MorvantaPreMeetingEditOptions*() const { return &l->edit_; }
};
template <>
struct Lower<PreMeetingOptions> : LoweredPreMeeting {
  explicit Lower(const PreMeetingOptions& o) : LoweredPreMeeting(o) {}
  std::tuple<PreMeetingArg> args() const { return {PreMeetingArg{this}}; }
};
template <>
struct Lower<std::optional<MeetingListParams>> {
  explicit Lower(const std::optional<MeetingListParams>& p) : set_(p.has_value()) {
    if (!p) return;
    states_ = p->states;
    c_ = {states_.empty() ? nullptr : states_.data(), static_cast<int>(states_.size()), orNegative<int>(p->offset),
          orNegative<int>(p->size)};
  }
  std::tuple<const MorvantaMeetingListParams*> args() const { return {set_ ? &c_ : nullptr}; }
  std::vector<int> states_;
  MorvantaMeetingListParams c_{};
  bool set_;
};
template <>
struct Lower<MeetingCreateOptions> : LowerRecord<MorvantaMeetingCreateOptions> {
  explicit Lower(const MeetingCreateOptions& o) {
    if (o.videoProfile) profile_ = {o.videoProfile->resolution, o.videoProfile->frameRate};
    if (o.cloudRecordConfig) cloud_.enable = o.cloudRecordConfig->enable ? 1 : 0;
    c_ = {cstr(o.meetingNum),
          cstr(o.nickname),
          o.subject.c_str(),
          cstr(o.password),
          cstr(o.memberTag),
          triC<int32_t>(o.noChat),
          triC<int32_t>(o.noWhiteboard),
          triC<int32_t>(o.noCaptions),
          cstr(o.orgName),
          cstr(o.avatar),
          o.videoProfile ? &profile_ : nullptr,
          orNegative<int32_t>(o.joinTimeout),
          cstr(o.session),
          orNegative<int32_t>(o.subType),
          orNegative<int64_t>(o.startTime),
          orNegative<int64_t>(o.endTime),
          triC<int32_t>(o.enableWaitingRoom),
          o.cloudRecordConfig ? &cloud_ : nullptr};
  }
  MorvantaVideoProfile profile_{};
  MorvantaCloudRecordConfig cloud_{};
};
template <>
struct Lower<MeetingJoinOptions> : LowerRecord<MorvantaMeetingJoinOptions> {
  explicit Lower(const MeetingJoinOptions& o) { c_ = {o.meetingNum.c_str(), cstr(o.userUuid), cstr(o.nickname)}; }
};
// A chat message handed back to the library: its C record, strings "" as
// NULL (as the library gave them).
template <>
struct Lower<ChatMessage> : LowerRecord<MorvantaChatMessage> {
  static char* s(const std::string& v) { return v.empty() ? nullptr : const_cast<char*>(v.c_str()); }
  static void list(const std::vector<std::string>& v, std::vector<char*>& out, char**& field, int32_t& count) {
    for (const std::string& e : v) out.push_back(const_cast<char*>(e.c_str()));
    field = out.empty() ? nullptr : out.data();
    count = static_cast<int32_t>(out.size());
  }
  explicit Lower(const ChatMessage& m) {
    c_.message_uuid = s(m.messageUuid);
    c_.from_client_type = s(m.fromClientType);
    c_.message_type = m.messageType == ChatMessageType::Unknown
                          ? nullptr
                          : const_cast<char*>(kChatMessageTypes[static_cast<size_t>(m.messageType)]);
    c_.from_user_uuid = s(m.fromUserUuid);
    c_.from_nick = s(m.fromNick);
    list(m.toUserUuidList, to_, c_.to_user_uuid_list, c_.to_user_uuid_count);
    c_.time = m.time;
    c_.type = s(m.type);
    c_.text = s(m.text);
    c_.status = s(m.status);
    if (m.attach) {
      const ChatMessageAttach& a = *m.attach;
      attach_ = {s(a.from), s(a.fromNick), s(a.type), nullptr, 0, nullptr, 0, s(a.url), s(a.name), s(a.msgId),
                 a.msgTime, a.id, s(a.operator_)};
      list(a.to, attachTo_, attach_.to, attach_.to_count);
      list(a.toNick, attachToNick_, attach_.to_nick, attach_.to_nick_count);
      c_.attach = &attach_;
    }
    c_.from = s(m.from);
    c_.is_me = m.isMe ? 1 : 0;
    c_.resend = m.resend ? 1 : 0;
    c_.id_client = s(m.idClient);
    if (m.file) {
      const ChatMessageFile& f = *m.file;
      file_ = {s(f.name), s(f.ext), f.size, s(f.url), s(f.filePath), f.width, f.height};
      c_.file = &file_;
    }
    c_.custom = s(m.custom);
    c_.chatroom_type = m.chatroomType;
    c_.has_temp_file = m.hasTempFile ? 1 : 0;
    c_.temp_file = s(m.tempFile);
    c_.is_private = m.isPrivate ? 1 : 0;
    c_.to_nickname = s(m.toNickname);
    c_.from_avatar = s(m.fromAvatar);
    c_.percentage = m.percentage;
    c_.percentage_text = s(m.percentageText);
    c_.total = s(m.total);
    c_.loaded = s(m.loaded);
  }
  std::vector<char*> to_, attachTo_, attachToNick_;
  MorvantaChatMessageAttach attach_{};
  MorvantaChatMessageFile file_{};
};

// ---- completions: the callable's heap context, freed exactly once ----

template <class T>
struct Completion {
  virtual ~Completion() = default;
  virtual void finish(Result<T>&& r) noexcept = 0;
};
template <class T, class F>
struct CompletionOf final : Completion<T> {
  explicit CompletionOf(F&& f) : f_(std::move(f)) {}
  explicit CompletionOf(const F& f) : f_(f) {}
  void finish(Result<T>&& r) noexcept override { f_(std::move(r)); }
  F f_;
};

// Takes the context back from the C callback's user_data and finishes it.
template <class T>
void complete(void* user_data, Result<T>&& r) noexcept {
  std::unique_ptr<Completion<T>> c(static_cast<Completion<T>*>(user_data));
  c->finish(std::move(r));
}
inline std::string message(const char* m) { return m ? std::string(m) : std::string(); }

// ---- payload families: one C callback trampoline each, chosen by the C
// function's callback type ----

template <class Callback>
struct Family;

template <>
struct Family<MorvantaCallback> {
  using Value = void;
  static void callback(int code, const char* msg, void* user_data) noexcept {
    complete<void>(user_data, Result<void>{code, message(msg)});
  }
};

template <>
struct Family<MorvantaStringCallback> {
  using Value = std::string;
  static void callback(int code, const char* msg, char* value, void* user_data) noexcept {
    Result<std::string> r{code, message(msg), optStr(value)};
    Morvanta_FreeString(value);
    complete<std::string>(user_data, std::move(r));
  }
};

template <>
struct Family<MorvantaIntegerCallback> {
  using Value = uint32_t;
  static void callback(int code, const char* msg, uint32_t value, void* user_data) noexcept {
    Result<uint32_t> r{code, message(msg), std::nullopt};
    if (code == 0) r.value = value;
    complete<uint32_t>(user_data, std::move(r));
  }
};

// One record, released with `Free` after the copy.
template <class C, void (*Free)(C*)>
struct RecordFamily {
  using Value = decltype(toCpp(std::declval<const C&>()));
  static void callback(int code, const char* msg, C* record, void* user_data) noexcept {
    Result<Value> r{code, message(msg), toCppOpt(record)};
    Free(record);
    complete<Value>(user_data, std::move(r));
  }
};

// An array and its count, released with `Free` after the copy. A success
// without an array is an empty list.
template <class C, class N, void (*Free)(C*, N)>
struct ListFamily {
  using Value = std::vector<decltype(toCpp(std::declval<const C&>()))>;
  static void callback(int code, const char* msg, C* items, N count, void* user_data) noexcept {
    Result<Value> r{code, message(msg), std::nullopt};
    if (code == 0 || items) r.value = toCppList(items, count);
    Free(items, count);
    complete<Value>(user_data, std::move(r));
  }
};

// The payload families of the C interface, one row each.
#define MORVANTA_CPP_RECORD_FAMILIES(R)                                         \
  R(MorvantaAccountInfoCallback, MorvantaAccountInfo, Morvanta_FreeAccountInfo) \
  R(MorvantaChatroomPermissionCallback, MorvantaChatroomPermission, Morvanta_FreeChatroomPermission) \
  R(MorvantaChatMessageCallback, MorvantaChatMessage, Morvanta_FreeChatMessage) \
  R(MorvantaPreMeetingInfoCallback, MorvantaMeetingInfo, Morvanta_FreePreMeetingInfo)
#define MORVANTA_CPP_LIST_FAMILIES(L)                                                             \
  L(MorvantaDeviceListCallback, MorvantaDeviceInfo, uint32_t, Morvanta_FreeDeviceList)            \
  L(MorvantaAccountListCallback, MorvantaSearchAccountInfo, int32_t, Morvanta_FreeAccountList)    \
  L(MorvantaWaitingRoomMemberListCallback, MorvantaWaitingRoomMember, int32_t,                    \
    Morvanta_FreeWaitingRoomMemberList)                                                           \
  L(MorvantaScreenCaptureSourceListCallback, MorvantaScreenCaptureSource, uint32_t,               \
    Morvanta_FreeScreenCaptureSourceList)                                                         \
  L(MorvantaMeetingListCallback, MorvantaMeetingInfo, int32_t, Morvanta_FreeMeetingList)          \
  L(MorvantaScheduledMemberListCallback, MorvantaScheduledMember, int32_t, Morvanta_FreeScheduledMembers)

#define MORVANTA_CPP_RECORD_FAMILY(Callback, C, Free) \
  template <>                                         \
  struct Family<Callback> : RecordFamily<C, &Free> {};
#define MORVANTA_CPP_LIST_FAMILY(Callback, C, N, Free) \
  template <>                                          \
  struct Family<Callback> : ListFamily<C, N, &Free> {};
MORVANTA_CPP_RECORD_FAMILIES(MORVANTA_CPP_RECORD_FAMILY)
MORVANTA_CPP_LIST_FAMILIES(MORVANTA_CPP_LIST_FAMILY)
#undef MORVANTA_CPP_RECORD_FAMILY
#undef MORVANTA_CPP_LIST_FAMILY

// The callback type of a C operation: its second-last parameter.
template <class Fn>
struct Operation;
template <class... P>
struct Operation<int (*)(P...)> {
  using Callback = std::tuple_element_t<sizeof...(P) - 2, std::tuple<P...>>;
  using Value = typename Family<Callback>::Value;
};
template <class Fn>
using ValueOf = typename Operation<Fn>::Value;

template <class F, class T>
using IfCompletion = std::enable_if_t<std::is_invocable_v<std::decay_t<F>&, Result<T>>>;

inline std::string refusal(const char* function, int code) {
  return std::string(function) + " refused the call (code " + std::to_string(code) + ")";
}

template <class T>
Result<T> failure(int code, std::string msg) {
  Result<T> r;
  r.code = code;
  r.message = std::move(msg);
  return r;
}

// Calls the C operation `fn` with the lowered arguments, the family's
// trampoline and `ctx`.
template <class Fn, class H, class... L>
int callC(Fn fn, H* handle, void* ctx, const L&... lowered) {
  using Callback = typename Operation<Fn>::Callback;
  return std::apply([&](auto... c) { return fn(handle, c..., &Family<Callback>::callback, ctx); },
                    std::tuple_cat(lowered.args()...));
}

// The callback form: completes `done` once, through the C callback or, when
// the C function refuses, at once.
template <class Fn, class H, class F, class... A>
void start(Fn fn, const char* name, H* handle, F&& done, const A&... args) noexcept {
  using T = ValueOf<Fn>;
  auto* ctx = new (std::nothrow) CompletionOf<T, std::decay_t<F>>(std::forward<F>(done));
  if (!ctx) return;  // out of memory: nothing can be completed
  int rc = callC(fn, handle, ctx, Lower<A>(args)...);
  if (rc != 0) complete<T>(ctx, failure<T>(rc, refusal(name, rc)));
}

#if MORVANTA_CPP_FUTURES
template <class T>
struct Promise {
  void operator()(Result<T>&& r) { p.set_value(std::move(r)); }
  std::promise<Result<T>> p;
};

// The future form.
template <class Fn, class H, class... A>
std::future<Result<ValueOf<Fn>>> ask(Fn fn, const char* name, H* handle, const A&... args) {
  Promise<ValueOf<Fn>> promise;
  auto future = promise.p.get_future();
  start(fn, name, handle, std::move(promise), args...);
  return future;
}

template <class T>
std::future<Result<T>> ready(Result<T>&& r) {
  std::promise<Result<T>> p;
  p.set_value(std::move(r));
  return p.get_future();
}
#endif

// Operations that answer on return (no C callback).
template <class Fn, class H, class... A>
Result<void> now(Fn fn, const char* name, H* handle, const A&... args) {
  int rc = std::apply([&](auto... c) { return fn(handle, c...); }, std::tuple_cat(Lower<A>(args).args()...));
  return rc == 0 ? Result<void>{} : failure<void>(rc, refusal(name, rc));
}

// ---- listener channels: one C record per channel and owner fans out to
// the subscribed C++ listeners ----

class HubBase {
 public:
  virtual ~HubBase() = default;
  virtual void drop(const void* token) noexcept = 0;
};

}  // namespace detail

/* Keeps one listener subscribed; destroying it (or reset()) removes the
 * listener, which is then never called again. An empty subscription (the
 * add was refused) has the refusal's code. */
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(int code) : code_(code) {}
  Subscription(std::shared_ptr<detail::HubBase> hub, std::shared_ptr<const void> token)
      : hub_(std::move(hub)), token_(std::move(token)) {}
  Subscription(Subscription&& o) noexcept
      : hub_(std::move(o.hub_)), token_(std::move(o.token_)), code_(o.code_) {}
  Subscription& operator=(Subscription&& o) noexcept {
    if (this != &o) {
      reset();
      hub_ = std::move(o.hub_);
      token_ = std::move(o.token_);
      code_ = o.code_;
    }
    return *this;
  }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  ~Subscription() { reset(); }

  /* Removes the listener now (nothing when empty). */
  void reset() noexcept {
    if (hub_) hub_->drop(token_.get());
    hub_.reset();
    token_.reset();
  }
  bool active() const noexcept { return hub_ != nullptr; }
  explicit operator bool() const noexcept { return active(); }
  /* 0 for a subscription that was made; the C add's code otherwise. */
  int code() const noexcept { return code_; }

 private:
  std::shared_ptr<detail::HubBase> hub_;
  std::shared_ptr<const void> token_;
  int code_ = 0;
};

namespace detail {

// Fan-outs of channel `Ch` in progress on this thread. The C channel holds
// a lock of its own through its listener calls, so while this is above 0 no
// C record of that channel may be added or removed on this thread.
template <class Ch>
struct ChannelDepth {
  static inline thread_local int depth = 0;
};

// The listeners of one channel and owner. Its mutex is held through a
// fan-out and is re-entrant, so a listener may subscribe or unsubscribe on
// its own channel; another thread that does so waits for the fan-out. The C
// record is added and removed outside that mutex, and never inside a
// fan-out of its channel: there it is left for the next change made outside
// one (or for close()).
template <class Ch>
class Hub final : public HubBase, public std::enable_shared_from_this<Hub<Ch>> {
 public:
  using Listener = typename Ch::Listener;
  using Handle = typename Ch::Handle;

  explicit Hub(Handle* handle) : handle_(handle) { record_ = Ch::record(this); }

  Subscription add(Listener& listener) {
    auto entry = std::make_shared<Entry>(Entry{&listener, true});
    bool inside;
    {
      std::lock_guard<std::recursive_mutex> lock(mutex_);
      if (closed_) return Subscription(-1);
      entries_.push_back(entry);
    }
    inside = ChannelDepth<Ch>::depth > 0;
    if (!inside) {
      int rc = sync();
      if (rc != 0) {
        drop(entry.get());
        return Subscription(rc);
      }
    }
    return Subscription(this->shared_from_this(), std::shared_ptr<const void>(entry, entry.get()));
  }

  void drop(const void* token) noexcept override {
    bool idle;
    {
      std::lock_guard<std::recursive_mutex> lock(mutex_);
      for (auto it = entries_.begin(); it != entries_.end(); ++it) {
        if (it->get() != token) continue;
        (*it)->live = false;
        entries_.erase(it);
        break;
      }
      idle = entries_.empty();
    }
    if (idle) sync();
  }

  // Removes the C record for good (the owner's handle goes next). Inside a
  // fan-out of this channel the C record cannot be removed; the hub then
  // stays, silent, for the rest of the process.
  void close() noexcept {
    bool inside;
    {
      std::lock_guard<std::recursive_mutex> lock(mutex_);
      closed_ = true;
      for (auto& e : entries_) e->live = false;
      entries_.clear();
    }
    inside = ChannelDepth<Ch>::depth > 0;
    if (!inside) {
      sync();
      return;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (registered_) new std::shared_ptr<Hub>(this->shared_from_this());  // still named by the C record
  }

  // Calls `call` with every listener subscribed when the event came, in
  // order of subscription, skipping those removed meanwhile.
  template <class Call>
  static void fanOut(void* user_data, Call&& call) noexcept {
    auto* hub = static_cast<Hub*>(user_data);
    std::lock_guard<std::recursive_mutex> lock(hub->mutex_);
    if (hub->entries_.empty()) return;
    ++ChannelDepth<Ch>::depth;
    std::vector<std::shared_ptr<Entry>> snapshot = hub->entries_;
    for (const auto& e : snapshot)
      if (e->live) call(*e->listener);
    --ChannelDepth<Ch>::depth;
  }

 private:
  struct Entry {
    Listener* listener;
    bool live;
  };

  // Brings the C record in line with the subscriptions: added while there
  // are some, removed when there are none. Answers the C add's code.
  int sync() noexcept {
    if (ChannelDepth<Ch>::depth > 0) return 0;
    std::lock_guard<std::mutex> registration(registration_);
    for (;;) {
      bool want, have;
      {
        std::lock_guard<std::recursive_mutex> lock(mutex_);
        want = !entries_.empty() && !closed_;
        have = registered_;
      }
      if (want == have) return 0;
      int rc = want ? Ch::add(handle_, &record_) : Ch::remove(handle_, &record_);
      std::lock_guard<std::recursive_mutex> lock(mutex_);
      registered_ = want && rc == 0;
      if (want && rc != 0) return rc;
    }
  }

  Handle* handle_;
  typename Ch::Record record_;
  std::mutex registration_;  // serialises the C add and remove
  std::recursive_mutex mutex_;
  std::vector<std::shared_ptr<Entry>> entries_;
  bool registered_ = false;
  bool closed_ = false;
};

// Channels: the C record, its trampolines, its add and remove.
struct GlobalChannel {
  using Listener = GlobalEventListener;
  using Record = MorvantaGlobalEventListener;
  using Handle = MorvantaSDK_T;
  static int add(Handle*, const Record* r) { return Morvanta_AddGlobalEventListener(r); }
  static int remove(Handle*, const Record* r) { return Morvanta_RemoveGlobalEventListener(r); }
  static Record record(void* hub) {
    using H = Hub<GlobalChannel>;
    Record r{};
    r.before_rtc_engine_initialize = [](const char* room, void* ud) noexcept {
      std::string v = str(room);
      H::fanOut(ud, [&](Listener& l) { l.beforeRtcEngineInitialize(v); });
    };
    r.after_rtc_engine_initialize = [](const char* room, void* ud) noexcept {
      std::string v = str(room);
      H::fanOut(ud, [&](Listener& l) { l.afterRtcEngineInitialize(v); });
    };
    r.before_rtc_engine_release = [](const char* room, void* ud) noexcept {
      std::string v = str(room);
      H::fanOut(ud, [&](Listener& l) { l.beforeRtcEngineRelease(v); });
    };
    r.user_data = hub;
    return r;
  }
};

inline Member toCppMember(const MorvantaMember* m) { return m ? toCpp(*m) : Member{}; }

struct MeetingChannel {
  using Listener = MeetingListener;
  using Record = MorvantaMeetingListener;
  using Handle = MorvantaMeetingManager_T;
  static int add(Handle* h, const Record* r) { return Morvanta_Meeting_AddMeetingListener(h, r); }
  static int remove(Handle* h, const Record* r) { return Morvanta_Meeting_RemoveMeetingListener(h, r); }
  static Record record(void* hub) {
    using H = Hub<MeetingChannel>;
    Record r{};
    r.onMemberJoinMeeting = [](const MorvantaMember* m, void* ud) noexcept {
      Member v = toCppMember(m);
      H::fanOut(ud, [&](Listener& l) { l.onMemberJoinMeeting(v); });
    };
    r.onMemberLeaveMeeting = [](const MorvantaMember* m, void* ud) noexcept {
      Member v = toCppMember(m);
      H::fanOut(ud, [&](Listener& l) { l.onMemberLeaveMeeting(v); });
    };
    r.onMemberAudioMuteChanged = [](const char* uuid, bool mute, void* ud) noexcept {
      std::string v = str(uuid);
      H::fanOut(ud, [&](Listener& l) { l.onMemberAudioMuteChanged(v, mute); });
    };
    r.onMemberVideoMuteChanged = [](const char* uuid, bool mute, void* ud) noexcept {
      std::string v = str(uuid);
      H::fanOut(ud, [&](Listener& l) { l.onMemberVideoMuteChanged(v, mute); });
    };
    r.onRoomEnded = [](const char* reason, const char* extra, void* ud) noexcept {
      std::string a = str(reason), b = str(extra);
      H::fanOut(ud, [&](Listener& l) { l.onRoomEnded(a, b); });
    };
    r.onMemberAudioConnectStateChanged = [](const MorvantaMember* m, bool connected, void* ud) noexcept {
      Member v = toCppMember(m);
      H::fanOut(ud, [&](Listener& l) { l.onMemberAudioConnectStateChanged(v, connected); });
    };
    r.onMemberJoinChatroom = [](const MorvantaMember* m, uint32_t n, void* ud) noexcept {
      auto v = toCppList(m, n);
      H::fanOut(ud, [&](Listener& l) { l.onMemberJoinChatroom(v); });
    };
    r.onMemberLeaveChatroom = [](const MorvantaMember* m, uint32_t n, void* ud) noexcept {
      auto v = toCppList(m, n);
      H::fanOut(ud, [&](Listener& l) { l.onMemberLeaveChatroom(v); });
    };
    r.onMemberScreenShareStateChanged = [](const MorvantaMember* m, bool sharing, const MorvantaMember* by,
                                           void* ud) noexcept {
      Member v = toCppMember(m);
      auto o = toCppOpt(by);
      H::fanOut(ud, [&](Listener& l) { l.onMemberScreenShareStateChanged(v, sharing, o); });
    };
    r.onReceiveChatroomMessages = [](const MorvantaChatMessage* m, uint32_t n, void* ud) noexcept {
      auto v = toCppList(m, n);
      H::fanOut(ud, [&](Listener& l) { l.onReceiveChatroomMessages(v); });
    };
    r.onMemberChatBanStateChanged = [](const MorvantaMember* m, bool banned, int32_t duration, const char* ext,
                                       const MorvantaMember* by, void* ud) noexcept {
      Member v = toCppMember(m);
      std::string e = str(ext);
      auto o = toCppOpt(by);
      H::fanOut(ud, [&](Listener& l) { l.onMemberChatBanStateChanged(v, banned, duration, e, o); });
    };
    r.user_data = hub;
    return r;
  }
};

// The channels whose events carry one record, an array, or a record list:
// a trampoline per shape.
template <class Ch, class C, void (Ch::Listener::*Method)(const decltype(toCpp(std::declval<const C&>()))&)>
void recordEvent(const C* record, void* ud) noexcept {
  if (!record) return;
  auto v = toCpp(*record);
  Hub<Ch>::fanOut(ud, [&](typename Ch::Listener& l) { (l.*Method)(v); });
}
template <class Ch, class C,
          void (Ch::Listener::*Method)(const std::vector<decltype(toCpp(std::declval<const C&>()))>&)>
void listEvent(const C* items, uint32_t count, void* ud) noexcept {
  auto v = toCppList(items, count);
  Hub<Ch>::fanOut(ud, [&](typename Ch::Listener& l) { (l.*Method)(v); });
}

struct RtcStatsChannel {
  using Listener = RtcStatsListener;
  using Record = MorvantaRtcStatsListener;
  using Handle = MorvantaMeetingManager_T;
  static int add(Handle* h, const Record* r) { return Morvanta_Meeting_AddRtcStatsListener(h, r); }
  static int remove(Handle* h, const Record* r) { return Morvanta_Meeting_RemoveRtcStatsListener(h, r); }
  static Record record(void* hub) {
    using C = RtcStatsChannel;
    Record r{};
    r.onRtcStats = &recordEvent<C, MorvantaRtcStats, &Listener::onRtcStats>;
    r.onLocalAudioStats = &recordEvent<C, MorvantaLocalAudioStats, &Listener::onLocalAudioStats>;
    r.onRemoteAudioStats = &listEvent<C, MorvantaRemoteAudioStats, &Listener::onRemoteAudioStats>;
    r.onLocalVideoStats = &recordEvent<C, MorvantaLocalVideoStats, &Listener::onLocalVideoStats>;
    r.onRemoteVideoStats = &listEvent<C, MorvantaRemoteVideoStats, &Listener::onRemoteVideoStats>;
    r.onNetworkQuality = &listEvent<C, MorvantaNetworkQualityInfo, &Listener::onNetworkQuality>;
    r.user_data = hub;
    return r;
  }
};

struct MessageChannel {
  using Listener = MessageChannelListener;
  using Record = MorvantaMessageChannelListener;
  using Handle = MorvantaMeetingManager_T;
  static int add(Handle* h, const Record* r) { return Morvanta_Meeting_AddMessageChannelListener(h, r); }
  static int remove(Handle* h, const Record* r) { return Morvanta_Meeting_RemoveMessageChannelListener(h, r); }
  static Record record(void* hub) {
    using C = MessageChannel;
    Record r{};
    r.onCustomMessageReceived = &recordEvent<C, MorvantaCustomMessage, &Listener::onCustomMessageReceived>;
    r.onSessionMessageReceived = &recordEvent<C, MorvantaSessionMessage, &Listener::onSessionMessageReceived>;
    r.onSessionMessageRecentChanged =
        &listEvent<C, MorvantaSessionRecentInfo, &Listener::onSessionMessageRecentChanged>;
    r.onSessionMessageDeleted = &recordEvent<C, MorvantaSessionMessage, &Listener::onSessionMessageDeleted>;
    r.onDeleteAllSessionMessage = [](const char* id, int32_t type, void* ud) noexcept {
      std::string v = str(id);
      Hub<C>::fanOut(ud, [&](Listener& l) { l.onDeleteAllSessionMessage(v, type); });
    };
    r.user_data = hub;
    return r;
  }
};

struct WaitingRoomChannel {
  using Listener = WaitingRoomListener;
  using Record = MorvantaWaitingRoomListener;
  using Handle = MorvantaWaitingRoomManager_T;
  static int add(Handle* h, const Record* r) { return Morvanta_WaitingRoom_AddListener(h, r); }
  static int remove(Handle* h, const Record* r) { return Morvanta_WaitingRoom_RemoveListener(h, r); }
  static Record record(void* hub) {
    using H = Hub<WaitingRoomChannel>;
    Record r{};
    r.onMemberJoin = [](const MorvantaWaitingRoomMember* m, int32_t reason, void* ud) noexcept {
      WaitingRoomMember v = m ? toCpp(*m) : WaitingRoomMember{};
      H::fanOut(ud, [&](Listener& l) { l.onMemberJoin(v, reason); });
    };
    r.onMemberLeave = [](const char* uuid, int32_t reason, void* ud) noexcept {
      std::string v = str(uuid);
      H::fanOut(ud, [&](Listener& l) { l.onMemberLeave(v, reason); });
    };
    r.onMemberAdmitted = [](const char* uuid, void* ud) noexcept {
      std::string v = str(uuid);
      H::fanOut(ud, [&](Listener& l) { l.onMemberAdmitted(v); });
    };
    r.onMyStatusChanged = [](int32_t status, int32_t reason, void* ud) noexcept {
      H::fanOut(ud, [&](Listener& l) { l.onMyStatusChanged(status, reason); });
    };
    r.onMemberNameChanged = [](const char* uuid, const char* name, const MorvantaMember* by, void* ud) noexcept {
      std::string u = str(uuid), n = str(name);
      auto o = toCppOpt(by);
      H::fanOut(ud, [&](Listener& l) { l.onMemberNameChanged(u, n, o); });
    };
    r.onInfoUpdated = &recordEvent<WaitingRoomChannel, MorvantaWaitingRoomInfo, &Listener::onInfoUpdated>;
    r.onAllMembersKicked = [](void* ud) noexcept { H::fanOut(ud, [&](Listener& l) { l.onAllMembersKicked(); }); };
    r.onManagersUpdated = [](const MorvantaMember* m, uint32_t n, void* ud) noexcept {
      auto v = toCppList(m, n);
      H::fanOut(ud, [&](Listener& l) { l.onManagersUpdated(v); });
    };
    r.user_data = hub;
    return r;
  }
};

// A C handle and the listener channels on it: the channels' C records go
// before the handle is destroyed.
template <class H, void (*Destroy)(H*), class... Channels>
class Owner {
 public:
  explicit Owner(H* handle) : handle_(handle), hubs_(std::make_shared<Hub<Channels>>(handle)...) {}
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  ~Owner() {
    std::apply([](auto&... hub) { (hub->close(), ...); }, hubs_);
    Destroy(handle_);
  }
  H* handle() const noexcept { return handle_; }
  template <class Ch>
  Subscription subscribe(typename Ch::Listener& listener) const {
    return std::get<std::shared_ptr<Hub<Ch>>>(hubs_)->add(listener);
  }

 private:
  H* handle_;
  std::tuple<std::shared_ptr<Hub<Channels>>...> hubs_;
};

// What every manager shares: its Owner, created with it, moved with it.
template <class H, void (*Destroy)(H*), class... Channels>
class ManagerBase {
 public:
  using Handle = H;
  ManagerBase() = default;
  explicit ManagerBase(H* handle) : owner_(std::make_unique<Owner<H, Destroy, Channels...>>(handle)) {}
  /* The C handle (null for a manager that could not be made, or moved
   * from); owned by this object: do not destroy it. */
  H* handle() const noexcept { return owner_ ? owner_->handle() : nullptr; }
  /* False when the C interface gave no handle (not initialised). */
  bool valid() const noexcept { return handle() != nullptr; }
  explicit operator bool() const noexcept { return valid(); }

 protected:
  template <class Ch>
  Subscription subscribe(typename Ch::Listener& listener) const {
    return owner_ ? owner_->template subscribe<Ch>(listener) : Subscription(-1);
  }

 private:
  std::unique_ptr<Owner<H, Destroy, Channels...>> owner_;
};

// The process-wide log handler: never freed, since a line being logged on
// another thread may still reach it after a switch.
struct LogSlot {
  std::mutex mutex;
  std::shared_ptr<LogHandler> handler;
};
inline LogSlot& logSlot() {
  static LogSlot* slot = new LogSlot;
  return *slot;
}
inline void logLine(int32_t level, const char* line, void*) noexcept {
  std::shared_ptr<LogHandler> handler;
  {
    std::lock_guard<std::mutex> lock(logSlot().mutex);
    handler = logSlot().handler;
  }
  if (handler && *handler) (*handler)(static_cast<LogLevel>(level), std::string_view(line ? line : ""));
}

}  // namespace detail

/* ======================================================================
 * Managers: every operation, one row each
 *
 * A row OP(name, C function, (parameters), (arguments)) declares
 *     template <class F> void name(parameters..., F&& done) const;
 *     std::future<Result<T>> name(parameters...) const;
 * with T the payload of the C function's callback family: void (plain),
 * std::string (string), uint32_t (integer), the record, or a std::vector of
 * records. OP0 rows take no parameters. The C function's documentation in
 * morvanta.h holds for its row.
 * ====================================================================== */

#define MORVANTA_CPP_LIST(...) __VA_ARGS__

#define MORVANTA_CPP_OP(name, cfn, params, args)                                                      \
  template <class F, class = ::morvanta::detail::IfCompletion<F, ::morvanta::detail::ValueOf<decltype(&cfn)>>> \
  void name(MORVANTA_CPP_LIST params, F&& done) const {                                               \
    ::morvanta::detail::start(&cfn, #cfn, handle(), std::forward<F>(done), MORVANTA_CPP_LIST args);    \
  }                                                                                                   \
  MORVANTA_CPP_IF_FUTURES(auto name params const {                                                    \
    return ::morvanta::detail::ask(&cfn, #cfn, handle(), MORVANTA_CPP_LIST args);                     \
  })

#define MORVANTA_CPP_OP0(name, cfn)                                                                   \
  template <class F, class = ::morvanta::detail::IfCompletion<F, ::morvanta::detail::ValueOf<decltype(&cfn)>>> \
  void name(F&& done) const {                                                                         \
    ::morvanta::detail::start(&cfn, #cfn, handle(), std::forward<F>(done));                            \
  }                                                                                                   \
  MORVANTA_CPP_IF_FUTURES(auto name() const { return ::morvanta::detail::ask(&cfn, #cfn, handle()); })

#define MORVANTA_CPP_ACCOUNT_OPERATIONS(OP, OP0)                                                            \
  OP(loginByPassword, Morvanta_Account_LoginByPassword, (const LoginByPasswordOptions& options), (options))  \
  OP(loginBySmsCode, Morvanta_Account_LoginBySmsCode, (const LoginBySmsCodeOptions& options), (options))     \
  OP(loginByToken, Morvanta_Account_LoginByToken, (const LoginByTokenOptions& options), (options))           \
  OP0(getAccountInfo, Morvanta_Account_GetAccountInfo)                                                      \
  OP0(logout, Morvanta_Account_Logout)                                                                      \
  OP(resetPassword, Morvanta_Account_ResetPassword, (const ResetPasswordOptions& options), (options))        \
  OP(updateNickname, Morvanta_Account_UpdateNickname, (const std::string& nickname), (nickname))

#define MORVANTA_CPP_AUDIO_OPERATIONS(OP, OP0)                                                                     \
  OP0(getSpeakerDeviceList, Morvanta_Audio_GetSpeakerDeviceList)                                                 \
  OP0(getSpeakerDeviceId, Morvanta_Audio_GetSpeakerDeviceId)                                                     \
  OP(setSpeakerDevice, Morvanta_Audio_SetSpeakerDevice, (const std::string& deviceId), (deviceId))                \
  OP(setSpeakerDevicePreview, Morvanta_Audio_SetSpeakerDevicePreview, (const std::string& deviceId), (deviceId))  \
  OP0(getSpeakerVolume, Morvanta_Audio_GetSpeakerVolume)                                                         \
  OP(setSpeakerVolume, Morvanta_Audio_SetSpeakerVolume, (uint32_t volume), (volume))                              \
  OP0(getMicrophoneDeviceList, Morvanta_Audio_GetMicrophoneDeviceList)                                           \
  OP0(getMicrophoneDeviceId, Morvanta_Audio_GetMicrophoneDeviceId)                                               \
  OP(setMicrophoneDevice, Morvanta_Audio_SetMicrophoneDevice, (const std::string& deviceId), (deviceId))          \
  OP(setMicrophoneDevicePreview, Morvanta_Audio_SetMicrophoneDevicePreview, (const std::string& deviceId),        \
     (deviceId))                                                                                                 \
  OP0(getMicrophoneVolume, Morvanta_Audio_GetMicrophoneVolume)                                                   \
  OP0(getMicrophoneVolumePreview, Morvanta_Audio_GetMicrophoneVolumePreview)                                     \
  OP(setMicrophoneVolume, Morvanta_Audio_SetMicrophoneVolume, (uint32_t volume), (volume))                        \
  OP0(muteMyAudio, Morvanta_Audio_MuteMyAudio)                                                                   \
  OP0(unmuteMyAudio, Morvanta_Audio_UnmuteMyAudio)                                                               \
  OP0(startMicrophoneDeviceTest, Morvanta_Audio_StartMicrophoneDeviceTest)                                       \
  OP0(stopMicrophoneDeviceTest, Morvanta_Audio_StopMicrophoneDeviceTest)                                         \
  OP(startSpeakerDeviceTest, Morvanta_Audio_StartSpeakerDeviceTest, (const std::string& audioResource),           \
     (audioResource))                                                                                            \
  OP0(stopSpeakerDeviceTest, Morvanta_Audio_StopSpeakerDeviceTest)                                               \
  OP0(enableAudioEffect, Morvanta_Audio_EnableAudioEffect)                                                       \
  OP(setAudioEffect, Morvanta_Audio_SetAudioEffect, (int type, int value), (type, value))                         \
  OP0(enableAIDenoise, Morvanta_Audio_EnableAIDenoise)                                                           \
  OP0(disableAIDenoise, Morvanta_Audio_DisableAIDenoise)

#define MORVANTA_CPP_VIDEO_OPERATIONS(OP, OP0)                                                                     \
  OP0(getCameraDeviceList, Morvanta_Video_GetCameraDeviceList)                                                   \
  OP0(getCameraDeviceId, Morvanta_Video_GetCameraDeviceId)                                                       \
  OP(setCameraDevice, Morvanta_Video_SetCameraDevice, (const std::string& deviceId), (deviceId))                  \
  OP(setCameraDevicePreview, Morvanta_Video_SetCameraDevicePreview, (const std::string& deviceId), (deviceId))    \
  OP(setupLocalVideoCanvas, Morvanta_Video_SetupLocalVideoCanvas, (void* view), (view))                           \
  OP(setupVideoPreviewCanvas, Morvanta_Video_SetupVideoPreviewCanvas, (void* view), (view))                       \
  OP(setupRemoteVideoCanvas, Morvanta_Video_SetupRemoteVideoCanvas, (const std::string& userUuid, void* view),    \
     (userUuid, view))                                                                                           \
  OP(setupRemoteVideoSubStreamCanvas, Morvanta_Video_SetupRemoteVideoSubStreamCanvas,                             \
     (const std::string& userUuid, void* view), (userUuid, view))                                                \
  OP0(startVideoPreview, Morvanta_Video_StartVideoPreview)                                                       \
  OP0(stopVideoPreview, Morvanta_Video_StopVideoPreview)                                                         \
  OP0(muteMyVideo, Morvanta_Video_MuteMyVideo)                                                                   \
  OP0(unmuteMyVideo, Morvanta_Video_UnmuteMyVideo)                                                               \
  OP(subscribeRemoteVideoStream, Morvanta_Video_SubscribeRemoteVideoStream,                                       \
     (const std::string& userUuid, int streamType), (userUuid, streamType))                                      \
  OP(unsubscribeRemoteVideoStream, Morvanta_Video_UnsubscribeRemoteVideoStream,                                   \
     (const std::string& userUuid, int streamType), (userUuid, streamType))                                      \
  OP(subscribeRemoteVideoSubStream, Morvanta_Video_SubscribeRemoteVideoSubStream, (const std::string& userUuid),  \
     (userUuid))                                                                                                 \
  OP(unsubscribeRemoteVideoSubStream, Morvanta_Video_UnsubscribeRemoteVideoSubStream,                             \
     (const std::string& userUuid), (userUuid))                                                                  \
  OP0(removeLocalVideoCanvas, Morvanta_Video_RemoveLocalVideoCanvas)

#define MORVANTA_CPP_MEMBER_OPERATIONS(OP, OP0)                                                                 \
  OP(muteMemberAudio, Morvanta_Member_MuteMemberAudio, (const std::string& userUuid), (userUuid))              \
  OP(unmuteMemberAudio, Morvanta_Member_UnmuteMemberAudio, (const std::string& userUuid), (userUuid))          \
  OP(muteMemberVideo, Morvanta_Member_MuteMemberVideo, (const std::string& userUuid), (userUuid))              \
  OP(unmuteMemberVideo, Morvanta_Member_UnmuteMemberVideo, (const std::string& userUuid), (userUuid))          \
  OP(muteVideoAndAudio, Morvanta_Member_MuteVideoAndAudio, (const std::string& userUuid), (userUuid))          \
  OP(unmuteVideoAndAudio, Morvanta_Member_UnmuteVideoAndAudio, (const std::string& userUuid), (userUuid))      \
  OP(stopMemberScreenShare, Morvanta_Member_StopMemberScreenShare, (const std::string& userUuid), (userUuid))  \
  OP0(muteAllAudio, Morvanta_Member_MuteAllAudio)                                                             \
  OP0(unmuteAllAudio, Morvanta_Member_UnmuteAllAudio)                                                         \
  OP0(muteAllVideo, Morvanta_Member_MuteAllVideo)                                                             \
  OP0(unmuteAllVideo, Morvanta_Member_UnmuteAllVideo)                                                         \
  OP0(handsUp, Morvanta_Member_HandsUp)                                                                       \
  OP(handsDown, Morvanta_Member_HandsDown, (const std::optional<std::string>& userUuid), (userUuid))           \
  OP0(handsDownAll, Morvanta_Member_HandsDownAll)

#define MORVANTA_CPP_CHATROOM_OPERATIONS(OP, OP0)                                                                 \
  OP(sendTextMessage, Morvanta_Chatroom_SendTextMessage, (const ChatroomTextMessageOptions& options), (options))  \
  OP(sendFileMessage, Morvanta_Chatroom_SendFileMessage, (const ChatroomSendFileMessageOptions& options),         \
     (options))                                                                                                  \
  OP(recallMessage, Morvanta_Chatroom_RecallMessage, (const ChatMessage& message), (message))                     \
  OP(cancelSendFileMessage, Morvanta_Chatroom_CancelSendFileMessage, (const ChatMessage& message), (message))     \
  OP(downloadAttachment, Morvanta_Chatroom_DownloadAttachment,                                                    \
     (const ChatMessage& message, const std::string& savePath), (message, savePath))                             \
  OP(cancelDownloadAttachment, Morvanta_Chatroom_CancelDownloadAttachment, (const ChatMessage& message),          \
     (message))

#define MORVANTA_CPP_SECURITY_OPERATIONS(OP, OP0)                                                \
  OP(changeChatroomPermission, Morvanta_Security_ChangeChatroomPermission,                       \
     (const std::optional<std::string>& crPerm, const std::optional<std::string>& wtPrChat),     \
     (crPerm, wtPrChat))                                                                        \
  OP0(getChatroomPermission, Morvanta_Security_GetChatroomPermission)

#define MORVANTA_CPP_SCREEN_SHARE_OPERATIONS(OP, OP0)                                                           \
  OP0(getScreenCaptureSourceList, Morvanta_ScreenShare_GetScreenCaptureSourceList)                            \
  OP(startScreenShare, Morvanta_ScreenShare_StartScreenShare, (const ScreenShareConfig& config), (config))     \
  OP(stopScreenShare, Morvanta_ScreenShare_StopScreenShare, (const std::optional<StopScreenShareConfig>& config), \
     (config))                                                                                                 \
  OP(startShareSystemAudio, Morvanta_ScreenShare_StartShareSystemAudio, (bool needAudio), (needAudio))         \
  OP0(installAudioCaptureDriver, Morvanta_ScreenShare_InstallAudioCaptureDriver)                              \
  OP0(getScreenShareMessage, Morvanta_ScreenShare_GetScreenShareMessage)

#define MORVANTA_CPP_PRE_MEETING_OPERATIONS(OP, OP0)                                                                \
  OP(scheduleMeeting, Morvanta_PreMeeting_ScheduleMeeting, (const PreMeetingCreateOptions& options), (options))    \
  OP(editMeeting, Morvanta_PreMeeting_EditMeeting, (int64_t meetingId, const PreMeetingEditOptions& options),      \
     (meetingId, options))                                                                                         \
  OP(cancelMeeting, Morvanta_PreMeeting_CancelMeeting, (int64_t meetingId, std::optional<bool> cancelRecurring),   \
     (meetingId, cancelRecurring))                                                                                 \
  OP(getMeetingListBySize, Morvanta_PreMeeting_GetMeetingListBySize,                                                \
     (const std::optional<MeetingListParams>& params), (params))                                                   \
  OP(getMeetingInfoByMeetingNum, Morvanta_PreMeeting_GetMeetingInfoByMeetingNum, (const std::string& meetingNum),  \
     (meetingNum))                                                                                                 \
  OP(getScheduledMembers, Morvanta_PreMeeting_GetScheduledMembers, (const std::string& meetingNum), (meetingNum))

#define MORVANTA_CPP_INVITE_OPERATIONS(OP, OP0)                                                           \
  OP(getAccountInfoList, Morvanta_Invite_GetAccountInfoList, (const std::vector<std::string>& userUuids), \
     (userUuids))                                                                                        \
  OP(searchAccountByPhone, Morvanta_Invite_SearchAccountByPhone, (const std::string& phone), (phone))

#define MORVANTA_CPP_MEETING_OPERATIONS(OP, OP0)                                                              \
  OP(createMeeting, Morvanta_Meeting_CreateMeeting, (const MeetingCreateOptions& options), (options))        \
  OP(joinMeeting, Morvanta_Meeting_JoinMeeting, (const MeetingJoinOptions& options), (options))              \
  OP0(rejoinAfterAdmittedToRoom, Morvanta_Meeting_RejoinAfterAdmittedToRoom)                                \
  OP(leaveMeeting, Morvanta_Meeting_LeaveMeeting, (bool flag), (flag))                                       \
  OP0(endMeeting, Morvanta_Meeting_EndMeeting)

#define MORVANTA_CPP_WAITING_ROOM_OPERATIONS(OP, OP0)                                                          \
  OP(admitMember, Morvanta_WaitingRoom_AdmitMember, (const std::string& userUuid, bool flag), (userUuid, flag)) \
  OP0(admitAll, Morvanta_WaitingRoom_AdmitAll)                                                                \
  OP(expelMember, Morvanta_WaitingRoom_ExpelMember, (const std::string& userUuid, bool flag), (userUuid, flag)) \
  OP(expelAll, Morvanta_WaitingRoom_ExpelAll, (bool flag), (flag))                                             \
  OP(putInWaitingRoom, Morvanta_WaitingRoom_PutInWaitingRoom, (const std::string& userUuid), (userUuid))        \
  OP(getMemberList, Morvanta_WaitingRoom_GetMemberList, (int64_t fromJoinTime, int32_t count, int32_t flag),    \
     (fromJoinTime, count, flag))

class AccountManager : public detail::ManagerBase<MorvantaAccountManager_T, &Morvanta_DestroyAccountManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_ACCOUNT_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class AudioManager : public detail::ManagerBase<MorvantaAudioManager_T, &Morvanta_DestroyAudioManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_AUDIO_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class VideoManager : public detail::ManagerBase<MorvantaVideoManager_T, &Morvanta_DestroyVideoManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_VIDEO_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)

  /* Sent and forgotten: the result is the C function's return (0 also when
   * the library is not running). */
  template <class F, class = detail::IfCompletion<F, void>>
  void setVideoProfile(int resolution, int frameRate, F&& done) const {
    done(setVideoProfileNow(resolution, frameRate));
  }
  MORVANTA_CPP_IF_FUTURES(std::future<Result<void>> setVideoProfile(int resolution, int frameRate) const {
    return detail::ready(setVideoProfileNow(resolution, frameRate));
  })

 private:
  Result<void> setVideoProfileNow(int resolution, int frameRate) const {
    return detail::now(&Morvanta_Video_SetVideoProfile, "Morvanta_Video_SetVideoProfile", handle(), resolution,
                       frameRate);
  }
};

class MemberManager : public detail::ManagerBase<MorvantaMemberManager_T, &Morvanta_DestroyMemberManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_MEMBER_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)

  /* The members, synchronously (blocks up to 5 s; never from a callback or
   * listener). As in C, a failure or a time-out looks like an empty
   * meeting: code 0 and an empty list. */
  template <class F, class = detail::IfCompletion<F, std::vector<Member>>>
  void getMemberList(F&& done) const {
    done(getMemberListNow());
  }
  MORVANTA_CPP_IF_FUTURES(std::future<Result<std::vector<Member>>> getMemberList() const {
    return detail::ready(getMemberListNow());
  })

 private:
  Result<std::vector<Member>> getMemberListNow() const {
    MorvantaMember* list = nullptr;
    uint32_t count = 0;
    int rc = Morvanta_Member_GetMemberList(handle(), &list, &count);
    Result<std::vector<Member>> r{rc, rc == 0 ? std::string() : detail::refusal("Morvanta_Member_GetMemberList", rc),
                                  std::nullopt};
    if (rc == 0) r.value = detail::toCppList(list, count);
    Morvanta_FreeMemberList(list, count);
    return r;
  }
};

class ChatroomManager
    : public detail::ManagerBase<MorvantaChatroomManager_T, &Morvanta_DestroyChatroomManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_CHATROOM_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class SecurityManager
    : public detail::ManagerBase<MorvantaSecurityManager_T, &Morvanta_DestroySecurityManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_SECURITY_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class ScreenShareManager
    : public detail::ManagerBase<MorvantaScreenShareManager_T, &Morvanta_DestroyScreenShareManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_SCREEN_SHARE_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class PreMeetingManager
    : public detail::ManagerBase<MorvantaPreMeetingManager_T, &Morvanta_DestroyPreMeetingManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_PRE_MEETING_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class InviteManager : public detail::ManagerBase<MorvantaInviteManager_T, &Morvanta_DestroyInviteManagerHandle> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_INVITE_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)
};

class MeetingManager
    : public detail::ManagerBase<MorvantaMeetingManager_T, &Morvanta_DestroyMeetingManagerHandle,
                                 detail::MeetingChannel, detail::RtcStatsChannel, detail::MessageChannel> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_MEETING_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)

  /* The current meeting, synchronously (blocks up to 10 s; never from a
   * callback or listener). -999 and no value when not in a meeting. */
  template <class F, class = detail::IfCompletion<F, MeetingSDKInfo>>
  void getMeetingInfo(F&& done) const {
    done(getMeetingInfoNow());
  }
  MORVANTA_CPP_IF_FUTURES(std::future<Result<MeetingSDKInfo>> getMeetingInfo() const {
    return detail::ready(getMeetingInfoNow());
  })

  /* Asks the service to release the meeting; answers on return. */
  template <class F, class = detail::IfCompletion<F, void>>
  void releaseMeeting(F&& done) const {
    done(releaseMeetingNow());
  }
  MORVANTA_CPP_IF_FUTURES(std::future<Result<void>> releaseMeeting() const {
    return detail::ready(releaseMeetingNow());
  })

  /* Listeners; the subscription keeps the listener added. */
  Subscription addMeetingListener(MeetingListener& listener) const { return subscribe<detail::MeetingChannel>(listener); }
  Subscription addRtcStatsListener(RtcStatsListener& listener) const {
    return subscribe<detail::RtcStatsChannel>(listener);
  }
  Subscription addMessageChannelListener(MessageChannelListener& listener) const {
    return subscribe<detail::MessageChannel>(listener);
  }

 private:
  Result<MeetingSDKInfo> getMeetingInfoNow() const {
    MorvantaMeetingSDKInfo* info = nullptr;
    int rc = Morvanta_Meeting_GetMeetingInfo(handle(), &info);
    Result<MeetingSDKInfo> r{rc, rc == 0 ? std::string() : detail::refusal("Morvanta_Meeting_GetMeetingInfo", rc),
                             rc == 0 ? detail::toCppOpt(info) : std::nullopt};
    Morvanta_FreeMeetingInfo(info);
    return r;
  }
  Result<void> releaseMeetingNow() const {
    return detail::now(&Morvanta_Meeting_ReleaseMeeting, "Morvanta_Meeting_ReleaseMeeting", handle());
  }
};

class WaitingRoomManager
    : public detail::ManagerBase<MorvantaWaitingRoomManager_T, &Morvanta_DestroyWaitingRoomManagerHandle,
                                 detail::WaitingRoomChannel> {
 public:
  using ManagerBase::ManagerBase;
  MORVANTA_CPP_WAITING_ROOM_OPERATIONS(MORVANTA_CPP_OP, MORVANTA_CPP_OP0)

  /* The waiting room, synchronously (blocks up to about 5 s; never from a
   * callback or listener). As in C, a failure reads as 0 members, false and
   * "" with code 0. */
  template <class F, class = detail::IfCompletion<F, WaitingRoomInfo>>
  void getInfo(F&& done) const {
    done(getInfoNow());
  }
  MORVANTA_CPP_IF_FUTURES(std::future<Result<WaitingRoomInfo>> getInfo() const {
    return detail::ready(getInfoNow());
  })

  Subscription addListener(WaitingRoomListener& listener) const {
    return subscribe<detail::WaitingRoomChannel>(listener);
  }

 private:
  Result<WaitingRoomInfo> getInfoNow() const {
    MorvantaWaitingRoomInfo info{};
    int rc = Morvanta_WaitingRoom_GetInfo(handle(), &info);
    Result<WaitingRoomInfo> r{rc, rc == 0 ? std::string() : detail::refusal("Morvanta_WaitingRoom_GetInfo", rc),
                              std::nullopt};
    if (rc == 0) r.value = detail::toCpp(info);
    return r;
  }
};

/* ======================================================================
 * Session
 * ====================================================================== */

/* The manager kinds: class, session getter, C getter. */
#define MORVANTA_CPP_MANAGER_KINDS(K)                                   \
  K(AccountManager, account, Morvanta_GetAccountManager)                \
  K(AudioManager, audio, Morvanta_GetAudioManager)                      \
  K(ChatroomManager, chatroom, Morvanta_GetChatroomManager)             \
  K(InviteManager, invite, Morvanta_GetInviteManager)                   \
  K(MeetingManager, meeting, Morvanta_GetMeetingManager)                \
  K(MemberManager, member, Morvanta_GetMemberManager)                   \
  K(PreMeetingManager, preMeeting, Morvanta_GetPreMeetingManager)       \
  K(ScreenShareManager, screenShare, Morvanta_GetScreenShareManager)    \
  K(SecurityManager, security, Morvanta_GetSecurityManager)             \
  K(VideoManager, video, Morvanta_GetVideoManager)                      \
  K(WaitingRoomManager, waitingRoom, Morvanta_GetWaitingRoomManager)

/* The initialised library. At most one session at a time can be live (the
 * library is initialised once per process at a time). */
class Session {
 public:
  /* Applies the options' process-wide choices (bridge mode, dispatch mode,
   * log level and handler), then initialises. On failure: the code of the
   * refused choice, or of Morvanta_Initialize (-3 also when the library is
   * already initialised: this session would not own it). */
  static Result<Session> create(const SessionOptions& options) {
    Result<Session> r;
    if (options.bridgeMode) {
      int rc = setBridgeMode(*options.bridgeMode);
      if (rc != 0) return detail::failure<Session>(rc, detail::refusal("Morvanta_SetBridgeMode", rc));
    }
    if (options.dispatchMode) {
      int rc = setDispatchMode(*options.dispatchMode);
      if (rc != 0) return detail::failure<Session>(rc, detail::refusal("Morvanta_SetDispatchMode", rc));
    }
    if (options.logLevel) setLogLevel(*options.logLevel);
    if (options.logHandler) setLogHandler(*options.logHandler);
    MorvantaInitConfig config{};
    config.app_key = options.appKey.c_str();
    config.log_path = options.logPath.c_str();
    config.server_url = detail::cstr(options.serverUrl);
    config.locale = detail::cstr(options.locale);
    config.use_asset_server_config = detail::triC<int32_t>(options.useAssetServerConfig);
    config.debug = detail::triC<int32_t>(options.debug);
    MorvantaSDK_T* sdk = nullptr;
    int rc = Morvanta_Initialize(&config, &sdk);
    if (rc != 0) return detail::failure<Session>(rc, detail::refusal("Morvanta_Initialize", rc));
    r.value = Session(sdk);
    return r;
  }

  Session() = default;
  Session(Session&&) noexcept = default;
  Session& operator=(Session&& o) noexcept {
    if (this != &o) {
      state_.reset();
      state_ = std::move(o.state_);
    }
    return *this;
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() = default;

  /* Uninitialises now (what destruction does). Answers
   * Morvanta_Uninitialize's code; -2 for a session that is not live. */
  int close() noexcept {
    if (!state_) return -2;
    int rc = state_->end();
    state_.reset();
    return rc;
  }
  bool valid() const noexcept { return state_ != nullptr; }
  explicit operator bool() const noexcept { return valid(); }
  /* The C SDK handle (owned by the library). */
  MorvantaSDK_T* handle() const noexcept { return state_ ? state_->sdk : nullptr; }

  /* Managers: each call makes a new one with its own C handle; a session
   * that is not live gives managers without a handle, whose operations are
   * refused with -1. */
#define MORVANTA_CPP_MANAGER_GETTER(Class, getter, cfn) \
  Class getter() const { return Class(handle() ? cfn(handle()) : nullptr); }
  MORVANTA_CPP_MANAGER_KINDS(MORVANTA_CPP_MANAGER_GETTER)
#undef MORVANTA_CPP_MANAGER_GETTER

  /* The RTC engine events of the service; several listeners may be added. */
  Subscription addGlobalEventListener(GlobalEventListener& listener) const {
    return state_ ? state_->global->add(listener) : Subscription(-2);
  }

  /* Process-wide settings and state; callable at any time (the modes take
   * effect at the next initialisation). */
  static std::string version() { return detail::str(Morvanta_GetVersion()); }
  static bool isInitialized() { return Morvanta_IsInitialized() != 0; }
  static int setBridgeMode(BridgeMode mode) { return Morvanta_SetBridgeMode(static_cast<int32_t>(mode)); }
  static BridgeMode bridgeMode() { return static_cast<BridgeMode>(Morvanta_GetBridgeMode()); }
  static void setLogLevel(LogLevel level) { Morvanta_SetLogLevel(static_cast<int32_t>(level)); }
  /* Takes every log line over; an empty handler gives the lines back to
   * standard output and error. The handler runs on whichever thread logs
   * and must not call the library. */
  static void setLogHandler(LogHandler handler) {
    detail::LogSlot& slot = detail::logSlot();
    if (!handler) {
      Morvanta_SetLogHandler(nullptr, nullptr);
      std::lock_guard<std::mutex> lock(slot.mutex);
      slot.handler.reset();
      return;
    }
    {
      std::lock_guard<std::mutex> lock(slot.mutex);
      slot.handler = std::make_shared<LogHandler>(std::move(handler));
    }
    Morvanta_SetLogHandler(&detail::logLine, nullptr);
  }

  static int setDispatchMode(DispatchMode mode) { return Morvanta_SetDispatchMode(static_cast<int32_t>(mode)); }
  static DispatchMode dispatchMode() { return static_cast<DispatchMode>(Morvanta_GetDispatchMode()); }
  /* Host dispatch: the descriptor to watch for reading (readable while
   * completions or listener calls wait; -1 in worker dispatch), and the
   * call that runs them on the calling thread, at most `maxItems` (0: all
   * those waiting). Answers how many ran; -1 in worker dispatch or from
   * inside a dispatched call. */
  static int dispatchFd() { return Morvanta_GetDispatchFd(); }
  static int dispatch(int maxItems = 0) { return Morvanta_Dispatch(maxItems); }

 private:
  struct State {
    explicit State(MorvantaSDK_T* s) : sdk(s), global(std::make_shared<detail::Hub<detail::GlobalChannel>>(s)) {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() {
      if (sdk) end();
    }
    int end() noexcept {
      global->close();
      sdk = nullptr;
      return Morvanta_Uninitialize();
    }
    MorvantaSDK_T* sdk;
    std::shared_ptr<detail::Hub<detail::GlobalChannel>> global;
  };
  explicit Session(MorvantaSDK_T* sdk) : state_(std::make_unique<State>(sdk)) {}
  std::unique_ptr<State> state_;
};

/* ======================================================================
 * The exports of the C interface that this header calls, by where it calls
 * them (hosts need not look: a test holds it to the library's symbol table).
 * ====================================================================== */

struct WrappedExport {
  const char* function;  // the C export
  const char* wrapper;   // what calls it
};

namespace detail {
#define MORVANTA_CPP_ROW(name, cfn, params, args) {#cfn, #name},
#define MORVANTA_CPP_ROW0(name, cfn) {#cfn, #name},
#define MORVANTA_CPP_KIND_ROW(Class, getter, cfn) {#cfn, #getter},
#define MORVANTA_CPP_FAMILY_ROW(Callback, C, Free) {#Free, "completion of " #Callback},
#define MORVANTA_CPP_LIST_ROW(Callback, C, N, Free) {#Free, "completion of " #Callback},
inline const WrappedExport kWrappedExports[] = {
    MORVANTA_CPP_ACCOUNT_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_AUDIO_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_VIDEO_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_MEMBER_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_CHATROOM_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_SECURITY_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_SCREEN_SHARE_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_PRE_MEETING_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_INVITE_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_MEETING_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_WAITING_ROOM_OPERATIONS(MORVANTA_CPP_ROW, MORVANTA_CPP_ROW0)
    MORVANTA_CPP_MANAGER_KINDS(MORVANTA_CPP_KIND_ROW)
    MORVANTA_CPP_RECORD_FAMILIES(MORVANTA_CPP_FAMILY_ROW)
    MORVANTA_CPP_LIST_FAMILIES(MORVANTA_CPP_LIST_ROW)
    {"Morvanta_FreeString", "completion of MorvantaStringCallback"},
    // Written out where they are called:
    {"Morvanta_Video_SetVideoProfile", "setVideoProfile"},
    {"Morvanta_Member_GetMemberList", "getMemberList"},
    {"Morvanta_FreeMemberList", "getMemberList"},
    {"Morvanta_Meeting_GetMeetingInfo", "getMeetingInfo"},
    {"Morvanta_FreeMeetingInfo", "getMeetingInfo"},
    {"Morvanta_Meeting_ReleaseMeeting", "releaseMeeting"},
    {"Morvanta_WaitingRoom_GetInfo", "getInfo"},
    {"Morvanta_DestroyAccountManagerHandle", "~AccountManager"},
    {"Morvanta_DestroyAudioManagerHandle", "~AudioManager"},
    {"Morvanta_DestroyChatroomManagerHandle", "~ChatroomManager"},
    {"Morvanta_DestroyInviteManagerHandle", "~InviteManager"},
    {"Morvanta_DestroyMeetingManagerHandle", "~MeetingManager"},
    {"Morvanta_DestroyMemberManagerHandle", "~MemberManager"},
    {"Morvanta_DestroyPreMeetingManagerHandle", "~PreMeetingManager"},
    {"Morvanta_DestroyScreenShareManagerHandle", "~ScreenShareManager"},
    {"Morvanta_DestroySecurityManagerHandle", "~SecurityManager"},
    {"Morvanta_DestroyVideoManagerHandle", "~VideoManager"},
    {"Morvanta_DestroyWaitingRoomManagerHandle", "~WaitingRoomManager"},
    {"Morvanta_Meeting_AddMeetingListener", "addMeetingListener"},
    {"Morvanta_Meeting_RemoveMeetingListener", "~Subscription"},
    {"Morvanta_Meeting_AddRtcStatsListener", "addRtcStatsListener"},
    {"Morvanta_Meeting_RemoveRtcStatsListener", "~Subscription"},
    {"Morvanta_Meeting_AddMessageChannelListener", "addMessageChannelListener"},
    {"Morvanta_Meeting_RemoveMessageChannelListener", "~Subscription"},
    {"Morvanta_WaitingRoom_AddListener", "addListener"},
    {"Morvanta_WaitingRoom_RemoveListener", "~Subscription"},
    {"Morvanta_AddGlobalEventListener", "addGlobalEventListener"},
    {"Morvanta_RemoveGlobalEventListener", "~Subscription"},
    {"Morvanta_Initialize", "Session::create"},
    {"Morvanta_Uninitialize", "~Session"},
    {"Morvanta_IsInitialized", "Session::isInitialized"},
    {"Morvanta_GetVersion", "Session::version"},
    {"Morvanta_SetBridgeMode", "Session::setBridgeMode"},
    {"Morvanta_GetBridgeMode", "Session::bridgeMode"},
    {"Morvanta_SetLogLevel", "Session::setLogLevel"},
    {"Morvanta_SetLogHandler", "Session::setLogHandler"},
    {"Morvanta_SetDispatchMode", "Session::setDispatchMode"},
    {"Morvanta_GetDispatchMode", "Session::dispatchMode"},
    {"Morvanta_GetDispatchFd", "Session::dispatchFd"},
    {"Morvanta_Dispatch", "Session::dispatch"},
};
#undef MORVANTA_CPP_ROW
#undef MORVANTA_CPP_ROW0
#undef MORVANTA_CPP_KIND_ROW
#undef MORVANTA_CPP_FAMILY_ROW
#undef MORVANTA_CPP_LIST_ROW

// Exports deliberately left out, with the reason.
inline const WrappedExport kUnwrappedExports[] = {
    {"Morvanta_DestroySDKHandle", "does nothing: the session's handle belongs to the library"},
};
}  // namespace detail

}  // inline namespace cxx
}  // namespace morvanta

#endif /* MORVANTA_HPP */
