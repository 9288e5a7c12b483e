// Drives the C++ interface (morvanta.hpp alone) from tests: a session on the
// sandbox SDK, completions that count their calls, and listeners that wait
// for events.
#pragma once

#include <gtest/gtest.h>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "morvanta.hpp"
#include "support/sandbox_scenario.h"

namespace cpp_test {

using namespace std::chrono_literals;

// One completion: a callable for the callback form that records the result,
// the thread it ran on and how often it ran.
template <class T>
class Answer {
 public:
  Answer() : s_(std::make_shared<Shared>()) {}

  auto callback() const {
    return [s = s_](morvanta::Result<T> r) {
      std::lock_guard<std::mutex> lock(s->mutex);
      ++s->calls;
      s->result = std::move(r);
      s->thread = std::this_thread::get_id();
      s->cv.notify_all();
    };
  }
  // The result once called (20 s at most); a result with code 424242 when
  // nothing came.
  morvanta::Result<T> wait(std::chrono::milliseconds limit = 20s) const {
    std::unique_lock<std::mutex> lock(s_->mutex);
    if (!s_->cv.wait_for(lock, limit, [&] { return s_->calls > 0; }))
      return morvanta::detail::failure<T>(424242, "no completion in time");
    return s_->result;
  }
  int calls() const { return read(&Shared::calls); }
  std::thread::id thread() const { return read(&Shared::thread); }

 private:
  struct Shared {
    std::mutex mutex;
    std::condition_variable cv;
    int calls = 0;
    std::thread::id thread;
    morvanta::Result<T> result;
  };
  template <class F>
  F read(F Shared::*field) const {
    std::lock_guard<std::mutex> lock(s_->mutex);
    return (*s_).*field;
  }
  std::shared_ptr<Shared> s_;
};

// Waits for a future with a limit; code 424242 when it did not become ready.
template <class T>
morvanta::Result<T> Get(std::future<morvanta::Result<T>> f, std::chrono::milliseconds limit = 20s) {
  if (f.wait_for(limit) != std::future_status::ready)
    return morvanta::detail::failure<T>(424242, "future not ready in time");
  return f.get();
}

// A condition that listener functions make true, with a wait for it.
class Signal {
 public:
  template <class F>
  void update(F&& f) {
    std::lock_guard<std::mutex> lock(mutex_);
    f();
    cv_.notify_all();
  }
  template <class P>
  bool waitFor(P&& predicate, std::chrono::milliseconds limit = 10s) {
    std::unique_lock<std::mutex> lock(mutex_);
    return cv_.wait_for(lock, limit, predicate);
  }
  std::mutex& mutex() { return mutex_; }

 private:
  std::mutex mutex_;
  std::condition_variable cv_;
};

using morvanta_test::Scenario;

inline morvanta::SessionOptions SandboxOptions() {
  morvanta::SessionOptions o;
  o.appKey = "test-app-key-0001";
  o.logPath = "/tmp";
  return o;
}

// A live session, or a failed test.
inline morvanta::Session StartSession(const morvanta::SessionOptions& options = SandboxOptions()) {
  auto r = morvanta::Session::create(options);
  EXPECT_EQ(r.code, 0) << r.message;
  return r.value ? std::move(*r.value) : morvanta::Session();
}

// Logs in as a built-in sandbox user.
inline bool LogIn(const morvanta::Session& session, const std::string& user = "alice") {
  auto r = Get(session.account().loginByPassword({user, user + "-password"}));
  EXPECT_EQ(r.code, 0) << r.message;
  return r.ok();
}

// Creates a meeting hosted by the logged-in user.
inline bool CreateMeeting(const morvanta::MeetingManager& meeting, const std::string& subject = "C++ test",
                          std::optional<bool> waitingRoom = std::nullopt) {
  morvanta::MeetingCreateOptions o;
  o.subject = subject;
  o.enableWaitingRoom = waitingRoom;
  auto r = Get(meeting.createMeeting(o));
  EXPECT_EQ(r.code, 0) << r.message;
  return r.ok();
}

}  // namespace cpp_test
