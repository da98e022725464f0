#include "onu_mng_platform/common/sync/short_lock.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>

#include "onu_mng_platform/common/sync/futex.h"
#include "onu_mng_platform/common/sync/pause.h"

namespace onu_mng_platform {
namespace {

constexpr int kLooks = 100;

} // namespace

// A forked process must read its thread id again.
const int ShortLock::s_fork_handler = pthread_atfork(nullptr, nullptr, [] { t_own_id = 0; });

uint32_t ShortLock::AskOwnId() {
    t_own_id = static_cast<uint32_t>(syscall(SYS_gettid));
    return t_own_id;
}

bool ShortLock::TryLock() {
    uint32_t expected = kFree;
    return holder_.load(std::memory_order_relaxed) == kFree &&
           holder_.compare_exchange_strong(expected, OwnId(), std::memory_order_acquire,
                                           std::memory_order_relaxed);
}

void ShortLock::LockSlowly() {
    for (int look = 0; look < kLooks; ++look) {
        if (TryLock()) return;
        Pause();
    }
    while (!FutexLock(holder_)) {
        // The call may fail, for instance if memory is short. Sleep, so that the holder can run.
        constexpr timespec kMoment{0, 50'000};
        clock_nanosleep(CLOCK_MONOTONIC, 0, &kMoment, nullptr);
        if (TryLock()) return;
    }
    // The kernel has set the word, so this load makes the previous holder's writes visible.
    holder_.load(std::memory_order_acquire);
}

void ShortLock::UnlockSlowly() {
    holder_.fetch_or(0, std::memory_order_release);
    FutexUnlock(holder_);
}

} // namespace onu_mng_platform
