/* A host built against an installed libmorvanta only: initialises the
 * library against the installed sandbox SDK, makes one call (a password
 * login), checks its answer, and uninitialises. Its log lines go through a
 * log handler, which counts them. Exit status 0 when all went well. */
#define _POSIX_C_SOURCE 200809L
#include <morvanta.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t cond = PTHREAD_COND_INITIALIZER;
static int answered = 0;
static int answer_code = -1;
static char answer_uuid[64];
static long lines = 0;

static void on_line(int32_t level, const char* line, void* user_data) {
  (void)level;
  (void)user_data;
  if (line && line[0] == '[') {
    pthread_mutex_lock(&mutex);
    ++lines;
    pthread_mutex_unlock(&mutex);
  }
}

static void on_login(int code, const char* message, MorvantaAccountInfo* info, void* user_data) {
  (void)message;
  (void)user_data;
  pthread_mutex_lock(&mutex);
  answer_code = code;
  if (info && info->user_uuid) snprintf(answer_uuid, sizeof(answer_uuid), "%s", info->user_uuid);
  answered = 1;
  pthread_cond_signal(&cond);
  pthread_mutex_unlock(&mutex);
  Morvanta_FreeAccountInfo(info);
}

int main(void) {
  MorvantaInitConfig config;
  MorvantaSDK_T* sdk = NULL;
  MorvantaAccountManager_T* account;
  MorvantaLoginByPasswordOptions options = {"alice", "alice-password"};
  struct timespec limit;
  int ok;

  Morvanta_SetLogHandler(on_line, NULL);
  memset(&config, 0, sizeof(config));
  config.app_key = "consumer-app-key-01";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  if (Morvanta_Initialize(&config, &sdk) != 0) {
    fprintf(stderr, "consumer: initialize failed\n");
    return 1;
  }
  account = Morvanta_GetAccountManager(sdk);
  if (!account || Morvanta_Account_LoginByPassword(account, &options, on_login, NULL) != 0) {
    fprintf(stderr, "consumer: login refused\n");
    return 1;
  }
  clock_gettime(CLOCK_REALTIME, &limit);
  limit.tv_sec += 30;
  pthread_mutex_lock(&mutex);
  while (!answered && pthread_cond_timedwait(&cond, &mutex, &limit) == 0) {
  }
  ok = answered && answer_code == 0 && strcmp(answer_uuid, "user-alice-0001") == 0 && lines > 0;
  pthread_mutex_unlock(&mutex);
  Morvanta_DestroyAccountManagerHandle(account);
  if (Morvanta_Uninitialize() != 0) ok = 0;
  Morvanta_SetLogHandler(NULL, NULL);
  printf("consumer: login %s (code %d, %s), %ld library lines through the handler\n", ok ? "ok" : "FAILED",
         answer_code, answer_uuid, lines);
  return ok ? 0 : 1;
}
