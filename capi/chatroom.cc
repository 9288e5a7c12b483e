// Morvanta_Chatroom_*: text and file messages, recall, attachment transfer.
// Messages come in as C records and go to the manager as MvChatMessage.
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/sdk_state.h"
#include "managers/chatroom_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kChatMessageFail[] = "Failed to allocate MorvantaChatMessage";

// The send outcome as a C record; -9 when the record cannot be built.
MvChatSendCallback SentAdapter(MorvantaChatMessageCallback callback, void* user_data) {
  if (!callback) return nullptr;
  return Dispatched<int32_t, const std::string&, std::optional<MvChatMessage>>(
      [callback, user_data](int32_t code, const std::string& message, const std::optional<MvChatMessage>& sent) {
    MorvantaChatMessage* record = nullptr;
    if (code == 0 && sent) {
      record = BuildChatMessage(*sent);
      if (!record) {
        callback(-9, kChatMessageFail, nullptr, user_data);
        return;
      }
    }
    callback(code, Message(message), record, user_data);
  });
}

MvChatCallback OutcomeAdapter(MorvantaCallback callback, void* user_data) {
  if (!callback) return nullptr;
  return Dispatched<int32_t, const std::string&>(
      [callback, user_data](int32_t code, const std::string& message) { callback(code, Message(message), user_data); });
}

// The strings of a C array; a NULL array or a count below 1 gives none.
std::vector<std::string> Texts(const char* const* texts, int count) {
  std::vector<std::string> out;
  for (int i = 0; texts && i < count; ++i) out.push_back(Str(texts[i]));
  return out;
}

std::optional<std::string> OptionalStr(const char* text) {
  return text ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<bool> PrivateFlag(int8_t flag) { return flag < 0 ? std::nullopt : std::optional<bool>(flag != 0); }

MvChatMessageAttach AttachFromC(const MorvantaChatMessageAttach& c) {
  MvChatMessageAttach a;
  a.from = Str(c.from);
  a.fromNick = Str(c.from_nick);
  a.type = Str(c.type);
  a.to = Texts(c.to, c.to_count);
  a.toNick = Texts(c.to_nick, c.to_nick_count);
  a.url = Str(c.url);
  a.name = Str(c.name);
  a.msgId = Str(c.msg_id);
  a.msgTime = c.msg_time;
  a.id = c.id;
  a.operator_ = Str(c.operator_);
  return a;
}

MvChatMessageFile FileFromC(const MorvantaChatMessageFile& c) {
  MvChatMessageFile f;
  f.name = Str(c.name);
  f.ext = Str(c.ext);
  f.size = c.size;
  f.url = Str(c.url);
  f.filePath = Str(c.file_path);
  f.w = c.width;
  f.h = c.height;
  return f;
}

// A C message read back: NULL strings are empty or unset, the three flags
// are taken as given, the kind's text names its number (0 when unknown).
MvChatMessage ChatMessageFromC(const MorvantaChatMessage& c) {
  MvChatMessage m;
  m.messageUuid = OptionalStr(c.message_uuid);
  m.fromClientType = Str(c.from_client_type);
  m.messageType = c.message_type ? ChatMessageKindFromText(c.message_type) : kMvChatMessageText;
  m.fromUserUuid = Str(c.from_user_uuid);
  m.fromNick = Str(c.from_nick);
  if (c.to_user_uuid_list) m.toUserUuidList = Texts(c.to_user_uuid_list, c.to_user_uuid_count);
  m.time = c.time;
  m.type = Str(c.type);
  m.text = Str(c.text);
  m.status = Str(c.status);
  if (c.attach) m.attach = AttachFromC(*c.attach);
  m.from = Str(c.from);
  m.isMe = c.is_me != 0;
  m.resend = c.resend != 0;
  m.idClient = Str(c.id_client);
  if (c.file) m.file = FileFromC(*c.file);
  m.custom = OptionalStr(c.custom);
  m.chatroomType = c.chatroom_type;
  if (c.has_temp_file) m.tempFile = Str(c.temp_file);
  m.isPrivate = c.is_private != 0;
  m.toNickname = OptionalStr(c.to_nickname);
  m.fromAvatar = OptionalStr(c.from_avatar);
  m.percentage = c.percentage;
  m.percentageText = OptionalStr(c.percentage_text);
  m.total = OptionalStr(c.total);
  m.loaded = OptionalStr(c.loaded);
  return m;
}

// The frame of the four message operations: handle, manager and message
// must be there, and so must the other required arguments (`refused` when
// one is missing); the message reaches `call` in its native form.
template <typename Call>
int WithMessage(const char* name, MorvantaChatroomManager_T* handle, const MorvantaChatMessage* message, bool refused,
                Call&& call) {
  return WithManager(name, handle, refused || !message,
                     [&](MvChatroomManager& m) { call(m, ChatMessageFromC(*message)); });
}

}  // namespace
}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Chatroom_SendTextMessage(MorvantaChatroomManager_T* handle,
                                                   const MorvantaChatroomTextMessageOptions* options,
                                                   MorvantaChatMessageCallback callback, void* user_data) {
  return WithManager("Morvanta_Chatroom_SendTextMessage", handle, !options || !options->text,
                     [&](MvChatroomManager& m) {
                       const MorvantaChatroomTextMessageOptions& o = *options;
                       m.SendTextMessage({Str(o.id_client), o.text, PrivateFlag(o.is_private),
                                          Texts(o.to_user_uuid_list, o.to_user_uuid_count)},
                                         SentAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Chatroom_SendFileMessage(MorvantaChatroomManager_T* handle,
                                                   const MorvantaChatroomSendFileMessageOptions* options,
                                                   MorvantaChatMessageCallback callback, void* user_data) {
  return WithManager("Morvanta_Chatroom_SendFileMessage", handle, !options, [&](MvChatroomManager& m) {
    const MorvantaChatroomSendFileMessageOptions& o = *options;
    m.SendFileMessage({Str(o.id_client), o.type, Str(o.url), o.size, o.width, o.height, PrivateFlag(o.is_private),
                       Texts(o.to_user_uuid_list, o.to_user_uuid_count)},
                      SentAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_Chatroom_RecallMessage(MorvantaChatroomManager_T* handle, const MorvantaChatMessage* message,
                                                 MorvantaCallback callback, void* user_data) {
  return WithMessage("Morvanta_Chatroom_RecallMessage", handle, message, false, [&](MvChatroomManager& m, MvChatMessage msg) {
    m.RecallMessage(msg, OutcomeAdapter(callback, user_data));
  });
}

MORVANTA_API int Morvanta_Chatroom_CancelSendFileMessage(MorvantaChatroomManager_T* handle,
                                                         const MorvantaChatMessage* message, MorvantaCallback callback,
                                                         void* user_data) {
  return WithMessage("Morvanta_Chatroom_CancelSendFileMessage", handle, message, false,
                     [&](MvChatroomManager& m, MvChatMessage msg) {
                       m.CancelSendFileMessage(msg, OutcomeAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Chatroom_DownloadAttachment(MorvantaChatroomManager_T* handle,
                                                      const MorvantaChatMessage* message, const char* save_path,
                                                      MorvantaCallback callback, void* user_data) {
  return WithMessage("Morvanta_Chatroom_DownloadAttachment", handle, message, save_path == nullptr,
                     [&](MvChatroomManager& m, MvChatMessage msg) {
                       m.DownloadAttachment(msg, save_path, OutcomeAdapter(callback, user_data));
                     });
}

MORVANTA_API int Morvanta_Chatroom_CancelDownloadAttachment(MorvantaChatroomManager_T* handle,
                                                            const MorvantaChatMessage* message,
                                                            MorvantaCallback callback, void* user_data) {
  return WithMessage("Morvanta_Chatroom_CancelDownloadAttachment", handle, message, false,
                     [&](MvChatroomManager& m, MvChatMessage msg) {
                       m.CancelDownloadAttachment(msg, OutcomeAdapter(callback, user_data));
                     });
}

}  // extern "C"
