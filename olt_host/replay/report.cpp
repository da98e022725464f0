#include "olt_host/replay/report.h"

#include <iomanip>
#include <numeric>

#include "olt_host/omci/text.h"

namespace olt_host {

namespace {

void Count(std::ostream& out, unsigned long number, const std::string& what) {
    out << std::setw(8) << number << "  " << what << '\n';
}

std::string Tid(std::uint16_t tid) {
    std::string text;
    VariantUtil::Assign(text, "0x%04x", tid);
    return text;
}

std::string Range(unsigned int first, unsigned int last) {
    return ' ' + std::to_string(first) + " to " + std::to_string(last);
}

void PrintTypes(std::ostream& out, const ReplayCounts& counts) {
    out << "by type\n";
    for (unsigned int kind = 0; kind < counts.types.size(); ++kind) {
        for (unsigned int type = 0; type < kOmciTypes; ++type) {
            const unsigned int number = counts.types[kind][type];
            if (number == 0) continue;
            Count(out, number, FrameName(static_cast<FrameKind>(kind), static_cast<OmciType>(type)));
        }
    }
    const unsigned int extended = counts.faults[static_cast<unsigned int>(FrameFault::kExtended)];
    if (extended > 0) Count(out, extended, "extended format, not looked into");
    if (counts.not_omci > 0) Count(out, counts.not_omci, "not OMCI, not looked into");
}

void PrintServices(std::ostream& out, const ReplayCounts& counts, const std::vector<OmciService*>& services) {
    out << "by service\n";
    for (const OmciService* service : services)
        Count(out, service->Frames(),
              service->mod_type == kUnclaimedModule ? "unclaimed" : service->mod_name);
    const auto& requests = counts.types[static_cast<unsigned int>(FrameKind::kRequest)];
    Count(out, std::accumulate(requests.begin(), requests.end(), 0u), "requests, which no service is sent");
    if (counts.lost > 0) Count(out, counts.lost, "lost");
}

void PrintFaults(std::ostream& out, const std::string& unit, const ReplayCounts& counts) {
    out << "malformed\n";
    unsigned int malformed = counts.not_hexadecimal;
    if (malformed > 0) Count(out, malformed, "not hexadecimal");
    for (unsigned int fault = 0; fault < kFrameFaults; ++fault) {
        const auto reason = static_cast<FrameFault>(fault);
        if (reason == FrameFault::kNone || reason == FrameFault::kExtended || counts.faults[fault] == 0)
            continue;
        Count(out, counts.faults[fault], FaultName(reason));
        malformed += counts.faults[fault];
    }
    if (malformed == 0) Count(out, 0, unit);
}

void PrintBringUp(std::ostream& out, const std::string& unit, const BringUp& bring_up) {
    const unsigned int requests = std::accumulate(bring_up.requests.begin(), bring_up.requests.end(), 0u);
    out << "bring-up, " << unit << Range(bring_up.first_line, bring_up.last_line) << ", transactions "
        << Tid(bring_up.first_tid) << " to " << Tid(bring_up.last_tid) << '\n';
    for (unsigned int type = 0; type < kOmciTypes; ++type) {
        if (bring_up.requests[type] > 0)
            Count(out, bring_up.requests[type], TypeName(static_cast<OmciType>(type)));
    }
    if (bring_up.next_sequence > 0)
        out << "          upload next up to sequence " << bring_up.next_sequence - 1
            << (bring_up.in_sequence ? ", in order\n" : ", not in order\n");
    Count(out, requests, "requests in all");
    Count(out, bring_up.answers, "answered in the file");
    Count(out, bring_up.absent, "transactions that the file does not hold");
}

void PrintUpload(std::ostream& out, const std::string& unit, const UploadRun& upload) {
    out << "MIB upload by its answers, " << unit << Range(upload.first_line, upload.last_line) << '\n';
    Count(out, upload.rows, "rows");
    if (upload.announced > 0) {
        Count(out, upload.announced, "announced");
    } else {
        out << "          without the answer that announces how many\n";
    }
}

} // namespace

void PrintReplay(std::ostream& out, const std::string& path, const std::string& unit,
                 const ReplayCounts& counts, const ProcedureTotals& procedures,
                 const std::vector<OmciService*>& services) {
    out << path << ": " << counts.faults[static_cast<unsigned int>(FrameFault::kNone)] << " frames\n";
    PrintTypes(out, counts);
    PrintServices(out, counts, services);
    PrintFaults(out, unit, counts);
    out << "procedures\n";
    Count(out, procedures.bring_ups.size(), "bring-ups followed to their last request");
    Count(out, procedures.uploads.size(), "MIB uploads followed by their answers");
    Count(out, procedures.answered, "requests with their answer");
    Count(out, procedures.unanswered, "requests without an answer");
    Count(out, procedures.unasked, "answers without a request");
    for (const BringUp& bring_up : procedures.bring_ups)
        PrintBringUp(out, unit, bring_up);
    for (const UploadRun& upload : procedures.uploads)
        PrintUpload(out, unit, upload);
}

} // namespace olt_host
