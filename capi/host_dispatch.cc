// Morvanta_GetDispatchFd and Morvanta_Dispatch: the host's side of the
// dispatch queue.
#include "capi/call_frame.h"
#include "capi/dispatch_mode.h"
#include "capi/dispatch_queue.h"
#include "morvanta.h"

using namespace morvanta;

MORVANTA_API int32_t Morvanta_GetDispatchFd(void) {
  return capi::Guarded<int32_t>("Morvanta_GetDispatchFd", -1, []() -> int32_t {
    if (!capi::HostDispatchInUse()) return -1;
    return capi::DispatchQueue::Instance().Descriptor();
  });
}

MORVANTA_API int32_t Morvanta_Dispatch(int32_t max_items) {
  return capi::Guarded<int32_t>("Morvanta_Dispatch", -1, [max_items]() -> int32_t {
    if (capi::DispatchQueue::InDispatch()) return -1;
    capi::DispatchQueue* queue = capi::DispatchQueue::IfMade();
    // Worker dispatch: -1, unless a host-dispatch session left items behind.
    if (!capi::HostDispatchInUse() && (!queue || queue->Size() == 0)) return -1;
    return capi::DispatchQueue::Instance().Run(max_items);
  });
}
