/// Those who type commands.
#ifndef OLT_HOST_OPERATORS_OPERATORS_H
#define OLT_HOST_OPERATORS_OPERATORS_H

#include <functional>
#include <memory>
#include <string>

namespace olt_host {

/// Serves the commands of a node on the host's console and over a socket, where the port can. The destructor
/// ends all sessions and waits for the commands that run: what they look at outlives it.
class Operators {
public:
    explicit Operators(unsigned int node);
    ~Operators();
    Operators(const Operators&) = delete;
    Operators& operator=(const Operators&) = delete;

    /// Serves a socket. @return what could not be done; empty when it was.
    std::string Listen(const std::string& path);

    /// Opens the console; `on_exit` is called in its thread when the operator leaves.
    /// @return false where there is no terminal.
    bool OpenConsole(std::function<void()> on_exit);

private:
    class Terminals;
    std::unique_ptr<Terminals> terminals;
};

} // namespace olt_host

#endif
