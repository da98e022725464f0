/// Finds the command that a line means.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_MATCH_H
#define ONU_MNG_PLATFORM_COMMON_CLI_MATCH_H

#include <string_view>
#include <vector>

#include "onu_mng_platform/common/cli/commands.h"
#include "onu_mng_platform/common/cli/line.h"

namespace onu_mng_platform {

/// Something that may stand at a place of a line, for lists on the terminal.
struct Option {
    std::string_view text;
    std::string_view help;
    bool is_value;
};

/// Why a word cannot stand where it was typed.
enum class Fault : unsigned char { kUnknown, kAmbiguous, kNotANumber, kOutOfRange };

/// The commands that the words taken so far may still become. Each word must be unambiguous where it stands;
/// a keyword in full wins over a shortened one, and that over a value.
///
/// Views point into the command list and the words, which outlive the match. Operations throw std::bad_alloc.
class Match {
public:
    explicit Match(const CommandList& commands);

    /// Goes on by one word.
    /// @return false when it cannot stand here: fault() tells why and nothing else has changed.
    bool Take(TypedWord word);
    Fault fault() const { return fault_; }

    /// The command that the words make up; null when they are not complete.
    const Command* Complete() const;

    /// The words that the command of Complete() is given.
    std::vector<std::string_view> Arguments() const;

    /// What may come next and begins like `start`: keywords in the order of the alphabet, then values.
    std::vector<Option> Next(std::string_view start) const;

    /// Whether only words that the handler is given may come next.
    bool WantsArgument() const;

    /// What may stand where Take() refused a word: the words that it may be short for when it is ambiguous,
    /// else all.
    std::vector<Option> Meant(std::string_view refused) const;

private:
    struct Candidate {
        const Command* command;
        Syntax::Place place;
        std::vector<const SyntaxWord*> path;
    };
    struct Hit {
        const Candidate* candidate;
        const SyntaxWord* word;
        Syntax::Place place;
    };

    template <typename Accept>
    std::vector<Option> Options(Accept&& accept) const;
    Fit CollectHits(std::string_view typed, std::vector<Hit>* hits) const;
    const Candidate* Chosen() const;

    std::vector<Candidate> candidates_;
    std::vector<std::string_view> typed_;
    Fault fault_ = Fault::kUnknown;
};

} // namespace onu_mng_platform

#endif
