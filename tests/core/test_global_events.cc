// Dispatch of drained global event records to native listeners. The C
// interface serves one listener at a time, so the order across several
// listeners and the skipping of empty slots are checked here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/global_events.h"

using namespace morvanta;

namespace {

struct Recorder : MvGlobalEventListener {
  explicit Recorder(std::string name, std::vector<std::string>* log) : name(std::move(name)), log(log) {}
  void beforeRtcEngineInitialize(const std::string& room) override { log->push_back(name + ":before:" + room); }
  void afterRtcEngineInitialize(const std::string& room) override { log->push_back(name + ":after:" + room); }
  void beforeRtcEngineRelease(const std::string& room) override { log->push_back(name + ":release:" + room); }
  std::string name;
  std::vector<std::string>* log;
};

JSValue Record(const std::string& type, JSValue data) {
  JSValue r = JSValue::Object();
  r.Set("type", JSValue(type)).Set("data", std::move(data));
  return r;
}

JSValue Room(const std::string& uuid) {
  JSValue d = JSValue::Object();
  d.Set("roomUuid", JSValue(uuid));
  return d;
}

TEST(GlobalEventDispatch, EveryListenerIsCalledInOrderAndEmptySlotsAreSkipped) {
  std::vector<std::string> log;
  Recorder a("a", &log), b("b", &log);
  const std::vector<MvGlobalEventListener*> listeners = {&a, nullptr, &b};
  DispatchGlobalEvent(Record("afterRtcEngineInitialize", Room("r1")), listeners);
  DispatchGlobalEvent(Record("beforeRtcEngineRelease", JSValue::Object()), listeners);
  EXPECT_EQ(log, (std::vector<std::string>{"a:after:r1", "b:after:r1", "a:release:", "b:release:"}));
}

TEST(GlobalEventDispatch, NamesMatchExactlyAndDataMustBeAnObject) {
  std::vector<std::string> log;
  Recorder a("a", &log);
  const std::vector<MvGlobalEventListener*> listeners = {&a};
  DispatchGlobalEvent(Record("BeforeRtcEngineInitialize", Room("r")), listeners);
  DispatchGlobalEvent(Record("beforeRtcEngineInitialize ", Room("r")), listeners);
  JSValue list = JSValue::Array();
  list.arrayValue.push_back(Room("r"));
  DispatchGlobalEvent(Record("beforeRtcEngineInitialize", list), listeners);
  DispatchGlobalEvent(Room("r"), listeners);  // no type
  DispatchGlobalEvent(JSValue("beforeRtcEngineInitialize"), listeners);
  EXPECT_TRUE(log.empty());
  DispatchGlobalEvent(Record("beforeRtcEngineInitialize", Room("r")), {});
  EXPECT_TRUE(log.empty());
}

}  // namespace
