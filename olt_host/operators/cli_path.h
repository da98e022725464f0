/// The default path of the operators' socket.
#ifndef ONU_MNG_OLT_HOST_OPERATORS_CLI_PATH_H
#define ONU_MNG_OLT_HOST_OPERATORS_CLI_PATH_H

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace olt_host {

/// Returns /run/olt_host.sock for root. For other users the socket is in $XDG_RUNTIME_DIR, or in the working
/// directory if that is not set. If another user could have created the socket, the client refuses to
/// connect.
inline std::string DefaultSocketPath() {
    if (geteuid() == 0) return "/run/olt_host.sock";
    const char* directory = std::getenv("XDG_RUNTIME_DIR");
    const bool is_set = directory != nullptr && *directory != '\0';
    return is_set ? std::string(directory) + "/olt_host.sock" : "olt_host.sock";
}

} // namespace olt_host

#endif
