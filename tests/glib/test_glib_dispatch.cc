// The GLib helper with a real GMainLoop: callbacks run inside
// g_main_loop_run on the loop's thread, and a flood is dispatched in batches
// with the loop's other sources served in between.
#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

#include "morvanta_glib.h"
#include "support/sandbox_config.h"

using namespace morvanta_test;

namespace {

struct Loop {
  GMainLoop* loop = nullptr;
  std::thread::id thread;
  bool running = false;  // inside g_main_loop_run
  int answers = 0;
  int wrong_place = 0;
  int failures = 0;
  int wanted = 0;
  // What ran, in order: 'c' a callback, 'i' the idle source.
  std::string trace;
};

void OnVolume(int code, const char*, uint32_t value, void* ud) {
  auto* l = static_cast<Loop*>(ud);
  if (std::this_thread::get_id() != l->thread || !l->running) ++l->wrong_place;
  if (code != 0 || value != 80) ++l->failures;
  l->trace += 'c';
  if (++l->answers == l->wanted) g_main_loop_quit(l->loop);
}

gboolean OnIdle(gpointer ud) {
  static_cast<Loop*>(ud)->trace += 'i';
  return G_SOURCE_CONTINUE;
}

gboolean OnTimeout(gpointer ud) {
  g_main_loop_quit(static_cast<Loop*>(ud)->loop);
  return G_SOURCE_REMOVE;
}

class GLibDispatch : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST), 0);
    MorvantaInitConfig config = SandboxConfig();
    ASSERT_EQ(Morvanta_Initialize(&config, &sdk), 0);
    audio = Morvanta_GetAudioManager(sdk);
    ASSERT_NE(audio, nullptr);
    context = g_main_context_new();
    state.loop = g_main_loop_new(context, FALSE);
    state.thread = std::this_thread::get_id();
  }
  void TearDown() override {
    Morvanta_DestroyAudioManagerHandle(audio);
    EXPECT_EQ(Morvanta_Uninitialize(), 0);
    Morvanta_Dispatch(0);
    Morvanta_SetDispatchMode(MORVANTA_DISPATCH_WORKER);
    g_main_loop_unref(state.loop);
    g_main_context_unref(context);
  }
  // Runs the loop until the callbacks are in or 30 s have passed.
  void Run() {
    GSource* limit = g_timeout_source_new_seconds(30);
    g_source_set_callback(limit, OnTimeout, &state, nullptr);
    g_source_attach(limit, context);
    state.running = true;
    g_main_loop_run(state.loop);
    state.running = false;
    g_source_destroy(limit);
    g_source_unref(limit);
  }
  MorvantaSDK_T* sdk = nullptr;
  MorvantaAudioManager_T* audio = nullptr;
  GMainContext* context = nullptr;
  Loop state;
};

}  // namespace

TEST_F(GLibDispatch, CallbacksRunInsideTheMainLoopOnItsThread) {
  const guint id = Morvanta_GLibAttachDispatch(context, 0);
  ASSERT_NE(id, 0u);
  state.wanted = 3;
  for (int i = 0; i < state.wanted; ++i) ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnVolume, &state), 0);
  // Nothing runs outside the loop.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(state.answers, 0);
  Run();
  EXPECT_EQ(state.answers, 3);
  EXPECT_EQ(state.wrong_place, 0);
  EXPECT_EQ(state.failures, 0);
  g_source_destroy(g_main_context_find_source_by_id(context, id));
}

TEST_F(GLibDispatch, AFloodIsRunInBatchesWithTheLoopsOtherSourcesBetween) {
  state.wanted = 500;
  for (int i = 0; i < state.wanted; ++i) ASSERT_EQ(Morvanta_Audio_GetSpeakerVolume(audio, OnVolume, &state), 0);
  // Let every answer be queued before the loop starts.
  const int fd = Morvanta_GetDispatchFd();
  GPollFD p{fd, G_IO_IN, 0};
  ASSERT_EQ(g_poll(&p, 1, 10000), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  const guint id = Morvanta_GLibAttachDispatch(context, 50);
  ASSERT_NE(id, 0u);
  GSource* idle = g_idle_source_new();
  g_source_set_priority(idle, G_PRIORITY_DEFAULT);
  g_source_set_callback(idle, OnIdle, &state, nullptr);
  g_source_attach(idle, context);
  Run();
  g_source_destroy(idle);
  g_source_unref(idle);
  g_source_destroy(g_main_context_find_source_by_id(context, id));
  ASSERT_EQ(state.answers, 500);
  EXPECT_EQ(state.wrong_place, 0);
  // 500 callbacks in batches of 50: the idle source ran between batches,
  // and no batch was longer than 50.
  const std::string calls = state.trace;
  EXPECT_GE(std::count(calls.begin(), calls.end(), 'i'), 9) << calls;
  size_t longest = 0, run = 0;
  for (char c : calls) {
    run = c == 'c' ? run + 1 : 0;
    longest = std::max(longest, run);
  }
  EXPECT_EQ(longest, 50u) << calls;
}
