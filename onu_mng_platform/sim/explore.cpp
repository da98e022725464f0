#include "onu_mng_platform/sim/explore.h"

#include <algorithm>
#include <new>
#include <sys/mman.h>

#include "onu_mng_platform/sim/fresh_process.h"
#include "onu_mng_platform/sim/run.h"

namespace onu_mng_platform {

namespace {

constexpr std::size_t kBatch = 500;
constexpr std::size_t kMostChoices = 8u << 20; ///< in one batch; unused pages of the mapping take no memory
constexpr std::size_t kReportSize = 256u << 10;

} // namespace

/// The results of a batch, in memory shared with the copy of the process.
struct Explorer::Results {
    std::size_t done;              ///< number of schedules that have run
    std::size_t first[kBatch + 1]; ///< index of the first choice of each
    bool has_failed;               ///< the schedule number `done` has failed
    char report[kReportSize];
    Choice choices[kMostChoices];

    static std::shared_ptr<Results> Map() {
        void* const memory = mmap(nullptr, sizeof(Results), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        return {static_cast<Results*>(memory), [](Results* batch) { munmap(batch, sizeof(Results)); }};
    }
};

Explorer::Explorer(const SimExploreOptions& explore_options, const Scenario& of_scenario)
    : options(explore_options), scenario(of_scenario), candidates(options.preemptions + 1),
      results(Results::Map()) {
    found.by_preemptions.resize(candidates.size());
}

SimExploration Explorer::Run() {
    candidates[0].push_back({});
    for (unsigned int preemptions = 0; preemptions < candidates.size(); ++preemptions)
        while (!candidates[preemptions].empty() && !found.has_failed) {
            if (found.schedules >= options.most_schedules) return found;
            RunBatch(candidates[preemptions], preemptions);
        }
    found.is_complete = !found.has_failed;
    return found;
}

SimExploration Explorer::Replay() {
    const Candidate candidate{ParseDecisions(options.decisions.value_or("")), 0};
    if (!options.fresh_process) RunSchedule({});
    if (!results->has_failed && RunSchedule(candidate)) ++found.schedules;
    if (results->has_failed) Fail(candidate, 0);
    return found;
}

void Explorer::RunBatch(std::deque<Candidate>& waiting, unsigned int preemptions) {
    const std::size_t count = std::min(waiting.size(), options.fresh_process ? 1 : kBatch);
    const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(count);
    const std::vector<Candidate> batch(waiting.begin(), end);
    results->done = 0;
    results->first[0] = 0;
    results->has_failed = false;
    const int status = RunInFreshProcess([&] {
        RunCandidates(batch);
        return 0;
    });
    waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(results->done));
    for (std::size_t index = 0; index < results->done; ++index)
        Extend(batch[index], index, preemptions);
    found.schedules += results->done;
    found.by_preemptions[preemptions] += results->done;
    if (results->has_failed || status != 0) Fail(batch[results->done], status);
}

// The first run in a process differs from later ones, because it creates the singletons.
void Explorer::RunCandidates(const std::vector<Candidate>& batch) {
    if (!options.fresh_process && !RunSchedule({})) return;
    for (const Candidate& candidate : batch) {
        if (!RunSchedule(candidate)) return;
        ++results->done;
    }
}

// Returns false if the batch must end, because the schedule has failed or the results are full.
bool Explorer::RunSchedule(const Candidate& candidate) {
    SimOptions run_options = options.run;
    run_options.decisions = DecisionsText(candidate.decisions);
    Simulation board(run_options);
    const bool holds = scenario(board);
    if (!holds || !board.Result().Ok()) return Tell(board.Explain());
    const Schedule& schedule = board.run->scheduler.schedule;
    if (!schedule.HasBegun()) return Tell("the scenario has no part in Simulation::Explored()");
    return Keep(schedule.Choices(), candidate);
}

bool Explorer::Tell(const std::string& failure) {
    results->has_failed = true;
    results->report[failure.copy(results->report, kReportSize - 1)] = '\0';
    return false;
}

bool Explorer::Keep(const std::vector<Choice>& choices, const Candidate& candidate) {
    const Decisions& decisions = candidate.decisions;
    if (!decisions.empty() && candidate.history != 0 &&
        choices[decisions.back().choice].history != candidate.history)
        return Tell("the scenario does not repeat itself: equal decisions led to other choices");
    const std::size_t first = results->first[results->done];
    if (choices.size() > kMostChoices) return Tell("more choices than an exploration can hold");
    if (choices.size() > kMostChoices - first) return false;
    std::copy(choices.begin(), choices.end(), results->choices + first);
    results->first[results->done + 1] = first + choices.size();
    return true;
}

void Explorer::Extend(const Candidate& candidate, std::size_t index, unsigned int preemptions) {
    const Choice* const choices = results->choices + results->first[index];
    const std::size_t count = results->first[index + 1] - results->first[index];
    found.most_choices = std::max<std::uint64_t>(found.most_choices, count);
    const Decisions& taken = candidate.decisions;
    for (std::size_t choice = taken.empty() ? 0 : taken.back().choice + 1; choice < count; ++choice) {
        const unsigned int needs = preemptions + choices[choice].preempts;
        if (needs > options.preemptions) continue;
        for (std::uint32_t option = 1; option < choices[choice].options; ++option) {
            Decisions decisions = taken;
            decisions.push_back({static_cast<std::uint32_t>(choice), option});
            candidates[needs].push_back({std::move(decisions), choices[choice].history});
        }
    }
}

void Explorer::Fail(const Candidate& candidate, int status) {
    found.has_failed = true;
    found.decisions = DecisionsText(candidate.decisions);
    found.report = results->has_failed ? results->report
                                       : "the process of the schedule ended with " + std::to_string(status);
}

} // namespace onu_mng_platform
