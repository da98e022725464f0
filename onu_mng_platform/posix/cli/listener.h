/// The socket file at which operators connect.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_LISTENER_H
#define ONU_MNG_PLATFORM_POSIX_CLI_LISTENER_H

#include <string>

#include <sys/stat.h>
#include <sys/types.h>

#include "onu_mng_platform/posix/cli/descriptor.h"

namespace onu_mng_platform {

/// How starting a server or connecting to one ended.
enum class CliStatus : unsigned char {
    kOk,
    kBadPath,  ///< the path is empty or longer than 107 bytes
    kInUse,    ///< another process serves this path, or this server is started already
    kOccupied, ///< something else than a socket is at the path
    kNoHost,   ///< nobody serves this path
    kForeign,  ///< a process of another user serves this path
    kSystem,   ///< a system call failed, errno tells why
};

/// A few words for each status; for kSystem those of errno.
std::string TextOf(CliStatus status);

/// Whom the system says is at the other end.
struct CliPeer {
    uid_t uid;
    pid_t pid;

    /// Whether it is this process's own user or root.
    bool IsTrusted() const;
};

/// Owns the socket file: mode 0600 from the moment it exists, removed again by the destructor. Used by one
/// task.
class CliListener {
public:
    CliListener() = default;
    ~CliListener();
    CliListener(const CliListener&) = delete;
    CliListener& operator=(const CliListener&) = delete;

    /// Creates the socket file, in place of one that a dead process has left. Once. Does not block for long.
    CliStatus Open(const std::string& path);

    /// Readable when somebody connects.
    int descriptor() const { return socket_.get(); }

    /// Takes the next connection, without blocking; one that is not open, with errno set, when there is none.
    Descriptor Accept(CliPeer* peer) const;

private:
    CliStatus Bind();

    std::string path_;
    Descriptor socket_;
    struct stat file_ {};
};

/// Connects to the server of a path, within 5 s; the descriptor is not open on failure. The server must be of
/// the process's own user or of root; root connects to any.
CliStatus ConnectTo(const std::string& path, Descriptor* connection);

} // namespace onu_mng_platform

#endif
