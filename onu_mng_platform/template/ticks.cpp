#include "onu_mng_platform/bep.h"

// The ticks per second of the board's clock.
extern "C" int bep_sysClkRateGetEx() {
    return 100;
}
