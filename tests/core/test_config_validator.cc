// Start-configuration rules: one row per rule, in the order they apply.
#include <gtest/gtest.h>

#include <functional>

#include "core/config_validator.h"

using morvanta::ConfigValidator;
using morvanta::MvGatherdeckInitConfig;

namespace {

MvGatherdeckInitConfig Valid() {
  MvGatherdeckInitConfig c;
  c.appKey = "app-key_01.x";
  c.logPath = "/tmp";
  return c;
}

morvanta::MvImPrivateConf Im() {
  morvanta::MvImPrivateConf im;
  im.lbsServer = "lbs.example.test:8080/path";
  im.linkServer = "link";
  im.mvsLbsServer = "mvs";
  im.appkey = "k";
  return im;
}

}  // namespace

TEST(ConfigValidator, RulesApplyInOrderWithTheirTexts) {
  struct Row {
    const char* what;
    std::function<void(MvGatherdeckInitConfig&)> change;
    const char* error;  // nullptr: valid
  };
  const Row rows[] = {
      {"valid minimal", [](auto&) {}, nullptr},
      {"both empty reports the key first", [](auto& c) { c.appKey.clear(); c.logPath.clear(); },
       "appKey is required and cannot be empty"},
      {"no log path", [](auto& c) { c.logPath.clear(); }, "logPath is required and cannot be empty"},
      {"key too short", [](auto& c) { c.appKey = "abc"; },
       "Invalid appKey format (expected 4-128 characters: letters, digits, '_', '.', '-')"},
      {"key with a blank", [](auto& c) { c.appKey = "ab cd"; },
       "Invalid appKey format (expected 4-128 characters: letters, digits, '_', '.', '-')"},
      {"key of 128", [](auto& c) { c.appKey = std::string(128, 'k'); }, nullptr},
      {"key of 129", [](auto& c) { c.appKey = std::string(129, 'k'); },
       "Invalid appKey format (expected 4-128 characters: letters, digits, '_', '.', '-')"},
      {"locale ok", [](auto& c) { c.locale = "zh-CN"; }, nullptr},
      {"locale underscore", [](auto& c) { c.locale = "zh_CN"; },
       "Invalid locale format (should be like 'zh-CN', 'en-US')"},
      {"locale cases swapped", [](auto& c) { c.locale = "ZH-cn"; },
       "Invalid locale format (should be like 'zh-CN', 'en-US')"},
      {"locale third letter", [](auto& c) { c.locale = "zho-CN"; },
       "Invalid locale format (should be like 'zh-CN', 'en-US')"},
      {"empty locale", [](auto& c) { c.locale = ""; }, "Invalid locale format (should be like 'zh-CN', 'en-US')"},
      {"url with port and path", [](auto& c) { c.serverUrl = "http://meet.example-1.test:8443/api/v1"; }, nullptr},
      {"url upper-case scheme", [](auto& c) { c.serverUrl = "HTTP://meet.test"; },
       "Invalid serverUrl format (should be a valid HTTP/HTTPS URL)"},
      {"url other scheme", [](auto& c) { c.serverUrl = "ftp://meet.test"; },
       "Invalid serverUrl format (should be a valid HTTP/HTTPS URL)"},
      {"url query without path", [](auto& c) { c.serverUrl = "https://meet.test?x=1"; },
       "Invalid serverUrl format (should be a valid HTTP/HTTPS URL)"},
      {"empty url", [](auto& c) { c.serverUrl = ""; }, "Invalid serverUrl format (should be a valid HTTP/HTTPS URL)"},
      {"im ok", [](auto& c) { c.imPrivateConf = Im(); }, nullptr},
      {"im no lbs", [](auto& c) { c.imPrivateConf = Im(); c.imPrivateConf->lbsServer.clear(); },
       "IM lbsServer cannot be empty"},
      {"im no link", [](auto& c) { c.imPrivateConf = Im(); c.imPrivateConf->linkServer.clear(); },
       "IM linkServer cannot be empty"},
      {"im no mvs", [](auto& c) { c.imPrivateConf = Im(); c.imPrivateConf->mvsLbsServer.clear(); },
       "IM mvsLbsServer cannot be empty"},
      {"im no appkey", [](auto& c) { c.imPrivateConf = Im(); c.imPrivateConf->appkey.clear(); },
       "IM appkey cannot be empty"},
      {"im lbs with a scheme", [](auto& c) { c.imPrivateConf = Im(); c.imPrivateConf->lbsServer = "https://x"; },
       "IM lbsServer format is invalid"},
      {"im lbs with a space", [](auto& c) { c.imPrivateConf = Im(); c.imPrivateConf->lbsServer = "a b"; },
       "IM lbsServer format is invalid"},
      {"rtc no statistics",
       [](auto& c) { c.mvRtcServerAddresses = morvanta::MvRtcServerAddresses{"ch", "", "room", ""}; },
       "RTC statisticsServer cannot be empty"},
      {"rtc bad channel",
       [](auto& c) { c.mvRtcServerAddresses = morvanta::MvRtcServerAddresses{"c h", "s", "r", ""}; },
       "RTC channelServer format is invalid"},
      {"rtc ok without compat",
       [](auto& c) { c.mvRtcServerAddresses = morvanta::MvRtcServerAddresses{"ch:1", "s", "r", ""}; }, nullptr},
      {"whiteboard no direct",
       [](auto& c) { c.whiteboardConfig = morvanta::MvWhiteboardConfig{"ch", "doc", ""}; },
       "Whiteboard directServer cannot be empty"},
      {"whiteboard bad channel",
       [](auto& c) { c.whiteboardConfig = morvanta::MvWhiteboardConfig{"c h", "doc", "d"}; },
       "Whiteboard channelServer format is invalid"},
      {"empty extras", [](auto& c) { c.extras.emplace(); }, nullptr},
      {"extras underscores", [](auto& c) { c.extras = {{{"___", "v"}}}; }, nullptr},
      {"extras hyphen key", [](auto& c) { c.extras = {{{"a-b", "v"}}}; },
       "Extras key 'a-b' contains invalid characters"},
      {"extras empty key", [](auto& c) { c.extras = {{{"", "v"}}}; }, "Extras key cannot be empty"},
      {"extras digit zero", [](auto& c) { c.extras = {{{"n", "10"}}}; },
       "Extras value for key 'n' contains null character"},
      {"extras real NUL passes", [](auto& c) { c.extras = {{{"n", std::string("a\0b", 3)}}}; }, nullptr},
  };
  for (const Row& row : rows) {
    MvGatherdeckInitConfig c = Valid();
    row.change(c);
    std::string error;
    bool valid = ConfigValidator::Validate(c, error);
    EXPECT_EQ(valid, row.error == nullptr) << row.what << ": " << error;
    if (row.error) EXPECT_EQ(error, row.error) << row.what;
  }
}

TEST(ConfigValidator, ExtrasCountIsCheckedLastAndCapsAtFifty) {
  std::map<std::string, std::string> extras;
  for (int i = 0; i < 50; ++i) extras["k" + std::to_string(i + 1) + "x"] = "v";
  std::string error;
  // "k10x" etc. hold no digit zero in their values; only values are checked for it.
  EXPECT_TRUE(ConfigValidator::ValidateExtras(extras, error)) << error;
  extras["k51x"] = "v";
  EXPECT_FALSE(ConfigValidator::ValidateExtras(extras, error));
  EXPECT_EQ(error, "Too many extras entries (maximum 50 allowed)");
  extras["bad-key"] = "v";  // a bad entry wins over the count
  EXPECT_FALSE(ConfigValidator::ValidateExtras(extras, error));
  EXPECT_EQ(error, "Extras key 'bad-key' contains invalid characters");
}
