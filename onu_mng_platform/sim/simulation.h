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
    /// Keeps a line of every call (`Record`).
    bool keep_record = false;
};

enum class SimOutcome {
    kQuiet,      ///< the body and the host tasks have ended and nothing is left to run
    kDeadlock,   ///< tasks that must go on wait without limit, and nobody is left to end it
    kOverLimit,  ///< the same at `SimOptions::limit`, while others still had deadlines
    kSpinning,   ///< `SimOptions::calls_per_instant` was reached
    kEscaped,    ///< an exception left the entry of a task
    kNotEnded,   ///< a task could not be ended at the end of the run; its thread stays behind
    kNotStarted, ///< the body could not be started, or a run was going on already
};

struct SimResult {
    SimOutcome outcome = SimOutcome::kNotStarted;
    std::uint64_t seed = 0;
    SimTime time{0};
    std::uint64_t calls = 0;       ///< calls of the platform
    std::uint64_t switches = 0;    ///< of these, handed over to another task
    std::uint64_t fingerprint = 0; ///< of every call and log line: equal for equal runs
    /// What went wrong, every task with what it waits for, and the seed.
    std::string report;

    bool Ok() const { return outcome == SimOutcome::kQuiet; }
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
};
constexpr std::size_t kSimFaults = 9;
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

    /// From now on the `nth` call of the kind fails (1: the next); `FailFrom`: and every later one;
    /// `FailShare`: one in so many, chosen from the seed. Each replaces what was said before about the kind.
    ///
    /// A call told to fail that was ready to wait takes one tick, so that a loop around it lets time go on.
    void FailNth(SimFault kind, unsigned int nth);
    void FailFrom(SimFault kind, unsigned int nth);
    void FailShare(SimFault kind, unsigned int one_in);
    void FailNone();
    /// The calls that were made to fail in this run.
    unsigned int Failed() const;

    /// The lines the log has written so far; the run collects them instead of the log's ordinary sink.
    const std::vector<SimLogLine>& Log() const;
    /// How often a text stands in the log.
    std::size_t Logged(const std::string& text) const;
    /// One line for each call so far, with `SimOptions::keep_record`.
    std::vector<std::string> Record() const;
    /// One line for each task that has not ended: its name and what it waits for.
    std::vector<std::string> Tasks() const;
    SimHoldings Holdings() const;

private:
    std::unique_ptr<class SimRun> run;
};

} // namespace onu_mng_platform

#endif
