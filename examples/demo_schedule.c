/* Scene: schedule a meeting for tomorrow, list the scheduled meetings, read
 * the new one back by number, and cancel it. */
#define _POSIX_C_SOURCE 200809L
#include <string.h>
#include <time.h>

#include "demo_support.h"

static void show_meeting(const char* what, const MorvantaMeetingInfo* m) {
  time_t start = (time_t)(m->start_time / 1000);
  char when[32];
  strftime(when, sizeof(when), "%Y-%m-%d %H:%M", localtime(&start));
  demo_line(what, "%s \"%s\" at %s (id %lld)", m->meeting_num, m->subject, when, (long long)m->meeting_id);
}

int demo_schedule_scene(MorvantaSDK_T* sdk) {
  MorvantaPreMeetingManager_T* pre = Morvanta_GetPreMeetingManager(sdk);
  MorvantaPreMeetingCreateOptions options;
  MorvantaMeetingListParams page;
  MorvantaMeetingInfo* info;
  char number[64];
  long long id;
  int i;
  Answer a;

  fprintf(demo_out, "\nScheduling\n");
  if (!pre) {
    demo_line("pre-meeting manager", "missing");
    return 1;
  }

  memset(&options, 0, sizeof(options));
  options.subject = "Quarterly review";
  options.start_time = ((int64_t)time(NULL) + 24 * 3600) * 1000;
  options.end_time = options.start_time + 3600 * 1000;
  options.enable_waiting_room = 1;
  options.enable_join_before_host = options.no_chat = options.no_cloud_record = -1;
  answer_init(&a);
  Morvanta_PreMeeting_ScheduleMeeting(pre, &options, on_pre_meeting, &a);
  if (!answer_wait(&a) || a.code != 0 || !a.payload) {
    demo_line("schedule a meeting", "refused: code %d, \"%s\"", a.code, a.message);
    Morvanta_DestroyPreMeetingManagerHandle(pre);
    return 1;
  }
  info = (MorvantaMeetingInfo*)a.payload;
  show_meeting("schedule a meeting", info);
  snprintf(number, sizeof(number), "%s", info->meeting_num);
  id = info->meeting_id;
  Morvanta_FreePreMeetingInfo(info);

  memset(&page, 0, sizeof(page));
  page.offset = 0;
  page.size = 10;
  answer_init(&a);
  Morvanta_PreMeeting_GetMeetingListBySize(pre, &page, on_meeting_list, &a);
  if (answer_wait(&a) && a.code == 0) {
    for (i = 0; i < (int)a.count; ++i)
      show_meeting(i == 0 ? "scheduled meetings" : "", &((MorvantaMeetingInfo*)a.payload)[i]);
    if (a.count == 0) demo_line("scheduled meetings", "none");
    Morvanta_FreeMeetingList((MorvantaMeetingInfo*)a.payload, (int32_t)a.count);
  } else {
    demo_line("scheduled meetings", "refused: code %d, \"%s\"", a.code, a.message);
  }

  answer_init(&a);
  Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(pre, number, on_pre_meeting, &a);
  if (answer_wait(&a) && a.code == 0 && a.payload) {
    info = (MorvantaMeetingInfo*)a.payload;
    demo_line("read it back", "\"%s\", waiting room %s", info->subject, info->enable_waiting_room ? "on" : "off");
    Morvanta_FreePreMeetingInfo(info);
  } else {
    demo_line("read it back", "refused: code %d, \"%s\"", a.code, a.message);
  }

  answer_init(&a);
  Morvanta_PreMeeting_CancelMeeting(pre, (int64_t)id, -1, on_done, &a);
  answer_show("cancel it", &a);

  Morvanta_DestroyPreMeetingManagerHandle(pre);
  return 0;
}
