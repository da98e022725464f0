/// The search through the schedules of a scenario.
#ifndef ONU_MNG_PLATFORM_SIM_EXPLORE_H
#define ONU_MNG_PLATFORM_SIM_EXPLORE_H

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "onu_mng_platform/sim/schedule.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// Runs every schedule once: first all without a preemption, then all with one, and so on.
///
/// A schedule is a list of decisions. A run reports all choices after the last decision. Each option that it
/// did not take gives a new schedule with one more decision. So each schedule is created exactly once, from
/// the one without its last decision.
///
/// The schedules run in copies of this process, several hundred in each. Memory shared with the copies holds
/// the results, so the failing schedule is known even if a copy dies.
class Explorer {
public:
    using Scenario = std::function<bool(Simulation&)>;

    Explorer(const SimExploreOptions& explore_options, const Scenario& of_scenario);

    SimExploration Run();
    /// Runs only the schedule of `SimExploreOptions::decisions`, in this process.
    SimExploration Replay();

private:
    struct Candidate {
        Decisions decisions;
        std::uint32_t history = 0; ///< expected `Choice::history` at the last decision
    };
    struct Results;

    void RunBatch(std::deque<Candidate>& waiting, unsigned int preemptions);
    void RunCandidates(const std::vector<Candidate>& batch);
    bool RunSchedule(const Candidate& candidate);
    bool Tell(const std::string& failure);
    bool Keep(const std::vector<Choice>& choices, const Candidate& candidate);
    void Extend(const Candidate& candidate, std::size_t index, unsigned int preemptions);
    void Fail(const Candidate& candidate, int status);

    const SimExploreOptions options;
    const Scenario& scenario;
    std::vector<std::deque<Candidate>> candidates; ///< by number of preemptions
    std::shared_ptr<Results> results;              ///< of one batch, written by the copy of the process
    SimExploration found;
};

} // namespace onu_mng_platform

#endif
