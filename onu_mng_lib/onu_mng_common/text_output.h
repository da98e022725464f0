/// The way of reports and values to a terminal.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_TEXT_OUTPUT_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_TEXT_OUTPUT_H

#include <cstddef>
#include <string_view>

/// Writes characters to a CLI terminal, or to standard output where there is none; both get the same.
///
/// Gathers them in a fixed area and passes them on when it is full and when the object ends, since a call per
/// field costs a terminal far more than its characters. Takes no memory.
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
    char area[1024];
};

#endif
