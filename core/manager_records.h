// Records that a manager reads from the SDK's answer by hand, without
// JSDataConverter: the invite manager's account search results and the
// screen-share manager's capture sources. Plain value types, like those of
// core/records.h, copied into C records by the C layer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace morvanta {

// One account of getAccountInfoList or searchAccountInfoByPhone. The SDK
// calls the nickname `name`; the optional strings are engaged only when the
// SDK gave a non-empty text.
struct MvSearchAccountInfo {
  std::string userUuid;
  std::string nickname;
  std::optional<std::string> avatar;
  std::optional<std::string> phoneNumber;
  std::optional<std::string> dept;
};

// An icon or thumbnail of a capture source: its size and its raw bytes.
struct MvScreenCaptureImage {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> data;
};

// One screen or window offered for sharing.
struct MvScreenCaptureSource {
  int64_t sourceId = 0;
  std::string sourceName;
  int32_t sourceType = 0;
  std::optional<std::string> title;
  std::optional<std::string> processPath;
  std::optional<bool> primaryMonitor;
  std::optional<MvScreenCaptureImage> icon;
  std::optional<MvScreenCaptureImage> thumbImage;
};

}  // namespace morvanta
