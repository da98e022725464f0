#include "olt_host/report.h"

#include <cstdlib>
#include <iomanip>
#include <sstream>

namespace olt_host {

namespace {

const char* PhaseName(OnuPhase phase) {
    constexpr const char* kNames[] = {"waiting",     "uploading", "uploaded", "provisioning",
                                      "provisioned", "in sync",   "failed"};
    static_assert(sizeof(kNames) / sizeof(kNames[0]) == kOnuPhases);
    return kNames[static_cast<unsigned int>(phase)];
}

const char* FailureName(OnuFailure failure) {
    constexpr const char* kNames[] = {"nothing",      "no answer", "refused",
                                      "rows missing", "data sync", "out of memory"};
    return kNames[static_cast<unsigned int>(failure)];
}

template <typename... Cells>
std::string Row(const Cells&... cells) {
    constexpr int kWidths[] = {3, 4, -2, -20, 7, 6, 8, 10, 8, 9};
    std::ostringstream row;
    const int* width = kWidths;
    ((row << (*width < 0 ? std::left : std::right) << std::setw(std::abs(*width)) << cells, ++width), ...);
    return row.str();
}

} // namespace

std::string StateText(const OnuStatus& status) {
    const std::string phase = PhaseName(status.phase);
    return status.phase == OnuPhase::kFailed ? phase + ": " + FailureName(status.failure) : phase;
}

std::string OnuHeader() {
    return Row("PON", "ONU", "", "STATE", "ROWS", "SYNC", "ALARMS", "REQUESTS", "RESENT", "TIME/ms");
}

std::string OnuRow(const OnuStatus& status) {
    return Row(status.onu.pon_no, status.onu.onu_id, "", StateText(status), status.rows,
               static_cast<unsigned int>(status.data_sync), status.alarmed.Size(), status.requests,
               status.resent, status.busy_ms);
}

void PrintOnus(std::ostream& out, const OnuTable& table, bool all) {
    const auto listed = [all](const OnuStatus& status) { return all || status.phase != OnuPhase::kInSync; };
    unsigned int index = table.Find(0, listed);
    if (index < table.Size()) out << OnuHeader() << '\n';
    for (; index < table.Size(); index = table.Find(index + 1, listed))
        out << OnuRow(table.Read(index)) << '\n';
}

void PrintTotals(std::ostream& out, const OnuTotals& totals) {
    out << totals.onus << " ONUs:";
    const char* comma = " ";
    for (unsigned int phase = 0; phase < kOnuPhases; ++phase) {
        if (totals.phases[phase] == 0) continue;
        out << comma << totals.phases[phase] << ' ' << PhaseName(static_cast<OnuPhase>(phase));
        comma = ", ";
    }
    out << "; " << totals.requests << " requests, " << totals.resent << " sent again\n";
}

void PrintLine(std::ostream& out, const FiberCounters& counters) {
    const struct {
        const std::atomic<unsigned long>& count;
        const char* what;
    } rows[] = {
        {counters.down, "frames to the ONUs"},
        {counters.up, "frames from the ONUs"},
        {counters.lost, "lost"},
        {counters.corrupted, "corrupted"},
        {counters.malformed, "dropped at the OLT for it"},
        {counters.duplicated, "carried twice"},
        {counters.delayed, "delayed"},
        {counters.overrun, "dropped at the fiber's full queue"},
        {counters.refused, "refused by the services"},
        {counters.restarts, "restarts of ONUs"},
    };
    for (const auto& row : rows) {
        if (row.count > 0) out << std::setw(10) << row.count << "  " << row.what << '\n';
    }
}

} // namespace olt_host
