#include "onu_mng_platform/common/cli/match.h"

#include <algorithm>
#include <tuple>

namespace onu_mng_platform {
namespace {

bool IsDigits(std::string_view text) {
    return text.find_first_not_of("-0123456789") == std::string_view::npos;
}

// Returns whether `start` is a possible beginning of `word`.
bool MayBecome(const SyntaxWord& word, std::string_view start) {
    if (word.kind == SyntaxWord::Kind::kNumber) return IsDigits(start);
    return IsAccepted(word.FitOf(start));
}

Fault FaultOf(Fit best) {
    if (best == Fit::kOutOfRange) return Fault::kOutOfRange;
    return best == Fit::kNotANumber ? Fault::kNotANumber : Fault::kUnknown;
}

// Sorts the options and merges those with the same text. A merged option has the first help that is not
// empty.
void SortAndMerge(std::vector<Option>* options) {
    std::stable_sort(options->begin(), options->end(), [](const Option& a, const Option& b) {
        return std::tie(a.is_value, a.text) < std::tie(b.is_value, b.text);
    });
    size_t kept = 0;
    for (const Option& option : *options) {
        if (kept > 0 && (*options)[kept - 1].text == option.text) {
            std::string_view& help = (*options)[kept - 1].help;
            if (help.empty()) help = option.help;
        } else {
            (*options)[kept++] = option;
        }
    }
    options->erase(options->begin() + static_cast<std::ptrdiff_t>(kept), options->end());
}

} // namespace

Match::Match(const CommandList& commands) {
    candidates_.reserve(commands.size());
    for (const auto& command : commands)
        candidates_.push_back(Candidate{command.get(), {}, {}});
}

bool Match::Take(TypedWord word) {
    std::vector<Hit> hits;
    const Fit best = CollectHits(word.text, &hits);
    fault_ = FaultOf(best);
    if (!IsAccepted(best)) return false;

    const auto differs = [&](const Hit& hit) { return hit.word->text != hits.front().word->text; };
    if (best == Fit::kShortened && std::any_of(hits.begin(), hits.end(), differs)) {
        fault_ = Fault::kAmbiguous;
        return false;
    }
    std::vector<Candidate> rest;
    rest.reserve(hits.size());
    for (const Hit& hit : hits) {
        rest.push_back(Candidate{hit.candidate->command, hit.place, hit.candidate->path});
        rest.back().path.push_back(hit.word);
    }
    typed_.push_back(word.text);
    candidates_ = std::move(rest);
    return true;
}

// Collects, of all words that may come next, those that fit best. Returns how well they fit.
Fit Match::CollectHits(std::string_view typed, std::vector<Hit>* hits) const {
    Fit best = Fit::kNone;
    for (const Candidate& candidate : candidates_) {
        candidate.command->syntax.ForEachNext(candidate.place,
                                              [&](const SyntaxWord& word, Syntax::Place place) {
                                                  const Fit fit = word.FitOf(typed);
                                                  if (fit < best || fit == Fit::kNone) return;
                                                  if (fit > best) hits->clear();
                                                  best = fit;
                                                  hits->push_back(Hit{&candidate, &word, place});
                                              });
    }
    return best;
}

const Match::Candidate* Match::Chosen() const {
    for (const Candidate& candidate : candidates_)
        if (candidate.command->syntax.MayEnd(candidate.place)) return &candidate;
    return nullptr;
}

const Command* Match::Complete() const {
    const Candidate* chosen = Chosen();
    return chosen == nullptr ? nullptr : chosen->command;
}

std::vector<std::string_view> Match::Arguments() const {
    std::vector<std::string_view> arguments;
    const Candidate* chosen = Chosen();
    for (size_t i = 0; chosen != nullptr && i < typed_.size(); ++i) {
        const SyntaxWord& word = *chosen->path[i];
        if (word.delivered) arguments.push_back(word.IsValue() ? typed_[i] : std::string_view(word.text));
    }
    return arguments;
}

template <typename Accept>
std::vector<Option> Match::Options(Accept&& accept) const {
    std::vector<Option> options;
    for (const Candidate& candidate : candidates_) {
        candidate.command->syntax.ForEachNext(candidate.place, [&](const SyntaxWord& word, Syntax::Place) {
            if (accept(word)) options.push_back(Option{word.text, word.help, word.IsValue()});
        });
    }
    SortAndMerge(&options);
    return options;
}

std::vector<Option> Match::Next(std::string_view start) const {
    return Options([start](const SyntaxWord& word) { return MayBecome(word, start); });
}

bool Match::WantsArgument() const {
    return Options([](const SyntaxWord& word) { return !word.delivered; }).empty();
}

std::vector<Option> Match::Meant(std::string_view refused) const {
    const bool is_ambiguous = fault_ == Fault::kAmbiguous;
    return Options(
        [&](const SyntaxWord& word) { return !is_ambiguous || word.FitOf(refused) == Fit::kShortened; });
}

} // namespace onu_mng_platform
