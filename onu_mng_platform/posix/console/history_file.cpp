#include "onu_mng_platform/posix/console/history_file.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

constexpr off_t kMostRead = 1 << 20; // bytes, twice the size of 500 lines of maximum length

/// Locks the file against other processes. Goes on without the lock if a process that hangs holds it.
class FileLock {
public:
    explicit FileLock(int file) : file_(file) {
        constexpr int kTries = 20;
        constexpr std::chrono::milliseconds kPause{10};
        for (int i = 0; i < kTries && flock(file_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; ++i)
            std::this_thread::sleep_for(kPause);
    }
    ~FileLock() { flock(file_, LOCK_UN); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    const int file_;
};

std::string ReadEnd(int file) {
    struct stat status {};
    if (fstat(file, &status) != 0) return {};
    const off_t begin = std::max<off_t>(status.st_size - kMostRead, 0);
    std::string text(static_cast<size_t>(status.st_size - begin), '\0');
    const ssize_t size = pread(file, text.data(), text.size(), begin);
    text.resize(size < 0 ? 0 : static_cast<size_t>(size));
    return text;
}

void Write(int file, const std::string& text) {
    (void)!write(file, text.data(), text.size());
}

} // namespace

bool HistoryFile::Open(const std::string& path) {
    constexpr int kFlags = O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    Descriptor file(open(path.c_str(), kFlags, 0600));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.get(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) {
        errno = EPERM;
        return false;
    }
    file_ = std::move(file);
    return true;
}

std::deque<std::string> HistoryFile::Read(size_t most) {
    std::deque<std::string> lines;
    if (!file_.IsOpen()) return lines;
    const FileLock lock(file_.get());
    std::istringstream text(ReadEnd(file_.get()));
    size_t count = 0;
    for (std::string line; std::getline(text, line); ++count) {
        lines.push_back(line);
        if (lines.size() > most) lines.pop_front();
    }
    if (count <= 2 * most || ftruncate(file_.get(), 0) != 0) return lines;
    std::string kept;
    for (const std::string& line : lines)
        kept.append(line).push_back('\n');
    Write(file_.get(), kept);
    return lines;
}

void HistoryFile::Append(const std::string& line) {
    if (!file_.IsOpen()) return;
    const FileLock lock(file_.get());
    Write(file_.get(), line + '\n');
}

} // namespace onu_mng_platform
