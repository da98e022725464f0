/// Converts the framework's time-outs to the ticks of the platform.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_TICKS_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_TICKS_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "onu_mng_platform/bep.h"

constexpr int kWaitForEver = -1;
constexpr int kNoWait = 0;

/// Returns the ticks of a span in seconds, cut to what an `int` can hold.
inline int TicksOfSeconds(std::int64_t seconds) {
    using Ticks = std::numeric_limits<int>;
    const std::int64_t ticks = seconds * bep_sysClkRateGetEx();
    return static_cast<int>(std::clamp<std::int64_t>(ticks, Ticks::min(), Ticks::max()));
}

#endif
