/// The socket file that operators connect to.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_LISTENER_H
#define ONU_MNG_PLATFORM_POSIX_CLI_LISTENER_H

#include <string>

#include <sys/stat.h>
#include <sys/types.h>

#include "onu_mng_platform/posix/cli/descriptor.h"

namespace onu_mng_platform {

/// The result of starting a server or connecting to one.
enum class CliStatus : unsigned char {
    kOk,
    kBadPath,  ///< the path is empty or longer than 107 bytes
    kInUse,    ///< another process serves this path, or this server has already been started
    kOccupied, ///< the file at this path is not a socket
    kNoHost,   ///< no process serves this path
    kForeign,  ///< a process of another user serves this path
    kSystem,   ///< a system call failed; errno holds the reason
};

/// Returns a short text for a status; for kSystem the text of errno.
std::string TextOf(CliStatus status);

/// The process at the other end of a connection, as reported by the kernel.
struct CliPeer {
    uid_t uid;
    pid_t pid;

    /// Returns whether it runs as root or as the user of this process.
    bool IsTrusted() const;
};

/// Owns the socket file. The file has mode 0600 from the start; the destructor removes it. Used by one task.
class CliListener {
public:
    CliListener() = default;
    ~CliListener();
    CliListener(const CliListener&) = delete;
    CliListener& operator=(const CliListener&) = delete;

    /// Creates the socket file. Replaces a file that a dead process has left. Call it once. May block for 5
    /// s, while it probes an existing socket.
    [[nodiscard]] CliStatus Open(const std::string& path);

    /// Returns a descriptor that is readable when a connection is waiting.
    int descriptor() const { return socket_.get(); }

    /// Accepts the next connection. Does not block. If there is none, the result is not open and errno is
    /// set.
    Descriptor Accept(CliPeer* peer) const;

private:
    CliStatus Bind();

    std::string path_;
    Descriptor socket_;
    struct stat file_ {};
};

/// Connects to the server at a path within 5 s. On failure `connection` is unchanged. The server must run as
/// root or as the user of this process; root connects to any server.
[[nodiscard]] CliStatus ConnectTo(const std::string& path, Descriptor* connection);

} // namespace onu_mng_platform

#endif
