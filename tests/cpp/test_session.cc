// The session: it initialises the library on creation and uninitialises it
// when destroyed or closed, owns that once (moves hand it on), and applies
// the process-wide choices of its options first.
#include <atomic>

#include "cpp_harness.h"

using namespace cpp_test;

TEST(Session, CreationFailuresOwnNothing) {
  morvanta::SessionOptions noKey = SandboxOptions();
  noKey.appKey.clear();
  auto r = morvanta::Session::create(noKey);
  EXPECT_EQ(r.code, -1);
  EXPECT_FALSE(r.value.has_value());
  EXPECT_NE(r.message.find("Morvanta_Initialize"), std::string::npos) << r.message;
  EXPECT_FALSE(morvanta::Session::isInitialized());

  morvanta::SessionOptions noLogPath = SandboxOptions();
  noLogPath.logPath.clear();
  EXPECT_EQ(morvanta::Session::create(noLogPath).code, -3);
  EXPECT_FALSE(morvanta::Session::isInitialized());

  // A refused process-wide choice stops the creation before initialising.
  morvanta::SessionOptions badMode = SandboxOptions();
  badMode.bridgeMode = static_cast<morvanta::BridgeMode>(7);
  auto bad = morvanta::Session::create(badMode);
  EXPECT_EQ(bad.code, -1);
  EXPECT_NE(bad.message.find("Morvanta_SetBridgeMode"), std::string::npos) << bad.message;
  EXPECT_FALSE(morvanta::Session::isInitialized());
}

TEST(Session, LiveFromCreationUntilClosedOrDestroyedAndOnlyOnceAtATime) {
  {
    auto created = morvanta::Session::create(SandboxOptions());
    ASSERT_EQ(created.code, 0) << created.message;
    morvanta::Session& session = *created.value;
    EXPECT_TRUE(session.valid());
    EXPECT_NE(session.handle(), nullptr);
    EXPECT_TRUE(morvanta::Session::isInitialized());
    EXPECT_EQ(morvanta::Session::version(), "1.0.0");

    // A second session would not own the library.
    auto second = morvanta::Session::create(SandboxOptions());
    EXPECT_EQ(second.code, -3);
    EXPECT_FALSE(second.value.has_value());
    EXPECT_TRUE(morvanta::Session::isInitialized());
    EXPECT_TRUE(session.audio().valid());
  }  // destroyed: uninitialised
  EXPECT_FALSE(morvanta::Session::isInitialized());

  morvanta::Session again = StartSession();
  ASSERT_TRUE(again.valid());
  EXPECT_EQ(again.close(), 0);
  EXPECT_FALSE(again.valid());
  EXPECT_FALSE(morvanta::Session::isInitialized());
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
    EXPECT_FALSE(second.valid());
    EXPECT_TRUE(third.valid());
    first = std::move(third);
  }  // the moved-from ones end nothing
  EXPECT_TRUE(morvanta::Session::isInitialized());
  EXPECT_EQ(first.handle(), handle);

  // A manager moves with its handle.
  auto audio = first.audio();
  auto moved = std::move(audio);
  EXPECT_FALSE(audio.valid());
  ASSERT_TRUE(moved.valid());
  EXPECT_EQ(Get(moved.getSpeakerVolume()).value, std::optional<uint32_t>(80));
  EXPECT_EQ(Get(audio.getSpeakerVolume(), 0ms).code, -1);

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
