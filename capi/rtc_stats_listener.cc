// C listeners of the RTC statistics channel. Scalar kinds reach C as one
// record built on the stack; list kinds as an array with its count, kept in
// thread-local buffers that each call clears and refills (in host dispatch,
// on the dispatching thread, per record).
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

// A scalar kind: `build` makes the C record from the native one.
template <typename Field, typename Native, typename Build>
void FanOut(const char* name, Field field, const Native& stats, Build build) {
  TheChannel().EmitLogged(
      kWrapperTag, name, "", field,
      [build](auto&& call, const Native& s) {
        auto c = build(s);
        call(&c);
      },
      stats);
}

// A list kind. Each element's uuid is copied into `strings` first (so no
// later growth moves them), then the C records are built over those copies.
template <typename CRecord, typename Native, typename Field, typename Build>
void FanOutList(const char* name, Field field, const std::vector<Native>& stats, Build build) {
  TheChannel().EmitLogged(
      kWrapperTag, name, "stats count: " + std::to_string(stats.size()) + ", ", field,
      [build](auto&& call, const std::vector<Native>& list) {
        thread_local std::vector<std::string> strings;
        thread_local std::vector<CRecord> records;
        strings.clear();
        records.clear();
        for (const Native& s : list) strings.push_back(s.userUuid);
        for (size_t i = 0; i < list.size(); ++i) records.push_back(build(list[i], strings[i].c_str()));
        call(records.data(), static_cast<uint32_t>(records.size()));
      },
      stats);
}

class RtcStatsListenerWrapper : public IMvRtcStatsListener {
 public:
  void OnRtcStats(const MvRtcStats& stats) override {
    FanOut("OnRtcStats", &MorvantaRtcStatsListener::onRtcStats, stats, [](const MvRtcStats& s) {
      return MorvantaRtcStats{s.duration,     s.txBytes,      s.rxBytes,     s.txAudioBytes,
                              s.txVideoBytes, s.rxAudioBytes, s.rxVideoBytes};
    });
  }
  void OnLocalAudioStats(const MvLocalAudioStats& stats) override {
    FanOut("OnLocalAudioStats", &MorvantaRtcStatsListener::onLocalAudioStats, stats, [](const MvLocalAudioStats& s) {
      return MorvantaLocalAudioStats{s.volume, s.numChannels, s.sentSampleRate, s.sentBitrate};
    });
  }
  void OnLocalVideoStats(const MvLocalVideoStats& stats) override {
    FanOut("OnLocalVideoStats", &MorvantaRtcStatsListener::onLocalVideoStats, stats, [](const MvLocalVideoStats& s) {
      return MorvantaLocalVideoStats{s.captureWidth,           s.captureHeight, s.encodedFrameWidth,
                                     s.encodedFrameHeight,     s.encoderOutputFrameRate, s.sentFrameRate,
                                     s.sentBitrate};
    });
  }
  void OnRemoteAudioStats(const std::vector<MvRemoteAudioStats>& stats) override {
    FanOutList<MorvantaRemoteAudioStats>("OnRemoteAudioStats", &MorvantaRtcStatsListener::onRemoteAudioStats, stats,
                                         [](const MvRemoteAudioStats& s, const char* uuid) {
                                           return MorvantaRemoteAudioStats{uuid, s.volume, s.receivedBitrate};
                                         });
  }
  void OnRemoteVideoStats(const std::vector<MvRemoteVideoStats>& stats) override {
    FanOutList<MorvantaRemoteVideoStats>("OnRemoteVideoStats", &MorvantaRtcStatsListener::onRemoteVideoStats, stats,
                                         [](const MvRemoteVideoStats& s, const char* uuid) {
                                           return MorvantaRemoteVideoStats{uuid,
                                                                           s.width,
                                                                           s.height,
                                                                           s.receivedBitrate,
                                                                           s.decoderOutputFrameRate,
                                                                           s.rendererOutputFrameRate};
                                         });
  }
  void OnNetworkQuality(const std::vector<MvNetworkQualityInfo>& stats) override {
    FanOutList<MorvantaNetworkQualityInfo>(
        "OnNetworkQuality", &MorvantaRtcStatsListener::onNetworkQuality, stats,
        [](const MvNetworkQualityInfo& s, const char* uuid) {
          return MorvantaNetworkQualityInfo{uuid, s.uplinkQuality, s.downlinkQuality};
        });
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
