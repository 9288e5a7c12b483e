/* A C99 host of libmorvanta, using only morvanta.h and the shared library:
 * initialise, log in, read the account, rename, log out, uninitialise.
 *
 * The library writes its own diagnostic lines to standard output. This
 * program moves standard output into a log file first and prints its own
 * transcript on the terminal, so the two stay apart. */
#define _POSIX_C_SOURCE 200809L
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "morvanta.h"

static FILE* out; /* the terminal */

/* One pending answer: the callbacks run on the library's worker thread. */
typedef struct Answer {
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  int done;
  int code;
  char message[256];
  MorvantaAccountInfo* info;
} Answer;

static void answer_init(Answer* a) {
  memset(a, 0, sizeof(*a));
  pthread_mutex_init(&a->mutex, NULL);
  pthread_cond_init(&a->cond, NULL);
}

static void answer_finish(Answer* a, int code, const char* message, MorvantaAccountInfo* info) {
  pthread_mutex_lock(&a->mutex);
  a->code = code;
  snprintf(a->message, sizeof(a->message), "%s", message ? message : "");
  a->info = info;
  a->done = 1;
  pthread_cond_signal(&a->cond);
  pthread_mutex_unlock(&a->mutex);
}

static int answer_wait(Answer* a) {
  struct timespec until;
  int ok = 1;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += 20;
  pthread_mutex_lock(&a->mutex);
  while (!a->done && ok) ok = pthread_cond_timedwait(&a->cond, &a->mutex, &until) == 0;
  pthread_mutex_unlock(&a->mutex);
  return a->done;
}

static void on_account(int code, const char* message, MorvantaAccountInfo* info, void* user_data) {
  answer_finish((Answer*)user_data, code, message, info);
}

static void on_done(int code, const char* message, void* user_data) {
  answer_finish((Answer*)user_data, code, message, NULL);
}

static void show_account(const char* what, Answer* a) {
  if (!answer_wait(a)) {
    fprintf(out, "  %-28s no answer\n", what);
    return;
  }
  if (a->code != 0 || !a->info) {
    fprintf(out, "  %-28s refused: code %d, \"%s\"\n", what, a->code, a->message);
    return;
  }
  fprintf(out, "  %-28s %s (%s), meeting number %s, email %s\n", what, a->info->nickname, a->info->user_uuid,
          a->info->private_meeting_num, a->info->email ? a->info->email : "(none)");
  Morvanta_FreeAccountInfo(a->info);
}

static void show_done(const char* what, Answer* a) {
  if (!answer_wait(a))
    fprintf(out, "  %-28s no answer\n", what);
  else if (a->code == 0)
    fprintf(out, "  %-28s ok\n", what);
  else
    fprintf(out, "  %-28s refused: code %d, \"%s\"\n", what, a->code, a->message);
}

int main(void) {
  const char* log_name = "morvanta-demo.log";
  int terminal = dup(STDOUT_FILENO);
  int log_fd = open(log_name, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  MorvantaInitConfig config;
  MorvantaSDK_T* sdk = NULL;
  MorvantaAccountManager_T* account;
  MorvantaLoginByPasswordOptions good = {"alice", "alice-password"};
  MorvantaLoginByPasswordOptions bad = {"alice", "not-her-password"};
  Answer a;
  int rc;

  out = fdopen(terminal, "w");
  if (!out || log_fd < 0) return 1;
  setvbuf(out, NULL, _IONBF, 0);
  fflush(stdout);
  dup2(log_fd, STDOUT_FILENO);
  close(log_fd);

  fprintf(out, "morvanta %s demo (the library's own log: %s)\n\n", Morvanta_GetVersion(), log_name);

  memset(&config, 0, sizeof(config));
  config.app_key = "demo-app-key-0001";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  rc = Morvanta_Initialize(&config, &sdk);
  fprintf(out, "  %-28s %s (code %d)\n", "initialize", rc == 0 ? "ok" : "failed", rc);
  if (rc != 0) return 1;

  account = Morvanta_GetAccountManager(sdk);
  fprintf(out, "  %-28s %s\n", "account manager", account ? "ready" : "missing");

  answer_init(&a);
  Morvanta_Account_LoginByPassword(account, &bad, on_account, &a);
  show_account("login with a wrong password", &a);

  answer_init(&a);
  Morvanta_Account_LoginByPassword(account, &good, on_account, &a);
  show_account("login as alice", &a);

  answer_init(&a);
  Morvanta_Account_UpdateNickname(account, "Alice in Wonderland", on_done, &a);
  show_done("rename", &a);

  answer_init(&a);
  Morvanta_Account_GetAccountInfo(account, on_account, &a);
  show_account("read the account", &a);

  answer_init(&a);
  Morvanta_Account_Logout(account, on_done, &a);
  show_done("logout", &a);

  answer_init(&a);
  Morvanta_Account_GetAccountInfo(account, on_account, &a);
  show_account("read the account again", &a);

  Morvanta_DestroyAccountManagerHandle(account);
  rc = Morvanta_Uninitialize();
  fprintf(out, "  %-28s %s (code %d)\n", "uninitialize", rc == 0 ? "ok" : "failed", rc);
  fprintf(out, "\ndone.\n");
  return 0;
}
