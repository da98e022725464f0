/// Transcripts: lines as an operator types them and the screens that follow, in files. A line that ends in
/// "?" or "<TAB>" is one on which that key is pressed; a result other than 0 stands in brackets behind the
/// screen.
///
/// With ONU_MNG_UPDATE_GOLDEN in the environment they are written anew, to be read before a commit.
#ifndef ONU_MNG_TESTS_SUPPORT_TRANSCRIPT_H
#define ONU_MNG_TESTS_SUPPORT_TRANSCRIPT_H

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <sstream>
#include <string>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/common/cli/terminal.h"
#include "tests/support/captured_terminal.h"

namespace transcript {

inline bool TakeEnd(std::string* text, const std::string& end) {
    if (text->size() < end.size() || text->compare(text->size() - end.size(), end.size(), end) != 0)
        return false;
    text->resize(text->size() - end.size());
    return true;
}

/// Text with its CR LF as line feeds; a line end of any other kind shows.
inline std::string Readable(const std::string& text) {
    std::string readable;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool is_end = text.compare(i, 2, "\r\n") == 0;
        if (is_end)
            readable += '\n', ++i;
        else
            readable +=
                text[i] == '\n' || text[i] == '\r' ? std::string("<bare line end>") : text.substr(i, 1);
    }
    return readable;
}

class Operator {
public:
    explicit Operator(unsigned int node) : node_(node) {
        vty* console = terminal_;
        console->may_save = true;
    }

    std::string Type(std::string line) {
        if (TakeEnd(&line, "<TAB>")) return PressTab(line);
        if (TakeEnd(&line, "?")) {
            onu_mng_platform::Describe(terminal_, node_, line);
            return Readable(terminal_.Text());
        }
        const int result = vty_execute(terminal_, node_, line.c_str());
        const std::string screen = Readable(terminal_.Text());
        return result == 0 ? screen : screen + "[" + std::to_string(result) + "]\n";
    }

private:
    std::string PressTab(const std::string& line) {
        const onu_mng_platform::Completion tab = onu_mng_platform::Complete(terminal_, node_, line);
        std::string screen;
        for (const std::string& choice : tab.choices)
            screen += "  " + choice;
        return screen + (screen.empty() ? "" : "\n") + "\"" + line + tab.insert + "\"\n";
    }

    const unsigned int node_;
    CapturedTerminal terminal_;
};

/// The screens that the typed lines of a transcript give. A line starts with the prompt of its node, of 5
/// characters; lines that start with "#" stay.
inline std::string Replay(const std::string& transcript, const std::map<std::string, unsigned int>& nodes) {
    std::map<std::string, Operator> operators;
    for (const auto& [prompt, node] : nodes)
        operators.try_emplace(prompt, node);
    std::istringstream lines(transcript);
    std::string screen;
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == '#') screen += line + "\n";
        const auto at = operators.find(line.substr(0, 5));
        if (at != operators.end()) screen += line + "\n" + at->second.Type(line.substr(5));
    }
    return screen;
}

/// Expects that a file of tests/golden is what its typed lines give.
inline void ExpectScreens(const std::string& name, const std::map<std::string, unsigned int>& nodes) {
    const std::string path = ONU_MNG_GOLDEN_DIR "/" + name;
    std::ifstream file(path);
    const std::string golden{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(golden.empty()) << path;
    const std::string screen = Replay(golden, nodes);
    if (std::getenv("ONU_MNG_UPDATE_GOLDEN") != nullptr) std::ofstream(path) << screen;
    EXPECT_EQ(screen, golden);
}

} // namespace transcript

#endif
