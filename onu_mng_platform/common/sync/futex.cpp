#include "onu_mng_platform/common/sync/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "the system waits on the word itself");

// Where long has 32 bits and time_t 64, the system has a call of its own for the wider time.
#if defined(SYS_futex_time64)
constexpr long kFutex = sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long kFutex = SYS_futex;
#endif

} // namespace

void FutexWait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline) {
    // The variant with a bit set takes a moment instead of a duration.
    syscall(kFutex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, expected, deadline, nullptr,
            FUTEX_BITSET_MATCH_ANY);
}

void FutexWake(const std::atomic<uint32_t>* word) {
    syscall(kFutex, word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, 1, nullptr, nullptr, 0);
}

bool FutexLock(std::atomic<uint32_t>& word) {
    return syscall(kFutex, &word, FUTEX_LOCK_PI | FUTEX_PRIVATE_FLAG, 0, nullptr, nullptr, 0) == 0;
}

void FutexUnlock(std::atomic<uint32_t>& word) {
    syscall(kFutex, &word, FUTEX_UNLOCK_PI | FUTEX_PRIVATE_FLAG, 0, nullptr, nullptr, 0);
}

} // namespace onu_mng_platform
