// Export bodies that several families share: a plain-callback call with no
// argument or with one required text, and the adapters of the device
// payloads. Each checks like WithManager: -1 and no callback when the handle
// has no manager or the text is NULL, else 0 once the manager has the call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/c_records.h"
#include "capi/call_frame.h"
#include "managers/call_frame.h"
#include "morvanta.h"

namespace morvanta {
namespace capi {

template <typename Handle, typename Manager>
int PlainCall(const char* name, Handle* handle, void (Manager::*method)(MvCallback<void>), MorvantaCallback callback,
              void* user_data) {
  return WithManager(name, handle, false, [&](Manager& m) { (m.*method)(PlainAdapter(callback, user_data)); });
}

template <typename Handle, typename Manager>
int TextCall(const char* name, Handle* handle, const char* text,
             void (Manager::*method)(const std::string&, MvCallback<void>), MorvantaCallback callback,
             void* user_data) {
  return WithManager(name, handle, text == nullptr,
                     [&](Manager& m) { (m.*method)(text, PlainAdapter(callback, user_data)); });
}

inline MvCallback<std::vector<MvDeviceBaseInfo>> DeviceListAdapter(MorvantaDeviceListCallback callback,
                                                                   void* user_data) {
  return ListAdapter<MvDeviceBaseInfo, MorvantaDeviceInfo, uint32_t>(callback, user_data, &BuildDeviceList,
                                                                     "Failed to allocate device list");
}

inline MvCallback<std::string> DeviceIdAdapter(MorvantaStringCallback callback, void* user_data) {
  return StringAdapter(callback, user_data, &DupString);
}

}  // namespace capi
}  // namespace morvanta
