#include "tests/cli_oracle.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <regex>
#include <set>

namespace cli_test {
namespace {

using Words = std::vector<FormWord>;

std::vector<std::string> Tokens(const std::string& text, const char* pattern) {
    const std::regex token(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), token), std::sregex_token_iterator()};
}

Alternative AlternativeOf(const std::string& text) {
    std::smatch range;
    if (std::regex_match(text, range, std::regex("<(-?[0-9]+)-(-?[0-9]+)>")))
        return {text, Alternative::kNumber, std::stoll(range[1]), std::stoll(range[2])};
    return {text, text[0] == '<' ? Alternative::kAnything : Alternative::kText, 0, 0};
}

FormWord WordOf(const std::string& token) {
    FormWord word{{}, token[0] == '[' || token[0] == '<'};
    for (const std::string& text : Tokens(token, R"([^\[\]|]+)"))
        word.alternatives.push_back(AlternativeOf(text));
    return word;
}

Words WordsOf(const std::string& tokens) {
    Words words;
    for (const std::string& token : Tokens(tokens, R"(\[[^\]]*\]|<[^>]*>|[^ ]+)"))
        words.push_back(WordOf(token));
    return words;
}

/// Every order of every choice of the groups.
void Arrange(std::vector<Words> groups, const Words& so_far, std::vector<Words>* forms) {
    forms->push_back(so_far);
    for (size_t i = 0; i < groups.size(); ++i) {
        std::vector<Words> others = groups;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
        Words longer = so_far;
        longer.insert(longer.end(), groups[i].begin(), groups[i].end());
        Arrange(others, longer, forms);
    }
}

std::vector<Words> Expand(const std::string& syntax) {
    std::vector<Words> forms = {{}};
    const std::string group = R"(\{[^}]*\}\*1)";
    for (const std::string& part : Tokens(syntax, R"((?:\{[^}]*\}\*1 *)+|[^{]+)")) {
        std::vector<Words> groups;
        for (const std::string& text : Tokens(part, group.c_str()))
            groups.push_back(WordsOf(text.substr(1, text.size() - 4)));
        std::vector<Words> longer;
        for (const Words& form : forms) {
            Words plain = form;
            if (groups.empty()) {
                const Words words = WordsOf(part);
                plain.insert(plain.end(), words.begin(), words.end());
                longer.push_back(plain);
            } else {
                Arrange(groups, form, &longer);
            }
        }
        forms = longer;
    }
    return forms;
}

enum Rank { kNo, kValue, kShort, kFull };

bool IsNumber(const std::string& typed, long long low, long long high) {
    const size_t sign = typed[0] == '-' ? 1 : 0;
    if (typed.size() == sign || typed.find_first_not_of("0123456789", sign) != std::string::npos)
        return false;
    errno = 0;
    const long long number = std::strtoll(typed.c_str(), nullptr, 10);
    return errno == 0 && low <= number && number <= high;
}

Rank RankOf(const Alternative& alternative, const std::string& typed) {
    if (alternative.kind == Alternative::kAnything) return kValue;
    if (alternative.kind == Alternative::kNumber)
        return IsNumber(typed, alternative.low, alternative.high) ? kValue : kNo;
    if (alternative.text == typed) return kFull;
    return alternative.text.compare(0, typed.size(), typed) == 0 ? kShort : kNo;
}

/// The alternative of `word` that `typed` is with that rank; else null.
const std::string* Find(const FormWord& word, const std::string& typed, Rank rank) {
    for (const Alternative& alternative : word.alternatives)
        if (RankOf(alternative, typed) == rank) return &alternative.text;
    return nullptr;
}

Rank BestRank(const std::vector<const Form*>& forms, size_t at, const std::string& typed) {
    Rank best = kNo;
    for (const Form* form : forms)
        for (size_t i = 0; at < form->words.size() && i < form->words[at].alternatives.size(); ++i)
            best = std::max(best, RankOf(form->words[at].alternatives[i], typed));
    return best;
}

/// Leaves the forms that go on with `typed`; none when it may be short for different words.
void Narrow(std::vector<const Form*>* forms, size_t at, const std::string& typed) {
    const Rank best = BestRank(*forms, at, typed);
    std::set<std::string> meant;
    std::vector<const Form*> left;
    for (const Form* form : *forms) {
        if (best == kNo || at >= form->words.size()) continue;
        for (const Alternative& alternative : form->words[at].alternatives)
            if (RankOf(alternative, typed) == best) meant.insert(alternative.text);
        if (Find(form->words[at], typed, best) != nullptr) left.push_back(form);
    }
    if (best == kShort && meant.size() > 1) left.clear();
    *forms = left;
}

std::vector<std::string> Delivered(const Form& form, const std::vector<std::string>& typed) {
    std::vector<std::string> words = {form.command->name};
    for (size_t i = 0; i < typed.size(); ++i) {
        if (!form.words[i].delivered) continue;
        const std::string* full = Find(form.words[i], typed[i], kFull);
        const std::string* shortened = Find(form.words[i], typed[i], kShort);
        words.push_back(full != nullptr ? *full : shortened != nullptr ? *shortened : typed[i]);
    }
    return words;
}

} // namespace

std::vector<Form> FormsOf(const std::vector<cmd_element>& commands) {
    std::vector<Form> forms;
    for (const cmd_element& command : commands)
        for (const Words& words : Expand(command.syntax))
            forms.push_back({&command, words});
    return forms;
}

std::vector<std::string> MeaningOf(const std::vector<std::string>& words, const std::vector<Form>& forms) {
    std::vector<const Form*> left;
    for (const Form& form : forms)
        left.push_back(&form);
    for (size_t i = 0; i < words.size(); ++i)
        Narrow(&left, i, words[i]);
    for (const Form* form : left)
        if (form->words.size() == words.size()) return Delivered(*form, words);
    return {};
}

} // namespace cli_test
