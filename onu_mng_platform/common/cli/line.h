/// A typed line, taken apart into words.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_LINE_H
#define ONU_MNG_PLATFORM_COMMON_CLI_LINE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace onu_mng_platform {

/// The most characters of a line.
constexpr size_t kMaxLine = 1023;

/// Whether a terminal or the log may obey a character instead of showing it.
constexpr bool IsControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

/// One word of a line and where it starts.
struct TypedWord {
    std::string_view text;
    size_t column;
};

/// The words of a line, split at blanks; what stands behind a word that starts with "|" is its filter.
/// Control characters count as blanks.
struct CommandLine {
    /// Throws std::bad_alloc.
    explicit CommandLine(std::string_view line);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    std::string text; ///< the whole line, control characters replaced; the words point into it
    std::vector<TypedWord> words;
    std::vector<TypedWord> filter; ///< its name and, as one word, all behind it
    bool has_filter = false;

    /// Whether there is nothing to run: an empty line or a comment, which starts with "!" or "#".
    bool IsEmpty() const;

    /// Takes the word off that the line ends in, for a line that is still being typed; empty behind a blank.
    TypedWord TakeUnfinishedWord();

private:
    void AddWord(TypedWord word);
};

} // namespace onu_mng_platform

#endif
