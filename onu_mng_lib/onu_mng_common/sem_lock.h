/// A lock and a signalling semaphore, made of the platform's binary semaphores.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_SEM_LOCK_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_SEM_LOCK_H

#include <atomic>
#include <cstdint>

/// The library's lock: one binary semaphore. Readers exclude each other as writers do.
///
/// It is not re-entrant: a task that takes it twice waits without end. Any task may unlock it. Prefer
/// `LockGuard`, which also unlocks if the task is ended while it holds the lock. If the platform refuses the
/// semaphore or a wait, the lock does not exclude, and one level-13 line reports it.
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
    bool IsLocking() const { return lock_count.load(std::memory_order_relaxed) > 0; }

    /// Returns the platform's id of the semaphore.
    std::uint32_t GetLockId() const { return sem_id; }

private:
    friend class LockGuard;

    /// Returns false if the platform refused the wait: then the lock is not held.
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

/// A signalling semaphore: one task waits, any task signals. It is unavailable at first.
class Semaphore {
public:
    Semaphore();
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Waits without limit until the semaphore is signalled, and takes it.
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
