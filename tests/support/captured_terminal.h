/// A terminal for tests.
#ifndef ONU_MNG_TESTS_SUPPORT_CAPTURED_TERMINAL_H
#define ONU_MNG_TESTS_SUPPORT_CAPTURED_TERMINAL_H

#include <string>
#include <utility>

#include "onu_mng_platform/cli.h"

/// A terminal that keeps what is written to it; the first few thousand characters take no memory.
class CapturedTerminal {
public:
    CapturedTerminal() : terminal(vty_create(&CapturedTerminal::Write, this)) { text.reserve(8192); }
    ~CapturedTerminal() { vty_destroy(terminal); }
    CapturedTerminal(const CapturedTerminal&) = delete;
    CapturedTerminal& operator=(const CapturedTerminal&) = delete;

    operator vty*() const { return terminal; }
    /// The characters since the last call.
    std::string Text() { return std::exchange(text, {}); }

private:
    static void Write(void* self, const char* data, size_t size) {
        static_cast<CapturedTerminal*>(self)->text.append(data, size);
    }
    std::string text;
    vty* const terminal;
};

#endif
