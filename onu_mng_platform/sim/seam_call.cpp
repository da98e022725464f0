#include "onu_mng_platform/sim/seam_call.h"

#include "onu_mng_platform/sim/faults_new.h"

namespace onu_mng_platform {

bool IsProgram(const Task* task) {
    return task != nullptr && !task->ended && task->board_depth == 0;
}

SeamCall::SeamCall(const CallName& name, CallSite site)
    : task(CurrentTask()), run(IsProgram(task) ? task->run : nullptr) {
    if (task == nullptr && Board::Instance().run.load(std::memory_order_relaxed) != nullptr)
        Die(std::string(name.name) + " was called by a thread that is no task of the run");
    if (run == nullptr) return;
    call.name = &name;
    call.site = site;
    call.caller = task->calls;
    task->call = &call;
    run->scheduler.Pass(*task);
    call.began = run->scheduler.Now();
    call.first_step = run->record.Step();
}

SeamCall::~SeamCall() {
    if (run == nullptr) return;
    task->call = nullptr;
    call.ended = run->scheduler.Now();
    call.last_step = run->record.Step();
    run->record.Add(call);
}

bool SeamCall::IsToFail(SimFault kind, int ticks) {
    if (run == nullptr || !run->faults.Take(kind)) return false;
    call.was_failed = true;
    if (ticks != 0) WaitFor(WaitKind::kTime, nullptr, 1);
    return true;
}

bool SeamCall::WaitFor(WaitKind kind, std::shared_ptr<Object> object, int ticks, bool can_end) {
    const SimTime deadline = run != nullptr ? run->scheduler.Deadline(ticks) : SimTime{0};
    return WaitUntil(kind, std::move(object), deadline, can_end);
}

bool SeamCall::WaitUntil(WaitKind kind, std::shared_ptr<Object> object, SimTime deadline, bool can_end) {
    Wait wait;
    wait.kind = kind;
    wait.object = std::move(object);
    wait.deadline = deadline;
    wait.site = call.site;
    wait.can_end = can_end;
    return run != nullptr ? run->scheduler.WaitFor(*task, std::move(wait)) : IsMet(wait);
}

std::uint64_t SeamCall::Sends() {
    return run != nullptr ? call.sent = ++run->messages : 0;
}

void SeamCall::EndPoint() {
    if (run != nullptr) run->scheduler.EndPoint(*task);
}

bool NewIsToFail() noexcept {
    static constexpr CallName kNew{"operator new", nullptr, nullptr, nullptr};
    const Task* task = CurrentTask();
    if (!IsProgram(task) || !task->run->faults.Take(SimFault::kNew)) return false;
    const BoardWork work;
    Record& record = task->run->record;
    RecordedCall call;
    call.name = &kNew;
    call.caller = task->calls;
    call.began = call.ended = task->run->scheduler.Now();
    call.first_step = record.Step();
    call.last_step = record.Step();
    call.was_failed = call.has_result = true;
    record.Add(call);
    return true;
}

} // namespace onu_mng_platform
