/// Access for operators: the console and the socket.
#ifndef OLT_HOST_OPERATORS_OPERATORS_H
#define OLT_HOST_OPERATORS_OPERATORS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace olt_host {

/// Serves the commands of a node on the host's console and over a socket, if the port supports that. The
/// destructor ends all sessions and waits for running commands, so the objects that commands use must outlive
/// it.
///
/// Thread safety: one task uses it.
class Operators {
public:
    /// The log module and level of messages about operators and for them.
    static constexpr unsigned int kLogModule = 2;
    static constexpr int kLogLevel = 12;

    explicit Operators(unsigned int node);
    ~Operators();
    Operators(const Operators&) = delete;
    Operators& operator=(const Operators&) = delete;

    /// Starts to serve a socket. @return an error message; empty on success.
    [[nodiscard]] std::string Listen(const std::string& path);

    /// Opens the console. `on_exit` is called in the console's thread when the operator leaves.
    /// @return false if there is no terminal.
    bool OpenConsole(std::function<void()> on_exit);
    void CloseConsole();

    /// Prints text on the console without disturbing the line that is being typed. Does not block.
    void Print(const std::string& text);
    /// Shows a status row at the bottom of the console: the first of `texts` that fits. While it is shown,
    /// Ctrl-C on an empty line leaves the console.
    /// @return false if there is no console or it cannot show the row.
    bool ShowStatus(const std::vector<std::string>& texts);
    void HideStatus();

private:
    class Terminals;
    std::unique_ptr<Terminals> terminals;
};

} // namespace olt_host

#endif
