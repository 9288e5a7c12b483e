// The callback adapters of each payload family: what reaches the C callback
// for success, failure, a missing payload and an allocation failure.
#include <gtest/gtest.h>

#include <stdexcept>

#include "capi/c_alloc.h"
#include "capi/c_records.h"
#include "capi/call_frame.h"

using namespace morvanta;
using namespace morvanta::capi;

namespace {

struct Seen {
  int calls = 0;
  int code = 0;
  std::string message;
  const void* payload = nullptr;
  uint32_t count = 99;
  uint32_t value = 99;
};

void OnPlain(int code, const char* message, void* ud) {
  auto* s = static_cast<Seen*>(ud);
  ++s->calls;
  s->code = code;
  s->message = message;
}
void OnAccount(int code, const char* message, MorvantaAccountInfo* info, void* ud) {
  OnPlain(code, message, ud);
  static_cast<Seen*>(ud)->payload = info;
  Morvanta_FreeAccountInfo(info);
}
void OnString(int code, const char* message, char* value, void* ud) {
  OnPlain(code, message, ud);
  static_cast<Seen*>(ud)->payload = value;
  Morvanta_FreeString(value);
}
void OnInteger(int code, const char* message, uint32_t value, void* ud) {
  OnPlain(code, message, ud);
  static_cast<Seen*>(ud)->value = value;
}
void OnDevices(int code, const char* message, MorvantaDeviceInfo* items, uint32_t count, void* ud) {
  OnPlain(code, message, ud);
  static_cast<Seen*>(ud)->payload = items;
  static_cast<Seen*>(ud)->count = count;
  Morvanta_FreeDeviceList(items, count);
}

MvAccountInfo Account() {
  MvAccountInfo a;
  a.userUuid = "u";
  a.userToken = "t";
  a.nickname = "n";
  a.privateMeetingNum = "1";
  return a;
}

}  // namespace

TEST(CallFrame, GuardKeepsExceptionsInsideAndAdaptersSkipNullCallbacks) {
  EXPECT_EQ(Guarded<int>("test", -999, []() -> int { throw std::runtime_error("boom"); }), -999);
  EXPECT_EQ(Guarded<int>("test", -999, []() -> int { throw 7; }), -999);
  EXPECT_EQ(Guarded<int>("test", -999, [] { return 3; }), 3);
  EXPECT_FALSE(PlainAdapter<MorvantaCallback>(nullptr, nullptr));
  EXPECT_FALSE((RecordAdapter<MvAccountInfo, MorvantaAccountInfo, MorvantaAccountInfoCallback>(
      nullptr, nullptr, &BuildAccountInfo, "x")));
}

TEST(CallFrame, PlainAndIntegerFamilies) {
  Seen s;
  PlainAdapter(&OnPlain, &s)(MvResult<void>::Failure(1001, "no permission"));
  EXPECT_EQ(s.calls, 1);
  EXPECT_EQ(s.code, 1001);
  EXPECT_EQ(s.message, "no permission");

  struct Row {
    MvResult<int> result;
    uint32_t value;
  };
  const Row rows[] = {{MvResult<int>::Success(42), 42u},
                      {MvResult<int>::Success(-5), 0u},
                      {MvResult<int>::Failure(3, "x"), 0u}};
  for (const Row& row : rows) {
    Seen i;
    IntegerAdapter(&OnInteger, &i)(row.result);
    EXPECT_EQ(i.calls, 1);
    EXPECT_EQ(i.value, row.value);
  }
}

TEST(CallFrame, RecordFamilyBuildsOnSuccessAndReportsAllocationFailureAsMinusNine) {
  Seen ok;
  RecordAdapter<MvAccountInfo, MorvantaAccountInfo>(&OnAccount, &ok, &BuildAccountInfo, "F")(
      MvResult<MvAccountInfo>::Success(Account()));
  EXPECT_EQ(ok.code, 0);
  EXPECT_NE(ok.payload, nullptr);

  Seen failed;
  RecordAdapter<MvAccountInfo, MorvantaAccountInfo>(&OnAccount, &failed, &BuildAccountInfo, "F")(
      MvResult<MvAccountInfo>::Failure(1011, "wrong password"));
  EXPECT_EQ(failed.code, 1011);
  EXPECT_EQ(failed.payload, nullptr);

  Seen oom;
  FailAllocationAfter(3);  // the third string of the record
  RecordAdapter<MvAccountInfo, MorvantaAccountInfo>(&OnAccount, &oom, &BuildAccountInfo,
                                                    "Failed to allocate MorvantaAccountInfo")(
      MvResult<MvAccountInfo>::Success(Account()));
  FailAllocationAfter(0);
  EXPECT_EQ(oom.calls, 1);
  EXPECT_EQ(oom.code, -9);
  EXPECT_EQ(oom.message, "Failed to allocate MorvantaAccountInfo");
  EXPECT_EQ(oom.payload, nullptr);
}

TEST(CallFrame, StringAndListFamilies) {
  Seen s;
  StringAdapter(&OnString, &s, &DupString)(MvResult<std::string>::Success("mic-1"));
  EXPECT_EQ(s.code, 0);
  EXPECT_NE(s.payload, nullptr);
  Seen so;
  FailAllocationAfter(1);
  StringAdapter(&OnString, &so, &DupString)(MvResult<std::string>::Success("mic-1"));
  FailAllocationAfter(0);
  EXPECT_EQ(so.code, -9);
  EXPECT_EQ(so.message, "Failed to allocate string");

  std::vector<MvDeviceBaseInfo> devices(2);
  devices[0].deviceId = "a";
  devices[1].deviceId = "b";
  auto list = [](Seen& seen) {
    return ListAdapter<MvDeviceBaseInfo, MorvantaDeviceInfo, uint32_t>(&OnDevices, &seen, &BuildDeviceList,
                                                                       "Failed to allocate device list");
  };
  Seen full;
  list(full)(MvResult<std::vector<MvDeviceBaseInfo>>::Success(devices));
  EXPECT_EQ(full.count, 2u);
  Seen empty;
  list(empty)(MvResult<std::vector<MvDeviceBaseInfo>>::Success({}));
  EXPECT_EQ(empty.code, 0);
  EXPECT_EQ(empty.payload, nullptr);
  EXPECT_EQ(empty.count, 0u);
  for (int n = 1; n <= 5; ++n) {  // every allocation of a two-device list
    Seen oom;
    FailAllocationAfter(n);
    list(oom)(MvResult<std::vector<MvDeviceBaseInfo>>::Success(devices));
    FailAllocationAfter(0);
    EXPECT_EQ(oom.code, -9) << n;
    EXPECT_EQ(oom.message, "Failed to allocate device list");
    EXPECT_EQ(oom.count, 0u);
  }
}
