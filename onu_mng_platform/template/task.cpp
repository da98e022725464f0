// Tasks. bep.h has the contract of each function. The comments here are about common mistakes.
#include "onu_mng_platform/bep.h"

extern "C" uint32_t bep_taskSpawnEx(const char* /*name*/, unsigned int /*priority*/, int /*options*/,
                                    unsigned int /*stack_size*/, bep_task_entry entry, intptr_t /*arg1*/,
                                    intptr_t /*arg2*/, intptr_t /*arg3*/, intptr_t /*arg4*/,
                                    intptr_t /*arg5*/, intptr_t /*arg6*/, intptr_t /*arg7*/,
                                    intptr_t /*arg8*/, intptr_t /*arg9*/, intptr_t /*arg10*/) {
    if (entry == nullptr) return 0;
    // Add the stack that the system itself needs to the size asked for. If the process has no right to
    // priorities, log that once and go on. The start function of the task catches bep_TaskEnd.
    return 0;
}

extern "C" int bep_taskDeleteEx(uint32_t /*task_id*/) {
    // Ask the task to end, wake it wherever it waits, and wait until it has ended. nanosleep() is a wait,
    // too. The library calls it directly, so the port has to replace it.
    return -1;
}

extern "C" void bep_taskSafeEx() {}

extern "C" void bep_taskUnsafeEx() {}
