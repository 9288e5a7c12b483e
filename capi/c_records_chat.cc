// C records of the chatroom family: the chat message with its attachment
// records, and the chatroom permissions. In a chat message an empty text is
// NULL, like one the service did not give.
#include "capi/c_records.h"

namespace morvanta {
namespace capi {
namespace {

int8_t Flag(const std::optional<bool>& value) { return value.value_or(false) ? 1 : 0; }

MorvantaChatMessageAttach* CopyAttach(FieldCopier& copy, const std::optional<MvChatMessageAttach>& in) {
  if (!in) return nullptr;
  MorvantaChatMessageAttach* out = copy.Record<MorvantaChatMessageAttach>();
  if (!out) return nullptr;
  out->from = copy.NonEmpty(in->from);
  out->from_nick = copy.NonEmpty(in->fromNick);
  out->type = copy.NonEmpty(in->type);
  out->to = copy.TextList(in->to, out->to_count);
  out->to_nick = copy.TextList(in->toNick, out->to_nick_count);
  out->url = copy.NonEmpty(in->url);
  out->name = copy.NonEmpty(in->name);
  out->msg_id = copy.NonEmpty(in->msgId);
  out->msg_time = in->msgTime;
  out->id = in->id;
  out->operator_ = copy.NonEmpty(in->operator_);
  return out;
}

void FreeAttach(MorvantaChatMessageAttach*& attach) {
  if (!attach) return;
  FreeFields({&attach->from, &attach->from_nick, &attach->type, &attach->url, &attach->name, &attach->msg_id,
              &attach->operator_});
  FreeTextList(attach->to, attach->to_count);
  FreeTextList(attach->to_nick, attach->to_nick_count);
  delete attach;
  attach = nullptr;
}

MorvantaChatMessageFile* CopyFile(FieldCopier& copy, const std::optional<MvChatMessageFile>& in) {
  if (!in) return nullptr;
  MorvantaChatMessageFile* out = copy.Record<MorvantaChatMessageFile>();
  if (!out) return nullptr;
  out->name = copy.NonEmpty(in->name);
  out->ext = copy.NonEmpty(in->ext);
  out->size = in->size;
  out->url = copy.NonEmpty(in->url);
  out->file_path = copy.NonEmpty(in->filePath);
  out->width = in->w;
  out->height = in->h;
  return out;
}

void FreeFile(MorvantaChatMessageFile*& file) {
  if (!file) return;
  FreeFields({&file->name, &file->ext, &file->url, &file->file_path});
  delete file;
  file = nullptr;
}

bool FillChatMessage(MorvantaChatMessage& out, const MvChatMessage& in) {
  FieldCopier copy;
  out.message_uuid = copy.NonEmpty(in.messageUuid);
  out.from_client_type = copy.NonEmpty(in.fromClientType);
  out.message_type = copy.Text(ChatMessageTypeText(in.messageType));
  out.from_user_uuid = copy.NonEmpty(in.fromUserUuid);
  out.from_nick = copy.NonEmpty(in.fromNick);
  if (in.toUserUuidList) out.to_user_uuid_list = copy.TextList(*in.toUserUuidList, out.to_user_uuid_count);
  out.time = in.time;
  out.type = copy.NonEmpty(in.type);
  out.text = copy.NonEmpty(in.text);
  out.status = copy.NonEmpty(in.status);
  out.attach = CopyAttach(copy, in.attach);
  out.from = copy.NonEmpty(in.from);
  out.is_me = Flag(in.isMe);
  out.resend = Flag(in.resend);
  out.id_client = copy.NonEmpty(in.idClient);
  out.file = CopyFile(copy, in.file);
  out.custom = copy.NonEmpty(in.custom);
  out.chatroom_type = in.chatroomType.value_or(0);
  out.has_temp_file = in.tempFile ? 1 : 0;
  out.temp_file = copy.NonEmpty(in.tempFile);
  out.is_private = Flag(in.isPrivate);
  out.to_nickname = copy.NonEmpty(in.toNickname);
  out.from_avatar = copy.NonEmpty(in.fromAvatar);
  out.percentage = in.percentage;
  out.percentage_text = copy.NonEmpty(in.percentageText);
  out.total = copy.NonEmpty(in.total);
  out.loaded = copy.NonEmpty(in.loaded);
  return copy.ok();
}

bool FillChatroomPermission(MorvantaChatroomPermission& out, const MvChatroomPermission& in) {
  FieldCopier copy;
  out.cr_perm = copy.Text(in.crPerm);
  out.wt_pr_chat = copy.Text(in.wtPrChat);
  return copy.ok();
}

}  // namespace

MorvantaChatMessage* BuildChatMessage(const MvChatMessage& message) {
  return BuildRecord(message, FillChatMessage, Morvanta_FreeChatMessage);
}

MorvantaChatroomPermission* BuildChatroomPermission(const MvChatroomPermission& permission) {
  return BuildRecord(permission, FillChatroomPermission, Morvanta_FreeChatroomPermission);
}

void ClearChatMessage(MorvantaChatMessage& message) {
  FreeFields({&message.message_uuid, &message.from_client_type, &message.message_type, &message.from_user_uuid,
              &message.from_nick, &message.type, &message.text, &message.status, &message.from,
              &message.id_client, &message.custom, &message.temp_file, &message.to_nickname,
              &message.from_avatar, &message.percentage_text, &message.total, &message.loaded});
  FreeTextList(message.to_user_uuid_list, message.to_user_uuid_count);
  FreeAttach(message.attach);
  FreeFile(message.file);
}

void ClearChatroomPermission(MorvantaChatroomPermission& permission) {
  FreeFields({&permission.cr_perm, &permission.wt_pr_chat});
}

}  // namespace capi
}  // namespace morvanta

extern "C" {

MORVANTA_API void Morvanta_FreeChatMessage(MorvantaChatMessage* message) {
  morvanta::capi::FreeRecord(message, morvanta::capi::ClearChatMessage);
}

MORVANTA_API void Morvanta_FreeChatroomPermission(MorvantaChatroomPermission* permission) {
  morvanta::capi::FreeRecord(permission, morvanta::capi::ClearChatroomPermission);
}

}  // extern "C"
