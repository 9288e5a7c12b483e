// The initialisation record every test and benchmark host uses against the
// sandbox SDK: a valid app key, a log folder, everything else not set.
#pragma once

#include "morvanta.h"

namespace morvanta_test {

inline MorvantaInitConfig SandboxConfig(const char* app_key = "test-app-key-0001") {
  MorvantaInitConfig c{};
  c.app_key = app_key;
  c.log_path = "/tmp";
  c.use_asset_server_config = -1;
  c.debug = -1;
  return c;
}

}  // namespace morvanta_test
