// Checks a start configuration before anything reaches the JS SDK, and logs a
// summary of what it saw. Stateless; never throws on bad input.
#pragma once

#include <map>
#include <string>

#include "core/init_config.h"

namespace morvanta {

class ConfigValidator {
 public:
  // Stops at the first failing rule; on false `error` holds its text.
  static bool Validate(const MvGatherdeckInitConfig& config, std::string& error);
  static bool ValidateServerUrl(const std::string& url);
  // Application keys: 4 to 128 characters of letters, digits, '_', '.', '-'.
  static bool ValidateAppKey(const std::string& appKey, std::string& error);
  static bool ValidateRtcConfig(const MvRtcServerAddresses& rtc, std::string& error);
  static bool ValidateWhiteboardConfig(const MvWhiteboardConfig& whiteboard, std::string& error);
  static bool ValidateExtras(const std::map<std::string, std::string>& extras, std::string& error);
  static void LogValidationSummary(const MvGatherdeckInitConfig& config, bool valid, const std::string& error);

  static constexpr size_t kMaxExtras = 50;
};

}  // namespace morvanta
