#include "onu_mng_platform/common/sync/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace onu_mng_platform {
namespace {

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "the system waits on the word itself");

#if defined(SYS_futex)
constexpr long kFutex = SYS_futex;
#else
constexpr long kFutex = FutexWaiter::kNoCall; // 32-bit systems that have only 64-bit times
#endif
#if defined(SYS_futex_time64)
constexpr long kFutexTime64 = SYS_futex_time64;
#else
constexpr long kFutexTime64 = FutexWaiter::kNoCall;
#endif

constexpr bool kTimeIsWide = sizeof(time_t) > sizeof(long) && kFutexTime64 != FutexWaiter::kNoCall;
constexpr long kAnyFutex = kFutex != FutexWaiter::kNoCall ? kFutex : kFutexTime64; // for calls without a time

FutexWaiter g_waiter(kTimeIsWide ? kFutexTime64 : kFutex, kFutex);

struct NarrowTime {
    long seconds;
    long nanoseconds;
};

NarrowTime Narrow(const timespec& time) {
    constexpr time_t kLast = std::numeric_limits<long>::max();
    return {static_cast<long>(std::min<time_t>(time.tv_sec, kLast)), static_cast<long>(time.tv_nsec)};
}

/// Returns 0 after a wait, even one that ended at once or was interrupted; else the error number.
/// FUTEX_WAIT_BITSET is used because it takes an absolute time instead of a duration.
int WaitOnce(long call, const std::atomic<uint32_t>& word, uint32_t expected, const void* deadline) {
    constexpr int kOperation = FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG;
    if (syscall(call, &word, kOperation, expected, deadline, nullptr, FUTEX_BITSET_MATCH_ANY) == 0) return 0;
    return errno == EAGAIN || errno == EINTR || errno == ETIMEDOUT ? 0 : errno;
}

} // namespace

void FutexWaiter::Wait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline) {
    if (has_wide_call_.load(std::memory_order_relaxed)) {
        const int error = WaitOnce(wide_call_, word, expected, deadline);
        if (error == 0) return;
        if (error == ENOSYS || error == EPERM) has_wide_call_.store(false, std::memory_order_relaxed);
    }
    const NarrowTime narrow = deadline == nullptr ? NarrowTime() : Narrow(*deadline);
    if (WaitOnce(narrow_call_, word, expected, deadline == nullptr ? nullptr : &narrow) == 0) return;
    // The caller checks again at once, so without a pause it would spin.
    constexpr timespec kMoment{0, 1'000'000};
    clock_nanosleep(CLOCK_MONOTONIC, 0, &kMoment, nullptr);
}

void FutexWait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline) {
    g_waiter.Wait(word, expected, deadline);
}

void FutexWake(const std::atomic<uint32_t>* word) {
    syscall(kAnyFutex, word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, 1, nullptr, nullptr, 0);
}

bool FutexLock(std::atomic<uint32_t>& word) {
    return syscall(kAnyFutex, &word, FUTEX_LOCK_PI | FUTEX_PRIVATE_FLAG, 0, nullptr, nullptr, 0) == 0;
}

void FutexUnlock(std::atomic<uint32_t>& word) {
    syscall(kAnyFutex, &word, FUTEX_UNLOCK_PI | FUTEX_PRIVATE_FLAG, 0, nullptr, nullptr, 0);
}

} // namespace onu_mng_platform
