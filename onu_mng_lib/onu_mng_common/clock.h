/// Time stamps; the current date and time.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_CLOCK_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_CLOCK_H

#include <atomic>
#include <cstdint>
#include <string>

/// The units of `Clock::Diff`. Any other value means nanoseconds.
enum ClockPrecision : unsigned int {
    CLOCK_PRECISION_S = 0,
    CLOCK_PRECISION_MS = 1,
    CLOCK_PRECISION_US = 2,
    CLOCK_PRECISION_NS = 3,
};

/// A date and time. Month and day count from 1.
struct TimeSpec {
    unsigned short year;        ///< such as 2026
    unsigned char month;        ///< 1 to 12
    unsigned char day;          ///< 1 to 31
    unsigned char hour;         ///< 0 to 23
    unsigned char minute;       ///< 0 to 59
    unsigned char second;       ///< 0 to 60
    unsigned short millisecond; ///< 0 to 999
};

/// A time stamp of the system's real-time clock. If the system time is set, measured spans change by the same
/// amount. A span is never negative: the span to a stamp in the future is 0.
///
/// If the clock cannot be read, the stamp keeps its value.
///
/// Thread safety: one task may stamp a clock while others read or stamp it. Only `Delay` blocks.
class Clock {
public:
    /// Stamps the current time.
    Clock() { Now(); }
    Clock(const Clock& other) : stamp(other.Load()) {}
    Clock& operator=(const Clock& other);

    /// Stamps the current time again.
    void Now();

    /// Returns the whole units from the stamp until now, and stamps the current time.
    unsigned long long Diff(ClockPrecision precision);

    /// Sleeps for `milliseconds`. A sleep that a signal interrupts is not resumed.
    /// @return 0; -1 if it was interrupted or `milliseconds` is negative.
    static int Delay(int milliseconds);

    /// Returns the current date and time as year/month/day hour:minute:second:millisecond. The year and the
    /// milliseconds have at least four digits, the others at least two. Parts that the system cannot give are
    /// 0. The text is empty if memory is short.
    std::string ToString() const;

    /// Fills `time_spec` with the current date and time. Fields that the system cannot give stay as they
    /// were.
    static void ToTimeSpec(TimeSpec& time_spec);

private:
    friend long long operator-(const Clock& later, const Clock& earlier);

    std::int64_t Load() const { return stamp.load(std::memory_order_relaxed); }

    /// Nanoseconds since 1970. One number, so that no reader sees a stamp that is half written.
    std::atomic<std::int64_t> stamp{0};
};

/// Returns the whole milliseconds from `earlier` to `later`; 0 if `later` is before `earlier`.
long long operator-(const Clock& later, const Clock& earlier);

#endif
