#include "onu_mng_platform/posix/cli/listener.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace onu_mng_platform {
namespace {

constexpr int kBacklog = 16;
constexpr timeval kPatience = {5, 0};

bool MakeAddress(const std::string& path, sockaddr_un* address) {
    if (path.empty() || path.size() >= sizeof address->sun_path) return false;
    address->sun_family = AF_UNIX;
    std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

const sockaddr* Generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

bool GetPeer(const Descriptor& connection, CliPeer* peer) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return false;
    *peer = CliPeer{credentials.uid, credentials.pid};
    return true;
}

bool IsSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Keeps two hosts that start at the same time from removing each other's new socket as a dead one. It locks
/// a file beside the socket, which exists only while a host holds the lock.
class StartLock {
public:
    explicit StartLock(const std::string& socket_path) : path_(socket_path + ".lock") {
        do {
            file_ = Descriptor(open(path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
            if (!file_.IsOpen()) return;
            if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
                file_.Close();
                return;
            }
        } while (!IsThere()); // the previous holder has removed the file meanwhile
    }
    ~StartLock() {
        if (IsHeld()) unlink(path_.c_str());
    }
    StartLock(const StartLock&) = delete;
    StartLock& operator=(const StartLock&) = delete;

    /// If not, errno holds the reason.
    bool IsHeld() const { return file_.IsOpen(); }

private:
    bool IsThere() const {
        struct stat held {};
        struct stat there {};
        return fstat(file_.get(), &held) == 0 && lstat(path_.c_str(), &there) == 0 && IsSame(held, there);
    }

    const std::string path_;
    Descriptor file_;
};

CliStatus RemoveDeadSocket(const std::string& path) {
    struct stat there {};
    if (lstat(path.c_str(), &there) != 0) return errno == ENOENT ? CliStatus::kOk : CliStatus::kSystem;
    if (!S_ISSOCK(there.st_mode)) return CliStatus::kOccupied;
    Descriptor probe;
    const CliStatus status = ConnectTo(path, &probe);
    if (status == CliStatus::kOk || status == CliStatus::kForeign) return CliStatus::kInUse;
    if (status == CliStatus::kSystem && errno == EAGAIN) return CliStatus::kInUse;
    if (status != CliStatus::kNoHost) return status;
    return unlink(path.c_str()) == 0 ? CliStatus::kOk : CliStatus::kSystem;
}

} // namespace

std::string TextOf(CliStatus status) {
    switch (status) {
    case CliStatus::kOk:
        return "done";
    case CliStatus::kBadPath:
        return "the path is empty or too long";
    case CliStatus::kInUse:
        return "another process serves it";
    case CliStatus::kOccupied:
        return "the path is no socket";
    case CliStatus::kNoHost:
        return "no host serves it";
    case CliStatus::kForeign:
        return "another user serves it";
    case CliStatus::kSystem:
        break;
    }
    return std::generic_category().message(errno);
}

bool CliPeer::IsTrusted() const {
    return uid == 0 || uid == geteuid();
}

CliListener::~CliListener() {
    struct stat there {};
    const bool is_ours = socket_.IsOpen() && lstat(path_.c_str(), &there) == 0 && IsSame(there, file_);
    if (is_ours) unlink(path_.c_str());
}

CliStatus CliListener::Open(const std::string& path) {
    sockaddr_un address{};
    if (!MakeAddress(path, &address)) return CliStatus::kBadPath;
    const StartLock lock(path);
    if (!lock.IsHeld()) return errno == EWOULDBLOCK ? CliStatus::kInUse : CliStatus::kSystem;
    const CliStatus status = RemoveDeadSocket(path);
    if (status != CliStatus::kOk) return status;
    path_ = path;
    return Bind();
}

CliStatus CliListener::Bind() {
    sockaddr_un address{};
    MakeAddress(path_, &address);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    // The file inherits the socket's mode, so other users can never open it.
    if (!socket.IsOpen() || fchmod(socket.get(), 0600) != 0) return CliStatus::kSystem;
    if (bind(socket.get(), Generic(address), sizeof address) != 0) return CliStatus::kSystem;
    if (lstat(path_.c_str(), &file_) != 0) return CliStatus::kSystem;
    socket_ = std::move(socket);
    return listen(socket_.get(), kBacklog) == 0 ? CliStatus::kOk : CliStatus::kSystem;
}

Descriptor CliListener::Accept(CliPeer* peer) const {
    Descriptor connection(accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!connection.IsOpen() || !GetPeer(connection, peer)) return Descriptor();
    return connection;
}

CliStatus ConnectTo(const std::string& path, Descriptor* connection) {
    sockaddr_un address{};
    if (!MakeAddress(path, &address)) return CliStatus::kBadPath;
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.IsOpen()) return CliStatus::kSystem;
    // connect() blocks while a host that hangs has a full backlog, so it needs a limit.
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
    if (connect(socket.get(), Generic(address), sizeof address) != 0) {
        const bool nobody = errno == ECONNREFUSED || errno == ENOENT;
        return nobody ? CliStatus::kNoHost : CliStatus::kSystem;
    }
    CliPeer server{};
    if (!GetPeer(socket, &server)) return CliStatus::kSystem;
    if (!server.IsTrusted() && geteuid() != 0) return CliStatus::kForeign;
    *connection = std::move(socket);
    return CliStatus::kOk;
}

} // namespace onu_mng_platform
