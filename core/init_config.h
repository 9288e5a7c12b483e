// The native form of the library's start configuration.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace morvanta {

struct MvImPrivateConf {
  std::string lbsServer;
  std::string linkServer;
  std::string mvsLbsServer;
  std::string defaultLinkServer;
  std::string mvsUploadSever;  // the SDK's own spelling
  std::string mvsUploadHost;
  std::string mvsDownloadHost;
  std::string mvsAccelerateHost;
  std::string mvsAccelerateUploadHost;
  std::string module;
  std::string version;
  std::string appkey;  // lower case, unlike the top-level appKey
};

struct MvRtcServerAddresses {
  std::string channelServer;
  std::string statisticsServer;
  std::string roomServer;
  std::string compatServer;
};

struct MvWhiteboardConfig {
  std::string channelServer;
  std::string docTransServer;
  std::string directServer;
};

struct MvGatherdeckInitConfig {
  std::string appKey;
  std::string logPath;
  std::optional<bool> debug;
  std::optional<bool> eventTracking;
  std::optional<std::string> serverUrl;
  std::optional<bool> useAssetServerConfig;
  std::optional<std::string> locale;
  std::optional<MvImPrivateConf> imPrivateConf;
  std::optional<MvRtcServerAddresses> mvRtcServerAddresses;
  std::optional<MvWhiteboardConfig> whiteboardConfig;
  std::optional<std::map<std::string, std::string>> extras;
};

}  // namespace morvanta
