#include "onu_mng_platform/posix/sleeper.h"

#include "onu_mng_platform/common/sync/task_end.h"

namespace onu_mng_platform {

void Sleeper::Sleep(const Deadline& deadline) {
    uint32_t expected = kAwake;
    if (!word_.compare_exchange_strong(expected, kAsleep, std::memory_order_acq_rel)) return;
    while (word_.load(std::memory_order_acquire) == kAsleep && !deadline.HasPassed()) {
        FutexWait(word_, kAsleep, deadline.Moment());
    }
}

bool Sleeper::MayEnd() const {
    return protections_ == 0 && !IsUnwinding();
}

void Sleeper::Reset() {
    word_.store(kAwake, std::memory_order_relaxed);
    asked_to_end_.store(false, std::memory_order_relaxed);
    protections_ = 0;
    queue_patience.Reset();
    semaphore_patience.Reset();
}

void Sleeper::Delay(const Deadline& deadline) {
    for (;;) {
        Prepare();
        EndPoint();
        if (deadline.HasPassed()) return;
        Sleep(deadline);
    }
}

void Sleeper::WaitInVain(const Deadline& deadline) {
    for (;;) {
        Prepare();
        EndPoint();
        if (IsAskedToEnd() || deadline.HasPassed()) return;
        Sleep(deadline);
    }
}

} // namespace onu_mng_platform
