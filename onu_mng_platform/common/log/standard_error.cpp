#include "onu_mng_platform/common/log/standard_error.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

constexpr int64_t kPatienceMs = 200; // with a line

int64_t NowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

/// Keeps the process alive when the reader of a pipe is gone.
class PipeShield {
public:
    PipeShield() {
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        was_pending_ = sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    }
    ~PipeShield() {
        const int error = errno;
        const timespec at_once{};
        if (error == EPIPE && !was_pending_) sigtimedwait(&pipe_, nullptr, &at_once);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }
    PipeShield(const PipeShield&) = delete;
    PipeShield& operator=(const PipeShield&) = delete;

private:
    sigset_t pipe_;
    sigset_t before_;
    bool was_pending_;
};

} // namespace

/// Looks each time, since a host may lead standard error elsewhere. What may block is opened anew: the flag
/// set on standard error itself would be one of everybody who has it.
void StandardError::Find() {
    struct stat now {};
    if (fstat(STDERR_FILENO, &now) != 0) now = {};
    if (descriptor_ >= 0 && now.st_dev == device_ && now.st_ino == file_) return;
    if (is_own_) close(descriptor_);
    device_ = now.st_dev;
    file_ = now.st_ino;
    kind_ = S_ISSOCK(now.st_mode) ? Kind::kSocket : S_ISFIFO(now.st_mode) ? Kind::kPipe : Kind::kFile;
    const bool may_block = S_ISCHR(now.st_mode) || S_ISFIFO(now.st_mode);
    const int own = may_block ? open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC) : -1;
    is_own_ = own >= 0;
    descriptor_ = is_own_ ? own : STDERR_FILENO;
    is_stuck_ = false;
    is_torn_ = false;
}

ssize_t StandardError::Put(const char* data, size_t size) const {
    if (kind_ == Kind::kSocket) return send(descriptor_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (kind_ == Kind::kFile) return write(descriptor_, data, size);
    const PipeShield shield;
    return write(descriptor_, data, size);
}

/// A terminal that is ready takes nothing while somebody else writes to it.
bool StandardError::WaitUntil(int64_t deadline, bool was_ready) {
    pollfd room{descriptor_, POLLOUT, 0};
    const int64_t left = deadline - NowMs();
    if (left <= 0) return false;
    if (was_ready) poll(nullptr, 0, 1);
    return poll(&room, 1, static_cast<int>(left)) != 0;
}

bool StandardError::WriteAll(const char* data, size_t size, size_t* done) {
    const int64_t deadline = is_stuck_ ? 0 : NowMs() + kPatienceMs;
    bool has_waited = false;
    while (*done < size) {
        const ssize_t written = Put(data + *done, size - *done);
        if (written > 0) {
            *done += static_cast<size_t>(written);
        } else if (written < 0 && errno == EINTR) {
            continue;
        } else if (written < 0 && errno == EAGAIN) {
            is_stuck_ = !WaitUntil(deadline, has_waited);
            if (is_stuck_) return false;
        } else {
            return false;
        }
        has_waited = written < 0;
    }
    is_stuck_ = false;
    return true;
}

bool StandardError::Write(const char* line, size_t size) {
    Find();
    size_t line_end = 0;
    if (is_torn_ && !WriteAll("\r\n", 2, &line_end)) return false;
    size_t done = 0;
    const bool is_whole = WriteAll(line, size, &done);
    is_torn_ = !is_whole && done > 0;
    return is_whole;
}

} // namespace onu_mng_platform
