/// Random numbers from a seed.
#ifndef ONU_MNG_PLATFORM_SIM_RANDOM_H
#define ONU_MNG_PLATFORM_SIM_RANDOM_H

#include <cstdint>

namespace onu_mng_platform {

/// SplitMix64. The standard library is no alternative: its distributions differ between implementations, and
/// a seed must give the same run everywhere.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t Next() {
        state += 0x9e3779b97f4a7c15u;
        std::uint64_t mixed = state;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
        return mixed ^ (mixed >> 31);
    }

    /// Returns a number below `limit`. `limit` must not be 0.
    std::uint32_t Below(std::size_t limit) {
        return static_cast<std::uint32_t>(((Next() >> 32) * limit) >> 32);
    }

private:
    std::uint64_t state;
};

} // namespace onu_mng_platform

#endif
