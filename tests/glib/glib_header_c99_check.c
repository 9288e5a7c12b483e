/* Compiled as strict C99 by the build: the GLib helper must stay valid C. */
#include "morvanta_glib.h"

guint morvanta_glib_header_check(void) { return Morvanta_GLibAttachDispatch(NULL, MORVANTA_GLIB_DEFAULT_BATCH); }
