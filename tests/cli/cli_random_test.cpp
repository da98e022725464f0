// Random lines: whatever is typed, a handler gets what its syntax allows, or the line is refused.

#include <algorithm>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli/assist.h"
#include "tests/cli/cli_oracle.h"
#include "tests/cli/cli_test_commands.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/seeded.h"

namespace {

using cli_test::Alternative;
using cli_test::Form;
using cli_test::FormWord;

/// Types lines that follow the grammar more or less.
class Typist {
public:
    explicit Typist(const std::vector<Form>& forms) : forms_(forms) {}

    std::string Line() {
        std::vector<std::string> words;
        for (const FormWord& word : Pick(forms_).words)
            words.push_back(Type(Pick(word.alternatives)));
        for (unsigned int mistakes = random_.Below(8); mistakes > 5; --mistakes)
            Err(&words);
        std::string line;
        for (const std::string& word : words)
            line.append(word).append(random_.Below(20) == 0 ? " \t" : " ");
        if (random_.Below(10) == 0 && !line.empty()) line[random_.Below(Size(line))] = Character();
        return line;
    }

private:
    template <typename List>
    static unsigned int Size(const List& list) {
        return static_cast<unsigned int>(list.size());
    }
    template <typename List>
    const typename List::value_type& Pick(const List& list) {
        return list[random_.Below(Size(list))];
    }

    char Character() {
        const char c = random_.Byte();
        // A filter would be refused by a grammar of its own; a comment is no command.
        return c == '|' || c == '!' || c == '#' || c == '\0' ? 'x' : c;
    }

    std::string Type(const Alternative& word) {
        if (word.kind == Alternative::kNumber) return Number(word.low, word.high);
        if (word.kind == Alternative::kAnything) return Pick(kValues);
        return random_.Below(3) == 0 ? word.text.substr(0, 1 + random_.Below(Size(word.text))) : word.text;
    }

    std::string Number(long long low, long long high) {
        const auto beyond = static_cast<long long>(random_.Below(static_cast<unsigned int>(high - low) + 3));
        const std::string number = std::to_string(low - 1 + beyond);
        return random_.Below(20) == 0 ? number + Pick(kEndings) : number;
    }

    void Err(std::vector<std::string>* words) {
        if (words->empty()) return words->push_back(Pick(kValues));
        const auto at = words->begin() + random_.Below(Size(*words));
        switch (random_.Below(4)) {
        case 0:
            words->erase(at);
            break;
        case 1:
            words->insert(at, std::string(*at));
            break;
        case 2:
            std::iter_swap(at, words->begin() + random_.Below(Size(*words)));
            break;
        default:
            words->insert(at, Type(Pick(Pick(Pick(forms_).words).alternatives)));
        }
    }

    const std::vector<std::string> kValues = {"3",    "-7", "0", "off", "type", "4,7", "KVXQ-12345678",
                                              "%s%n", "+1"};
    const std::vector<std::string> kEndings = {"99999999999999999999", "x", ".0", "e1", "-",
                                               "000000000000000000000"};

    const std::vector<Form>& forms_;
    Seeded random_;
};

std::vector<std::string> WordsOf(std::string line) {
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, ' ');
    std::vector<std::string> words;
    for (size_t at = 0; (at = line.find_first_not_of(' ', at)) < line.size();) {
        const size_t end = std::min(line.find(' ', at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}

std::vector<Form> AllForms(unsigned int node) {
    cli_test::Install();
    std::vector<cmd_element> commands = cli_test::Commands(node);
    for (const char* name : {"help", "list", "exit"})
        commands.push_back({name, nullptr, nullptr, 0, 0, ""});
    return cli_test::FormsOf(commands);
}

/// The call that a meaning leads to; the commands of every node tell nothing.
std::vector<std::string> CallOf(const std::vector<std::string>& meaning) {
    return meaning.empty() || meaning[0].empty() ? std::vector<std::string>() : meaning;
}

bool IsError(const std::string& screen) {
    return screen.compare(0, 2, "% ") == 0;
}

class CliRandomTest : public testing::TestWithParam<unsigned int> {
protected:
    const std::vector<Form> forms = AllForms(GetParam());
    Typist typist{forms};
    CapturedTerminal terminal;
};

TEST_P(CliRandomTest, HandlersGetWhatTheirSyntaxAllowsAndNothingElse) {
    int accepted = 0;
    for (int i = 0; i < 50000; ++i) {
        const std::string line = typist.Line();
        const std::vector<std::string> words = WordsOf(line);
        const std::vector<std::string> meaning = cli_test::MeaningOf(words, forms);
        const int result = vty_execute(terminal, GetParam(), line.c_str());
        const std::string screen = terminal.Text();
        ASSERT_EQ(cli_test::TakeCall(), CallOf(meaning)) << "typed: " << line << "\nscreen: " << screen;
        ASSERT_EQ(result, meaning.empty() && !words.empty() ? -1 : 0) << line;
        ASSERT_EQ(IsError(screen), result != 0) << line << "\nscreen: " << screen;
        accepted += meaning.empty() ? 0 : 1;
    }
    EXPECT_GT(accepted, 10000);
    EXPECT_LT(accepted, 40000);
}

TEST_P(CliRandomTest, CompletionsCanStandWhereTheyAreOffered) {
    int completed = 0;
    for (int i = 0; i < 5000; ++i) {
        std::string line = typist.Line();
        line.resize(line.size() * (static_cast<size_t>(i) % 7) / 6);
        const onu_mng_platform::Completion tab = onu_mng_platform::Complete(terminal, GetParam(), line);
        onu_mng_platform::Describe(terminal, GetParam(), line);
        const std::string help = "\n" + terminal.Text();
        for (const std::string& choice : tab.choices)
            ASSERT_NE(help.find("\n  " + choice), std::string::npos) << line << "\nhelp: " << help;
        if (tab.insert.empty()) continue;
        onu_mng_platform::Describe(terminal, GetParam(), line + tab.insert);
        ASSERT_FALSE(IsError(terminal.Text())) << line << "\nTAB: " << tab.insert;
        ++completed;
    }
    EXPECT_GT(completed, 100);
}

INSTANTIATE_TEST_SUITE_P(Nodes, CliRandomTest, testing::Values(cli_test::kNode, cli_test::kOtherNode));

} // namespace
