/// Serves operators over a socket.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_SERVER_H
#define ONU_MNG_PLATFORM_POSIX_CLI_SERVER_H

#include <chrono>
#include <memory>
#include <string>

#include "onu_mng_platform/posix/cli/listener.h"
#include "onu_mng_platform/posix/cli/output.h"

namespace onu_mng_platform {

/// Serves the commands of one node to several operators at once, over a Unix domain socket (protocol.h). The
/// host's own user and root may connect.
///
///     CliServer server;
///     const CliStatus status = server.Start("/run/olt.sock", node, "olt# ");
///     if (status != CliStatus::kOk) ...   // TextOf(status) says why
///
/// One thread handles all connections. Commands run in worker threads, as many as commands have run at once.
/// A slow command, or one whose output is not read, does not block other operators. The server logs sessions
/// and commands that change something (level 12), refusals (13), and the end of a session that its operator
/// has left (9).
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

    /// Creates the socket file (mode 0600) and serves it. Replaces a file that a dead process has left.
    /// `prompt` is printed before each line of an operator. Throws std::bad_alloc.
    /// @return kOk, or kBadPath, kOccupied, kInUse or kSystem (listener.h) after one log line at level 14;
    ///         then nothing has changed.
    [[nodiscard]] CliStatus Start(const std::string& path, unsigned int node, const std::string& prompt,
                                  const Options& options);
    [[nodiscard]] CliStatus Start(const std::string& path, unsigned int node, const std::string& prompt);

    /// Ends all sessions, waits for running commands, and removes the socket file. Does nothing if not
    /// started. A command must not call it, but may call exit().
    void Stop();

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace onu_mng_platform

#endif
