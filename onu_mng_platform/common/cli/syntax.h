/// The parsed syntax of one command.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_SYNTAX_H
#define ONU_MNG_PLATFORM_COMMON_CLI_SYNTAX_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace onu_mng_platform {

/// How well a typed word fits a word of a syntax. The best fit has the greatest value.
enum class Fit : unsigned char {
    kNone,
    kNotANumber,
    kOutOfRange,
    kValue,
    kShortened,
    kExact,
};

/// Returns whether a word with this fit is valid.
constexpr bool IsAccepted(Fit fit) {
    return fit >= Fit::kValue;
}

/// One word that is valid at a position.
struct SyntaxWord {
    enum class Kind : unsigned char { kKeyword, kNumber, kName };

    std::string text; ///< the keyword, or the value in angle brackets
    std::string help; ///< empty if the command has no help for it
    long long low = 0;
    long long high = 0;
    Kind kind = Kind::kKeyword;
    bool delivered = false; ///< passed to the handler as an argument

    bool IsValue() const { return kind != Kind::kKeyword; }
    Fit FitOf(std::string_view typed) const;
};

/// A parsed syntax string (its rules are in cli.h). Matching a line moves from Place to Place. All words that
/// may come next at a place differ, so there is always one current place.
///
/// Thread safety: immutable after Parse().
class Syntax {
public:
    static constexpr unsigned kMaxWords = 64;
    static constexpr unsigned kMaxGroups = 32;

    /// The position of a line in the syntax.
    struct Place {
        unsigned step = 0;   ///< the first step that may come next
        uint32_t groups = 0; ///< a bit for each group that has begun
    };

    /// Parses `syntax` and assigns the lines of `help` to its words. `help` may be null. Throws
    /// std::bad_alloc.
    /// @return nothing if the syntax breaks the rules.
    static std::optional<Syntax> Parse(const char* syntax, const char* help);

    /// Calls `visit(word, place_after_it)` for each word that may come next.
    template <typename Visitor>
    void ForEachNext(Place place, Visitor&& visit) const;

    /// Returns whether the line may end here.
    bool MayEnd(Place place) const;

    /// Returns the maximum number of arguments from one line.
    unsigned MaxDelivered() const;

private:
    friend class SyntaxReader;

    /// A position for one of several alternative words. A step with `skip` begins a group, which may be
    /// skipped: the line may continue at step `skip`.
    struct Step {
        std::vector<SyntaxWord> words;
        unsigned next = 0;
        unsigned skip = 0;
        uint32_t group = 0; ///< bit of the group that begins here
    };

    bool IsDefinite() const;
    bool NextWordsDiffer(Place place) const;
    void TakeHelp(std::string_view help);

    std::vector<Step> steps_;
};

template <typename Visitor>
void Syntax::ForEachNext(Place place, Visitor&& visit) const {
    for (unsigned at = place.step; at < steps_.size(); at = steps_[at].skip) {
        const Step& step = steps_[at];
        if ((place.groups & step.group) == 0) {
            for (const SyntaxWord& word : step.words)
                visit(word, Place{step.next, place.groups | step.group});
        }
        if (step.skip == 0) return;
    }
}

} // namespace onu_mng_platform

#endif
