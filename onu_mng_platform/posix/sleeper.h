#ifndef ONU_MNG_PLATFORM_POSIX_SLEEPER_H
#define ONU_MNG_PLATFORM_POSIX_SLEEPER_H

#include <atomic>
#include <cstdint>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/sync/futex.h"
#include "onu_mng_platform/posix/deadline.h"
#include "onu_mng_platform/posix/patience.h"

namespace onu_mng_platform {

/// Thrown at an end point of a task that is being deleted. The task's start function catches it.
using TaskEnd = bep_TaskEnd;

/// A wake-up that is not delivered yet. Deliver it after releasing the lock, so that the woken thread does
/// not have to wait for the lock.
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

/// The sleep state of a thread. All waits of the thread sleep here, so a signal or a deletion has one place
/// to wake it.
///
/// To wait, call Prepare(), check the condition, and call Sleep() if it does not hold. A Ring() after
/// Prepare() ends the Sleep(), so no change of the condition in between is missed.
///
/// Thread safety: Ring() and AskToEnd() may be called from any thread while the sleeper exists, everything
/// else only from its own thread.
class Sleeper {
public:
    enum class Kind { kTask, kOther };
    constexpr explicit Sleeper(Kind kind) : kind_(kind) {}

    /// Returns the sleeper of the calling thread.
    static Sleeper& Current();
    /// Makes `task` the sleeper of the calling thread.
    static void Become(Sleeper& task);

    bool IsTask() const { return kind_ == Kind::kTask; }

    void Prepare() { word_.exchange(kAwake, std::memory_order_acq_rel); }
    void Sleep(const Deadline& deadline);
    WakeUp Ring() {
        const bool asleep = word_.exchange(kRung, std::memory_order_acq_rel) == kAsleep;
        return asleep ? WakeUp(&word_) : WakeUp();
    }

    /// Returns whether the task is being deleted and may end here.
    bool IsToEnd() const { return IsAskedToEnd() && MayEnd(); }
    /// Throws TaskEnd if IsToEnd(). The caller must not hold a lock, because the exception allocates memory
    /// and unwinding takes long.
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

    /// Returns to the initial state, for a new task in the same slot.
    void Reset();

    /// Sleeps until the deadline. This is an end point.
    void Delay(const Deadline& deadline);

    /// Sleeps until the task is deleted or the deadline has passed, because the queue or semaphore no longer
    /// exists. This is an end point; a task that may not end here returns when its deletion begins.
    void WaitInVain(const Deadline& deadline);

    Patience queue_patience;     ///< used by the own thread only
    Patience semaphore_patience; ///< used by the own thread only

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
