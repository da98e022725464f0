// Random lines: whatever is typed, a handler gets what its syntax allows, or the line is refused.

#include <gtest/gtest.h>

#include "tests/cli/cli_rules.h"
#include "tests/support/seeded.h"

namespace {

using cli_test::Form;
using cli_test::Words;

/// Types lines that follow the grammar more or less.
class Typist {
public:
    explicit Typist(const std::vector<Form>& forms) : forms_(forms) {}

    std::string Line() {
        Words words;
        for (const Words& alternatives : Pick(forms_).words)
            words.push_back(Type(Pick(alternatives)));
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

    std::string Type(const std::string& alternative) {
        long long low = 0;
        long long high = 0;
        if (alternative[0] != '<')
            return alternative.substr(0, random_.Below(3) == 0 ? 1 + random_.Below(Size(alternative)) : 99);
        if (!cli_test::IsRange(alternative, &low, &high)) return Pick(kValues);
        const long long beyond = random_.Below(static_cast<unsigned int>(high - low) + 3);
        return std::to_string(low - 1 + beyond) + (random_.Below(20) == 0 ? Pick(kEndings) : "");
    }

    /// Leaves a word out, or types one twice or one of another line.
    void Err(Words* words) {
        const auto at = words->begin() + random_.Below(Size(*words) + 1);
        const unsigned int mistake = random_.Below(3);
        if (mistake == 0 || at == words->end())
            words->insert(at, Type(Pick(Pick(Pick(forms_).words))));
        else if (mistake == 1)
            words->insert(at, std::string(*at));
        else
            words->erase(at);
    }

    const Words kValues = {"3", "-7", "0", "off", "type", "4,7", "KVXQ-12345678", "%s%n", "+1"};
    const Words kEndings = {"99999999999999999999", "x", ".0", "e1", "-", "000000000000000000000"};

    const std::vector<Form>& forms_;
    Seeded random_;
};

class CliRandomTest : public testing::TestWithParam<unsigned int> {
protected:
    cli_test::Rules rules{GetParam()};
    Typist typist{rules.forms};
};

TEST_P(CliRandomTest, HandlersGetWhatTheirSyntaxAllowsAndNothingElse) {
    int accepted = 0;
    for (int i = 0; i < 50000; ++i)
        ASSERT_NO_FATAL_FAILURE(rules.Execute(typist.Line(), &accepted));
    EXPECT_GT(accepted, 10000);
    EXPECT_LT(accepted, 40000);
}

TEST_P(CliRandomTest, CompletionsCanStandWhereTheyAreOffered) {
    int completed = 0;
    for (int i = 0; i < 5000; ++i) {
        std::string line = typist.Line();
        line.resize(line.size() * (static_cast<size_t>(i) % 7) / 6);
        ASSERT_NO_FATAL_FAILURE(rules.Complete(line, &completed));
    }
    EXPECT_GT(completed, 100);
}

INSTANTIATE_TEST_SUITE_P(Nodes, CliRandomTest, testing::Values(cli_test::kNode, cli_test::kOtherNode));

} // namespace
