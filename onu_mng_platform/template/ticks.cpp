#include "onu_mng_platform/bep.h"

// The ticks in which the board counts its waits.
extern "C" int bep_sysClkRateGetEx() {
    return 100;
}
