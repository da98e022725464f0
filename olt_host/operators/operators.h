/// Those who type commands.
#ifndef OLT_HOST_OPERATORS_OPERATORS_H
#define OLT_HOST_OPERATORS_OPERATORS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace olt_host {

/// Serves the commands of a node on the host's console and over a socket, where the port can. The destructor
/// ends all sessions and waits for the commands that run: what they look at outlives it.
///
/// Thread safety: one task uses it.
class Operators {
public:
    /// What operators do, and what they are told, is logged under this number and at this level.
    static constexpr unsigned int kLogModule = 2;
    static constexpr int kLogLevel = 12;

    explicit Operators(unsigned int node);
    ~Operators();
    Operators(const Operators&) = delete;
    Operators& operator=(const Operators&) = delete;

    /// Serves a socket. @return what could not be done; empty when it was.
    std::string Listen(const std::string& path);

    /// Opens the console; `on_exit` is called in its thread when the operator leaves.
    /// @return false where there is no terminal.
    bool OpenConsole(std::function<void()> on_exit);
    void CloseConsole();

    /// Prints text on the console without disturbing what is typed there. Does not wait.
    void Print(const std::string& text);
    /// Shows the first of `texts` that fits in a row at the bottom of the console, until it is hidden.
    /// Meanwhile Ctrl-C on an empty line leaves the console.
    /// @return false where there is no console, or none that can show it.
    bool ShowStatus(const std::vector<std::string>& texts);
    void HideStatus();

private:
    class Terminals;
    std::unique_ptr<Terminals> terminals;
};

} // namespace olt_host

#endif
