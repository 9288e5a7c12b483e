#include "core/config_validator.h"

#include <regex>

#include "runtime/log.h"

namespace morvanta {
namespace {

bool Matches(const std::string& text, const char* pattern) {
  return std::regex_match(text, std::regex(pattern));
}

const char* FlagText(const std::optional<bool>& flag) {
  return flag ? (*flag ? "true" : "false") : "not set";
}

// A required-then-format rule list for the server records: each field must be
// present, then the channel server must form a valid URL with a scheme added.
struct Required {
  const std::string& value;
  const char* missing;
};

bool CheckServers(std::initializer_list<Required> fields, const std::string& channel, const char* badFormat,
                  std::string& error) {
  for (const Required& field : fields) {
    if (field.value.empty()) {
      error = field.missing;
      return false;
    }
  }
  if (!ConfigValidator::ValidateServerUrl("https://" + channel)) {
    error = badFormat;
    return false;
  }
  return true;
}

}  // namespace

bool ConfigValidator::ValidateServerUrl(const std::string& url) {
  return Matches(url, R"(^https?://[\w\.-]+(:[0-9]+)?(/.*)?$)");
}

bool ConfigValidator::ValidateAppKey(const std::string& appKey, std::string& error) {
  if (appKey.size() < 4 || appKey.size() > 128 || !Matches(appKey, R"(^[A-Za-z0-9_.\-]+$)")) {
    error = "Invalid appKey format (expected 4-128 characters: letters, digits, '_', '.', '-')";
    return false;
  }
  return true;
}

bool ConfigValidator::ValidateRtcConfig(const MvRtcServerAddresses& rtc, std::string& error) {
  return CheckServers({{rtc.channelServer, "RTC channelServer cannot be empty"},
                       {rtc.statisticsServer, "RTC statisticsServer cannot be empty"},
                       {rtc.roomServer, "RTC roomServer cannot be empty"}},
                      rtc.channelServer, "RTC channelServer format is invalid", error);
}

bool ConfigValidator::ValidateWhiteboardConfig(const MvWhiteboardConfig& whiteboard, std::string& error) {
  return CheckServers({{whiteboard.channelServer, "Whiteboard channelServer cannot be empty"},
                       {whiteboard.docTransServer, "Whiteboard docTransServer cannot be empty"},
                       {whiteboard.directServer, "Whiteboard directServer cannot be empty"}},
                      whiteboard.channelServer, "Whiteboard channelServer format is invalid", error);
}

bool ConfigValidator::ValidateExtras(const std::map<std::string, std::string>& extras, std::string& error) {
  for (const auto& [key, value] : extras) {
    if (key.empty()) {
      error = "Extras key cannot be empty";
      return false;
    }
    if (!Matches(key, "^[a-zA-Z0-9_]+$")) {
      error = "Extras key '" + key + "' contains invalid characters";
      return false;
    }
    // Looks for the digit zero (0x30), not a NUL byte; the SDK's own wording.
    if (value.find('0') != std::string::npos) {
      error = "Extras value for key '" + key + "' contains null character";
      return false;
    }
  }
  if (extras.size() > kMaxExtras) {
    error = "Too many extras entries (maximum 50 allowed)";
    return false;
  }
  return true;
}

bool ConfigValidator::Validate(const MvGatherdeckInitConfig& config, std::string& error) {
  if (config.appKey.empty()) {
    error = "appKey is required and cannot be empty";
    return false;
  }
  if (config.logPath.empty()) {
    error = "logPath is required and cannot be empty";
    return false;
  }
  if (!ValidateAppKey(config.appKey, error)) return false;
  if (config.locale && !Matches(*config.locale, "^[a-z]{2}-[A-Z]{2}$")) {
    error = "Invalid locale format (should be like 'zh-CN', 'en-US')";
    return false;
  }
  if (config.serverUrl && !ValidateServerUrl(*config.serverUrl)) {
    error = "Invalid serverUrl format (should be a valid HTTP/HTTPS URL)";
    return false;
  }
  if (config.imPrivateConf) {
    const MvImPrivateConf& im = *config.imPrivateConf;
    if (!CheckServers({{im.lbsServer, "IM lbsServer cannot be empty"},
                       {im.linkServer, "IM linkServer cannot be empty"},
                       {im.mvsLbsServer, "IM mvsLbsServer cannot be empty"},
                       {im.appkey, "IM appkey cannot be empty"}},
                      im.lbsServer, "IM lbsServer format is invalid", error))
      return false;
  }
  if (config.mvRtcServerAddresses && !ValidateRtcConfig(*config.mvRtcServerAddresses, error)) return false;
  if (config.whiteboardConfig && !ValidateWhiteboardConfig(*config.whiteboardConfig, error)) return false;
  if (config.extras && !ValidateExtras(*config.extras, error)) return false;
  return true;
}

void ConfigValidator::LogValidationSummary(const MvGatherdeckInitConfig& config, bool valid,
                                           const std::string& error) {
  log::Info("[ConfigValidator] Validation result for appKey '", config.appKey, "': ", valid ? "VALID" : "INVALID");
  if (!valid) log::Info("[ConfigValidator] Validation error: ", error);
  log::Info("[ConfigValidator] Configuration summary:");
  log::Info("  - debug: ", FlagText(config.debug));
  log::Info("  - eventTracking: ", FlagText(config.eventTracking));
  log::Info("  - serverUrl: ", config.serverUrl ? "set" : "not set");
  log::Info("  - locale: ", config.locale ? *config.locale : std::string("not set"));
  log::Info("  - imPrivateConf: ", config.imPrivateConf ? "configured" : "not set");
  log::Info("  - mvRtcServerAddresses: ", config.mvRtcServerAddresses ? "configured" : "not set");
  log::Info("  - whiteboardConfig: ", config.whiteboardConfig ? "configured" : "not set");
  if (config.extras)
    log::Info("  - extras: ", config.extras->size(), " entries");
  else
    log::Info("  - extras: not set");
}

}  // namespace morvanta
