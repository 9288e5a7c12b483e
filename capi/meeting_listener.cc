// C listeners of the meeting channel: a process-wide list of C records, one
// native wrapper that fans each event out to them, and the manager the
// wrapper is registered on. The list's mutex is held through the C calls, so
// the C listeners of this channel are called one at a time.
#include <cstring>
#include <mutex>
#include <vector>

#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "meeting/meeting_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kTag[] = "[MeetingManager C API]";
constexpr char kWrapperTag[] = "[MeetingListenerWrapper]";

// Reused per operation and thread, so steady-state events allocate nothing.
const std::vector<MorvantaMember>& Views(const std::vector<MvMember>& members,
                                         std::vector<MorvantaMember>& buffer) {
  buffer.clear();
  for (const MvMember& m : members) buffer.push_back(MemberView(m));
  return buffer;
}

struct MeetingChannelState {
  std::mutex mutex;
  std::vector<MorvantaMeetingListener> listeners;
  bool wrapperRegistered = false;
  std::shared_ptr<MvMeetingManager> manager;
};

MeetingChannelState& Channel() {
  static auto* state = new MeetingChannelState;  // outlives static destruction
  return *state;
}

// The wrapper: converts once, then calls each C listener under the mutex.
class MeetingListenerWrapper : public IMvMeetingListener {
 public:
  template <typename Call>
  static void FanOut(Call&& call) {
    MeetingChannelState& ch = Channel();
    std::lock_guard<std::mutex> lock(ch.mutex);
    for (const MorvantaMeetingListener& l : ch.listeners) call(l);
  }

  void Members(const char* name, const std::vector<MvMember>& members,
               void (*MorvantaMeetingListener::*field)(const MorvantaMember*, void*)) {
    log::Info(kWrapperTag, " 🔔 ", name, " called (member count: ", members.size(),
              ", listener count: ", ListenerCount(), ")");
    thread_local std::vector<MorvantaMember> buffer;
    const auto& views = Views(members, buffer);
    size_t forwarded = 0;
    FanOut([&](const MorvantaMeetingListener& l) {
      if (!(l.*field)) return;
      ++forwarded;
      for (const MorvantaMember& m : views) (l.*field)(&m, l.user_data);
    });
    log::Info(kWrapperTag, " ✅ ", name, " forwarded to ", forwarded, " C listeners");
  }

  void ChatroomMembers(const char* name, const std::vector<MvMember>& members,
                       void (*MorvantaMeetingListener::*field)(const MorvantaMember*, uint32_t, void*)) {
    log::Info(kWrapperTag, " 🔔 ", name, " called (member count: ", members.size(), ")");
    thread_local std::vector<MorvantaMember> buffer;
    const auto& views = Views(members, buffer);
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.*field) (l.*field)(views.data(), static_cast<uint32_t>(views.size()), l.user_data);
    });
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
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.*field) (l.*field)(uuid.c_str(), mute, l.user_data);
    });
  }
  void OnMemberAudioMuteChanged(const std::string& uuid, bool mute, const MvMember*) override {
    Mute("OnMemberAudioMuteChanged", uuid, mute, &MorvantaMeetingListener::onMemberAudioMuteChanged);
  }
  void OnMemberVideoMuteChanged(const std::string& uuid, bool mute, const MvMember*) override {
    Mute("OnMemberVideoMuteChanged", uuid, mute, &MorvantaMeetingListener::onMemberVideoMuteChanged);
  }
  void OnRoomEnded(const std::string& reason, const std::string& extra) override {
    log::Info(kWrapperTag, " 🔔 OnRoomEnded called (reason: ", reason, ", extra: ", extra, ")");
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.onRoomEnded) l.onRoomEnded(reason.c_str(), extra.c_str(), l.user_data);
    });
  }
  void OnMemberAudioConnectStateChanged(const MvMember& member, bool connected) override {
    log::Info(kWrapperTag, " 🔔 OnMemberAudioConnectStateChanged called");
    MorvantaMember c = MemberView(member);
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.onMemberAudioConnectStateChanged) l.onMemberAudioConnectStateChanged(&c, connected, l.user_data);
    });
  }
  void OnMemberScreenShareStateChanged(const MvMember& member, bool sharing, const MvMember* by) override {
    log::Info(kWrapperTag, " 🔔 OnMemberScreenShareStateChanged called");
    MorvantaMember c = MemberView(member);
    MorvantaMember op = by ? MemberView(*by) : MorvantaMember{};
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.onMemberScreenShareStateChanged)
        l.onMemberScreenShareStateChanged(&c, sharing, by ? &op : nullptr, l.user_data);
    });
  }
  void OnReceiveChatroomMessages(const std::vector<MvChatMessage>& messages) override {
    log::Info(kWrapperTag, " 🔔 OnReceiveChatroomMessages called (message count: ", messages.size(), ")");
    // Built with the chat records' own builder and released after the calls.
    thread_local std::vector<MorvantaChatMessage> buffer;
    buffer.clear();
    std::vector<MorvantaChatMessage*> built;
    for (const MvChatMessage& m : messages) {
      MorvantaChatMessage* c = BuildChatMessage(m);
      if (!c) continue;  // an allocation failure drops that message
      built.push_back(c);
      buffer.push_back(*c);
    }
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.onReceiveChatroomMessages)
        l.onReceiveChatroomMessages(buffer.data(), static_cast<uint32_t>(buffer.size()), l.user_data);
    });
    for (MorvantaChatMessage* c : built) Morvanta_FreeChatMessage(c);
    buffer.clear();
  }
  void OnMemberChatBanStateChanged(const MvMember& member, bool banned, int32_t duration,
                                   const std::string& notifyExt, const MvMember* by) override {
    log::Info(kWrapperTag, " 🔔 OnMemberChatBanStateChanged called");
    MorvantaMember c = MemberView(member);
    MorvantaMember op = by ? MemberView(*by) : MorvantaMember{};
    FanOut([&](const MorvantaMeetingListener& l) {
      if (l.onMemberChatBanStateChanged)
        l.onMemberChatBanStateChanged(&c, banned, duration, notifyExt.c_str(), by ? &op : nullptr, l.user_data);
    });
  }

 private:
  static size_t ListenerCount() { return Channel().listeners.size(); }
};

// One wrapper for the life of the process: a drain in flight may still hold
// its address after the last C listener went.
MeetingListenerWrapper& Wrapper() {
  static auto* wrapper = new MeetingListenerWrapper;
  return *wrapper;
}

bool SameRecord(const MorvantaMeetingListener& a, const MorvantaMeetingListener& b) {
  return std::memcmp(&a, &b, sizeof(MorvantaMeetingListener)) == 0;
}

}  // namespace

bool StopMeetingListeners() {
  std::shared_ptr<MvMeetingManager> manager;
  {
    std::lock_guard<std::mutex> lock(Channel().mutex);
    manager = Channel().manager;
  }
  if (!manager) return false;
  manager->RemoveMeetingListener(nullptr);
  return true;
}

void ClearMeetingListeners() {
  std::shared_ptr<MvMeetingManager> manager;
  {
    std::lock_guard<std::mutex> lock(Channel().mutex);
    Channel().listeners.clear();
    Channel().wrapperRegistered = false;
    manager = std::move(Channel().manager);
  }
  // The manager (and its loop threads) may end here, outside the mutex.
}

}  // namespace capi
}  // namespace morvanta

using namespace morvanta;
using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Meeting_AddMeetingListener(MorvantaMeetingManager_T* handle,
                                                     const MorvantaMeetingListener* listener) {
  return Guarded<int>("Morvanta_Meeting_AddMeetingListener", -999, [&] {
    log::Info(kTag, " 🚀 Morvanta_Meeting_AddMeetingListener");
    if (!handle || !handle->manager) {
      log::Error(kTag, " ❌ Invalid handle");
      return -1;
    }
    if (!listener) {
      log::Error(kTag, " ❌ Invalid listener");
      return -1;
    }
    MeetingChannelState& ch = Channel();
    std::lock_guard<std::mutex> lock(ch.mutex);
    bool wasEmpty = ch.listeners.empty();
    ch.listeners.push_back(*listener);
    if (wasEmpty) {
      log::Info(kTag, " 📝 Creating MeetingListenerWrapper...");
      if (ch.manager) ch.manager->RemoveMeetingListener(&Wrapper());
      log::Info(kTag, " 📝 Calling MvMeetingManager::AddMeetingListener...");
      handle->manager->AddMeetingListener(&Wrapper());
      ch.manager = handle->manager;
      ch.wrapperRegistered = true;
      log::Info(kTag, " ✅ Registered C++ wrapper listener with MvMeetingManager");
    } else {
      log::Info(kTag, " ℹ️ Wrapper already registered, only storing new C listener");
    }
    log::Info(kTag, " ✅ Meeting listener stored (count: ", ch.listeners.size(), ")");
    return 0;
  });
}

MORVANTA_API int Morvanta_Meeting_RemoveMeetingListener(MorvantaMeetingManager_T* handle,
                                                        const MorvantaMeetingListener* listener) {
  return Guarded<int>("Morvanta_Meeting_RemoveMeetingListener", -999, [&] {
    if (!handle || !handle->manager) {
      log::Error(kTag, " ❌ Invalid handle");
      return -1;
    }
    if (!listener) {
      log::Error(kTag, " ❌ Invalid listener");
      return -1;
    }
    MeetingChannelState& ch = Channel();
    std::lock_guard<std::mutex> lock(ch.mutex);
    auto it = ch.listeners.begin();
    while (it != ch.listeners.end() && !SameRecord(*it, *listener)) ++it;
    if (it == ch.listeners.end()) {
      log::Info(kTag, " ⚠️ Meeting listener not found");
      return -1;
    }
    ch.listeners.erase(it);
    if (ch.listeners.empty() && ch.wrapperRegistered && ch.manager) {
      ch.manager->RemoveMeetingListener(&Wrapper());
      ch.wrapperRegistered = false;
      ch.manager.reset();
      log::Info(kTag, " ✅ Unregistered C++ wrapper listener");
    }
    log::Info(kTag, " ✅ Meeting listener removed (count: ", ch.listeners.size(), ")");
    return 0;
  });
}

}  // extern "C"
