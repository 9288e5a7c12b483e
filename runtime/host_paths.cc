#include "runtime/host_paths.h"

#include <unistd.h>

#include <climits>

namespace morvanta {

std::string HostExecutablePath() {
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
  if (n <= 0) return {};
  return std::string(buf, static_cast<size_t>(n));
}

std::string HostExecutableDir() {
  std::string path = HostExecutablePath();
  auto slash = path.rfind('/');
  if (slash == std::string::npos) return {};
  return path.substr(0, slash + 1);
}

}  // namespace morvanta
