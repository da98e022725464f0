/// What an editor waits for.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_INPUT_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_TERMINAL_INPUT_H

#include "onu_mng_platform/posix/cli/event.h"
#include "onu_mng_platform/posix/console/terminal_modes.h"

namespace onu_mng_platform {

/// The bytes that are typed on standard input, a terminal in raw mode, and what happens meanwhile.
///
/// Used by one task.
class TerminalInput {
public:
    enum class Event : unsigned char {
        kByte,
        kRedraw,
        kResumed, ///< others may have had the terminal
        kEnd,
    };

    /// For a host: reading ends when `stop` is set, and while the terminal is another job's it waits. Without
    /// events, both null, the system stops the process then. They outlive this.
    TerminalInput(const CliEvent* stop, const CliEvent* redraw) : stop_(stop), redraw_(redraw) {}

    /// Blocks until something happens. A redraw is told again until its event is cleared.
    Event Wait(char* byte);

    /// Blocks while the terminal is another job's. @return false when reading ends.
    bool AwaitForeground();

    /// Whether reading has ended because the terminal is gone.
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
