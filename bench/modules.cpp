#include "bench/modules.h"

#include <cstdio>

#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace bench {

namespace {

int NoSerialNumber(unsigned int, unsigned char, unsigned char*, unsigned int) {
    return 1;
}
int NoId(unsigned int, const unsigned char*, unsigned char*) {
    return 1;
}

} // namespace

void StartSystem() {
    constexpr int kFatalOnly = 14;
    ulogSetThreshold(kFatalOnly);
    onu_mng_system_reg_log_module(1);
    onu_mng_system_reg_cli_node(1);
    onu_mng_system_set_pon_onu_num(16, 128);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(NoSerialNumber);
    onu_mng_system_reg_onu_sn_to_onu_id_handle(NoId);
    if (onu_mng_system_init() == 0 && onu_mng_system_start() == 0) return;
    std::fputs("the library does not start\n", stderr);
    std::exit(1);
}

} // namespace bench
