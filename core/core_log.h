// Log output of the product core: lines on standard output (or the host's
// log handler), at the level their literal parts give (see runtime/log.h).
// The parts are only formatted when the line is wanted.
#pragma once

#include "runtime/log.h"

namespace morvanta {

template <typename... Args>
void CoreLogLine(const Args&... parts) {
  log::Info(parts...);
}

// Whether an info line would be written: lets a caller skip building an
// argument that is expensive to compute.
inline bool CoreLogWanted() { return log::CurrentLevel() <= log::kInfo; }

}  // namespace morvanta
