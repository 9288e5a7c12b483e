// Runs a process-exit routine when the process is interrupted (SIGINT) or its
// terminal goes away (SIGHUP). A signal handler may only do async-signal-safe
// work, so the handler merely writes the signal number into a pipe; a thread
// of its own reads it, runs the routine, and then lets the signal's default
// action go on. SIGQUIT is left alone. A signal that the host ignores is not
// taken over.
#pragma once

namespace morvanta {

using ExitRoutine = void (*)();

// Installs the handlers once per process; later calls do nothing. Call it
// after Node's own process initialisation, which resets signal handlers.
void InstallExitSignalHandlers(ExitRoutine routine);

}  // namespace morvanta
