/// Schedules the tasks and the virtual time.
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

/// Unwinds the stack of a task that is being ended.
using TaskEnd = bep_TaskEnd;

/// The tasks of one run. Each is a thread, and only the one that holds its baton runs. The owner calls
/// `RunAll` and `EndAll`; the running task calls everything else.
///
/// There are no wake-ups. Whenever the next task is chosen, the scheduler checks the conditions of all
/// waiting tasks. So no wake-up can be lost, and any of several waiters may be the first.
class Scheduler {
public:
    explicit Scheduler(const SimOptions& run_options);

    /// Adds a task. It runs when it is chosen. Returns false if the system cannot provide a thread.
    bool Start(const std::shared_ptr<Task>& task, std::size_t stack_size);
    /// Gives the baton to the tasks and returns when the run is over.
    void RunAll();
    /// Ends the remaining tasks and returns when they have ended.
    void EndAll();

    /// Lets another task run if the schedule chooses one.
    void Pass(Task& self);
    /// Waits until `wait` is met. Returns false at its deadline. Ends the task if that is requested and
    /// allowed.
    bool WaitFor(Task& self, Wait wait);
    /// Ends the task if that is requested and allowed.
    void EndPoint(Task& self);

    void Stop(SimOutcome why, const std::string& what);
    /// Returns one line for each task that has not ended.
    std::vector<std::string> Describe() const;

    SimTime Now() const { return now; }
    /// Returns the time `ticks` from now; `kNever` for a negative number.
    SimTime Deadline(int ticks) const;
    /// Returns the time `span` from now, at most `kNever`.
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

    /// Returns the next task; null if the run is over. `running` is a task that can continue, or null.
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
    std::uint64_t calls_now = 0; ///< calls since the time last advanced
    std::atomic<std::uint64_t> calls{0};
    bool stopping = false;
    bool ending = false;

    std::vector<std::shared_ptr<Task>> live; ///< in the order of their start
    std::vector<Task*> ready;
    std::shared_ptr<Task> departed; ///< a task that has ended; the next task that runs joins its thread
    Baton owner;
};

/// Aborts the process with a message, because the run cannot continue and its threads cannot be ended.
[[noreturn]] void Die(const std::string& what);

} // namespace onu_mng_platform

#endif
