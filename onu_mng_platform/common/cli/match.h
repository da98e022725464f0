/// Finds the command that a line names.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_MATCH_H
#define ONU_MNG_PLATFORM_COMMON_CLI_MATCH_H

#include <string_view>
#include <vector>

#include "onu_mng_platform/common/cli/commands.h"
#include "onu_mng_platform/common/cli/line.h"

namespace onu_mng_platform {

/// A word that is valid at a position of a line, for lists on the terminal.
struct Option {
    std::string_view text;
    std::string_view help;
    bool is_value;
};

/// Why a word is not valid where it was typed.
enum class Fault : unsigned char { kUnknown, kAmbiguous, kNotANumber, kOutOfRange };

/// Matches words against commands and keeps the commands that are still possible. Each word must be
/// unambiguous. A full keyword takes precedence over a shortened one, and a shortened one over a value.
///
/// The command list and the words must outlive the match, because it holds views into them. Operations throw
/// std::bad_alloc.
class Match {
public:
    explicit Match(const CommandList& commands);

    /// Matches the next word.
    /// @return false if it is not valid here. fault() returns the reason, and nothing else has changed.
    bool Take(TypedWord word);
    Fault fault() const { return fault_; }

    /// Returns the command that the words form; null if they are incomplete.
    const Command* Complete() const;

    /// Returns the arguments for the command of Complete().
    std::vector<std::string_view> Arguments() const;

    /// Returns the words that may come next and start with `start`: keywords in alphabetical order, then
    /// values.
    std::vector<Option> Next(std::string_view start) const;

    /// Returns whether all words that may come next are arguments of the handler.
    bool WantsArgument() const;

    /// Returns the valid words where Take() has refused a word. For an ambiguous word only those that it may
    /// abbreviate.
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
