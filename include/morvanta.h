/*
 * morvanta.h - the C interface of libmorvanta, a native door to a
 * video-meeting service. This header is the whole API: anything not declared
 * here is internal and may change.
 *
 * The library runs the service's JavaScript SDK (index.js, beside the host
 * executable) inside an embedded Node.js runtime on one worker thread of its
 * own. Every operation is handed to that worker; its outcome comes back
 * through a callback.
 *
 * Global rules
 * ------------
 * Return codes. Every function that returns an int returns 0 when the request
 * was accepted; the outcome then arrives through the callback. A non-zero
 * return means the callback will never be called:
 *     -1    a refused argument (NULL handle, NULL required argument, ...)
 *     -2    not initialized (Morvanta_Uninitialize)
 *     -3    already initialized, or an invalid configuration (Morvanta_Initialize)
 *     -999  the JavaScript runtime could not start, or an internal fault was caught
 * In a callback, 0 is success, -1 a failure made by the library, -9 an
 * allocation failure, and any other code is the service's own, passed on
 * unchanged.
 *
 * Threads. Callbacks run on the library's worker thread, after the
 * operation's JavaScript has finished; a few failures detected before any
 * work starts are reported at once on the calling thread. A callback may call
 * asynchronous functions of this library, but must not block waiting for
 * their outcome, and must not call the synchronous queries (they would time
 * out). Lifecycle functions must not run concurrently with any other call.
 *
 * Memory. Strings passed in are copied before the call returns. A payload
 * given to a callback (record, list, string) belongs to the callee: release
 * it with the matching Morvanta_Free* function, from any thread. The
 * `message` of a callback is valid only during the callback. Every
 * Morvanta_Free* and Morvanta_Destroy* function accepts NULL.
 *
 * Optional values. A NULL string means "not set"; a negative tri-state
 * integer means "not set", 0 false, a positive value true.
 *
 * Logging. The library writes diagnostic lines to standard output and
 * standard error; there is no log file.
 */
#ifndef MORVANTA_H
#define MORVANTA_H

#include <stdint.h>

#if defined(MORVANTA_BUILDING_LIBRARY)
#define MORVANTA_API __attribute__((visibility("default")))
#else
#define MORVANTA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================
 * Lifecycle
 * ====================================================================== */

/* Opaque handle of an initialized library. Owned by the library: it stays
 * valid for the life of the process and is handed out again, with the same
 * value, by a later Morvanta_Initialize. */
typedef struct MorvantaSDK_T MorvantaSDK_T;

/* Start configuration. The caller owns the record and its strings; nothing
 * is kept after Morvanta_Initialize returns. */
typedef struct MorvantaInitConfig {
  const char* app_key;             /* required: 4-128 of [A-Za-z0-9_.-] */
  const char* log_path;            /* required: log folder for the SDK */
  const char* server_url;          /* optional: http(s)://host[:port][/path] */
  const char* locale;              /* optional: like "en-US" */
  int32_t use_asset_server_config; /* tri-state */
  int32_t debug;                   /* tri-state: verbose bridge logging */
} MorvantaInitConfig;

/* Starts the JavaScript runtime, loads index.js from beside the host
 * executable (or from the file named by the environment variable
 * MORVANTA_SDK_PATH, for hosts such as interpreters) and initializes the
 * SDK. Blocks until done.
 *   config      in: required.
 *   out_handle  out, may be NULL: receives the handle; set to NULL first.
 * Returns 0; -1 config NULL or app_key NULL/empty; -3 already initialized
 * (out_handle then receives the live handle) or invalid configuration (for
 * instance an empty log_path); -999 the runtime or SDK could not be loaded;
 * any other value is the SDK's own failure code for initialize. */
MORVANTA_API int32_t Morvanta_Initialize(const MorvantaInitConfig* config, MorvantaSDK_T** out_handle);

/* Uninitializes the SDK and stops the runtime. Destroy all manager handles
 * first. Blocks for at least 200 ms. Returns 0 (also when the SDK's own
 * unInitialize fails), -2 when not initialized, -999 on an internal fault. */
MORVANTA_API int32_t Morvanta_Uninitialize(void);

/* 1 when initialized, else 0. */
MORVANTA_API int32_t Morvanta_IsInitialized(void);

/* The library's version, a static string ("1.0.0"); never free it. */
MORVANTA_API const char* Morvanta_GetVersion(void);

/* Does nothing: the SDK handle's lifetime belongs to the library. Kept so
 * that hosts can write symmetrical code. */
MORVANTA_API void Morvanta_DestroySDKHandle(MorvantaSDK_T* handle);

/* ======================================================================
 * Manager handles
 * ====================================================================== */

/* Each Morvanta_Get*Manager call returns a new handle (NULL on failure: NULL
 * or foreign SDK handle, or not initialized); handles of one kind share one
 * manager. Destroy each handle with its own destroy call, before
 * Morvanta_Uninitialize. A handle used after Morvanta_Uninitialize answers
 * every call with a failure through the callback. */
typedef struct MorvantaAccountManager_T MorvantaAccountManager_T;
typedef struct MorvantaAudioManager_T MorvantaAudioManager_T;
typedef struct MorvantaChatroomManager_T MorvantaChatroomManager_T;
typedef struct MorvantaInviteManager_T MorvantaInviteManager_T;
typedef struct MorvantaMeetingManager_T MorvantaMeetingManager_T;
typedef struct MorvantaMemberManager_T MorvantaMemberManager_T;
typedef struct MorvantaPreMeetingManager_T MorvantaPreMeetingManager_T;
typedef struct MorvantaScreenShareManager_T MorvantaScreenShareManager_T;
typedef struct MorvantaSecurityManager_T MorvantaSecurityManager_T;
typedef struct MorvantaVideoManager_T MorvantaVideoManager_T;
typedef struct MorvantaWaitingRoomManager_T MorvantaWaitingRoomManager_T;

MORVANTA_API MorvantaAccountManager_T* Morvanta_GetAccountManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaAudioManager_T* Morvanta_GetAudioManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaChatroomManager_T* Morvanta_GetChatroomManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaInviteManager_T* Morvanta_GetInviteManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaMeetingManager_T* Morvanta_GetMeetingManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaMemberManager_T* Morvanta_GetMemberManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaPreMeetingManager_T* Morvanta_GetPreMeetingManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaScreenShareManager_T* Morvanta_GetScreenShareManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaSecurityManager_T* Morvanta_GetSecurityManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaVideoManager_T* Morvanta_GetVideoManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaWaitingRoomManager_T* Morvanta_GetWaitingRoomManager(MorvantaSDK_T* sdk);

MORVANTA_API void Morvanta_DestroyAccountManagerHandle(MorvantaAccountManager_T* handle);
MORVANTA_API void Morvanta_DestroyAudioManagerHandle(MorvantaAudioManager_T* handle);
MORVANTA_API void Morvanta_DestroyChatroomManagerHandle(MorvantaChatroomManager_T* handle);
MORVANTA_API void Morvanta_DestroyInviteManagerHandle(MorvantaInviteManager_T* handle);
MORVANTA_API void Morvanta_DestroyMeetingManagerHandle(MorvantaMeetingManager_T* handle);
MORVANTA_API void Morvanta_DestroyMemberManagerHandle(MorvantaMemberManager_T* handle);
MORVANTA_API void Morvanta_DestroyPreMeetingManagerHandle(MorvantaPreMeetingManager_T* handle);
MORVANTA_API void Morvanta_DestroyScreenShareManagerHandle(MorvantaScreenShareManager_T* handle);
MORVANTA_API void Morvanta_DestroySecurityManagerHandle(MorvantaSecurityManager_T* handle);
MORVANTA_API void Morvanta_DestroyVideoManagerHandle(MorvantaVideoManager_T* handle);
MORVANTA_API void Morvanta_DestroyWaitingRoomManagerHandle(MorvantaWaitingRoomManager_T* handle);

/* ======================================================================
 * Callback families
 * ====================================================================== */

/* Outcome only. `message` is "" on success (never NULL unless a family says
 * otherwise) and valid only during the call. */
typedef void (*MorvantaCallback)(int code, const char* message, void* user_data);
/* A string payload, or NULL; release with Morvanta_FreeString. */
typedef void (*MorvantaStringCallback)(int code, const char* message, char* value, void* user_data);
/* A number; 0 unless the code is 0. */
typedef void (*MorvantaIntegerCallback)(int code, const char* message, uint32_t value, void* user_data);

/* ======================================================================
 * Records and their release
 *
 * Strings in records are NUL-terminated UTF-8, "" for an empty value and
 * NULL for a value the service did not give. Tri-state fields: -1 not given,
 * 0 false, 1 true. Release every record and list only with its function
 * below (the library's allocator made it); each release clears the pointer
 * fields it frees, and none is safe against freeing the same record twice.
 * ====================================================================== */

typedef struct MorvantaDeviceInfo {
  char* device_id;
  char* device_name;
} MorvantaDeviceInfo;

typedef struct MorvantaAccountInfo {
  char* user_uuid;
  char* user_token;
  char* nickname;
  char* private_meeting_num;
  char* corp_name;                 /* may be NULL */
  char* account;                   /* may be NULL */
  char* avatar;                    /* may be NULL */
  char* phone_number;              /* may be NULL */
  char* email;                     /* may be NULL */
  char* private_short_meeting_num; /* may be NULL */
  int8_t is_initial_password;      /* tri-state */
  int8_t is_anonymous;             /* tri-state */
} MorvantaAccountInfo;

/* An account found by the invite operations; lists of it go with an int32_t
 * count. */
typedef struct MorvantaSearchAccountInfo {
  char* user_uuid;
  char* nickname;     /* the user_uuid when the service gave no name */
  char* avatar;       /* may be NULL */
  char* phone_number; /* may be NULL */
  char* dept;         /* may be NULL */
} MorvantaSearchAccountInfo;

/* The chatroom permissions of the meeting, as the service's permission
 * names (text, not numbers). */
typedef struct MorvantaChatroomPermission {
  char* cr_perm;
  char* wt_pr_chat;
} MorvantaChatroomPermission;

/* A member scheduled into a meeting; lists of it go with an int32_t count.
 * Role texts here and below: "host", "evaluator", "bidder" or "supervise";
 * any role the library does not know reads as "host". */
typedef struct MorvantaScheduledMember {
  char* user_uuid;
  char* role;
} MorvantaScheduledMember;

/* A member waiting to be admitted; lists of it go with an int32_t count. */
typedef struct MorvantaWaitingRoomMember {
  char* uuid;
  char* name;
  char* avatar; /* may be NULL */
  int64_t join_time;
  int32_t status;
} MorvantaWaitingRoomMember;

/* A member of the running meeting; lists of it go with a uint32_t count.
 * The flags are 0 or 1. */
typedef struct MorvantaMember {
  char* uuid;
  char* name;
  int32_t is_host;      /* role "host" (the service's co-host names count as host) */
  int32_t is_evaluator; /* role "evaluator" */
  int32_t is_audio_on;
  int32_t is_video_on;
  int32_t is_sharing_screen;
  int32_t is_hands_up; /* 0 also when the service did not say */
} MorvantaMember;

/* An image of a capture source. A source without the image has the block
 * all zero; an image without pixel data has its size and data 0/NULL. */
typedef struct MorvantaScreenCaptureImage {
  int32_t width;
  int32_t height;
  uint32_t size; /* bytes at data */
  uint8_t* data; /* the service's image bytes, copied; NULL when size is 0 */
} MorvantaScreenCaptureImage;

/* A screen or window that can be shared; lists of it go with a uint32_t
 * count. */
typedef struct MorvantaScreenCaptureSource {
  int64_t source_id;
  char* source_name;
  int32_t is_window;          /* 1 when the service's source type is not 0 (0: a screen) */
  char* app_name;             /* the source's title; may be NULL */
  char* app_path;             /* path of the owning process; may be NULL */
  int32_t is_primary_monitor; /* tri-state */
  MorvantaScreenCaptureImage icon;
  MorvantaScreenCaptureImage thumbnail;
} MorvantaScreenCaptureSource;

/* The local user's part in a scheduled meeting. */
typedef struct MorvantaLocalMember {
  char* user_uuid;
  char* name;
  char* role; /* role text */
} MorvantaLocalMember;

/* A scheduled meeting (pre-meeting operations); lists of it go with an
 * int32_t count. */
typedef struct MorvantaMeetingInfo {
  MorvantaLocalMember* local_member; /* NULL when the service gave none */
  int64_t meeting_id;
  char* meeting_num;
  char* room_uuid;
  int32_t state;
  int64_t start_time;
  int64_t end_time;
  char* subject;
  char* owner_user_uuid;
  char* owner_nickname;
  MorvantaScheduledMember* scheduled_members; /* NULL when there are none */
  int32_t scheduled_member_count;
  int32_t no_cloud_record;     /* tri-state */
  int32_t no_chat;             /* tri-state */
  int32_t enable_waiting_room; /* 0 or 1 */
} MorvantaMeetingInfo;

/* The meeting the local user is in. The first three fields describe the
 * local member. Flags are 0 or 1. */
typedef struct MorvantaMeetingSDKInfo {
  char* user_uuid;
  char* name;
  char* role; /* role text */
  char* my_uuid;
  char* host_uuid;
  char* host_name;
  char* active_speaker_uuid;
  char* subject;
  char* owner_user_uuid;
  char* room_archive_id;
  char* meeting_num;
  int32_t is_support_chatroom;
  int32_t is_cloud_recording;
  int64_t start_time;
  int64_t end_time;
  int32_t type;
  int64_t rtc_start_time;
  int64_t join_meeting_time;
  int64_t meeting_id;              /* -1 when not given */
  int32_t is_waiting_room_enabled; /* tri-state */
  int32_t in_waiting_room;         /* tri-state */
  int32_t max_members;             /* -1 when not given */
  int32_t is_breakout_room;        /* tri-state */
} MorvantaMeetingSDKInfo;

/* Chat records. Unlike the records above, every string of a chat message
 * and of its two attachment records is NULL where the service gave none or
 * gave an empty one. String lists are arrays of non-NULL strings with their
 * count, NULL with a count of 0 when empty. */

/* The notification part of a chat message. */
typedef struct MorvantaChatMessageAttach {
  char* from;
  char* from_nick;
  char* type;
  char** to;
  int32_t to_count;
  char** to_nick;
  int32_t to_nick_count;
  char* url;
  char* name;
  char* msg_id;
  int64_t msg_time;
  int32_t id;
  char* operator_; /* the service's "operator" */
} MorvantaChatMessageAttach;

/* The file part of an image, audio, video or file message. */
typedef struct MorvantaChatMessageFile {
  char* name;
  char* ext;
  uint64_t size;
  char* url;
  char* file_path;
  int32_t width;
  int32_t height;
} MorvantaChatMessageFile;

/* A chat message, its text and file forms in one record. Flags are 0 or 1,
 * 0 also when the service did not say. */
typedef struct MorvantaChatMessage {
  char* message_uuid;
  char* from_client_type;
  char* message_type; /* "text", "image", "audio", "video", "file", "geo",
                         "custom", "tip" or "notification" */
  char* from_user_uuid;
  char* from_nick;
  char** to_user_uuid_list;
  int32_t to_user_uuid_count;
  int64_t time;
  char* type;
  char* text;
  char* status;
  MorvantaChatMessageAttach* attach; /* NULL for a message without one */
  char* from;
  int8_t is_me;
  int8_t resend;
  char* id_client;
  MorvantaChatMessageFile* file; /* NULL for a message without one */
  char* custom;
  int32_t chatroom_type; /* 0 when not given */
  int8_t has_temp_file;  /* 1 when the service named a temporary file, even an empty name */
  char* temp_file;
  int8_t is_private;
  char* to_nickname;
  char* from_avatar;
  double percentage; /* transfer progress */
  char* percentage_text;
  char* total;
  char* loaded;
} MorvantaChatMessage;

/* Frees a string payload. */
MORVANTA_API void Morvanta_FreeString(char* str);
/* Frees each device's strings and the array; a count of 0 frees nothing. */
MORVANTA_API void Morvanta_FreeDeviceList(MorvantaDeviceInfo* devices, uint32_t count);
/* Frees the account record and its strings. */
MORVANTA_API void Morvanta_FreeAccountInfo(MorvantaAccountInfo* info);
/* Frees each account's strings and the array; a count below 1 frees nothing. */
MORVANTA_API void Morvanta_FreeAccountList(MorvantaSearchAccountInfo* accounts, int32_t count);
/* Frees the permission record and its strings. */
MORVANTA_API void Morvanta_FreeChatroomPermission(MorvantaChatroomPermission* permission);
/* Frees each member's strings and the array; a count of 0 or below frees the
 * array alone. */
MORVANTA_API void Morvanta_FreeScheduledMembers(MorvantaScheduledMember* members, int32_t count);
/* Frees each member's strings and the array; a count of 0 or below frees the
 * array alone. */
MORVANTA_API void Morvanta_FreeWaitingRoomMemberList(MorvantaWaitingRoomMember* members, int32_t count);
/* Frees each member's strings and the array; a count of 0 frees the array
 * alone. */
MORVANTA_API void Morvanta_FreeMemberList(MorvantaMember* members, uint32_t count);
/* Frees each source's strings and image bytes, and the array; a count of 0
 * frees the array alone. */
MORVANTA_API void Morvanta_FreeScreenCaptureSourceList(MorvantaScreenCaptureSource* sources, uint32_t count);
/* Frees the in-meeting record and its strings. */
MORVANTA_API void Morvanta_FreeMeetingInfo(MorvantaMeetingSDKInfo* info);
/* Frees a scheduled meeting: its local member, strings, scheduled member
 * array and the record. */
MORVANTA_API void Morvanta_FreePreMeetingInfo(MorvantaMeetingInfo* info);
/* Frees each meeting's contents (as Morvanta_FreePreMeetingInfo) and the
 * array; a count of 0 or below frees the array alone. */
MORVANTA_API void Morvanta_FreeMeetingList(MorvantaMeetingInfo* meetings, int32_t count);
/* Frees the message: its strings, string lists, attachment records and the
 * record. */
MORVANTA_API void Morvanta_FreeChatMessage(MorvantaChatMessage* message);

/* ======================================================================
 * Account
 * ====================================================================== */

/* A record payload: the account, or NULL on failure. The callee owns it:
 * release with Morvanta_FreeAccountInfo. */
typedef void (*MorvantaAccountInfoCallback)(int code, const char* message, MorvantaAccountInfo* info,
                                            void* user_data);

/* Option records: NULL strings are sent as "". */
typedef struct MorvantaLoginByPasswordOptions {
  const char* username;
  const char* password;
} MorvantaLoginByPasswordOptions;

typedef struct MorvantaLoginBySmsCodeOptions {
  const char* phone_number;
  const char* sms_code;
} MorvantaLoginBySmsCodeOptions;

typedef struct MorvantaLoginByTokenOptions {
  const char* account_id;
  const char* account_token;
  int32_t auth_type;    /* negative: not sent */
  int32_t is_temporary; /* tri-state: negative not sent */
} MorvantaLoginByTokenOptions;

typedef struct MorvantaResetPasswordOptions {
  const char* old_password;
  const char* new_password;
} MorvantaResetPasswordOptions;

/* Logs in with a user name and password. -1 when handle, options or callback
 * is NULL. The callback receives the account on success. */
MORVANTA_API int Morvanta_Account_LoginByPassword(MorvantaAccountManager_T* handle,
                                                  const MorvantaLoginByPasswordOptions* options,
                                                  MorvantaAccountInfoCallback callback, void* user_data);

/* Logs in with an account id and token (auth_type and is_temporary only when
 * set). -1 when handle, options or callback is NULL. */
MORVANTA_API int Morvanta_Account_LoginByToken(MorvantaAccountManager_T* handle,
                                               const MorvantaLoginByTokenOptions* options,
                                               MorvantaAccountInfoCallback callback, void* user_data);

/* Reads the logged-in account. -1 when handle or callback is NULL. */
MORVANTA_API int Morvanta_Account_GetAccountInfo(MorvantaAccountManager_T* handle,
                                                 MorvantaAccountInfoCallback callback, void* user_data);

/* Logs out. -1 when handle is NULL; callback may be NULL (the logout still runs). */
MORVANTA_API int Morvanta_Account_Logout(MorvantaAccountManager_T* handle, MorvantaCallback callback,
                                         void* user_data);

/* Changes the password. -1 when handle, options or callback is NULL. */
MORVANTA_API int Morvanta_Account_ResetPassword(MorvantaAccountManager_T* handle,
                                                const MorvantaResetPasswordOptions* options,
                                                MorvantaCallback callback, void* user_data);

/* Changes the nickname. -1 when handle or nickname is NULL; callback may be NULL. */
MORVANTA_API int Morvanta_Account_UpdateNickname(MorvantaAccountManager_T* handle, const char* nickname,
                                                 MorvantaCallback callback, void* user_data);

/* ======================================================================
 * Members
 * ====================================================================== */

/* (end of Members) */

/* ======================================================================
 * Audio
 * ====================================================================== */

/* (end of Audio) */

/* ======================================================================
 * Video
 * ====================================================================== */

/* (end of Video) */

/* ======================================================================
 * Chatroom
 * ====================================================================== */

/* (end of Chatroom) */

/* ======================================================================
 * Security
 * ====================================================================== */

/* (end of Security) */

/* ======================================================================
 * Screen share
 * ====================================================================== */

/* (end of Screen share) */

/* ======================================================================
 * Pre-meeting (scheduling)
 * ====================================================================== */

/* (end of Pre-meeting (scheduling)) */

/* ======================================================================
 * Invite
 * ====================================================================== */

/* (end of Invite) */

/* ======================================================================
 * Meetings
 * ====================================================================== */

/* (end of Meetings) */

/* ======================================================================
 * Meeting events
 * ====================================================================== */

/* (end of Meeting events) */

/* ======================================================================
 * RTC statistics events
 * ====================================================================== */

/* (end of RTC statistics events) */

/* ======================================================================
 * Message channel events
 * ====================================================================== */

/* (end of Message channel events) */

/* ======================================================================
 * Global events
 * ====================================================================== */

/* (end of Global events) */

/* ======================================================================
 * Waiting room
 * ====================================================================== */

/* (end of Waiting room) */

/* ======================================================================
 * Waiting room events
 * ====================================================================== */

/* (end of Waiting room events) */

#ifdef __cplusplus
} /* extern "C" */

/* Logs in with a phone number and SMS code. Exported with C++ linkage, not C
 * linkage: only C++ callers (or a lookup of the decorated symbol) reach it.
 * -1 when handle, options or callback is NULL. */
MORVANTA_API int Morvanta_Account_LoginBySmsCode(MorvantaAccountManager_T* handle,
                                                 const MorvantaLoginBySmsCodeOptions* options,
                                                 void (*callback)(int, const char*, MorvantaAccountInfo*, void*),
                                                 void* user_data);

/* (C++-linkage exports of other families go here) */
#endif

#endif /* MORVANTA_H */
