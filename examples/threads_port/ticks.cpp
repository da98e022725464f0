#include "onu_mng_platform/bep.h"
#include "port.h"

namespace threads_port {

constexpr int kTicksPerSecond = 1000;

Deadline After(int ticks) {
    if (ticks < 0) return std::nullopt;
    return After(std::chrono::nanoseconds(std::chrono::seconds(1)) / kTicksPerSecond * ticks);
}

Deadline After(std::chrono::nanoseconds duration) {
    const auto now = std::chrono::steady_clock::now();
    if (duration >= std::chrono::steady_clock::time_point::max() - now) return std::nullopt;
    return now + duration;
}

} // namespace threads_port

// The ticks per second of this port.
extern "C" int bep_sysClkRateGetEx() {
    return threads_port::kTicksPerSecond;
}
