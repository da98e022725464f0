/// The operator's end of the conversation in cli_protocol.h.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_CLIENT_H
#define ONU_MNG_PLATFORM_POSIX_CLI_CLIENT_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/posix/cli/listener.h"

namespace onu_mng_platform {

/// A connection to a host. Used by one task; operations block until the host has answered.
class CliClient {
public:
    /// Takes output as it comes.
    using Print = std::function<void(std::string_view)>;

    /// @return kOk; else, with nothing connected, kBadPath, kNoHost or kSystem.
    CliStatus Connect(const std::string& path) { return ConnectTo(path, &connection_); }

    /// Runs a line. @return its result; nothing when the host has closed the connection, which is then of no
    ///         more use.
    std::optional<int> Run(std::string_view line, const Print& print);

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
    bool Receive();

    Descriptor connection_;
    std::string received_;
    std::string farewell_; ///< the host's last words, until Run() prints them
    bool has_exited_ = false;
};

} // namespace onu_mng_platform

#endif
