/* Compiled as strict C99 by the build: the public header must stay valid C. */
#include "morvanta.h"

int morvanta_header_check(void) {
  MorvantaInitConfig config = {0};
  MorvantaCallback plain = 0;
  MorvantaLogHandler log_handler = 0;
  (void)plain;
  (void)log_handler;
  return config.debug + (int)sizeof(MorvantaAccountInfo) + MORVANTA_LOG_OFF;
}
