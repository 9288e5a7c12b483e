// The export table of libmorvanta.so: Morvanta_* functions only, two of them
// with C++ linkage.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/test_support.h"

namespace {

void* OpenLibrary() {
  std::string path = morvanta_test::ExecutableDir() + "/libmorvanta.so";
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

}  // namespace

TEST(Exports, PlainNamesResolveExceptTheTwoWithCppLinkage) {
  void* lib = OpenLibrary();
  ASSERT_NE(lib, nullptr) << dlerror();
  for (const char* name : {"Morvanta_Initialize", "Morvanta_Uninitialize", "Morvanta_Account_Logout",
                           "Morvanta_Account_LoginByPassword", "Morvanta_GetAudioManager", "Morvanta_FreeAccountInfo",
                           "Morvanta_SetLogHandler", "Morvanta_SetLogLevel", "Morvanta_SetDispatchMode",
                           "Morvanta_GetDispatchMode", "Morvanta_GetDispatchFd", "Morvanta_Dispatch"})
    EXPECT_NE(dlsym(lib, name), nullptr) << name;
  EXPECT_EQ(dlsym(lib, "Morvanta_Account_LoginBySmsCode"), nullptr);
  EXPECT_NE(dlsym(lib, "_Z31Morvanta_Account_LoginBySmsCodeP24MorvantaAccountManager_TPK29MorvantaLoginBySmsCodeOptionsPFviPKcP19MorvantaAccountInfoPvES8_"),
            nullptr);
  EXPECT_NE(dlsym(lib, "Morvanta_Audio_MuteMyAudio"), nullptr);
  EXPECT_EQ(dlsym(lib, "Morvanta_Video_RemoveLocalVideoCanvas"), nullptr);
  EXPECT_NE(dlsym(lib, "_Z37Morvanta_Video_RemoveLocalVideoCanvasP22MorvantaVideoManager_TPFviPKcPvES3_"), nullptr);
  dlclose(lib);
}

TEST(Exports, NothingButMorvantaSymbolsIsExported) {
  std::string cmd = "nm -D --defined-only '" + morvanta_test::ExecutableDir() + "/libmorvanta.so'";
  FILE* pipe = popen(cmd.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  char line[4096];
  int morvanta = 0;
  std::string others;
  while (fgets(line, sizeof(line), pipe)) {
    std::string text(line);
    std::string symbol = text.substr(text.rfind(' ') + 1);
    if (symbol.find("Morvanta_") != std::string::npos)
      ++morvanta;
    else
      others += symbol;
  }
  ASSERT_EQ(pclose(pipe), 0);
  EXPECT_GT(morvanta, 30);
  EXPECT_EQ(others, "");
}
