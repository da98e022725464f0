#include "olt_host/operators/progress.h"

#include <algorithm>

namespace olt_host {

namespace {

using namespace std::chrono_literals;

constexpr Progress::Time kMeasurement = 1s;
constexpr Progress::Time kPatience = 2s;

unsigned int CountOf(const OnuTotals& totals, OnuPhase phase) {
    return totals.phases[static_cast<unsigned int>(phase)];
}

std::string SecondsText(Progress::Time time) {
    return std::to_string(std::chrono::ceil<std::chrono::seconds>(time).count()) + " s left";
}

} // namespace

Progress::Progress(const OnuTable& onu_table, const FiberCounters& fiber_counters, Time time_limit)
    : table(onu_table), counters(fiber_counters), limit(time_limit) {}

std::vector<std::string> Progress::Look(Time elapsed) {
    Measure(elapsed);
    const OnuTotals totals = table.Totals();
    const unsigned int in_sync = CountOf(totals, OnuPhase::kInSync);
    const unsigned int failed = CountOf(totals, OnuPhase::kFailed);
    const unsigned int in_work = totals.onus - in_sync - failed;
    const std::string all = std::to_string(totals.onus);
    const std::string counts = std::to_string(in_sync) + " in sync, " + std::to_string(failed) + " failed, " +
                               std::to_string(in_work) + " in work of " + all;
    const std::string left = "; " + TimeLeft(in_sync + failed, in_work, elapsed);
    return {counts + "; " + std::to_string(rate) + " requests/s" + left, counts + left, counts,
            std::to_string(in_sync) + '/' + all + " in sync"};
}

/// Updates the rate over spans of at least a second. Only the first span may be shorter.
void Progress::Measure(Time elapsed) {
    const Time span = elapsed - measured_at;
    const bool is_first = measured_at == Time(0);
    if (span <= Time(0) || (span < kMeasurement && !is_first)) return;
    const unsigned long requests = counters.down;
    rate = static_cast<unsigned long>((requests - measured_requests) * 1000ull /
                                      static_cast<unsigned long long>(span.count()));
    measured_at = elapsed;
    measured_requests = requests;
}

std::string Progress::TimeLeft(unsigned int done, unsigned int in_work, Time elapsed) {
    if (done != last_done) last_done_at = elapsed;
    last_done = done;
    const Time most = std::max(limit - elapsed, Time(0));
    if (done == 0 || elapsed - last_done_at >= kPatience) return "at most " + SecondsText(most);
    return "about " + SecondsText(std::min(most, elapsed * in_work / done));
}

} // namespace olt_host
