// The log layer: texts equal to what a stream printed, levels read from the
// literal parts, lines below the level never formatted, the handler and the
// environment variable.
#include "runtime/log.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace morvanta {
namespace {

template <typename... Args>
std::string Streamed(const Args&... args) {
  std::ostringstream os;
  (os << ... << args);
  return os.str();
}

enum Plain { kPlainSeven = 7 };

TEST(LogFormat, EveryPartPrintsAsAStreamWould) {
  int local = 0;
  const std::string s = "text";
  const char* none = nullptr;
  const char chars[] = "array";
  EXPECT_EQ(log::Concat("a", s, std::string_view("view"), chars), Streamed("a", s, std::string_view("view"), chars));
  EXPECT_EQ(log::Concat(true, false), "10");
  EXPECT_EQ(log::Concat(true, false), Streamed(true, false));
  EXPECT_EQ(log::Concat('x', static_cast<unsigned char>('y'), static_cast<signed char>('z')),
            Streamed('x', static_cast<unsigned char>('y'), static_cast<signed char>('z')));
  EXPECT_EQ(log::Concat(0, -1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int64_t>::min(),
                        std::numeric_limits<uint64_t>::max(), size_t{42}, static_cast<short>(-3), 7u),
            Streamed(0, -1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int64_t>::min(),
                     std::numeric_limits<uint64_t>::max(), size_t{42}, static_cast<short>(-3), 7u));
  for (double d : {0.0, -0.0, 1.5, 0.1, 1e20, 1e-7, 123456.0, 1234567.0, 3.14159265358979, -2.5e-300,
                   std::numeric_limits<double>::infinity(), std::nan("")})
    EXPECT_EQ(log::Concat(d), Streamed(d)) << d;
  EXPECT_EQ(log::Concat(0.1f, 2.75f), Streamed(0.1f, 2.75f));
  EXPECT_EQ(log::Concat(static_cast<long double>(1.25)), Streamed(static_cast<long double>(1.25)));
  EXPECT_EQ(log::Concat(static_cast<void*>(nullptr)), Streamed(static_cast<void*>(nullptr)));
  EXPECT_EQ(log::Concat(&local), Streamed(&local));
  EXPECT_EQ(log::Concat(static_cast<const void*>(&local)), Streamed(static_cast<const void*>(&local)));
  EXPECT_EQ(log::Concat(kPlainSeven), Streamed(kPlainSeven));
  EXPECT_EQ(log::Concat("before ", none), "before ");
  EXPECT_EQ(log::Concat(log::ThreadTag()), Streamed(log::ThreadTag()));
}

TEST(LogFormat, LongLinesSpillOutOfTheInlineBuffer) {
  for (size_t n : {1000u, 1021u, 1022u, 1023u, 1024u, 5000u, 100000u}) {
    const std::string big(n, 'q');
    EXPECT_EQ(log::Concat("<", big, ">", n), "<" + big + ">" + std::to_string(n));
  }
}

// Collects what the handler receives; restores the defaults afterwards.
class LogRouting : public ::testing::Test {
 protected:
  struct Seen {
    int32_t level;
    std::string line;
  };
  static void Collect(int32_t level, const char* line, void* user_data) {
    static_cast<LogRouting*>(user_data)->seen.push_back({level, line});
  }
  void SetUp() override { log::SetHandler(Collect, this); }
  void TearDown() override {
    log::SetHandler(nullptr, nullptr);
    log::SetLevel(log::kDebug);
  }
  std::vector<Seen> seen;
};

TEST_F(LogRouting, LevelsComeFromTheLiteralParts) {
  const char* warningTable = "[Tag] ⚠️ from a table: ";
  const std::string dynamicCross = "❌ in a dynamic part";
  log::Info("[Tag] ✅ fine ", 1);
  log::Info("[Tag] ❌ failed: ", "why");
  log::Error("[Tag] ⚠️ careful");
  log::Info(warningTable, 3);
  log::Error("[Tag] plain error stream line");
  log::Info("[Tag] ", dynamicCross);  // only literal parts decide
  log::Info("[Tag] ⚠️ then ", "❌ both");
  log::Debug("[Tag] ❌ verbose");
  log::DebugError("[Tag] verbose error");
  const std::vector<std::pair<int32_t, std::string>> want = {
      {log::kInfo, "[Tag] ✅ fine 1"},
      {log::kError, "[Tag] ❌ failed: why"},
      {log::kWarning, "[Tag] ⚠️ careful"},
      {log::kWarning, "[Tag] ⚠️ from a table: 3"},
      {log::kInfo, "[Tag] plain error stream line"},
      {log::kInfo, "[Tag] ❌ in a dynamic part"},
      {log::kError, "[Tag] ⚠️ then ❌ both"},
      {log::kDebug, "[Tag] ❌ verbose"},
      {log::kDebug, "[Tag] verbose error"},
  };
  ASSERT_EQ(seen.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    EXPECT_EQ(seen[i].level, want[i].first) << i;
    EXPECT_EQ(seen[i].line, want[i].second) << i;
  }
}

// Counts how often it is printed: proves a dropped line is not formatted.
struct Counted {
  int* printed;
};
std::ostream& operator<<(std::ostream& os, const Counted& c) {
  ++*c.printed;
  return os << "counted";
}

TEST_F(LogRouting, LinesBelowTheLevelAreDroppedUnformatted) {
  int printed = 0;
  const Counted part{&printed};
  log::SetLevel(log::kWarning);
  log::Info("[Tag] ✅ info ", part);
  log::Error("[Tag] info on the error stream ", part);
  log::Debug("[Tag] debug ", part);
  log::Info("[Tag] ⚠️ warning ", part);
  log::Info("[Tag] ❌ error ", part);
  EXPECT_EQ(printed, 2);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].line, "[Tag] ⚠️ warning counted");
  EXPECT_EQ(seen[1].line, "[Tag] ❌ error counted");

  log::SetLevel(log::kOff);
  log::Info("[Tag] ❌ error ", part);
  EXPECT_EQ(printed, 2);
  log::SetLevel(log::kError);
  log::Info("[Tag] ⚠️ warning ", part);
  log::Info("[Tag] ❌ error ", part);
  EXPECT_EQ(printed, 3);
  EXPECT_EQ(seen.size(), 3u);
}

TEST_F(LogRouting, OutOfRangeLevelsAreIgnored) {
  log::SetLevel(log::kError);
  log::SetLevel(-1);
  log::SetLevel(5);
  EXPECT_EQ(log::CurrentLevel(), log::kError);
}

TEST_F(LogRouting, HandlerSeesLinesFromEveryThreadWhole) {
  static std::mutex m;
  static std::vector<std::string>* lines = new std::vector<std::string>;
  log::SetHandler(
      [](int32_t, const char* line, void*) {
        std::lock_guard<std::mutex> lock(m);
        lines->push_back(line);
      },
      nullptr);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t] {
      for (int i = 0; i < 500; ++i) log::Info("[Thread ", t, "] line ", i, std::string(300, 'a' + t));
    });
  for (auto& th : threads) th.join();
  ASSERT_EQ(lines->size(), 2000u);
  for (const std::string& line : *lines) {
    ASSERT_EQ(line.rfind("[Thread ", 0), 0u) << line;
    ASSERT_GT(line.size(), 300u);
    EXPECT_EQ(line.substr(line.size() - 300), std::string(300, 'a' + (line[8] - '0'))) << line;
    EXPECT_EQ(line.find('\n'), std::string::npos);
  }
}

TEST(LogStreams, WithoutAHandlerLinesKeepTheirStreamAndNewline) {
  log::SetHandler(nullptr, nullptr);
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  log::Info("[Tag] out ", 1);
  log::Error("[Tag] ❌ err ", 2.5);
  log::Debug("[Tag] debug out");
  log::DebugError("[Tag] debug err");
  log::FlushAll();
  const std::string err = ::testing::internal::GetCapturedStderr();
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "[Tag] out 1\n[Tag] debug out\n");
  EXPECT_EQ(err, "[Tag] ❌ err 2.5\n[Tag] debug err\n");
}

// Standard output and error pointed at one file for a test, as a host's log
// redirection would; put back afterwards.
class SharedLogFile {
 public:
  // One file per process: CTest runs this binary's registrations side by side.
  SharedLogFile()
      : path_(::testing::TempDir() + "morvanta_log_batch." + std::to_string(getpid()) + ".txt") {
    std::fflush(stdout);
    std::fflush(stderr);
    saved_out_ = dup(STDOUT_FILENO);
    saved_err_ = dup(STDERR_FILENO);
    const int fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
    dup2(fd, STDOUT_FILENO);
    dup2(fd, STDERR_FILENO);
    close(fd);
  }
  ~SharedLogFile() {
    std::fflush(stdout);
    std::fflush(stderr);
    dup2(saved_out_, STDOUT_FILENO);
    dup2(saved_err_, STDERR_FILENO);
    close(saved_out_);
    close(saved_err_);
    std::remove(path_.c_str());
  }
  // What has reached the file so far (not what a buffer still holds).
  std::string Text() const {
    std::ifstream in(path_);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

 private:
  std::string path_;
  int saved_out_ = -1;
  int saved_err_ = -1;
};

TEST(LogStreams, ABatchHoldsLinesUntilAFlushAndKeepsThemInOrderWithErrorLines) {
  log::SetHandler(nullptr, nullptr);
  std::fflush(stdout);
  std::setvbuf(stdout, nullptr, _IONBF, 0);  // as Node leaves it
  SharedLogFile file;
  log::Info("[Tag] before");
  EXPECT_EQ(file.Text(), "[Tag] before\n");  // unbuffered: at once
  {
    log::StdoutBatch batch;
    log::Info("[Tag] one");
    EXPECT_EQ(file.Text(), "[Tag] before\n");
    log::FlushStdout();
    EXPECT_EQ(file.Text(), "[Tag] before\n[Tag] one\n");
    // An error line goes to the other stream, after what was held.
    log::Info("[Tag] two");
    log::Error("[Tag] ❌ three");
    EXPECT_EQ(file.Text(), "[Tag] before\n[Tag] one\n[Tag] two\n[Tag] ❌ three\n");
    log::Info("[Tag] four");
    { log::StdoutBatch inner; }  // a batch ending inside another keeps it
    EXPECT_EQ(file.Text(), "[Tag] before\n[Tag] one\n[Tag] two\n[Tag] ❌ three\n");
  }
  // The last batch's end writes what was held and unbuffers the stream.
  EXPECT_EQ(file.Text(), "[Tag] before\n[Tag] one\n[Tag] two\n[Tag] ❌ three\n[Tag] four\n");
  log::Info("[Tag] after");
  EXPECT_EQ(file.Text(), "[Tag] before\n[Tag] one\n[Tag] two\n[Tag] ❌ three\n[Tag] four\n[Tag] after\n");
}

TEST(LogStreams, LinesFromManyThreadsReachTheFileWholeWhileAnotherThreadFlushes) {
  log::SetHandler(nullptr, nullptr);
  std::fflush(stdout);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::string text;
  {
    SharedLogFile file;
    log::StdoutBatch batch;  // block-buffered, as while the worker runs
    std::atomic<bool> writing{true};
    std::thread flusher([&] {
      while (writing.load()) log::FlushStdout();
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
      threads.emplace_back([t] {
        for (int i = 0; i < 500; ++i) {
          if (i % 50 == 0) log::Error("[Thread ", t, "] ❌ ", i, std::string(40, 'A' + t));
          else log::Info("[Thread ", t, "] line ", i, std::string(300, 'a' + t));
        }
      });
    for (auto& th : threads) th.join();
    writing = false;
    flusher.join();
    log::FlushAll();
    text = file.Text();
  }
  std::istringstream lines(text);
  std::string line;
  int counts[4] = {};
  while (std::getline(lines, line)) {
    ASSERT_EQ(line.rfind("[Thread ", 0), 0u) << line;
    const int t = line[8] - '0';
    ASSERT_TRUE(t >= 0 && t < 4) << line;
    const bool error = line.find("❌") != std::string::npos;
    const size_t tail = error ? 40 : 300;
    ASSERT_GT(line.size(), tail) << line;
    EXPECT_EQ(line.substr(line.size() - tail), std::string(tail, (error ? 'A' : 'a') + t)) << line;
    ++counts[t];
  }
  for (int t = 0; t < 4; ++t) EXPECT_EQ(counts[t], 500) << "thread " << t;
}

TEST(LogStreams, AStreamTheHostBuffersItselfIsLeftAsItIs) {
  log::SetHandler(nullptr, nullptr);
  static char host_buffer[4096];
  std::fflush(stdout);
  std::setvbuf(stdout, host_buffer, _IOFBF, sizeof(host_buffer));
  {
    SharedLogFile file;
    { log::StdoutBatch batch; }
    // Still the host's block buffering after the batch: nothing written yet.
    log::Info("[Tag] held by the host's buffer");
    EXPECT_EQ(file.Text(), "");
    std::fflush(stdout);
    EXPECT_EQ(file.Text(), "[Tag] held by the host's buffer\n");
  }
  std::setvbuf(stdout, nullptr, _IONBF, 0);
}

TEST(LogLevelNames, EnvironmentNamesParse) {
  const std::vector<std::pair<const char*, int32_t>> table = {
      {"debug", log::kDebug}, {"info", log::kInfo},  {"warning", log::kWarning}, {"error", log::kError},
      {"off", log::kOff},     {"WARNING", log::kWarning}, {"Info", log::kInfo},   {"warn", -1},
      {"", -1},               {"2", -1},             {nullptr, -1},
  };
  for (const auto& [name, level] : table) EXPECT_EQ(log::ParseLevelName(name), level) << (name ? name : "null");
}

TEST(LogLevelNames, EnvironmentSetsTheLevelAndAnExplicitCallWins) {
  setenv("MORVANTA_LOG_LEVEL", "error", 1);
  log::detail::g_threshold.store(-1);  // as in a fresh process
  EXPECT_EQ(log::CurrentLevel(), log::kError);
  log::detail::g_threshold.store(-1);
  log::SetLevel(log::kInfo);  // before the first line: still wins
  EXPECT_EQ(log::CurrentLevel(), log::kInfo);
  setenv("MORVANTA_LOG_LEVEL", "nonsense", 1);
  log::detail::g_threshold.store(-1);
  EXPECT_EQ(log::CurrentLevel(), log::kDebug);  // unknown names leave the default
  unsetenv("MORVANTA_LOG_LEVEL");
  log::detail::g_threshold.store(-1);
  EXPECT_EQ(log::CurrentLevel(), log::kDebug);
}

}  // namespace
}  // namespace morvanta
