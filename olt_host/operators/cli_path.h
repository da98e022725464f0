/// Where a host and its operators meet when neither is told.
#ifndef ONU_MNG_OLT_HOST_OPERATORS_CLI_PATH_H
#define ONU_MNG_OLT_HOST_OPERATORS_CLI_PATH_H

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace olt_host {

/// The socket's path: /run/olt_host.sock for root; for others in their own $XDG_RUNTIME_DIR, else in the
/// working directory. Where others could have put a socket first, connecting to it is refused.
inline std::string DefaultSocketPath() {
    if (geteuid() == 0) return "/run/olt_host.sock";
    const char* directory = std::getenv("XDG_RUNTIME_DIR");
    const bool is_set = directory != nullptr && *directory != '\0';
    return is_set ? std::string(directory) + "/olt_host.sock" : "olt_host.sock";
}

} // namespace olt_host

#endif
