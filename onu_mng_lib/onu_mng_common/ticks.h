/// The waits of the framework in the platform's units.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_TICKS_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_TICKS_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "onu_mng_platform/bep.h"

constexpr int kWaitForEver = -1;
constexpr int kNoWait = 0;

/// The ticks of a span, cut to what the platform can count.
inline int TicksOfSeconds(std::int64_t seconds) {
    using Ticks = std::numeric_limits<int>;
    const std::int64_t ticks = seconds * bep_sysClkRateGetEx();
    return static_cast<int>(std::clamp<std::int64_t>(ticks, Ticks::min(), Ticks::max()));
}

#endif
