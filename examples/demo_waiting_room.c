/* Scene: host a meeting with a waiting room; people wait, the host admits
 * one and sends another away. */
#define _POSIX_C_SOURCE 200809L
#include <string.h>

#include "demo_support.h"

/* ---- waiting room listener: runs on the library's worker thread ---- */

static void on_waiting(const MorvantaWaitingRoomMember* m, int32_t reason, void* user_data) {
  (void)reason;
  (void)user_data;
  fprintf(demo_out, "    %s is waiting to be let in\n", m->name);
}

static void on_admitted(const char* user_uuid, void* user_data) {
  (void)user_data;
  fprintf(demo_out, "    %s was let in\n", user_uuid);
}

static void on_gone(const char* user_uuid, int32_t reason, void* user_data) {
  (void)reason;
  (void)user_data;
  fprintf(demo_out, "    %s left the waiting room\n", user_uuid);
}

static void on_waiting_list(int code, const char* message, MorvantaWaitingRoomMember* members, int32_t count,
                            void* user_data) {
  answer_finish((Answer*)user_data, code, message, members, count);
}

int demo_waiting_room_scene(MorvantaSDK_T* sdk) {
  MorvantaMeetingManager_T* meeting = Morvanta_GetMeetingManager(sdk);
  MorvantaWaitingRoomManager_T* room = Morvanta_GetWaitingRoomManager(sdk);
  MorvantaWaitingRoomListener listener;
  MorvantaWaitingRoomInfo info;
  MorvantaWaitingRoomMember* waiting;
  char admit[128] = "", expel[128] = "";
  int32_t i;
  Answer a;
  int ok;

  fprintf(demo_out, "\nWaiting room\n");
  if (!meeting || !room) {
    demo_line("managers", "missing");
    return 1;
  }

  memset(&listener, 0, sizeof(listener));
  listener.onMemberJoin = on_waiting;
  listener.onMemberAdmitted = on_admitted;
  listener.onMemberLeave = on_gone;
  demo_line("waiting room listener", Morvanta_WaitingRoom_AddListener(room, &listener) == 0 ? "added" : "refused");

  ok = demo_create_meeting(meeting, "Office hours", 1, "host a meeting with a waiting room");
  if (ok) {
    demo_sleep_ms(1100); /* three people arrive */

    answer_init(&a);
    Morvanta_WaitingRoom_GetMemberList(room, 0, 0, 1, on_waiting_list, &a);
    if (answer_wait(&a) && a.code == 0) {
      waiting = (MorvantaWaitingRoomMember*)a.payload;
      for (i = 0; i < (int32_t)a.count; ++i) demo_line(i == 0 ? "waiting" : "", "%s (%s)", waiting[i].name, waiting[i].uuid);
      if (a.count > 0) snprintf(admit, sizeof(admit), "%s", waiting[0].uuid);
      if (a.count > 1) snprintf(expel, sizeof(expel), "%s", waiting[1].uuid);
      Morvanta_FreeWaitingRoomMemberList(waiting, (int32_t)a.count);
    } else {
      demo_line("waiting", "could not be listed: code %d, \"%s\"", a.code, a.message);
    }

    if (admit[0]) {
      answer_init(&a);
      Morvanta_WaitingRoom_AdmitMember(room, admit, 0, on_done, &a);
      answer_show("let the first one in", &a);
    }
    if (expel[0]) {
      answer_init(&a);
      Morvanta_WaitingRoom_ExpelMember(room, expel, 0, on_done, &a);
      answer_show("send the second one away", &a);
    }
    demo_sleep_ms(300); /* the events arrive */

    Morvanta_WaitingRoom_GetInfo(room, &info);
    demo_line("waiting room now", "%d waiting", info.member_count);

    answer_init(&a);
    Morvanta_Meeting_LeaveMeeting(meeting, 1, on_done, &a);
    answer_show("end the meeting", &a);
  }

  Morvanta_WaitingRoom_RemoveListener(room, &listener);
  Morvanta_DestroyWaitingRoomManagerHandle(room);
  Morvanta_DestroyMeetingManagerHandle(meeting);
  return ok ? 0 : 1;
}
