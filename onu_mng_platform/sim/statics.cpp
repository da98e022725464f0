#include "onu_mng_platform/sim/board.h"

// The linker redirects the compiler's calls around the construction of function-local statics to these
// functions (--wrap). If a task were preempted during the construction, the next task would block on the
// guard for ever, and the board could not see that. So the constructing task is not preempted.

using onu_mng_platform::CurrentTask;
using onu_mng_platform::Task;

extern "C" {
int __real___cxa_guard_acquire(void* guard);
void __real___cxa_guard_release(void* guard);
void __real___cxa_guard_abort(void* guard);
int __wrap___cxa_guard_acquire(void* guard);
void __wrap___cxa_guard_release(void* guard);
void __wrap___cxa_guard_abort(void* guard);
}

namespace {

void CountStatics(int change) {
    Task* task = CurrentTask();
    if (task != nullptr) task->static_depth += change;
}

} // namespace

int __wrap___cxa_guard_acquire(void* guard) {
    const int constructs = __real___cxa_guard_acquire(guard);
    if (constructs != 0) CountStatics(1);
    return constructs;
}

void __wrap___cxa_guard_release(void* guard) {
    __real___cxa_guard_release(guard);
    CountStatics(-1);
}

void __wrap___cxa_guard_abort(void* guard) {
    __real___cxa_guard_abort(guard);
    CountStatics(-1);
}
