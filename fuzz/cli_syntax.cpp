// Syntax strings: what is taken keeps the rules of cli.h wherever a line goes.

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "fuzz/input.h"
#include "onu_mng_platform/common/cli/syntax.h"

namespace {

using namespace onu_mng_platform;

struct Next {
    const SyntaxWord* word;
    Syntax::Place place;
};

std::vector<Next> NextOf(const Syntax& syntax, Syntax::Place place) {
    std::vector<Next> next;
    syntax.ForEachNext(place, [&next](const SyntaxWord& word, Syntax::Place behind) {
        next.push_back({&word, behind});
    });
    return next;
}

void CheckWord(const SyntaxWord& word) {
    const bool is_number = word.kind == SyntaxWord::Kind::kNumber;
    ASSERT_FALSE(word.text.empty());
    if (!word.IsValue()) ASSERT_EQ(word.FitOf(word.text), Fit::kExact);
    if (is_number) ASSERT_LE(word.low, word.high);
    if (is_number) ASSERT_TRUE(IsAccepted(word.FitOf(std::to_string(word.high)))) << word.text;
}

void CheckDiffer(const std::vector<Next>& next) {
    std::set<std::string> texts;
    int values = 0;
    for (const Next& each : next) {
        ASSERT_TRUE(texts.insert(each.word->text).second) << each.word->text;
        values += each.word->IsValue() ? 1 : 0;
    }
    ASSERT_LE(values, 1);
}

} // namespace

void TryInput(FuzzInput& input) {
    const std::string text = input.Until('\n');
    const std::string help = input.Until('\0');
    const auto syntax = Syntax::Parse(text.c_str(), help.c_str());
    if (!syntax) return;
    Syntax::Place place;
    unsigned int words = 0, delivered = 0;
    for (auto next = NextOf(*syntax, place); !next.empty(); next = NextOf(*syntax, place), ++words) {
        CheckDiffer(next);
        const Next& taken = next[input.Below(static_cast<unsigned int>(next.size()))];
        CheckWord(*taken.word);
        delivered += taken.word->delivered ? 1 : 0;
        place = taken.place;
    }
    EXPECT_TRUE(syntax->MayEnd(place));
    EXPECT_LE(words, Syntax::kMaxWords);
    EXPECT_LE(delivered, syntax->MaxDelivered());
}
