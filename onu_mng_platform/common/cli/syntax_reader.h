/// Parses a syntax string into the steps of a Syntax.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_SYNTAX_READER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_SYNTAX_READER_H

#include <string_view>

#include "onu_mng_platform/common/cli/syntax.h"

namespace onu_mng_platform {

/// Parses one syntax string from left to right. Used once.
class SyntaxReader {
public:
    SyntaxReader(std::string_view text, Syntax* result) : rest_(text), result_(result) {}

    /// Parses the text. Throws std::bad_alloc. @return false if it breaks the rules: the result is then
    /// unusable.
    bool Read();

private:
    bool ReadElement();
    bool ReadChoice();
    bool ReadWord(bool delivered);
    bool ReadValue(SyntaxWord* word);
    bool BeginGroup();
    bool EndGroup();
    void BeginStep();
    void SkipBlanks();
    bool Skip(std::string_view expected);
    std::string_view TakeWhile(bool (*belongs)(char));

    std::string_view rest_;
    Syntax* result_;
    unsigned words_ = 0;
    unsigned groups_ = 0;
    unsigned group_begin_ = 0; ///< first step of the current group
    unsigned run_begin_ = 0;   ///< first step of the current run of adjacent groups
    unsigned run_end_ = 0;
    bool in_group_ = false;
};

} // namespace onu_mng_platform

#endif
