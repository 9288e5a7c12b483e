// A sandbox scenario file for the SDK the next initialisation loads (in this
// process and its children); removed again with the object.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace morvanta_test {

class Scenario {
 public:
  explicit Scenario(const std::string& json) {
    char name[] = "/tmp/morvanta-scenario-XXXXXX";
    int fd = mkstemp(name);
    if (fd >= 0) close(fd);
    path_ = name;
    std::ofstream(path_) << json;
    setenv("MORVANTA_SANDBOX_SCENARIO", path_.c_str(), 1);
  }
  ~Scenario() {
    unsetenv("MORVANTA_SANDBOX_SCENARIO");
    std::remove(path_.c_str());
  }

 private:
  std::string path_;
};

}  // namespace morvanta_test
