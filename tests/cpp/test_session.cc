// The session: it initialises the library on creation and uninitialises it
// when destroyed or closed, owns that once (moves hand it on), and applies
// the process-wide choices of its options first.
#include <atomic>

#include "cpp_harness.h"
#include "support/row_checks.h"

using namespace cpp_test;
using test_rows::ExpectRows;

TEST(Session, CreationFailuresOwnNothing) {
  const struct {
    const char* name;
    void (*change)(morvanta::SessionOptions&);
    int code;
    const char* function;  // named in the message ("": not checked)
  } rows[] = {
      {"no app key", [](morvanta::SessionOptions& o) { o.appKey.clear(); }, -1, "Morvanta_Initialize"},
      {"no log path", [](morvanta::SessionOptions& o) { o.logPath.clear(); }, -3, ""},
      // A refused process-wide choice stops the creation before initialising.
      {"bad bridge mode", [](morvanta::SessionOptions& o) { o.bridgeMode = static_cast<morvanta::BridgeMode>(7); },
       -1, "Morvanta_SetBridgeMode"},
  };
  for (const auto& row : rows) {
    morvanta::SessionOptions options = SandboxOptions();
    row.change(options);
    auto r = morvanta::Session::create(options);
    EXPECT_EQ(r.code, row.code) << row.name;
    EXPECT_FALSE(r.value.has_value()) << row.name;
    if (*row.function) {
      EXPECT_NE(r.message.find(row.function), std::string::npos) << row.name << ": " << r.message;
    }
    EXPECT_FALSE(morvanta::Session::isInitialized()) << row.name;
  }
}

TEST(Session, LiveFromCreationUntilClosedOrDestroyedAndOnlyOnceAtATime) {
  {
    auto created = morvanta::Session::create(SandboxOptions());
    ASSERT_EQ(created.code, 0) << created.message;
    morvanta::Session& session = *created.value;
    ExpectRows(ROW(session.valid()), true, ROW(session.handle() != nullptr), true,
               ROW(morvanta::Session::isInitialized()), true, ROW(morvanta::Session::version()), "1.0.0");

    // A second session would not own the library.
    auto second = morvanta::Session::create(SandboxOptions());
    ExpectRows(ROW(second.code), -3, ROW(second.value.has_value()), false, ROW(morvanta::Session::isInitialized()),
               true, ROW(session.audio().valid()), true);
  }  // destroyed: uninitialised
  EXPECT_FALSE(morvanta::Session::isInitialized());

  morvanta::Session again = StartSession();
  ASSERT_TRUE(again.valid());
  EXPECT_EQ(again.close(), 0);
  ExpectRows(ROW(again.valid()), false, ROW(morvanta::Session::isInitialized()), false);
  EXPECT_EQ(again.close(), -2);
  EXPECT_FALSE(again.audio().valid());
}

TEST(Session, MovesHandOwnershipOn) {
  morvanta::Session first = StartSession();
  ASSERT_TRUE(first.valid());
  MorvantaSDK_T* handle = first.handle();
  {
    morvanta::Session second(std::move(first));
    EXPECT_FALSE(first.valid());
    EXPECT_EQ(second.handle(), handle);
    morvanta::Session third;
    third = std::move(second);
    ExpectRows(ROW(second.valid()), false, ROW(third.valid()), true);
    first = std::move(third);
  }  // the moved-from ones end nothing
  EXPECT_TRUE(morvanta::Session::isInitialized());
  EXPECT_EQ(first.handle(), handle);

  // A manager moves with its handle.
  auto audio = first.audio();
  auto moved = std::move(audio);
  EXPECT_FALSE(audio.valid());
  ASSERT_TRUE(moved.valid());
  ExpectRows(ROW(Get(moved.getSpeakerVolume()).value), std::optional<uint32_t>(80),
             ROW(Get(audio.getSpeakerVolume(), 0ms).code), -1);

  // Assigning over a live session ends it.
  first = morvanta::Session();
  EXPECT_FALSE(morvanta::Session::isInitialized());
}

TEST(Session, BridgeModeAndLogRoutingComeFromTheOptions) {
  struct Lines {
    std::mutex mutex;
    std::vector<std::pair<morvanta::LogLevel, std::string>> lines;
    size_t count(morvanta::LogLevel level, const std::string& part) {
      std::lock_guard<std::mutex> lock(mutex);
      size_t n = 0;
      for (const auto& [l, text] : lines) n += l == level && text.find(part) != std::string::npos;
      return n;
    }
  };
  auto lines = std::make_shared<Lines>();
  morvanta::SessionOptions options = SandboxOptions();
  options.bridgeMode = morvanta::BridgeMode::Concurrent;
  options.logHandler = [lines](morvanta::LogLevel level, std::string_view line) {
    std::lock_guard<std::mutex> lock(lines->mutex);
    lines->lines.emplace_back(level, std::string(line));
  };
  morvanta::Session session = StartSession(options);
  ASSERT_TRUE(session.valid());
  EXPECT_EQ(morvanta::Session::bridgeMode(), morvanta::BridgeMode::Concurrent);
  EXPECT_EQ(lines->count(morvanta::LogLevel::Info, "Bridge mode: concurrent"), 1u);
  EXPECT_EQ(morvanta::Session::setBridgeMode(morvanta::BridgeMode::Compatible), -3);  // not while live

  // Below the level nothing reaches the handler; an empty handler gives the
  // lines back to the standard streams.
  morvanta::Session::setLogLevel(morvanta::LogLevel::Error);
  size_t before = lines->count(morvanta::LogLevel::Info, "");
  EXPECT_EQ(Get(session.audio().getSpeakerVolume()).code, 0);
  EXPECT_EQ(lines->count(morvanta::LogLevel::Info, ""), before);
  morvanta::Session::setLogLevel(morvanta::LogLevel::Info);
  EXPECT_EQ(Get(session.audio().getSpeakerVolume()).code, 0);
  size_t routed = lines->count(morvanta::LogLevel::Info, "");
  EXPECT_GT(routed, before);
  morvanta::Session::setLogHandler({});
  EXPECT_EQ(Get(session.audio().getSpeakerVolume()).code, 0);
  EXPECT_EQ(lines->count(morvanta::LogLevel::Info, ""), routed);

  EXPECT_EQ(session.close(), 0);
  EXPECT_EQ(morvanta::Session::setBridgeMode(morvanta::BridgeMode::Default), 0);
}
