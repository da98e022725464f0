#include "onu_mng_lib/onu_mng_common/sem_lock.h"

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr int kSemaphoreOptions = 2;

std::uint32_t CreateSemaphore(bool available) {
    const std::uint32_t id = bep_semBCreateEx(kSemaphoreOptions, available ? 1 : 0, __FILE__, __LINE__);
    if (id == 0) ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "semBCreate failed\r\n");
    return id;
}

} // namespace

/// Counts a task while it waits. The destructor removes it from the count, even if the wait is unwound.
class LockCount::Waiter {
public:
    explicit Waiter(LockCount& counted_in) : count(counted_in) {
        count.waiting.fetch_add(1, std::memory_order_relaxed);
    }
    ~Waiter() { count.waiting.fetch_sub(1, std::memory_order_relaxed); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

private:
    LockCount& count;
};

ReadWriteLock::ReadWriteLock() : sem_id(CreateSemaphore(true)) {}

ReadWriteLock::~ReadWriteLock() {
    bep_semDeleteEx(sem_id);
}

bool ReadWriteLock::LockAfterOthers(const char* file, int line) {
    const LockCount::Waiter waiter(lock_count);
    if (bep_semTakeEx(sem_id, kWaitForEver, file, line) != 0) return Refused();
    lock_count.mark.store(1, std::memory_order_relaxed);
    return true;
}

bool ReadWriteLock::Refused() {
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "semTake failed\r\n");
    return false;
}

/// Keeps `wait_flag` set during one wait. The destructor resets it, even if the wait is unwound.
class Semaphore::Waiting {
public:
    Waiting(Semaphore& waited_for, const char* file, int line) : semaphore(waited_for) {
        LockGuard guard(semaphore.count_lock, file, line);
        if (semaphore.wait_flag == 0) semaphore.wait_flag = 1;
    }
    ~Waiting() {
        bep_taskSafeEx();
        {
            LockGuard guard(semaphore.count_lock);
            if (semaphore.wait_flag > 0) --semaphore.wait_flag;
        }
        bep_taskUnsafeEx();
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

private:
    Semaphore& semaphore;
};

Semaphore::Semaphore() : sem_id(CreateSemaphore(false)) {}

Semaphore::~Semaphore() {
    bep_semDeleteEx(sem_id);
}

int Semaphore::Take(int ticks, const char* file, int line) {
    const Waiting waiting(*this, file, line);
    return bep_semTakeEx(sem_id, ticks, file, line) == 0 ? 0 : -1;
}

void Semaphore::Wait(const char* file, int line) {
    Take(kWaitForEver, file, line);
}

int Semaphore::TryWait(unsigned int seconds, const char* file, int line) {
    return Take(TicksOfSeconds(seconds), file, line);
}

void Semaphore::Signal() {
    bep_semGiveEx(sem_id, __FILE__, __LINE__);
}

bool Semaphore::IsWaiting() {
    LockGuard guard(count_lock);
    return wait_flag > 0;
}
