#include "support/test_support.h"

#include <unistd.h>

#include <climits>

namespace morvanta_test {

std::string ExecutableDir() {
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
  if (n <= 0) return ".";
  std::string path(buf, static_cast<size_t>(n));
  auto slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string SourceDir() { return MORVANTA_TEST_SOURCE_DIR; }

}  // namespace morvanta_test
