// The message channel: custom messages of the room and session messages
// (received, deleted, a session cleared, the recent-session list changed).
// The records, the listener interface, the channel's scripts and the dispatch
// of drained records to native listeners. Message payloads are opaque text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "meeting/channel_scripts.h"

namespace morvanta {

// The kind of a session. The SDK numbers them from 0; natively they are 1
// (the SDK's 0) and 2 (any other number).
enum class MvSessionType : int32_t { Default = 1, Other = 2 };

// The native kind of the SDK's number: truncated, 0 is Default, the rest Other.
MvSessionType SessionTypeFromNumber(double value);

struct MvCustomMessage {
  std::string roomUuid;
  std::string senderUuid;
  std::string data;
  int64_t timestamp = 0;
};

struct MvSessionMessage {
  std::string sessionId;
  MvSessionType sessionType = MvSessionType::Default;
  std::string messageId;
  std::string data;  // taken only when the SDK sends text
  int64_t time = 0;
};

struct MvSessionRecentInfo {
  std::string sessionId;
  MvSessionType sessionType = MvSessionType::Default;
  int32_t unreadCount = 0;
};

class IMvMessageChannelListener {
 public:
  virtual ~IMvMessageChannelListener() = default;
  virtual void OnCustomMessageReceived(const MvCustomMessage& message) = 0;
  virtual void OnSessionMessageReceived(const MvSessionMessage& message) = 0;
  virtual void OnSessionMessageRecentChanged(const std::vector<MvSessionRecentInfo>& sessions) = 0;
  virtual void OnSessionMessageDeleted(const MvSessionMessage& message) = 0;
  virtual void OnDeleteAllSessionMessage(const std::string& sessionId, MvSessionType sessionType) = 0;
};

extern const ChannelGlobals kMessageChannelGlobals;
const ChannelScripts& MessageChannelScripts();
// The register script; a first and a repeated registration use the same text.
const std::string& MessageChannelRegisterScript(bool reregister);

// Dispatches one {type, data} record of the message channel. Malformed and
// unknown records are dropped without a word.
void DispatchMessageChannelEvent(const JSValue& record, const std::vector<IMvMessageChannelListener*>& listeners);

}  // namespace morvanta
