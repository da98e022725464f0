#ifndef ONU_MNG_PLATFORM_POSIX_PATIENCE_H
#define ONU_MNG_PLATFORM_POSIX_PATIENCE_H

#include <sched.h>

#include <algorithm>
#include <cstdint>

#include "onu_mng_platform/common/sync/pause.h"

namespace onu_mng_platform {

/// Polls before a thread sleeps, because sleeping and waking up take many microseconds. First the thread
/// spins for less than a microsecond; then it yields the processor and polls after each yield. Each step is
/// used while it succeeds, and retried now and then after it has failed. A thread with a real-time priority
/// does neither, because it must leave the processor to threads of lower priority.
///
/// Thread safety: Set() may be called from any thread, everything else only from the owning thread.
class Patience {
public:
    /// Polls `look` until it returns true or all polls are used up. Returns whether it returned true.
    template <class Look>
    bool Await(const Look& look) {
        return !IsRealTime() && (LookAgain(look) || LetOthersRun(look));
    }

    /// Returns to the initial state, for a new task in the same slot.
    void Reset() { *this = Patience(); }

    /// Sets for all threads how often they poll while spinning and how often they yield. With 0 and 0 they
    /// sleep at once.
    static void Set(uint32_t looks, uint32_t yields);

private:
    /// Decides whether to use a step. It is used in every wait while it succeeds. After a failure it is left
    /// out for a number of waits, which doubles with each further failure.
    class Backoff {
    public:
        constexpr explicit Backoff(uint16_t rest) : rest_(rest) {}
        bool IsDue() { return rest_ == 0 || --rest_ == 0; }
        void OnSuccess() { interval_ = 1; }
        void OnFailure() {
            rest_ = interval_;
            interval_ = std::min<uint16_t>(interval_ * 2, kLongestInterval);
        }
        void Suspend() { rest_ = kLongRest; }

    private:
        static constexpr uint16_t kLongestInterval = 64;
        static constexpr uint16_t kLongRest = 1024;

        uint16_t rest_; // waits until the step is due
        uint16_t interval_ = 1;
    };
    enum class Policy : uint8_t { kUnknown, kOrdinary, kRealTime };

    static constexpr int64_t kLongNs = 100'000; // a thread that runs longer will not yield soon

    static uint32_t Looks();
    static uint32_t Yields();
    static int64_t NowNs();
    template <class Look>
    bool LookAgain(const Look& look) {
        const uint32_t looks = Looks();
        if (looks == 0 || !looking_.IsDue()) return false;
        for (uint32_t left = looks; left > 0; --left) {
            Pause();
            if (!look()) continue;
            looking_.OnSuccess();
            return true;
        }
        looking_.OnFailure();
        return false;
    }

    template <class Look>
    bool LetOthersRun(const Look& look) {
        const uint32_t yields = Yields();
        if (yields == 0 || !yielding_.IsDue()) return false;
        int64_t before = NowNs();
        for (uint32_t left = yields; left > 0; --left) {
            sched_yield();
            const int64_t now = NowNs();
            const bool is_over = look();
            if (now - before > kLongNs) {
                yielding_.Suspend(); // a sleeping thread would have been woken sooner
                return is_over;
            }
            before = now;
            if (!is_over) continue;
            yielding_.OnSuccess();
            return true;
        }
        yielding_.OnFailure();
        return false;
    }

    bool IsRealTime() {
        if (policy_ == Policy::kUnknown) AskPolicy();
        return policy_ == Policy::kRealTime;
    }
    void AskPolicy();

    Backoff looking_{0};
    Backoff yielding_{8};
    Policy policy_ = Policy::kUnknown;
};

} // namespace onu_mng_platform

#endif
