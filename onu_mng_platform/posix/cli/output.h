/// Characters on their way from a command to an operator.
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

/// A bounded buffer. Commands put characters in, the server's task sends them. A reader who takes nothing for
/// a while although the buffer is full breaks it, as does a reader who is gone and memory that is short.
///
/// Thread safety: one task puts, one sends; the rest from any.
class CliOutput {
public:
    using Clock = std::chrono::steady_clock;

    struct Limits {
        size_t size = size_t{1} << 18;            ///< bytes, of which up to twice as many are kept
        std::chrono::milliseconds patience{5000}; ///< with a reader while the buffer is full
    };

    /// Sets `wake`, which outlives it, when there is something to send.
    CliOutput(const Limits& limits, const CliEvent* wake, Charset charset = Charset::kUtf8)
        : limits_(limits), wake_(wake), guard_(charset) {}

    /// Appends text, cleaned by a TerminalGuard; waits while the buffer is full. Once it is broken nothing is
    /// taken.
    void PutText(std::string_view text) { Put(text, true); }

    /// Appends a last text if nothing else is waiting to be sent. Does not wait. Any task.
    void PutIfEmpty(std::string_view text);

    /// Appends the end of an answer with its result, and whether it was the last.
    void PutEndOfAnswer(int result, bool is_last);

    /// Sends some of it, as much as a descriptor that does not block takes. From a task that takes no
    /// SIGPIPE.
    void Send(int descriptor);

    /// Gives up: nothing is kept or taken any more, and a task that waits to put returns.
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

    std::string sending_; ///< of the sending task alone
    size_t sent_ = 0;
};

} // namespace onu_mng_platform

#endif
