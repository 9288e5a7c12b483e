/* A C99 host of the public interface in host dispatch, for the tests of
 * process exit with calls still queued. It starts 1,000 calls, makes sure
 * their answers are queued (a synchronous query behind them returns only
 * after they were answered), and then:
 *
 *   dispatch_probe return   returns from main without dispatching
 *   dispatch_probe exit     dispatches one call, which calls exit(0) with
 *                           999 still queued
 *
 * Its own lines start with "PROBE:" and go to standard error. A queued
 * callback that runs anyway writes "PROBE: callback ran". The library logs
 * only warnings and errors, so that the probe's lines are not crowded out of
 * a pipe the embedded runtime made non-blocking. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "morvanta.h"

#define CALLS 1000

static int g_exit_inside = 0;

static void OnVolume(int code, const char* message, uint32_t value, void* user_data) {
  (void)message;
  (void)user_data;
  if (g_exit_inside) {
    fprintf(stderr, "PROBE: exiting from a dispatched callback (code %d, value %u)\n", code, (unsigned)value);
    fflush(stderr);
    exit(0);
  }
  fprintf(stderr, "PROBE: callback ran\n");
}

int main(int argc, char** argv) {
  MorvantaInitConfig config;
  MorvantaSDK_T* sdk = NULL;
  MorvantaAudioManager_T* audio;
  MorvantaMemberManager_T* members;
  MorvantaMember* list = NULL;
  uint32_t count = 0;
  int i;

  if (argc < 2 || (strcmp(argv[1], "return") != 0 && strcmp(argv[1], "exit") != 0)) {
    fprintf(stderr, "usage: dispatch_probe return|exit\n");
    return 2;
  }
  g_exit_inside = strcmp(argv[1], "exit") == 0;
  Morvanta_SetLogLevel(MORVANTA_LOG_WARNING);
  if (Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST) != 0) return 3;
  memset(&config, 0, sizeof config);
  config.app_key = "probe-app-key-0001";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  if (Morvanta_Initialize(&config, &sdk) != 0) return 4;
  audio = Morvanta_GetAudioManager(sdk);
  members = Morvanta_GetMemberManager(sdk);
  for (i = 0; i < CALLS; ++i)
    if (Morvanta_Audio_GetSpeakerVolume(audio, OnVolume, NULL) != 0) return 5;
  /* Answered after the calls before it: their callbacks are queued now. */
  Morvanta_Member_GetMemberList(members, &list, &count);
  Morvanta_FreeMemberList(list, count);
  fprintf(stderr, "PROBE: queued %d\n", CALLS);
  fflush(stderr);
  if (g_exit_inside) {
    fprintf(stderr, "PROBE: dispatch returned %d\n", (int)Morvanta_Dispatch(1));
    return 6; /* not reached: the callback exits */
  }
  /* The handles are the host's; the queued calls are the library's. */
  Morvanta_DestroyAudioManagerHandle(audio);
  Morvanta_DestroyMemberManagerHandle(members);
  fprintf(stderr, "PROBE: returning from main\n");
  return 0;
}
