/// The platform's internal view of a terminal.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_TERMINAL_H
#define ONU_MNG_PLATFORM_COMMON_CLI_TERMINAL_H

#include <string>
#include <string_view>

#include "onu_mng_platform/cli.h"

namespace onu_mng_platform {

/// A destination for characters.
struct Output {
    void (*write)(void* context, const char* data, size_t size);
    void* context;

    void operator()(std::string_view text) const {
        if (!text.empty()) write(context, text.data(), text.size());
    }
};

/// Returns the terminal of the command that runs in the calling task; null if there is none. The terminal is
/// valid until the command's handler returns.
vty* CurrentTerminal();

/// Makes a terminal the current one of the calling task while the object lives.
class TerminalScope {
public:
    TerminalScope(vty* terminal, unsigned int node);
    ~TerminalScope();
    TerminalScope(const TerminalScope&) = delete;
    TerminalScope& operator=(const TerminalScope&) = delete;

private:
    vty* terminal_;
    vty* outer_terminal_;
    unsigned int outer_node_;
};

} // namespace onu_mng_platform

/// The state of a terminal. Used by one task at a time. The owner of the terminal may set the fields while no
/// command runs on it.
struct vty {
    onu_mng_platform::Output output; ///< replaced by a filter's output while a filtered command runs
    unsigned int node = 0;           ///< node of the current line
    bool may_save = false;           ///< allows "| save FILE"; set for the host's own console
    bool exit_requested = false;     ///< set by "exit"
    std::string user;                ///< name in the log of commands that change something; empty: not logged
    unsigned int log_module = 0;     ///< module of these log lines
};

#endif
