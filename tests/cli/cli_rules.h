/// Checks lines of one node against the second opinion on what they mean.
#ifndef ONU_MNG_TESTS_CLI_CLI_RULES_H
#define ONU_MNG_TESTS_CLI_CLI_RULES_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "onu_mng_platform/common/cli/assist.h"
#include "tests/cli/cli_oracle.h"
#include "tests/cli/cli_test_commands.h"
#include "tests/support/captured_terminal.h"

namespace cli_test {

class Rules {
public:
    explicit Rules(unsigned int of_node) : node(of_node), forms(AllForms(of_node)) {}

    /// Executes a line without a filter, and counts it when it is accepted.
    void Execute(const std::string& line, int* accepted) {
        const Words words = Matches(line, "[^\\x01-\\x20\\x7f]+");
        Words meaning = MeaningOf(words, forms);
        const int result = vty_execute(terminal, node, line.c_str());
        const std::string screen = terminal.Text();
        ASSERT_EQ(result, meaning.empty() && !words.empty() ? -1 : 0) << line;
        ASSERT_EQ(IsError(screen), result != 0) << line << "\nscreen: " << screen;
        *accepted += meaning.empty() ? 0 : 1;
        if (!meaning.empty() && meaning[0].empty()) meaning.clear(); // commands of every node tell nothing
        ASSERT_EQ(TakeCall(), meaning) << "typed: " << line << "\nscreen: " << screen;
    }

    /// Completes a line, and counts it when there is something to complete.
    void Complete(const std::string& line, int* completed) {
        const onu_mng_platform::Completion tab = onu_mng_platform::Complete(terminal, node, line);
        onu_mng_platform::Describe(terminal, node, line);
        const std::string help = "\n" + terminal.Text();
        for (const std::string& choice : tab.choices)
            ASSERT_NE(help.find("\n  " + choice), std::string::npos) << line << "\nhelp: " << help;
        if (tab.insert.empty()) return;
        onu_mng_platform::Describe(terminal, node, line + tab.insert);
        ASSERT_FALSE(IsError(terminal.Text())) << line << "\nTAB: " << tab.insert;
        ++*completed;
    }

    const unsigned int node;
    const std::vector<Form> forms;
    CapturedTerminal terminal;

private:
    static std::vector<Form> AllForms(unsigned int node) {
        Install();
        std::vector<cmd_element> commands = Commands(node);
        for (const char* name : {"help", "list", "exit"})
            commands.push_back({name, nullptr, nullptr, 0, 0, ""});
        return FormsOf(commands);
    }
    static bool IsError(const std::string& screen) { return screen.compare(0, 2, "% ") == 0; }
};

} // namespace cli_test

#endif
