// C records of the account family, strings and device lists.
#include "capi/c_alloc.h"
#include "capi/c_records.h"
#include "runtime/log.h"

namespace morvanta {
namespace capi {

MorvantaAccountInfo* BuildAccountInfo(const MvAccountInfo& info) {
  MorvantaAccountInfo* out = NewRecord<MorvantaAccountInfo>();
  if (!out) return nullptr;
  out->is_initial_password = -1;
  out->is_anonymous = -1;
  bool ok = true;
  out->user_uuid = DupString(info.userUuid);
  out->user_token = DupString(info.userToken);
  out->nickname = DupString(info.nickname);
  out->private_meeting_num = DupString(info.privateMeetingNum);
  ok = out->user_uuid && out->user_token && out->nickname && out->private_meeting_num;
  out->corp_name = DupOptional(info.corpName, ok);
  out->account = DupOptional(info.account, ok);
  out->avatar = DupOptional(info.avatar, ok);
  out->phone_number = DupOptional(info.phoneNumber, ok);
  out->email = DupOptional(info.email, ok);
  out->private_short_meeting_num = DupOptional(info.privateShortMeetingNum, ok);
  out->is_initial_password = TriState8(info.isInitialPassword);
  out->is_anonymous = TriState8(info.isAnonymous);
  if (!ok) {
    Morvanta_FreeAccountInfo(out);
    return nullptr;
  }
  return out;
}

namespace {

bool FillDevice(MorvantaDeviceInfo& out, const MvDeviceBaseInfo& in) {
  FieldCopier copy;
  out.device_id = copy.Text(in.deviceId);
  out.device_name = copy.Text(in.deviceName);
  return copy.ok();
}

}  // namespace

MorvantaDeviceInfo* BuildDeviceList(const std::vector<MvDeviceBaseInfo>& devices, bool& ok) {
  return BuildList(devices, ok, FillDevice, Morvanta_FreeDeviceList);
}

}  // namespace capi
}  // namespace morvanta

using morvanta::capi::FreeField;

extern "C" {

MORVANTA_API void Morvanta_FreeString(char* str) {
  free(str);
  morvanta::log::Info("[C API Types] ✅ Freed string");
}

MORVANTA_API void Morvanta_FreeDeviceList(MorvantaDeviceInfo* devices, uint32_t count) {
  if (!devices || count == 0) return;
  for (uint32_t i = 0; i < count; ++i) {
    FreeField(devices[i].device_id);
    FreeField(devices[i].device_name);
  }
  delete[] devices;
  morvanta::log::Info("[C API Types] ✅ Freed device list with ", count, " devices");
}

MORVANTA_API void Morvanta_FreeAccountInfo(MorvantaAccountInfo* info) {
  if (!info) return;
  for (char** field : {&info->user_uuid, &info->user_token, &info->nickname, &info->private_meeting_num,
                       &info->corp_name, &info->account, &info->avatar, &info->phone_number, &info->email,
                       &info->private_short_meeting_num})
    FreeField(*field);
  delete info;
}

}  // extern "C"
