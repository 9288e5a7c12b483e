// Proves, before the runtime is used, that the Node.js library can be found
// and carries the entry points the library relies on. On Linux libnode comes
// from a package and is linked directly, so nothing is copied: the resolver
// extends PATH for child processes, loads libnode with dlopen and checks its
// symbols with dlsym. A failed check is reported, never fatal to the caller.
#pragma once

#include <string>
#include <vector>

namespace morvanta {
namespace runtime {

struct DependencyConfig {
  std::string morvanta_build_path;
  std::string demo_output_path;
  bool verbose = false;
};

struct DependencyResult {
  bool success = false;
  std::string error;
};

// The entry points that must be present, in the order they are checked.
const std::vector<std::string>& RequiredNodeSymbols();

class DependencyResolver {
 public:
  static DependencyResult Resolve(const DependencyConfig& config);

  // Checks every required symbol in a dlopen handle; names the missing ones.
  static DependencyResult ValidateModuleSymbols(void* module);

  // Prepends `dir` to PATH unless it is already one of its entries.
  static bool AddToPath(const std::string& dir);

  // The name under which libnode is loaded when no copy lies in the output
  // directory.
  static const char* LibnodeName();
};

// Installs the lazy-link hook once. Linux resolves libnode's symbols when the
// library is loaded, so there is nothing to install; the call is kept so the
// runtime's start-up sequence reads the same everywhere, and is safe to repeat.
// Returns true only the first time.
bool EnsureDelayLoadHook();

}  // namespace runtime
}  // namespace morvanta
