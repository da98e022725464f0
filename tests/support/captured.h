/// What the code under test writes: lines of the log and characters of a terminal.
#ifndef ONU_MNG_TESTS_SUPPORT_CAPTURED_H
#define ONU_MNG_TESTS_SUPPORT_CAPTURED_H

#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/ulog.h"

/// Collects the log from construction to destruction, each line as "level text".
class CapturedLog {
public:
    CapturedLog() { ulogSetSink(&CapturedLog::Take, this); }
    ~CapturedLog() { ulogSetSink(nullptr, nullptr); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    /// The lines since the last call.
    std::vector<std::string> Lines() { return std::move(lines); }

private:
    static void Take(void* self, unsigned int, int level, const char* text) {
        static_cast<CapturedLog*>(self)->lines.push_back(std::to_string(level) + " " + text);
    }
    std::vector<std::string> lines;
};

/// A terminal that keeps what is written to it.
class CapturedTerminal {
public:
    CapturedTerminal() : terminal(vty_create(&CapturedTerminal::Write, this)) {}
    ~CapturedTerminal() { vty_destroy(terminal); }
    CapturedTerminal(const CapturedTerminal&) = delete;
    CapturedTerminal& operator=(const CapturedTerminal&) = delete;

    operator vty*() const { return terminal; }
    /// The characters since the last call.
    std::string Text() { return std::move(text); }

private:
    static void Write(void* self, const char* data, size_t size) {
        static_cast<CapturedTerminal*>(self)->text.append(data, size);
    }
    std::string text;
    vty* const terminal;
};

#endif
