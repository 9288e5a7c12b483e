/* A C99 host for the teardown tests of the event channels, run by them as a
 * child process: it listens on every channel while a meeting produces
 * events, then either uninitializes (and checks that nothing is called
 * afterwards and that no thread is left behind) or simply returns from main
 * with everything still running.
 *
 *   channels_probe rounds N     N rounds of initialize, listen, uninitialize
 *   channels_probe exit-alive   listen, then return from main at once
 *
 * The sandbox is configured by the test through MORVANTA_SANDBOX_SCENARIO.
 * The probe's own lines start with "PROBE:" and go to standard error. */
#define _POSIX_C_SOURCE 200809L
#include <dirent.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "morvanta.h"

enum { MEETING, RTC, MESSAGE, GLOBAL, WAITING, CHANNELS };
static const char* const kNames[CHANNELS] = {"meeting", "rtc", "message", "global", "waiting"};

static pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
static long g_events[CHANNELS];
static int g_closed; /* set once Morvanta_Uninitialize has returned */
static long g_late;  /* listener calls after that */

static void count(int channel) {
  pthread_mutex_lock(&g_mutex);
  ++g_events[channel];
  if (g_closed) ++g_late;
  pthread_mutex_unlock(&g_mutex);
}

static void sleep_ms(long ms) {
  struct timespec t;
  t.tv_sec = ms / 1000;
  t.tv_nsec = (ms % 1000) * 1000000L;
  while (nanosleep(&t, &t) != 0) {
  }
}

static int thread_count(void) {
  int n = 0;
  struct dirent* e;
  DIR* d = opendir("/proc/self/task");
  if (!d) return -1;
  while ((e = readdir(d)) != NULL)
    if (e->d_name[0] != '.') ++n;
  closedir(d);
  return n;
}

/* ---- one listener function per kind of call; each counts its channel ---- */
static void m_member(const MorvantaMember* m, void* u) { (void)m, (void)u, count(MEETING); }
static void m_mute(const char* uuid, bool mute, void* u) { (void)uuid, (void)mute, (void)u, count(MEETING); }
static void m_chat(const MorvantaChatMessage* c, uint32_t n, void* u) { (void)c, (void)n, (void)u, count(MEETING); }
static void r_stats(const MorvantaRtcStats* s, void* u) { (void)s, (void)u, count(RTC); }
static void r_quality(const MorvantaNetworkQualityInfo* q, uint32_t n, void* u) { (void)q, (void)n, (void)u, count(RTC); }
static void c_custom(const MorvantaCustomMessage* m, void* u) { (void)m, (void)u, count(MESSAGE); }
static void c_session(const MorvantaSessionMessage* m, void* u) { (void)m, (void)u, count(MESSAGE); }
static void g_room(const char* room, void* u) { (void)room, (void)u, count(GLOBAL); }
static void w_join(const MorvantaWaitingRoomMember* m, int32_t r, void* u) { (void)m, (void)r, (void)u, count(WAITING); }
static void w_info(const MorvantaWaitingRoomInfo* i, void* u) { (void)i, (void)u, count(WAITING); }

/* ---- answers ---- */
typedef struct Answer {
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  int done, code;
} Answer;

static void answer_init(Answer* a) {
  memset(a, 0, sizeof(*a));
  pthread_mutex_init(&a->mutex, NULL);
  pthread_cond_init(&a->cond, NULL);
}
static void answer_set(Answer* a, int code) {
  pthread_mutex_lock(&a->mutex);
  a->code = code;
  a->done = 1;
  pthread_cond_signal(&a->cond);
  pthread_mutex_unlock(&a->mutex);
}
static int answer_wait(Answer* a) {
  struct timespec until;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += 20;
  pthread_mutex_lock(&a->mutex);
  while (!a->done)
    if (pthread_cond_timedwait(&a->cond, &a->mutex, &until) != 0) break;
  pthread_mutex_unlock(&a->mutex);
  return a->done && a->code == 0;
}
static void on_done(int code, const char* message, void* u) { (void)message, answer_set((Answer*)u, code); }
static void on_login(int code, const char* message, MorvantaAccountInfo* info, void* u) {
  (void)message;
  Morvanta_FreeAccountInfo(info);
  answer_set((Answer*)u, code);
}

/* Everything a round keeps. */
typedef struct Session {
  MorvantaSDK_T* sdk;
  MorvantaMeetingManager_T* meeting;
  MorvantaWaitingRoomManager_T* waiting;
  MorvantaMeetingListener ml;
  MorvantaRtcStatsListener rl;
  MorvantaMessageChannelListener cl;
  MorvantaGlobalEventListener gl;
  MorvantaWaitingRoomListener wl;
} Session;

/* Initializes, logs in, listens on all five channels, creates a meeting and
 * puts a member into its waiting room. 0 on success, else a step number. */
static int open_session(Session* s) {
  MorvantaInitConfig config;
  MorvantaLoginByPasswordOptions login = {"alice", "alice-password"};
  MorvantaMeetingCreateOptions create;
  MorvantaAccountManager_T* account;
  Answer a;

  memset(s, 0, sizeof(*s));
  memset(&config, 0, sizeof(config));
  config.app_key = "probe-app-key-0001";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  if (Morvanta_Initialize(&config, &s->sdk) != 0) return 1;

  account = Morvanta_GetAccountManager(s->sdk);
  answer_init(&a);
  if (Morvanta_Account_LoginByPassword(account, &login, on_login, &a) != 0 || !answer_wait(&a)) return 2;
  Morvanta_DestroyAccountManagerHandle(account);

  s->meeting = Morvanta_GetMeetingManager(s->sdk);
  s->waiting = Morvanta_GetWaitingRoomManager(s->sdk);
  s->ml.onMemberJoinMeeting = m_member;
  s->ml.onMemberAudioMuteChanged = m_mute;
  s->ml.onReceiveChatroomMessages = m_chat;
  s->rl.onRtcStats = r_stats;
  s->rl.onNetworkQuality = r_quality;
  s->cl.onCustomMessageReceived = c_custom;
  s->cl.onSessionMessageReceived = c_session;
  s->gl.before_rtc_engine_initialize = g_room;
  s->gl.after_rtc_engine_initialize = g_room;
  s->gl.before_rtc_engine_release = g_room;
  s->wl.onMemberJoin = w_join;
  s->wl.onInfoUpdated = w_info;
  if (Morvanta_AddGlobalEventListener(&s->gl) != 0) return 3;
  if (Morvanta_Meeting_AddMeetingListener(s->meeting, &s->ml) != 0) return 4;
  if (Morvanta_Meeting_AddRtcStatsListener(s->meeting, &s->rl) != 0) return 5;
  if (Morvanta_Meeting_AddMessageChannelListener(s->meeting, &s->cl) != 0) return 6;
  if (Morvanta_WaitingRoom_AddListener(s->waiting, &s->wl) != 0) return 7;

  memset(&create, 0, sizeof(create));
  create.subject = "Probe meeting";
  create.noChat = create.noWhiteboard = create.noCaptions = create.joinTimeout = create.subType = -1;
  create.startTime = create.endTime = -1;
  create.enableWaitingRoom = 0;
  answer_init(&a);
  if (Morvanta_Meeting_CreateMeeting(s->meeting, &create, on_done, &a) != 0 || !answer_wait(&a)) return 8;

  /* Once the first simulated member is in, send it to the waiting room:
   * that wakes the waiting room channel. */
  sleep_ms(400);
  answer_init(&a);
  if (Morvanta_WaitingRoom_PutInWaitingRoom(s->waiting, "sim-member-01", on_done, &a) != 0 || !answer_wait(&a))
    return 9;
  return 0;
}

static void report_events(const char* what) {
  int i;
  pthread_mutex_lock(&g_mutex);
  fprintf(stderr, "PROBE: %s", what);
  for (i = 0; i < CHANNELS; ++i) fprintf(stderr, " %s=%ld", kNames[i], g_events[i]);
  fprintf(stderr, "\n");
  pthread_mutex_unlock(&g_mutex);
}

static int all_channels_heard(void) {
  int i, ok = 1;
  pthread_mutex_lock(&g_mutex);
  for (i = 0; i < CHANNELS; ++i)
    if (g_events[i] == 0) ok = 0;
  pthread_mutex_unlock(&g_mutex);
  return ok;
}

static int rounds(int n) {
  int round, failed = 0, threads_first = -1;
  for (round = 0; round < n; ++round) {
    Session s;
    int step, threads, rc;
    long late;
    memset(g_events, 0, sizeof(g_events));
    if ((step = open_session(&s)) != 0) {
      fprintf(stderr, "PROBE: round %d failed at step %d\n", round, step);
      return 3;
    }
    sleep_ms(1500); /* events flow on every channel */
    report_events("heard");
    if (!all_channels_heard()) failed = 1;

    /* Uninitialize with every listener still registered. */
    Morvanta_DestroyWaitingRoomManagerHandle(s.waiting);
    Morvanta_DestroyMeetingManagerHandle(s.meeting);
    rc = Morvanta_Uninitialize();
    pthread_mutex_lock(&g_mutex);
    g_closed = 1;
    pthread_mutex_unlock(&g_mutex);
    sleep_ms(500); /* a late drain would have delivered by now */
    pthread_mutex_lock(&g_mutex);
    late = g_late;
    g_closed = 0;
    g_late = 0;
    pthread_mutex_unlock(&g_mutex);
    threads = thread_count();
    if (threads_first < 0) threads_first = threads;
    fprintf(stderr, "PROBE: round %d uninitialize=%d late=%ld threads=%d\n", round, rc, late, threads);
    if (rc != 0 || late != 0 || threads != threads_first) failed = 1;
  }
  return failed ? 2 : 0;
}

static int exit_alive(void) {
  Session s;
  int step = open_session(&s);
  if (step != 0) {
    fprintf(stderr, "PROBE: failed at step %d\n", step);
    return 3;
  }
  sleep_ms(1500);
  report_events("heard");
  /* The handles are the host's to release; the listeners stay registered. */
  Morvanta_DestroyWaitingRoomManagerHandle(s.waiting);
  Morvanta_DestroyMeetingManagerHandle(s.meeting);
  fprintf(stderr, "PROBE: returning from main with listeners alive\n");
  return all_channels_heard() ? 0 : 2;
}

int main(int argc, char** argv) {
  const char* mode = argc > 1 ? argv[1] : "";
  if (strcmp(mode, "rounds") == 0) return rounds(argc > 2 ? atoi(argv[2]) : 2);
  if (strcmp(mode, "exit-alive") == 0) return exit_alive();
  fprintf(stderr, "usage: channels_probe rounds N | exit-alive\n");
  return 64;
}
