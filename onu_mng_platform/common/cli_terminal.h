/// The terminal as the platform's own code sees it.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_TERMINAL_H
#define ONU_MNG_PLATFORM_COMMON_CLI_TERMINAL_H

#include "onu_mng_platform/cli.h"

namespace onu_mng_platform {

/// The terminal of the command that runs in the calling task; null when none does. Valid until that command's
/// handler returns.
vty* CurrentTerminal();

} // namespace onu_mng_platform

#endif
