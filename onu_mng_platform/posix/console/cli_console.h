/// The host's own console.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_CLI_CONSOLE_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_CLI_CONSOLE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace onu_mng_platform {

/// Serves the commands of one node on standard input and output if these are a terminal. Lines may end in "|
/// save FILE". The console logs its start, its end and commands that change something (level 12). It has no
/// idle limit.
///
/// Commands run in a second thread, so a command goes on if the terminal does not take its output (Ctrl-S).
/// If 512 KiB are waiting and the terminal takes nothing for five seconds, the rest of that command's output
/// is dropped.
///
/// While the process is in the background, the console does not read, because the input belongs to the shell.
///
/// Thread safety: one task starts and stops.
class CliConsole {
public:
    struct Options {
        unsigned int log_module = 0;
        /// Called once, in the console's thread, when the operator leaves. Not called after `Stop`, nor if
        /// the terminal disappears; SIGHUP reports that.
        std::function<void()> on_exit;
    };

    CliConsole();
    ~CliConsole();
    CliConsole(const CliConsole&) = delete;
    CliConsole& operator=(const CliConsole&) = delete;

    /// Starts the console. Throws std::bad_alloc.
    /// @return false, with nothing changed, if standard input or output is not a terminal or the console is
    ///         already started. Also false, after one log line at level 13, if the terminal belongs to
    ///         another job or session or cannot be opened, or if no thread could be started.
    bool Start(unsigned int node, const std::string& prompt, Options options);

    /// Ends the console after the running command and restores the terminal's settings. Does nothing if not
    /// started. Neither `on_exit` nor a command may call it; both may call exit().
    void Stop();

    /// Prints lines that end in "\n" above the line that is being typed, or after the output of the running
    /// command, at the latest when the console ends. Does not block. Does nothing if not started. Throws
    /// std::bad_alloc.
    void Print(const std::string& text);

    /// Shows a row at the bottom of the terminal (see `StatusRow`) until it is hidden or the console stops.
    /// Throws std::bad_alloc.
    /// @return false if the row cannot be shown.
    bool ShowStatus(const std::vector<std::string>& texts);
    void HideStatus();

    /// Sets whether Ctrl-C on an empty line leaves the console, as Ctrl-D does. The default is that it does
    /// not.
    void LetCancelLeave(bool leaves);

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace onu_mng_platform

#endif
