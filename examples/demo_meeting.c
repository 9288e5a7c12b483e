/* Scene: listen to a meeting, create it, watch members arrive and talk,
 * read the meeting and its members, mute someone, chat, then leave. */
#define _POSIX_C_SOURCE 200809L
#include <string.h>
#include <time.h>

#include "demo_support.h"

static struct timespec scene_start;

/* Seconds since the scene began, for the event lines. */
static double elapsed(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)(now.tv_sec - scene_start.tv_sec) + (double)(now.tv_nsec - scene_start.tv_nsec) / 1e9;
}

/* ---- meeting listener: runs on the library's worker thread ---- */

static void on_member_join(const MorvantaMember* m, void* user_data) {
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] %s joined\n", elapsed(), m->name);
}

static void on_member_leave(const MorvantaMember* m, void* user_data) {
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] %s left\n", elapsed(), m->name);
}

static void on_audio_mute(const char* user_uuid, bool mute, void* user_data) {
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] member %s %s\n", elapsed(), user_uuid, mute ? "muted" : "unmuted");
}

static void on_share(const MorvantaMember* m, bool sharing, const MorvantaMember* by, void* user_data) {
  (void)by;
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] %s %s sharing the screen\n", elapsed(), m->name, sharing ? "started" : "stopped");
}

static void on_chat(const MorvantaChatMessage* messages, uint32_t count, void* user_data) {
  uint32_t i;
  (void)user_data;
  for (i = 0; i < count; ++i) {
    const MorvantaChatMessage* c = &messages[i];
    const char* who = c->from_nick ? c->from_nick : (c->from_user_uuid ? c->from_user_uuid : "?");
    if (c->file && c->file->name)
      fprintf(demo_out, "    [%5.1fs] chat from %s: file %s (%llu bytes)\n", elapsed(), who, c->file->name,
              (unsigned long long)c->file->size);
    else
      fprintf(demo_out, "    [%5.1fs] chat from %s: %s\n", elapsed(), who, c->text ? c->text : "");
  }
}

static void on_room_ended(const char* reason, const char* extra, void* user_data) {
  (void)extra;
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] the room ended: %s\n", elapsed(), reason);
}

/* ---- global listener: the service's media engine coming and going ---- */

static void on_engine_ready(const char* room_uuid, void* user_data) {
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] media engine ready for %s\n", elapsed(), room_uuid);
}

static void on_engine_release(const char* room_uuid, void* user_data) {
  (void)user_data;
  fprintf(demo_out, "    [%5.1fs] media engine released for %s\n", elapsed(), room_uuid);
}

/* ---- statistics: one line for the first round only ---- */

static int stats_shown;

static void on_rtc_stats(const MorvantaRtcStats* stats, void* user_data) {
  (void)user_data;
  if (stats_shown++) return;
  fprintf(demo_out, "    [%5.1fs] statistics: %lld s in the meeting, %d bytes sent, %d bytes received\n", elapsed(),
          (long long)stats->duration, stats->tx_bytes, stats->rx_bytes);
}

/* ---- the scene ---- */

static void list_devices(MorvantaAudioManager_T* audio) {
  Answer a;
  uint32_t i;
  answer_init(&a);
  if (Morvanta_Audio_GetMicrophoneDeviceList(audio, on_devices, &a) != 0 || !answer_wait(&a) || a.code != 0) {
    demo_line("microphones", "could not be listed");
    return;
  }
  for (i = 0; i < (uint32_t)a.count; ++i) {
    MorvantaDeviceInfo* d = &((MorvantaDeviceInfo*)a.payload)[i];
    demo_line(i == 0 ? "microphones" : "", "%s (%s)", d->device_name, d->device_id);
  }
  Morvanta_FreeDeviceList((MorvantaDeviceInfo*)a.payload, (uint32_t)a.count);
}

static void show_meeting_info(MorvantaMeetingManager_T* meeting) {
  MorvantaMeetingSDKInfo* info = NULL;
  int rc = Morvanta_Meeting_GetMeetingInfo(meeting, &info);
  if (rc != 0 || !info) {
    demo_line("meeting information", "unavailable (code %d)", rc);
    return;
  }
  demo_line("meeting information", "number %s, \"%s\", host %s, I am %s (%s)", info->meeting_num, info->subject,
            info->host_name, info->name, info->role);
  Morvanta_FreeMeetingInfo(info);
}

/* Prints the members and returns in `other` the uuid of the first member
 * after the caller (the list is in order of entry), empty when alone. */
static void show_members(MorvantaMemberManager_T* members, char* other, size_t other_size) {
  MorvantaMember* list = NULL;
  uint32_t count = 0, i;
  other[0] = '\0';
  if (Morvanta_Member_GetMemberList(members, &list, &count) != 0) {
    demo_line("members", "could not be listed");
    return;
  }
  for (i = 0; i < count; ++i) {
    demo_line(i == 0 ? "members" : "", "%s (%s), audio %s, video %s", list[i].name, list[i].uuid,
              list[i].is_audio_on ? "on" : "off", list[i].is_video_on ? "on" : "off");
    if (i == 1) snprintf(other, other_size, "%s", list[i].uuid);
  }
  Morvanta_FreeMemberList(list, count);
}

int demo_meeting_scene(MorvantaSDK_T* sdk) {
  MorvantaMeetingManager_T* meeting = Morvanta_GetMeetingManager(sdk);
  MorvantaMemberManager_T* members = Morvanta_GetMemberManager(sdk);
  MorvantaAudioManager_T* audio = Morvanta_GetAudioManager(sdk);
  MorvantaChatroomManager_T* chat = Morvanta_GetChatroomManager(sdk);
  MorvantaMeetingListener listener;
  MorvantaGlobalEventListener global;
  MorvantaRtcStatsListener stats;
  MorvantaChatroomTextMessageOptions text;
  char other[128];
  Answer a;
  int ok = meeting && members && audio && chat;

  fprintf(demo_out, "\nMeeting\n");
  if (!ok) {
    demo_line("managers", "missing");
    return 1;
  }
  clock_gettime(CLOCK_MONOTONIC, &scene_start);

  list_devices(audio);

  memset(&global, 0, sizeof(global));
  global.after_rtc_engine_initialize = on_engine_ready;
  global.before_rtc_engine_release = on_engine_release;
  demo_line("global listener", Morvanta_AddGlobalEventListener(&global) == 0 ? "added" : "refused");

  memset(&stats, 0, sizeof(stats));
  stats.onRtcStats = on_rtc_stats;
  demo_line("statistics listener", Morvanta_Meeting_AddRtcStatsListener(meeting, &stats) == 0 ? "added" : "refused");

  memset(&listener, 0, sizeof(listener));
  listener.onMemberJoinMeeting = on_member_join;
  listener.onMemberLeaveMeeting = on_member_leave;
  listener.onMemberAudioMuteChanged = on_audio_mute;
  listener.onMemberScreenShareStateChanged = on_share;
  listener.onReceiveChatroomMessages = on_chat;
  listener.onRoomEnded = on_room_ended;
  demo_line("meeting listener", Morvanta_Meeting_AddMeetingListener(meeting, &listener) == 0 ? "added" : "refused");

  ok = demo_create_meeting(meeting, "Demo planning", -1, "create a meeting");
  if (ok) {
    show_meeting_info(meeting);
    demo_sleep_ms(1200); /* the first members arrive */
    show_members(members, other, sizeof(other));

    if (other[0]) {
      answer_init(&a);
      Morvanta_Member_MuteMemberAudio(members, other, on_done, &a);
      answer_show("mute a member", &a);
    }

    memset(&text, 0, sizeof(text));
    text.text = "Welcome, everyone!";
    text.is_private = -1;
    answer_init(&a);
    Morvanta_Chatroom_SendTextMessage(chat, &text, on_chat_sent, &a);
    if (answer_wait(&a) && a.code == 0 && a.payload) {
      demo_line("send a chat message", "sent as %s", ((MorvantaChatMessage*)a.payload)->message_uuid);
      Morvanta_FreeChatMessage((MorvantaChatMessage*)a.payload);
    } else {
      demo_line("send a chat message", "refused: code %d, \"%s\"", a.code, a.message);
    }

    demo_sleep_ms(6500); /* the meeting goes on: chat, a screen share, a file */

    answer_init(&a);
    Morvanta_Meeting_LeaveMeeting(meeting, 1, on_done, &a);
    answer_show("leave (and end) the meeting", &a);
    demo_sleep_ms(300); /* the last events drain */
  }

  Morvanta_Meeting_RemoveMeetingListener(meeting, &listener);
  Morvanta_Meeting_RemoveRtcStatsListener(meeting, &stats);
  Morvanta_RemoveGlobalEventListener(&global);
  Morvanta_DestroyChatroomManagerHandle(chat);
  Morvanta_DestroyAudioManagerHandle(audio);
  Morvanta_DestroyMemberManagerHandle(members);
  Morvanta_DestroyMeetingManagerHandle(meeting);
  return ok ? 0 : 1;
}
