/// Regular expressions of operators, kept within bounds.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_PATTERN_H
#define ONU_MNG_PLATFORM_COMMON_CLI_PATTERN_H

#include <regex.h>

#include <string>

namespace onu_mng_platform {

/// A POSIX extended regular expression. What lets an expression of a few characters take unbounded memory or
/// time is refused: more than 128 characters, more than 8 "+", repetition counts in braces, back-references.
/// Used by one task.
class Pattern {
public:
    Pattern() = default;
    ~Pattern() { Free(); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    /// Takes `text`. @return null; else the cause why not, valid as long as the object. Throws
    /// std::bad_alloc.
    const char* Compile(const std::string& text);

    /// Whether any part of `line` matches; nothing matches without an expression.
    bool IsIn(const std::string& line);

private:
    int Renew();
    void Free();

    std::string text_;
    regex_t regex_{};
    size_t matched_ = 0; ///< characters looked at since regex_ was compiled
    bool compiled_ = false;
    char cause_[80] = "";
};

} // namespace onu_mng_platform

#endif
