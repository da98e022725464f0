#ifndef ONU_MNG_PLATFORM_POSIX_PATIENCE_H
#define ONU_MNG_PLATFORM_POSIX_PATIENCE_H

#include <sched.h>

#include <algorithm>
#include <cstdint>

#include "onu_mng_platform/common/sync/pause.h"

namespace onu_mng_platform {

/// What a thread does before it sleeps, because to sleep and be woken takes many microseconds: it looks again
/// for less than a microsecond, then lets other threads run and looks again after each time. It does either as
/// long as that pays, and tries again now and then. A thread with a real-time priority does neither, so that it
/// leaves the processor to threads of lower priority.
///
/// Thread safety: Set() may be called from any thread, the rest from the thread whose patience it is.
class Patience {
public:
    /// Calls `look` until it returns true or patience ends. Returns whether it returned true.
    template <class Look>
    bool Await(const Look& look) {
        return !IsRealTime() && (LookAgain(look) || LetOthersRun(look));
    }

    /// Forgets the task that used it before.
    void Reset() { *this = Patience(); }

    /// Sets how often any thread looks, and how often it lets others run. 0 and 0: all sleep at once.
    static void Set(uint32_t looks, uint32_t yields);

private:
    /// When to do what may pay: always while it does; when it did not, only after a number of waits, which
    /// doubles each time.
    class Habit {
    public:
        constexpr explicit Habit(uint16_t rest) : rest_(rest) {}
        bool IsDue() { return rest_ == 0 || --rest_ == 0; }
        void Pays() { interval_ = 1; }
        void FailsToPay() {
            rest_ = interval_;
            interval_ = std::min<uint16_t>(interval_ * 2, kLongestInterval);
        }
        void Hurts() { rest_ = kLongRest; }

    private:
        static constexpr uint16_t kLongestInterval = 64;
        static constexpr uint16_t kLongRest = 1024;

        uint16_t rest_; // for how many waits it is not due
        uint16_t interval_ = 1;
    };
    enum class Policy : uint8_t { kUnknown, kOrdinary, kRealTime };

    static constexpr int64_t kLongNs = 100'000; // no thread that would leave the processor soon runs as long

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
            looking_.Pays();
            return true;
        }
        looking_.FailsToPay();
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
                yielding_.Hurts(); // this thread would have been woken sooner
                return is_over;
            }
            before = now;
            if (!is_over) continue;
            yielding_.Pays();
            return true;
        }
        yielding_.FailsToPay();
        return false;
    }

    bool IsRealTime() {
        if (policy_ == Policy::kUnknown) AskPolicy();
        return policy_ == Policy::kRealTime;
    }
    void AskPolicy();

    Habit looking_{0};
    Habit yielding_{8};
    Policy policy_ = Policy::kUnknown;
};

} // namespace onu_mng_platform

#endif
