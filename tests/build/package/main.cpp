#include "onu_mng_lib/onu_mng_common/variant.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_version.h"

// Without registrations the library refuses to start, and says so.
int main() {
    return onu_mng_system_init() != 0 && Variant(5) == Variant(5u) &&
                   std::string(onu_mng_version()) == ONU_MNG_VERSION
               ? 0
               : 1;
}
