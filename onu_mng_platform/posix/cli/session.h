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

/// What the sessions of a server have in common.
struct CliSessionSettings {
    unsigned int node = 0;
    std::string prompt;
    unsigned int log_module = 0;
    std::chrono::milliseconds idle_limit{600000};
    CliOutput::Limits output;
};

/// Reads requests, has one at a time run and sends what it prints (cli_protocol.h).
///
/// Thread safety: the server's task uses it, except for Run(), which a worker calls once for each
/// TakeRequest().
class CliSession {
public:
    using Clock = std::chrono::steady_clock;

    /// `settings` and `wake`, which is set when the server has to look after the session, outlive it. `user`
    /// names the operator in the log. Throws std::bad_alloc.
    CliSession(Descriptor socket, const std::string& user, const CliSessionSettings& settings,
               const CliEvent* wake);
    CliSession(const CliSession&) = delete;
    CliSession& operator=(const CliSession&) = delete;

    /// What to poll; the descriptor is -1 while there is nothing to wait for.
    pollfd Poll() const;

    /// Receives and sends as the poll's events allow, without blocking. Throws std::bad_alloc.
    void Serve(short events);

    /// Whether a request is there to Run(); none is while one runs. Throws std::bad_alloc.
    bool TakeRequest();
    void Run();

    /// How the operator has left; null while he has not. The session's owner then calls Close() and forgets
    /// it.
    const char* Ending() const;

    /// Whether the operator does not read, or cannot any more: to be closed, too.
    bool IsStuck() const { return output_.IsBroken(); }

    /// Gives the operator up, with a last line where nothing else is waiting to be sent; a request that runs
    /// goes on into nowhere.
    void Close(std::string_view farewell);

    /// When the session has been silent for too long; far away while a request runs.
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
    const std::unique_ptr<vty, DestroyTerminal> terminal_; ///< of the worker while a request runs

    std::string input_;   ///< what was received and not taken yet
    std::string request_; ///< of the worker while it runs
    Clock::time_point last_active_ = Clock::now();
    bool has_left_ = false; ///< sends no more
    bool was_running_ = false;
    std::atomic<bool> is_running_{false};
};

} // namespace onu_mng_platform

#endif
