#include "onu_mng_platform/common/log/standard_error.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;
constexpr size_t kTerminalPiece = 256; // a terminal that is ready accepts at least as much

int64_t NowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

/// Waits until write() does not block. @return false on a time-out. A broken pipe counts as ready.
bool IsReady(int descriptor, int64_t milliseconds) {
    pollfd room{descriptor, POLLOUT, 0};
    return poll(&room, 1, static_cast<int>(milliseconds)) > 0;
}

bool IsFile(int descriptor, dev_t device, ino_t file) {
    struct stat now {};
    return fstat(descriptor, &now) == 0 && now.st_dev == device && now.st_ino == file;
}

/// Prevents SIGPIPE from ending the process if the reader of a pipe has exited.
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

int64_t WaitBudget::Left(int64_t now_ns) {
    left_ns_ = std::min(kMostNs, left_ns_ + (now_ns - counted_ns_) / kShare);
    counted_ns_ = now_ns;
    return left_ns_;
}

/// Finds the descriptor for writing. Checks it before every line, because a host may redirect standard error,
/// or close all descriptors and reuse the number. A terminal or pipe is opened again, because O_NONBLOCK on
/// standard error itself would affect all processes that share it. If that fails (a pipe or terminal of
/// another user, no /proc), the blocking descriptor is used.
void StandardError::Find() {
    struct stat now {};
    if (fstat(STDERR_FILENO, &now) != 0) now = {};
    const bool is_kept = !is_own_ || IsFile(descriptor_, device_, file_);
    if (descriptor_ >= 0 && is_kept && now.st_dev == device_ && now.st_ino == file_) return;
    if (is_own_ && is_kept) close(descriptor_);
    device_ = now.st_dev;
    file_ = now.st_ino;
    kind_ = S_ISSOCK(now.st_mode) ? Kind::kSocket : S_ISFIFO(now.st_mode) ? Kind::kPipe : Kind::kFile;
    const bool may_block = S_ISCHR(now.st_mode) || S_ISFIFO(now.st_mode);
    const int own = may_block ? open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC) : -1;
    is_own_ = own >= 0;
    descriptor_ = is_own_ ? own : STDERR_FILENO;
    piece_ = !may_block || is_own_ ? 0 : kind_ == Kind::kPipe ? size_t{PIPE_BUF} : kTerminalPiece;
    is_torn_ = false;
}

ssize_t StandardError::Put(const char* data, size_t size) const {
    if (piece_ > 0) {
        size = std::min(size, piece_);
        if (!IsReady(descriptor_, 0)) {
            errno = EAGAIN;
            return -1;
        }
    }
    if (kind_ == Kind::kSocket) return send(descriptor_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (kind_ == Kind::kFile) return write(descriptor_, data, size);
    const PipeShield shield;
    return write(descriptor_, data, size);
}

/// Waits within the budget. `was_ready`: the last wait ended, but the write failed again, because another
/// process was writing to the terminal. That takes a few microseconds, so this waits for a moment first.
bool StandardError::WaitForRoom(bool was_ready) {
    const int64_t begin = NowNs();
    const int64_t left_ms = budget_.Left(begin) / kNsPerMs;
    if (left_ms <= 0) return false;
    constexpr timespec kMoment{0, 50'000};
    if (was_ready) clock_nanosleep(CLOCK_MONOTONIC, 0, &kMoment, nullptr);
    const bool is_ready = IsReady(descriptor_, left_ms);
    budget_.Spend(NowNs() - begin);
    return is_ready;
}

bool StandardError::WriteAll(const char* data, size_t size, size_t* done) {
    bool has_waited = false;
    while (*done < size) {
        const ssize_t written = Put(data + *done, size - *done);
        if (written > 0) {
            *done += static_cast<size_t>(written);
        } else if (written == 0 || (errno != EINTR && (errno != EAGAIN || !WaitForRoom(has_waited)))) {
            return false;
        }
        has_waited = written < 0;
    }
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
