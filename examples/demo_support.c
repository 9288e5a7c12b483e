/* The demo host's transcript and answer helpers. */
#define _POSIX_C_SOURCE 200809L
#include "demo_support.h"

#include <stdarg.h>
#include <string.h>
#include <time.h>

FILE* demo_out;

void demo_line(const char* what, const char* format, ...) {
  char text[512];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  fprintf(demo_out, "  %-36s %s\n", what, text);
}

void answer_init(Answer* a) {
  memset(a, 0, sizeof(*a));
  pthread_mutex_init(&a->mutex, NULL);
  pthread_cond_init(&a->cond, NULL);
}

void answer_finish(Answer* a, int code, const char* message, void* payload, long long count) {
  pthread_mutex_lock(&a->mutex);
  a->code = code;
  snprintf(a->message, sizeof(a->message), "%s", message ? message : "");
  a->payload = payload;
  a->count = count;
  a->done = 1;
  pthread_cond_signal(&a->cond);
  pthread_mutex_unlock(&a->mutex);
}

int answer_wait(Answer* a) {
  struct timespec until;
  int ok = 1;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += 20;
  pthread_mutex_lock(&a->mutex);
  while (!a->done && ok) ok = pthread_cond_timedwait(&a->cond, &a->mutex, &until) == 0;
  pthread_mutex_unlock(&a->mutex);
  return a->done;
}

int answer_show(const char* what, Answer* a) {
  if (!answer_wait(a)) {
    demo_line(what, "no answer");
    return 0;
  }
  if (a->code != 0) {
    demo_line(what, "refused: code %d, \"%s\"", a->code, a->message);
    return 0;
  }
  demo_line(what, "ok");
  return 1;
}

void on_done(int code, const char* message, void* user_data) {
  answer_finish((Answer*)user_data, code, message, NULL, 0);
}

void on_account(int code, const char* message, MorvantaAccountInfo* info, void* user_data) {
  answer_finish((Answer*)user_data, code, message, info, 0);
}

void on_devices(int code, const char* message, MorvantaDeviceInfo* devices, uint32_t count, void* user_data) {
  answer_finish((Answer*)user_data, code, message, devices, count);
}

void on_chat_sent(int code, const char* message, MorvantaChatMessage* sent, void* user_data) {
  answer_finish((Answer*)user_data, code, message, sent, 0);
}

void on_pre_meeting(int code, const char* message, MorvantaMeetingInfo* info, void* user_data) {
  answer_finish((Answer*)user_data, code, message, info, 0);
}

void on_meeting_list(int code, const char* message, MorvantaMeetingInfo* meetings, int32_t count, void* user_data) {
  answer_finish((Answer*)user_data, code, message, meetings, count);
}

int demo_create_meeting(MorvantaMeetingManager_T* meeting, const char* subject, int32_t waiting_room,
                        const char* what) {
  MorvantaMeetingCreateOptions create;
  Answer a;
  memset(&create, 0, sizeof(create));
  create.subject = subject;
  create.nickname = "Alice";
  create.noChat = create.noWhiteboard = create.noCaptions = -1;
  create.joinTimeout = create.subType = -1;
  create.startTime = create.endTime = -1;
  create.enableWaitingRoom = waiting_room;
  answer_init(&a);
  if (Morvanta_Meeting_CreateMeeting(meeting, &create, on_done, &a) != 0) {
    demo_line(what, "refused by the library");
    return 0;
  }
  return answer_show(what, &a);
}

void demo_sleep_ms(long ms) {
  struct timespec t;
  t.tv_sec = ms / 1000;
  t.tv_nsec = (ms % 1000) * 1000000L;
  while (nanosleep(&t, &t) != 0) {
  }
}
