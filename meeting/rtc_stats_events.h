// The RTC statistics channel: the media engine's periodic measurements
// (traffic, local and remote audio and video, network quality per member).
// The records, the listener interface, the channel's scripts and the dispatch
// of drained records to native listeners.
//
// Unlike the other channels, the JavaScript listener hands each record to a
// notification function, __morvantaNotifyRtcStatsEvent, which queues it and
// logs the queue; without that function the listener pushes directly.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "meeting/channel_scripts.h"

namespace morvanta {

// Numbers arrive as doubles and are truncated toward zero; a missing key, or
// one of another kind, reads as 0. The byte counters are 32 bits wide.
struct MvRtcStats {
  int64_t duration = 0;
  int32_t txBytes = 0;
  int32_t rxBytes = 0;
  int32_t txAudioBytes = 0;
  int32_t txVideoBytes = 0;
  int32_t rxAudioBytes = 0;
  int32_t rxVideoBytes = 0;
};

struct MvLocalAudioStats {
  int32_t volume = 0;
  int32_t numChannels = 0;
  int32_t sentSampleRate = 0;
  int32_t sentBitrate = 0;
};

struct MvLocalVideoStats {
  int32_t captureWidth = 0;
  int32_t captureHeight = 0;
  int32_t encodedFrameWidth = 0;
  int32_t encodedFrameHeight = 0;
  int32_t encoderOutputFrameRate = 0;
  int32_t sentFrameRate = 0;
  int32_t sentBitrate = 0;
};

struct MvRemoteAudioStats {
  std::string userUuid;
  int32_t volume = 0;
  int32_t receivedBitrate = 0;
};

struct MvRemoteVideoStats {
  std::string userUuid;
  int32_t width = 0;
  int32_t height = 0;
  int32_t receivedBitrate = 0;
  int32_t decoderOutputFrameRate = 0;
  int32_t rendererOutputFrameRate = 0;
};

struct MvNetworkQualityInfo {
  std::string userUuid;
  int32_t uplinkQuality = 0;  // on the SDK's own scale
  int32_t downlinkQuality = 0;
};

class IMvRtcStatsListener {
 public:
  virtual ~IMvRtcStatsListener() = default;
  virtual void OnRtcStats(const MvRtcStats& stats) = 0;
  virtual void OnLocalAudioStats(const MvLocalAudioStats& stats) = 0;
  virtual void OnRemoteAudioStats(const std::vector<MvRemoteAudioStats>& stats) = 0;
  virtual void OnLocalVideoStats(const MvLocalVideoStats& stats) = 0;
  virtual void OnRemoteVideoStats(const std::vector<MvRemoteVideoStats>& stats) = 0;
  virtual void OnNetworkQuality(const std::vector<MvNetworkQualityInfo>& stats) = 0;
};

extern const ChannelGlobals kRtcStatsGlobals;
// Check, cleanup, remove (always a fresh array) and the logging drain; this
// channel has no array init script, its register script makes the array.
const ChannelScripts& RtcStatsChannelScripts();
// The register script. It reuses the listener object of an earlier
// registration, so the text is the same for a first and a repeated one.
const std::string& RtcStatsRegisterScript(bool reregister);
// Defines __morvantaNotifyRtcStatsEvent and resets the count and pending flag.
const std::string& RtcStatsNotificationHandlerScript();

// Dispatches one {type, data} record of the RTC stats channel.
void DispatchRtcStatsEvent(const JSValue& record, const std::vector<IMvRtcStatsListener*>& listeners);

}  // namespace morvanta
