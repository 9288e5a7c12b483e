#include "core/core_log.h"

#include <cstdio>

namespace morvanta {

void CoreLogLine(const std::string& line) {
  std::string out = line;
  out += '\n';
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fflush(stdout);
}

}  // namespace morvanta
