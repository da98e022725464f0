/// Which task goes on.
#ifndef ONU_MNG_PLATFORM_SIM_SCHEDULE_H
#define ONU_MNG_PLATFORM_SIM_SCHEDULE_H

#include <cstdint>
#include <string>
#include <vector>

#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/random.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// One choice between ready tasks that a schedule of decisions came to.
struct Choice {
    std::uint32_t history; ///< a hash of who was ready and who was chosen before, and of who is ready here
    std::uint16_t options;
    std::uint16_t preempts; ///< 1: option 0 is the running task, every other takes its turn away
};

/// At choice number `choice`, option number `option` is taken.
struct Decision {
    std::uint32_t choice;
    std::uint32_t option;
};
using Decisions = std::vector<Decision>;

/// "7:1 19:2"; what is no decision ends the list.
Decisions ParseDecisions(const std::string& text);
std::string DecisionsText(const Decisions& decisions);

/// Chooses from the seed of a run, or by decisions: then the running task goes on as long as it can, and after
/// it the one that was started first, but where a decision says otherwise.
class Schedule {
public:
    explicit Schedule(const SimOptions& options);

    /// Whether another task may take the turn of one that could go on. Draws a number from the seed.
    bool MayPreempt();
    /// Which of the tasks, which are at least one, goes on. `running` is one of them if it could go on, else
    /// null.
    Task* Choose(const std::vector<Task*>& ready, const Task* running, SimTime now);

    /// A schedule of decisions chooses only between these.
    void BeginChoices() { is_open = has_begun = true; }
    void EndChoices() { is_open = false; }
    bool HasBegun() const { return has_begun; }

    /// Whether every decision was come to and could be taken.
    bool FollowsDecisions() const { return !is_lost && next_decision == decisions.size(); }
    const std::vector<Choice>& Choices() const { return choices; }
    /// One line for each decision that was taken.
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

/// "decision 7:1 at 0.000000000: sender(4) goes on before host(1), in msgQSend at service.cpp:12".
std::string DecisionLine(const Decision& decision, SimTime time, const Task& chosen, const Task* running);

} // namespace onu_mng_platform

#endif
