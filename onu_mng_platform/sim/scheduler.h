/// Whose turn it is, and what time.
#ifndef ONU_MNG_PLATFORM_SIM_SCHEDULER_H
#define ONU_MNG_PLATFORM_SIM_SCHEDULER_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/sim/baton.h"
#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/schedule.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// Unwinds the stack of a task that is ended.
using TaskEnd = bep_TaskEnd;

/// The tasks of one run, each a thread, and one baton. Who holds the baton runs; everything here, but for the
/// owner's `RunAll` and `EndAll`, is called by that task.
///
/// Nobody is woken: a waiting task is ready again exactly when what it waits for is there, which is looked up
/// whenever the next task is chosen. So no wake-up can be lost, and any waiter may be the one that gets it.
class Scheduler {
public:
    explicit Scheduler(const SimOptions& run_options);

    /// Starts a task, which runs when it is chosen. Returns false when the system has no thread.
    bool Start(const std::shared_ptr<Task>& task, std::size_t stack_size);
    /// Hands the baton to the tasks and returns when the run is over.
    void RunAll();
    /// Ends the tasks that are left, and returns when they have ended.
    void EndAll();

    /// A point where another task may go on.
    void Pass(Task& self);
    /// Waits until `wait` is met; false at its deadline. Ends the task where it may be ended and was asked
    /// to.
    bool WaitFor(Task& self, Wait wait);
    /// Ends the task if it was asked to.
    void EndPoint(Task& self);

    void Stop(SimOutcome why, const std::string& what);
    /// One line for each task that has not ended.
    std::vector<std::string> Describe() const;

    SimTime Now() const { return now; }
    /// The time so many ticks from now; `kNever` for a negative number.
    SimTime Deadline(int ticks) const;
    /// The time a span from now, at most `kNever`.
    SimTime After(SimTime span) const;

    Schedule schedule;
    std::vector<std::string> may_idle;
    std::string report;
    SimOutcome outcome = SimOutcome::kQuiet;
    std::uint64_t switches = 0;
    std::uint64_t Calls() const { return calls.load(std::memory_order_relaxed); }

private:
    static void* ThreadBody(void* task);
    void RunEntry(Task& self);
    void TellEscape(const Task& self, const char* exception);
    void Finish(Task& self);
    void HandOver(Baton& to, Baton& from);
    void Reap();
    void LeaveBehind();
    void WatchTasks();

    /// The next task; null when the run is over. `running` could go on.
    Task* Choose(const Task* running = nullptr);
    void KeepHighestPriority();
    void CollectReady();
    void CollectSettled();
    bool Advance();
    bool IsReady(const Task& task) const;
    bool Holds(const Task& task, const Wait& wait) const;
    bool IsFinished() const;
    bool IsStuck(const Task& task) const;
    bool HasHosts(const Task& but) const;
    SimTime NextDeadline() const;

    const SimOptions options;
    SimTime now{0};
    SimTime limit;
    std::uint64_t calls_now = 0; ///< without time passing
    std::atomic<std::uint64_t> calls{0};
    bool stopping = false;
    bool ending = false;

    std::vector<std::shared_ptr<Task>> live; ///< in the order they were started
    std::vector<Task*> ready;
    std::shared_ptr<Task> departed; ///< ended, and its thread about to; joined by whoever is next
    Baton owner;
};

/// Ends the process with a message: the run cannot go on and its threads cannot be ended.
[[noreturn]] void Die(const std::string& what);

} // namespace onu_mng_platform

#endif
