// Whether standard output is buffered by a log::StdoutBatch right now
// (see runtime/log.h): output written there, the host's own too, then
// waits for the next flush. Any thread.
#pragma once

namespace morvanta {
namespace log {

bool StdoutBatched();

}  // namespace log
}  // namespace morvanta
