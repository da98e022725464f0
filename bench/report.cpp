// A report of 2,048 rows and 8 columns, written to memory.

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if __has_include(<fmt/format.h>)
#define BENCH_FMT
#define FMT_HEADER_ONLY
#include <fmt/format.h>
#endif

#include "bench/measure.h"
#include "bench/modules.h"
#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"
#include "onu_mng_platform/cli.h"

namespace bench {

namespace {

constexpr unsigned int kReport = 1000;
constexpr unsigned int kRowCount = 2048;
/// The widths of the columns below after their registration.
constexpr std::size_t kWidths[] = {6, 7, 7, 11, 11, 19, 13, 9};

struct Record {
    bool enabled;
    std::uint16_t pon;
    std::uint16_t onu;
    std::uint32_t requests;
    std::uint32_t answers;
    std::uint64_t octets;
    std::string sn;
    std::string phase;
};

std::vector<Record> Records() {
    std::vector<Record> records;
    for (std::uint32_t i = 0; i < kRowCount; ++i) {
        const std::uint32_t mixed = i * 2654435761u;
        std::string sn = "KVXQ-";
        for (int shift = 28; shift >= 0; shift -= 4)
            sn += "0123456789abcdef"[mixed >> shift & 15];
        sn.resize(12);
        records.push_back({i % 3 != 0, static_cast<std::uint16_t>(i / 128 + 1),
                           static_cast<std::uint16_t>(i % 128), mixed >> (i % 24), i * 571,
                           std::uint64_t{mixed} * i, sn, i % 5 == 0 ? "offline" : "in sync"});
    }
    return records;
}

/// Receives the characters of a terminal. Starts again for each report.
struct Memory {
    std::vector<char> room = std::vector<char>(1 << 20);
    std::size_t used = 0;

    static void Write(void* context, const char* data, std::size_t size) {
        auto* memory = static_cast<Memory*>(context);
        if (memory->used + size > memory->room.size()) std::abort();
        std::memcpy(memory->room.data() + memory->used, data, size);
        memory->used += size;
    }
};

struct OurReport {
    OurReport() {
        auto* formats = CommandFormatMgr::GetInstance();
        formats->RegisterCmd(kReport, {kReport, "ONUs", "The result is shown as follows"});
        const std::pair<const char*, VariantType> columns[] = {
            {"ON", VARIANT_TYPE_BOOL},   {"PON", VARIANT_TYPE_USHORT},   {"ONU", VARIANT_TYPE_USHORT},
            {"SENT", VARIANT_TYPE_UINT}, {"HEARD", VARIANT_TYPE_UINT},   {"OCTETS", VARIANT_TYPE_UINT64},
            {"SN", VARIANT_TYPE_STRING}, {"PHASE", VARIANT_TYPE_STRING},
        };
        unsigned int id = 0;
        for (const auto& [name, type] : columns) {
            const unsigned int width = id == 6 ? 12 : id == 7 ? 8 : 0;
            ParameterFormat column{id++, name, "", type, width};
            formats->RegisterParameter(kReport, column);
        }
        for (const Record& record : Records()) {
            rows.push_back({{0, Variant(record.enabled)},
                            {1, Variant(record.pon)},
                            {2, Variant(record.onu)},
                            {3, Variant(record.requests)},
                            {4, Variant(record.answers)},
                            {5, Variant(static_cast<unsigned long long>(record.octets))},
                            {6, Variant(record.sn)},
                            {7, Variant(record.phase)}});
        }
    }
    void Print() {
        memory.used = 0;
        CommandFormatMgr::GetInstance()->PrintCmd(kReport, rows, true, terminal);
        Keep(memory.room[0]);
    }

    CommandFormatMgr::Rows rows;
    Memory memory;
    vty* terminal = vty_create(Memory::Write, &memory);
};

// The peers print the lines of the rows.

struct CharsReport {
    void Print() {
        text.clear();
        for (const Record& record : records) {
            Put(record.enabled ? "True" : "False", 0);
            PutNumber(record.pon, 10, 1);
            PutNumber(record.onu, 10, 2);
            PutNumber(record.requests, 16, 3);
            PutNumber(record.answers, 16, 4);
            PutNumber(record.octets, 16, 5);
            Put(record.sn, 6);
            Put(record.phase, 7);
            text += "\r\n";
        }
        Keep(text[0]);
    }
    void Put(std::string_view cell, std::size_t column) {
        text += cell;
        text.append(kWidths[column] > cell.size() ? kWidths[column] - cell.size() : 1, ' ');
    }
    template <typename T>
    void PutNumber(T number, int base, std::size_t column) {
        char digits[24] = "0x";
        char* first = base == 16 ? digits + 2 : digits;
        const char* end = std::to_chars(first, digits + sizeof digits, number, base).ptr;
        Put({digits, static_cast<std::size_t>(end - digits)}, column);
    }

    std::vector<Record> records = Records();
    std::string text;
};

struct PrintfReport {
    void Print() {
        text.clear();
        char line[128];
        for (const Record& record : records) {
            char numbers[3][24];
            std::snprintf(numbers[0], sizeof numbers[0], "0x%x", record.requests);
            std::snprintf(numbers[1], sizeof numbers[1], "0x%x", record.answers);
            std::snprintf(numbers[2], sizeof numbers[2], "0x%llx",
                          static_cast<unsigned long long>(record.octets));
            const int size =
                std::snprintf(line, sizeof line, "%-6s%-7u%-7u%-11s%-11s%-19s%-13s%-9s\r\n",
                              record.enabled ? "True" : "False", record.pon, record.onu, numbers[0],
                              numbers[1], numbers[2], record.sn.c_str(), record.phase.c_str());
            text.append(line, static_cast<std::size_t>(size));
        }
        Keep(text[0]);
    }

    std::vector<Record> records = Records();
    std::string text;
};

#ifdef BENCH_FMT
struct FmtReport {
    void Print() {
        text.clear();
        for (const Record& record : records)
            fmt::format_to(std::back_inserter(text), "{:<6}{:<7}{:<7}{:<#11x}{:<#11x}{:<#19x}{:<13}{:<9}\r\n",
                           record.enabled ? "True" : "False", record.pon, record.onu, record.requests,
                           record.answers, record.octets, record.sn, record.phase);
        Keep(text.data()[0]);
    }

    std::vector<Record> records = Records();
    fmt::memory_buffer text;
};
#endif

std::string_view TextOf(const CharsReport& report) {
    return report.text;
}
std::string_view TextOf(const PrintfReport& report) {
    return report.text;
}
#ifdef BENCH_FMT
std::string_view TextOf(const FmtReport& report) {
    return {report.text.data(), report.text.size()};
}
#endif

template <typename Report>
double TimeOfReport(Report& report) {
    return TimePerOperation([&report](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            report.Print();
    });
}

double OurTime() {
    StartSystem();
    OurReport report;
    return TimeOfReport(report);
}

/// The time of a peer. Aborts if the peer does not print the same rows.
template <typename Report>
double PeerTime() {
    StartSystem();
    OurReport ours;
    ours.Print();
    Report report;
    report.Print();
    if (std::string_view(ours.memory.room.data(), ours.memory.used).find(TextOf(report)) ==
        std::string_view::npos)
        std::abort();
    return TimeOfReport(report);
}

double CopyTime() {
    StartSystem();
    OurReport report;
    report.Print();
    Memory copy;
    return TimePerOperation([&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            copy.used = 0;
            Memory::Write(&copy, report.memory.room.data(), report.memory.used);
            Keep(copy.room[0]);
        }
    });
}

} // namespace

void AddReportRows(Rows& rows) {
    using Kind = Case::Kind;
    Row row{"report of 2,048 rows x 8 cells", Unit::kMicroseconds, 1.0, 2, {}};
    row.cases.push_back({Kind::kOurs, "ours", OurTime, ""});
    row.cases.push_back({Kind::kPeer, "to_chars", PeerTime<CharsReport>, ""});
    row.cases.push_back({Kind::kPeer, "snprintf", PeerTime<PrintfReport>, ""});
#ifdef BENCH_FMT
    row.cases.push_back({Kind::kPeer, "fmt", PeerTime<FmtReport>, ""});
#endif
    row.cases.push_back({Kind::kLimit, "copy", CopyTime, ""});
    rows.push_back(row);
}

} // namespace bench
