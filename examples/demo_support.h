/* Shared pieces of the demo host: the terminal transcript and a way to wait
 * for one callback. Callbacks of libmorvanta run on its worker thread, so a
 * scene that needs an answer before it goes on waits on an Answer. */
#ifndef MORVANTA_DEMO_SUPPORT_H
#define MORVANTA_DEMO_SUPPORT_H

#include <pthread.h>
#include <stdio.h>

#include "morvanta.h"

/* The terminal (standard output). The library's own lines go through the
 * demo's log handler into a log file. */
extern FILE* demo_out;

/* Prints one transcript line: "  <what padded>  <text>". */
void demo_line(const char* what, const char* format, ...);

/* One pending answer. */
typedef struct Answer {
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  int done;
  int code;
  char message[256];
  void* payload;     /* record or list handed over by the callback */
  long long count;   /* list length or integer value */
} Answer;

void answer_init(Answer* a);
void answer_finish(Answer* a, int code, const char* message, void* payload, long long count);
/* Waits up to 20 s; 1 when the callback came. */
int answer_wait(Answer* a);
/* Waits, then prints "ok" or the refusal. Returns 1 on success. */
int answer_show(const char* what, Answer* a);

/* Callback adapters that finish the Answer given as user_data. */
void on_done(int code, const char* message, void* user_data);
void on_account(int code, const char* message, MorvantaAccountInfo* info, void* user_data);
void on_devices(int code, const char* message, MorvantaDeviceInfo* devices, uint32_t count, void* user_data);
void on_chat_sent(int code, const char* message, MorvantaChatMessage* sent, void* user_data);
void on_pre_meeting(int code, const char* message, MorvantaMeetingInfo* info, void* user_data);
void on_meeting_list(int code, const char* message, MorvantaMeetingInfo* meetings, int32_t count, void* user_data);

/* Creates a meeting hosted by the caller, with only the subject and the
 * waiting room set (tri-state), and prints the outcome as `what`. Returns 1
 * on success. */
int demo_create_meeting(MorvantaMeetingManager_T* meeting, const char* subject, int32_t waiting_room,
                        const char* what);

/* Sleeps for `ms` milliseconds. */
void demo_sleep_ms(long ms);

/* The scenes, in the order main runs them. Each returns 0 when it ran. */
int demo_account_scene(MorvantaSDK_T* sdk);
int demo_meeting_scene(MorvantaSDK_T* sdk);
int demo_waiting_room_scene(MorvantaSDK_T* sdk);
int demo_schedule_scene(MorvantaSDK_T* sdk);

#endif
