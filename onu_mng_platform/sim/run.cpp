#include "onu_mng_platform/sim/run.h"

#include <cstdlib>
#include <ctime>

#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/sim/seam_call.h"
#include "onu_mng_platform/sim/timeline.h"

namespace onu_mng_platform {

namespace {

constexpr int kLogThreshold = 10; ///< the log's default
constexpr unsigned int kHostPriority = 100;

/// Sets the time zone; null means the machine's.
void SetZone(const char* zone) {
    if (zone != nullptr)
        setenv("TZ", zone, 1);
    else
        unsetenv("TZ");
    tzset();
}

void Collect(void* context, unsigned int module, int level, const char* text) {
    SimRun& run = *static_cast<SimRun*>(context);
    const Task* task = CurrentTask();
    run.record.AddText(text);
    run.log.push_back({run.scheduler.Now(), task != nullptr ? task->name : "", module, level, text});
    if (task != nullptr && task->call != nullptr) task->call->log_line = run.log.size();
}

timespec BoardCalendar() {
    return ToTimespec(Board::Instance().run.load()->Calendar());
}

} // namespace

timespec ToTimespec(SimTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    timespec result{};
    result.tv_sec = static_cast<time_t>(seconds.count());
    result.tv_nsec = static_cast<long>((time - seconds).count());
    return result;
}

SimRun::SimRun(const SimOptions& run_options)
    : options(run_options), scheduler(run_options), faults(run_options.seed),
      record(run_options.keep_record || !TimelineFolder().empty()) {
    result.seed = run_options.seed;
}

SimTime SimRun::Calendar() const {
    return std::chrono::seconds(kSimStartDate) + scheduler.Now() + calendar_step;
}

std::shared_ptr<Task> SimRun::Spawn(const char* name, unsigned int priority, std::size_t stack_size,
                                    std::function<void()> entry, bool is_host) {
    auto task = std::make_shared<Task>();
    task->run = this;
    task->name = name != nullptr ? name : "";
    task->priority = priority;
    task->is_host = is_host;
    task->entry = std::move(entry);
    if (!scheduler.Start(task, stack_size)) return nullptr;
    task->number = Board::Instance().Number(Board::Instance().Add(task));
    task->calls = record.AddTask(*task);
    return task;
}

void SimRun::Begin() {
    if (const char* zone = std::getenv("TZ")) zone_before = zone;
    SetZone("UTC0");
    Board& board = Board::Instance();
    before = board.Holdings();
    board.BeginNumbers();
    blocks.Begin();
    board.run = this;
    LogSetThreshold(kLogThreshold);
    LogSetSink(Collect, this);
    LogSetClock(BoardCalendar);
}

void SimRun::End() {
    SetZone(zone_before ? zone_before->c_str() : nullptr);
    LogSetSink(nullptr, nullptr);
    LogSetClock(nullptr);
    for (const auto& [module, level] : opened_levels)
        LogSetModIgnore(module, level, 0);
    Board::Instance().RemoveTasks();
    Board::Instance().run = nullptr;
    Board::Instance().has_run = true;
    result.outcome = scheduler.outcome;
    result.time = scheduler.Now();
    result.calls = scheduler.Calls();
    result.switches = scheduler.switches;
    result.fingerprint = record.Fingerprint();
    result.report = result.Ok() ? Origin() : Explain();
    WriteTimelineOfRun(record, log);
}

std::string SimRun::Origin() const {
    return (options.decisions ? "decisions \"" + *options.decisions + "\""
                              : "seed " + std::to_string(options.seed)) +
           ", ended at " + TimeText(result.time);
}

const SimResult& SimRun::Run(const std::function<void()>& body) {
    if (result.outcome != SimOutcome::kNotStarted) return result;
    if (Board::Instance().run != nullptr) {
        result.report = "a run goes on already";
        return result;
    }
    Begin();
    if (Spawn("host", kHostPriority, kHostStack, body, true) == nullptr) {
        scheduler.Stop(SimOutcome::kNotStarted, "the body could not be started: no thread");
    } else {
        scheduler.RunAll();
        if (!scheduler.schedule.FollowsDecisions())
            scheduler.Stop(SimOutcome::kNotRepeated, "the decisions do not fit this run");
        if (scheduler.outcome != SimOutcome::kQuiet) record.KeepLastCalls();
        scheduler.EndAll();
    }
    End();
    return result;
}

} // namespace onu_mng_platform
