// Measures every case in its own process, alternating the cases of a row, and prints the medians as a table.
//
// onu_mng_bench [--quick] [--all] [--json FILE] [FILTER]
//   --quick   three short rounds, about a minute
//   --all     all peers, not only the fastest
//   --json    also writes every sample to FILE
//   FILTER    rows whose names contain it

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/measure.h"

namespace bench {

namespace {

struct Options {
    unsigned int rounds = 9;
    bool all = false;
    const char* json = nullptr;
    std::string filter;
};

struct Result {
    const Case* of;
    std::vector<double> samples;

    double Seconds() const { return samples.empty() ? 0 : Median(samples); }
};

Rows AllRows() {
    Rows rows;
    AddMessageRows(rows);
    AddRoundTripRows(rows);
    AddPoolRows(rows);
    AddLockRows(rows);
    AddStateRows(rows);
    AddTraceRows(rows);
    AddReportRows(rows);
    return rows;
}

// ---- A process that measures ----

[[noreturn]] void MeasureCase(const Rows& rows, int row, int of_row) {
    BecomeComparable();
    const double seconds =
        rows[static_cast<std::size_t>(row)].cases[static_cast<std::size_t>(of_row)].measure();
    std::printf("%.17g\n", seconds);
    std::fflush(stdout);
    std::_Exit(0);
}

// ---- The process that asks for it ----

std::string OwnPath() {
    char path[PATH_MAX];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
    return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
}

/// Adds one sample of a case. If its process fails, adds none and reports that on standard error.
void Sample(Result& result, const std::string& row, std::size_t row_index, std::size_t case_index) {
    std::string command;
    if (!result.of->preload.empty()) command = "LD_PRELOAD='" + result.of->preload + "' ";
    command += "'" + OwnPath() + "' --measure " + std::to_string(row_index) + " " +
               std::to_string(case_index) + " " + std::to_string(budget.batch_s) + " " +
               std::to_string(budget.batches);
    std::FILE* output = popen(command.c_str(), "r");
    double seconds = 0;
    const bool read = output != nullptr && std::fscanf(output, "%lf", &seconds) == 1;
    if (output != nullptr && pclose(output) == 0 && read)
        result.samples.push_back(seconds);
    else
        std::fprintf(stderr, "%s: %s failed\n", row.c_str(), result.of->name.c_str());
}

std::vector<Result> MeasureRow(const Row& row, std::size_t row_index, unsigned int rounds) {
    std::vector<Result> results;
    for (const Case& each : row.cases)
        results.push_back({&each, {}});
    for (unsigned int round = 0; round < rounds; ++round)
        for (std::size_t index = 0; index < results.size(); ++index)
            Sample(results[index], row.name, row_index, index);
    return results;
}

// ---- Printing ----

std::string TextOf(Unit unit, double seconds) {
    char text[32];
    if (unit == Unit::kMillionsPerSecond)
        std::snprintf(text, sizeof text, "%.2f M/s", 1e-6 / seconds);
    else if (unit == Unit::kNanoseconds)
        std::snprintf(text, sizeof text, "%.1f ns", seconds * 1e9);
    else
        std::snprintf(text, sizeof text, "%.2f us", seconds * 1e6);
    return text;
}

const Result* Fastest(const std::vector<Result>& results, Case::Kind kind) {
    const Result* fastest = nullptr;
    for (const Result& result : results) {
        if (result.of->kind != kind || result.samples.empty()) continue;
        if (fastest == nullptr || result.Seconds() < fastest->Seconds()) fastest = &result;
    }
    return fastest;
}

void PrintHead() {
    std::printf("%-38s %11s %11s  %-36s %5s  %6s  %s\n", "row", "ours", "best peer", "", "ratio", "target",
                "limit");
}

void PrintRow(const Row& row, const std::vector<Result>& results, bool all) {
    const Result* ours = Fastest(results, Case::Kind::kOurs);
    const Result* peer = Fastest(results, Case::Kind::kPeer);
    if (ours == nullptr || peer == nullptr) return;
    const double ratio = peer->Seconds() / ours->Seconds();
    std::printf("%-38s %11s %11s  %-36s %5.2f%c %6.1f", row.name.c_str(),
                TextOf(row.unit, ours->Seconds()).c_str(), TextOf(row.unit, peer->Seconds()).c_str(),
                peer->of->name.c_str(), ratio, ratio < row.target ? '*' : ' ', row.target);
    if (const Result* limit = Fastest(results, Case::Kind::kLimit))
        std::printf("  %s: %s", limit->of->name.c_str(), TextOf(row.unit, limit->Seconds()).c_str());
    std::printf("\n");
    for (const Result& result : results)
        if (all && &result != peer && result.of->kind == Case::Kind::kPeer && !result.samples.empty())
            std::printf("%62s  %s\n", TextOf(row.unit, result.Seconds()).c_str(), result.of->name.c_str());
    std::fflush(stdout);
}

void PrintMissing() {
#if !__has_include(<concurrentqueue/blockingconcurrentqueue.h>)
    std::puts("left out: moodycamel (libconcurrentqueue-dev)");
#endif
#if !__has_include(<boost/lockfree/queue.hpp>)
    std::puts("left out: Boost lockfree (libboost-dev)");
#endif
#if !__has_include(<fmt/format.h>)
    std::puts("left out: fmt (libfmt-dev)");
#endif
#ifndef BENCH_TBB
    std::puts("left out: TBB (libtbb-dev)");
#endif
#ifndef BENCH_MIMALLOC
    std::puts("left out: mimalloc (libmimalloc-dev)");
#endif
#ifndef BENCH_JEMALLOC
    std::puts("left out: jemalloc (libjemalloc-dev)");
#endif
}

void WriteJson(std::FILE* file, const Row& row, const std::vector<Result>& results, bool first) {
    std::fprintf(file, "%s\n  {\"row\": \"%s\", \"target\": %g, \"goal\": %g, \"cases\": [", first ? "" : ",",
                 row.name.c_str(), row.target, row.goal);
    const char* const kinds[] = {"ours", "peer", "limit"};
    for (const Result& result : results) {
        std::fprintf(file, "%s\n    {\"kind\": \"%s\", \"name\": \"%s\", \"seconds\": [",
                     &result == results.data() ? "" : ",", kinds[static_cast<int>(result.of->kind)],
                     result.of->name.c_str());
        for (const double& sample : result.samples)
            std::fprintf(file, "%s%.4g", &sample == result.samples.data() ? "" : ", ", sample);
        std::fprintf(file, "]}");
    }
    std::fprintf(file, "]}");
}

int MeasureAll(const Rows& rows, const Options& options) {
    std::FILE* json = options.json == nullptr ? nullptr : std::fopen(options.json, "w");
    if (options.json != nullptr && json == nullptr) {
        std::perror(options.json);
        return 1;
    }
    PrintMissing();
    PrintHead();
    if (json != nullptr) std::fputs("[", json);
    bool first = true;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const Row& row = rows[index];
        if (row.name.find(options.filter) == std::string::npos) continue;
        const std::vector<Result> results = MeasureRow(row, index, options.rounds);
        PrintRow(row, results, options.all);
        if (json != nullptr) WriteJson(json, row, results, first);
        first = false;
    }
    std::puts("*: below the target. The ratio is that of the speeds, ours to the best peer's.");
    if (json == nullptr) return 0;
    std::fputs("\n]\n", json);
    return std::fclose(json) == 0 ? 0 : 1;
}

int Usage() {
    std::fputs("usage: onu_mng_bench [--quick] [--all] [--json FILE] [FILTER]\n", stderr);
    return 2;
}

} // namespace

} // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    const Rows rows = AllRows();
    if (argc == 6 && std::strcmp(argv[1], "--measure") == 0) {
        budget = {std::atof(argv[4]), static_cast<unsigned int>(std::atoi(argv[5]))};
        MeasureCase(rows, std::atoi(argv[2]), std::atoi(argv[3]));
    }
    Options options;
    for (int arg = 1; arg < argc; ++arg) {
        if (std::strcmp(argv[arg], "--quick") == 0) {
            options.rounds = 3;
            budget = {0.02, 3};
        } else if (std::strcmp(argv[arg], "--all") == 0) {
            options.all = true;
        } else if (std::strcmp(argv[arg], "--json") == 0 && arg + 1 < argc) {
            options.json = argv[++arg];
        } else if (argv[arg][0] != '-' && options.filter.empty()) {
            options.filter = argv[arg];
        } else {
            return Usage();
        }
    }
    return MeasureAll(rows, options);
}
