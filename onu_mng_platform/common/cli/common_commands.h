/// The commands that every node has.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_COMMON_COMMANDS_H
#define ONU_MNG_PLATFORM_COMMON_CLI_COMMON_COMMANDS_H

#include <vector>

#include "onu_mng_platform/cli.h"

namespace onu_mng_platform {

/// Returns "help", "list" and "exit". The records live as long as the process. Throws std::bad_alloc.
std::vector<cmd_element*> CommonCommands();

} // namespace onu_mng_platform

#endif
