// Binary semaphores. The contract of each function stands in bep.h; here is what is easily missed.
#include "onu_mng_platform/bep.h"

extern "C" uint32_t bep_semBCreateEx(int /*options*/, int /*available*/, const char* /*file*/, int /*line*/) {
    // Expect many: each lock and each context of the library has one, a hundred thousand on a large system.
    return 0;
}

extern "C" int bep_semTakeEx(uint32_t /*sem_id*/, int /*ticks*/, const char* /*file*/, int /*line*/) {
    // The library's locks are these: nearly every call finds the semaphore available and should cost next to
    // nothing. An end point only where it has to wait.
    return -1;
}

extern "C" int bep_semGiveEx(uint32_t /*sem_id*/, const char* /*file*/, int /*line*/) {
    // Giving an available one changes nothing, yet whoever takes it next sees what this task wrote before.
    return -1;
}

extern "C" int bep_semDeleteEx(uint32_t /*sem_id*/) {
    return -1;
}
