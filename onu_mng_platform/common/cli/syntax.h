/// The grammar of one command: what its syntax string allows, word by word.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_SYNTAX_H
#define ONU_MNG_PLATFORM_COMMON_CLI_SYNTAX_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace onu_mng_platform {

/// How well a typed word fits a word of a syntax; the greatest wins.
enum class Fit : unsigned char {
    kNone,
    kNotANumber,
    kOutOfRange,
    kValue,
    kShortened,
    kExact,
};

/// Whether a line may go on with a word of this fit.
constexpr bool IsAccepted(Fit fit) {
    return fit >= Fit::kValue;
}

/// One word that may be typed at a place.
struct SyntaxWord {
    enum class Kind : unsigned char { kKeyword, kNumber, kName };

    std::string text; ///< what to type; a value in its angle brackets
    std::string help; ///< empty when the command has none for it
    long long low = 0;
    long long high = 0;
    Kind kind = Kind::kKeyword;
    bool delivered = false; ///< handlers are given it

    bool IsValue() const { return kind != Kind::kKeyword; }
    Fit FitOf(std::string_view typed) const;
};

/// A syntax string taken apart (cli.h has its rules). A line walks over it from Place to Place; as the words
/// that may come next at a place differ, there is one place at a time.
///
/// Thread safety: constant after Parse().
class Syntax {
public:
    static constexpr unsigned kMaxWords = 64;
    static constexpr unsigned kMaxGroups = 32;

    /// How far a line has come.
    struct Place {
        unsigned step = 0;   ///< the first step that may come next
        uint32_t groups = 0; ///< one bit for each group that was begun
    };

    /// Takes `syntax` apart and gives its words the lines of `help`, which may be null.
    /// @return nothing for a syntax that breaks the rules. Throws std::bad_alloc.
    static std::optional<Syntax> Parse(const char* syntax, const char* help);

    /// Calls `visit(const SyntaxWord&, Place behind it)` for each word that may come next.
    template <typename Visitor>
    void ForEachNext(Place place, Visitor&& visit) const;

    /// Whether the line may end here.
    bool MayEnd(Place place) const;

    /// The most words that are delivered from one line.
    unsigned MaxDelivered() const;

private:
    friend class SyntaxReader;

    /// One place for a word with its alternatives. A step with `skip` begins a group: the line may go on at
    /// `skip` instead.
    struct Step {
        std::vector<SyntaxWord> words;
        unsigned next = 0;
        unsigned skip = 0;
        uint32_t group = 0; ///< the bit of the group that begins here
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
