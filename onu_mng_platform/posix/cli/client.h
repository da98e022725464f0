/// The operator's side of the protocol in protocol.h.
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

/// A connection to a host. Control characters in the host's output are replaced, as the locale of the process
/// requires (`TerminalGuard`). Used by one task. Operations block until the host has answered.
class CliClient {
public:
    /// Receives output piece by piece.
    using Print = std::function<void(std::string_view)>;

    /// Connects to a host. An answer times out if the host sends nothing for `patience` (0: no limit).
    /// @return kOk, or kBadPath, kNoHost, kForeign or kSystem; then nothing is connected.
    [[nodiscard]] CliStatus Connect(const std::string& path,
                                    std::chrono::seconds patience = std::chrono::seconds(0));

    /// Runs a command line.
    /// @return its result; nothing if the host has closed the connection or has timed out. The connection is
    ///         then unusable.
    std::optional<int> Run(std::string_view line, const Print& print);

    /// Returns whether the host has timed out.
    bool HasTimedOut() const { return has_timed_out_; }

    /// Returns whether the last line was "exit". The host then closes the connection.
    bool HasExited() const { return has_exited_; }

    /// Returns the help for the next word of a line; empty if the connection is lost.
    std::string Describe(std::string_view line);

    /// Returns the completion of a line; empty if the connection is lost.
    Completion Complete(std::string_view line);

    /// Returns the host's prompt; nothing if the host has closed the connection. Its last message is then in
    /// `farewell`.
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
    std::string farewell_; ///< the host's last message, until Run() prints it
    bool has_exited_ = false;
    bool has_timed_out_ = false;
};

} // namespace onu_mng_platform

#endif
