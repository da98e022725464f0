/// Locks and a signalling semaphore over the platform's binary semaphores.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_SEM_LOCK_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_SEM_LOCK_H

#include <atomic>
#include <cstdint>

/// The library's lock: one binary semaphore, exclusive for readers and writers alike.
///
/// Not re-entrant: a task that takes it twice waits for ever. Any task may unlock. Prefer `LockGuard`, which
/// also gives the lock back when the task is ended while it holds it. Where the platform refuses the
/// semaphore or a wait, the lock does not exclude and one level-13 line says so.
///
/// The compiler fills in `file` and `line`, the place of the call, for the diagnostics of the platform.
class ReadWriteLock {
public:
    /// Creates the semaphore, available.
    ReadWriteLock();
    /// Deletes the semaphore. No task holds the lock or waits for it.
    ~ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;

    /// Waits without limit until the lock is free, then holds it.
    void ReadLock(const char* file = __builtin_FILE(), int line = __builtin_LINE()) { Lock(file, line); }
    void WriteLock(const char* file = __builtin_FILE(), int line = __builtin_LINE()) { Lock(file, line); }

    /// Frees the lock and wakes one waiter. Does not block.
    void ReadUnlock() { Unlock(); }
    void WriteUnlock() { Unlock(); }

    /// True while a task holds the lock or waits for it; an indication, out of date when it is read.
    bool IsLocking() const { return lock_count.load(std::memory_order_relaxed) > 0; }

    /// The platform's semaphore id.
    std::uint32_t GetLockId() const { return sem_id; }

private:
    friend class LockGuard;

    /// False when the platform refused the wait: the lock is then not held.
    bool Lock(const char* file, int line);
    void Unlock(bool held = true);

    const std::uint32_t sem_id;
    std::atomic<std::int32_t> lock_count{0}; ///< tasks that hold the lock or wait for it
};

/// Holds a lock from construction to destruction.
class LockGuard {
public:
    explicit LockGuard(ReadWriteLock& lock_to_hold, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE())
        : lock(lock_to_hold), held(lock.Lock(file, line)) {}
    ~LockGuard() { lock.Unlock(held); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    ReadWriteLock& lock;
    const bool held;
};

/// A signalling semaphore: one task waits, any task signals. Created unavailable.
class Semaphore {
public:
    Semaphore();
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Waits without limit until the semaphore is signalled, and takes it.
    void Wait(const char* file = __builtin_FILE(), int line = __builtin_LINE());

    /// Waits at most `seconds` for a signal (0: not at all; spans beyond the platform's ticks are cut to
    /// them).
    /// @return 0 when the semaphore was taken, -1 when it was not.
    int TryWait(unsigned int seconds, const char* file = __builtin_FILE(), int line = __builtin_LINE());

    /// Makes the semaphore available and wakes one waiter; no effect on an available one. Does not block.
    void Signal();

    /// True while a `Wait` or `TryWait` is in progress. With two waiters the first to return clears it.
    bool IsWaiting();

    /// The platform's semaphore id.
    std::uint32_t GetSemId() const { return sem_id; }

private:
    class Waiting;
    int Take(int ticks, const char* file, int line);

    ReadWriteLock count_lock; ///< guards `wait_flag`
    const std::uint32_t sem_id;
    std::int32_t wait_flag = 0; ///< 1 while a wait is in progress
};

#endif
