/// The host's own CLI commands.
#ifndef OLT_HOST_OPERATORS_COMMANDS_H
#define OLT_HOST_OPERATORS_COMMANDS_H

namespace olt_host {

class Host;

/// Installs these commands and connects them to a host as long as the object lives:
///
///     show onu {pon <0-255>}*1
///     show onu detail pon <0-255> onu <0-255> {[mib]}*1
///     show service statistics
///     capture start <file> {[pon] <1-64>}*1 {[onu] <1-128>}*1
///     capture stop
///
/// Commands cannot be removed again. Without a host they print that there is none. Only one object may exist
/// at a time, and no command may run while it is destroyed.
class HostCommands {
public:
    /// Installs the commands under `node`. The platform logs commands that it refuses.
    HostCommands(Host& host, unsigned int node);
    ~HostCommands();
    HostCommands(const HostCommands&) = delete;
    HostCommands& operator=(const HostCommands&) = delete;
};

} // namespace olt_host

#endif
