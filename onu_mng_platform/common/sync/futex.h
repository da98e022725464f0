#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_FUTEX_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_FUTEX_H

#include <atomic>
#include <cstdint>
#include <ctime>

namespace onu_mng_platform {

/// The system's ways to wait for a word until a moment. Where time_t is wider than long, the call that takes
/// such a time is missing from kernels before 5.1, and some containers forbid it: the older call then serves,
/// whose times end in 2038 on a clock that starts with the system.
///
/// Thread safety: any thread.
class FutexWaiter {
public:
    /// `wide_call` takes a timespec, `narrow_call` two longs; kNoCall where the system has none.
    constexpr FutexWaiter(long wide_call, long narrow_call)
        : wide_call_(wide_call), narrow_call_(narrow_call), has_wide_call_(wide_call != kNoCall) {}

    static constexpr long kNoCall = -1;

    /// See FutexWait().
    void Wait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline);

private:
    const long wide_call_;
    const long narrow_call_;
    std::atomic<bool> has_wide_call_; // until the system says otherwise
};

/// Blocks while `word` holds `expected`, until a wake-up, `deadline` on the monotonic clock (null: without
/// limit) or for no reason at all: the caller looks again. Where the system cannot do it, blocks for a
/// millisecond.
void FutexWait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline);

/// Wakes one thread that waits on a word. Only the address counts: nothing need be there any more.
void FutexWake(const std::atomic<uint32_t>* word);

/// Blocks while `word` holds the id of another thread, which meanwhile runs at the caller's priority if that
/// is the higher one. Returns true when the word now holds the caller's id; false when the system could not
/// do it.
bool FutexLock(std::atomic<uint32_t>& word);

/// Hands a word that holds the caller's id to the thread of highest priority that waits in FutexLock().
void FutexUnlock(std::atomic<uint32_t>& word);

} // namespace onu_mng_platform

#endif
