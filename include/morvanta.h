/*
 * morvanta.h - the C interface of libmorvanta, a native door to a
 * video-meeting service. This header is the whole API: anything not declared
 * here is internal and may change.
 *
 * The library runs the service's JavaScript SDK (index.js, beside the host
 * executable) inside an embedded Node.js runtime on one worker thread of its
 * own. Every operation is handed to that worker; its outcome comes back
 * through a callback.
 *
 * Global rules
 * ------------
 * Return codes. Every function that returns an int returns 0 when the request
 * was accepted; the outcome then arrives through the callback. A non-zero
 * return means the callback will never be called:
 *     -1    a refused argument (NULL handle, NULL required argument, ...)
 *     -2    not initialized (Morvanta_Uninitialize)
 *     -3    already initialized, or an invalid configuration (Morvanta_Initialize)
 *     -999  the JavaScript runtime could not start, or an internal fault was caught
 * In a callback, 0 is success, -1 a failure made by the library, -9 an
 * allocation failure, and any other code is the service's own, passed on
 * unchanged.
 *
 * Threads. Callbacks run on the library's worker thread, after the
 * operation's JavaScript has finished; a few failures detected before any
 * work starts are reported at once on the calling thread. A callback may call
 * asynchronous functions of this library, but must not block waiting for
 * their outcome, and must not call the synchronous queries (they would time
 * out). Lifecycle functions must not run concurrently with any other call.
 * A host that opts in to host dispatch (section "Host dispatch") gets every
 * callback and listener call on its own thread instead.
 *
 * Memory. Strings passed in are copied before the call returns. A payload
 * given to a callback (record, list, string) belongs to the callee: release
 * it with the matching Morvanta_Free* function, from any thread. The
 * `message` of a callback is valid only during the callback. Every
 * Morvanta_Free* and Morvanta_Destroy* function accepts NULL.
 *
 * Optional values. A NULL string means "not set"; a negative tri-state
 * integer means "not set", 0 false, a positive value true.
 *
 * Logging. The library writes diagnostic lines to standard output and
 * standard error; there is no log file. A host may take the lines over and
 * quiet them (section "Log routing").
 *
 * Inside a callback or a listener
 * -------------------------------
 * Callbacks and listener functions run on the worker, the one thread that
 * runs the SDK, so while one runs nothing else of the library moves on.
 *   May:     copy what it needs, call asynchronous functions of this library
 *            (their outcome arrives later, in another callback), release
 *            payloads, and end the process with exit() (the exit handling
 *            below then runs on the worker and does not wait for it).
 *   May not: block waiting for another call's outcome, call the synchronous
 *            queries (Morvanta_Meeting_GetMeetingInfo,
 *            Morvanta_WaitingRoom_GetInfo, Morvanta_Member_GetMemberList),
 *            call the lifecycle functions, add or remove a listener of the
 *            channel that is calling it, or keep a pointer it was lent after
 *            returning.
 * In host dispatch (MORVANTA_DISPATCH_HOST) these calls run on the thread
 * that calls Morvanta_Dispatch, one at a time, and the worker goes on
 * meanwhile, so the rules are looser:
 *   May:     everything above, and also block, call the synchronous queries
 *            (they answer), add or remove listeners (of the calling channel
 *            too: a record removed there is not called again, even for calls
 *            already queued), and call Morvanta_Uninitialize (for instance
 *            when the meeting ends).
 *   May not: call Morvanta_Dispatch (it returns -1 and runs nothing), keep a
 *            pointer it was lent after returning, or call Morvanta_Initialize
 *            (lifecycle functions still must not overlap other calls).
 *
 * Ending the process
 * ------------------
 * At exit (return from main, exit() from any thread, callbacks included,
 * SIGINT or SIGHUP) the library waits up to 5 s for its runtime to stop: a
 * call waiting on the SDK is given up at once (its callback is not called),
 * and SDK JavaScript that is still running when the 5 s are over is
 * terminated. The process then ends as it would without the library (with
 * the host's exit status, or by the signal), within about 6 s at most.
 *
 * A misbehaving SDK
 * -----------------
 * The SDK cannot end the host process: process.exit() and
 * process.reallyExit() inside the SDK, from a method, a timer or an event
 * handler, are caught. The library logs an error line, answers the call in
 * flight (if any) with -1 and the message "The SDK tried to exit the process
 * with code <code>", and answers every later call with -1 and "Bridge not
 * initialized", as an unavailable library does. Morvanta_Uninitialize then
 * works as usual, and Morvanta_Initialize starts a fresh runtime and loads
 * the SDK again.
 * A rejection is answered with -1 and "Promise rejected: " plus
 * {"success":false,"error":<the reason's message, or else its text form>},
 * the message written as the JSON value it is (a message of 42 gives
 * "error":42). A rejection whose reason cannot be described so (null or
 * undefined, a message getter that throws, no text form, a message JSON
 * cannot write: a BigInt, a cycle) is answered at once with -1 and
 * "Promise rejected: " plus {"success":false,"error":"Rejected with a reason
 * that cannot be shown as text"}.
 * Text. Every string the library hands to the host is valid UTF-8: what
 * UTF-8 cannot carry (a lone UTF-16 surrogate) arrives as U+FFFD. Bytes of a
 * host string that are not well-formed UTF-8 reach the SDK as U+FFFD, one
 * per byte, and never change the rest of the call.
 * JSON text answers nested more than 513 levels deep fail with -1 and "The
 * document is nested more than 513 levels deep.", whatever the call's
 * payload type.
 */
#ifndef MORVANTA_H
#define MORVANTA_H

#include <stdbool.h>
#include <stdint.h>

#if defined(MORVANTA_BUILDING_LIBRARY)
#define MORVANTA_API __attribute__((visibility("default")))
#else
#define MORVANTA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================
 * Lifecycle
 * ====================================================================== */

/* Opaque handle of an initialized library. Owned by the library: it stays
 * valid for the life of the process and is handed out again, with the same
 * value, by a later Morvanta_Initialize. */
typedef struct MorvantaSDK_T MorvantaSDK_T;

/* Start configuration. The caller owns the record and its strings; nothing
 * is kept after Morvanta_Initialize returns. */
typedef struct MorvantaInitConfig {
  const char* app_key;             /* required: 4-128 of [A-Za-z0-9_.-] */
  const char* log_path;            /* required: log folder for the SDK */
  const char* server_url;          /* optional: http(s)://host[:port][/path] */
  const char* locale;              /* optional: like "en-US" */
  int32_t use_asset_server_config; /* tri-state */
  int32_t debug;                   /* tri-state: verbose bridge logging */
} MorvantaInitConfig;

/* Starts the JavaScript runtime, loads index.js from beside the host
 * executable (or from the file named by the environment variable
 * MORVANTA_SDK_PATH, for hosts such as interpreters) and initializes the
 * SDK. Blocks until done.
 *   config      in: required.
 *   out_handle  out, may be NULL: receives the handle; set to NULL first.
 * Returns 0; -1 config NULL or app_key NULL/empty; -3 already initialized
 * (out_handle then receives the live handle) or invalid configuration (for
 * instance an empty log_path); -999 the runtime or SDK could not be loaded;
 * any other value is the SDK's own failure code for initialize. */
MORVANTA_API int32_t Morvanta_Initialize(const MorvantaInitConfig* config, MorvantaSDK_T** out_handle);

/* Uninitializes the SDK and stops the runtime. Destroy all manager handles
 * first. Blocks for at least 200 ms in the compatible bridge mode; in the
 * concurrent mode only as long as the work takes (see Bridge modes). Returns 0 (also when the SDK's own
 * unInitialize fails), -2 when not initialized, -999 on an internal fault. */
MORVANTA_API int32_t Morvanta_Uninitialize(void);

/* 1 when initialized, else 0. */
MORVANTA_API int32_t Morvanta_IsInitialized(void);

/* The library's version, a static string ("1.0.0"); never free it. */
MORVANTA_API const char* Morvanta_GetVersion(void);

/* Does nothing: the SDK handle's lifetime belongs to the library. Kept so
 * that hosts can write symmetrical code. */
MORVANTA_API void Morvanta_DestroySDKHandle(MorvantaSDK_T* handle);

/* ======================================================================
 * Log routing
 *
 * Every diagnostic line of the library has a level: lines marked with a
 * cross are errors, lines marked with a warning sign are warnings, the
 * bridge's verbose lines (written only when the configuration's `debug` is
 * on) are debug, the rest info. Without a handler a line goes, with its
 * newline, to standard output or standard error as always. The embedded
 * runtime makes standard output unbuffered when it starts. While the library
 * is initialized, and only if standard output is then unbuffered and not a
 * terminal (a file or pipe the host did not buffer itself), the library
 * buffers it in blocks: lines, and the host's own stdio output, reach the
 * descriptor within about a millisecond of the worker going idle (at most
 * 250 ms in the concurrent bridge mode), always before the SDK's
 * JavaScript runs and before any error line, and all at the end of
 * Morvanta_Uninitialize. The bytes and their order are unchanged. Outside
 * that time standard output is left unbuffered. As with any buffered stdio,
 * a host that forks while initialized should fflush(stdout) first.
 *
 * The level can also be set by the environment variable MORVANTA_LOG_LEVEL
 * (debug, info, warning, error or off, read when the first line is logged);
 * Morvanta_SetLogLevel wins over it. By default nothing is filtered: the
 * output is the same as without these functions.
 *
 * Both functions may be called at any time, from any thread, also before
 * Morvanta_Initialize and while lines are being logged; the setting holds
 * for the rest of the process, across re-initialization.
 * ====================================================================== */

#define MORVANTA_LOG_DEBUG 0
#define MORVANTA_LOG_INFO 1
#define MORVANTA_LOG_WARNING 2
#define MORVANTA_LOG_ERROR 3
#define MORVANTA_LOG_OFF 4

/* Receives one log line.
 *   level      in: one of MORVANTA_LOG_DEBUG .. MORVANTA_LOG_ERROR.
 *   line       in: the line's text, UTF-8, without a newline; valid only
 *              during the call (copy it to keep it).
 *   user_data  in: as given to Morvanta_SetLogHandler.
 * Thread: called on whichever thread logs (the caller's thread inside a
 * library function, the library's worker thread, its event-channel threads,
 * the thread running exit handlers), possibly on several threads at once.
 * It must not call any function of this library, and should return quickly:
 * the logging thread waits for it. */
typedef void (*MorvantaLogHandler)(int32_t level, const char* line, void* user_data);

/* Routes every later line to `handler` instead of the standard streams; a
 * NULL handler restores standard output and standard error. A line being
 * delivered on another thread while this runs may still reach the previous
 * handler, so keep `user_data` valid a little past the switch (or for the
 * life of the process). */
MORVANTA_API void Morvanta_SetLogHandler(MorvantaLogHandler handler, void* user_data);

/* Drops every later line whose level is below `level` (MORVANTA_LOG_OFF
 * drops them all). A dropped line is not even formatted. Values outside
 * MORVANTA_LOG_DEBUG .. MORVANTA_LOG_OFF are ignored. Debug lines still
 * appear only when the configuration's `debug` is on. */
MORVANTA_API void Morvanta_SetLogLevel(int32_t level);

/* (end of Log routing) */

/* ======================================================================
 * Bridge modes
 *
 * How the library waits for the SDK. The mode is fixed when
 * Morvanta_Initialize starts the runtime and holds until
 * Morvanta_Uninitialize; the library logs the mode in force once, at
 * initialisation ("[JSBridge] Bridge mode: compatible").
 *
 * MORVANTA_BRIDGE_MODE_COMPATIBLE (the default): one SDK call is awaited at
 * a time; its promise is polled every 30 ms with a 15 s limit, so a slow call
 * holds every other call, event drain and synchronous query behind it.
 * Event listeners are fed by a 100 ms poll.
 *
 * MORVANTA_BRIDGE_MODE_CONCURRENT: many calls are in flight at once, each
 * with its own 15 s limit; the worker sleeps in its event loop until work or
 * a timer of the SDK wakes it; an event reaches its listener as soon as the
 * SDK fires it (a 1 s poll stays as a fallback, with the same batches,
 * order and loss rules); a synchronous query no longer waits behind slow
 * calls. Answers have the same codes, shapes and texts as in the compatible
 * mode ("Promise timeout" after 15 s, "Promise rejected: ..." and so on).
 * Callbacks follow the order in which the SDK settles the calls, not the
 * order of submission: a fast call may be answered before a slow one made
 * earlier.
 *   Morvanta_Uninitialize: every call still pending is answered with code -1
 *   and the message "Bridge shutting down", on the worker thread, before
 *   Morvanta_Uninitialize returns; nothing is called back after it returns.
 *   Start and stop have no fixed pauses: Morvanta_Initialize waits for the
 *   worker to report that it runs (not 300 ms) and for the SDK's answers
 *   (not in 10 ms steps), and Morvanta_Uninitialize waits for the scripts
 *   its listener removal queued (not 200 ms), skips the 100 ms after the
 *   clean-up script and waits for the worker's end (not in 10 ms steps).
 *   The SDK is initialized when Morvanta_Initialize returns, as in the
 *   compatible mode; each wait keeps the compatible mode's upper limit.
 *   An idle worker has no timer of its own (a 250 ms one only while it
 *   batches standard output, see Log routing); event channels, woken by
 *   the SDK's pushes, poll only every second as a fallback, and drain at
 *   once when their listener is registered.
 *   Process exit without Morvanta_Uninitialize: pending calls get no
 *   callback; the exit limits are those of the compatible mode.
 *
 * Choosing: Morvanta_SetBridgeMode before Morvanta_Initialize, or, for
 * hosts that cannot change their code, the environment variable
 * MORVANTA_BRIDGE_MODE=concurrent (read at each Morvanta_Initialize). An
 * explicit choice wins over the variable; any other value of the variable,
 * or none, means compatible.
 * ====================================================================== */

#define MORVANTA_BRIDGE_MODE_DEFAULT 0    /* no explicit choice: the variable decides */
#define MORVANTA_BRIDGE_MODE_COMPATIBLE 1
#define MORVANTA_BRIDGE_MODE_CONCURRENT 2

/* Chooses the mode of the next Morvanta_Initialize; the choice is kept for
 * every later initialisation of the process until changed.
 *   mode  in: one of the MORVANTA_BRIDGE_MODE_* constants; DEFAULT clears an
 *         earlier choice.
 * Returns 0; -1 an unknown mode (nothing changes); -3 the library is
 * initialized (refused: call it before Morvanta_Initialize or after
 * Morvanta_Uninitialize); -999 internal fault.
 * Thread: a lifecycle function; not from a callback. */
MORVANTA_API int32_t Morvanta_SetBridgeMode(int32_t mode);

/* The mode the next Morvanta_Initialize would take (while initialized, the
 * mode in force, unless the environment variable was changed since):
 * MORVANTA_BRIDGE_MODE_COMPATIBLE or MORVANTA_BRIDGE_MODE_CONCURRENT, never
 * DEFAULT. Any thread. */
MORVANTA_API int32_t Morvanta_GetBridgeMode(void);

/* ======================================================================
 * Host dispatch
 *
 * Where host code runs. MORVANTA_DISPATCH_WORKER (the default): every
 * callback and listener call runs on the library's worker (or, for a few
 * early failures, inside the exported call), as the rest of this header
 * describes. MORVANTA_DISPATCH_HOST: every call into host code except the log
 * handler waits in a queue until the host runs it with Morvanta_Dispatch, on
 * the host's own thread (a GUI's main thread, say): operation callbacks of
 * every family, failures reported before any work starts included (no
 * callback ever runs inside the exported call that caused it), and the
 * listener calls of the meeting, RTC statistics, message channel, waiting
 * room and global channels. What each callback and listener receives is
 * unchanged; only the thread and the moment differ.
 *
 * Integration: watch the descriptor of Morvanta_GetDispatchFd for reading
 * in the host's main loop (poll(), a GSource, a QSocketNotifier, asyncio's
 * loop.add_reader) and call Morvanta_Dispatch(0) when it is readable. It is
 * level-triggered: readable while at least one call waits, not readable once
 * Morvanta_Dispatch has run everything. morvanta_glib.h attaches it to a
 * GLib main loop in one call.
 *
 * Guarantees in host dispatch:
 *   - Every outcome the library produces is dispatched exactly once, in the
 *     order produced. Listener arguments stay valid during the dispatched
 *     call; payloads belong to the callee, as in worker dispatch.
 *   - Once a Remove*Listener call returns, no call to that record runs, also
 *     of those already queued (they are released). If another thread is
 *     running a call to that record at the time, the removal waits for it.
 *   - Once Morvanta_Uninitialize returns, no listener call runs; operation
 *     callbacks still queued stay queued and run at the next
 *     Morvanta_Dispatch (among them, in the concurrent bridge mode, the
 *     "Bridge shutting down" answers of calls pending at Uninitialize).
 *   - At process exit, calls never dispatched are released without running;
 *     the exit limits of "Ending the process" hold.
 *   - The library's own waits (the synchronous queries, listener
 *     registration) do not depend on the host dispatching, and a host that
 *     dispatches late never slows the worker or the event channels: calls
 *     wait in the queue, whose memory grows for as long as the host does not
 *     dispatch.
 *   - Both bridge modes work in both dispatch modes.
 * ====================================================================== */

#define MORVANTA_DISPATCH_WORKER 0 /* default: callbacks on the worker */
#define MORVANTA_DISPATCH_HOST 1   /* callbacks wait until the host runs them */

/* Chooses where host code runs from the next Morvanta_Initialize on; the
 * choice holds for every later session of the process until changed, and
 * a session's calls (those left queued after it ended too) follow the mode
 * it started with.
 *   mode  in: MORVANTA_DISPATCH_WORKER or MORVANTA_DISPATCH_HOST.
 * Returns 0; -1 an unknown mode (nothing changes); -3 the library is
 * initialized (refused: call it before Morvanta_Initialize or after
 * Morvanta_Uninitialize); -999 internal fault.
 * Thread: a lifecycle function; not from a callback. */
MORVANTA_API int32_t Morvanta_SetDispatchMode(int32_t mode);

/* The mode chosen for the next Morvanta_Initialize (while initialized, the
 * mode in force): MORVANTA_DISPATCH_WORKER or MORVANTA_DISPATCH_HOST. Any
 * thread. */
MORVANTA_API int32_t Morvanta_GetDispatchMode(void);

/* The descriptor to watch for reading. Once host dispatch is chosen (also
 * before Morvanta_Initialize) or in force, a descriptor that is the same for
 * the rest of the process, across re-initialization, so a watch registered
 * once keeps working; -1 in worker dispatch.
 * Ownership: the library's. Never read, write or close it.
 * Thread: any. */
MORVANTA_API int32_t Morvanta_GetDispatchFd(void);

/* Runs waiting calls on the calling thread, in the order the library
 * produced them, one at a time.
 *   max_items  in: at most this many; 0 or less: all those waiting when it
 *              was called (calls that arrive meanwhile wait for the next
 *              dispatch, so a flood cannot trap the host's loop).
 * Returns how many calls ran (0 when none waited); -1 in worker dispatch
 * (unless calls of an earlier host-dispatch session still wait: they run),
 * or when called from inside a dispatched call (nothing runs).
 * Thread: any; two threads may call it, but calls never run at the same
 * time (the second waits for the first to finish its batch). */
MORVANTA_API int32_t Morvanta_Dispatch(int32_t max_items);

/* ======================================================================
 * Global events
 *
 * The SDK tells the host that it is about to create, has created, or is
 * about to release its RTC engine for a room, so that the host can prepare
 * its side. These events need no manager handle.
 *
 * Listener functions run on the library's worker thread. `room_uuid` is
 * valid only during the call ("" when the SDK gave none). A listener must
 * not add or remove a global listener, and must not call the synchronous
 * queries.
 *
 * One listener at a time: while a listener is registered, adding a second,
 * different one returns 0 but stops delivery to both, until all have been
 * removed and a listener is added again.
 * ====================================================================== */

typedef struct MorvantaGlobalEventListener {
  void (*before_rtc_engine_initialize)(const char* room_uuid, void* user_data); /* may be NULL */
  void (*after_rtc_engine_initialize)(const char* room_uuid, void* user_data);  /* may be NULL */
  void (*before_rtc_engine_release)(const char* room_uuid, void* user_data);    /* may be NULL */
  void* user_data; /* handed back to every call */
} MorvantaGlobalEventListener;

/* Adds a copy of `listener` (the caller keeps its record). Blocks up to 1 s
 * while the previous service listener is detached; the service listener of
 * a first listener is attached afterwards, so events fired in the moments
 * after the call may be missed. A record equal in all four fields to one
 * already added is not added again. A record with all three functions NULL
 * is accepted and receives nothing.
 * Returns 0 (also for a duplicate); -1 listener NULL; -2 not initialized;
 * -999 internal fault. */
MORVANTA_API int32_t Morvanta_AddGlobalEventListener(const MorvantaGlobalEventListener* listener);

/* Removes the added record equal to `listener` in all four fields; once
 * this returns, none of its functions is called again. Removing the last
 * listener detaches the service listener and drops undelivered events.
 * Returns 0; -1 listener NULL or no equal record; -2 not initialized; -999
 * internal fault. Morvanta_Uninitialize forgets every global listener. */
MORVANTA_API int32_t Morvanta_RemoveGlobalEventListener(const MorvantaGlobalEventListener* listener);

/* (end of Global events) */

/* ======================================================================
 * Manager handles
 * ====================================================================== */

/* Each Morvanta_Get*Manager call returns a new handle (NULL on failure: NULL
 * or foreign SDK handle, or not initialized); handles of one kind share one
 * manager. Destroy each handle with its own destroy call, before
 * Morvanta_Uninitialize. A handle used after Morvanta_Uninitialize answers
 * every call with a failure through the callback. */
typedef struct MorvantaAccountManager_T MorvantaAccountManager_T;
typedef struct MorvantaAudioManager_T MorvantaAudioManager_T;
typedef struct MorvantaChatroomManager_T MorvantaChatroomManager_T;
typedef struct MorvantaInviteManager_T MorvantaInviteManager_T;
typedef struct MorvantaMeetingManager_T MorvantaMeetingManager_T;
typedef struct MorvantaMemberManager_T MorvantaMemberManager_T;
typedef struct MorvantaPreMeetingManager_T MorvantaPreMeetingManager_T;
typedef struct MorvantaScreenShareManager_T MorvantaScreenShareManager_T;
typedef struct MorvantaSecurityManager_T MorvantaSecurityManager_T;
typedef struct MorvantaVideoManager_T MorvantaVideoManager_T;
typedef struct MorvantaWaitingRoomManager_T MorvantaWaitingRoomManager_T;

MORVANTA_API MorvantaAccountManager_T* Morvanta_GetAccountManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaAudioManager_T* Morvanta_GetAudioManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaChatroomManager_T* Morvanta_GetChatroomManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaInviteManager_T* Morvanta_GetInviteManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaMeetingManager_T* Morvanta_GetMeetingManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaMemberManager_T* Morvanta_GetMemberManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaPreMeetingManager_T* Morvanta_GetPreMeetingManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaScreenShareManager_T* Morvanta_GetScreenShareManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaSecurityManager_T* Morvanta_GetSecurityManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaVideoManager_T* Morvanta_GetVideoManager(MorvantaSDK_T* sdk);
MORVANTA_API MorvantaWaitingRoomManager_T* Morvanta_GetWaitingRoomManager(MorvantaSDK_T* sdk);

MORVANTA_API void Morvanta_DestroyAccountManagerHandle(MorvantaAccountManager_T* handle);
MORVANTA_API void Morvanta_DestroyAudioManagerHandle(MorvantaAudioManager_T* handle);
MORVANTA_API void Morvanta_DestroyChatroomManagerHandle(MorvantaChatroomManager_T* handle);
MORVANTA_API void Morvanta_DestroyInviteManagerHandle(MorvantaInviteManager_T* handle);
MORVANTA_API void Morvanta_DestroyMeetingManagerHandle(MorvantaMeetingManager_T* handle);
MORVANTA_API void Morvanta_DestroyMemberManagerHandle(MorvantaMemberManager_T* handle);
MORVANTA_API void Morvanta_DestroyPreMeetingManagerHandle(MorvantaPreMeetingManager_T* handle);
MORVANTA_API void Morvanta_DestroyScreenShareManagerHandle(MorvantaScreenShareManager_T* handle);
MORVANTA_API void Morvanta_DestroySecurityManagerHandle(MorvantaSecurityManager_T* handle);
MORVANTA_API void Morvanta_DestroyVideoManagerHandle(MorvantaVideoManager_T* handle);
MORVANTA_API void Morvanta_DestroyWaitingRoomManagerHandle(MorvantaWaitingRoomManager_T* handle);

/* ======================================================================
 * Callback families
 * ====================================================================== */

/* Outcome only. `message` is "" on success (never NULL unless a family says
 * otherwise) and valid only during the call. */
typedef void (*MorvantaCallback)(int code, const char* message, void* user_data);
/* A string payload, or NULL; release with Morvanta_FreeString. */
typedef void (*MorvantaStringCallback)(int code, const char* message, char* value, void* user_data);
/* A number; 0 unless the code is 0. */
typedef void (*MorvantaIntegerCallback)(int code, const char* message, uint32_t value, void* user_data);

/* ======================================================================
 * Records and their release
 *
 * Strings in records are NUL-terminated UTF-8, "" for an empty value and
 * NULL for a value the service did not give. Tri-state fields: -1 not given,
 * 0 false, 1 true. Release every record and list only with its function
 * below (the library's allocator made it); each release clears the pointer
 * fields it frees, and none is safe against freeing the same record twice.
 * ====================================================================== */

typedef struct MorvantaDeviceInfo {
  char* device_id;
  char* device_name;
} MorvantaDeviceInfo;

typedef struct MorvantaAccountInfo {
  char* user_uuid;
  char* user_token;
  char* nickname;
  char* private_meeting_num;
  char* corp_name;                 /* may be NULL */
  char* account;                   /* may be NULL */
  char* avatar;                    /* may be NULL */
  char* phone_number;              /* may be NULL */
  char* email;                     /* may be NULL */
  char* private_short_meeting_num; /* may be NULL */
  int8_t is_initial_password;      /* tri-state */
  int8_t is_anonymous;             /* tri-state */
} MorvantaAccountInfo;

/* An account found by the invite operations; lists of it go with an int32_t
 * count. */
typedef struct MorvantaSearchAccountInfo {
  char* user_uuid;
  char* nickname;     /* the user_uuid when the service gave no name */
  char* avatar;       /* may be NULL */
  char* phone_number; /* may be NULL */
  char* dept;         /* may be NULL */
} MorvantaSearchAccountInfo;

/* The chatroom permissions of the meeting, as the service's permission
 * names (text, not numbers). */
typedef struct MorvantaChatroomPermission {
  char* cr_perm;
  char* wt_pr_chat;
} MorvantaChatroomPermission;

/* A member scheduled into a meeting; lists of it go with an int32_t count.
 * Role texts here and below: "host", "evaluator", "bidder" or "supervise";
 * any role the library does not know reads as "host". */
typedef struct MorvantaScheduledMember {
  char* user_uuid;
  char* role;
} MorvantaScheduledMember;

/* A member waiting to be admitted; lists of it go with an int32_t count. */
typedef struct MorvantaWaitingRoomMember {
  char* uuid;
  char* name;
  char* avatar; /* may be NULL */
  int64_t join_time;
  int32_t status;
} MorvantaWaitingRoomMember;

/* A member of the running meeting; lists of it go with a uint32_t count.
 * The flags are 0 or 1. */
typedef struct MorvantaMember {
  char* uuid;
  char* name;
  int32_t is_host;      /* role "host" (the service's co-host names count as host) */
  int32_t is_evaluator; /* role "evaluator" */
  int32_t is_audio_on;
  int32_t is_video_on;
  int32_t is_sharing_screen;
  int32_t is_hands_up; /* 0 also when the service did not say */
} MorvantaMember;

/* An image of a capture source. A source without the image has the block
 * all zero; an image without pixel data has its size and data 0/NULL. */
typedef struct MorvantaScreenCaptureImage {
  int32_t width;
  int32_t height;
  uint32_t size; /* bytes at data */
  uint8_t* data; /* the service's image bytes, copied; NULL when size is 0 */
} MorvantaScreenCaptureImage;

/* A screen or window that can be shared; lists of it go with a uint32_t
 * count. */
typedef struct MorvantaScreenCaptureSource {
  int64_t source_id;
  char* source_name;
  int32_t is_window;          /* 1 when the service's source type is not 0 (0: a screen) */
  char* app_name;             /* the source's title; may be NULL */
  char* app_path;             /* path of the owning process; may be NULL */
  int32_t is_primary_monitor; /* tri-state */
  MorvantaScreenCaptureImage icon;
  MorvantaScreenCaptureImage thumbnail;
} MorvantaScreenCaptureSource;

/* The local user's part in a scheduled meeting. */
typedef struct MorvantaLocalMember {
  char* user_uuid;
  char* name;
  char* role; /* role text */
} MorvantaLocalMember;

/* A scheduled meeting (pre-meeting operations); lists of it go with an
 * int32_t count. */
typedef struct MorvantaMeetingInfo {
  MorvantaLocalMember* local_member; /* NULL when the service gave none */
  int64_t meeting_id;
  char* meeting_num;
  char* room_uuid;
  int32_t state;
  int64_t start_time;
  int64_t end_time;
  char* subject;
  char* owner_user_uuid;
  char* owner_nickname;
  MorvantaScheduledMember* scheduled_members; /* NULL when there are none */
  int32_t scheduled_member_count;
  int32_t no_cloud_record;     /* tri-state */
  int32_t no_chat;             /* tri-state */
  int32_t enable_waiting_room; /* 0 or 1 */
} MorvantaMeetingInfo;

/* The meeting the local user is in. The first three fields describe the
 * local member. Flags are 0 or 1. */
typedef struct MorvantaMeetingSDKInfo {
  char* user_uuid;
  char* name;
  char* role; /* role text */
  char* my_uuid;
  char* host_uuid;
  char* host_name;
  char* active_speaker_uuid;
  char* subject;
  char* owner_user_uuid;
  char* room_archive_id;
  char* meeting_num;
  int32_t is_support_chatroom;
  int32_t is_cloud_recording;
  int64_t start_time;
  int64_t end_time;
  int32_t type;
  int64_t rtc_start_time;
  int64_t join_meeting_time;
  int64_t meeting_id;              /* -1 when not given */
  int32_t is_waiting_room_enabled; /* tri-state */
  int32_t in_waiting_room;         /* tri-state */
  int32_t max_members;             /* -1 when not given */
  int32_t is_breakout_room;        /* tri-state */
} MorvantaMeetingSDKInfo;

/* Chat records. Unlike the records above, every string of a chat message
 * and of its two attachment records is NULL where the service gave none or
 * gave an empty one. String lists are arrays of non-NULL strings with their
 * count, NULL with a count of 0 when empty. */

/* The notification part of a chat message. */
typedef struct MorvantaChatMessageAttach {
  char* from;
  char* from_nick;
  char* type;
  char** to;
  int32_t to_count;
  char** to_nick;
  int32_t to_nick_count;
  char* url;
  char* name;
  char* msg_id;
  int64_t msg_time;
  int32_t id;
  char* operator_; /* the service's "operator" */
} MorvantaChatMessageAttach;

/* The file part of an image, audio, video or file message. */
typedef struct MorvantaChatMessageFile {
  char* name;
  char* ext;
  uint64_t size;
  char* url;
  char* file_path;
  int32_t width;
  int32_t height;
} MorvantaChatMessageFile;

/* A chat message, its text and file forms in one record. Flags are 0 or 1,
 * 0 also when the service did not say. */
typedef struct MorvantaChatMessage {
  char* message_uuid;
  char* from_client_type;
  char* message_type; /* "text", "image", "audio", "video", "file", "geo",
                         "custom", "tip" or "notification" */
  char* from_user_uuid;
  char* from_nick;
  char** to_user_uuid_list;
  int32_t to_user_uuid_count;
  int64_t time;
  char* type;
  char* text;
  char* status;
  MorvantaChatMessageAttach* attach; /* NULL for a message without one */
  char* from;
  int8_t is_me;
  int8_t resend;
  char* id_client;
  MorvantaChatMessageFile* file; /* NULL for a message without one */
  char* custom;
  int32_t chatroom_type; /* 0 when not given */
  int8_t has_temp_file;  /* 1 when the service named a temporary file, even an empty name */
  char* temp_file;
  int8_t is_private;
  char* to_nickname;
  char* from_avatar;
  double percentage; /* transfer progress */
  char* percentage_text;
  char* total;
  char* loaded;
} MorvantaChatMessage;

/* Frees a string payload. */
MORVANTA_API void Morvanta_FreeString(char* str);
/* Frees each device's strings and the array; a count of 0 frees nothing. */
MORVANTA_API void Morvanta_FreeDeviceList(MorvantaDeviceInfo* devices, uint32_t count);
/* Frees the account record and its strings. */
MORVANTA_API void Morvanta_FreeAccountInfo(MorvantaAccountInfo* info);
/* Frees each account's strings and the array; a count below 1 frees nothing. */
MORVANTA_API void Morvanta_FreeAccountList(MorvantaSearchAccountInfo* accounts, int32_t count);
/* Frees the permission record and its strings. */
MORVANTA_API void Morvanta_FreeChatroomPermission(MorvantaChatroomPermission* permission);
/* Frees each member's strings and the array; a count of 0 or below frees the
 * array alone. */
MORVANTA_API void Morvanta_FreeScheduledMembers(MorvantaScheduledMember* members, int32_t count);
/* Frees each member's strings and the array; a count of 0 or below frees the
 * array alone. */
MORVANTA_API void Morvanta_FreeWaitingRoomMemberList(MorvantaWaitingRoomMember* members, int32_t count);
/* Frees each member's strings and the array; a count of 0 frees the array
 * alone. */
MORVANTA_API void Morvanta_FreeMemberList(MorvantaMember* members, uint32_t count);
/* Frees each source's strings and image bytes, and the array; a count of 0
 * frees the array alone. */
MORVANTA_API void Morvanta_FreeScreenCaptureSourceList(MorvantaScreenCaptureSource* sources, uint32_t count);
/* Frees the in-meeting record and its strings. */
MORVANTA_API void Morvanta_FreeMeetingInfo(MorvantaMeetingSDKInfo* info);
/* Frees a scheduled meeting: its local member, strings, scheduled member
 * array and the record. */
MORVANTA_API void Morvanta_FreePreMeetingInfo(MorvantaMeetingInfo* info);
/* Frees each meeting's contents (as Morvanta_FreePreMeetingInfo) and the
 * array; a count of 0 or below frees the array alone. */
MORVANTA_API void Morvanta_FreeMeetingList(MorvantaMeetingInfo* meetings, int32_t count);
/* Frees the message: its strings, string lists, attachment records and the
 * record. */
MORVANTA_API void Morvanta_FreeChatMessage(MorvantaChatMessage* message);

/* ======================================================================
 * Account
 * ====================================================================== */

/* A record payload: the account, or NULL on failure. The callee owns it:
 * release with Morvanta_FreeAccountInfo. */
typedef void (*MorvantaAccountInfoCallback)(int code, const char* message, MorvantaAccountInfo* info,
                                            void* user_data);

/* Option records: NULL strings are sent as "". */
typedef struct MorvantaLoginByPasswordOptions {
  const char* username;
  const char* password;
} MorvantaLoginByPasswordOptions;

typedef struct MorvantaLoginBySmsCodeOptions {
  const char* phone_number;
  const char* sms_code;
} MorvantaLoginBySmsCodeOptions;

typedef struct MorvantaLoginByTokenOptions {
  const char* account_id;
  const char* account_token;
  int32_t auth_type;    /* negative: not sent */
  int32_t is_temporary; /* tri-state: negative not sent */
} MorvantaLoginByTokenOptions;

typedef struct MorvantaResetPasswordOptions {
  const char* old_password;
  const char* new_password;
} MorvantaResetPasswordOptions;

/* Logs in with a user name and password. -1 when handle, options or callback
 * is NULL. The callback receives the account on success. */
MORVANTA_API int Morvanta_Account_LoginByPassword(MorvantaAccountManager_T* handle,
                                                  const MorvantaLoginByPasswordOptions* options,
                                                  MorvantaAccountInfoCallback callback, void* user_data);

/* Logs in with an account id and token (auth_type and is_temporary only when
 * set). -1 when handle, options or callback is NULL. */
MORVANTA_API int Morvanta_Account_LoginByToken(MorvantaAccountManager_T* handle,
                                               const MorvantaLoginByTokenOptions* options,
                                               MorvantaAccountInfoCallback callback, void* user_data);

/* Reads the logged-in account. -1 when handle or callback is NULL. */
MORVANTA_API int Morvanta_Account_GetAccountInfo(MorvantaAccountManager_T* handle,
                                                 MorvantaAccountInfoCallback callback, void* user_data);

/* Logs out. -1 when handle is NULL; callback may be NULL (the logout still runs). */
MORVANTA_API int Morvanta_Account_Logout(MorvantaAccountManager_T* handle, MorvantaCallback callback,
                                         void* user_data);

/* Changes the password. -1 when handle, options or callback is NULL. */
MORVANTA_API int Morvanta_Account_ResetPassword(MorvantaAccountManager_T* handle,
                                                const MorvantaResetPasswordOptions* options,
                                                MorvantaCallback callback, void* user_data);

/* Changes the nickname. -1 when handle or nickname is NULL; callback may be NULL. */
MORVANTA_API int Morvanta_Account_UpdateNickname(MorvantaAccountManager_T* handle, const char* nickname,
                                                 MorvantaCallback callback, void* user_data);

/* ======================================================================
 * Members
 * ====================================================================== */

/* Members of the running meeting. Unless a function says otherwise:
 *   handle     required (a handle from Morvanta_GetMemberManager);
 *   user_uuid  required; "" is sent to the service as it is;
 *   callback   may be NULL: the request still runs, its outcome is only
 *              logged. Otherwise it is called once, on the library's worker
 *              thread, with 0 and "" on success or the service's code and
 *              text (-1 and the library's text for its own failures).
 * Each returns 0 when the request was accepted, -1 (and never calls back)
 * when handle or a required argument is NULL. */

/* The members of the running meeting, synchronously: blocks the calling
 * thread until the service answers, at most 5 seconds. Never call it from a
 * callback or listener (it would always wait out the 5 seconds).
 *   out_members  out, required: receives the array, or NULL when there are
 *                no members; the caller releases it with
 *                Morvanta_FreeMemberList(*out_members, *out_count).
 *   out_count    out, required: receives the number of members.
 * Returns 0, also when the service failed or did not answer in time (then
 * with NULL and 0: such a failure looks like an empty meeting); -1 when
 * handle, out_members or out_count is NULL. */
MORVANTA_API int Morvanta_Member_GetMemberList(MorvantaMemberManager_T* handle, MorvantaMember** out_members,
                                               uint32_t* out_count);

/* Mutes one member's microphone. */
MORVANTA_API int Morvanta_Member_MuteMemberAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                 MorvantaCallback callback, void* user_data);
/* Asks one member to unmute the microphone. */
MORVANTA_API int Morvanta_Member_UnmuteMemberAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                   MorvantaCallback callback, void* user_data);
/* Turns one member's camera off. */
MORVANTA_API int Morvanta_Member_MuteMemberVideo(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                 MorvantaCallback callback, void* user_data);
/* Asks one member to turn the camera on. */
MORVANTA_API int Morvanta_Member_UnmuteMemberVideo(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                   MorvantaCallback callback, void* user_data);
/* Mutes one member's camera and microphone together. */
MORVANTA_API int Morvanta_Member_MuteVideoAndAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                   MorvantaCallback callback, void* user_data);
/* Asks one member to turn camera and microphone on together. */
MORVANTA_API int Morvanta_Member_UnmuteVideoAndAudio(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                     MorvantaCallback callback, void* user_data);
/* Stops one member's screen share. */
MORVANTA_API int Morvanta_Member_StopMemberScreenShare(MorvantaMemberManager_T* handle, const char* user_uuid,
                                                       MorvantaCallback callback, void* user_data);
/* Mutes every member's microphone. */
MORVANTA_API int Morvanta_Member_MuteAllAudio(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                              void* user_data);
/* Lifts the mute of every member's microphone. */
MORVANTA_API int Morvanta_Member_UnmuteAllAudio(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                                void* user_data);
/* Turns every member's camera off. */
MORVANTA_API int Morvanta_Member_MuteAllVideo(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                              void* user_data);
/* Lifts the camera mute of every member. */
MORVANTA_API int Morvanta_Member_UnmuteAllVideo(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                                void* user_data);
/* Raises the caller's hand. */
MORVANTA_API int Morvanta_Member_HandsUp(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                         void* user_data);
/* Lowers a hand: user_uuid names another member's; NULL or "" lowers the
 * caller's own. */
MORVANTA_API int Morvanta_Member_HandsDown(MorvantaMemberManager_T* handle, const char* user_uuid,
                                           MorvantaCallback callback, void* user_data);
/* Lowers every raised hand. */
MORVANTA_API int Morvanta_Member_HandsDownAll(MorvantaMemberManager_T* handle, MorvantaCallback callback,
                                              void* user_data);

/* (end of Members) */

/* ======================================================================
 * Audio
 * ====================================================================== */

/* Local speakers and microphones. Unless a function says otherwise:
 *   handle     required (a handle from Morvanta_GetAudioManager);
 *   device_id  required, one of the ids of the matching device list;
 *   callback   may be NULL: the request still runs, its outcome is only
 *              logged. Otherwise it is called once, on the library's worker
 *              thread, with 0 and "" on success or the service's code and
 *              text (-1 and the library's text for its own failures).
 * Each returns 0 when the request was accepted, -1 (and never calls back)
 * when handle or a required argument is NULL. Functions that deliver a value
 * require their callback. */

/* A device list payload: an array of `count` devices, or NULL with 0 on
 * failure or when there are none. The callee owns it: release with
 * Morvanta_FreeDeviceList(devices, count). -9 and NULL when it could not be
 * allocated. */
typedef void (*MorvantaDeviceListCallback)(int code, const char* message, MorvantaDeviceInfo* devices,
                                           uint32_t count, void* user_data);

/* Lists the speakers. callback required. */
MORVANTA_API int Morvanta_Audio_GetSpeakerDeviceList(MorvantaAudioManager_T* handle,
                                                     MorvantaDeviceListCallback callback, void* user_data);
/* The id of the speaker in use, as a string payload (Morvanta_FreeString).
 * callback required. */
MORVANTA_API int Morvanta_Audio_GetSpeakerDeviceId(MorvantaAudioManager_T* handle, MorvantaStringCallback callback,
                                                   void* user_data);
/* Chooses the speaker. */
MORVANTA_API int Morvanta_Audio_SetSpeakerDevice(MorvantaAudioManager_T* handle, const char* device_id,
                                                 MorvantaCallback callback, void* user_data);
/* Chooses the speaker of the pre-meeting preview. The callback reports 0
 * whenever the service answered at all, whatever the answer. */
MORVANTA_API int Morvanta_Audio_SetSpeakerDevicePreview(MorvantaAudioManager_T* handle, const char* device_id,
                                                        MorvantaCallback callback, void* user_data);
/* The speaker volume as the callback's value (0 unless the code is 0).
 * callback required. */
MORVANTA_API int Morvanta_Audio_GetSpeakerVolume(MorvantaAudioManager_T* handle, MorvantaIntegerCallback callback,
                                                 void* user_data);
/* Sets the speaker volume (its range is the service's; values above
 * 2147483647 arrive as negative numbers). The callback reports 0 whenever the
 * service answered at all, whatever the answer. */
MORVANTA_API int Morvanta_Audio_SetSpeakerVolume(MorvantaAudioManager_T* handle, uint32_t volume,
                                                 MorvantaCallback callback, void* user_data);
/* Lists the microphones. callback required. */
MORVANTA_API int Morvanta_Audio_GetMicrophoneDeviceList(MorvantaAudioManager_T* handle,
                                                        MorvantaDeviceListCallback callback, void* user_data);
/* The id of the microphone in use, as a string payload
 * (Morvanta_FreeString). callback required. */
MORVANTA_API int Morvanta_Audio_GetMicrophoneDeviceId(MorvantaAudioManager_T* handle,
                                                      MorvantaStringCallback callback, void* user_data);
/* Chooses the microphone. */
MORVANTA_API int Morvanta_Audio_SetMicrophoneDevice(MorvantaAudioManager_T* handle, const char* device_id,
                                                    MorvantaCallback callback, void* user_data);
/* Chooses the microphone of the pre-meeting preview. */
MORVANTA_API int Morvanta_Audio_SetMicrophoneDevicePreview(MorvantaAudioManager_T* handle, const char* device_id,
                                                           MorvantaCallback callback, void* user_data);
/* The microphone volume as the callback's value. callback required. The
 * service's answer is read as a plain number only: any other answer, a
 * refusal included, arrives as code 0 with the value 0. */
MORVANTA_API int Morvanta_Audio_GetMicrophoneVolume(MorvantaAudioManager_T* handle,
                                                    MorvantaIntegerCallback callback, void* user_data);
/* The level of the microphone preview (during a microphone test), read like
 * Morvanta_Audio_GetMicrophoneVolume. callback required. */
MORVANTA_API int Morvanta_Audio_GetMicrophoneVolumePreview(MorvantaAudioManager_T* handle,
                                                           MorvantaIntegerCallback callback, void* user_data);
/* Sets the microphone volume (values above 2147483647 arrive as negative
 * numbers). */
MORVANTA_API int Morvanta_Audio_SetMicrophoneVolume(MorvantaAudioManager_T* handle, uint32_t volume,
                                                    MorvantaCallback callback, void* user_data);
/* Mutes the local microphone. The callback reports 0 whenever the service
 * answered at all, whatever the answer. */
MORVANTA_API int Morvanta_Audio_MuteMyAudio(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                            void* user_data);
/* Unmutes the local microphone. */
MORVANTA_API int Morvanta_Audio_UnmuteMyAudio(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                              void* user_data);
/* Starts capturing the chosen microphone for a level test
 * (Morvanta_Audio_GetMicrophoneVolumePreview reads the level). */
MORVANTA_API int Morvanta_Audio_StartMicrophoneDeviceTest(MorvantaAudioManager_T* handle,
                                                          MorvantaCallback callback, void* user_data);
/* Ends the microphone test. */
MORVANTA_API int Morvanta_Audio_StopMicrophoneDeviceTest(MorvantaAudioManager_T* handle,
                                                         MorvantaCallback callback, void* user_data);
/* Plays audio_resource (required; what it names is the service's matter)
 * on the chosen speaker. */
MORVANTA_API int Morvanta_Audio_StartSpeakerDeviceTest(MorvantaAudioManager_T* handle, const char* audio_resource,
                                                       MorvantaCallback callback, void* user_data);
/* Ends the speaker test. */
MORVANTA_API int Morvanta_Audio_StopSpeakerDeviceTest(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                      void* user_data);
/* Turns audio effects on. */
MORVANTA_API int Morvanta_Audio_EnableAudioEffect(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                  void* user_data);
/* Sets one audio effect; the meanings of type and value are the service's. */
MORVANTA_API int Morvanta_Audio_SetAudioEffect(MorvantaAudioManager_T* handle, int type, int value,
                                               MorvantaCallback callback, void* user_data);
/* Turns the AI noise filter on. */
MORVANTA_API int Morvanta_Audio_EnableAIDenoise(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                void* user_data);
/* Turns the AI noise filter off. */
MORVANTA_API int Morvanta_Audio_DisableAIDenoise(MorvantaAudioManager_T* handle, MorvantaCallback callback,
                                                 void* user_data);

/* (end of Audio) */

/* ======================================================================
 * Video
 * ====================================================================== */

/* Cameras, video canvases and remote video. Unless a function says
 * otherwise:
 *   handle     required (a handle from Morvanta_GetVideoManager);
 *   device_id  required, one of the ids of the camera list;
 *   user_uuid  required, a member of the meeting;
 *   view       the native window to draw into, or NULL to detach the canvas.
 *              Only the handle's value is passed on (as 8 bytes); the
 *              library does not use the window itself;
 *   callback   may be NULL: the request still runs, its outcome is only
 *              logged. Otherwise it is called once, on the library's worker
 *              thread, with 0 and "" on success or the service's code and
 *              text (-1 and the library's text for its own failures).
 * Each returns 0 when the request was accepted, -1 (and never calls back)
 * when handle or a required argument is NULL. The device list and string
 * callbacks are those of the audio family. */

/* Lists the cameras. callback required. */
MORVANTA_API int Morvanta_Video_GetCameraDeviceList(MorvantaVideoManager_T* handle,
                                                    MorvantaDeviceListCallback callback, void* user_data);
/* The id of the camera in use, as a string payload (Morvanta_FreeString).
 * callback required. */
MORVANTA_API int Morvanta_Video_GetCameraDeviceId(MorvantaVideoManager_T* handle, MorvantaStringCallback callback,
                                                  void* user_data);
/* Chooses the camera. */
MORVANTA_API int Morvanta_Video_SetCameraDevice(MorvantaVideoManager_T* handle, const char* device_id,
                                                MorvantaCallback callback, void* user_data);
/* Chooses the camera of the pre-meeting preview. */
MORVANTA_API int Morvanta_Video_SetCameraDevicePreview(MorvantaVideoManager_T* handle, const char* device_id,
                                                       MorvantaCallback callback, void* user_data);
/* Draws the local camera into view (NULL detaches). */
MORVANTA_API int Morvanta_Video_SetupLocalVideoCanvas(MorvantaVideoManager_T* handle, void* view,
                                                      MorvantaCallback callback, void* user_data);
/* Draws the camera preview into view (NULL detaches). */
MORVANTA_API int Morvanta_Video_SetupVideoPreviewCanvas(MorvantaVideoManager_T* handle, void* view,
                                                        MorvantaCallback callback, void* user_data);
/* Draws a member's camera into view (NULL detaches). */
MORVANTA_API int Morvanta_Video_SetupRemoteVideoCanvas(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                       void* view, MorvantaCallback callback, void* user_data);
/* Draws a member's screen-share stream into view (NULL detaches). */
MORVANTA_API int Morvanta_Video_SetupRemoteVideoSubStreamCanvas(MorvantaVideoManager_T* handle,
                                                                const char* user_uuid, void* view,
                                                                MorvantaCallback callback, void* user_data);
/* Starts the camera preview. */
MORVANTA_API int Morvanta_Video_StartVideoPreview(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                                  void* user_data);
/* Stops the camera preview. */
MORVANTA_API int Morvanta_Video_StopVideoPreview(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                                 void* user_data);
/* Turns the local camera off in the meeting. */
MORVANTA_API int Morvanta_Video_MuteMyVideo(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                            void* user_data);
/* Turns the local camera on in the meeting. */
MORVANTA_API int Morvanta_Video_UnmuteMyVideo(MorvantaVideoManager_T* handle, MorvantaCallback callback,
                                              void* user_data);
/* Sets resolution and frame rate (their meanings are the service's). Sent
 * and forgotten: no outcome reaches the caller. Returns 0, also when the
 * library is not running; -1 when handle is NULL. */
MORVANTA_API int Morvanta_Video_SetVideoProfile(MorvantaVideoManager_T* handle, int resolution, int frame_rate);
/* Subscribes to a member's camera stream of stream_type (the service's
 * numbers). */
MORVANTA_API int Morvanta_Video_SubscribeRemoteVideoStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                           int stream_type, MorvantaCallback callback,
                                                           void* user_data);
/* Ends a subscription to a member's camera stream of stream_type. */
MORVANTA_API int Morvanta_Video_UnsubscribeRemoteVideoStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                             int stream_type, MorvantaCallback callback,
                                                             void* user_data);
/* Subscribes to a member's screen-share stream. */
MORVANTA_API int Morvanta_Video_SubscribeRemoteVideoSubStream(MorvantaVideoManager_T* handle, const char* user_uuid,
                                                              MorvantaCallback callback, void* user_data);
/* Ends a subscription to a member's screen-share stream. */
MORVANTA_API int Morvanta_Video_UnsubscribeRemoteVideoSubStream(MorvantaVideoManager_T* handle,
                                                                const char* user_uuid, MorvantaCallback callback,
                                                                void* user_data);
/* Morvanta_Video_RemoveLocalVideoCanvas has C++ linkage: see the end of
 * this header. */

/* (end of Video) */

/* ======================================================================
 * Chatroom
 *
 * The meeting's chat: text and file messages, to everyone or privately to
 * some members, recall, and the transfer of attachments. Unlike the other
 * families, this one reports every success with the message "Success"
 * (never "").
 *
 * For all functions: handle and the options or message record must not be
 * NULL; callback may be NULL (the operation still runs, its outcome is only
 * logged). Returns 0 when accepted, -1 for a refused argument (no callback
 * then). The callback runs once, on the library's worker thread, and must
 * not block or call a synchronous query; failures found before any work
 * starts (library not running) are reported on the calling thread. The
 * caller's records and strings are copied before the function returns.
 * ====================================================================== */

/* The outcome of a send: on success code 0, "Success" and the message as the
 * service recorded it (owned by the callee: release with
 * Morvanta_FreeChatMessage). On failure the code, its text and NULL; -9 with
 * "Failed to allocate MorvantaChatMessage" when the record could not be
 * built. */
typedef void (*MorvantaChatMessageCallback)(int code, const char* message, MorvantaChatMessage* sent,
                                            void* user_data);

/* A text message. The message is private when is_private is 1 and receivers
 * are given. */
typedef struct MorvantaChatroomTextMessageOptions {
  const char* id_client;            /* the caller's own id for the message, passed on as given; NULL as "" */
  const char* text;                 /* required */
  int8_t is_private;                /* tri-state; negative: not sent */
  const char** to_user_uuid_list;   /* receivers; may be NULL */
  int to_user_uuid_count;           /* entries at to_user_uuid_list; 0 or below: none (not sent) */
} MorvantaChatroomTextMessageOptions;

/* A file or image message. */
typedef struct MorvantaChatroomSendFileMessageOptions {
  const char* id_client;            /* as in the text options */
  int type;                         /* 1: an image; any other value: a file */
  const char* url;                  /* the file's location; NULL as "" */
  uint64_t size;                    /* bytes */
  uint32_t width;                   /* pixels, for an image */
  uint32_t height;
  int8_t is_private;                /* tri-state; negative: not sent */
  const char** to_user_uuid_list;   /* receivers; may be NULL */
  int to_user_uuid_count;
} MorvantaChatroomSendFileMessageOptions;

/* Sends a text message. -1 when handle, options or options->text is NULL.
 * Callback: MorvantaChatMessageCallback, with the sent message. */
MORVANTA_API int Morvanta_Chatroom_SendTextMessage(MorvantaChatroomManager_T* handle,
                                                   const MorvantaChatroomTextMessageOptions* options,
                                                   MorvantaChatMessageCallback callback, void* user_data);

/* Sends a file or an image by its url. -1 when handle or options is NULL.
 * Callback: MorvantaChatMessageCallback, with the sent message. */
MORVANTA_API int Morvanta_Chatroom_SendFileMessage(MorvantaChatroomManager_T* handle,
                                                   const MorvantaChatroomSendFileMessageOptions* options,
                                                   MorvantaChatMessageCallback callback, void* user_data);

/* The functions below take a message as the library gave it (a sent message
 * or a received one); the record stays the caller's. NULL strings in it
 * count as unset or empty. Their callback gets code 0 and "Success" for
 * every call the service accepted, whatever it answered, else a failure
 * code and its text. */

/* Recalls (withdraws) a sent message. -1 when handle or message is NULL. */
MORVANTA_API int Morvanta_Chatroom_RecallMessage(MorvantaChatroomManager_T* handle, const MorvantaChatMessage* message,
                                                 MorvantaCallback callback, void* user_data);

/* Cancels the upload of a file message still being sent. -1 when handle or
 * message is NULL. */
MORVANTA_API int Morvanta_Chatroom_CancelSendFileMessage(MorvantaChatroomManager_T* handle,
                                                         const MorvantaChatMessage* message, MorvantaCallback callback,
                                                         void* user_data);

/* Starts downloading the attachment of a file or image message to save_path
 * (copied). The callback reports that the download was accepted; its
 * progress is the service's to report. -1 when handle, message or save_path
 * is NULL. */
MORVANTA_API int Morvanta_Chatroom_DownloadAttachment(MorvantaChatroomManager_T* handle,
                                                      const MorvantaChatMessage* message, const char* save_path,
                                                      MorvantaCallback callback, void* user_data);

/* Cancels a running attachment download. -1 when handle or message is NULL. */
MORVANTA_API int Morvanta_Chatroom_CancelDownloadAttachment(MorvantaChatroomManager_T* handle,
                                                            const MorvantaChatMessage* message,
                                                            MorvantaCallback callback, void* user_data);

/* (end of Chatroom) */

/* ======================================================================
 * Security
 *
 * Who may chat in the meeting. Permissions are the service's own text
 * names (such as "freeChat" or "noChat" in the sandbox service), passed on
 * and handed back unchanged. Callbacks run once, on the library's worker
 * thread, and must not block or call a synchronous query; failures found
 * before any work starts (library not running) are reported on the calling
 * thread.
 * ====================================================================== */

/* A record payload: the permissions, or NULL on failure. The callee owns it:
 * release with Morvanta_FreeChatroomPermission. */
typedef void (*MorvantaChatroomPermissionCallback)(int code, const char* message,
                                                   MorvantaChatroomPermission* permission, void* user_data);

/* Changes the chat permissions of the meeting room (cr_perm) and of the
 * waiting room (wt_pr_chat). Either may be NULL or "": that permission is
 * left as it is (with both unset the service still gets the request).
 * Strings are copied. -1 when handle is NULL; callback may be NULL. */
MORVANTA_API int Morvanta_Security_ChangeChatroomPermission(MorvantaSecurityManager_T* handle, const char* cr_perm,
                                                            const char* wt_pr_chat, MorvantaCallback callback,
                                                            void* user_data);

/* Reads the chat permissions. -1 when handle or callback is NULL. The
 * callback gets the record on success; a service answer without one is -1
 * with "Missing data field in result" or "Missing data field". */
MORVANTA_API int Morvanta_Security_GetChatroomPermission(MorvantaSecurityManager_T* handle,
                                                         MorvantaChatroomPermissionCallback callback,
                                                         void* user_data);

/* (end of Security) */

/* ======================================================================
 * Screen share
 *
 * Capture sources, sharing a screen or window, sharing system audio. Every
 * call the service accepts is a success (code 0, message ""), whatever it
 * answered; a failure is -1 with the service's error text. Returns 0 when
 * accepted, -1 for a refused argument (no callback then). Callbacks run
 * once, on the library's worker thread, and must not block or call a
 * synchronous query; failures found before any work starts (library not
 * running) are reported on the calling thread.
 * ====================================================================== */

/* A list payload: the sources and their number (NULL and 0 for none or on
 * failure). The callee owns the array: release it with
 * Morvanta_FreeScreenCaptureSourceList and the same count. -9 with
 * "Failed to allocate screen capture source list" when it could not be
 * built. */
typedef void (*MorvantaScreenCaptureSourceListCallback)(int code, const char* message,
                                                        MorvantaScreenCaptureSource* sources, uint32_t count,
                                                        void* user_data);

/* Options of Morvanta_ScreenShare_StartScreenShare. Unset fields (negative
 * numbers, NULL strings) are not sent; flags are tri-state. */
typedef struct MorvantaScreenShareConfig {
  int need_request_meeting_server_screen_share; /* tri-state */
  const char* source_id;                        /* a capture source's id, as text */
  int resolution;
  int frame_rate;
  int limit_frame_rate;
  const char* video_profile;
  int is_app;                  /* tri-state */
  const char* force_display_surface;
  int prefer_motion;           /* tri-state */
  int is_linux;                /* tri-state */
} MorvantaScreenShareConfig;

typedef struct MorvantaStopScreenShareConfig {
  int need_request_meeting_server_screen_share; /* tri-state */
} MorvantaStopScreenShareConfig;

/* Lists the screens and windows that can be shared, with their icons and
 * thumbnails where the service gives them. -1 when handle or callback is
 * NULL. */
MORVANTA_API int Morvanta_ScreenShare_GetScreenCaptureSourceList(MorvantaScreenShareManager_T* handle,
                                                                 MorvantaScreenCaptureSourceListCallback callback,
                                                                 void* user_data);

/* Starts sharing. config (copied) is required; -1 when handle or config is
 * NULL. callback may be NULL. */
MORVANTA_API int Morvanta_ScreenShare_StartScreenShare(MorvantaScreenShareManager_T* handle,
                                                       const MorvantaScreenShareConfig* config,
                                                       MorvantaCallback callback, void* user_data);

/* Stops sharing. config may be NULL: the service then gets no options at
 * all. -1 when handle is NULL; callback may be NULL. */
MORVANTA_API int Morvanta_ScreenShare_StopScreenShare(MorvantaScreenShareManager_T* handle,
                                                      const MorvantaStopScreenShareConfig* config,
                                                      MorvantaCallback callback, void* user_data);

/* Asks the service to share the system's sound with the screen; need_audio
 * is passed on as a flag (0 false, any other value true). -1 when handle is
 * NULL; callback may be NULL. */
MORVANTA_API int Morvanta_ScreenShare_StartShareSystemAudio(MorvantaScreenShareManager_T* handle, int need_audio,
                                                            MorvantaCallback callback, void* user_data);

/* Installs the driver that captures system sound. -1 when handle is NULL;
 * callback may be NULL. */
MORVANTA_API int Morvanta_ScreenShare_InstallAudioCaptureDriver(MorvantaScreenShareManager_T* handle,
                                                                MorvantaCallback callback, void* user_data);

/* Reads the service's text about the current share ("" when it gave none).
 * -1 when handle or callback is NULL. The callback's value is owned by the
 * callee: release it with Morvanta_FreeString. */
MORVANTA_API int Morvanta_ScreenShare_GetScreenShareMessage(MorvantaScreenShareManager_T* handle,
                                                            MorvantaStringCallback callback, void* user_data);

/* (end of Screen share) */

/* ======================================================================
 * Pre-meeting (scheduling)
 * ====================================================================== */

/* Callbacks of this family run on the library's worker thread (see Threads
 * above). Meeting ids are the service's numbers; ids above 2^53 lose
 * precision on the way to the service, which takes numbers as doubles. */

/* A scheduled meeting, or NULL on failure. The callee owns it: release with
 * Morvanta_FreePreMeetingInfo. */
typedef void (*MorvantaPreMeetingInfoCallback)(int code, const char* message, MorvantaMeetingInfo* info,
                                               void* user_data);
/* Scheduled meetings: NULL and 0 for an empty list or a failure. The callee
 * owns the array: release with Morvanta_FreeMeetingList(meetings, count). */
typedef void (*MorvantaMeetingListCallback)(int code, const char* message, MorvantaMeetingInfo* meetings,
                                            int32_t count, void* user_data);
/* The members scheduled into a meeting: NULL and 0 for none or a failure.
 * Release with Morvanta_FreeScheduledMembers(members, count). */
typedef void (*MorvantaScheduledMemberListCallback)(int code, const char* message, MorvantaScheduledMember* members,
                                                    int32_t count, void* user_data);

/* A member to schedule into a meeting. `role` is a role text ("host",
 * "evaluator", "bidder", "supervise"); NULL or another text reads as "host". */
typedef struct MorvantaScheduledMemberOption {
  const char* user_uuid;
  const char* role;
} MorvantaScheduledMemberOption;

/* The settings of a new meeting. Times are milliseconds since the epoch.
 * Only subject, start_time, end_time, password and enable_waiting_room reach
 * the service; the remaining fields are accepted but not sent by this
 * version. */
typedef struct MorvantaPreMeetingCreateOptions {
  const char* subject;             /* NULL is sent as "" */
  int64_t start_time;              /* negative: not sent */
  int64_t end_time;                /* negative: not sent */
  const char* password;            /* NULL: not sent */
  int32_t enable_waiting_room;     /* tri-state; negative: not sent */
  int32_t enable_join_before_host; /* tri-state; not sent when scheduling */
  const MorvantaScheduledMemberOption* scheduled_members; /* may be NULL; not sent */
  int32_t scheduled_member_count;  /* entries at scheduled_members */
  int32_t no_chat;                 /* tri-state; not sent */
  int32_t no_cloud_record;         /* tri-state; not sent */
} MorvantaPreMeetingCreateOptions;

/* The changes to a scheduled meeting: only the fields that are set are sent
 * (a NULL string or a negative number is "not set"); scheduled_members,
 * no_chat and no_cloud_record are not sent by this version. */
typedef struct MorvantaPreMeetingEditOptions {
  const char* subject;             /* NULL: unchanged */
  int64_t start_time;
  int64_t end_time;
  const char* password;
  int32_t enable_waiting_room;     /* tri-state */
  int32_t enable_join_before_host; /* tri-state */
  const MorvantaScheduledMemberOption* scheduled_members;
  int32_t scheduled_member_count;
  int32_t no_chat;
  int32_t no_cloud_record;
} MorvantaPreMeetingEditOptions;

/* One page of the meeting list. The meaning of the state numbers is the
 * service's. */
typedef struct MorvantaMeetingListParams {
  const int* states; /* filter; not sent when NULL or state_count < 1 */
  int state_count;
  int offset;        /* negative: not sent */
  int size;          /* negative: not sent */
} MorvantaMeetingListParams;

/* Schedules a meeting. -1 when handle, options or callback is NULL. The
 * callback receives the new meeting (its meeting_id and meeting_num name it
 * in later calls). */
MORVANTA_API int Morvanta_PreMeeting_ScheduleMeeting(MorvantaPreMeetingManager_T* handle,
                                                     const MorvantaPreMeetingCreateOptions* options,
                                                     MorvantaPreMeetingInfoCallback callback, void* user_data);

/* Changes a scheduled meeting; an options record with nothing set sends an
 * empty change. -1 when handle or options is NULL; callback may be NULL (the
 * edit still runs). */
MORVANTA_API int Morvanta_PreMeeting_EditMeeting(MorvantaPreMeetingManager_T* handle, int64_t meeting_id,
                                                 const MorvantaPreMeetingEditOptions* options,
                                                 MorvantaCallback callback, void* user_data);

/* Cancels a scheduled meeting. cancel_recurring is a tri-state: negative
 * leaves the choice to the service, otherwise it says whether the whole
 * recurring series is cancelled. -1 when handle is NULL; callback may be
 * NULL. */
MORVANTA_API int Morvanta_PreMeeting_CancelMeeting(MorvantaPreMeetingManager_T* handle, int64_t meeting_id,
                                                   int cancel_recurring, MorvantaCallback callback,
                                                   void* user_data);

/* Lists scheduled meetings, one page at a time. params may be NULL (the
 * service's default page). -1 when handle or callback is NULL. */
MORVANTA_API int Morvanta_PreMeeting_GetMeetingListBySize(MorvantaPreMeetingManager_T* handle,
                                                          const MorvantaMeetingListParams* params,
                                                          MorvantaMeetingListCallback callback, void* user_data);

/* Reads one scheduled meeting by its meeting number. -1 when handle,
 * meeting_num or callback is NULL. */
MORVANTA_API int Morvanta_PreMeeting_GetMeetingInfoByMeetingNum(MorvantaPreMeetingManager_T* handle,
                                                                const char* meeting_num,
                                                                MorvantaPreMeetingInfoCallback callback,
                                                                void* user_data);

/* Reads the members scheduled into a meeting, by its meeting number. -1
 * when handle, meeting_num or callback is NULL. */
MORVANTA_API int Morvanta_PreMeeting_GetScheduledMembers(MorvantaPreMeetingManager_T* handle,
                                                         const char* meeting_num,
                                                         MorvantaScheduledMemberListCallback callback,
                                                         void* user_data);

/* (end of Pre-meeting (scheduling)) */

/* ======================================================================
 * Invite
 * ====================================================================== */

/* Accounts found for an invitation: NULL and 0 when none were found or on
 * failure. Unlike other families, `message` is NULL (not "") when there is
 * no text, on success in particular. The callee owns the array: release with
 * Morvanta_FreeAccountList(accounts, count). Runs on the library's worker
 * thread. */
typedef void (*MorvantaAccountListCallback)(int code, const char* message, MorvantaSearchAccountInfo* accounts,
                                            int32_t count, void* user_data);

/* Looks up accounts by user id. NULL entries of user_uuids are skipped;
 * unknown ids are left out of the answer. An answer the library cannot read
 * is code -1 with a message naming the fault. -1 when handle, user_uuids or
 * callback is NULL, or count is below 1. */
MORVANTA_API int Morvanta_Invite_GetAccountInfoList(MorvantaInviteManager_T* handle, const char** user_uuids,
                                                    int32_t count, MorvantaAccountListCallback callback,
                                                    void* user_data);

/* Looks up the accounts registered with a phone number; no match is a
 * success with an empty list. -1 when handle, phone or callback is NULL. */
MORVANTA_API int Morvanta_Invite_SearchAccountByPhone(MorvantaInviteManager_T* handle, const char* phone,
                                                      MorvantaAccountListCallback callback, void* user_data);

/* (end of Invite) */

/* ======================================================================
 * Meetings
 *
 * The library keeps no meeting state: create, join, leave and end may be
 * called in any order and the service decides. Option strings are copied
 * before the call returns.
 * ====================================================================== */

/* A video profile sent with a new meeting. */
typedef struct MorvantaVideoProfile {
  int32_t resolution;
  int32_t frameRate;
} MorvantaVideoProfile;

typedef struct MorvantaCloudRecordConfig {
  int32_t enable; /* 0 false, other values true */
} MorvantaCloudRecordConfig;

/* Options of Morvanta_Meeting_CreateMeeting. Strings: NULL means not sent
 * (meetingNum and nickname are sent as "" instead). Integers: negative
 * means not sent, 0 false, positive true. Pointers: NULL means not sent. */
typedef struct MorvantaMeetingCreateOptions {
  const char* meetingNum;
  const char* nickname;
  const char* subject; /* required, not empty */
  const char* password;
  const char* memberTag;
  int32_t noChat;
  int32_t noWhiteboard;
  int32_t noCaptions;
  const char* orgName;
  const char* avatar;
  const MorvantaVideoProfile* videoProfile;
  int32_t joinTimeout;
  const char* session;
  int32_t subType;
  int64_t startTime;
  int64_t endTime;
  int32_t enableWaitingRoom;
  const MorvantaCloudRecordConfig* cloudRecordConfig;
} MorvantaMeetingCreateOptions;

/* Options of Morvanta_Meeting_JoinMeeting; NULL userUuid/nickname are sent as "". */
typedef struct MorvantaMeetingJoinOptions {
  const char* meetingNum; /* required, not empty */
  const char* userUuid;
  const char* nickname;
} MorvantaMeetingJoinOptions;

/* Creates a meeting and enters it. -1 when the handle, options or subject is
 * NULL/empty. The callback (may be NULL) receives the outcome on the worker
 * thread; meeting listeners are re-attached to the new meeting first. */
MORVANTA_API int Morvanta_Meeting_CreateMeeting(MorvantaMeetingManager_T* handle,
                                                const MorvantaMeetingCreateOptions* options,
                                                MorvantaCallback callback, void* user_data);

/* Joins a meeting by number. -1 when the handle, options or meetingNum is NULL/empty. */
MORVANTA_API int Morvanta_Meeting_JoinMeeting(MorvantaMeetingManager_T* handle,
                                              const MorvantaMeetingJoinOptions* options,
                                              MorvantaCallback callback, void* user_data);

/* Enters the meeting after the host admitted the caller from the waiting room. */
MORVANTA_API int Morvanta_Meeting_RejoinAfterAdmittedToRoom(MorvantaMeetingManager_T* handle,
                                                            MorvantaCallback callback, void* user_data);

/* Leaves the meeting; `flag` (non-zero true) is passed to the service as is. */
MORVANTA_API int Morvanta_Meeting_LeaveMeeting(MorvantaMeetingManager_T* handle, int32_t flag,
                                               MorvantaCallback callback, void* user_data);

/* Ends the meeting for everyone (host only, as the service decides). */
MORVANTA_API int Morvanta_Meeting_EndMeeting(MorvantaMeetingManager_T* handle, MorvantaCallback callback,
                                             void* user_data);

/* Reads the current meeting synchronously (up to 10 s). On 0, *out_info is
 * a record the caller releases with Morvanta_FreeMeetingInfo. Returns -1 for
 * a NULL handle or out pointer, -999 with *out_info NULL when not in a
 * meeting or on any fault. Never call it from a callback or listener. */
MORVANTA_API int Morvanta_Meeting_GetMeetingInfo(MorvantaMeetingManager_T* handle,
                                                 MorvantaMeetingSDKInfo** out_info);

/* Asks the service to release the meeting's resources; returns at once. */
MORVANTA_API int Morvanta_Meeting_ReleaseMeeting(MorvantaMeetingManager_T* handle);

/* (end of Meetings) */

/* ======================================================================
 * Meeting events
 *
 * Listener functions run on the library's worker thread, one at a time per
 * channel (a mutex of this channel is held through them). Pointers they
 * receive are valid only during the call: copy what you keep. A listener
 * must not add or remove a meeting listener, and must not call the
 * synchronous queries. Every field may be NULL.
 * ====================================================================== */

typedef struct MorvantaMeetingListener {
  void* reserved1; /* never called */
  /* Called once per member who entered the meeting. */
  void (*onMemberJoinMeeting)(const MorvantaMember* member, void* user_data);
  /* Called once per member who left the meeting. */
  void (*onMemberLeaveMeeting)(const MorvantaMember* member, void* user_data);
  void* reserved2; /* never called */
  void (*onMemberAudioMuteChanged)(const char* user_uuid, bool mute, void* user_data);
  void (*onMemberVideoMuteChanged)(const char* user_uuid, bool mute, void* user_data);
  void (*onRoomEnded)(const char* reason, const char* extra, void* user_data);
  void (*onMemberAudioConnectStateChanged)(const MorvantaMember* member, bool is_audio_connected,
                                           void* user_data);
  /* Whole batches: an array of `count` members. */
  void (*onMemberJoinChatroom)(const MorvantaMember* members, uint32_t count, void* user_data);
  void (*onMemberLeaveChatroom)(const MorvantaMember* members, uint32_t count, void* user_data);
  /* `operate_by` may be NULL. */
  void (*onMemberScreenShareStateChanged)(const MorvantaMember* member, bool is_sharing,
                                          const MorvantaMember* operate_by, void* user_data);
  void (*onReceiveChatroomMessages)(const MorvantaChatMessage* messages, uint32_t count, void* user_data);
  void (*onMemberChatBanStateChanged)(const MorvantaMember* member, bool banned, int32_t duration,
                                      const char* notify_ext, const MorvantaMember* operate_by,
                                      void* user_data);
  void* user_data; /* handed back to every call */
} MorvantaMeetingListener;

/* Adds a copy of `listener` (the same record added twice is called twice).
 * The first listener attaches the service listener; this call may block up
 * to 1.5 s. Returns -1 for a NULL/invalid handle or NULL listener. */
MORVANTA_API int Morvanta_Meeting_AddMeetingListener(MorvantaMeetingManager_T* handle,
                                                     const MorvantaMeetingListener* listener);

/* Removes the record equal, field by field, to `listener`. Returns -1 for a
 * bad handle, a NULL listener or no equal record. */
MORVANTA_API int Morvanta_Meeting_RemoveMeetingListener(MorvantaMeetingManager_T* handle,
                                                        const MorvantaMeetingListener* listener);

/* (end of Meeting events) */

/* ======================================================================
 * RTC statistics events
 *
 * The media engine's periodic measurements while in a meeting. Listener
 * functions run on the library's worker thread, one at a time (a mutex of
 * this channel, not shared with other channels, is held through them).
 * Records and arrays they receive are valid only during the call: copy what
 * you keep. A listener must not add or remove an RTC stats listener, and must
 * not call the synchronous queries. Every field may be NULL.
 *
 * Numbers are the service's, truncated toward zero; a value the service did
 * not send is 0. The byte counters are 32 bits wide and saturate.
 * ====================================================================== */

typedef struct MorvantaRtcStats {
  int64_t duration; /* seconds in the meeting */
  int32_t tx_bytes;
  int32_t rx_bytes;
  int32_t tx_audio_bytes;
  int32_t tx_video_bytes;
  int32_t rx_audio_bytes;
  int32_t rx_video_bytes;
} MorvantaRtcStats;

typedef struct MorvantaLocalAudioStats {
  int32_t volume;
  int32_t num_channels;
  int32_t sent_sample_rate;
  int32_t sent_bitrate; /* kbps */
} MorvantaLocalAudioStats;

typedef struct MorvantaLocalVideoStats {
  int32_t capture_width;
  int32_t capture_height;
  int32_t encoded_frame_width;
  int32_t encoded_frame_height;
  int32_t encoder_output_frame_rate;
  int32_t sent_frame_rate;
  int32_t sent_bitrate; /* kbps */
} MorvantaLocalVideoStats;

typedef struct MorvantaRemoteAudioStats {
  const char* user_uuid;
  int32_t volume;
  int32_t received_bitrate;
} MorvantaRemoteAudioStats;

typedef struct MorvantaRemoteVideoStats {
  const char* user_uuid;
  int32_t width;
  int32_t height;
  int32_t received_bitrate;
  int32_t decoder_output_frame_rate;
  int32_t renderer_output_frame_rate;
} MorvantaRemoteVideoStats;

typedef struct MorvantaNetworkQualityInfo {
  const char* user_uuid;
  int32_t uplink_quality;   /* on the service's scale */
  int32_t downlink_quality;
} MorvantaNetworkQualityInfo;

typedef struct MorvantaRtcStatsListener {
  void (*onRtcStats)(const MorvantaRtcStats* stats, void* user_data);
  void (*onLocalAudioStats)(const MorvantaLocalAudioStats* stats, void* user_data);
  /* Array kinds: `count` records, possibly 0. */
  void (*onRemoteAudioStats)(const MorvantaRemoteAudioStats* stats, uint32_t count, void* user_data);
  void (*onLocalVideoStats)(const MorvantaLocalVideoStats* stats, void* user_data);
  void (*onRemoteVideoStats)(const MorvantaRemoteVideoStats* stats, uint32_t count, void* user_data);
  void (*onNetworkQuality)(const MorvantaNetworkQualityInfo* infos, uint32_t count, void* user_data);
  void* user_data; /* handed back to every call */
} MorvantaRtcStatsListener;

/* Adds a copy of `listener` (the same record added twice is called twice).
 * The first listener attaches the service listener; this call may block up
 * to 1 s. Attaching goes on after the return: a refusal by the service is
 * only logged, and the record stays. Returns 0, or -1 for a NULL/invalid
 * handle or a NULL listener. */
MORVANTA_API int Morvanta_Meeting_AddRtcStatsListener(MorvantaMeetingManager_T* handle,
                                                      const MorvantaRtcStatsListener* listener);

/* Removes the record equal, field by field, to `listener`. The last removal
 * detaches the service listener and drops statistics not yet delivered.
 * Returns 0, or -1 for a bad handle, a NULL listener or no equal record. */
MORVANTA_API int Morvanta_Meeting_RemoveRtcStatsListener(MorvantaMeetingManager_T* handle,
                                                         const MorvantaRtcStatsListener* listener);

/* (end of RTC statistics events) */

/* ======================================================================
 * Message channel events
 *
 * Custom messages of the room and session messages. Threads, validity of
 * pointers and the rules for listeners are those of the RTC statistics
 * events, with a mutex of this channel. Message `data` is the service's
 * text, passed on as it is ("" when the service sent no text).
 * `session_type` is 0 for the service's session kind 0 and 1 for any other.
 * ====================================================================== */

typedef struct MorvantaCustomMessage {
  const char* room_uuid;
  const char* sender_uuid;
  const char* data;
  int64_t timestamp;
} MorvantaCustomMessage;

typedef struct MorvantaSessionMessage {
  const char* session_id;
  int32_t session_type;
  const char* message_id;
  const char* data;
  int64_t time;
} MorvantaSessionMessage;

typedef struct MorvantaSessionRecentInfo {
  const char* session_id;
  int32_t session_type;
  int32_t unread_count;
} MorvantaSessionRecentInfo;

typedef struct MorvantaMessageChannelListener {
  void (*onCustomMessageReceived)(const MorvantaCustomMessage* message, void* user_data);
  void (*onSessionMessageReceived)(const MorvantaSessionMessage* message, void* user_data);
  /* The recent sessions: `count` records, possibly 0. */
  void (*onSessionMessageRecentChanged)(const MorvantaSessionRecentInfo* sessions, uint32_t count,
                                        void* user_data);
  void (*onSessionMessageDeleted)(const MorvantaSessionMessage* message, void* user_data);
  /* Every message of the session was deleted. */
  void (*onDeleteAllSessionMessage)(const char* session_id, int32_t session_type, void* user_data);
  void* user_data; /* handed back to every call */
} MorvantaMessageChannelListener;

/* Adds a copy of `listener` (the same record added twice is called twice).
 * The first listener attaches the service listener; this call may block up
 * to 1 s. Attaching goes on after the return: a refusal by the service is
 * only logged, and the record stays. Returns 0, or -1 for a NULL/invalid
 * handle or a NULL listener. */
MORVANTA_API int Morvanta_Meeting_AddMessageChannelListener(MorvantaMeetingManager_T* handle,
                                                            const MorvantaMessageChannelListener* listener);

/* Removes the record equal, field by field, to `listener`. The last removal
 * detaches the service listener and drops messages not yet delivered.
 * Returns 0, or -1 for a bad handle, a NULL listener or no equal record. */
MORVANTA_API int Morvanta_Meeting_RemoveMessageChannelListener(MorvantaMeetingManager_T* handle,
                                                               const MorvantaMessageChannelListener* listener);

/* (end of Message channel events) */

/* ======================================================================
 * Waiting room
 *
 * The host's hand on the people who wait outside a meeting: admit, expel,
 * put back, and two queries. Whether the caller may act as host is the
 * service's decision; a refusal arrives through the callback.
 *
 * Every function returns 0 when the request was handed on and -1 for a
 * refused argument (a NULL or empty handle, or a NULL argument named below);
 * refusals are not logged. After 0, the callback (NULL is allowed unless
 * said otherwise) is called once on the library's worker thread; after -1
 * it is never called. A command reports 0 whenever the service carried it
 * out, whatever the service answered; it reports -1 with the service's
 * error text when the service refused or failed, and -1 with "Bridge not
 * initialized" or "JSBridge not initialized" (at once, on the calling
 * thread) when the library is not running. Flags: 0 false, other values
 * true; their meaning is the service's.
 * ====================================================================== */

/* The waiting room as Morvanta_WaitingRoom_GetInfo reads it. */
typedef struct MorvantaWaitingRoomInfo {
  int32_t member_count;
  bool is_enabled_on_entry;
  /* Owned by the library: valid until the next Morvanta_WaitingRoom_GetInfo
   * on the same thread. Never NULL ("" when there is none). */
  const char* background_image_url;
} MorvantaWaitingRoomInfo;

/* A list of waiting members, or NULL (on failure, and for an empty list).
 * The array belongs to the callee: release it with
 * Morvanta_FreeWaitingRoomMemberList(members, count). */
typedef void (*MorvantaWaitingRoomMemberListCallback)(int code, const char* message,
                                                      MorvantaWaitingRoomMember* members, int32_t count,
                                                      void* user_data);

/* Admits one waiting member. -1 when `user_uuid` is NULL ("" is sent as
 * it is). `flag` is passed on as a boolean (in the sandbox: later arrivals
 * of this member skip the waiting room). */
MORVANTA_API int Morvanta_WaitingRoom_AdmitMember(MorvantaWaitingRoomManager_T* handle, const char* user_uuid,
                                                  int32_t flag, MorvantaCallback callback, void* user_data);

/* Admits everyone who waits. */
MORVANTA_API int Morvanta_WaitingRoom_AdmitAll(MorvantaWaitingRoomManager_T* handle, MorvantaCallback callback,
                                               void* user_data);

/* Sends one waiting member away. -1 when `user_uuid` is NULL. `flag` is
 * passed on as a boolean (in the sandbox: the member may not come back). */
MORVANTA_API int Morvanta_WaitingRoom_ExpelMember(MorvantaWaitingRoomManager_T* handle, const char* user_uuid,
                                                  int32_t flag, MorvantaCallback callback, void* user_data);

/* Sends everyone who waits away; `flag` as for Morvanta_WaitingRoom_ExpelMember. */
MORVANTA_API int Morvanta_WaitingRoom_ExpelAll(MorvantaWaitingRoomManager_T* handle, int32_t flag,
                                               MorvantaCallback callback, void* user_data);

/* Moves a member of the meeting back to the waiting room. -1 when
 * `user_uuid` is NULL. */
MORVANTA_API int Morvanta_WaitingRoom_PutInWaitingRoom(MorvantaWaitingRoomManager_T* handle, const char* user_uuid,
                                                       MorvantaCallback callback, void* user_data);

/* Reads the waiting members. The three values are passed on as they are
 * (in the sandbox: a join-time cursor, 0 or exclusive; how many, 0 for all;
 * ascending order). -1 when `callback` is NULL. The callback gets the
 * service's code and message on failure, with a NULL array, and -9 when
 * the array could not be allocated. */
MORVANTA_API int Morvanta_WaitingRoom_GetMemberList(MorvantaWaitingRoomManager_T* handle, int64_t from_join_time,
                                                    int32_t count, int32_t flag,
                                                    MorvantaWaitingRoomMemberListCallback callback,
                                                    void* user_data);

/* Reads the waiting room synchronously, blocking the caller for up to about
 * 5 s, into `*out_info`. Returns -1 for a NULL handle or out pointer, else
 * 0, also when no answer came in time, the service refused, or the library
 * is not running: `*out_info` then holds 0 members, false and "". Never call
 * it from a callback or listener (it would wait out its time limit). */
MORVANTA_API int Morvanta_WaitingRoom_GetInfo(MorvantaWaitingRoomManager_T* handle,
                                              MorvantaWaitingRoomInfo* out_info);

/* (end of Waiting room) */

/* ======================================================================
 * Waiting room events
 *
 * Listener functions run on the library's worker thread, one at a time (a
 * mutex of this channel is held through them). Pointers they receive are
 * valid only during the call: copy what you keep. A listener must not add or
 * remove a waiting room listener, and must not call the synchronous queries.
 * Every function field may be NULL. `reason` and `status` are the service's
 * numbers, passed on as they are (the sandbox's: status 1 waiting, 2
 * admitted, 3 removed).
 * ====================================================================== */

typedef struct MorvantaWaitingRoomListener {
  /* Someone arrived in the waiting room. */
  void (*onMemberJoin)(const MorvantaWaitingRoomMember* member, int32_t reason, void* user_data);
  /* Someone left the waiting room (expelled, gone, ...). */
  void (*onMemberLeave)(const char* user_uuid, int32_t reason, void* user_data);
  void (*onMemberAdmitted)(const char* user_uuid, void* user_data);
  /* The local user's own waiting status changed. */
  void (*onMyStatusChanged)(int32_t status, int32_t reason, void* user_data);
  /* `operate_by` is NULL: the library does not pass the operator on. */
  void (*onMemberNameChanged)(const char* user_uuid, const char* name, const MorvantaMember* operate_by,
                              void* user_data);
  void (*onInfoUpdated)(const MorvantaWaitingRoomInfo* info, void* user_data);
  /* Everyone waiting was sent away at once. */
  void (*onAllMembersKicked)(void* user_data);
  /* The meeting's hosts, as seen from the waiting room: an array of `count`
   * members of which only `uuid` and `name` are filled. */
  void (*onManagersUpdated)(const MorvantaMember* managers, uint32_t count, void* user_data);
  void* user_data; /* handed back to every call */
} MorvantaWaitingRoomListener;

/* Adds a copy of `listener` (the same record added twice is called twice).
 * The first listener attaches the service listener; this call may block up
 * to about 1 s. Returns -1 for a NULL handle or a NULL listener, else 0. */
MORVANTA_API int Morvanta_WaitingRoom_AddListener(MorvantaWaitingRoomManager_T* handle,
                                                  const MorvantaWaitingRoomListener* listener);

/* Removes one record equal, field by field, to `listener`; the last removal
 * detaches the service listener and drops events not yet delivered.
 * Returns -1 for a NULL handle or a NULL listener, and 0 otherwise, also
 * when no equal record was found. */
MORVANTA_API int Morvanta_WaitingRoom_RemoveListener(MorvantaWaitingRoomManager_T* handle,
                                                     const MorvantaWaitingRoomListener* listener);

/* (end of Waiting room events) */

#ifdef __cplusplus
} /* extern "C" */

/* Logs in with a phone number and SMS code. Exported with C++ linkage, not C
 * linkage: only C++ callers (or a lookup of the decorated symbol) reach it.
 * -1 when handle, options or callback is NULL. */
MORVANTA_API int Morvanta_Account_LoginBySmsCode(MorvantaAccountManager_T* handle,
                                                 const MorvantaLoginBySmsCodeOptions* options,
                                                 void (*callback)(int, const char*, MorvantaAccountInfo*, void*),
                                                 void* user_data);

/* Detaches the local camera from its canvas. Exported with C++ linkage, not
 * C linkage: only C++ callers (or a lookup of the decorated symbol) reach it.
 * -1 when handle is NULL; callback may be NULL. The callback reports 0
 * whenever the service answered at all, whatever the answer; on the
 * library's worker thread. */
MORVANTA_API int Morvanta_Video_RemoveLocalVideoCanvas(MorvantaVideoManager_T* handle,
                                                       void (*callback)(int, const char*, void*), void* user_data);

/* (C++-linkage exports of other families go here) */
#endif

#endif /* MORVANTA_H */
