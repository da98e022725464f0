#include "onu_mng_platform/sim/simulation.h"

#include <algorithm>
#include <thread>

#include "onu_mng_platform/sim/explore.h"
#include "onu_mng_platform/sim/run.h"
#include "onu_mng_platform/sim/seam_call.h"
#include "onu_mng_platform/sim/timeline.h"

namespace onu_mng_platform {

namespace {

constexpr CallName kSpawn{"Spawn", "task", nullptr, nullptr};
constexpr CallName kJoin{"Join", nullptr, nullptr, nullptr};
constexpr CallName kSettle{"Settle", nullptr, nullptr, nullptr};
constexpr CallName kSleep{"Sleep", nullptr, "nanoseconds", nullptr};

SimOptions WithSeed(std::uint64_t seed) {
    SimOptions options;
    options.seed = seed;
    return options;
}

} // namespace

const char* SimFaultName(SimFault fault) {
    constexpr const char* kNames[kSimFaults] = {
        "queue create", "queue send",  "queue receive", "semaphore create", "semaphore take",
        "task spawn",   "pool create", "pool alloc",    "operator new",     "any call"};
    return kNames[static_cast<std::size_t>(fault)];
}

bool operator==(const SimHoldings& a, const SimHoldings& b) {
    return a.tasks == b.tasks && a.queues == b.queues && a.semaphores == b.semaphores &&
           a.blocks == b.blocks && a.bytes == b.bytes && a.locks_taken == b.locks_taken;
}

Simulation::Simulation(std::uint64_t seed) : Simulation(WithSeed(seed)) {}
Simulation::Simulation(const SimOptions& options) : run(std::make_unique<SimRun>(options)) {}
Simulation::~Simulation() = default;

const SimResult& Simulation::Run(const std::function<void()>& body) {
    return run->Run(body);
}
const SimResult& Simulation::Result() const {
    return run->result;
}

SimExploration Simulation::Explore(const SimExploreOptions& options,
                                   const std::function<bool(Simulation&)>& scenario) {
    Explorer explorer(options, scenario);
    return options.decisions ? explorer.Replay() : explorer.Run();
}

void Simulation::Explored(const std::function<void()>& part) {
    struct Open {
        explicit Open(Schedule& opened) : schedule(opened) { schedule.BeginChoices(); }
        ~Open() { schedule.EndChoices(); }
        Schedule& schedule;
    };
    const Open open(run->scheduler.schedule);
    part();
}

bool Simulation::Spawn(const char* name, std::function<void()> body, unsigned int priority) {
    SeamCall call(kSpawn);
    if (call.Run() == nullptr) return false;
    const auto task = run->Spawn(name, priority, kHostStack, std::move(body), true);
    return call.Created(task != nullptr ? task->id : 0) != 0;
}

void Simulation::Join() {
    SeamCall call(kJoin);
    call.WaitUntil(WaitKind::kEndOfHosts, nullptr, kNever);
    call.Result(0);
}

void Simulation::Settle() {
    SeamCall call(kSettle);
    call.WaitUntil(WaitKind::kOthers, nullptr, kNever);
    call.Result(0);
}

void Simulation::Sleep(SimTime duration) {
    SeamCall call(kSleep);
    call.With(duration.count());
    call.EndPoint();
    call.WaitUntil(WaitKind::kTime, nullptr, run->scheduler.After(duration));
    call.Result(0);
}

SimTime Simulation::Now() const {
    return run->scheduler.Now();
}
void Simulation::StepCalendar(SimTime step) {
    run->calendar_step += step;
}
void Simulation::MayIdle(const char* task) {
    const BoardWork work;
    run->scheduler.may_idle.emplace_back(task);
}

void Simulation::FailNth(SimFault kind, unsigned int nth, unsigned int then) {
    run->faults.FailNth(kind, nth, then);
}
void Simulation::FailFrom(SimFault kind, unsigned int nth) {
    run->faults.FailFrom(kind, nth);
}
void Simulation::FailShare(SimFault kind, unsigned int one_in) {
    run->faults.FailShare(kind, one_in);
}
void Simulation::FailNone() {
    run->faults.FailNone();
}
unsigned int Simulation::Failed(SimFault kind) const {
    return run->faults.Failed(kind);
}

const std::vector<SimLogLine>& Simulation::Log() const {
    return run->log;
}

std::size_t Simulation::Logged(const std::string& text) const {
    return static_cast<std::size_t>(std::count_if(run->log.begin(), run->log.end(),
                                                  [&](const SimLogLine& line) { return line.text == text; }));
}

std::vector<std::string> Simulation::Record() const {
    return run->record.Lines();
}
std::vector<std::string> Simulation::Tasks() const {
    return run->scheduler.Describe();
}

std::string Simulation::Explain() const {
    return run->Explain();
}
bool Simulation::WriteTimeline(const std::string& path) const {
    return onu_mng_platform::WriteTimeline(path, run->record, run->log);
}

SimHoldings Simulation::Holdings() const {
    const BoardWork work;
    SimHoldings now = Board::Instance().Holdings();
    const SimHoldings& before = run->before;
    now.tasks -= before.tasks;
    now.queues -= before.queues;
    now.semaphores -= before.semaphores;
    now.blocks -= before.blocks;
    now.bytes -= before.bytes;
    return now;
}

} // namespace onu_mng_platform
