/// A lock and a signalling semaphore, made of the platform's binary semaphores.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_SEM_LOCK_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_SEM_LOCK_H

#include <atomic>
#include <cstdint>

#include "onu_mng_lib/onu_mng_common/ticks.h"
#include "onu_mng_platform/bep.h"

/// Counts the tasks that hold a lock or wait for it, without an atomic addition while no task waits.
///
/// The first task that requests a free lock sets a mark, and so does each holder. A task that finds the mark
/// set counts itself in `waiting` while it waits. Two tasks that request a free lock at the same time may
/// count as one until the first of them unlocks it.
class LockCount {
public:
    /// Returns the count. Does not block.
    operator std::int32_t() const {
        return mark.load(std::memory_order_relaxed) + waiting.load(std::memory_order_relaxed);
    }

private:
    friend class ReadWriteLock;
    class Waiter;

    /// Marks a lock as requested. Removes the mark if the lock is refused or the task is deleted during the
    /// wait.
    class FirstAsker {
    public:
        explicit FirstAsker(LockCount& counted_in) : count(counted_in) {
            count.mark.store(1, std::memory_order_relaxed);
        }
        ~FirstAsker() { count.mark.store(holds ? 1 : 0, std::memory_order_relaxed); }
        FirstAsker(const FirstAsker&) = delete;
        FirstAsker& operator=(const FirstAsker&) = delete;

        bool holds = false;

    private:
        LockCount& count;
    };

    std::atomic<std::int16_t> mark{0};    ///< 1 while the lock is held or requested, else 0
    std::atomic<std::int16_t> waiting{0}; ///< number of tasks that found the mark set
};
static_assert(sizeof(LockCount) == sizeof(std::int32_t), "a count is a 32-bit field");

/// The library's lock: one binary semaphore. Readers exclude each other as writers do.
///
/// It is not re-entrant: a task that takes it twice waits without end. Any task may unlock it. Prefer
/// `LockGuard`, which also unlocks if the task is ended while it holds the lock. If the platform refuses the
/// semaphore or a wait, the lock does not exclude other tasks. One level-13 line reports each refusal.
///
/// The compiler fills in `file` and `line`: the place of the call, for the diagnostics of the platform.
class ReadWriteLock {
public:
    /// Creates the semaphore. The lock is free.
    ReadWriteLock();
    /// Deletes the semaphore. No task may hold the lock or wait for it.
    ~ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;

    /// Waits without limit until the lock is free, then holds it.
    void ReadLock(const char* file = __builtin_FILE(), int line = __builtin_LINE()) { Lock(file, line); }
    void WriteLock(const char* file = __builtin_FILE(), int line = __builtin_LINE()) { Lock(file, line); }

    /// Frees the lock and wakes one waiter. Does not block.
    void ReadUnlock() { Unlock(); }
    void WriteUnlock() { Unlock(); }

    /// Returns whether a task holds the lock or waits for it. The answer may be out of date when it is read.
    bool IsLocking() const { return lock_count > 0; }

    /// Returns the platform's id of the semaphore.
    std::uint32_t GetLockId() const { return sem_id; }

private:
    friend class LockGuard;

    // Inline, so that a lock costs little more than the two calls of the platform.

    /// Returns false if the platform refused the wait: then the lock is not held.
    bool Lock(const char* file, int line) {
        if (lock_count.mark.load(std::memory_order_relaxed) != 0) return LockAfterOthers(file, line);
        LockCount::FirstAsker asker(lock_count);
        asker.holds = bep_semTakeEx(sem_id, kWaitForEver, file, line) == 0 || Refused();
        return asker.holds;
    }
    // The mark goes first: once the semaphore is given, the mark belongs to the next holder.
    void Unlock() {
        lock_count.mark.store(0, std::memory_order_relaxed);
        bep_semGiveEx(sem_id, __FILE__, __LINE__);
    }
    bool LockAfterOthers(const char* file, int line);
    static bool Refused();

    const std::uint32_t sem_id;
    LockCount lock_count;
};

/// Holds a lock from construction to destruction.
class [[nodiscard]] LockGuard {
public:
    /// Takes the lock; waits for it without limit. `file` and `line` are the place of the call.
    explicit LockGuard(ReadWriteLock& lock_to_hold, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE())
        : lock(lock_to_hold), held(lock.Lock(file, line)) {}
    ~LockGuard() {
        if (held) lock.Unlock();
    }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    ReadWriteLock& lock;
    const bool held;
};

/// A signalling semaphore: one task waits, any task signals. It is unavailable at first.
class Semaphore {
public:
    Semaphore();
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Waits without limit until the semaphore is signalled, and takes it. Returns at once if the platform
    /// refuses the wait.
    void Wait(const char* file = __builtin_FILE(), int line = __builtin_LINE());

    /// Waits at most `seconds` for a signal and takes it. 0 does not wait. The time is cut to the largest
    /// number of ticks that the platform can count.
    /// @return 0 if the semaphore was taken, else -1.
    int TryWait(unsigned int seconds, const char* file = __builtin_FILE(), int line = __builtin_LINE());

    /// Makes the semaphore available and wakes one waiter. If it is available already, nothing changes. Does
    /// not block.
    void Signal();

    /// Returns whether a `Wait` or `TryWait` is in progress. If two tasks wait, the first that returns clears
    /// this.
    bool IsWaiting();

    /// Returns the platform's id of the semaphore.
    std::uint32_t GetSemId() const { return sem_id; }

private:
    class Waiting;
    int Take(int ticks, const char* file, int line);

    ReadWriteLock count_lock; ///< guards `wait_flag`
    const std::uint32_t sem_id;
    std::int32_t wait_flag = 0; ///< 1 while a wait is in progress
};

#endif
