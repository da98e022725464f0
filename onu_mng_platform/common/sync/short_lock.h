#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_SHORT_LOCK_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_SHORT_LOCK_H

#include <atomic>
#include <cstdint>

namespace onu_mng_platform {

/// A lock that passes on priorities, meant for a few instructions. A thread that finds it taken looks again for
/// about as long as it is then held, because to sleep and be woken takes a hundred times that. Then it sleeps,
/// and the holder runs at its priority until it is done, so that a task of high priority never waits for one of
/// low priority that others keep from running. A longer section costs the threads that wait for it those looks
/// and a call of the system, not more.
///
/// Usable from before the first static constructor to after the last static destructor.
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

    std::atomic<uint32_t> holder_{kFree}; // the system marks it while threads sleep for the lock
};

} // namespace onu_mng_platform

#endif
