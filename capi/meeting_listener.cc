// C listeners of the meeting channel. Each event is converted once (in host
// dispatch, once per record when the host dispatches it); member events call
// a C listener once per member, chatroom member and message events once with
// the whole array.
#include <optional>
#include <vector>

#include "capi/c_listener_channel.h"
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "meeting/meeting_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kWrapperTag[] = "[MeetingListenerWrapper]";

// Reused per operation and thread, so steady-state events allocate nothing.
const std::vector<MorvantaMember>& Views(const std::vector<MvMember>& members,
                                         std::vector<MorvantaMember>& buffer) {
  buffer.clear();
  for (const MvMember& m : members) buffer.push_back(MemberView(m));
  return buffer;
}

const CListenerTexts kTexts = {
    "[MeetingManager C API] 🚀 Morvanta_Meeting_AddMeetingListener",
    "[MeetingManager C API] 📝 Creating MeetingListenerWrapper...",
    "[MeetingManager C API] 📝 Calling MvMeetingManager::AddMeetingListener...",
    nullptr,
    "[MeetingManager C API] ✅ Meeting listener stored (count: ",
    "[MeetingManager C API] ⚠️ Meeting listener not found",
    "[MeetingManager C API] ✅ Meeting listener removed (count: ",
};

using Channel = CListenerChannel<MorvantaMeetingListener, IMvMeetingListener, MvMeetingManager>;
Channel& TheChannel();

// An optional operator as its C view, or null.
template <typename Call>
void WithOperator(const std::optional<MvMember>& by, Call&& call) {
  MorvantaMember op = by ? MemberView(*by) : MorvantaMember{};
  call(by ? &op : nullptr);
}

std::optional<MvMember> Optional(const MvMember* m) { return m ? std::optional<MvMember>(*m) : std::nullopt; }

// The wrapper: converts once, then calls each C listener under the mutex.
class MeetingListenerWrapper : public IMvMeetingListener {
 public:
  void Members(const char* name, const std::vector<MvMember>& members,
               void (*MorvantaMeetingListener::*field)(const MorvantaMember*, void*)) {
    log::Info(kWrapperTag, " 🔔 ", name, " called (member count: ", members.size(),
              ", listener count: ", TheChannel().Size(), ")");
    if (HostDispatch()) {
      const size_t queued = TheChannel().Queue(
          field,
          [](auto&& call, const std::vector<MvMember>& ms) {
            thread_local std::vector<MorvantaMember> buffer;
            for (const MorvantaMember& m : Views(ms, buffer)) call(&m);
          },
          members);
      log::Info(kWrapperTag, " ✅ ", name, " queued for ", queued, " C listeners");
      return;
    }
    thread_local std::vector<MorvantaMember> buffer;
    const auto& views = Views(members, buffer);
    size_t forwarded = 0;
    TheChannel().ForEach([&](const MorvantaMeetingListener& l) {
      if (!(l.*field)) return;
      ++forwarded;
      for (const MorvantaMember& m : views) (l.*field)(&m, l.user_data);
    });
    log::Info(kWrapperTag, " ✅ ", name, " forwarded to ", forwarded, " C listeners");
  }

  void ChatroomMembers(const char* name, const std::vector<MvMember>& members,
                       void (*MorvantaMeetingListener::*field)(const MorvantaMember*, uint32_t, void*)) {
    log::Info(kWrapperTag, " 🔔 ", name, " called (member count: ", members.size(), ")");
    TheChannel().Emit(
        field,
        [](auto&& call, const std::vector<MvMember>& ms) {
          thread_local std::vector<MorvantaMember> buffer;
          const auto& views = Views(ms, buffer);
          call(views.data(), static_cast<uint32_t>(views.size()));
        },
        members);
  }

  void OnMemberJoinMeeting(const std::vector<MvMember>& members) override {
    Members("OnMemberJoinMeeting", members, &MorvantaMeetingListener::onMemberJoinMeeting);
  }
  void OnMemberLeaveMeeting(const std::vector<MvMember>& members) override {
    Members("OnMemberLeaveMeeting", members, &MorvantaMeetingListener::onMemberLeaveMeeting);
  }
  void OnMemberJoinChatroom(const std::vector<MvMember>& members) override {
    ChatroomMembers("OnMemberJoinChatroom", members, &MorvantaMeetingListener::onMemberJoinChatroom);
  }
  void OnMemberLeaveChatroom(const std::vector<MvMember>& members) override {
    ChatroomMembers("OnMemberLeaveChatroom", members, &MorvantaMeetingListener::onMemberLeaveChatroom);
  }
  // Mute events pass no operator to C.
  void Mute(const char* name, const std::string& uuid, bool mute,
            void (*MorvantaMeetingListener::*field)(const char*, bool, void*)) {
    log::Info(kWrapperTag, " 🔔 ", name, " called (userUuid: ", uuid, ", muted: ", mute ? "true" : "false", ")");
    TheChannel().Emit(
        field, [](auto&& call, const std::string& u, bool m) { call(u.c_str(), m); }, uuid, mute);
  }
  void OnMemberAudioMuteChanged(const std::string& uuid, bool mute, const MvMember*) override {
    Mute("OnMemberAudioMuteChanged", uuid, mute, &MorvantaMeetingListener::onMemberAudioMuteChanged);
  }
  void OnMemberVideoMuteChanged(const std::string& uuid, bool mute, const MvMember*) override {
    Mute("OnMemberVideoMuteChanged", uuid, mute, &MorvantaMeetingListener::onMemberVideoMuteChanged);
  }
  void OnRoomEnded(const std::string& reason, const std::string& extra) override {
    log::Info(kWrapperTag, " 🔔 OnRoomEnded called (reason: ", reason, ", extra: ", extra, ")");
    TheChannel().Emit(
        &MorvantaMeetingListener::onRoomEnded,
        [](auto&& call, const std::string& r, const std::string& e) { call(r.c_str(), e.c_str()); }, reason, extra);
  }
  void OnMemberAudioConnectStateChanged(const MvMember& member, bool connected) override {
    log::Info(kWrapperTag, " 🔔 OnMemberAudioConnectStateChanged called");
    TheChannel().Emit(
        &MorvantaMeetingListener::onMemberAudioConnectStateChanged,
        [](auto&& call, const MvMember& m, bool on) {
          MorvantaMember c = MemberView(m);
          call(&c, on);
        },
        member, connected);
  }
  void OnMemberScreenShareStateChanged(const MvMember& member, bool sharing, const MvMember* by) override {
    log::Info(kWrapperTag, " 🔔 OnMemberScreenShareStateChanged called");
    TheChannel().Emit(
        &MorvantaMeetingListener::onMemberScreenShareStateChanged,
        [](auto&& call, const MvMember& m, bool on, const std::optional<MvMember>& op) {
          MorvantaMember c = MemberView(m);
          WithOperator(op, [&](const MorvantaMember* o) { call(&c, on, o); });
        },
        member, sharing, Optional(by));
  }
  void OnReceiveChatroomMessages(const std::vector<MvChatMessage>& messages) override {
    log::Info(kWrapperTag, " 🔔 OnReceiveChatroomMessages called (message count: ", messages.size(), ")");
    // Built with the chat records' own builder and released after the calls.
    TheChannel().Emit(
        &MorvantaMeetingListener::onReceiveChatroomMessages,
        [](auto&& call, const std::vector<MvChatMessage>& ms) {
          thread_local std::vector<MorvantaChatMessage> buffer;
          buffer.clear();
          std::vector<MorvantaChatMessage*> built;
          for (const MvChatMessage& m : ms) {
            MorvantaChatMessage* c = BuildChatMessage(m);
            if (!c) continue;  // an allocation failure drops that message
            built.push_back(c);
            buffer.push_back(*c);
          }
          call(buffer.data(), static_cast<uint32_t>(buffer.size()));
          for (MorvantaChatMessage* c : built) Morvanta_FreeChatMessage(c);
          buffer.clear();
        },
        messages);
  }
  void OnMemberChatBanStateChanged(const MvMember& member, bool banned, int32_t duration,
                                   const std::string& notifyExt, const MvMember* by) override {
    log::Info(kWrapperTag, " 🔔 OnMemberChatBanStateChanged called");
    TheChannel().Emit(
        &MorvantaMeetingListener::onMemberChatBanStateChanged,
        [](auto&& call, const MvMember& m, bool ban, int32_t seconds, const std::string& ext,
           const std::optional<MvMember>& op) {
          MorvantaMember c = MemberView(m);
          WithOperator(op, [&](const MorvantaMember* o) { call(&c, ban, seconds, ext.c_str(), o); });
        },
        member, banned, duration, notifyExt, Optional(by));
  }
};

Channel& TheChannel() {
  return Channel::ForProcess<MeetingListenerWrapper>(kMeetingManagerFamily, kTexts,
                                                     &MvMeetingManager::AddMeetingListener,
                                                     &MvMeetingManager::RemoveMeetingListener);
}

}  // namespace

bool StopMeetingListeners() { return TheChannel().Stop(); }
void ClearMeetingListeners() { TheChannel().Clear(); }

}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Meeting_AddMeetingListener(MorvantaMeetingManager_T* handle,
                                                     const MorvantaMeetingListener* listener) {
  return Guarded<int>("Morvanta_Meeting_AddMeetingListener", -999, [&] { return TheChannel().Add(handle, listener); });
}

MORVANTA_API int Morvanta_Meeting_RemoveMeetingListener(MorvantaMeetingManager_T* handle,
                                                        const MorvantaMeetingListener* listener) {
  return Guarded<int>("Morvanta_Meeting_RemoveMeetingListener", -999,
                      [&] { return TheChannel().Remove(handle, listener); });
}

}  // extern "C"
