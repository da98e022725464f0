/// Buffers the output of commands for an operator.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_OUTPUT_H
#define ONU_MNG_PLATFORM_POSIX_CLI_OUTPUT_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>

#include "onu_mng_platform/posix/cli/event.h"
#include "onu_mng_platform/posix/cli/terminal_guard.h"

namespace onu_mng_platform {

/// A bounded buffer between the command that writes output and the task that sends it. The buffer breaks if
/// it is full and the reader takes nothing for a while, if sending fails, and if memory is short. A broken
/// buffer drops all output.
///
/// Thread safety: one task puts, one sends. Any task may call the other operations.
class CliOutput {
public:
    using Clock = std::chrono::steady_clock;

    struct Limits {
        size_t size = size_t{1} << 18;            ///< bytes that wait; the same number may be in transmission
        std::chrono::milliseconds patience{5000}; ///< how long a full buffer waits for the reader
    };

    /// Sets `wake` when there is something to send. `wake` must outlive the buffer.
    CliOutput(const Limits& limits, const CliEvent* wake, Charset charset = Charset::kUtf8)
        : limits_(limits), wake_(wake), guard_(charset) {}

    /// Appends text, cleaned by a TerminalGuard. Blocks while the buffer is full.
    void PutText(std::string_view text) { Put(text, true); }

    /// Appends a last text if nothing is waiting to be sent. Does not block. Any task.
    void PutIfEmpty(std::string_view text);

    /// Appends the end of an answer: its result, and whether it is the last answer.
    void PutEndOfAnswer(int result, bool is_last);

    /// Writes as much as the descriptor accepts. The descriptor must be non-blocking, and the calling task
    /// must block or ignore SIGPIPE.
    void Send(int descriptor);

    /// Breaks the buffer: drops the waiting output and releases a task that waits for room.
    void Break();

    bool IsBroken() const;
    bool IsEmpty() const;

private:
    void Put(std::string_view text, bool clean);
    void Append(std::string_view text, bool clean);
    bool WaitForRoom(std::unique_lock<std::mutex>* lock);
    bool Refill();
    void Note(size_t sent);

    const Limits limits_;
    const CliEvent* const wake_;

    mutable std::mutex mutex_;
    std::condition_variable room_;
    std::string waiting_;
    Clock::time_point last_progress_;
    bool is_sending_ = false;
    bool is_broken_ = false;
    TerminalGuard guard_;

    std::string sending_; ///< used by the sending task only
    size_t sent_ = 0;
};

} // namespace onu_mng_platform

#endif
