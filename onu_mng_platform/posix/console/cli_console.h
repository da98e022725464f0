/// The host's own console.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_CLI_CONSOLE_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_CLI_CONSOLE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace onu_mng_platform {

/// The commands of one node on standard input and output, when these are a terminal; lines may end in "| save
/// FILE". Its opening, its end and commands that change something are logged (level 12); nobody is sent away
/// for saying nothing.
///
/// Two threads serve it, so that a command whose output the terminal does not take (Ctrl-S) goes on; when 512
/// KiB wait and none is taken for five seconds, the rest of that command's output is dropped.
///
/// While the process is in the background the console waits: what is typed is the shell's.
///
/// Thread safety: one task starts and stops.
class CliConsole {
public:
    struct Options {
        unsigned int log_module = 0;
        /// Called once, in the console's thread, when the operator leaves; not for `Stop`, and not when the
        /// terminal is gone, which SIGHUP tells those who want to end by it.
        std::function<void()> on_exit;
    };

    CliConsole();
    ~CliConsole();
    CliConsole(const CliConsole&) = delete;
    CliConsole& operator=(const CliConsole&) = delete;

    /// @return false, with nothing changed: when standard input or output is no terminal or there is a console
    ///         already; after one log line at level 13, when the terminal belongs to another job or session, or
    ///         cannot be opened, or no thread could be started. Throws std::bad_alloc.
    bool Start(unsigned int node, const std::string& prompt, Options options);

    /// Ends the console, after the command that runs, and gives the terminal back as it was. Nothing when not
    /// started. Neither from `on_exit` nor from a command; these may call exit().
    void Stop();

    /// Prints text, lines that end in "\n", above the line that is being typed, or behind the output of the
    /// command that runs; before the console ends in any case. Does not wait for it. Nothing when not started.
    /// Throws std::bad_alloc.
    void Print(const std::string& text);

    /// Shows a row at the bottom of the terminal (see `StatusRow`) until it is hidden or the console stops.
    /// @return false when there is none. Throws std::bad_alloc.
    bool ShowStatus(const std::vector<std::string>& texts);
    void HideStatus();

    /// Whether Ctrl-C on an empty line leaves the console, as Ctrl-D does. At first it does not.
    void LetCancelLeave(bool leaves);

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace onu_mng_platform

#endif
