#include "onu_mng_platform/sim/record.h"
#include "onu_mng_platform/sim/scheduler.h"

namespace onu_mng_platform {

namespace {

std::string Named(const char* kind, const Wait& wait) {
    if (wait.object == nullptr) return kind;
    return std::string(kind) + " " + std::to_string(Board::Instance().Number(wait.object->id)) +
           (wait.object->deleted && wait.kind != WaitKind::kEndOfTask ? " (deleted)" : "");
}

std::string Taker(const BinarySemaphore& semaphore) {
    if (semaphore.available || semaphore.taken_at.file == nullptr) return "";
    return "; taken by " + semaphore.taker + SiteText(semaphore.taken_at);
}

std::string Awaited(const Wait& wait) {
    switch (wait.kind) {
    case WaitKind::kReceive:
        return Named("a message in queue", wait);
    case WaitKind::kSend:
        return Named("room in queue", wait);
    case WaitKind::kTake:
        return Named("semaphore", wait);
    case WaitKind::kEndOfTask:
        return Named("the end of task", wait);
    case WaitKind::kEndOfHosts:
        return "the end of the host tasks";
    case WaitKind::kOthers:
        return "all others to be quiet";
    case WaitKind::kOwnEnd:
        return "its own end, in a call for a deleted queue";
    default:
        return "time";
    }
}

std::string CallInProgress(const Task& task) {
    return task.call != nullptr ? std::string(", in ") + task.call->name->name + SiteText(task.call->site)
                                : "";
}

std::string Line(const Task& task) {
    const Wait& wait = task.wait;
    const std::string name = "task " + TaskText(*task.calls);
    if (wait.kind == WaitKind::kNothing) return name + " runs" + CallInProgress(task);
    const std::string until =
        wait.deadline == kNever ? " without limit" : " until " + TimeText(wait.deadline);
    const std::string taker =
        wait.kind == WaitKind::kTake ? Taker(static_cast<BinarySemaphore&>(*wait.object)) : "";
    return name + " waits for " + Awaited(wait) + " since " + TimeText(wait.since) + until +
           SiteText(wait.site) + taker;
}

} // namespace

std::string DecisionLine(const Decision& decision, SimTime time, const Task& chosen, const Task* running) {
    std::string line = "decision " + DecisionsText({decision}) + " at " + TimeText(time) + ": " +
                       TaskText(*chosen.calls) + " goes on";
    if (running != nullptr) line += " before " + TaskText(*running->calls) + CallInProgress(*running);
    return line;
}

std::vector<std::string> Scheduler::Describe() const {
    std::vector<std::string> lines;
    for (const auto& task : live)
        lines.push_back(Line(*task));
    return lines;
}

} // namespace onu_mng_platform
