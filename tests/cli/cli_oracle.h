/// A second opinion on what a line means: every form that a syntax allows, written out.
#ifndef ONU_MNG_TESTS_CLI_CLI_ORACLE_H
#define ONU_MNG_TESTS_CLI_CLI_ORACLE_H

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"

namespace cli_test {

using Words = std::vector<std::string>;

/// One sequence of words that a syntax allows. A word is the alternatives that may be typed for it.
struct Form {
    std::string command;
    std::vector<Words> words;
    std::vector<bool> delivered; ///< whether the handler is given the word
};

inline Words Matches(const std::string& text, const char* pattern) {
    const std::regex regex(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), regex), {}};
}

/// Appends to `forms` the words of `so_far` with everything that may follow them. Of groups that stand
/// together each may be left out, and they come in any order.
inline void Expand(const Words& tokens, Words so_far, std::vector<Words>* forms) {
    const auto word = std::find_if(tokens.begin(), tokens.end(), [](const auto& t) { return t[0] != '{'; });
    for (auto group = tokens.begin(); group != word; ++group) {
        Words others = tokens;
        others.erase(others.begin() + (group - tokens.begin()));
        Words longer = so_far;
        for (const std::string& each : Matches(group->substr(1, group->size() - 4), "[^ ]+"))
            longer.push_back(each);
        Expand(others, longer, forms);
    }
    if (word == tokens.end()) return forms->push_back(so_far);
    so_far.push_back(*word);
    Expand({word + 1, tokens.end()}, so_far, forms);
}

/// All forms of all commands, those of earlier commands first.
inline std::vector<Form> FormsOf(const std::vector<cmd_element>& commands) {
    std::vector<Form> forms;
    for (const cmd_element& command : commands) {
        std::vector<Words> expanded;
        Expand(Matches(command.syntax, "\\{.*?\\}\\*1|[^ ]+"), {}, &expanded);
        for (const Words& words : expanded) {
            Form& form = forms.emplace_back(Form{command.name, {}, {}});
            for (const std::string& word : words) {
                form.words.push_back(Matches(word, "[^\\[\\]|]+"));
                form.delivered.push_back(word[0] == '[' || word[0] == '<');
            }
        }
    }
    return forms;
}

/// Whether an alternative is a range of numbers, and which.
inline bool IsRange(const std::string& alternative, long long* low, long long* high) {
    char* end = nullptr;
    *low = std::strtoll(alternative.c_str() + 1, &end, 10);
    if (end == alternative.c_str() + 1) return false;
    *high = std::strtoll(end + 1, &end, 10);
    return true;
}

/// How well a typed word fits an alternative.
enum Rank { kNo, kValue, kShort, kFull };

inline Rank RankOf(const std::string& alternative, const std::string& typed) {
    if (alternative[0] != '<') {
        if (alternative == typed) return kFull;
        return alternative.compare(0, typed.size(), typed) == 0 ? kShort : kNo;
    }
    long long low = 0;
    long long high = 0;
    if (!IsRange(alternative, &low, &high)) return kValue;
    const size_t sign = typed[0] == '-' ? 1 : 0;
    if (typed.size() == sign || typed.find_first_not_of("0123456789", sign) != std::string::npos) return kNo;
    errno = 0;
    const long long number = std::strtoll(typed.c_str(), nullptr, 10);
    return errno == 0 && low <= number && number <= high ? kValue : kNo;
}

/// Leaves the forms that go on with `typed`; none when it may be short for different words.
inline void Narrow(std::vector<const Form*>* forms, size_t at, const std::string& typed) {
    Rank best = kValue;
    std::set<std::string> meant;
    std::vector<const Form*> left;
    for (const Form* form : *forms) {
        if (at >= form->words.size()) continue;
        for (const std::string& alternative : form->words[at]) {
            const Rank rank = RankOf(alternative, typed);
            if (rank < best) continue;
            if (rank > best) meant.clear(), left.clear();
            best = rank;
            meant.insert(alternative);
            if (left.empty() || left.back() != form) left.push_back(form);
        }
    }
    if (best == kShort && meant.size() > 1) left.clear();
    *forms = left;
}

/// The name of the command that a line means and the words that its handler is to be given; empty when the
/// line is to be refused.
inline Words MeaningOf(const Words& typed, const std::vector<Form>& forms) {
    std::vector<const Form*> left;
    for (const Form& form : forms)
        left.push_back(&form);
    for (size_t i = 0; i < typed.size(); ++i)
        Narrow(&left, i, typed[i]);
    for (const Form* form : left) {
        if (form->words.size() != typed.size()) continue;
        Words meaning = {form->command};
        for (size_t i = 0; i < typed.size(); ++i) {
            if (!form->delivered[i]) continue;
            const Words& word = form->words[i];
            const auto best = std::max_element(word.begin(), word.end(), [&](const auto& a, const auto& b) {
                return RankOf(a, typed[i]) < RankOf(b, typed[i]);
            });
            meaning.push_back(RankOf(*best, typed[i]) > kValue ? *best : typed[i]);
        }
        return meaning;
    }
    return {};
}

} // namespace cli_test

#endif
