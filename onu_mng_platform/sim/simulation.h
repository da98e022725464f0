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
/// Every task is a thread, but one runs at a time. Each call of the platform, clock_gettime() and nanosleep()
/// included, is a point where another ready task may go on, chosen from the seed: the same seed, program and
/// process state give the same run on every machine. Time stands still while a task can run and jumps to the
/// next deadline when none can.
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

/// The virtual date at the start of a run in seconds since 1970: 2026-01-01 00:00:00 UTC. The board stands in
/// that zone, whatever the machine's, until a program sets TZ.
constexpr std::int64_t kSimStartDate = 1767225600;

struct SimOptions {
    std::uint64_t seed = 1;
    /// A run goes on to this time even when the body has ended and all is quiet.
    SimTime until{0};
    /// A run that is not quiet by this time has failed.
    SimTime limit = std::chrono::hours(24);
    /// A run that makes so many calls without time passing has failed: something spins.
    std::uint64_t calls_per_instant = 10'000'000;
    /// Of so many calls one, on average, may hand over to another task; 0: chosen from the seed for the run.
    unsigned int switch_one_in = 0;
    /// Only tasks of the highest priority among the ready ones run, as on a board with one processor.
    bool by_priority = false;
    /// Keeps every call, for `Record` and `WriteTimeline`.
    bool keep_record = false;
    /// A schedule that `Simulation::Explore` named ("7:1 19:2"): the run follows it in place of the seed. With
    /// no decision in it a task goes on as long as it can, and after it the one that was started first.
    std::optional<std::string> decisions;
};

enum class SimOutcome {
    kQuiet,       ///< the body and the host tasks have ended and nothing is left to run
    kDeadlock,    ///< tasks that must go on wait without limit, and nobody is left to end it
    kOverLimit,   ///< the same at `SimOptions::limit`, while others still had deadlines
    kSpinning,    ///< `SimOptions::calls_per_instant` was reached
    kEscaped,     ///< an exception left the entry of a task
    kNotRepeated, ///< `SimOptions::decisions` do not fit the run
    kNotEnded,    ///< a task could not be ended at the end of the run; its thread stays behind
    kNotStarted,  ///< the body could not be started, or a run was going on already
};

struct SimResult {
    SimOutcome outcome = SimOutcome::kNotStarted;
    std::uint64_t seed = 0;
    SimTime time{0};
    std::uint64_t calls = 0;       ///< calls of the platform
    std::uint64_t switches = 0;    ///< of these, handed over to another task
    std::uint64_t fingerprint = 0; ///< of every call and log line: equal for equal runs
    /// The seed; of a run that failed all of `Simulation::Explain`.
    std::string report;

    bool Ok() const { return outcome == SimOutcome::kQuiet; }
};

struct SimExploreOptions {
    /// A schedule takes the turn from tasks that could go on at most so often.
    unsigned int preemptions = 2;
    /// Of every run.
    SimOptions run;
    /// Each schedule runs in a process of its own, for scenarios that need the program's singletons untouched.
    /// Otherwise some hundred follow one another in a process, after one run that is not counted.
    bool fresh_process = false;
    /// The search ends, incomplete, after so many schedules.
    std::uint64_t most_schedules = 10'000'000;
    /// Only this schedule runs, in the calling process.
    std::optional<std::string> decisions;
};

struct SimExploration {
    bool is_complete = false; ///< no schedule is left, and none failed
    bool has_failed = false;
    std::uint64_t schedules = 0;               ///< that were run and did not fail
    std::vector<std::uint64_t> by_preemptions; ///< the same by their number of preemptions
    std::uint64_t most_choices = 0;            ///< in one schedule
    /// The schedule that failed: none with fewer preemptions does.
    std::string decisions;
    std::string report;
};

/// A line that the log wrote.
struct SimLogLine {
    SimTime time;
    std::string task; ///< the task that wrote it
    unsigned int module;
    int level;
    std::string text;
};

/// What is in use on the board, all but `locks_taken` counted from the start of the run.
struct SimHoldings {
    long tasks; ///< not deleted yet, the body and the host tasks aside
    long queues;
    long semaphores;
    long blocks;      ///< of all pools
    long bytes;       ///< in these blocks
    long locks_taken; ///< semaphores that were created available and are not
};
bool operator==(const SimHoldings& a, const SimHoldings& b);

/// The kinds of call that can be told to fail.
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
constexpr std::size_t kSimFaults = 10;
const char* SimFaultName(SimFault fault);

/// One run. `Run` is called once, from a thread that is no task; the other operations from tasks of the run
/// or, but for those that wait, from the owner before and after it.
///
/// Queues, semaphores and pools that a program leaves live on after the run, as the locks of the library's
/// singletons must; tasks do not: at the end of a run they are ended as bep_taskDeleteEx() would.
class Simulation {
public:
    explicit Simulation(std::uint64_t seed);
    explicit Simulation(const SimOptions& options);
    ~Simulation();
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    /// Runs `body` as the host's start-up task ("host") until it and all host tasks have ended and all is
    /// quiet: each task that is left sleeps, waits with a limit, waits for its queue, waits to be deleted, or
    /// was named to `MayIdle`. Any other wait without limit must come to its end.
    /// A second call does nothing.
    const SimResult& Run(const std::function<void()>& body);
    const SimResult& Result() const;

    /// Runs a scenario under every schedule that has at most `SimExploreOptions::preemptions`, each once, up to
    /// the first that fails.
    ///
    /// A preemption takes the turn, at a call of the platform, from a task that could go on. When a task waits or
    /// ends, every ready task in turn is the next one; that is no preemption. The schedules run by their number
    /// of preemptions, so the one that fails has the fewest.
    ///
    /// The scenario calls `Run` once, whose body calls `Explored`, and returns whether all held. It does the same whenever it is called and
    /// leaves the process as it found it, the first run aside. It is called in copies of this process, which has
    /// one thread: what it writes to variables stays there.
    static SimExploration Explore(const SimExploreOptions& options,
                                  const std::function<bool(Simulation&)>& scenario);
    /// Runs the part of the body that an exploration is about, with all that other tasks do meanwhile. Before
    /// and after it, where the library is brought up and down, the exploration makes no choices: a task goes on
    /// as long as it can, and after it the one that was started first. Under a seed it is a call like any other.
    void Explored(const std::function<void()>& part);

    /// Starts a further host task: the run does not end before it. Returns false when it could not be
    /// started.
    bool Spawn(const char* name, std::function<void()> body, unsigned int priority = 100);
    /// Waits until every host task but the caller has ended.
    void Join();
    /// Waits until no other task can run without time passing.
    void Settle();
    /// Lets time pass for the calling task, as nanosleep() does.
    void Sleep(SimTime duration);
    SimTime Now() const;
    /// Moves the calendar (CLOCK_REALTIME, getDateTime()) without time passing, as setting the date does.
    void StepCalendar(SimTime step);
    /// Lets tasks of this name wait for a semaphore, or for room in a queue, without limit in quiet.
    void MayIdle(const char* task);

    /// From now on the `nth` call of the kind fails (1: the next), and the one at `then`, which is later;
    /// `FailFrom`: the `nth` and every later one; `FailShare`: one in so many, chosen from the seed. Each
    /// replaces what was said before about the kind.
    ///
    /// A call told to fail that was ready to wait takes one tick, so that a loop around it lets time go on.
    void FailNth(SimFault kind, unsigned int nth, unsigned int then = 0);
    void FailFrom(SimFault kind, unsigned int nth);
    void FailShare(SimFault kind, unsigned int one_in);
    void FailNone();
    /// The calls of a kind that were made to fail in this run.
    unsigned int Failed(SimFault kind = SimFault::kAny) const;

    /// The lines the log has written so far; the run collects them instead of the log's ordinary sink.
    const std::vector<SimLogLine>& Log() const;
    /// How often a text stands in the log.
    std::size_t Logged(const std::string& text) const;
    /// One line for each call so far, with `SimOptions::keep_record`.
    std::vector<std::string> Record() const;
    /// One line for each task that has not ended: its name and what it waits for.
    std::vector<std::string> Tasks() const;
    /// What went wrong, the decisions or the seed, the last 30 calls of each task and the last 50 lines of the log.
    std::string Explain() const;
    /// Writes the run as trace events (JSON), which the common trace viewers open: a track for each task, calls as
    /// slices, messages as arrows, faults and lines of the log as marks. Calls that take no virtual time are drawn
    /// one microsecond long, one after the other. Needs `SimOptions::keep_record`. Returns false when the file
    /// cannot be written.
    ///
    /// With ONU_MNG_TIMELINE=FOLDER in the environment every run keeps its record and writes a file there.
    bool WriteTimeline(const std::string& path) const;
    SimHoldings Holdings() const;

private:
    friend class Explorer;

    std::unique_ptr<class SimRun> run;
};

} // namespace onu_mng_platform

#endif
