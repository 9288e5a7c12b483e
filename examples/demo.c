/* A C99 host of libmorvanta, using only morvanta.h and the shared library.
 * It runs a few scenes against the service: an account session, a meeting
 * with listeners on its events, a waiting room, and scheduling; then it
 * shuts down.
 *
 * The library writes its own diagnostic lines to standard output. This
 * program moves standard output into a log file first and prints its own
 * transcript on the terminal, so the two stay apart. */
#define _POSIX_C_SOURCE 200809L
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "demo_support.h"

int main(void) {
  const char* log_name = "morvanta-demo.log";
  int terminal = dup(STDOUT_FILENO);
  int log_fd = open(log_name, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  MorvantaInitConfig config;
  MorvantaSDK_T* sdk = NULL;
  int failures = 0;
  int rc;

  demo_out = fdopen(terminal, "w");
  if (!demo_out || log_fd < 0) return 1;
  setvbuf(demo_out, NULL, _IONBF, 0);
  fflush(stdout);
  dup2(log_fd, STDOUT_FILENO);
  close(log_fd);

  fprintf(demo_out, "morvanta %s demo (the library's own log: %s)\n", Morvanta_GetVersion(), log_name);
  fprintf(demo_out, "bridge mode: %s (MORVANTA_BRIDGE_MODE=concurrent chooses the other)\n\n",
          Morvanta_GetBridgeMode() == MORVANTA_BRIDGE_MODE_CONCURRENT ? "concurrent" : "compatible");

  memset(&config, 0, sizeof(config));
  config.app_key = "demo-app-key-0001";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  rc = Morvanta_Initialize(&config, &sdk);
  demo_line("initialize", "%s (code %d)", rc == 0 ? "ok" : "failed", rc);
  if (rc != 0) return 1;

  failures += demo_account_scene(sdk);
  failures += demo_meeting_scene(sdk);
  failures += demo_waiting_room_scene(sdk);
  failures += demo_schedule_scene(sdk);

  rc = Morvanta_Uninitialize();
  demo_line("uninitialize", "%s (code %d)", rc == 0 ? "ok" : "failed", rc);
  fprintf(demo_out, "\ndone%s.\n", failures ? " (some scenes could not run)" : "");
  return failures ? 1 : 0;
}
