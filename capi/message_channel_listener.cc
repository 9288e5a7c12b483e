// C listeners of the message channel. A record reaches C built on the stack
// over copies of its strings, kept in a thread-local buffer per operation; a
// session kind is 0 in C for the native kind Default and 1 otherwise.
#include <array>

#include "capi/c_listener_channel.h"
#include "capi/call_frame.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "meeting/meeting_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kWrapperTag[] = "[MessageChannelListenerWrapper]";

const CListenerTexts kTexts = {
    "[MeetingManager C API] 🚀 Morvanta_Meeting_AddMessageChannelListener",
    "[MeetingManager C API] 📝 Creating MessageChannelListenerWrapper...",
    "[MeetingManager C API] 📝 Calling MvMeetingManager::AddMessageChannelListener...",
    nullptr,
    "[MeetingManager C API] ✅ Message channel listener stored (count: ",
    "[MeetingManager C API] ⚠️ Message channel listener not found",
    "[MeetingManager C API] ✅ Message channel listener removed (count: ",
};

using Channel = CListenerChannel<MorvantaMessageChannelListener, IMvMessageChannelListener, MvMeetingManager>;
Channel& TheChannel();

int32_t CSessionType(MvSessionType type) { return type == MvSessionType::Default ? 0 : 1; }

// Refills `buffer` with copies of `texts` and answers their C strings, which
// stay valid until the next call on this thread.
template <size_t N>
std::array<const char*, N> Hold(std::vector<std::string>& buffer, const std::array<const std::string*, N>& texts) {
  buffer.clear();
  for (const std::string* t : texts) buffer.push_back(*t);
  std::array<const char*, N> out{};
  for (size_t i = 0; i < N; ++i) out[i] = buffer[i].c_str();
  return out;
}

class MessageChannelListenerWrapper : public IMvMessageChannelListener {
 public:
  void OnCustomMessageReceived(const MvCustomMessage& message) override {
    TheChannel().EmitLogged(
        kWrapperTag, "OnCustomMessageReceived", "", &MorvantaMessageChannelListener::onCustomMessageReceived,
        [](auto&& call, const MvCustomMessage& m) {
          thread_local std::vector<std::string> strings;
          auto s = Hold<3>(strings, {&m.roomUuid, &m.senderUuid, &m.data});
          MorvantaCustomMessage c{s[0], s[1], s[2], m.timestamp};
          call(&c);
        },
        message);
  }
  void OnSessionMessageReceived(const MvSessionMessage& m) override {
    Session("OnSessionMessageReceived", &MorvantaMessageChannelListener::onSessionMessageReceived, m);
  }
  void OnSessionMessageDeleted(const MvSessionMessage& m) override {
    Session("OnSessionMessageDeleted", &MorvantaMessageChannelListener::onSessionMessageDeleted, m);
  }
  void OnSessionMessageRecentChanged(const std::vector<MvSessionRecentInfo>& sessions) override {
    TheChannel().EmitLogged(
        kWrapperTag, "OnSessionMessageRecentChanged", "session count: " + std::to_string(sessions.size()) + ", ",
        &MorvantaMessageChannelListener::onSessionMessageRecentChanged,
        [](auto&& call, const std::vector<MvSessionRecentInfo>& list) {
          thread_local std::vector<std::string> strings;
          thread_local std::vector<MorvantaSessionRecentInfo> records;
          strings.clear();
          records.clear();
          for (const MvSessionRecentInfo& s : list) strings.push_back(s.sessionId);  // all first: no later move
          for (size_t i = 0; i < list.size(); ++i)
            records.push_back({strings[i].c_str(), CSessionType(list[i].sessionType), list[i].unreadCount});
          call(records.data(), static_cast<uint32_t>(records.size()));
        },
        sessions);
  }
  void OnDeleteAllSessionMessage(const std::string& sessionId, MvSessionType type) override {
    TheChannel().EmitLogged(
        kWrapperTag, "OnDeleteAllSessionMessage", "sessionId: " + sessionId + ", ",
        &MorvantaMessageChannelListener::onDeleteAllSessionMessage,
        [](auto&& call, const std::string& id, MvSessionType t) {
          thread_local std::vector<std::string> strings;
          auto s = Hold<1>(strings, {&id});
          call(s[0], CSessionType(t));
        },
        sessionId, type);
  }

 private:
  // Both session kinds share one buffer of strings per thread.
  template <typename Field>
  static void Session(const char* name, Field field, const MvSessionMessage& message) {
    TheChannel().EmitLogged(
        kWrapperTag, name, "", field,
        [](auto&& call, const MvSessionMessage& m) {
          thread_local std::vector<std::string> strings;
          auto s = Hold<3>(strings, {&m.sessionId, &m.messageId, &m.data});
          MorvantaSessionMessage c{s[0], CSessionType(m.sessionType), s[1], s[2], m.time};
          call(&c);
        },
        message);
  }
};

Channel& TheChannel() {
  return Channel::ForProcess<MessageChannelListenerWrapper>(kMeetingManagerFamily, kTexts,
                                                            &MvMeetingManager::AddMessageChannelListener,
                                                            &MvMeetingManager::RemoveMessageChannelListener);
}

}  // namespace

bool StopMessageChannelListeners() { return TheChannel().Stop(); }
void ClearMessageChannelListeners() { TheChannel().Clear(); }

}  // namespace capi
}  // namespace morvanta

using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Meeting_AddMessageChannelListener(MorvantaMeetingManager_T* handle,
                                                            const MorvantaMessageChannelListener* listener) {
  return Guarded<int>("Morvanta_Meeting_AddMessageChannelListener", -999,
                      [&] { return TheChannel().Add(handle, listener); });
}

MORVANTA_API int Morvanta_Meeting_RemoveMessageChannelListener(MorvantaMeetingManager_T* handle,
                                                               const MorvantaMessageChannelListener* listener) {
  return Guarded<int>("Morvanta_Meeting_RemoveMessageChannelListener", -999,
                      [&] { return TheChannel().Remove(handle, listener); });
}

}  // extern "C"
