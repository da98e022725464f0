/// Help for a line that is still being typed.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_ASSIST_H
#define ONU_MNG_PLATFORM_COMMON_CLI_ASSIST_H

#include <string>
#include <string_view>
#include <vector>

#include "onu_mng_platform/cli.h"

namespace onu_mng_platform {

/// What TAB does to a line.
struct Completion {
    std::string insert;               ///< to put behind the line; ends in a blank when the word is whole
    std::vector<std::string> choices; ///< the words that may be meant, when there are several
};

/// Writes to `terminal` what may come next behind `line`, or how its last word may go on, each with its help
/// and "<cr>" where the line is complete; or the error that the line has before. Any task; does not block.
void Describe(vty* terminal, unsigned int node, std::string_view line);

/// Completes the last word of `line`; to nothing where a value stands or the line is wrong. Any task; does
/// not block.
Completion Complete(const vty* terminal, unsigned int node, std::string_view line);

} // namespace onu_mng_platform

#endif
