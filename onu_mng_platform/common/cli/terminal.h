/// The terminal as the platform's own code sees it.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_TERMINAL_H
#define ONU_MNG_PLATFORM_COMMON_CLI_TERMINAL_H

#include <string>
#include <string_view>

#include "onu_mng_platform/cli.h"

namespace onu_mng_platform {

/// Where characters go.
struct Output {
    void (*write)(void* context, const char* data, size_t size);
    void* context;

    void operator()(std::string_view text) const {
        if (!text.empty()) write(context, text.data(), text.size());
    }
};

/// The terminal of the command that runs in the calling task; null when none does. Valid until that command's
/// handler returns.
vty* CurrentTerminal();

/// Makes a terminal current in the calling task, for as long as the object lives.
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

/// What a terminal remembers. Used by one task at a time; whoever created the terminal may set the fields
/// while no command runs on it.
struct vty {
    onu_mng_platform::Output output; ///< a filter stands before the terminal's own while its command runs
    unsigned int node = 0;           ///< of the line that is being handled
    bool may_save = false;           ///< lines may end in "| save FILE": the host's own console
    bool exit_requested = false;     ///< set by "exit"
    std::string user;                ///< whose commands are logged, see log_module; empty: not logged
    unsigned int log_module = 0;     ///< of the line that is logged for each command that changes something
};

#endif
