// Log output of the product core: one line to standard output per call. The
// line is written with a single call, so lines from different threads do not
// mix, and flushed, so it is visible at once when stdout is a pipe.
#pragma once

#include <string>

namespace morvanta {

void CoreLogLine(const std::string& line);

}  // namespace morvanta
