#include "onu_mng_platform/common/standard_error.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

constexpr int kPatienceMs = 200;

// A descriptor of its own: the flag set on standard error would be one of everybody who has that terminal.
int OpenTerminal() {
    char name[64];
    if (ttyname_r(STDERR_FILENO, name, sizeof name) != 0) return -1;
    return open(name, O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

} // namespace

/// Looks each time, since a host may lead standard error elsewhere.
void StandardError::Find() {
    struct stat now {};
    if (fstat(STDERR_FILENO, &now) != 0) now = {};
    if (descriptor_ >= 0 && now.st_dev == device_ && now.st_ino == file_) return;
    if (is_own_) close(descriptor_);
    device_ = now.st_dev;
    file_ = now.st_ino;
    const int terminal = S_ISCHR(now.st_mode) ? OpenTerminal() : -1;
    is_own_ = terminal >= 0;
    descriptor_ = is_own_ ? terminal : STDERR_FILENO;
    is_socket_ = S_ISSOCK(now.st_mode);
    is_stuck_ = false;
    is_torn_ = false;
}

/// A pipe that is ready takes a whole line; terminals and sockets do not block. One that nobody reads any
/// more is not written to, which would end the process.
bool StandardError::IsReady() {
    pollfd ready{descriptor_, POLLOUT, 0};
    int count = 0;
    do {
        count = poll(&ready, 1, is_stuck_ ? 0 : kPatienceMs);
    } while (count < 0 && errno == EINTR);
    is_stuck_ = count == 0;
    return count > 0 && (ready.revents & POLLOUT) != 0 && (ready.revents & POLLERR) == 0;
}

ssize_t StandardError::Put(const char* data, size_t size) const {
    return is_socket_ ? send(descriptor_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL)
                      : write(descriptor_, data, size);
}

bool StandardError::Write(const char* line, size_t size) {
    Find();
    constexpr char kLineEnd[] = "\r\n";
    bool is_whole = !is_torn_ || (IsReady() && Put(kLineEnd, 2) == 2);
    size_t done = 0;
    while (is_whole && done < size) {
        const ssize_t written = IsReady() ? Put(line + done, size - done) : 0;
        if (written > 0) done += static_cast<size_t>(written);
        is_whole = written > 0 || (written < 0 && errno == EINTR);
    }
    is_torn_ = !is_whole && (is_torn_ || done > 0);
    if (!is_whole) ++lost_;
    return is_whole;
}

unsigned long StandardError::TakeLost() {
    const unsigned long lost = lost_;
    lost_ = 0;
    return lost;
}

} // namespace onu_mng_platform
