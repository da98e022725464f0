#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_FUTEX_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_FUTEX_H

#include <atomic>
#include <cstdint>
#include <ctime>

namespace onu_mng_platform {

/// Blocks while `word` holds `expected`, until a wake-up, `deadline` on the monotonic clock (null: without
/// limit) or for no reason at all: the caller looks again.
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
