/*
 * morvanta_glib.h - runs libmorvanta's host dispatch from a GLib main loop.
 * Header-only: include it (after choosing MORVANTA_DISPATCH_HOST) in a host
 * that already uses GLib; libmorvanta itself does not depend on GLib.
 *
 *     Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST);
 *     Morvanta_Initialize(&config, &sdk);
 *     guint id = Morvanta_GLibAttachDispatch(NULL, 0);
 *     g_main_loop_run(loop);          // callbacks run here, on this thread
 *     g_source_remove(id);
 *
 * The source watches Morvanta_GetDispatchFd and runs waiting calls in
 * batches: after each batch the loop gets back control, so its other sources
 * (redraws, input, timers) go on during a flood of events.
 */
#ifndef MORVANTA_GLIB_H
#define MORVANTA_GLIB_H

#include <glib.h>

#include "morvanta.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Calls run per dispatch of the source when Morvanta_GLibAttachDispatch is
 * given 0 or less. */
#define MORVANTA_GLIB_DEFAULT_BATCH 64

typedef struct MorvantaGLibSource {
  GSource source;
  gpointer fd_tag;
  int32_t batch;
} MorvantaGLibSource;

static inline gboolean Morvanta_GLibSourceDispatch(GSource* source, GSourceFunc callback, gpointer user_data) {
  MorvantaGLibSource* self = (MorvantaGLibSource*)source;
  (void)callback;
  (void)user_data;
  if (g_source_query_unix_fd(source, self->fd_tag) & G_IO_IN) Morvanta_Dispatch(self->batch);
  return G_SOURCE_CONTINUE;
}

/* Attaches a source for the dispatch descriptor to `context` (NULL: the
 * default main context) at G_PRIORITY_DEFAULT.
 *   context  in: the main context whose thread runs the callbacks.
 *   batch    in: calls run per turn of the loop; 0 or less:
 *            MORVANTA_GLIB_DEFAULT_BATCH.
 * Returns the source id (remove it with g_source_remove, or
 * g_source_destroy on a non-default context); 0 in worker dispatch, where
 * there is no descriptor.
 * Thread: any; the callbacks then run on the thread that runs `context`. */
static inline guint Morvanta_GLibAttachDispatch(GMainContext* context, int32_t batch) {
  static GSourceFuncs funcs = {NULL, NULL, Morvanta_GLibSourceDispatch, NULL, NULL, NULL};
  int32_t fd = Morvanta_GetDispatchFd();
  GSource* source;
  MorvantaGLibSource* self;
  guint id;
  if (fd < 0) return 0;
  source = g_source_new(&funcs, sizeof(MorvantaGLibSource));
  self = (MorvantaGLibSource*)source;
  self->batch = batch > 0 ? batch : MORVANTA_GLIB_DEFAULT_BATCH;
  self->fd_tag = g_source_add_unix_fd(source, fd, G_IO_IN);
  g_source_set_name(source, "morvanta-dispatch");
  id = g_source_attach(source, context);
  g_source_unref(source);
  return id;
}

#ifdef __cplusplus
}
#endif

#endif /* MORVANTA_GLIB_H */
