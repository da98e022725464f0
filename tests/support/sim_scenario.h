/// Scenarios on the simulated board, each in a process of its own, so that every one finds the library's
/// singletons untouched and a seed means the same run wherever it stands in a sweep.
#ifndef ONU_MNG_TESTS_SUPPORT_SIM_SCENARIO_H
#define ONU_MNG_TESTS_SUPPORT_SIM_SCENARIO_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>

#include "onu_mng_platform/sim/fresh_process.h"
#include "onu_mng_platform/sim/simulation.h"

#if defined(__has_feature)
#define ONU_MNG_HAS_FEATURE(feature) __has_feature(feature)
#else
#define ONU_MNG_HAS_FEATURE(feature) 0
#endif

namespace sim_scenario {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                                         \
    ONU_MNG_HAS_FEATURE(address_sanitizer) || ONU_MNG_HAS_FEATURE(thread_sanitizer)
constexpr std::uint64_t kDefaultSeeds = 100; ///< a copy of a process takes long there
#else
constexpr std::uint64_t kDefaultSeeds = 1000;
#endif

inline std::uint64_t FromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

inline int Failures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

/// Runs `scenario` in a fresh process. Returns whether none of its expectations failed; what failed is
/// printed.
inline bool Passes(const std::function<void()>& scenario) {
    const int before = Failures();
    return onu_mng_platform::RunInFreshProcess([&] {
               scenario();
               return Failures() != before ? 1 : 0;
           }) == 0;
}

/// Runs `scenario` under ONU_MNG_SEEDS seeds, or one in `share` of them and at least one, or under
/// ONU_MNG_SEED alone, up to the first that fails; that one's command line is printed.
inline void ForEachSeed(const std::function<void(std::uint64_t seed)>& scenario, std::uint64_t share = 1) {
    const std::uint64_t only = FromEnvironment("ONU_MNG_SEED", 0);
    const std::uint64_t seeds =
        std::max<std::uint64_t>(1, FromEnvironment("ONU_MNG_SEEDS", kDefaultSeeds) / share);
    const std::uint64_t last = only != 0 ? only : seeds;
    for (std::uint64_t seed = only != 0 ? only : 1; seed <= last; ++seed) {
        if (Passes([&] { scenario(seed); })) continue;
        const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
        FAIL() << "failed under a seed; replay it with\n  ONU_MNG_SEED=" << seed << " "
               << testing::internal::GetArgvs()[0] << " --gtest_filter=" << test.test_suite_name() << "."
               << test.name();
    }
}

} // namespace sim_scenario

#endif
