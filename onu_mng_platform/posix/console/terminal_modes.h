/// The settings of the terminal while an editor has changed them.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_MODES_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_MODES_H

#include "onu_mng_platform/posix/cli/event.h"

namespace onu_mng_platform {

/// Whether the terminal of standard input belongs to another job of the shell. Async-signal-safe.
bool IsInBackground();

/// Remembers the settings of standard input's terminal while it lives. They are restored when the process ends
/// by exit(), in whatever thread, and by the signals of RestoreOnSignals(); not in the background.
///
/// One at a time in a process, used by one task.
class TerminalModes {
public:
    /// Sets `resumed`, which outlives it, when the process goes on after it was stopped, unless the host handles
    /// SIGCONT itself.
    explicit TerminalModes(const CliEvent& resumed);
    ~TerminalModes();
    TerminalModes(const TerminalModes&) = delete;
    TerminalModes& operator=(const TerminalModes&) = delete;

    /// Has the signals that end a process (SIGHUP, SIGINT, SIGQUIT, SIGTERM) or stop it (SIGTSTP) restore the
    /// terminal first. Signals that are ignored stay so. For programs that do not handle them; call once, before
    /// other tasks are started.
    static void RestoreOnSignals();
};

} // namespace onu_mng_platform

#endif
