#include "onu_mng_lib/onu_mng_version.h"

const char* onu_mng_version() {
    return ONU_MNG_VERSION;
}
