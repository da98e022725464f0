#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_FUTEX_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_FUTEX_H

#include <atomic>
#include <cstdint>
#include <ctime>

namespace onu_mng_platform {

/// Selects the system call for waiting on a word. If time_t is wider than long, the call for 64-bit times is
/// missing in kernels before 5.1 and forbidden in some containers. The older call then replaces it. Its
/// 32-bit times are sufficient, because the monotonic clock starts at boot.
///
/// Thread safety: any thread.
class FutexWaiter {
public:
    /// `wide_call` takes a timespec, `narrow_call` two longs. kNoCall if the system does not have the call.
    constexpr FutexWaiter(long wide_call, long narrow_call)
        : wide_call_(wide_call), narrow_call_(narrow_call), has_wide_call_(wide_call != kNoCall) {}

    static constexpr long kNoCall = -1;

    /// Does the work of FutexWait().
    void Wait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline);

private:
    const long wide_call_;
    const long narrow_call_;
    std::atomic<bool> has_wide_call_; // cleared when the system refuses the call
};

/// Blocks while `word` holds `expected`, until a wake-up or until `deadline` on the monotonic clock (null: no
/// limit). Spurious returns are possible, so the caller must check again. If the system call fails, blocks
/// for a millisecond.
void FutexWait(const std::atomic<uint32_t>& word, uint32_t expected, const timespec* deadline);

/// Wakes one thread that waits on a word. Uses only the address, so the word may no longer exist.
void FutexWake(const std::atomic<uint32_t>* word);

/// Blocks while `word` holds the id of another thread. Meanwhile that thread runs at least at the caller's
/// priority. Returns true if the word now holds the caller's id; false if the system call has failed.
[[nodiscard]] bool FutexLock(std::atomic<uint32_t>& word);

/// Releases a word that holds the caller's id. Passes it to the thread of the highest priority in
/// FutexLock().
void FutexUnlock(std::atomic<uint32_t>& word);

} // namespace onu_mng_platform

#endif
