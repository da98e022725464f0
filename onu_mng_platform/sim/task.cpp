#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/sim/seam_call.h"

using namespace onu_mng_platform;

namespace {

constexpr int kError = 13;

constexpr CallName kSpawn{"taskSpawn", "task", "priority", "stack"};
constexpr CallName kDelete{"taskDelete", "task", nullptr, nullptr};
constexpr CallName kSafe{"taskSafe", nullptr, nullptr, nullptr};
constexpr CallName kUnsafe{"taskUnsafe", nullptr, nullptr, nullptr};

/// Returns whether `task` is `other` or waits, directly or through other tasks, for its end.
bool WaitsForEndOf(const Task& task, const Task* other) {
    for (const Task* each = &task; other != nullptr && each != nullptr; each = each->deletes)
        if (each == other) return true;
    return false;
}

} // namespace

uint32_t bep_taskSpawnEx(const char* name, unsigned int priority, int, unsigned int stack_size,
                         bep_task_entry entry, intptr_t arg1, intptr_t arg2, intptr_t arg3, intptr_t arg4,
                         intptr_t arg5, intptr_t arg6, intptr_t arg7, intptr_t arg8, intptr_t arg9,
                         intptr_t arg10) {
    SeamCall call(kSpawn);
    call.With(priority, stack_size);
    // Not logged after a run: when the process exits, the library tries to start a task.
    if (call.Run() == nullptr && !Board::Instance().has_run)
        LogPort(kError, "task \"%s\" not started: there is no run of the board\r\n",
                name != nullptr ? name : "");
    if (call.Run() == nullptr || entry == nullptr || call.IsToFail(SimFault::kTaskSpawn))
        return call.Created(0);
    const auto task = call.Run()->Spawn(
        name, priority, stack_size,
        [=] { entry(arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10); }, false);
    return call.Created(task != nullptr ? task->id : 0);
}

int bep_taskDeleteEx(uint32_t task_id) {
    SeamCall call(kDelete);
    call.On(task_id);
    const auto task = Board::Instance().Find<Task>(task_id);
    if (task == nullptr || WaitsForEndOf(*task, call.Caller())) return call.Result(-1);
    Board::Instance().Remove(*task);
    task->end_requested = true;
    if (call.Caller() != nullptr) call.Caller()->deletes = task.get();
    call.WaitUntil(WaitKind::kEndOfTask, task, kNever, false);
    if (call.Caller() != nullptr) call.Caller()->deletes = nullptr;
    return call.Result(0);
}

void bep_taskSafeEx(void) {
    SeamCall call(kSafe);
    if (call.Caller() != nullptr) ++call.Caller()->safe_depth;
    call.Result(0);
}

void bep_taskUnsafeEx(void) {
    SeamCall call(kUnsafe);
    if (call.Caller() != nullptr && call.Caller()->safe_depth > 0) --call.Caller()->safe_depth;
    call.Result(0);
}
