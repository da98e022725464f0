#ifndef ONU_MNG_PLATFORM_POSIX_SLEEPER_H
#define ONU_MNG_PLATFORM_POSIX_SLEEPER_H

#include <atomic>
#include <cstdint>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/sync/futex.h"
#include "onu_mng_platform/posix/deadline.h"
#include "onu_mng_platform/posix/patience.h"

namespace onu_mng_platform {

/// Thrown at an end point of a task that is being deleted and caught where the task began.
using TaskEnd = bep_TaskEnd;

/// A wake-up that is still to be delivered, best after the lock under which it was decided is free again.
class WakeUp {
public:
    WakeUp() = default;
    explicit WakeUp(const std::atomic<uint32_t>* word) : word_(word) {}
    void Deliver() const {
        if (word_ != nullptr) FutexWake(word_);
    }

private:
    const std::atomic<uint32_t>* word_ = nullptr;
};

/// The waiting side of a thread: the one place where it sleeps, whatever it waits for, so that whoever wants
/// it to go on, or to end, knows where to ring.
///
/// To wait: Prepare(), look whether there is a reason to go on, and Sleep() if there is none. A Ring() after
/// Prepare() ends the Sleep(), so that no reason that appears in between is missed.
///
/// Thread safety: Ring() and AskToEnd() may be called from any thread while the sleeper exists, the rest by
/// its own thread.
class Sleeper {
public:
    enum class Kind { kTask, kOther };
    constexpr explicit Sleeper(Kind kind) : kind_(kind) {}

    /// Returns the calling thread's own.
    static Sleeper& Current();
    /// Makes `task` the calling thread's own.
    static void Become(Sleeper& task);

    bool IsTask() const { return kind_ == Kind::kTask; }

    void Prepare() { word_.exchange(kAwake, std::memory_order_acq_rel); }
    void Sleep(const Deadline& deadline);
    WakeUp Ring() {
        const bool asleep = word_.exchange(kRung, std::memory_order_acq_rel) == kAsleep;
        return asleep ? WakeUp(&word_) : WakeUp();
    }

    /// True when the task is to end and may be ended here.
    bool IsToEnd() const { return IsAskedToEnd() && MayEnd(); }
    /// Throws TaskEnd when IsToEnd(). No lock is held: the system takes memory for it, and unwinding is long.
    void EndPoint() const {
        if (IsToEnd()) throw TaskEnd();
    }
    bool IsAskedToEnd() const { return asked_to_end_.load(std::memory_order_acquire); }
    void AskToEnd() {
        asked_to_end_.store(true, std::memory_order_release);
        Ring().Deliver();
    }

    void Protect() { ++protections_; }
    void Unprotect() {
        if (protections_ > 0) --protections_;
    }

    /// Forgets the task that used it before.
    void Reset();

    /// Sleeps for the whole time; an end point.
    void Delay(const Deadline& deadline);

    /// Sleeps for want of anything that could still happen: until the task is ended, until the deadline, or
    /// until it is to end but may not be ended here.
    void WaitInVain(const Deadline& deadline);

    Patience queue_patience;     ///< of its own thread
    Patience semaphore_patience; ///< the same

private:
    enum : uint32_t { kAwake, kAsleep, kRung };

    bool MayEnd() const;

    std::atomic<uint32_t> word_{kAwake};
    std::atomic<bool> asked_to_end_{false};
    const Kind kind_;
    unsigned int protections_ = 0;
};

inline thread_local Sleeper t_other_sleeper{Sleeper::Kind::kOther};
inline thread_local Sleeper* t_task_sleeper = nullptr;

inline Sleeper& Sleeper::Current() {
    return t_task_sleeper != nullptr ? *t_task_sleeper : t_other_sleeper;
}
inline void Sleeper::Become(Sleeper& task) {
    t_task_sleeper = &task;
}

} // namespace onu_mng_platform

#endif
