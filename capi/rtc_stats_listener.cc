// C listeners of the RTC statistics channel. Scalar kinds reach C as one
// record built on the stack; list kinds as an array with its count, kept in
// thread-local buffers that each call clears and refills.
#include "capi/c_listener_channel.h"
#include "capi/call_frame.h"
#include "capi/listener_channels.h"
#include "capi/sdk_state.h"
#include "meeting/meeting_manager.h"

namespace morvanta {
namespace capi {
namespace {

constexpr char kWrapperTag[] = "[RtcStatsListenerWrapper]";

const CListenerTexts kTexts = {
    "[MeetingManager C API] 🚀 Morvanta_Meeting_AddRtcStatsListener",
    "[MeetingManager C API] 📝 Creating RtcStatsListenerWrapper...",
    "[MeetingManager C API] 📝 Calling MvMeetingManager::AddRtcStatsListener...",
    "[MeetingManager C API] ⚠️ NOTE: MvMeetingManager::AddRtcStatsListener is currently a placeholder - events may "
    "not be triggered until JSBridge integration is complete",
    "[MeetingManager C API] ✅ Listener stored (total count: ",
    "[MeetingManager C API] ⚠️ RTC stats listener not found",
    "[MeetingManager C API] ✅ RTC stats listener removed (count: ",
};

using Channel = CListenerChannel<MorvantaRtcStatsListener, IMvRtcStatsListener, MvMeetingManager>;
Channel& TheChannel();

template <typename Field, typename... Args>
void FanOut(const char* name, Field field, const Args&... args) {
  TheChannel().FanOut(kWrapperTag, name, "", field, args...);
}

// A list kind: `records` (and the strings they point into) were built for
// this call in the caller's thread-local buffers.
template <typename CRecord, typename Field>
void FanOutList(const char* name, Field field, const std::vector<CRecord>& records) {
  TheChannel().FanOut(kWrapperTag, name, "stats count: " + std::to_string(records.size()) + ", ", field,
                      records.data(), static_cast<uint32_t>(records.size()));
}

// Copies each native element's uuid into `strings` first (so no later
// growth moves them), then builds the C records over those copies.
template <typename Native, typename CRecord, typename Build>
const std::vector<CRecord>& ListView(const std::vector<Native>& stats, std::vector<std::string>& strings,
                                     std::vector<CRecord>& records, Build build) {
  strings.clear();
  records.clear();
  for (const Native& s : stats) strings.push_back(s.userUuid);
  for (size_t i = 0; i < stats.size(); ++i) records.push_back(build(stats[i], strings[i].c_str()));
  return records;
}

class RtcStatsListenerWrapper : public IMvRtcStatsListener {
 public:
  void OnRtcStats(const MvRtcStats& s) override {
    MorvantaRtcStats c{s.duration,     s.txBytes,      s.rxBytes,     s.txAudioBytes,
                       s.txVideoBytes, s.rxAudioBytes, s.rxVideoBytes};
    FanOut("OnRtcStats", &MorvantaRtcStatsListener::onRtcStats, &c);
  }
  void OnLocalAudioStats(const MvLocalAudioStats& s) override {
    MorvantaLocalAudioStats c{s.volume, s.numChannels, s.sentSampleRate, s.sentBitrate};
    FanOut("OnLocalAudioStats", &MorvantaRtcStatsListener::onLocalAudioStats, &c);
  }
  void OnLocalVideoStats(const MvLocalVideoStats& s) override {
    MorvantaLocalVideoStats c{s.captureWidth,           s.captureHeight, s.encodedFrameWidth, s.encodedFrameHeight,
                              s.encoderOutputFrameRate, s.sentFrameRate, s.sentBitrate};
    FanOut("OnLocalVideoStats", &MorvantaRtcStatsListener::onLocalVideoStats, &c);
  }
  void OnRemoteAudioStats(const std::vector<MvRemoteAudioStats>& stats) override {
    thread_local std::vector<std::string> strings;
    thread_local std::vector<MorvantaRemoteAudioStats> records;
    FanOutList("OnRemoteAudioStats", &MorvantaRtcStatsListener::onRemoteAudioStats,
               ListView(stats, strings, records, [](const MvRemoteAudioStats& s, const char* uuid) {
                 return MorvantaRemoteAudioStats{uuid, s.volume, s.receivedBitrate};
               }));
  }
  void OnRemoteVideoStats(const std::vector<MvRemoteVideoStats>& stats) override {
    thread_local std::vector<std::string> strings;
    thread_local std::vector<MorvantaRemoteVideoStats> records;
    FanOutList("OnRemoteVideoStats", &MorvantaRtcStatsListener::onRemoteVideoStats,
               ListView(stats, strings, records, [](const MvRemoteVideoStats& s, const char* uuid) {
                 return MorvantaRemoteVideoStats{uuid,
                                                 s.width,
                                                 s.height,
                                                 s.receivedBitrate,
                                                 s.decoderOutputFrameRate,
                                                 s.rendererOutputFrameRate};
               }));
  }
  void OnNetworkQuality(const std::vector<MvNetworkQualityInfo>& stats) override {
    thread_local std::vector<std::string> strings;
    thread_local std::vector<MorvantaNetworkQualityInfo> records;
    FanOutList("OnNetworkQuality", &MorvantaRtcStatsListener::onNetworkQuality,
               ListView(stats, strings, records, [](const MvNetworkQualityInfo& s, const char* uuid) {
                 return MorvantaNetworkQualityInfo{uuid, s.uplinkQuality, s.downlinkQuality};
               }));
  }
};

Channel& TheChannel() {
  return Channel::ForProcess<RtcStatsListenerWrapper>(kMeetingManagerFamily, kTexts,
                                                      &MvMeetingManager::AddRtcStatsListener,
                                                      &MvMeetingManager::RemoveRtcStatsListener);
}

}  // namespace

bool StopRtcStatsListeners() { return TheChannel().Stop(); }
void ClearRtcStatsListeners() { TheChannel().Clear(); }

}  // namespace capi
}  // namespace morvanta

using namespace morvanta::capi;

extern "C" {

MORVANTA_API int Morvanta_Meeting_AddRtcStatsListener(MorvantaMeetingManager_T* handle,
                                                      const MorvantaRtcStatsListener* listener) {
  return Guarded<int>("Morvanta_Meeting_AddRtcStatsListener", -999, [&] { return TheChannel().Add(handle, listener); });
}

MORVANTA_API int Morvanta_Meeting_RemoveRtcStatsListener(MorvantaMeetingManager_T* handle,
                                                         const MorvantaRtcStatsListener* listener) {
  return Guarded<int>("Morvanta_Meeting_RemoveRtcStatsListener", -999,
                      [&] { return TheChannel().Remove(handle, listener); });
}

}  // extern "C"
