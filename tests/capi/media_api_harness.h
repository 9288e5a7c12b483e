// Shared by the member, audio and video suites: a recorder for every callback
// shape those families use, questions to the sandbox, and the table check of
// functions with a plain callback.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "capi/capi_harness.h"
#include "morvanta.h"
#include "support/waited_calls.h"

namespace morvanta_test {

// What reached one callback and how often. Payloads are copied and released
// at once. Held by shared_ptr so that a late call cannot outlive it.
struct Seen : WaitedCalls {
  int code = 12345;
  std::string message;
  bool text_null = true;  // string family: NULL payload
  std::string text;
  uint32_t value = 99;  // integer family
  bool devices_null = true;
  uint32_t count = 99;  // list family
  std::vector<std::pair<std::string, std::string>> devices;


  template <typename Fill>
  static void Record(void* user_data, int code, const char* message, Fill&& fill) {
    auto* seen = static_cast<Seen*>(user_data);
    std::lock_guard<std::mutex> lock(seen->mutex);
    ++seen->calls;
    seen->code = code;
    seen->message = message ? message : "<null>";
    fill(*seen);
    seen->cv.notify_all();
  }
  static void OnPlain(int code, const char* message, void* user_data) {
    Record(user_data, code, message, [](Seen&) {});
  }
  static void OnString(int code, const char* message, char* value, void* user_data) {
    Record(user_data, code, message, [&](Seen& s) {
      s.text_null = value == nullptr;
      s.text = value ? value : "";
    });
    Morvanta_FreeString(value);
  }
  static void OnVolume(int code, const char* message, uint32_t value, void* user_data) {
    Record(user_data, code, message, [&](Seen& s) { s.value = value; });
  }
  static void OnDevices(int code, const char* message, MorvantaDeviceInfo* devices, uint32_t count, void* user_data) {
    Record(user_data, code, message, [&](Seen& s) {
      s.devices_null = devices == nullptr;
      s.count = count;
      s.devices.clear();
      for (uint32_t i = 0; devices && i < count; ++i)
        s.devices.emplace_back(devices[i].device_id, devices[i].device_name);
    });
    Morvanta_FreeDeviceList(devices, count);
  }
};

// Stands for the Seen callback of whatever shape the parameter it is passed
// to has, or for a NULL callback of that shape with `none`.
struct AnyCallback {
  bool none = false;
  operator MorvantaCallback() const { return none ? nullptr : Seen::OnPlain; }
  operator MorvantaStringCallback() const { return none ? nullptr : Seen::OnString; }
  operator MorvantaIntegerCallback() const { return none ? nullptr : Seen::OnVolume; }
  operator MorvantaDeviceListCallback() const { return none ? nullptr : Seen::OnDevices; }
};

// A function that delivers a value, as a call of one type whatever its
// callback's shape.
template <typename Handle, typename Callback>
std::function<int(Handle*, AnyCallback, void*)> Getter(int (*f)(Handle*, Callback, void*)) {
  return [f](Handle* h, AnyCallback cb, void* ud) { return f(h, cb, ud); };
}

// Calls f(args..., callback, seen), expects it accepted, and waits for the
// answer, which it returns.
template <typename F, typename... A>
std::shared_ptr<Seen> Answer(F f, A... args) {
  auto seen = std::make_shared<Seen>();
  EXPECT_EQ(f(args..., AnyCallback{}, seen.get()), 0);
  EXPECT_TRUE(seen->Wait());
  return seen;
}

// f with its arguments between the handle and the callback bound: a
// PlainCase's call.
template <typename F, typename... A>
auto With(F f, A... args) {
  return [=](auto* h, MorvantaCallback cb, void* ud) { return f(h, args..., cb, ud); };
}

// A JavaScript expression's value as JSON text, evaluated in the sandbox
// after everything queued before it has run.
inline std::string Json(const std::string& expression) {
  return SandboxEval("JSON.stringify(" + expression + ")").stringValue;
}

// The arguments of every call the sandbox received for `path`, as JSON.
inline std::string ArgsOf(const std::string& path) {
  return Json("morVantaSandbox.callsTo('" + path + "').map((c) => c.args)");
}

// `rule` is a JavaScript object literal, such as "{fail: 'code', code: 7}".
inline void Override(const std::string& path, const std::string& rule) {
  SandboxEval("morVantaSandbox.override('" + path + "', " + rule + ")");
}

// Waits until the worker has delivered what was queued before, so that a
// second, wrong callback would have arrived by now.
inline void Settle() { SandboxEval("0"); }

// Puts the local user into a meeting with three simulated members
// (sim-member-01 to -03) that stay still: no script runs.
inline void EnterQuietMeeting(const std::string& options = "{}") {
  SandboxEval("morVantaSandbox.configure({meeting: {script: []}})");
  ASSERT_EQ(Json("typeof morVantaSandbox.enterMeeting(" + options + ")"), "\"object\"");
}

// A field of a member of the sandbox's meeting as JSON: of `uuid`, or of the
// local user when it is empty.
inline std::string MemberField(const std::string& field, const std::string& uuid = "") {
  const std::string who = uuid.empty() ? "m.myUuid" : "'" + uuid + "'";
  return Json("((m) => m.members.find((x) => x.uuid === " + who + ")." + field + ")(morVantaSandbox.meeting)");
}

// One function with a plain callback, called with valid arguments.
template <typename Handle>
struct PlainCase {
  const char* path;  // the sandbox's method path, such as "audio.setSpeakerDevice"
  std::function<int(Handle*, MorvantaCallback, void*)> call;
  std::string args;             // the arguments the sandbox receives, as JSON
  bool answer_ignored = false;  // success whenever the call was fulfilled
  int code = 0;                 // the service's answer to these arguments
};

// Each case: accepted (0), the sandbox gets the arguments, the callback comes
// once with the service's answer; an injected service failure arrives with its
// code and text (as success where the answer is ignored); a rejected call as
// -1 with the rejection's text; and with a NULL callback the call still runs.
template <typename Handle>
void ExpectPlainCases(Handle* handle, const std::vector<PlainCase<Handle>>& cases) {
  struct Outcome {
    const char* rule;
    int code;
    const char* message;
  };
  for (const PlainCase<Handle>& c : cases) {
    SCOPED_TRACE(c.path);
    SandboxEval("morVantaSandbox.clearCalls()");
    const int refusal = c.answer_ignored ? 0 : 1001;
    const Outcome outcomes[] = {
        {nullptr, c.code, nullptr},
        {"{fail: 'code', code: 1001, message: 'no permission', times: 1}", refusal,
         c.answer_ignored ? "" : "no permission"},
        {"{fail: 'reject', message: 'service down', times: 1}", -1, nullptr},
    };
    for (const Outcome& o : outcomes) {
      if (o.rule) Override(c.path, o.rule);
      auto seen = std::make_shared<Seen>();
      ASSERT_EQ(c.call(handle, &Seen::OnPlain, seen.get()), 0);
      ASSERT_TRUE(seen->Wait());
      Settle();
      EXPECT_EQ(seen->Calls(), 1);
      EXPECT_EQ(seen->code, o.code) << seen->message;
      if (o.message) EXPECT_EQ(seen->message, o.message);
      if (o.code == 0) EXPECT_EQ(seen->message, "");
      if (o.code == -1) EXPECT_NE(seen->message.find("service down"), std::string::npos) << seen->message;
    }
    ASSERT_EQ(c.call(handle, nullptr, nullptr), 0);
    const std::string& args = c.args;
    EXPECT_EQ(ArgsOf(c.path), "[" + args + "," + args + "," + args + "," + args + "]");
  }
}

// Every case's function refuses `bad`, a NULL handle or one without a
// manager, with -1; ExpectRefused then makes sure that nothing started.
template <typename Handle>
void ExpectPlainRefusals(Handle* bad, const std::vector<PlainCase<Handle>>& cases, void* user_data) {
  for (const PlainCase<Handle>& c : cases) EXPECT_EQ(c.call(bad, &Seen::OnPlain, user_data), -1) << c.path;
}

// Refusals: every result is -1, and nothing was started: no callback through
// `seen` and no call to a method of the family's SDK object (`manager`, such
// as "audio"). `results` are the refused calls' return values, in order.
inline void ExpectRefused(const std::string& manager, const std::shared_ptr<Seen>& seen,
                          const std::vector<int>& results) {
  int index = 0;
  for (int result : results) EXPECT_EQ(result, -1) << "refusal #" << index++;
  Settle();
  EXPECT_EQ(seen->Calls(), 0);
  EXPECT_EQ(Json("morVantaSandbox.calls.filter((c) => c.path.startsWith('" + manager + ".')).length"), "0");
}

// A suite's fixture: the library initialised against the sandbox and one
// handle of the family.
template <typename Handle, Handle* (*Get)(MorvantaSDK_T*), void (*Destroy)(Handle*)>
class FamilyApi : public CapiLibrary {
 protected:
  void SetUp() override {
    CapiLibrary::SetUp();
    handle = Get(sdk);
    ASSERT_NE(handle, nullptr);
  }
  void TearDown() override {
    Destroy(handle);
    CapiLibrary::TearDown();
  }
  Handle* handle = nullptr;
};

}  // namespace morvanta_test
