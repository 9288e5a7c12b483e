// The meeting's chat, through the SDK's chatroom object: text and file
// messages (to everyone or privately to some members), recall, and the
// sending and downloading of attachments.
//
// This family answers in its own form: code and message, "Success" as the
// message of every success, and for the sends the message record that the
// SDK made of what was sent.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/records.h"
#include "managers/call_frame.h"
#include "managers/manager_base.h"

namespace morvanta {

using MvChatSendCallback =
    std::function<void(int32_t code, const std::string& message, std::optional<MvChatMessage> sent)>;
using MvChatCallback = std::function<void(int32_t code, const std::string& message)>;

// A text message. `idClient` is the first argument of sendTextMessage and is
// passed on as given ("" when the caller has none).
struct MvChatTextMessageOptions {
  std::string idClient;
  std::string text;
  std::optional<bool> isPrivate;       // not sent when unset
  std::vector<std::string> toUserUuids;  // not sent when empty
};

// A file or image message; `type` 1 is an image, any other value a file.
struct MvChatFileMessageOptions {
  std::string idClient;
  int32_t type = 0;
  std::string url;
  uint64_t size = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  std::optional<bool> isPrivate;
  std::vector<std::string> toUserUuids;
};

class MvChatroomManager : public MvManagerBase {
 public:
  using MvManagerBase::MvManagerBase;

  void SendTextMessage(const MvChatTextMessageOptions& options, MvChatSendCallback done);
  void SendFileMessage(const MvChatFileMessageOptions& options, MvChatSendCallback done);
  // The four below send the message as one JS object (ChatMessageToJS).
  void RecallMessage(const MvChatMessage& message, MvChatCallback done);
  void CancelSendFileMessage(const MvChatMessage& message, MvChatCallback done);
  void DownloadAttachment(const MvChatMessage& message, const std::string& savePath, MvChatCallback done);
  void CancelDownloadAttachment(const MvChatMessage& message, MvChatCallback done);
};

// A message as the SDK takes it back: optional fields only when set, the
// kind as its text, and `progress` always present. `tempFile` is not sent.
JSValue ChatMessageToJS(const MvChatMessage& message);

}  // namespace morvanta
