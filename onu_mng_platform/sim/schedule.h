/// Chooses the next task.
#ifndef ONU_MNG_PLATFORM_SIM_SCHEDULE_H
#define ONU_MNG_PLATFORM_SIM_SCHEDULE_H

#include <cstdint>
#include <string>
#include <vector>

#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/random.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// One choice between ready tasks in the run of a schedule.
struct Choice {
    std::uint32_t history; ///< hash of all ready tasks so far and of all tasks chosen before
    std::uint16_t options;
    std::uint16_t preempts; ///< 1: option 0 is the running task, every other option preempts it
};

/// Takes option number `option` at choice number `choice`.
struct Decision {
    std::uint32_t choice;
    std::uint32_t option;
};
using Decisions = std::vector<Decision>;

/// Parses a text such as "7:1 19:2". Stops at invalid text.
Decisions ParseDecisions(const std::string& text);
std::string DecisionsText(const Decisions& decisions);

/// Chooses by the seed of a run, or by decisions. Without a decision for a choice, the running task continues
/// while it can; after that, the ready task that was started first runs.
class Schedule {
public:
    explicit Schedule(const SimOptions& options);

    /// Returns whether the running task may be preempted now. Draws a random number if the schedule follows a
    /// seed.
    bool MayPreempt();
    /// Returns the task that runs next. `ready` must not be empty. `running` is one of them if it can
    /// continue, else null.
    Task* Choose(const std::vector<Task*>& ready, const Task* running, SimTime now);

    /// Begin and end the choices of a schedule that follows decisions. It makes none before and after.
    void BeginChoices() { is_open = has_begun = true; }
    void EndChoices() { is_open = false; }
    bool HasBegun() const { return has_begun; }

    /// Returns whether the run reached every decision and could take it.
    bool FollowsDecisions() const { return !is_lost && next_decision == decisions.size(); }
    const std::vector<Choice>& Choices() const { return choices; }
    /// Returns one line for each decision taken.
    const std::vector<std::string>& Taken() const { return taken; }

private:
    Task* Decide(const std::vector<Task*>& ready, const Task* running, SimTime now);
    std::uint32_t TakeDecision(std::uint32_t choice, std::uint32_t count);
    void Mix(std::uint64_t number);

    Random random;
    const unsigned int switch_one_in;

    const bool by_decisions;
    const Decisions decisions;
    std::size_t next_decision = 0;
    bool is_lost = false;
    bool is_open = false;
    bool has_begun = false;
    std::uint32_t history = 0x811c9dc5u;
    std::vector<Task*> options; ///< of one choice
    std::vector<Choice> choices;
    std::vector<std::string> taken;
};

/// Returns "decision 7:1 at 0.000000000: sender(4) goes on before host(1), in msgQSend at service.cpp:12".
std::string DecisionLine(const Decision& decision, SimTime time, const Task& chosen, const Task* running);

} // namespace onu_mng_platform

#endif
