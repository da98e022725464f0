/// Regular expressions typed by operators, with limits on memory and time.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_PATTERN_H
#define ONU_MNG_PLATFORM_COMMON_CLI_PATTERN_H

#include <regex.h>

#include <string>

namespace onu_mng_platform {

/// A POSIX extended regular expression. To bound memory and time, an expression may have at most 128
/// characters and 8 "+", and neither repetition counts in braces nor back-references. Used by one task.
class Pattern {
public:
    Pattern() = default;
    ~Pattern() { Free(); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    /// Compiles an expression. Throws std::bad_alloc.
    /// @return null, or the reason why it cannot be used. The text is valid as long as the object.
    [[nodiscard]] const char* Compile(const std::string& text);

    /// Returns whether any part of `line` matches. Always false without an expression.
    bool IsIn(const std::string& line);

private:
    int Renew();
    void Free();

    std::string text_;
    regex_t regex_{};
    size_t matched_ = 0; ///< characters matched since regex_ was compiled
    bool compiled_ = false;
    char cause_[80] = "";
};

} // namespace onu_mng_platform

#endif
