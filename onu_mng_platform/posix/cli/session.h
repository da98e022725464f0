/// One operator's connection to the host.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_SESSION_H
#define ONU_MNG_PLATFORM_POSIX_CLI_SESSION_H

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include <poll.h>

#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/posix/cli/descriptor.h"
#include "onu_mng_platform/posix/cli/output.h"

namespace onu_mng_platform {

/// The common settings of a server's sessions.
struct CliSessionSettings {
    unsigned int node = 0;
    std::string prompt;
    unsigned int log_module = 0;
    std::chrono::milliseconds idle_limit{600000};
    CliOutput::Limits output;
};

/// Receives requests, runs them one at a time and sends their output (protocol.h).
///
/// Thread safety: only the server's thread uses it, except for Run(), which a worker calls once for each
/// TakeRequest().
class CliSession {
public:
    using Clock = std::chrono::steady_clock;

    /// The session sets `wake` when the server must serve it. `settings` and `wake` must outlive the session.
    /// `user` names the operator in the log. Throws std::bad_alloc.
    CliSession(Descriptor socket, const std::string& user, const CliSessionSettings& settings,
               const CliEvent* wake);
    CliSession(const CliSession&) = delete;
    CliSession& operator=(const CliSession&) = delete;

    /// Returns the events to poll for. The descriptor is -1 if there is nothing to wait for.
    pollfd Poll() const;

    /// Receives and sends according to the polled events. Does not block. Throws std::bad_alloc.
    void Serve(short events);

    /// Takes the next complete request, unless one is running. @return whether Run() must be called. Throws
    /// std::bad_alloc.
    bool TakeRequest();
    void Run();

    /// Returns how the operator left, after all his requests are answered; null before. When the result is
    /// not null, the owner must close the session.
    const char* Ending() const;

    /// Returns whether the output buffer is broken, for instance because the operator does not read. The
    /// owner must then close the session.
    bool IsStuck() const { return output_.IsBroken(); }

    /// Closes the connection. Sends `farewell` first if no output is waiting. A running request continues,
    /// but its output is dropped.
    void Close(std::string_view farewell);

    /// Returns the time at which the idle limit is reached; the end of time while a request runs.
    Clock::time_point Deadline() const;

private:
    struct DestroyTerminal {
        void operator()(vty* terminal) const { vty_destroy(terminal); }
    };

    bool HasLine() const { return input_.find('\n') != std::string::npos; }
    bool WantsInput() const;
    void Receive();
    void Keep(std::string_view data);
    void Answer();
    int AnswerVerb(std::string_view request);
    void AnswerByHand(std::string_view line);
    void AnswerCompletion(std::string_view line);
    static void Write(void* self, const char* data, size_t size);

    Descriptor socket_;
    const CliSessionSettings& settings_;
    const CliEvent* const wake_;
    CliOutput output_;
    const std::unique_ptr<vty, DestroyTerminal> terminal_; ///< used by the worker while a request runs

    std::string input_;   ///< received, but not taken as a request yet
    std::string request_; ///< used by the worker while the request runs
    Clock::time_point last_active_ = Clock::now();
    bool has_left_ = false; ///< the operator has closed the connection
    bool was_running_ = false;
    std::atomic<bool> is_running_{false};
};

} // namespace onu_mng_platform

#endif
