/// The host's own commands, beside the library's.
#ifndef OLT_HOST_OPERATORS_COMMANDS_H
#define OLT_HOST_OPERATORS_COMMANDS_H

namespace olt_host {

class Host;

/// Makes known, and has show one host as long as it lives:
///
///     show onu {pon <0-255>}*1
///     show onu detail pon <0-255> onu <0-255> {[mib]}*1
///     show service statistics
///     capture start <file> {[pon] <1-64>}*1 {[onu] <1-128>}*1
///     capture stop
///
/// Commands stay installed for as long as the process; without a host they say that there is none. One at a
/// time; no command runs while it is destroyed.
class HostCommands {
public:
    /// Installs them under `node`; the platform logs what it refuses.
    HostCommands(Host& host, unsigned int node);
    ~HostCommands();
    HostCommands(const HostCommands&) = delete;
    HostCommands& operator=(const HostCommands&) = delete;
};

} // namespace olt_host

#endif
