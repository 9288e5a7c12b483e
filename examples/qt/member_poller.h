// Reads the meeting (its info and member list) now and then, off the GUI
// thread (both reads are blocking queries), and hands each reading to the
// GUI thread. Raised hands have no event of their own; this is how the
// member list learns of them.
#pragma once

#include <QList>
#include <QObject>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "meeting_types.h"

namespace meeting_app {

class MemberPoller {
 public:
  using Fetch = std::function<MeetingSnapshot()>;
  using Deliver = std::function<void(const MeetingSnapshot&)>;

  // `deliver` runs on the thread of `context`, and not at all once
  // `context` is gone.
  MemberPoller(Fetch fetch, QObject* context, Deliver deliver, int periodMs);
  ~MemberPoller();  // stops and joins

  // Reads again at once (instead of at the end of the period).
  void poke();

 private:
  void run();

  Fetch fetch_;
  QObject* context_;
  Deliver deliver_;
  int periodMs_;
  std::mutex m_;
  std::condition_variable cv_;
  bool stop_ = false;
  bool poked_ = true;
  std::thread thread_;
};

}  // namespace meeting_app
