#ifndef ONU_MNG_PLATFORM_POSIX_DEADLINE_H
#define ONU_MNG_PLATFORM_POSIX_DEADLINE_H

#include <cstdint>
#include <ctime>

namespace onu_mng_platform {

/// A point in time on the monotonic clock, or never.
class Deadline {
public:
    /// Makes a deadline `ticks` from now. A negative number means never; 0 is in the past.
    explicit Deadline(int ticks);

    /// Returns the deadline `duration` from now; never if time_t cannot represent it.
    static Deadline After(const timespec& duration);

    bool IsNever() const { return kind_ == Kind::kNever; }
    bool HasPassed() const;

    /// Returns the point in time, for system calls that wait; null for never.
    const timespec* Moment() const { return kind_ == Kind::kNever ? nullptr : &moment_; }

private:
    enum class Kind { kPast, kMoment, kNever };

    Deadline() = default;

    Kind kind_ = Kind::kPast;
    timespec moment_{};
};

} // namespace onu_mng_platform

#endif
