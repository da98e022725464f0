/// A typed line, split into words.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_LINE_H
#define ONU_MNG_PLATFORM_COMMON_CLI_LINE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace onu_mng_platform {

/// The maximum length of a line in characters.
constexpr size_t kMaxLine = 1023;

/// Returns whether a character is a control character.
constexpr bool IsControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

/// One word of a line and where it starts.
struct TypedWord {
    std::string_view text;
    size_t column;
};

/// The words of a line, split at blanks. A word that starts with "|" starts the filter. Control characters
/// count as blanks.
struct CommandLine {
    /// Throws std::bad_alloc.
    explicit CommandLine(std::string_view line);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    std::string text; ///< the whole line with control characters replaced; the words point into it
    std::vector<TypedWord> words;
    std::vector<TypedWord> filter; ///< the filter's name, then the rest of the line as one word
    bool has_filter = false;

    /// Returns whether there is nothing to run: the line is empty or a comment that starts with "!" or "#".
    bool IsEmpty() const;

    /// Removes and returns the last word, for a line that is still being typed. The result is empty if the
    /// line ends in a blank.
    TypedWord TakeUnfinishedWord();

private:
    void AddWord(TypedWord word);
};

} // namespace onu_mng_platform

#endif
