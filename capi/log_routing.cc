// The log routing exports: thin doors onto runtime/log.h, usable before
// initialisation and from any thread.
#include "morvanta.h"
#include "runtime/log.h"

static_assert(MORVANTA_LOG_DEBUG == morvanta::log::kDebug && MORVANTA_LOG_INFO == morvanta::log::kInfo &&
                  MORVANTA_LOG_WARNING == morvanta::log::kWarning && MORVANTA_LOG_ERROR == morvanta::log::kError &&
                  MORVANTA_LOG_OFF == morvanta::log::kOff,
              "the public log levels are the internal ones");

extern "C" {

MORVANTA_API void Morvanta_SetLogHandler(MorvantaLogHandler handler, void* user_data) {
  morvanta::log::SetHandler(handler, user_data);
}

MORVANTA_API void Morvanta_SetLogLevel(int32_t level) { morvanta::log::SetLevel(level); }

}  // extern "C"
