/// Wakes a task that waits in poll().
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_EVENT_H
#define ONU_MNG_PLATFORM_POSIX_CLI_EVENT_H

#include <cstdint>

#include <sys/eventfd.h>

#include "onu_mng_platform/posix/cli/descriptor.h"

namespace onu_mng_platform {

/// Any task sets the event; the waiting task clears it. Neither blocks.
class CliEvent {
public:
    CliEvent() : event_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

    /// Returns whether the system has provided a descriptor. Otherwise the event does not work.
    bool IsValid() const { return event_.IsOpen(); }

    /// Returns a descriptor that is readable while the event is set.
    int descriptor() const { return event_.get(); }

    // The calls fail only if the event is already set, or already cleared.
    void Set() const { (void)!write(event_.get(), &kOne, sizeof kOne); }
    void Clear() const {
        uint64_t times = 0;
        (void)!read(event_.get(), &times, sizeof times);
    }

private:
    static constexpr uint64_t kOne = 1;

    Descriptor event_;
};

} // namespace onu_mng_platform

#endif
