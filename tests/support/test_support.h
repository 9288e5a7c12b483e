// Shared helpers for the test executables.
#pragma once

#include <string>

namespace morvanta_test {

// Directory that holds the running test executable (and the sandbox index.js).
std::string ExecutableDir();

// Root of the source tree (for test data shipped with the sources).
std::string SourceDir();

}  // namespace morvanta_test
