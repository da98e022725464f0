#include <cerrno>
#include <ctime>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/text.h"
#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/sim/seam_call.h"

using namespace onu_mng_platform;

// On 32-bit systems with 64-bit times the calls have other names.
#ifdef __USE_TIME_BITS64
#define __wrap_clock_gettime __wrap___clock_gettime64
#define __real_clock_gettime __real___clock_gettime64
#define __wrap_nanosleep __wrap___nanosleep64
#define __real_nanosleep __real___nanosleep64
#endif

// The linker redirects every call of the library and of the program to these functions (--wrap). Callers that
// are not tasks of a run, and requests for other clocks than the calendar and the monotonic ones, get the
// system's answer.
extern "C" {
int __real_clock_gettime(clockid_t clock, timespec* time);
int __real_nanosleep(const timespec* request, timespec* remaining);
int __wrap_clock_gettime(clockid_t clock, timespec* time);
int __wrap_nanosleep(const timespec* request, timespec* remaining);
}

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

constexpr CallName kGetTime{"clock_gettime", nullptr, "clock", nullptr};
constexpr CallName kSleep{"nanosleep", nullptr, "seconds", "nanoseconds"};
constexpr CallName kRate{"sysClkRateGet", nullptr, nullptr, nullptr};
constexpr CallName kDate{"getDateTime", nullptr, nullptr, nullptr};

enum class ClockKind { kCalendar, kMonotonic, kOther };

ClockKind KindOf(clockid_t clock) {
    switch (clock) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
        return ClockKind::kCalendar;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_BOOTTIME:
        return ClockKind::kMonotonic;
    default:
        return ClockKind::kOther;
    }
}

bool IsSpan(const timespec* span) {
    return span != nullptr && span->tv_sec >= 0 && span->tv_nsec >= 0 &&
           span->tv_nsec < kNanosecondsPerSecond;
}

SimTime Span(const timespec& span) {
    if (span.tv_sec >= kNever.count() / kNanosecondsPerSecond) return kNever;
    return SimTime(std::int64_t{span.tv_sec} * kNanosecondsPerSecond + span.tv_nsec);
}

} // namespace

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
    const ClockKind kind = KindOf(clock);
    if (!IsProgram(CurrentTask()) || kind == ClockKind::kOther || time == nullptr)
        return __real_clock_gettime(clock, time);
    SeamCall call(kGetTime);
    call.With(clock);
    const SimRun& run = *call.Run();
    *time = ToTimespec(kind == ClockKind::kCalendar ? run.Calendar() : run.scheduler.Now());
    return call.Result(0);
}

int __wrap_nanosleep(const timespec* request, timespec* remaining) {
    if (!IsProgram(CurrentTask()) || !IsSpan(request)) return __real_nanosleep(request, remaining);
    SeamCall call(kSleep);
    call.With(request->tv_sec, request->tv_nsec);
    call.EndPoint();
    call.WaitUntil(WaitKind::kTime, nullptr, call.Run()->scheduler.After(Span(*request)));
    return call.Result(0);
}

int bep_sysClkRateGetEx(void) {
    SeamCall call(kRate);
    return call.Result(kTicksPerSecond);
}

int getDateTime(unsigned short* year, unsigned char* month, unsigned char* day, unsigned char* hour,
                unsigned char* minute, unsigned char* second) {
    SeamCall call(kDate);
    const SimRun* run = call.Run();
    const std::time_t now = run != nullptr ? ToTimespec(run->Calendar()).tv_sec : std::time(nullptr);
    return call.Result(LocalDateTime(now, year, month, day, hour, minute, second));
}
