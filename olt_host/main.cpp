#include <clocale>
#include <iostream>
#include <new>

#include "olt_host/host.h"
#include "olt_host/operators/commands.h"
#include "olt_host/operators/end_signals.h"
#include "olt_host/operators/operators.h"
#include "olt_host/operators/report.h"
#include "olt_host/operators/standard_files.h"
#include "olt_host/options.h"
#include "olt_host/replay/replay.h"
#include "olt_host/services/service_rack.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_platform/ulog.h"

namespace {

using namespace olt_host;

constexpr unsigned int kMostListed = 64;

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

/// @return whether every ONU is in sync.
bool ReportOnus(const Options& options, Host& host) {
    const OnuTotals totals = host.Table().Totals();
    PrintOnus(std::cout, host.Table(), options.verbose > 0 || totals.onus <= kMostListed);
    std::cout << TotalsText(totals) << '\n';
    if (options.verbose > 0) PrintLine(std::cout, host.Line().counters);
    std::cout.flush();
    return totals.phases[static_cast<unsigned int>(OnuPhase::kInSync)] == totals.onus;
}

/// Operators may come as soon as ONUs do; the console waits until it has the screen to itself.
int BringUp(const Options& options) {
    EndSignals signals;
    Host host(options.host);
    if (options.verbose > 1) TraceAll();
    SetFaults(options, host.Line(), host.Table());
    if (const std::string failed = host.Start(); !failed.empty()) return Fail(failed);
    const HostCommands commands(host, ServiceRack::kCliNode);
    Operators operators(ServiceRack::kCliNode);
    const bool listens = !options.cli_socket.empty();
    if (listens) {
        if (const std::string failed = operators.Listen(options.cli_socket); !failed.empty())
            return Fail(failed);
    }

    for (unsigned int second = 0; second < options.limit_s && !signals.HasCome(); ++second)
        if (host.Table().WaitSettled(1)) break;
    signals.LetThrough(); // printing waits for as long as its reader likes
    const bool are_in_sync = ReportOnus(options, host);
    signals.Hold();
    if (!signals.HasCome() && (operators.OpenConsole(EndSignals::Raise) || listens)) signals.Wait();
    signals.LetThrough(); // a second one need not wait until all that the first one ends has ended
    return are_in_sync ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    OpenStandardFiles();
    std::setlocale(LC_CTYPE, ""); // what is typed on the console may be more than ASCII
    try {
        Options options;
        if (const auto status = ReadOptions(argc, argv, options)) return *status;
        if (options.verbose == 0) ulogSetThreshold(ONU_MNG_LOG_ERROR);
        if (options.replay.empty()) return BringUp(options);
        return Replay(options.replay, {options.check_mic, options.verbose > 0}, std::cout, std::cerr);
    } catch (const std::bad_alloc&) {
        std::cerr << "olt_host: out of memory\n";
        return 1;
    }
}
