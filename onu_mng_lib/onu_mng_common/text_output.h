/// Writes reports and values to a terminal.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_TEXT_OUTPUT_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_TEXT_OUTPUT_H

#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>

/// The digits of an integer, in an internal buffer.
class Digits {
public:
    template <typename T>
    explicit Digits(T number, int base = 10)
        : end(std::to_chars(digits, digits + sizeof(digits), number, base).ptr) {}
    Digits(const Digits&) = delete;
    Digits& operator=(const Digits&) = delete;
    operator std::string_view() const { return {digits, static_cast<std::size_t>(end - digits)}; }

private:
    char digits[24]; ///< a 64-bit number has at most 20 digits in decimal
    const char* const end;
};

/// Writes characters to a CLI terminal, or to standard output if there is none. Both get the same characters.
///
/// Collects the characters in a buffer of its own and writes them when it is full and when the object is
/// destroyed, because one call for each field costs far more than the characters. Allocates nothing. Blocks
/// for as long as the terminal does. One task at a time.
class TextOutput {
public:
    /// `vty_or_null` is a `vty*`; null for standard output.
    explicit TextOutput(void* vty_or_null) : terminal(vty_or_null) {}
    ~TextOutput() { Flush(); }
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;

    void Put(std::string_view text);
    void PutBlanks(std::size_t count);
    /// Writes `text` and then blanks up to `width` characters. A longer text is not cut.
    void PutPadded(std::string_view text, std::size_t width);

    /// The most characters of a text that is written in place.
    static constexpr std::size_t kInPlace = 32;
    /// Puts a text and blanks up to `width` characters, at least one. `write(place)` writes the text, at most
    /// `kInPlace` characters, and returns its length.
    template <typename Write>
    void PutField(std::size_t width, Write write) {
        if (sizeof(area) - used < kInPlace + kBlanks) Flush();
        const std::size_t size = write(area + used);
        used += size;
        PutBlanksInPlace(width > size ? width - size : 1);
    }

private:
    static constexpr std::size_t kBlanks = 32;

    void Flush();
    /// Writes blanks. The buffer must have room for `kBlanks`.
    void PutBlanksInPlace(std::size_t count) {
        if (count > kBlanks) return PutBlanks(count);
        std::memset(area + used, ' ', kBlanks); // a constant size takes no call
        used += count;
    }

    void* const terminal;
    std::size_t used = 0;
    char area[500]; ///< small enough for a terminal to format without allocating memory
};

#endif
