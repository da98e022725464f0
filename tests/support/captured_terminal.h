/// Terminals and commands for tests.
#ifndef ONU_MNG_TESTS_SUPPORT_CAPTURED_TERMINAL_H
#define ONU_MNG_TESTS_SUPPORT_CAPTURED_TERMINAL_H

#include <deque>
#include <string>

#include "onu_mng_platform/cli.h"

/// A terminal that keeps its output. The first few thousand characters need no allocation.
class CapturedTerminal {
public:
    CapturedTerminal() : terminal(vty_create(&CapturedTerminal::Write, this)) { text.reserve(8192); }
    ~CapturedTerminal() { vty_destroy(terminal); }
    CapturedTerminal(const CapturedTerminal&) = delete;
    CapturedTerminal& operator=(const CapturedTerminal&) = delete;

    operator vty*() const { return terminal; }
    /// The characters since the last call.
    std::string Text() {
        std::string taken = text;
        text.clear();
        return taken;
    }

private:
    static void Write(void* self, const char* data, size_t size) {
        static_cast<CapturedTerminal*>(self)->text.append(data, size);
    }
    std::string text;
    vty* const terminal;
};

/// Installs a command with its syntax as its name. It stays for the rest of the process.
/// @return the result of install_element().
inline int Install(unsigned int node, const std::string& syntax, cmd_handler handler,
                   const char* help = nullptr) {
    static std::deque<std::string> syntaxes;
    static std::deque<cmd_element> commands;
    const char* const kept = syntaxes.emplace_back(syntax).c_str();
    return install_element(node, &commands.emplace_back(cmd_element{kept, handler, help, 0, 0, kept}));
}

#endif
