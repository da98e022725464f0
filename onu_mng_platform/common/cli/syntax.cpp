#include "onu_mng_platform/common/cli/syntax.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "onu_mng_platform/common/cli/syntax_reader.h"

namespace onu_mng_platform {
namespace {

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

Fit FitOfNumber(std::string_view typed, long long low, long long high) {
    long long number = 0;
    const char* end = typed.data() + typed.size();
    const auto [stop, error] = std::from_chars(typed.data(), end, number);
    if (stop != end || error == std::errc::invalid_argument) return Fit::kNotANumber;
    if (error != std::errc() || number < low || number > high) return Fit::kOutOfRange;
    return Fit::kValue;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Removes the word from help such as "flag - trace debug switch", which is printed next to the word.
std::string_view WithoutLabel(std::string_view line, std::string_view word) {
    constexpr std::string_view kDash = " - ";
    if (!StartsWith(line, word)) return line;
    const std::string_view rest = line.substr(word.size());
    if (rest.empty()) return rest;
    return StartsWith(rest, kDash) ? rest.substr(kDash.size()) : line;
}

} // namespace

Fit SyntaxWord::FitOf(std::string_view typed) const {
    if (kind == Kind::kName) return Fit::kValue;
    if (kind == Kind::kNumber) return FitOfNumber(typed, low, high);
    if (!StartsWith(text, typed)) return Fit::kNone;
    return typed.size() == text.size() ? Fit::kExact : Fit::kShortened;
}

std::optional<Syntax> Syntax::Parse(const char* syntax, const char* help) {
    Syntax result;
    if (!SyntaxReader(syntax, &result).Read() || !result.IsDefinite()) return std::nullopt;
    if (help != nullptr) result.TakeHelp(help);
    return result;
}

bool Syntax::MayEnd(Place place) const {
    unsigned at = place.step;
    while (at < steps_.size() && steps_[at].skip != 0)
        at = steps_[at].skip;
    return at >= steps_.size();
}

unsigned Syntax::MaxDelivered() const {
    const auto is_delivered = [](const SyntaxWord& word) { return word.delivered; };
    return static_cast<unsigned>(std::count_if(steps_.begin(), steps_.end(), [&](const Step& step) {
        return std::any_of(step.words.begin(), step.words.end(), is_delivered);
    }));
}

// It suffices to check each step with no group begun: places with groups begun only allow fewer words.
bool Syntax::IsDefinite() const {
    for (unsigned at = 0; at < steps_.size(); ++at)
        if (!NextWordsDiffer(Place{at, 0})) return false;
    return !steps_.empty();
}

bool Syntax::NextWordsDiffer(Place place) const {
    std::vector<std::string_view> seen;
    bool differ = true;
    ForEachNext(place, [&](const SyntaxWord& word, Place) {
        const std::string_view key = word.IsValue() ? std::string_view("<>") : word.text;
        if (std::find(seen.begin(), seen.end(), key) != seen.end()) differ = false;
        seen.push_back(key);
    });
    return differ;
}

void Syntax::TakeHelp(std::string_view help) {
    for (Step& step : steps_) {
        for (SyntaxWord& word : step.words) {
            const size_t end = std::min(help.find('\n'), help.size());
            word.help = WithoutLabel(Trimmed(help.substr(0, end)), word.text);
            help.remove_prefix(std::min(end + 1, help.size()));
        }
    }
}

} // namespace onu_mng_platform
