/// Removes control characters from output.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_TERMINAL_GUARD_H
#define ONU_MNG_PLATFORM_POSIX_CLI_TERMINAL_GUARD_H

#include <string>

namespace onu_mng_platform {

/// How a terminal decodes bytes from 0x80 on: as parts of UTF-8 characters, or as single characters.
enum class Charset : unsigned char { kUtf8, kEightBit };

/// Returns the charset of the process's locale: kUtf8 if the locale is UTF-8, else kEightBit.
Charset CharsetOfLocale();

/// Replaces control characters by ".": the C0 set and DEL except TAB, CR and LF, and the C1 set, 0x80 to
/// 0x9F. For a UTF-8 terminal the C1 set means the characters U+0080 to U+009F, overlong forms included, and
/// single bytes 0x80 to 0x9F. For an eight-bit terminal it means the bytes themselves, even within UTF-8
/// characters.
///
/// One object cleans one text, which may come in pieces. Used by one task.
class TerminalGuard {
public:
    explicit TerminalGuard(Charset charset) : charset_(charset) {}

    /// Cleans the bytes from `begin` on, in place.
    void Clean(std::string* text, size_t begin = 0);

private:
    bool Passes(unsigned char byte);
    bool ContinuesCharacter(unsigned char byte);

    const Charset charset_;
    unsigned char expected_ = 0; ///< bytes that the current character still needs
    unsigned char low_ = 0x80;   ///< minimum value of the next of them
};

} // namespace onu_mng_platform

#endif
