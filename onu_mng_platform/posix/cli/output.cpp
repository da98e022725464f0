#include "onu_mng_platform/posix/cli/output.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include <unistd.h>

#include "onu_mng_platform/posix/cli/protocol.h"

namespace onu_mng_platform {
namespace {

constexpr size_t kKeptCapacity = 16384;

} // namespace

void CliOutput::PutEndOfAnswer(int result, bool is_last) {
    std::string end = kEndOfAnswer + std::to_string(result);
    if (is_last) end += kExit;
    Put(end += '\n', false);
}

void CliOutput::PutIfEmpty(std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!is_broken_ && waiting_.empty() && !is_sending_) Append(text, true);
}

void CliOutput::Put(std::string_view text, bool clean) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!text.empty() && WaitForRoom(&lock)) {
        const size_t taken = std::min(text.size(), limits_.size - waiting_.size());
        Append(text.substr(0, taken), clean);
        text.remove_prefix(taken);
    }
}

// The caller holds the lock.
void CliOutput::Append(std::string_view text, bool clean) {
    const size_t old_size = waiting_.size();
    try {
        waiting_.append(text);
    } catch (const std::bad_alloc&) {
        is_broken_ = true;
    }
    if (clean) guard_.Clean(&waiting_, old_size);
    if (old_size == 0 && !is_sending_) wake_->Set();
}

bool CliOutput::WaitForRoom(std::unique_lock<std::mutex>* lock) {
    const Clock::time_point begin = Clock::now();
    while (!is_broken_ && waiting_.size() >= limits_.size) {
        const Clock::time_point deadline = std::max(begin, last_progress_) + limits_.patience;
        is_broken_ = Clock::now() >= deadline;
        if (is_broken_) wake_->Set();
        if (!is_broken_) room_.wait_until(*lock, deadline);
    }
    return !is_broken_;
}

void CliOutput::Send(int descriptor) {
    if (!Refill()) return;
    const ssize_t sent = write(descriptor, sending_.data() + sent_, sending_.size() - sent_);
    if (sent >= 0) return Note(static_cast<size_t>(sent));
    if (errno != EAGAIN && errno != EINTR) Break();
}

// Swaps the buffers when everything in `sending_` has been sent. @return whether there is something to send.
bool CliOutput::Refill() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (is_broken_) return false;
    if (is_sending_) return true;
    sending_.swap(waiting_);
    is_sending_ = !sending_.empty();
    room_.notify_one();
    return is_sending_;
}

void CliOutput::Note(size_t sent) {
    sent_ += sent;
    const std::lock_guard<std::mutex> lock(mutex_);
    last_progress_ = Clock::now();
    if (sent_ < sending_.size()) return;
    is_sending_ = false;
    sent_ = 0;
    sending_.clear();
    if (sending_.capacity() > kKeptCapacity) std::string().swap(sending_);
}

void CliOutput::Break() {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_broken_ = true;
    std::string().swap(waiting_);
    room_.notify_one();
}

bool CliOutput::IsBroken() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return is_broken_;
}

bool CliOutput::IsEmpty() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return is_broken_ || (waiting_.empty() && !is_sending_);
}

} // namespace onu_mng_platform
