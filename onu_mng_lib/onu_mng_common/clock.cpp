#include "onu_mng_lib/onu_mng_common/clock.h"

#include <ctime>
#include <limits>

#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_platform/cutil.h"

namespace {

constexpr std::int64_t kNsPerSecond = 1000000000;
constexpr std::int64_t kNsPerMs = 1000000;

/// Limits the time to 64 bits of nanoseconds: a board with an empty clock battery may start with any date.
constexpr std::int64_t kLastSecond = std::numeric_limits<std::int64_t>::max() / kNsPerSecond - 1;

std::int64_t Nanoseconds(const timespec& time) {
    const std::int64_t seconds = time.tv_sec;
    if (seconds > kLastSecond) return kLastSecond * kNsPerSecond;
    if (seconds < -kLastSecond) return -kLastSecond * kNsPerSecond;
    return seconds * kNsPerSecond + time.tv_nsec;
}

/// Returns 0 if `to` is not later. Unsigned, because the difference of two 64-bit stamps may overflow a
/// signed number.
std::uint64_t Span(std::int64_t from, std::int64_t to) {
    return to <= from ? 0 : static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
}

std::uint64_t NsPerUnit(ClockPrecision precision) {
    switch (precision) {
    case CLOCK_PRECISION_S:
        return kNsPerSecond;
    case CLOCK_PRECISION_MS:
        return kNsPerMs;
    case CLOCK_PRECISION_US:
        return 1000;
    default:
        return 1;
    }
}

} // namespace

Clock& Clock::operator=(const Clock& other) {
    stamp.store(other.Load(), std::memory_order_relaxed);
    return *this;
}

void Clock::Now() {
    timespec now;
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) return;
    stamp.store(Nanoseconds(now), std::memory_order_relaxed);
}

unsigned long long Clock::Diff(ClockPrecision precision) {
    const Clock now;
    const std::uint64_t units = Span(Load(), now.Load()) / NsPerUnit(precision);
    Now();
    return units;
}

int Clock::Delay(int milliseconds) {
    timespec span{};
    span.tv_sec = milliseconds / 1000;
    span.tv_nsec = milliseconds % 1000 * kNsPerMs;
    return nanosleep(&span, nullptr);
}

std::string Clock::ToString() const {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    unsigned short year = 0;
    unsigned char month = 0, day = 0, hour = 0, minute = 0, second = 0;
    getDateTime(&year, &month, &day, &hour, &minute, &second);
    std::string text;
    VariantUtil::Assign(text, "%04d/%02d/%02d %02d:%02d:%02d:%04d", year, month, day, hour, minute, second,
                        static_cast<int>(now.tv_nsec / kNsPerMs));
    return text;
}

void Clock::ToTimeSpec(TimeSpec& time_spec) {
    timespec now;
    const bool has_time = clock_gettime(CLOCK_REALTIME, &now) == 0;
    getDateTime(&time_spec.year, &time_spec.month, &time_spec.day, &time_spec.hour, &time_spec.minute,
                &time_spec.second);
    if (has_time) time_spec.millisecond = static_cast<unsigned short>(now.tv_nsec / kNsPerMs);
}

long long operator-(const Clock& later, const Clock& earlier) {
    return static_cast<long long>(Span(earlier.Load(), later.Load()) / static_cast<std::uint64_t>(kNsPerMs));
}
