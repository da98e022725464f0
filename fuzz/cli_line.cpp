// Command lines against the second opinion on what they mean, with filters too.

#include <nlohmann/json.hpp>

#include "fuzz/input.h"
#include "tests/cli/cli_rules.h"

namespace {

bool IsAsJson(const std::string& line) {
    const cli_test::Words words = cli_test::Matches(line, "[^\\x01-\\x20\\x7f]+");
    const auto bar =
        std::find_if(words.begin(), words.end(), [](const auto& word) { return word[0] == '|'; });
    const cli_test::Words filter(bar, words.end());
    return filter == cli_test::Words{"|", "json"} || filter == cli_test::Words{"|json"};
}

// What follows a "|" is told by the filter's own grammar.
void ExecuteFiltered(cli_test::Rules& rules, const std::string& line) {
    rules.terminal.Text();
    const int result = vty_execute(rules.terminal, rules.node, line.c_str());
    ASSERT_TRUE(result == 0 || result == -1) << line;
    const std::string screen = rules.terminal.Text();
    if (IsAsJson(line) && !screen.empty() && screen != "% Line too long.\r\n")
        ASSERT_TRUE(nlohmann::json::accept(screen)) << line << "\n" << screen;
    cli_test::TakeCall();
}

} // namespace

void TryInput(FuzzInput& input) {
    static cli_test::Rules nodes[] = {cli_test::Rules(cli_test::kNode),
                                      cli_test::Rules(cli_test::kOtherNode)};
    cli_test::Rules& rules = nodes[input.Below(2)];
    const std::string line = input.Until('\0');
    const bool is_plain = line.find_first_of("|!#") == std::string::npos && line.size() < 1024;
    int count = 0;
    if (is_plain)
        rules.Execute(line, &count);
    else
        ExecuteFiltered(rules, line);
    if (line.find('|') == std::string::npos && line.size() < 512) rules.Complete(line, &count);
}
