// Builders of the C records handed to callbacks. Each returns null when an
// allocation failed, having released everything it had built; the release
// functions are the exported Morvanta_Free* functions.
#pragma once

#include <vector>

#include "core/records.h"
#include "morvanta.h"

namespace morvanta {
namespace capi {

MorvantaAccountInfo* BuildAccountInfo(const MvAccountInfo& info);

// Lists: an empty native list gives a null array with a count of 0 and is
// not a failure (`ok` stays true).
MorvantaDeviceInfo* BuildDeviceList(const std::vector<MvDeviceBaseInfo>& devices, bool& ok);

}  // namespace capi
}  // namespace morvanta
