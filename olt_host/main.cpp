#include <chrono>
#include <clocale>
#include <csignal>
#include <iostream>
#include <new>
#include <sstream>

#include "olt_host/host.h"
#include "olt_host/operators/charts.h"
#include "olt_host/operators/commands.h"
#include "olt_host/operators/end_signals.h"
#include "olt_host/operators/operators.h"
#include "olt_host/operators/progress.h"
#include "olt_host/operators/report.h"
#include "olt_host/operators/standard_files.h"
#include "olt_host/operators/standard_output.h"
#include "olt_host/options.h"
#include "olt_host/replay/replay.h"
#include "olt_host/services/service_rack.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_platform/ulog.h"

namespace {

using namespace olt_host;
using namespace std::chrono_literals;

constexpr unsigned int kMostListed = 64;
constexpr auto kRedrawPeriod = 100ms;
constexpr auto kLinePeriod = 10s; ///< between two log lines when there is no status row

void TraceAll() {
    OnuMngLog* trace = OnuMngLog::GetInstance();
    trace->AddOnuTracer(OnuNo::kNotSet, OnuNo::kNotSet, nullptr, ONU_MNG_LOG_TRACE);
    trace->trace_switch = true;
}

void SetFaults(const Options& options, Fiber& line, const OnuTable& table) {
    const unsigned int ticks_per_s = 1000 / options.host.tick_ms;
    line.impairments.loss_percent = options.loss_percent;
    line.impairments.corrupt_percent = options.corrupt_percent;
    line.impairments.duplicate_percent = options.duplicate_percent;
    line.impairments.delay_percent = options.delay_percent;
    line.impairments.delay_ticks = options.delay_ms / options.host.tick_ms;
    line.impairments.restart_ticks = options.restart_s * ticks_per_s;
    line.impairments.link_ticks = options.link_s * ticks_per_s;
    for (const OnuKey onu : options.mute) {
        if (const auto index = table.IndexOf(onu)) line.SetMute(*index, true);
    }
}

int Fail(const std::string& what) {
    std::cerr << "olt_host: " << what << '\n';
    return 1;
}

/// Waits until every ONU is in sync or given up, the time limit has passed or a signal has arrived. Shows the
/// progress to operators.
void WaitForOnus(const Options& options, Host& host, Operators& operators, EndSignals& signals) {
    const std::chrono::seconds limit(options.limit_s);
    Progress progress(host.Table(), host.Line().counters, limit);
    for (Progress::Time next_line = kLinePeriod; !host.Table().WaitSettled(kRedrawPeriod);) {
        const Progress::Time elapsed = host.Elapsed();
        if (signals.HasCome() || elapsed >= limit) break;
        const auto lines = progress.Look(elapsed);
        if (operators.ShowStatus(lines) || elapsed < next_line) continue;
        ulogPrintf(Operators::kLogModule, Operators::kLogLevel, "%s\r\n", lines.front().c_str());
        next_line += kLinePeriod;
    }
    operators.HideStatus();
}

bool AreInSync(const OnuTotals& totals) {
    return totals.phases[static_cast<unsigned int>(OnuPhase::kInSync)] == totals.onus;
}

void PrintReport(std::ostream& out, const Options& options, Host& host, const OnuTotals& totals) {
    PrintOnus(out, host.Table(), options.verbose > 0 || totals.onus <= kMostListed);
    out << TotalsText(totals) << '\n';
    if (options.verbose > 0) PrintLine(out, host.Line().counters);
}

/// Brings ONUs up and serves operators. While the console is open, the console prints the report, because
/// both share the terminal.
/// @return whether every ONU was in sync.
bool Serve(const Options& options, Host& host, EndSignals& signals, Operators& operators) {
    const bool has_console = operators.OpenConsole(EndSignals::Raise);
    WaitForOnus(options, host, operators, signals);
    const OnuTotals totals = host.Table().Totals();
    if (has_console && !signals.HasCome()) {
        std::ostringstream report;
        PrintReport(report, options, host, totals);
        operators.Print(report.str());
    } else {
        operators.CloseConsole();
        StandardOutput output(signals);
        PrintReport(std::cout, options, host, totals);
    }
    if (has_console || !options.cli_socket.empty()) signals.Wait();
    return AreInSync(totals);
}

int BringUp(const Options& options) {
    // A lost reader and a file-size limit show up as write errors instead of ending the process.
    for (const int number : {SIGPIPE, SIGXFSZ})
        std::signal(number, SIG_IGN);
    EndSignals signals;
    Charts charts(options.charts);
    if (const std::string failed = charts.Check(); !failed.empty()) return Fail(failed);
    HostOptions wanted = options.host;
    wanted.chart = charts.States();
    wanted.tap = charts.Sequence();
    Host host(wanted);
    if (options.verbose > 1) TraceAll();
    SetFaults(options, host.Line(), host.Table());
    if (!options.pcap.empty()) {
        if (const std::string failed = host.Wire().Begin(options.pcap, {}); !failed.empty())
            return Fail(failed);
    }
    if (const std::string failed = host.Start(); !failed.empty()) return Fail(failed);
    const HostCommands commands(host, ServiceRack::kCliNode);
    ulogSetModIgnore(Operators::kLogModule, Operators::kLogLevel, 1);
    Operators operators(ServiceRack::kCliNode);
    if (!options.cli_socket.empty()) {
        if (const std::string failed = operators.Listen(options.cli_socket); !failed.empty())
            return Fail(failed);
    }
    const bool are_in_sync = Serve(options, host, signals, operators);
    signals.LetThrough(); // a second signal ends the process without waiting for the shutdown
    operators.CloseConsole();
    if (const std::string capture = host.Wire().End(); !capture.empty())
        ulogPrintf(Operators::kLogModule, Operators::kLogLevel, "capture %s\r\n", capture.c_str());
    if (const std::string failed = charts.Write(); !failed.empty()) return Fail(failed);
    return are_in_sync ? 0 : 1;
}

/// Returns the exit status. Lost output is a failure.
int Finish(int status) {
    if (std::cout.flush()) return status;
    std::cerr << "olt_host: the output could not be written\n";
    return status == 0 ? 1 : status;
}

} // namespace

int main(int argc, char** argv) {
    OpenStandardFiles();
    std::setlocale(LC_CTYPE, ""); // input on the console may go beyond ASCII
    try {
        Options options;
        if (const auto status = ReadOptions(argc, argv, options)) return *status;
        if (options.verbose == 0) ulogSetThreshold(ONU_MNG_LOG_ERROR);
        if (options.replay.empty()) return Finish(BringUp(options));
        return Finish(Replay(options.replay, {options.check_mic, options.verbose > 0}, std::cout, std::cerr));
    } catch (const std::bad_alloc&) {
        std::cerr << "olt_host: out of memory\n";
        return 1;
    }
}
