/// Time stamps, and the current date and time.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_CLOCK_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_CLOCK_H

#include <atomic>
#include <cstdint>
#include <string>

/// The unit of `Clock::Diff`. Any other number counts as nanoseconds.
enum ClockPrecision : unsigned int {
    CLOCK_PRECISION_S = 0,
    CLOCK_PRECISION_MS = 1,
    CLOCK_PRECISION_US = 2,
    CLOCK_PRECISION_NS = 3,
};

/// A calendar date and time; month and day count from 1.
struct TimeSpec {
    unsigned short year;
    unsigned char month;
    unsigned char day;
    unsigned char hour;
    unsigned char minute;
    unsigned char second;
    unsigned short millisecond;
};

/// A stamp of the system's real-time clock; setting the system time moves every measurement with it. Spans
/// are never negative: a stamp in the future is 0 away.
///
/// Where the clock cannot be read, a stamp stays as it was.
///
/// Thread safety: a clock may be stamped by one task while others read or stamp it. Only `Delay` blocks.
class Clock {
public:
    /// Stamps the current time.
    Clock() { Now(); }
    Clock(const Clock& other) : stamp(other.Load()) {}
    Clock& operator=(const Clock& other);

    /// Stamps the current time again.
    void Now();

    /// The whole units from the stamp until now; then stamps the current time.
    unsigned long long Diff(ClockPrecision precision);

    /// Sleeps for `milliseconds`. A sleep cut short by a signal is not resumed.
    /// @return 0; -1 when it was cut short or `milliseconds` is negative.
    static int Delay(int milliseconds);

    /// The current date and time as year/month/day hour:minute:second:millisecond, the year and the
    /// milliseconds padded to four digits, the rest to two. Parts that the system cannot give are 0. Empty
    /// when memory is short.
    std::string ToString() const;

    /// Fills `time_spec` with the current date and time; what the system cannot give stays as it was.
    static void ToTimeSpec(TimeSpec& time_spec);

private:
    friend long long operator-(const Clock& later, const Clock& earlier);

    std::int64_t Load() const { return stamp.load(std::memory_order_relaxed); }

    /// Nanoseconds since 1970. One number, so that no reader sees half of a stamp.
    std::atomic<std::int64_t> stamp{0};
};

/// The whole milliseconds from `earlier` to `later`; 0 when `later` comes first.
long long operator-(const Clock& later, const Clock& earlier);

#endif
