/// Output that cannot steer a terminal.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_TERMINAL_GUARD_H
#define ONU_MNG_PLATFORM_POSIX_CLI_TERMINAL_GUARD_H

#include <string>

namespace onu_mng_platform {

/// How a terminal reads bytes from 0x80 on: as parts of UTF-8 characters, or each on its own.
enum class Charset : unsigned char { kUtf8, kEightBit };

/// The charset of the locale that the process has set; kEightBit unless that is UTF-8.
Charset CharsetOfLocale();

/// Replaces by "." the bytes that a terminal may obey: control characters except TAB, CR and LF, and those of
/// the second set, 0x80 to 0x9F. For a UTF-8 terminal these are the characters U+0080 to U+009F, also in
/// overlong forms, and such bytes outside of a character; for an eight-bit terminal the bytes themselves, also
/// within a UTF-8 character.
///
/// Used by one task, on one text that comes in pieces.
class TerminalGuard {
public:
    explicit TerminalGuard(Charset charset) : charset_(charset) {}

    /// Cleans the bytes from `begin` on, in place.
    void Clean(std::string* text, size_t begin = 0);

private:
    bool Passes(unsigned char byte);
    bool ContinuesCharacter(unsigned char byte);

    const Charset charset_;
    unsigned char expected_ = 0; ///< bytes of the character that has begun
    unsigned char low_ = 0x80;   ///< the least that the next of them may be
};

} // namespace onu_mng_platform

#endif
