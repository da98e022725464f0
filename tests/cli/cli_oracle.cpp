#include "tests/cli/cli_oracle.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>

namespace cli_test {
namespace {

using Words = std::vector<FormWord>;

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        if (!part.empty()) parts.push_back(part);
    return parts;
}

Alternative AlternativeOf(const std::string& text) {
    long long low = 0;
    long long high = 0;
    if (std::sscanf(text.c_str(), "<%lld-%lld>", &low, &high) == 2)
        return {text, Alternative::kNumber, low, high};
    return {text, text[0] == '<' ? Alternative::kAnything : Alternative::kText, 0, 0};
}

FormWord WordOf(const std::string& token) {
    const bool is_choice = token[0] == '[';
    FormWord word{{}, is_choice || token[0] == '<'};
    for (const std::string& text : Split(is_choice ? token.substr(1, token.size() - 2) : token, '|'))
        word.alternatives.push_back(AlternativeOf(text));
    return word;
}

Words WordsOf(const std::string& tokens) {
    Words words;
    for (const std::string& token : Split(tokens, ' '))
        words.push_back(WordOf(token));
    return words;
}

/// The syntax as plain words and, of groups that stand behind each other, what is in their braces.
struct Part {
    Words plain;
    std::vector<Words> groups;
};

std::vector<Part> PartsOf(const std::string& syntax) {
    std::vector<Part> parts;
    bool in_groups = true;
    for (size_t at = 0; at < syntax.size();) {
        const bool is_group = syntax[at] == '{';
        if (!is_group || !in_groups || parts.empty()) parts.emplace_back();
        in_groups = is_group;
        const size_t end = std::min(syntax.find(is_group ? '}' : ' ', at), syntax.size());
        if (is_group)
            parts.back().groups.push_back(WordsOf(syntax.substr(at + 1, end - at - 1)));
        else
            parts.back().plain = WordsOf(syntax.substr(at, end - at));
        at = std::min(syntax.find_first_not_of(' ', is_group ? end + 3 : end), syntax.size());
    }
    return parts;
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
    for (const Part& part : PartsOf(syntax)) {
        std::vector<Words> longer;
        for (Words form : forms) {
            form.insert(form.end(), part.plain.begin(), part.plain.end());
            Arrange(part.groups, form, &longer);
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
    std::vector<std::string> words = {form.command};
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
            forms.push_back({command.name, words});
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
