/// Runs scenarios on the simulated board under many schedules. A scenario gets a board and calls its `Run`
/// once.
#ifndef ONU_MNG_TESTS_SUPPORT_SIM_SCENARIO_H
#define ONU_MNG_TESTS_SUPPORT_SIM_SCENARIO_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>

#include "onu_mng_platform/sim/fresh_process.h"
#include "onu_mng_platform/sim/simulation.h"

#if defined(__has_feature)
#define ONU_MNG_HAS_FEATURE(feature) __has_feature(feature)
#else
#define ONU_MNG_HAS_FEATURE(feature) 0
#endif

namespace sim_scenario {

using onu_mng_platform::Simulation;
using Scenario = std::function<void(Simulation&)>;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                                         \
    ONU_MNG_HAS_FEATURE(address_sanitizer) || ONU_MNG_HAS_FEATURE(thread_sanitizer)
constexpr std::uint64_t kDefaultSeeds = 100; ///< fewer, because copying a process takes long with sanitizers
constexpr unsigned int kDefaultPreemptions = 1;
#else
constexpr std::uint64_t kDefaultSeeds = 1000;
constexpr unsigned int kDefaultPreemptions = 2;
#endif

inline std::uint64_t FromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

inline int Failures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

/// The command that runs only the current test, with an environment variable set.
inline std::string Command(const std::string& variable) {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return variable + " " + testing::internal::GetArgvs()[0] + " --gtest_filter=" + test.test_suite_name() +
           "." + test.name();
}

/// Runs `scenario` in a fresh process, which prints its failures. Returns whether there were none.
inline bool Passes(const std::function<void()>& scenario) {
    const int before = Failures();
    return onu_mng_platform::RunInFreshProcess([&] {
               scenario();
               return Failures() != before ? 1 : 0;
           }) == 0;
}

/// Runs `scenario` under ONU_MNG_SEEDS / `share` seeds, at least one, or under ONU_MNG_SEED only. Stops at
/// the first failure. Each run has its own process, so it finds fresh singletons, and a seed always gives the
/// same run.
inline void ForEachSeed(const Scenario& scenario, std::uint64_t share = 1) {
    const std::uint64_t only = FromEnvironment("ONU_MNG_SEED", 0);
    const std::uint64_t seeds =
        std::max<std::uint64_t>(1, FromEnvironment("ONU_MNG_SEEDS", kDefaultSeeds) / share);
    const std::uint64_t last = only != 0 ? only : seeds;
    for (std::uint64_t seed = only != 0 ? only : 1; seed <= last; ++seed) {
        if (Passes([&] {
                const int before = Failures();
                Simulation board(seed);
                scenario(board);
                if (Failures() != before && board.Result().Ok()) std::cout << board.Explain() << "\n";
            }))
            continue;
        FAIL() << "failed under a seed; replay it with\n  "
               << Command("ONU_MNG_SEED=" + std::to_string(seed));
    }
}

/// Runs `scenario` under every schedule with at most ONU_MNG_PREEMPTIONS preemptions, or under that of
/// ONU_MNG_DECISIONS only. With `fresh_process`, each run finds fresh singletons.
inline void ForEachSchedule(const Scenario& scenario, bool fresh_process = false) {
    onu_mng_platform::SimExploreOptions options;
    options.fresh_process = fresh_process;
    options.preemptions =
        static_cast<unsigned int>(FromEnvironment("ONU_MNG_PREEMPTIONS", kDefaultPreemptions));
    if (const char* decisions = std::getenv("ONU_MNG_DECISIONS")) options.decisions = decisions;
    const int before = Failures();
    const auto found = Simulation::Explore(options, [&](Simulation& board) {
        scenario(board);
        return Failures() == before;
    });
    std::cout << found.schedules << " schedules (";
    for (std::size_t count = 0; count < found.by_preemptions.size(); ++count)
        std::cout << (count != 0 ? ", " : "") << found.by_preemptions[count] << " with " << count;
    std::cout << " preemptions), at most " << found.most_choices << " choices in one\n";
    if (found.has_failed)
        FAIL() << found.report << "\nreplay it with\n  "
               << Command("ONU_MNG_DECISIONS=\"" + found.decisions + "\"");
    EXPECT_TRUE(found.is_complete || options.decisions);
}

} // namespace sim_scenario

#endif
