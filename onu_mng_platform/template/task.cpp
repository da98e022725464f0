// Tasks. The contract of each function stands in bep.h; here is what is easily missed.
#include "onu_mng_platform/bep.h"

extern "C" uint32_t bep_taskSpawnEx(const char* /*name*/, unsigned int /*priority*/, int /*options*/,
                                    unsigned int /*stack_size*/, bep_task_entry entry, intptr_t /*arg1*/,
                                    intptr_t /*arg2*/, intptr_t /*arg3*/, intptr_t /*arg4*/,
                                    intptr_t /*arg5*/, intptr_t /*arg6*/, intptr_t /*arg7*/,
                                    intptr_t /*arg8*/, intptr_t /*arg9*/, intptr_t /*arg10*/) {
    if (entry == nullptr) return 0;
    // What the system itself needs of a stack comes on top of what was asked for. Without the right to the
    // priority: say so once and go on. Catch here what ends the task.
    return 0;
}

extern "C" int bep_taskDeleteEx(uint32_t /*task_id*/) {
    // Tell the task to end, wake it wherever it waits, wait until it has ended. nanosleep() is a wait as
    // well: the library calls it under its own name, so that the port has to stand in for it.
    return -1;
}

extern "C" void bep_taskSafeEx() {}

extern "C" void bep_taskUnsafeEx() {}
