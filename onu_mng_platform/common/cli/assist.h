/// Help for a line that is still being typed.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_ASSIST_H
#define ONU_MNG_PLATFORM_COMMON_CLI_ASSIST_H

#include <string>
#include <string_view>
#include <vector>

#include "onu_mng_platform/cli.h"

namespace onu_mng_platform {

/// The effect of TAB on a line.
struct Completion {
    std::string insert;               ///< text to append; ends in a blank if the word is complete
    std::vector<std::string> choices; ///< the matching words, if there are several
};

/// Prints on `terminal` the words that can follow `line` or complete its last word, with their help, and
/// "<cr>" if the line is complete. If the line has an error, prints the error. Any task. Does not block.
void Describe(vty* terminal, unsigned int node, std::string_view line);

/// Completes the last word of `line`. The result is empty if the word is a value or the line has an error.
/// Any task. Does not block.
Completion Complete(const vty* terminal, unsigned int node, std::string_view line);

} // namespace onu_mng_platform

#endif
