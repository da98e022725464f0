// Binary semaphores. bep.h has the contract of each function. The comments here are about common mistakes.
#include "onu_mng_platform/bep.h"

extern "C" uint32_t bep_semBCreateEx(int /*options*/, int /*available*/, const char* /*file*/, int /*line*/) {
    // Expect many semaphores: a hundred thousand on a large system. Each lock and state context has one.
    return 0;
}

extern "C" int bep_semTakeEx(uint32_t /*sem_id*/, int /*ticks*/, const char* /*file*/, int /*line*/) {
    // The library's locks use these semaphores. Nearly every call finds the semaphore available, so that case
    // must be fast. This is an end point only if the caller has to wait.
    return -1;
}

extern "C" int bep_semGiveEx(uint32_t /*sem_id*/, const char* /*file*/, int /*line*/) {
    // If the semaphore is available already, it stays so, but the next taker must see this task's writes.
    return -1;
}

extern "C" int bep_semDeleteEx(uint32_t /*sem_id*/) {
    return -1;
}
