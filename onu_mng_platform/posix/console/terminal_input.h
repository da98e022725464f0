/// The input of a line editor.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_INPUT_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_INPUT_H

#include "onu_mng_platform/posix/cli/event.h"
#include "onu_mng_platform/posix/console/terminal_modes.h"

namespace onu_mng_platform {

/// Waits for bytes from standard input, a terminal in raw mode, and for events.
///
/// Used by one task.
class TerminalInput {
public:
    enum class Event : unsigned char {
        kByte,
        kRedraw,
        kResumed, ///< other programs may have used the terminal
        kEnd,
    };

    /// With events, reading ends when `stop` is set, and waits while the terminal belongs to another job.
    /// Both events may be null; the system then stops the process while the terminal belongs to another job.
    /// They must outlive this object.
    TerminalInput(const CliEvent* stop, const CliEvent* redraw) : stop_(stop), redraw_(redraw) {}

    /// Blocks until an event. Reports kRedraw again until `redraw` is cleared.
    Event Wait(char* byte);

    /// Blocks while the terminal belongs to another job. @return false if `stop` is set meanwhile.
    bool AwaitForeground();

    /// Returns whether reading has ended because the terminal has disappeared.
    bool IsCut() const { return is_cut_; }

private:
    bool IsAway() const { return stop_ != nullptr && IsInBackground(); }
    bool Read(char* byte);

    const CliEvent* const stop_;
    const CliEvent* const redraw_;
    const CliEvent resumed_;
    const TerminalModes modes_{resumed_};
    bool is_cut_ = false;
};

} // namespace onu_mng_platform

#endif
