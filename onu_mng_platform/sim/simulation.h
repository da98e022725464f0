/// The simulated board: the unchanged library and its services under virtual time, seeded scheduling and
/// faults on demand.
///
///     Simulation board(seed);
///     const SimResult& result = board.Run([&] {
///         ... start the system, as the host's start-up task does ...
///         onu_mng_module_send_msg(...);
///         board.Settle();                  // the modules' tasks have handled it
///         board.Sleep(std::chrono::minutes(5));
///     });
///     EXPECT_TRUE(result.Ok()) << result.report;
///
/// Every task is a thread, but only one runs at a time. Each call of the platform, including clock_gettime()
/// and nanosleep(), is a point where another ready task may run; the seed decides which. The same seed,
/// program and process state give the same run on every machine. Time stands still while a task can run, and
/// jumps to the next deadline when all tasks wait.
#ifndef ONU_MNG_PLATFORM_SIM_SIMULATION_H
#define ONU_MNG_PLATFORM_SIM_SIMULATION_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace onu_mng_platform {

using SimTime = std::chrono::nanoseconds; ///< virtual time, since the start of the run

/// The virtual date at the start of a run in seconds since 1970: 2026-01-01 00:00:00 UTC. The board's time
/// zone is UTC, independent of the machine's, until a program sets TZ.
constexpr std::int64_t kSimStartDate = 1767225600;

/// How a run is made.
struct SimOptions {
    std::uint64_t seed = 1; ///< chooses the schedule
    /// The run continues to this time, even if the body has ended and all is quiet.
    SimTime until{0};
    /// The run fails if it is not quiet by this time.
    SimTime limit = std::chrono::hours(24);
    /// The run fails if it makes more calls than this without time passing, because something spins.
    std::uint64_t calls_per_instant = 10'000'000;
    /// On average, one call in this number is a point where another task may run. With 0, the seed chooses
    /// the number.
    unsigned int switch_one_in = 0;
    /// Only the ready tasks of the highest priority run, as on a board with one processor.
    bool by_priority = false;
    /// Keeps every call, for `Record` and `WriteTimeline`.
    bool keep_record = false;
    /// A schedule that `Simulation::Explore` reported ("7:1 19:2"). The run follows it instead of the seed.
    /// Where it has no decision, the running task continues while it can; after that, the ready task that was
    /// started first runs.
    std::optional<std::string> decisions;
};

/// How a run ended.
enum class SimOutcome {
    kQuiet,       ///< the body and the host tasks have ended and nothing is left to run
    kDeadlock,    ///< tasks that must continue wait without limit, and no other task can end their waits
    kOverLimit,   ///< the same at `SimOptions::limit`, while others still had deadlines
    kSpinning,    ///< `SimOptions::calls_per_instant` was reached
    kEscaped,     ///< an exception left the entry of a task
    kNotRepeated, ///< `SimOptions::decisions` do not fit the run
    kNotEnded,    ///< a task could not be ended at the end of the run; its thread remains
    kNotStarted,  ///< the body could not be started, or another run was in progress
};

/// The result of a run.
struct SimResult {
    SimOutcome outcome = SimOutcome::kNotStarted; ///< how the run ended
    std::uint64_t seed = 0;                       ///< of the run
    SimTime time{0};                              ///< virtual time at the end
    std::uint64_t calls = 0;                      ///< calls of the platform
    std::uint64_t switches = 0;                   ///< of these, calls that switched to another task
    std::uint64_t fingerprint = 0;                ///< hash of all calls and log lines; equal for equal runs
    /// The seed; after a failed run the text of `Simulation::Explain`.
    std::string report;

    /// Returns whether the run ended as it should.
    bool Ok() const { return outcome == SimOutcome::kQuiet; }
};

/// How a search through the schedules of a scenario is made.
struct SimExploreOptions {
    /// The maximum number of preemptions in a schedule.
    unsigned int preemptions = 2;
    /// The options of every run.
    SimOptions run;
    /// Runs each schedule in its own process, for scenarios that need fresh singletons. Otherwise several
    /// hundred run in one process, after a first run that is not counted.
    bool fresh_process = false;
    /// The search stops, incomplete, after this number of schedules.
    std::uint64_t most_schedules = 10'000'000;
    /// If set, only this schedule runs, in the calling process.
    std::optional<std::string> decisions;
};

/// The result of a search.
struct SimExploration {
    bool is_complete = false;                  ///< all schedules have run, and none failed
    bool has_failed = false;                   ///< a schedule has failed
    std::uint64_t schedules = 0;               ///< number of schedules that did not fail
    std::vector<std::uint64_t> by_preemptions; ///< the same by number of preemptions
    std::uint64_t most_choices = 0;            ///< maximum number of choices in a schedule
    /// The schedule that failed. No schedule with fewer preemptions fails.
    std::string decisions;
    std::string report; ///< what happened in it, task by task
};

/// A line of the log.
struct SimLogLine {
    SimTime time;        ///< when it was written
    std::string task;    ///< the task that wrote it
    unsigned int module; ///< as given to ulogPrintf()
    int level;           ///< the same
    std::string text;    ///< without the time
};

/// Objects and memory in use. All counts except `locks_taken` are relative to the start of the run.
struct SimHoldings {
    long tasks;       ///< tasks that are not deleted yet, without the body and the host tasks
    long queues;      ///< message queues
    long semaphores;  ///< binary semaphores
    long blocks;      ///< of all pools
    long bytes;       ///< in these blocks
    long locks_taken; ///< semaphores that were created available and are taken now
};
/// Compares all counts.
bool operator==(const SimHoldings& a, const SimHoldings& b);

/// The kinds of calls that can be made to fail.
enum class SimFault {
    kQueueCreate,
    kQueueSend,
    kQueueReceive,
    kSemaphoreCreate,
    kSemaphoreTake,
    kTaskSpawn,
    kPoolCreate,
    kPoolAlloc,
    kNew, ///< `operator new`, in programs that link onu_mng::platform_sim_new
    kAny, ///< all kinds, counted together
};
/// The number of kinds.
constexpr std::size_t kSimFaults = 10;
/// Returns the name of a kind.
const char* SimFaultName(SimFault fault);

/// One run. Call `Run` once, from a thread that is not a task. The tasks of the run may call the other
/// operations. The owner may call those that do not wait, before and after the run.
///
/// Queues, semaphores and pools survive the run, because the library's singletons keep their locks. Tasks do
/// not: the end of the run ends them as bep_taskDeleteEx() does.
class Simulation {
public:
    /// Prepares a run.
    explicit Simulation(std::uint64_t seed);
    explicit Simulation(const SimOptions& options);
    ~Simulation();
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    /// Runs `body` as the host's start-up task ("host") until it and all host tasks have ended and all is
    /// quiet: each remaining task sleeps, waits with a limit, waits to receive a message, waits to be
    /// deleted, or was passed to `MayIdle`. Every other wait without limit must end. A second call does
    /// nothing.
    const SimResult& Run(const std::function<void()>& body);
    const SimResult& Result() const;

    /// Runs a scenario once under every schedule with at most `SimExploreOptions::preemptions` preemptions.
    /// Stops at the first schedule that fails.
    ///
    /// A preemption switches, at a call of the platform, from a task that could continue to another. If a
    /// task waits or ends, each ready task is tried as the next one; that is not a preemption. Schedules with
    /// fewer preemptions run first, so the failing one has the fewest.
    ///
    /// The scenario calls `Run` once and returns whether its checks passed. The body of `Run` calls
    /// `Explored`. The scenario must do the same in every call and leave the process unchanged, except for
    /// the first run. It is called in copies of this process, so values that it stores in variables are not
    /// visible here. This process must have one thread.
    static SimExploration Explore(const SimExploreOptions& options,
                                  const std::function<bool(Simulation&)>& scenario);
    /// Runs the part of the body that is explored, together with all tasks that run during that part. Outside
    /// it, for instance during the start of the library, the exploration makes no choices: the running task
    /// continues while it can, and then the ready task that was started first runs. In a run with a seed,
    /// this function only calls `part`.
    void Explored(const std::function<void()>& part);

    /// Starts another host task. The run does not end before this task. Returns false if it could not be
    /// started.
    bool Spawn(const char* name, std::function<void()> body, unsigned int priority = 100);
    /// Waits until every host task except the caller has ended.
    void Join();
    /// Waits until no other task can run without time passing.
    void Settle();
    /// Sleeps for `duration` of virtual time, as nanosleep() does.
    void Sleep(SimTime duration);
    SimTime Now() const;
    /// Moves the calendar (CLOCK_REALTIME, getDateTime()) without time passing, as setting the date does.
    void StepCalendar(SimTime step);
    /// Lets the run count as quiet while tasks of this name wait without limit for a semaphore or for room in
    /// a queue.
    void MayIdle(const char* task);

    /// Makes the `nth` call of a kind fail (1: the next one), and also call number `then`, unless that is 0.
    /// `FailFrom` makes the `nth` and all later calls fail. `FailShare` makes one in `one_in` calls fail,
    /// chosen from the seed. Each replaces the earlier setting for the kind.
    ///
    /// If a failing call may wait, it takes one tick, so that time advances in a loop around it.
    void FailNth(SimFault kind, unsigned int nth, unsigned int then = 0);
    void FailFrom(SimFault kind, unsigned int nth);
    void FailShare(SimFault kind, unsigned int one_in);
    void FailNone();
    /// Returns the number of calls of a kind that were made to fail in this run.
    unsigned int Failed(SimFault kind = SimFault::kAny) const;

    /// Returns the log lines so far. The run collects them instead of writing them to standard error.
    const std::vector<SimLogLine>& Log() const;
    /// Returns the number of log lines with this text.
    std::size_t Logged(const std::string& text) const;
    /// Returns one line for each call so far. Requires `SimOptions::keep_record`.
    std::vector<std::string> Record() const;
    /// Returns one line for each task that has not ended: its name and its wait.
    std::vector<std::string> Tasks() const;
    /// Returns a report: the failure, the decisions or the seed, the last 30 calls of each task, and the last
    /// 50 lines of the log.
    std::string Explain() const;
    /// Writes the run as trace events (JSON) for the common trace viewers: a track for each task, calls as
    /// slices, messages as arrows, faults and log lines as marks. Calls that take no virtual time are drawn
    /// one microsecond long, one after the other. Requires `SimOptions::keep_record`. Returns false if the
    /// file cannot be written.
    ///
    /// With ONU_MNG_TIMELINE=FOLDER in the environment, every run keeps its record and writes a file there.
    bool WriteTimeline(const std::string& path) const;
    SimHoldings Holdings() const;

private:
    friend class Explorer;

    std::unique_ptr<class SimRun> run;
};

} // namespace onu_mng_platform

#endif
