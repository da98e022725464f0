#include "onu_mng_platform/sim/board.h"

// The compiler's calls around the construction of a function-local static, led here by the linker (--wrap). A
// task that lost its turn in there would leave the next one that comes along waiting for it outside of the
// board's sight, for ever. So the constructing task keeps its turn, as if the construction took no time.

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
