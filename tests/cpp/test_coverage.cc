// Every export of libmorvanta.so is reached by morvanta.hpp or listed as
// deliberately left out; every operation row answers exactly once, in both
// forms, also on managers that cannot reach the service.
#include <atomic>
#include <cctype>
#include <cstdio>
#include <map>
#include <set>

#include "cpp_harness.h"
#include "every_operation.h"
#include "support/test_support.h"

using namespace cpp_test;

namespace {

// The Morvanta_ names (undecorated) of a command's nm output.
std::set<std::string> MorvantaSymbols(const std::string& command) {
  std::set<std::string> names;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return names;
  char line[4096];
  while (fgets(line, sizeof(line), pipe)) {
    std::string text(line);
    size_t at = text.find("Morvanta_");
    if (at == std::string::npos) continue;
    size_t end = at;
    while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_')) ++end;
    names.insert(text.substr(at, end - at));
  }
  pclose(pipe);
  return names;
}

std::set<std::string> LibraryExports() {
  return MorvantaSymbols("nm -DC --defined-only '" + morvanta_test::ExecutableDir() + "/libmorvanta.so'");
}

std::string LowerFirst(std::string s) {
  if (!s.empty()) s[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(s[0])));
  return s;
}

}  // namespace

TEST(Coverage, EveryExportIsCalledByTheHeaderOrListedWithAReason) {
  std::set<std::string> exports = LibraryExports();
  ASSERT_GT(exports.size(), 140u);
  // What an object file that instantiates the whole header (the
  // no-exceptions compile check) calls.
  std::set<std::string> called = MorvantaSymbols("nm -uC '" MORVANTA_CPP_REACH_OBJECT "'");
  ASSERT_GT(called.size(), 100u);
  std::set<std::string> listed, unwrapped;
  for (const auto& w : morvanta::detail::kWrappedExports) listed.insert(w.function);
  for (const auto& w : morvanta::detail::kUnwrappedExports) {
    unwrapped.insert(w.function);
    EXPECT_GT(std::string(w.wrapper).size(), 10u) << "a reason for " << w.function;
  }
  for (const std::string& e : exports) {
    EXPECT_TRUE(called.count(e) || unwrapped.count(e)) << e << " is neither called nor listed as left out";
    EXPECT_FALSE(called.count(e) && unwrapped.count(e)) << e << " is called but listed as left out";
    EXPECT_EQ(listed.count(e), called.count(e)) << e << ": the table of wrapped exports and the calls disagree";
  }
  for (const std::string& c : called) EXPECT_TRUE(exports.count(c)) << c << " is not an export of the library";
  for (const std::string& l : listed) EXPECT_TRUE(exports.count(l)) << l << " is not an export of the library";
}

TEST(Coverage, OperationNamesAreLowerCamelCaseOfTheirCNames) {
  int checked = 0;
  for (const auto& w : morvanta::detail::kWrappedExports) {
    std::string c = w.function, cpp = w.wrapper;
    // Completions, destructors and session calls are not operations; nor
    // are the releases a query makes.
    if (cpp.find_first_of(" :~") != std::string::npos || c.rfind("Morvanta_Free", 0) == 0) continue;
    std::string rest = c.substr(std::string("Morvanta_").size());
    size_t domain = rest.find('_');
    if (domain != std::string::npos) {
      EXPECT_EQ(LowerFirst(rest.substr(domain + 1)), cpp) << c;  // Morvanta_Audio_MuteMyAudio: muteMyAudio
    } else if (rest.rfind("Get", 0) == 0) {
      std::string kind = rest.substr(3, rest.size() - 3 - std::string("Manager").size());
      EXPECT_EQ(LowerFirst(kind), cpp) << c;  // Morvanta_GetAudioManager: audio
    } else {
      EXPECT_EQ(LowerFirst(rest), cpp) << c;  // Morvanta_AddGlobalEventListener
    }
    ++checked;
  }
  EXPECT_GT(checked, 100);
}

namespace {

// Calls every operation in both forms and collects, per C function, how
// often each form completed and with which codes.
struct Tally {
  std::mutex mutex;
  std::map<std::string, std::vector<int>> callbackCodes;
  std::map<std::string, int> futureCodes;
  std::map<std::string, std::string> messages;
  std::atomic<int> pending{0};
};

template <class T>
bool HasValue(const morvanta::Result<T>& r) {
  return r.value.has_value();
}
bool HasValue(const morvanta::Result<void>&) { return false; }

void CallEveryOperation(const Managers& all, const std::shared_ptr<Tally>& tally, bool futures) {
  ForEveryOperation(all, [&](const char* cfn, auto callbackForm, auto futureForm) {
    std::string name = cfn;
    {
      std::lock_guard<std::mutex> lock(tally->mutex);
      tally->callbackCodes[name];  // present even if never completed
    }
    ++tally->pending;
    callbackForm([tally, name](auto result) {
      std::lock_guard<std::mutex> lock(tally->mutex);
      tally->callbackCodes[name].push_back(result.code);
      tally->messages[name] = result.message;
      EXPECT_FALSE(HasValue(result)) << name;
      --tally->pending;
    });
    if (!futures) return;
    auto future = futureForm();
    ASSERT_EQ(future.wait_for(20s), std::future_status::ready) << name;
    auto result = future.get();
    std::lock_guard<std::mutex> lock(tally->mutex);
    tally->futureCodes[name] = result.code;
  });
}

}  // namespace

TEST(Coverage, EveryOperationOnAManagerWithoutHandleIsRefusedAtOnceInBothForms) {
  morvanta::Session none;  // not live: its managers have no C handle
  Managers all(none);
  EXPECT_FALSE(all.audio.valid());
  auto tally = std::make_shared<Tally>();
  CallEveryOperation(all, tally, true);
  EXPECT_EQ(tally->pending.load(), 0);  // all completed before their call returned
  EXPECT_GT(tally->callbackCodes.size(), 90u);
  for (const auto& [name, codes] : tally->callbackCodes) {
    ASSERT_EQ(codes.size(), 1u) << name;
    EXPECT_EQ(codes[0], -1) << name;
    EXPECT_NE(tally->messages[name].find(name), std::string::npos) << tally->messages[name];
    EXPECT_EQ(tally->futureCodes[name], -1) << name;
  }
}

TEST(Coverage, EveryOperationOfManagersThatOutliveTheirSessionFailsOnce) {
  auto created = morvanta::Session::create(SandboxOptions());
  ASSERT_TRUE(created.value) << created.message;
  morvanta::Session session = std::move(*created.value);
  Managers all(session);
  ASSERT_TRUE(all.audio.valid());
  ASSERT_TRUE(all.waitingRoom.valid());
  ASSERT_EQ(session.close(), 0);
  EXPECT_FALSE(morvanta::Session::isInitialized());

  auto tally = std::make_shared<Tally>();
  CallEveryOperation(all, tally, true);
  for (int i = 0; i < 200 && tally->pending.load() > 0; ++i) std::this_thread::sleep_for(10ms);
  std::this_thread::sleep_for(100ms);  // a doubled completion would show now
  std::lock_guard<std::mutex> lock(tally->mutex);
  for (const auto& [name, codes] : tally->callbackCodes) {
    ASSERT_EQ(codes.size(), 1u) << name;
    EXPECT_NE(codes[0], 0) << name;
    EXPECT_NE(tally->futureCodes[name], 0) << name;
    EXPECT_FALSE(tally->messages[name].empty()) << name;
  }
  // The synchronous queries and the calls without outcome say so too.
  EXPECT_NE(Get(all.meeting.getMeetingInfo(), 0ms).code, 0);
  EXPECT_FALSE(HasValue(Get(all.meeting.getMeetingInfo(), 0ms)));
  auto members = Get(all.member.getMemberList(), 0ms);
  EXPECT_TRUE(!members.value || members.value->empty());
}
