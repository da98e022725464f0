#include "onu_mng_platform/posix/deadline.h"

#include <limits>

#include "onu_mng_platform/bep.h"

namespace onu_mng_platform {
namespace {

constexpr int kTicksPerSecond = 1000;
constexpr long kNanosecondsPerSecond = 1'000'000'000;

timespec MonotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

} // namespace

Deadline::Deadline(int ticks) {
    if (ticks < 0) kind_ = Kind::kNever;
    if (ticks <= 0) return;
    constexpr long kNanosecondsPerTick = kNanosecondsPerSecond / kTicksPerSecond;
    *this = After({ticks / kTicksPerSecond, ticks % kTicksPerSecond * kNanosecondsPerTick});
}

Deadline Deadline::After(const timespec& duration) {
    Deadline deadline;
    deadline.moment_ = MonotonicNow();
    const time_t latest = std::numeric_limits<time_t>::max() - deadline.moment_.tv_sec - 1;
    deadline.kind_ = duration.tv_sec > latest ? Kind::kNever : Kind::kMoment;
    if (deadline.IsNever()) return deadline;
    deadline.moment_.tv_sec += duration.tv_sec;
    deadline.moment_.tv_nsec += duration.tv_nsec;
    if (deadline.moment_.tv_nsec >= kNanosecondsPerSecond) {
        deadline.moment_.tv_nsec -= kNanosecondsPerSecond;
        ++deadline.moment_.tv_sec;
    }
    return deadline;
}

bool Deadline::HasPassed() const {
    if (kind_ != Kind::kMoment) return kind_ == Kind::kPast;
    const timespec now = MonotonicNow();
    if (now.tv_sec != moment_.tv_sec) return now.tv_sec > moment_.tv_sec;
    return now.tv_nsec >= moment_.tv_nsec;
}

} // namespace onu_mng_platform

extern "C" int bep_sysClkRateGetEx() {
    return onu_mng_platform::kTicksPerSecond;
}
