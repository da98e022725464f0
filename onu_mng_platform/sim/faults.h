/// Decides which calls of a run fail.
#ifndef ONU_MNG_PLATFORM_SIM_FAULTS_H
#define ONU_MNG_PLATFORM_SIM_FAULTS_H

#include <array>
#include <cstdint>
#include <numeric>

#include "onu_mng_platform/sim/random.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

class Faults {
public:
    /// Has its own random numbers, so requesting faults does not change the schedule before the first fault.
    explicit Faults(std::uint64_t seed) : random(~seed) {}

    void FailNth(SimFault kind, unsigned int nth, unsigned int then) { Of(kind) = {nth, nth, then}; }
    void FailFrom(SimFault kind, unsigned int nth) { Of(kind) = {nth, UINT64_MAX}; }
    void FailShare(SimFault kind, unsigned int one_in) { Of(kind) = {1, UINT64_MAX, 0, one_in}; }
    void FailNone() { plans = {}; }

    /// Counts a call. Returns whether it must fail. Does not allocate.
    bool Take(SimFault kind) {
        const bool by_kind = Hits(Of(kind));
        if (!Hits(Of(SimFault::kAny)) && !by_kind) return false;
        ++failed[static_cast<std::size_t>(kind)];
        return true;
    }

    /// Returns the number of failed calls of a kind; with `kAny` of all kinds.
    unsigned int Failed(SimFault kind) const {
        if (kind != SimFault::kAny) return failed[static_cast<std::size_t>(kind)];
        return std::accumulate(failed.begin(), failed.end(), 0u);
    }

private:
    struct Plan {
        std::uint64_t first = UINT64_MAX;
        std::uint64_t last = 0;
        std::uint64_t then = 0;
        unsigned int one_in = 0;
        std::uint64_t calls = 0;
    };
    Plan& Of(SimFault kind) { return plans[static_cast<std::size_t>(kind)]; }

    bool Hits(Plan& plan) {
        ++plan.calls;
        if (plan.calls == plan.then) return true;
        if (plan.calls < plan.first || plan.calls > plan.last) return false;
        return plan.one_in <= 1 || random.Below(plan.one_in) == 0;
    }

    std::array<Plan, kSimFaults> plans{};
    std::array<unsigned int, kSimFaults> failed{};
    Random random;
};

} // namespace onu_mng_platform

#endif
