/// Which calls of a run are to fail.
#ifndef ONU_MNG_PLATFORM_SIM_FAULTS_H
#define ONU_MNG_PLATFORM_SIM_FAULTS_H

#include <array>
#include <cstdint>

#include "onu_mng_platform/sim/random.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

class Faults {
public:
    /// Draws from numbers of its own: asking for faults leaves the schedule as it was up to the first of
    /// them.
    explicit Faults(std::uint64_t seed) : random(~seed) {}

    void FailNth(SimFault kind, unsigned int nth) { Of(kind) = {nth, nth, 0}; }
    void FailFrom(SimFault kind, unsigned int nth) { Of(kind) = {nth, UINT64_MAX, 0}; }
    void FailShare(SimFault kind, unsigned int one_in) { Of(kind) = {1, UINT64_MAX, one_in}; }
    void FailNone() { plans = {}; }

    /// Counts a call; whether it is to fail. Does not allocate.
    bool Take(SimFault kind) {
        Plan& plan = Of(kind);
        ++plan.calls;
        if (plan.calls < plan.first || plan.calls > plan.last) return false;
        if (plan.one_in > 1 && random.Below(plan.one_in) != 0) return false;
        ++failed;
        return true;
    }

    unsigned int Failed() const { return failed; }

private:
    struct Plan {
        std::uint64_t first = UINT64_MAX;
        std::uint64_t last = 0;
        unsigned int one_in = 0;
        std::uint64_t calls = 0;
    };
    Plan& Of(SimFault kind) { return plans[static_cast<std::size_t>(kind)]; }

    std::array<Plan, kSimFaults> plans{};
    Random random;
    unsigned int failed = 0;
};

} // namespace onu_mng_platform

#endif
