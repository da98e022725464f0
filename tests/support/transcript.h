/// Transcripts: files with typed lines and the screens that follow. On a line that ends in "?" or "<TAB>"
/// that key is pressed. A result other than 0 follows the screen in brackets.
///
/// With ONU_MNG_UPDATE_GOLDEN in the environment the files are rewritten. Read the changes before a commit.
#ifndef ONU_MNG_TESTS_SUPPORT_TRANSCRIPT_H
#define ONU_MNG_TESTS_SUPPORT_TRANSCRIPT_H

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/common/cli/terminal.h"
#include "tests/support/captured_terminal.h"

namespace transcript {

/// Replaces CR LF by LF and marks all other line ends.
inline std::string Readable(const std::string& text) {
    const std::string marked =
        std::regex_replace(text, std::regex("(^|[^\r])\n|\r(?!\n)"), "$1<bare line end>");
    return std::regex_replace(marked, std::regex("\r"), "");
}

inline std::string PressTab(vty* terminal, unsigned int node, const std::string& line) {
    const onu_mng_platform::Completion tab = onu_mng_platform::Complete(terminal, node, line);
    std::string screen;
    for (const std::string& choice : tab.choices)
        screen += "  " + choice;
    return screen + (screen.empty() ? "" : "\n") + "\"" + line + tab.insert + "\"\n";
}

/// Types a line and returns the resulting screen.
inline std::string Type(CapturedTerminal& terminal, unsigned int node, const std::string& line) {
    const std::string kTab = "<TAB>";
    const size_t key = line.size() - std::min(line.size(), kTab.size());
    if (line.substr(key) == kTab) return PressTab(terminal, node, line.substr(0, key));
    int result = 0;
    if (!line.empty() && line.back() == '?')
        onu_mng_platform::Describe(terminal, node, line.substr(0, line.size() - 1));
    else
        result = vty_execute(terminal, node, line.c_str());
    return Readable(terminal.Text()) + (result == 0 ? "" : "[" + std::to_string(result) + "]\n");
}

/// Types the lines of a file in tests/golden and expects the screens in the file. A typed line starts with
/// the prompt of its node, which has 5 characters. Lines that start with "#" are comments.
inline void ExpectScreens(const std::string& name, const std::map<std::string, unsigned int>& nodes) {
    const std::string path = ONU_MNG_GOLDEN_DIR "/" + name;
    std::ifstream file(path);
    const std::string golden{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(golden.empty()) << path;
    CapturedTerminal terminal;
    static_cast<vty*>(terminal)->may_save = true;
    std::istringstream lines(golden);
    std::string screen;
    for (std::string line; std::getline(lines, line);) {
        const auto node = nodes.find(line.substr(0, 5));
        if (line[0] == '#' || node != nodes.end()) screen += line + "\n";
        if (node != nodes.end()) screen += Type(terminal, node->second, line.substr(5));
    }
    if (std::getenv("ONU_MNG_UPDATE_GOLDEN") != nullptr) std::ofstream(path) << screen;
    EXPECT_EQ(screen, golden);
}

} // namespace transcript

#endif
