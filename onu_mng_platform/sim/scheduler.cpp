#include "onu_mng_platform/sim/scheduler.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "onu_mng_platform/common/sync/task_end.h"

namespace onu_mng_platform {

void Die(const std::string& what) {
    std::fprintf(stderr, "simulated board: %s\n", what.c_str());
    std::abort();
}

Scheduler::Scheduler(const SimOptions& run_options)
    : schedule(run_options), options(run_options), limit(run_options.limit) {}

void Scheduler::Pass(Task& self) {
    calls.store(Calls() + 1, std::memory_order_relaxed);
    if (++calls_now > options.calls_per_instant) {
        Stop(SimOutcome::kSpinning, "spinning: " + std::to_string(calls_now) + " calls without time passing");
    } else if (self.static_depth != 0 || !schedule.MayPreempt()) {
        return;
    }
    Task* next = Choose(&self);
    if (next == &self) return;
    HandOver(next != nullptr ? next->baton : owner, self.baton);
}

bool Scheduler::WaitFor(Task& self, Wait wait) {
    if (Holds(self, wait)) return true;
    if (wait.deadline <= now) return false;
    wait.since = now;
    wait.can_end = wait.can_end && self.safe_depth == 0 && !IsUnwinding();
    self.wait = std::move(wait);
    Task* next = Choose();
    if (next != &self) HandOver(next != nullptr ? next->baton : owner, self.baton);

    wait = std::move(self.wait);
    self.wait = {};
    if (self.end_requested && wait.can_end) throw TaskEnd{};
    return Holds(self, wait);
}

void Scheduler::EndPoint(Task& self) {
    if (self.end_requested && self.safe_depth == 0 && !IsUnwinding()) throw TaskEnd{};
}

SimTime Scheduler::After(SimTime span) const {
    return span < kNever - now ? now + span : kNever;
}

SimTime Scheduler::Deadline(int ticks) const {
    if (ticks < 0) return kNever;
    return After(std::chrono::nanoseconds(std::chrono::seconds(1)) * ticks / kTicksPerSecond);
}

Task* Scheduler::Choose(const Task* running) {
    for (;;) {
        if (stopping || (ending && live.empty())) return nullptr;
        CollectReady();
        if (ready.empty()) CollectSettled();
        if (options.by_priority) KeepHighestPriority();
        if (!ready.empty()) return schedule.Choose(ready, running, now);
        if (!Advance()) return nullptr;
    }
}

void Scheduler::KeepHighestPriority() {
    unsigned int highest = UINT_MAX;
    for (const Task* task : ready)
        highest = std::min(highest, task->priority);
    ready.erase(std::remove_if(ready.begin(), ready.end(),
                               [highest](const Task* task) { return task->priority != highest; }),
                ready.end());
}

void Scheduler::CollectReady() {
    ready.clear();
    for (const auto& task : live)
        if (IsReady(*task)) ready.push_back(task.get());
}

void Scheduler::CollectSettled() {
    for (const auto& task : live)
        if (task->wait.kind == WaitKind::kOthers) ready.push_back(task.get());
}

bool Scheduler::IsReady(const Task& task) const {
    if (task.wait.kind == WaitKind::kNothing || Holds(task, task.wait) || task.wait.deadline <= now)
        return true;
    return task.end_requested && task.wait.can_end;
}

bool Scheduler::Holds(const Task& task, const Wait& wait) const {
    return wait.kind == WaitKind::kEndOfHosts ? !HasHosts(task) : IsMet(wait);
}

bool Scheduler::HasHosts(const Task& but) const {
    return std::any_of(live.begin(), live.end(),
                       [&but](const auto& task) { return task->is_host && task.get() != &but; });
}

SimTime Scheduler::NextDeadline() const {
    SimTime next = kNever;
    for (const auto& task : live)
        next = std::min(next, task->wait.deadline);
    return next;
}

// Advances the time to the next deadline. Returns false if the run is over, successful or not.
bool Scheduler::Advance() {
    const SimTime next = NextDeadline();
    if (!ending && IsFinished() && (next == kNever || next > options.until)) {
        now = std::max(now, options.until);
        return false;
    }
    if (next == kNever) {
        if (ending)
            Stop(SimOutcome::kNotEnded, "tasks cannot be ended");
        else
            Stop(SimOutcome::kDeadlock, "deadlock");
        return false;
    }
    if (next > limit) {
        now = limit;
        Stop(SimOutcome::kOverLimit, "not quiet within the limit");
        return false;
    }
    now = next;
    calls_now = 0;
    return true;
}

bool Scheduler::IsFinished() const {
    return std::none_of(live.begin(), live.end(),
                        [this](const auto& task) { return task->is_host || IsStuck(*task); });
}

// Returns whether a task waits without limit for something that must happen before the run ends: the end of
// a task, or a semaphore or room in a queue that is not deleted, unless the task was passed to `MayIdle`.
bool Scheduler::IsStuck(const Task& task) const {
    const Wait& wait = task.wait;
    if (wait.deadline != kNever) return false;
    if (wait.kind == WaitKind::kEndOfTask) return true;
    if (wait.kind != WaitKind::kTake && wait.kind != WaitKind::kSend) return false;
    return !wait.object->deleted && std::find(may_idle.begin(), may_idle.end(), task.name) == may_idle.end();
}

void Scheduler::Stop(SimOutcome why, const std::string& what) {
    if (ending && why == SimOutcome::kSpinning)
        Die(what + " in tasks that are to end; seed " + std::to_string(options.seed));
    if (outcome == SimOutcome::kQuiet) outcome = why;
    stopping = true;
    report += what;
    for (const std::string& line : Describe())
        report += "\n  " + line;
    report += '\n';
}

} // namespace onu_mng_platform
