/// The operator's end of the conversation in cli_protocol.h.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_CLIENT_H
#define ONU_MNG_PLATFORM_POSIX_CLI_CLIENT_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/posix/cli/listener.h"
#include "onu_mng_platform/posix/cli/terminal_guard.h"

namespace onu_mng_platform {

/// A connection to a host. What the host prints is cleaned for a terminal of the process's locale. Used by one
/// task; operations block until the host has answered.
class CliClient {
public:
    /// Takes output as it comes.
    using Print = std::function<void(std::string_view)>;

    /// A host that sends nothing for `patience` while an answer is due is given up; 0: never.
    /// @return kOk; else, with nothing connected, kBadPath, kNoHost, kForeign or kSystem.
    CliStatus Connect(const std::string& path, std::chrono::seconds patience = std::chrono::seconds(0));

    /// Runs a line. @return its result; nothing when the host has closed the connection or is given up. The
    ///         connection is then of no more use.
    std::optional<int> Run(std::string_view line, const Print& print);

    /// Whether the host was given up.
    bool HasTimedOut() const { return has_timed_out_; }

    /// Whether the last line was "exit", after which the host closes the connection.
    bool HasExited() const { return has_exited_; }

    /// What may come next behind a line; empty when the host is gone.
    std::string Describe(std::string_view line);

    /// What TAB does to a line; nothing when the host is gone.
    Completion Complete(std::string_view line);

    /// The host's prompt; nothing when the host has closed the connection, with its last words in `farewell`.
    std::optional<std::string> Prompt(std::string* farewell);

private:
    std::optional<int> Ask(std::string_view verb, std::string_view line, const Print& print);
    bool AskAside(std::string_view verb, std::string_view line, std::string* answer);
    bool Send(std::string_view request);
    std::optional<int> ReceiveAnswer(const Print& print);
    void PrintReceived(size_t size, const Print& print);
    bool Receive();

    Descriptor connection_;
    TerminalGuard guard_{CharsetOfLocale()};
    std::string received_;
    std::string farewell_; ///< the host's last words, until Run() prints them
    bool has_exited_ = false;
    bool has_timed_out_ = false;
};

} // namespace onu_mng_platform

#endif
