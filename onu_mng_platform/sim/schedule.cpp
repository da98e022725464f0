#include "onu_mng_platform/sim/schedule.h"

#include <algorithm>
#include <sstream>

#include "onu_mng_platform/sim/record.h"

namespace onu_mng_platform {

namespace {

/// Swarm testing: the rate of task switches differs between seeds, because some interleavings need long runs
/// of a task and others frequent switches.
unsigned int SwitchOneIn(const SimOptions& options, Random& random) {
    constexpr unsigned int kChoices[] = {1, 2, 4, 16, 64};
    if (options.by_priority) return 1;
    const unsigned int drawn = kChoices[random.Below(std::size(kChoices))];
    return options.switch_one_in != 0 ? options.switch_one_in : drawn;
}

} // namespace

Decisions ParseDecisions(const std::string& text) {
    Decisions decisions;
    std::istringstream words(text);
    char colon = 0;
    for (Decision decision{}; words >> decision.choice >> colon >> decision.option && colon == ':';)
        decisions.push_back(decision);
    return decisions;
}

std::string DecisionsText(const Decisions& decisions) {
    std::string text;
    for (const Decision& decision : decisions) {
        if (!text.empty()) text += ' ';
        text += std::to_string(decision.choice) + ":" + std::to_string(decision.option);
    }
    return text;
}

Schedule::Schedule(const SimOptions& run_options)
    : random(run_options.seed), switch_one_in(SwitchOneIn(run_options, random)),
      by_decisions(run_options.decisions.has_value()),
      decisions(ParseDecisions(run_options.decisions.value_or(""))) {}

bool Schedule::MayPreempt() {
    return by_decisions ? is_open : random.Below(switch_one_in) == 0;
}

Task* Schedule::Choose(const std::vector<Task*>& ready, const Task* running, SimTime now) {
    if (by_decisions) return Decide(ready, running, now);
    return ready[random.Below(ready.size())];
}

Task* Schedule::Decide(const std::vector<Task*>& ready, const Task* running, SimTime now) {
    options = ready;
    const auto own = std::find(options.begin(), options.end(), running);
    const bool preempts = own != options.end();
    if (preempts) std::rotate(options.begin(), own, own + 1);
    if (!is_open || options.size() == 1) return options.front();

    for (const Task* task : options)
        Mix(static_cast<std::uint64_t>(task->number));
    const auto choice = static_cast<std::uint32_t>(choices.size());
    choices.push_back({history, static_cast<std::uint16_t>(options.size()), preempts});
    const std::uint32_t option = TakeDecision(choice, static_cast<std::uint32_t>(options.size()));
    Mix(option);
    if (option != 0) taken.push_back(DecisionLine({choice, option}, now, *options[option], running));
    return options[option];
}

std::uint32_t Schedule::TakeDecision(std::uint32_t choice, std::uint32_t count) {
    if (next_decision == decisions.size() || decisions[next_decision].choice != choice) return 0;
    const std::uint32_t option = decisions[next_decision++].option;
    if (option < count) return option;
    is_lost = true;
    return 0;
}

void Schedule::Mix(std::uint64_t number) {
    history = static_cast<std::uint32_t>((history ^ number) * 0x01000193u);
    history ^= history >> 15;
}

} // namespace onu_mng_platform
