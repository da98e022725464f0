#include <algorithm>
#include <exception>
#include <sched.h>
#include <sys/prctl.h>

#include "onu_mng_platform/sim/scheduler.h"
#include "onu_mng_platform/sim/seam_call.h"

namespace onu_mng_platform {

namespace {

constexpr std::size_t kLeastStack = 1024 * 1024; ///< enough for sanitizers and test frameworks
constexpr int kWatchPeriod = 10;                 ///< seconds of real time
constexpr int kPatience = 12;                    ///< watch periods without a call

/// The attributes for creating a thread.
class ThreadAttributes {
public:
    explicit ThreadAttributes(std::size_t stack_size) {
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::max(stack_size, kLeastStack));
    }
    ~ThreadAttributes() { pthread_attr_destroy(&attributes); }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    // Only one task runs at a time, so switching to another processor only costs time (ten times as much if
    // it must wake up first). Tasks inherit the processor from the task that starts them.
    void StayOnThisProcessor() {
        const int processor = sched_getcpu();
        if (processor < 0) return;
        cpu_set_t here;
        CPU_ZERO(&here);
        CPU_SET(static_cast<std::size_t>(processor), &here);
        pthread_attr_setaffinity_np(&attributes, sizeof here, &here);
    }

    const pthread_attr_t* Get() const { return &attributes; }

private:
    pthread_attr_t attributes;
};

} // namespace

bool Scheduler::Start(const std::shared_ptr<Task>& task, std::size_t stack_size) {
    ThreadAttributes attributes(stack_size);
    if (CurrentTask() == nullptr) attributes.StayOnThisProcessor();
    if (pthread_create(&task->thread, attributes.Get(), ThreadBody, task.get()) != 0) return false;
    live.push_back(task);
    return true;
}

void* Scheduler::ThreadBody(void* task) {
    Task& self = *static_cast<Task*>(task);
    Scheduler& scheduler = self.run->scheduler;
    SetCurrentTask(&self);
    prctl(PR_SET_NAME, self.name.c_str()); // truncates long names, unlike pthread_setname_np()
    self.baton.Take();
    scheduler.Reap();
    if (!scheduler.ending) scheduler.RunEntry(self);
    self.entry = nullptr;
    scheduler.Finish(self);
    return nullptr;
}

void Scheduler::RunEntry(Task& self) {
    try {
        self.entry();
    } catch (const TaskEnd&) {
    } catch (const std::exception& exception) {
        TellEscape(self, exception.what());
    } catch (...) {
        TellEscape(self, "no std::exception");
    }
}

void Scheduler::TellEscape(const Task& self, const char* exception) {
    const BoardWork work;
    Stop(SimOutcome::kEscaped, "task \"" + self.name + "\" was left by an exception: " + exception);
}

// After it has given the baton away, the thread still destroys its thread-local objects. The next holder
// joins the thread first, so that the two never run at the same time.
void Scheduler::Finish(Task& self) {
    const auto entry =
        std::find_if(live.begin(), live.end(), [&](const auto& task) { return task.get() == &self; });
    departed = std::move(*entry);
    live.erase(entry);
    self.ended = true;
    if (self.is_host) Board::Instance().Remove(self);
    Task* next = Choose();
    ++switches;
    (next != nullptr ? next->baton : owner).Give();
}

void Scheduler::HandOver(Baton& to, Baton& from) {
    ++switches;
    to.Give();
    from.Take();
    Reap();
}

void Scheduler::Reap() {
    if (departed == nullptr) return;
    pthread_join(departed->thread, nullptr);
    departed.reset();
}

void Scheduler::RunAll() {
    Task* first = Choose();
    if (first == nullptr) return;
    first->baton.Give();
    WatchTasks();
}

void Scheduler::EndAll() {
    schedule.EndChoices();
    ending = true;
    stopping = false;
    calls_now = 0;
    limit = After(options.limit);
    for (const auto& task : live)
        task->end_requested = true;
    RunAll();
    if (!live.empty()) LeaveBehind();
}

// Threads that cannot be ended stay in their waits, so their tasks must never be destroyed.
void Scheduler::LeaveBehind() {
    static auto& left = *new std::vector<std::shared_ptr<Task>>;
    for (const auto& task : live)
        pthread_detach(task->thread);
    left.insert(left.end(), live.begin(), live.end());
}

// Detects a task that neither calls the platform nor ends, which would otherwise hang the run silently.
void Scheduler::WatchTasks() {
    std::uint64_t calls_before = Calls();
    int idle_periods = 0;
    while (!owner.TakeWithin(kWatchPeriod)) {
        idle_periods = Calls() == calls_before ? idle_periods + 1 : 0;
        calls_before = Calls();
        if (idle_periods == kPatience)
            Die("no call for two minutes: a task spins, or waits for something that is not of the platform; "
                "seed " +
                std::to_string(options.seed));
    }
    Reap();
}

} // namespace onu_mng_platform
