#include "onu_mng_platform/posix/console/status_row.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

#include "onu_mng_platform/posix/cli/thread.h"
#include "onu_mng_platform/posix/console/terminal_modes.h"

namespace onu_mng_platform {
namespace {

constexpr unsigned int kLeastRows = 4;

// Sequences of the VT100, which all terminals know.
constexpr const char* kSaveCursor = "\0337";
constexpr const char* kRestoreCursor = "\0338";
constexpr const char* kScrollEverywhere = "\033[r";
constexpr const char* kClearToEnd = "\033[K";
constexpr const char* kLeaveLastRow = "\033D\033[A"; // down, which scrolls in the last row, and up

bool HasRows() {
    const char* const name = std::getenv("TERM");
    return name != nullptr && *name != '\0' && std::strcmp(name, "dumb") != 0;
}

std::string BeginOf(unsigned int row) {
    return "\033[" + std::to_string(row) + ";1H";
}

/// The text that fits. The last column stays empty, because some terminals wrap as soon as it is written.
std::string Fitting(const std::vector<std::string>& texts, size_t columns) {
    for (const std::string& text : texts) {
        if (text.size() < columns) return text;
    }
    return columns == 0 || texts.empty() ? std::string() : texts.back().substr(0, columns - 1);
}

} // namespace

bool StatusRow::Show(const std::vector<std::string>& texts) {
    winsize size{};
    if (!HasRows() || IsInBackground() || ioctl(screen_, TIOCGWINSZ, &size) != 0 ||
        size.ws_row < kLeastRows) {
        Hide();
        return false;
    }
    Flush();
    if (!unsent_.empty()) return true; // output is stopped by Ctrl-S
    if (size.ws_row != rows_) Reserve(size.ws_row);
    unsent_ += kSaveCursor + BeginOf(rows_) + Fitting(texts, size.ws_col) + kClearToEnd +
               std::string(kRestoreCursor);
    Flush();
    return true;
}

void StatusRow::Reserve(unsigned int rows) {
    unsent_ += std::string(kSaveCursor) + kScrollEverywhere + kRestoreCursor + kLeaveLastRow + kSaveCursor +
               "\033[1;" + std::to_string(rows - 1) + 'r' + kRestoreCursor;
    rows_ = rows;
}

void StatusRow::Hide() {
    if (rows_ == 0) return Flush();
    try {
        unsent_ +=
            std::string(kSaveCursor) + kScrollEverywhere + BeginOf(rows_) + kClearToEnd + kRestoreCursor;
        rows_ = 0;
    } catch (const std::bad_alloc&) {
        return; // the next call tries again
    }
    Flush();
}

// The shield blocks SIGTTOU, because the row must be removed even in the background, where writing would stop
// the process.
void StatusRow::Flush() {
    const SignalShield shield;
    while (!unsent_.empty()) {
        const ssize_t sent = write(screen_, unsent_.data(), unsent_.size());
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && errno == EAGAIN) return;
        if (sent < 0) return unsent_.clear(); // the terminal has disappeared
        unsent_.erase(0, static_cast<size_t>(sent));
    }
}

} // namespace onu_mng_platform
