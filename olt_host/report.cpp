#include "olt_host/report.h"

#include <iomanip>

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

/// One row in columns of fixed width.
template <typename... Numbers>
void Row(std::ostream& out, const std::string& state, const Numbers&... numbers) {
    out << std::left << std::setw(22) << state << std::right;
    ((out << std::setw(9) << numbers), ...);
    out << '\n';
}

} // namespace

std::string StateText(const OnuStatus& status) {
    const std::string phase = PhaseName(status.phase);
    return status.phase == OnuPhase::kFailed ? phase + ": " + FailureName(status.failure) : phase;
}

void PrintOnus(std::ostream& out, const OnuTable& table, bool all) {
    const auto listed = [all](const OnuStatus& status) { return all || status.phase != OnuPhase::kInSync; };
    unsigned int index = table.Find(0, listed);
    if (index == table.Size()) return;
    out << "PON ONU  ";
    Row(out, "STATE", "ROWS", "SYNC", "ALARMS", "REQUESTS", "RESENT", "TIME/ms");
    for (; index < table.Size(); index = table.Find(index + 1, listed)) {
        const OnuStatus status = table.Read(index);
        out << std::setw(3) << status.onu.pon_no << std::setw(4) << status.onu.onu_id << "  ";
        Row(out, StateText(status), status.rows, static_cast<unsigned int>(status.data_sync),
            status.alarmed.Size(), status.requests, status.resent, status.busy_ms);
    }
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

} // namespace olt_host
