// Operation outcomes in host dispatch. An adapter's function, made while the
// session dispatches on the host's thread, no longer calls C: it queues its
// arguments (native values only), and the C payload is built when the host
// dispatches the item. An item that is never dispatched therefore owns no C
// payload, and releasing it leaks nothing. In worker dispatch the function
// is handed back unchanged.
#pragma once

#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "capi/dispatch_mode.h"
#include "capi/dispatch_queue.h"

namespace morvanta {
namespace capi {

// `deliver` as a function of `Args` (given), for the session's dispatch mode.
template <typename... Args, typename Deliver>
std::function<void(Args...)> Dispatched(Deliver deliver) {
  std::function<void(Args...)> direct(std::move(deliver));
  if (!HostDispatch()) return direct;
  return [direct](Args... args) {
    DispatchQueue::Instance().Post(
        [direct, held = std::tuple<std::decay_t<Args>...>(args...)] { std::apply(direct, held); });
  };
}

}  // namespace capi
}  // namespace morvanta
