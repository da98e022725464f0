#ifndef ONU_MNG_PLATFORM_POSIX_DEADLINE_H
#define ONU_MNG_PLATFORM_POSIX_DEADLINE_H

#include <cstdint>
#include <ctime>

namespace onu_mng_platform {

/// A moment on the monotonic clock, fixed once and compared often, or never.
class Deadline {
public:
    /// In `ticks` from now; a negative number means never, 0 a moment that has passed.
    explicit Deadline(int ticks);

    /// `duration` from now; never when that is beyond what the clock can say.
    static Deadline After(const timespec& duration);

    bool IsNever() const { return kind_ == Kind::kNever; }
    bool HasPassed() const;

    /// The moment, for the system's waits; null for never.
    const timespec* Moment() const { return kind_ == Kind::kNever ? nullptr : &moment_; }

private:
    enum class Kind { kPast, kMoment, kNever };

    Deadline() = default;

    Kind kind_ = Kind::kPast;
    timespec moment_{};
};

} // namespace onu_mng_platform

#endif
