/// Serves operators over a socket.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_SERVER_H
#define ONU_MNG_PLATFORM_POSIX_CLI_SERVER_H

#include <chrono>
#include <memory>
#include <string>

#include "onu_mng_platform/posix/cli/listener.h"
#include "onu_mng_platform/posix/cli/output.h"

namespace onu_mng_platform {

/// The commands of one node for any number of operators at once, over a Unix domain socket (cli_protocol.h).
/// The host's own user and root may connect.
///
///     CliServer server;
///     const CliStatus status = server.Start("/run/olt.sock", node, "olt# ");
///     if (status != CliStatus::kOk) ...   // TextOf(status) says why
///
/// One thread looks after all connections; commands run in further ones, which come into being only when so
/// many commands run at once. A command that is slow, or whose output is not read, holds up no other
/// operator. Logged are each session and each command that changes something (level 12), refusals (13), and
/// the end of a session that its operator has left (9).
///
/// Thread safety: one task starts and stops.
class CliServer {
public:
    struct Options {
        unsigned int log_module = 0;
        std::chrono::milliseconds idle_limit{600000};
        size_t max_sessions = 32;
        CliOutput::Limits output; ///< of each session
    };

    CliServer();
    ~CliServer();
    CliServer(const CliServer&) = delete;
    CliServer& operator=(const CliServer&) = delete;

    /// Creates the socket file (mode 0600; one that a dead process left is replaced) and serves it. `prompt`
    /// is what operators see before each line.
    /// @return kOk; kBadPath, kOccupied, kInUse or kSystem (cli_listener.h), after one log line at level 14 and
    ///         with nothing changed. Throws std::bad_alloc.
    CliStatus Start(const std::string& path, unsigned int node, const std::string& prompt,
                    const Options& options);
    CliStatus Start(const std::string& path, unsigned int node, const std::string& prompt);

    /// Ends all sessions, waits for the commands that run, and removes the socket file. Nothing when not
    /// started. Not from a command; a command may call exit().
    void Stop();

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace onu_mng_platform

#endif
