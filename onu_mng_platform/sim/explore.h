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
/// A schedule is the list of its decisions. Running it shows every further choice that it came to; each
/// option there that it did not take makes another schedule, with one decision more. So each is made exactly
/// once, by the one that lacks its last decision.
///
/// The schedules run in copies of this process, some hundred in each. A copy that dies names its schedule in
/// the memory that it shares with this process.
class Explorer {
public:
    using Scenario = std::function<bool(Simulation&)>;

    Explorer(const SimExploreOptions& explore_options, const Scenario& of_scenario);

    SimExploration Run();
    /// Runs the schedule of `SimExploreOptions::decisions` alone, in this process.
    SimExploration Replay();

private:
    struct Candidate {
        Decisions decisions;
        std::uint32_t history = 0; ///< that its last choice must have
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
    std::vector<std::deque<Candidate>> candidates; ///< by their preemptions
    std::shared_ptr<Results> results;              ///< of a batch, written by the copy
    SimExploration found;
};

} // namespace onu_mng_platform

#endif
