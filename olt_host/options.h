/// The command line.
#ifndef OLT_HOST_OPTIONS_H
#define OLT_HOST_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "olt_host/host.h"
#include "olt_host/onu/onu_key.h"
#include "olt_host/operators/charts.h"

namespace olt_host {

/// The exit status for an invalid command line and for an unreadable file.
constexpr int kUsageStatus = 2;

struct Options {
    HostOptions host;
    std::vector<OnuKey> mute;
    unsigned int loss_percent = 0;
    unsigned int corrupt_percent = 0;
    unsigned int duplicate_percent = 0;
    unsigned int delay_percent = 0;
    unsigned int delay_ms = 4000;
    unsigned int restart_s = 0;
    unsigned int link_s = 0;
    unsigned int limit_s = 300;
    std::string replay; ///< the file; empty: bring ONUs up
    bool check_mic = false;
    Charts::Options charts;
    std::string pcap;       ///< the file for a capture; empty: none
    std::string cli_socket; ///< for operators; empty: none
    int verbose = 0;
};

/// Reads the command line into `options`. Prints errors to standard error, and the output of --help and
/// --version to standard output.
/// @return the exit status if the program must end; otherwise nothing.
std::optional<int> ReadOptions(int argc, char** argv, Options& options);

} // namespace olt_host

#endif
