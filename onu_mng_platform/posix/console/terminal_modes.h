/// Restores the settings of the terminal that an editor changes.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_MODES_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_MODES_H

#include "onu_mng_platform/posix/cli/event.h"

namespace onu_mng_platform {

/// Returns whether the terminal of standard input belongs to another job of the shell. Async-signal-safe.
bool IsInBackground();

/// Saves the settings of standard input's terminal. While the object lives, exit() in any thread and the
/// signals of RestoreOnSignals() restore them, unless the process is in the background.
///
/// A process has one object at a time. Used by one task.
class TerminalModes {
public:
    /// Sets `resumed` when the process continues after it was stopped, unless the host handles SIGCONT
    /// itself. `resumed` must outlive the object.
    explicit TerminalModes(const CliEvent& resumed);
    ~TerminalModes();
    TerminalModes(const TerminalModes&) = delete;
    TerminalModes& operator=(const TerminalModes&) = delete;

    /// Installs handlers that restore the terminal before SIGHUP, SIGINT, SIGQUIT or SIGTERM end the process
    /// or SIGTSTP stops it. Keeps the handling of signals that are ignored or handled already. Call it once,
    /// before other tasks start.
    static void RestoreOnSignals();
};

} // namespace onu_mng_platform

#endif
