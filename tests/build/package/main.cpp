#include "onu_mng_lib/onu_mng_common/variant.h"
#include "onu_mng_lib/onu_mng_system.h"

// Without registrations the library refuses to start, and says so.
int main() {
    return onu_mng_system_init() != 0 && Variant(5) == Variant(5u) ? 0 : 1;
}
