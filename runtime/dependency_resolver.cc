#include "runtime/dependency_resolver.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "runtime/log.h"

namespace morvanta {
namespace runtime {
namespace {

namespace fs = std::filesystem;

constexpr const char kLibnode[] = "libnode.so.108";

// Some required entry points carry a C++ name in the Linux build of libnode;
// each is looked up by its plain name first, then by that name.
struct SymbolAlias {
  const char* required;
  const char* linux_name;
};
constexpr SymbolAlias kAliases[] = {
    {"node_main", "_ZN4node5StartEiPPc"},  // node::Start(int, char**)
    {"node_start",
     "_ZN4node24InitializeOncePerProcessERKSt6vectorINSt7__cxx1112basic_stringIcSt11char_"
     "traitsIcESaIcEEESaIS6_EENS_12ProcessFlags5FlagsE"},  // node::InitializeOncePerProcess
    {"node_stop", "_ZN4node4StopEPNS_11EnvironmentE"},     // node::Stop(Environment*)
};

void Info(const std::string& text) { log::Info("[INFO] ", text); }
void Fail(const std::string& text) { log::Error("[ERROR] ", text); }

DependencyResult Ok() { return {true, {}}; }
DependencyResult Err(std::string text) { return {false, std::move(text)}; }

bool Exists(const std::string& path) {
  std::error_code ec;
  return fs::exists(path, ec);
}

DependencyResult CopyFile(const std::string& from, const std::string& to_dir) {
  if (!Exists(from)) return Err("Source file not found: " + from);
  std::error_code ec;
  fs::create_directories(to_dir, ec);
  fs::path dest = fs::path(to_dir) / fs::path(from).filename();
  if (fs::equivalent(from, dest, ec)) return Ok();  // already in place
  fs::copy_file(from, dest, fs::copy_options::overwrite_existing, ec);
  if (ec) return Err(ec.message());
  Info("[DependencyResolver] Copied: " + from + " -> " + dest.string());
  if (!Exists(dest.string())) return Err("Copied libnode.dll validation failed: file not found");
  return Ok();
}

void* LoadLibrary(const std::string& name_or_path, std::string* error) {
  dlerror();
  void* handle = dlopen(name_or_path.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (!handle && error) {
    const char* e = dlerror();
    *error = e ? e : "unknown error";
  }
  return handle;
}

DependencyResult PreLoad(const std::string& output_dir) {
  // There is no node forwarder on Linux: the host links libnode directly.
  std::string local = (fs::path(output_dir) / kLibnode).string();
  std::string err;
  if (Exists(local)) {
    void* module = LoadLibrary(local, &err);
    if (!module) return Err("Failed to load libnode.dll (error " + err + ")");
    DependencyResult check = DependencyResolver::ValidateModuleSymbols(module);
    if (!check.success) return Err("libnode.dll symbol validation failed: " + check.error);
  } else {
    log::Info("[DependencyResolver] libnode.dll not found in output directory, checking system PATH...");
    void* module = LoadLibrary(kLibnode, &err);
    if (!module) return Err("libnode.dll not found in output directory or system PATH");
    DependencyResult check = DependencyResolver::ValidateModuleSymbols(module);
    if (!check.success) return Err("System libnode.dll symbol validation failed: " + check.error);
    log::Info("[DependencyResolver] Found valid libnode.dll in system PATH");
  }
  // The handle stays open for the life of the process.
  log::Info("[DependencyResolver] All dependencies pre-loaded and validated successfully");
  return Ok();
}

}  // namespace

const std::vector<std::string>& RequiredNodeSymbols() {
  static const std::vector<std::string> symbols = {"node_main", "node_start",      "node_stop",
                                                   "uv_default_loop", "uv_run", "uv_loop_close"};
  return symbols;
}

const char* DependencyResolver::LibnodeName() { return kLibnode; }

DependencyResult DependencyResolver::ValidateModuleSymbols(void* module) {
  if (!module) return Err("Invalid module handle");
  std::string missing;
  for (const std::string& name : RequiredNodeSymbols()) {
    void* address = dlsym(module, name.c_str());
    for (const SymbolAlias& alias : kAliases) {
      if (!address && name == alias.required) address = dlsym(module, alias.linux_name);
    }
    if (!address) missing += " " + name;
  }
  if (!missing.empty()) return Err("Missing required Node.js symbols" + missing);
  return Ok();
}

bool DependencyResolver::AddToPath(const std::string& dir) {
  const char* current = getenv("PATH");
  std::string path = current ? current : "";
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find(':', start);
    if (end == std::string::npos) end = path.size();
    if (path.compare(start, end - start, dir) == 0 && end - start == dir.size()) {
      log::Info("[DependencyResolver] Path already in PATH: ", dir);
      return true;
    }
    start = end + 1;
  }
  std::string updated = path.empty() ? dir : dir + ":" + path;
  if (setenv("PATH", updated.c_str(), 1) != 0) {
    log::Error("[DependencyResolver] Failed to set PATH (error ", std::strerror(errno), ")");
    return false;
  }
  log::Info("[DependencyResolver] Added to PATH: ", dir);
  return true;
}

DependencyResult DependencyResolver::Resolve(const DependencyConfig& config) {
  log::Info("[DependencyResolver] Starting dependency resolution...");
  DependencyResult result = [&]() -> DependencyResult {
    if (config.morvanta_build_path.empty()) return Err("morvanta_build_path is required");
    if (config.demo_output_path.empty()) return Err("demo_output_path is required");
    if (!Exists(config.morvanta_build_path))
      return Err("morvanta_build_path does not exist: " + config.morvanta_build_path);

    log::Info("[DependencyResolver] node.exe forwarder: not used on Linux, nothing to copy");
    std::string libnode = (fs::path(config.morvanta_build_path) / kLibnode).string();
    if (Exists(libnode)) {
      log::Info("[DependencyResolver] Copying libnode.dll...");
      DependencyResult copied = CopyFile(libnode, config.demo_output_path);
      if (!copied.success)
        log::Error("[DependencyResolver] Warning: Failed to copy libnode.dll: ", copied.error);
    } else {
      log::Info("[DependencyResolver] libnode.dll not found in build output, assuming it's available in system PATH");
    }

    log::Info("[DependencyResolver] Setting up environment PATH...");
    std::error_code ec;
    std::string output_dir = fs::absolute(config.demo_output_path, ec).lexically_normal().string();
    if (ec) output_dir = config.demo_output_path;
    if (!output_dir.empty() && output_dir.size() > 1 && output_dir.back() == '/') output_dir.pop_back();
    if (!AddToPath(output_dir))
      log::Error("[DependencyResolver] Warning: Failed to modify PATH environment variable");

    log::Info("[DependencyResolver] Pre-loading dependencies...");
    DependencyResult preload = PreLoad(config.demo_output_path);
    if (!preload.success) return Err("Dependency pre-load validation failed: " + preload.error);
    log::Info("[DependencyResolver] Dependency resolution completed successfully");
    return Ok();
  }();
  if (result.success) {
    if (config.verbose) Info("Dependencies resolved");
  } else {
    Fail(result.error);
  }
  return result;
}

bool EnsureDelayLoadHook() {
  static std::once_flag once;
  bool first = false;
  std::call_once(once, [&] { first = true; });
  return first;
}

}  // namespace runtime
}  // namespace morvanta
