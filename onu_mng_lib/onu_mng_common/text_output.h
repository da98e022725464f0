/// The way of reports and values to a terminal.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_TEXT_OUTPUT_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_TEXT_OUTPUT_H

#include <charconv>
#include <cstddef>
#include <string_view>

/// The digits of a whole number, in a place of their own.
class Digits {
public:
    template <typename T>
    explicit Digits(T number, int base = 10)
        : end(std::to_chars(digits, digits + sizeof(digits), number, base).ptr) {}
    Digits(const Digits&) = delete;
    Digits& operator=(const Digits&) = delete;
    operator std::string_view() const { return {digits, static_cast<std::size_t>(end - digits)}; }

private:
    char digits[24]; ///< more than the 20 digits of a decimal number of 64 bits
    const char* const end;
};

/// Writes characters to a CLI terminal, or to standard output where there is none; both get the same.
///
/// Gathers them in an area of its own and passes them on when that is full and when the object ends, since a
/// call for each field costs a terminal far more than its characters. Takes no memory.
class TextOutput {
public:
    /// `vty_or_null` is a `vty*`; null for standard output.
    explicit TextOutput(void* vty_or_null) : terminal(vty_or_null) {}
    ~TextOutput() { Flush(); }
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;

    void Put(std::string_view text);
    void PutBlanks(std::size_t count);
    /// Puts `text` and blanks up to `width` characters; a longer text is put whole.
    void PutPadded(std::string_view text, std::size_t width);

private:
    void Flush();

    void* const terminal;
    std::size_t used = 0;
    char area[500]; ///< small enough for a terminal to format it without memory of its own
};

#endif
