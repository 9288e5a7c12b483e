// Where the host process lives on disk.
#pragma once

#include <string>

namespace morvanta {

// Full path of the host executable, read from /proc/self/exe; empty if it
// cannot be read.
std::string HostExecutablePath();

// Directory of the host executable with a trailing '/', or empty.
std::string HostExecutableDir();

}  // namespace morvanta
