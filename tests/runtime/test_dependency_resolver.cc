// Runtime dependency checks: configuration refusals, the PATH update, symbol
// validation against real and stand-in libraries, and the one-time hook.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "runtime/dependency_resolver.h"
#include "support/test_support.h"

using morvanta::runtime::DependencyResolver;
using morvanta::runtime::DependencyResult;
using morvanta::runtime::EnsureDelayLoadHook;
namespace fs = std::filesystem;

namespace {

// Number of PATH entries equal to `dir`.
int EntriesOf(const std::string& dir) {
  const char* raw = getenv("PATH");
  std::string path = raw ? raw : "";
  int count = 0;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find(':', start);
    if (end == std::string::npos) end = path.size();
    if (path.substr(start, end - start) == dir) ++count;
    start = end + 1;
  }
  return count;
}

// Keeps PATH as it was before each case.
class ResolverPathTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* raw = getenv("PATH");
    had_path = raw != nullptr;
    saved = raw ? raw : "";
  }
  void TearDown() override {
    if (had_path) setenv("PATH", saved.c_str(), 1);
    else unsetenv("PATH");
  }
  bool had_path = false;
  std::string saved;
};

}  // namespace

TEST(DependencyResolver, IncompleteConfigurationIsRefusedWithItsReason) {
  struct Row {
    std::string build;
    std::string output;
    std::string error;
  };
  const Row rows[] = {
      {"", "out", "morvanta_build_path is required"},
      {"", "", "morvanta_build_path is required"},
      {".", "", "demo_output_path is required"},
      {"/nonexistent/morvanta-build", "out", "morvanta_build_path does not exist: /nonexistent/morvanta-build"},
      // The output path is checked for presence before the build path for existence.
      {"/nonexistent/morvanta-build", "", "demo_output_path is required"},
  };
  for (const Row& row : rows) {
    DependencyResult r = DependencyResolver::Resolve({row.build, row.output});
    EXPECT_FALSE(r.success) << row.error;
    EXPECT_EQ(r.error, row.error);
  }
}

TEST_F(ResolverPathTest, ADirectoryIsAddedToPathOnceInFront) {
  const std::string dir = "/tmp/morvanta-path-" + std::to_string(getpid());
  setenv("PATH", "/usr/bin:/bin", 1);
  ASSERT_TRUE(DependencyResolver::AddToPath(dir));
  EXPECT_EQ(std::string(getenv("PATH")), dir + ":/usr/bin:/bin");
  ASSERT_TRUE(DependencyResolver::AddToPath(dir));
  EXPECT_EQ(std::string(getenv("PATH")), dir + ":/usr/bin:/bin");

  // Only a whole entry counts: a prefix or a suffix of one does not.
  for (const std::string& near : {std::string("/usr"), std::string("bin"), std::string("/usr/bi")}) {
    ASSERT_TRUE(DependencyResolver::AddToPath(near));
    EXPECT_EQ(EntriesOf(near), 1) << near;
  }
  // Present at the end, or in the middle: not added again.
  EXPECT_TRUE(DependencyResolver::AddToPath("/bin"));
  EXPECT_TRUE(DependencyResolver::AddToPath("/usr/bin"));
  EXPECT_EQ(EntriesOf("/bin"), 1);
  EXPECT_EQ(EntriesOf("/usr/bin"), 1);

  // Without a PATH the directory becomes the whole of it.
  unsetenv("PATH");
  ASSERT_TRUE(DependencyResolver::AddToPath(dir));
  EXPECT_EQ(std::string(getenv("PATH")), dir);
  setenv("PATH", "", 1);
  ASSERT_TRUE(DependencyResolver::AddToPath(dir));
  EXPECT_EQ(std::string(getenv("PATH")), dir);
}

TEST_F(ResolverPathTest, ResolveSucceedsHereAndAddsTheOutputDirectoryOnce) {
  const std::string cwd = fs::current_path().string();
  const int before = EntriesOf(cwd);
  DependencyResult r = DependencyResolver::Resolve({".", "."});
  ASSERT_TRUE(r.success) << r.error;
  EXPECT_EQ(r.error, "");
  EXPECT_EQ(EntriesOf(cwd), before ? before : 1);
  // The same directory spelt differently is still the same entry.
  for (const std::string& spelling : {std::string("."), std::string("./"), cwd + "/"}) {
    r = DependencyResolver::Resolve({".", spelling});
    ASSERT_TRUE(r.success) << spelling << ": " << r.error;
    EXPECT_EQ(EntriesOf(cwd), before ? before : 1) << spelling;
  }
}

TEST_F(ResolverPathTest, ALibnodeInTheBuildOutputIsCopiedAndMustPassTheCheck) {
  // The stand-in lacking uv_loop_close, placed under libnode's own name.
  const fs::path build = fs::path(testing::TempDir()) / ("morvanta-build-" + std::to_string(getpid()));
  const fs::path output = build / "out";
  fs::create_directories(build);
  fs::copy_file(morvanta_test::ExecutableDir() + "/libfake_node_missing_symbol.so",
                build / DependencyResolver::LibnodeName(), fs::copy_options::overwrite_existing);
  DependencyResult r = DependencyResolver::Resolve({build.string(), output.string()});
  EXPECT_TRUE(fs::exists(output / DependencyResolver::LibnodeName()));
  EXPECT_FALSE(r.success);
  EXPECT_EQ(r.error,
            "Dependency pre-load validation failed: libnode.dll symbol validation failed: "
            "Missing required Node.js symbols uv_loop_close");
  fs::remove_all(build);
}

TEST(DependencyResolver, SymbolValidationNamesWhatIsMissing) {
  DependencyResult none = DependencyResolver::ValidateModuleSymbols(nullptr);
  EXPECT_FALSE(none.success);
  EXPECT_EQ(none.error, "Invalid module handle");

  void* libnode = dlopen(DependencyResolver::LibnodeName(), RTLD_NOW);
  ASSERT_NE(libnode, nullptr) << dlerror();
  DependencyResult real = DependencyResolver::ValidateModuleSymbols(libnode);
  EXPECT_TRUE(real.success) << real.error;
  EXPECT_EQ(real.error, "");

  const std::string fake_path = morvanta_test::ExecutableDir() + "/libfake_node_missing_symbol.so";
  void* fake = dlopen(fake_path.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(fake, nullptr) << dlerror();
  DependencyResult partial = DependencyResolver::ValidateModuleSymbols(fake);
  EXPECT_FALSE(partial.success);
  EXPECT_EQ(partial.error.rfind("Missing required Node.js symbols", 0), 0u) << partial.error;
  EXPECT_NE(partial.error.find("uv_loop_close"), std::string::npos) << partial.error;
  for (const char* present : {"node_main", "node_start", "node_stop", "uv_default_loop", "uv_run "})
    EXPECT_EQ((partial.error + " ").find(present), std::string::npos) << present << " in " << partial.error;

  // A library with none of them lists all six, in the order they are checked.
  void* libm = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(libm, nullptr) << dlerror();
  DependencyResult empty = DependencyResolver::ValidateModuleSymbols(libm);
  EXPECT_FALSE(empty.success);
  EXPECT_EQ(empty.error,
            "Missing required Node.js symbols node_main node_start node_stop uv_default_loop uv_run uv_loop_close");
  dlclose(libm);
  dlclose(fake);
  dlclose(libnode);
}

TEST(DependencyResolver, TheHookIsInstalledOnlyByTheFirstCall) {
  // Nothing in this process has started the runtime, so no call came before.
  constexpr int kThreads = 8;
  std::atomic<int> firsts{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&] {
      if (EnsureDelayLoadHook()) ++firsts;
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(firsts.load(), 1);
  EXPECT_FALSE(EnsureDelayLoadHook());
}
