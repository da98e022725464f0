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
        return !IsRealTime() && (Spin(look) || LetOthersRun(look));
    }

    /// Returns to the initial state, for a new task in the same slot.
    void Reset() { *this = Patience(); }

    /// Sets for all threads how long they spin, in pauses of the processor, and how often they yield. With 0
    /// and 0 they sleep at once.
    static void Set(uint32_t pauses, uint32_t yields);

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

    static constexpr uint32_t kMostPauses = 8;  // between two polls
    static constexpr int64_t kLongNs = 100'000; // a thread that runs longer will not yield soon

    static uint32_t Pauses();
    static uint32_t Yields();
    static int64_t NowNs();
    template <class Look>
    bool Spin(const Look& look) {
        uint32_t left = Pauses();
        if (left == 0 || !spinning_.IsDue()) return false;
        // The polls become rarer: each one takes the cache line away from the thread that is waited for.
        for (uint32_t rest = 1; left > 0; rest = std::min(2 * rest, kMostPauses)) {
            rest = std::min(rest, left);
            left -= rest;
            for (uint32_t pause = 0; pause < rest; ++pause)
                Pause();
            if (!look()) continue;
            spinning_.OnSuccess();
            return true;
        }
        spinning_.OnFailure();
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

    Backoff spinning_{0};
    Backoff yielding_{8};
    Policy policy_ = Policy::kUnknown;
};

} // namespace onu_mng_platform

#endif
