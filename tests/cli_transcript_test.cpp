// Transcripts: lines as an operator types them and the screens that follow. A line that ends in "?" or
// "<TAB>" is one on which that key is pressed. "olt# " is the prompt of the library's commands, "lab# " that
// of the others.
//
// With ONU_MNG_UPDATE_GOLDEN in the environment the transcripts are written anew, to be read before a commit.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli_assist.h"
#include "onu_mng_platform/common/cli_terminal.h"
#include "tests/cli_test_commands.h"
#include "tests/support/captured_terminal.h"

namespace {

bool TakeEnd(std::string* text, const std::string& end) {
    if (text->size() < end.size() || text->compare(text->size() - end.size(), end.size(), end) != 0)
        return false;
    text->resize(text->size() - end.size());
    return true;
}

/// Text with its CR LF as line feeds; a line end of any other kind shows.
std::string Readable(const std::string& text) {
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

std::string Replay(const std::string& transcript) {
    Operator olt(cli_test::kNode);
    Operator lab(cli_test::kOtherNode);
    std::istringstream lines(transcript);
    std::string screen;
    for (std::string line; std::getline(lines, line);) {
        const std::string prompt = line.substr(0, 5);
        if (line[0] == '#') screen += line + "\n";
        if (prompt == "olt# ") screen += line + "\n" + olt.Type(line.substr(5));
        if (prompt == "lab# ") screen += line + "\n" + lab.Type(line.substr(5));
    }
    return screen;
}

class CliTranscriptTest : public testing::TestWithParam<const char*> {};

TEST_P(CliTranscriptTest, ShowsWhatItShowed) {
    cli_test::Install();
    const std::string path = std::string(ONU_MNG_GOLDEN_DIR "/cli_") + GetParam() + ".txt";
    std::ifstream file(path);
    const std::string golden{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(golden.empty()) << path;
    const std::string screen = Replay(golden);
    if (std::getenv("ONU_MNG_UPDATE_GOLDEN") != nullptr) std::ofstream(path) << screen;
    EXPECT_EQ(screen, golden);
}

INSTANTIATE_TEST_SUITE_P(Files, CliTranscriptTest, testing::Values("words", "errors", "help", "filters"),
                         [](const auto& file) { return std::string(file.param); });

} // namespace
