#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_SHORT_LOCK_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_SHORT_LOCK_H

#include <atomic>
#include <cstdint>

namespace onu_mng_platform {

/// A lock with priority inheritance for sections of a few instructions. A thread that finds it taken first
/// spins for about the length of such a section, because sleeping and waking up take a hundred times as long.
/// Then it sleeps, and the holder runs at least at its priority, so a task of high priority never waits for a
/// preempted task of low priority. A longer section costs the waiting threads only the spinning and a system
/// call.
///
/// Usable in static constructors and destructors.
class ShortLock {
public:
    constexpr ShortLock() = default;
    ShortLock(const ShortLock&) = delete;
    ShortLock& operator=(const ShortLock&) = delete;

    void lock() {
        uint32_t expected = kFree;
        if (!holder_.compare_exchange_strong(expected, OwnId(), std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
            LockSlowly();
        }
    }
    void unlock() {
        uint32_t expected = OwnId();
        if (!holder_.compare_exchange_strong(expected, kFree, std::memory_order_release,
                                             std::memory_order_relaxed)) {
            UnlockSlowly();
        }
    }

private:
    static constexpr uint32_t kFree = 0;

    /// Returns the system's id of the calling thread.
    static uint32_t OwnId() { return t_own_id != 0 ? t_own_id : AskOwnId(); }
    static uint32_t AskOwnId();
    bool TryLock();
    void LockSlowly();
    void UnlockSlowly();

    static inline thread_local uint32_t t_own_id = 0;
    static const int s_fork_handler;

    std::atomic<uint32_t> holder_{kFree}; // the kernel sets a bit in it while threads sleep for the lock
};

} // namespace onu_mng_platform

#endif
