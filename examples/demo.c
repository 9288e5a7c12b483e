/* A C99 host of libmorvanta, using only morvanta.h and the shared library.
 * It runs a few scenes against the service: an account session, a meeting
 * with listeners on its events, a waiting room, and scheduling; then it
 * shuts down.
 *
 * The library's diagnostic lines reach this program through a log handler
 * (Morvanta_SetLogHandler), which writes them into a log file, so that the
 * terminal shows only the demo's own transcript.
 *
 * The SDK file: the library looks for index.js beside the executable, or
 * where MORVANTA_SDK_PATH says. Installed as bin/morvanta-demo, the demo
 * finds the sandbox SDK in ../share/morvanta/sandbox/index.js relative to
 * itself and names it in MORVANTA_SDK_PATH (unless that is already set). */
#define _POSIX_C_SOURCE 200809L
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "demo_support.h"

/* Writes one library line into the log file given as user_data. Called on
 * the library's threads; one fprintf per line keeps lines whole. */
static void demo_log_line(int32_t level, const char* line, void* user_data) {
  (void)level;
  fprintf((FILE*)user_data, "%s\n", line);
}

/* Names the installed sandbox SDK in MORVANTA_SDK_PATH when the demo runs
 * from a bin/ folder without index.js beside it. */
static void demo_find_sdk(void) {
  char exe[PATH_MAX];
  char path[PATH_MAX + 64];
  ssize_t n;
  char* slash;
  if (getenv("MORVANTA_SDK_PATH")) return;
  n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
  if (n <= 0) return;
  exe[n] = '\0';
  slash = strrchr(exe, '/');
  if (!slash) return;
  *slash = '\0';
  snprintf(path, sizeof(path), "%s/index.js", exe);
  if (access(path, R_OK) == 0) return;
  snprintf(path, sizeof(path), "%s/../share/morvanta/sandbox/index.js", exe);
  if (access(path, R_OK) == 0) setenv("MORVANTA_SDK_PATH", path, 1);
}

int main(void) {
  const char* log_name = "morvanta-demo.log";
  FILE* log = fopen(log_name, "w");
  MorvantaInitConfig config;
  MorvantaSDK_T* sdk = NULL;
  int failures = 0;
  int rc;

  if (!log) {
    fprintf(stderr, "cannot open %s\n", log_name);
    return 1;
  }
  demo_out = stdout;
  setvbuf(demo_out, NULL, _IONBF, 0);
  Morvanta_SetLogHandler(demo_log_line, log);
  demo_find_sdk();

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
  /* The handler and its file stay: the library logs its last lines while
   * the process exits, and exit closes the file after that. */
  return failures ? 1 : 0;
}
