#include "olt_host/operators/report.h"

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <sstream>

#include "olt_host/omci/me_class.h"
#include "olt_host/omci/text.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"

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

/// A column's width; negative for left-aligned text.
using Width = int;

template <std::size_t Columns, typename... Cells>
std::string Row(const Width (&widths)[Columns], const Cells&... cells) {
    static_assert(sizeof...(cells) == Columns);
    std::ostringstream row;
    const Width* width = widths;
    ((row << (*width < 0 ? std::left : std::right) << std::setw(std::abs(*width)) << cells, ++width), ...);
    return row.str();
}

constexpr Width kOnuWidths[] = {3, 4, -2, -20, 7, 6, 8, 10, 8, 9};
constexpr Width kServiceWidths[] = {-16, 4, 10, 8, 8, 8, 8};

template <typename... Parts>
std::string Detail(const char* name, const Parts&... parts) {
    std::ostringstream line;
    line << "  " << std::left << std::setw(15) << name;
    (line << ... << parts);
    return line.str();
}

std::string HexText(const char* bytes, std::size_t size) {
    std::string text;
    for (const char* byte = bytes; byte != bytes + size; ++byte)
        VariantUtil::Append(text, "%02x", static_cast<unsigned char>(*byte));
    return text;
}

std::string SerialText(const SerialNumber& serial) {
    std::string text;
    VariantUtil::Assign(text, "%.4s-%s", serial.data(), HexText(serial.data() + 4, 4).c_str());
    return text;
}

} // namespace

std::string StateText(const OnuStatus& status) {
    const std::string phase = PhaseName(status.phase);
    return status.phase == OnuPhase::kFailed ? phase + ": " + FailureName(status.failure) : phase;
}

std::string OnuHeader() {
    return Row(kOnuWidths, "PON", "ONU", "", "STATE", "ROWS", "SYNC", "ALARMS", "REQUESTS", "RESENT",
               "TIME/ms");
}

std::string OnuRow(const OnuStatus& status) {
    return Row(kOnuWidths, status.onu.pon_no, status.onu.onu_id, "", StateText(status), status.rows,
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

std::string TotalsText(const OnuTotals& totals) {
    std::ostringstream text;
    text << totals.onus << " ONUs:";
    const char* comma = " ";
    for (unsigned int phase = 0; phase < kOnuPhases; ++phase) {
        if (totals.phases[phase] == 0) continue;
        text << comma << totals.phases[phase] << ' ' << PhaseName(static_cast<OnuPhase>(phase));
        comma = ", ";
    }
    text << "; " << totals.requests << " requests, " << totals.resent << " sent again";
    return text.str();
}

std::vector<std::string> OnuDetails(const OnuStatus& status) {
    const OnuKey onu = status.onu;
    std::vector<std::string> lines = {
        "ONU " + std::to_string(onu.pon_no) + '/' + std::to_string(onu.onu_id),
        Detail("serial number", SerialText(SerialOf(onu))),
        Detail("state", StateText(status), status.given_up ? ", given up" : ""),
        Detail("last failure", FailureName(status.failure)),
        Detail("bring-ups", status.attempts, " since it was last in sync; the last to end took ",
               status.busy_ms, " ms"),
        Detail("MIB", status.rows, " rows, data sync ", static_cast<unsigned int>(status.data_sync)),
        Detail("requests", status.requests, ", ", status.resent, " sent again"),
        Detail("notifications", status.alarms, " of alarms, ", status.changes, " of attribute values"),
        Detail("alarms", status.alarmed.Size(), status.alarms_lost ? ", not all known" : ""),
    };
    for (const MeId me : status.alarmed)
        lines.push_back(Detail("", MeName(me)));
    return lines;
}

std::string MibRowText(const MibRow& row) {
    const MeClass* const me_class = FindMeClass(row.me.me_class);
    const std::size_t known = me_class == nullptr ? 0 : me_class->SizeOf(row.mask);
    const std::size_t size = known == 0 ? MibRow::kValues : std::min<std::size_t>(known, MibRow::kValues);
    std::ostringstream text;
    text << std::left << std::setw(44) << MeName(row.me) << " 0x" << std::right << std::hex
         << std::setfill('0') << std::setw(4) << row.mask << "  " << HexText(row.values.data(), size);
    return text.str();
}

std::string ServiceHeader() {
    return Row(kServiceWidths, "SERVICE", "TYPE", "FRAMES", "STRAYS", "ACTIVE", "QUEUED", "LENGTH");
}

std::string ServiceRow(const OmciService& service) {
    return Row(kServiceWidths, service.mod_name, service.mod_type, service.Frames(), service.Strays(),
               service.Active(), service.msg_queue.GetMsgNum(), service.msg_num);
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
