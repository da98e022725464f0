#include "olt_host/options.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <CLI/CLI.hpp>

#include "olt_host/operators/cli_path.h"
#include "onu_mng_lib/onu_mng_version.h"

namespace olt_host {

namespace {

constexpr unsigned int kMostPons = 64;
constexpr unsigned int kMostOnusPerPon = 128;
constexpr unsigned int kDay = 86400;
constexpr unsigned int kPercent = 100;
constexpr unsigned int kMostDelayMs = 60000;

constexpr const char* kAbout =
    "Brings simulated ONUs into sync over OMCI, or replays recorded OMCI frames.\n"
    "Ends with status 0 when every ONU is in sync (a replay: when the file was read),\n"
    "1 if not, 2 for a wrong command line and for an unreadable file.\n"
    "On a terminal, and with --cli-socket, operators are served before it ends.";

/// Parses "PON/ONU". Throws CLI::ValidationError.
OnuKey ReadOnu(const std::string& text) {
    OnuKey onu{0, 0};
    const char* const end = text.data() + text.size();
    const auto pon = std::from_chars(text.data(), end, onu.pon_no);
    if (pon.ec == std::errc() && pon.ptr != end && *pon.ptr == '/') {
        const auto id = std::from_chars(pon.ptr + 1, end, onu.onu_id);
        if (id.ec == std::errc() && id.ptr == end && onu.pon_no != 0 && onu.onu_id != 0) return onu;
    }
    throw CLI::ValidationError("'" + text + "' is not PON/ONU");
}

/// Adds a numeric option whose help shows its limits and its default.
void Number(CLI::App& app, const char* name, unsigned int& value, unsigned int least, unsigned int most,
            const std::string& what) {
    const std::string range = std::to_string(least) + " to " + std::to_string(most);
    app.add_option(name, value, what + " (" + range + "; " + std::to_string(value) + ')')
        ->check(CLI::Range(least, most))
        ->option_text("N");
}

void AddSizes(CLI::App& app, HostOptions& host) {
    Number(app, "--pons", host.pons, 1, kMostPons, "PONs");
    Number(app, "--onus", host.onus, 1, kMostOnusPerPon, "ONUs on each PON");
    Number(app, "--ports", host.ports, 1, OnuMib::kMostPorts,
           "Ethernet ports of each ONU: more make a larger MIB");
    Number(app, "--window", host.window, 1, kMostPons * kMostOnusPerPon,
           "procedures that a service has under way at a time");
    Number(app, "--queue", host.queue, 1, 65536,
           "length of each queue: one shorter than three windows loses messages when all ONUs come up");
}

void AddTimes(CLI::App& app, Options& options) {
    Number(app, "--supervision", options.host.supervision_s, 1, kDay,
           "seconds between two rounds of the state machines' supervision; the first may come after 30");
    Number(app, "--attempts", options.host.attempts, 0, 1000,
           "bring-ups of an ONU before it is given up, 0: no limit");
    Number(app, "--audit", options.host.audit_s, 0, kDay,
           "seconds between two audits of an ONU in sync, 0: none");
    Number(app, "--tick", options.host.tick_ms, 1, 1000, "milliseconds between two ticks of the host's time");
    Number(app, "--limit", options.limit_s, 1, kDay, "seconds that the host waits for its ONUs");
}

void AddFaults(CLI::App& app, Options& options) {
    app.add_option_function<std::vector<std::string>>(
           "--mute",
           [&options](const std::vector<std::string>& onus) {
               std::transform(onus.begin(), onus.end(), std::back_inserter(options.mute), ReadOnu);
           },
           "ONUs that never answer")
        ->delimiter(',')
        ->option_text("PON/ONU,...");
    Number(app, "--loss", options.loss_percent, 0, kPercent, "percent of the frames that are lost");
    Number(app, "--corrupt", options.corrupt_percent, 0, kPercent,
           "percent of the frames that get a wrong MIC");
    Number(app, "--duplicate", options.duplicate_percent, 0, kPercent,
           "percent of the frames that come twice");
    Number(app, "--delay", options.delay_percent, 0, kPercent, "percent of the ONUs' frames that come late");
    Number(app, "--delay-ms", options.delay_ms, 0, kMostDelayMs, "how late at most, in milliseconds");
    Number(app, "--restart", options.restart_s, 0, kDay,
           "seconds between two restarts of an ONU on average, 0: none");
    Number(app, "--link", options.link_s, 0, kDay,
           "seconds between two link alarms of an ONU on average, 0: none");
    app.add_option("--seed", options.host.seed, "seed of the random choices (1)")->option_text("N");
}

void CheckOnu(const char* option, OnuKey onu, const HostOptions& host) {
    if (onu.pon_no <= host.pons && onu.onu_id <= host.onus) return;
    throw CLI::ValidationError(option, "there is no ONU " + std::to_string(onu.pon_no) + '/' +
                                           std::to_string(onu.onu_id));
}

void CheckOnus(const Options& options) {
    for (const OnuKey onu : options.mute)
        CheckOnu("--mute", onu, options.host);
    CheckOnu("--sequence-onu", options.charts.onu, options.host);
}

void AddCharts(CLI::App& app, Charts::Options& charts) {
    app.add_option("--state-chart", charts.state_file,
                   "at the end, write the services' states and their transitions to FILE, for Graphviz")
        ->option_text("FILE");
    CLI::Option* sequence = app.add_option("--sequence-chart", charts.sequence_file,
                                           "at the end, write the frames of one ONU to FILE, for Mermaid")
                                ->option_text("FILE");
    app.add_option_function<std::string>(
           "--sequence-onu", [&charts](const std::string& onu) { charts.onu = ReadOnu(onu); },
           "the ONU of that chart (1/1)")
        ->needs(sequence)
        ->option_text("PON/ONU");
}

void AddWork(CLI::App& app, Options& options) {
    CLI::Option* replay =
        app.add_option(
               "--replay", options.replay,
               "read frames from FILE and give the services the ONU's: a capture (pcap, pcapng), or one "
               "frame a line, hexadecimal, 48 bytes or 44 or 40; a tab or # begins a comment")
            ->option_text("FILE");
    app.add_flag("--check-mic", options.check_mic, "in the replay, refuse 48-byte frames with a wrong MIC")
        ->needs(replay);
    app.add_option("--pcap", options.pcap, "write what goes over the PONs to FILE, for protocol analysers")
        ->excludes(replay)
        ->option_text("FILE");
    app.add_option("--cli-socket", options.cli_socket,
                   "serve operators at PATH (" + DefaultSocketPath() +
                       ", where olt_cli looks for it) until \"exit\" on the console or a signal")
        ->expected(0, 1)
        ->default_str(DefaultSocketPath())
        ->excludes(replay)
        ->option_text("[PATH]");
}

} // namespace

std::optional<int> ReadOptions(int argc, char** argv, Options& options) {
    CLI::App app(kAbout, "olt_host");
    app.get_formatter()->column_width(24);
    AddSizes(app, options.host);
    AddTimes(app, options);
    AddFaults(app, options);
    AddWork(app, options);
    AddCharts(app, options.charts);
    app.set_version_flag("--version", std::string("olt_host ") + onu_mng_version(), "print the version");
    app.add_flag("-v,--verbose", options.verbose,
                 "list every ONU or frame, count what happened on the PONs, and log warnings; twice: trace "
                 "the state machines of every ONU");
    try {
        app.parse(argc, argv);
        CheckOnus(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageStatus;
    }
    return std::nullopt;
}

} // namespace olt_host
