/* A host written in C: the calls it can make, in the order it makes them, and what they answer.
 */
#include <stdio.h>
#include <string.h>

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"

#define EXPECT(condition) expect(condition, #condition)

static int failures;

static void expect(int holds, const char* what) {
    if (holds) return;
    ++failures;
    printf("not as expected: %s\n", what);
}

static int id_to_sn(unsigned int pon_no, unsigned char onu_id, unsigned char* sn, unsigned int sn_len) {
    (void)pon_no;
    memset(sn, onu_id, sn_len);
    return 0;
}

static int sn_to_id(unsigned int pon_no, const unsigned char* sn, unsigned char* onu_id) {
    (void)pon_no;
    *onu_id = sn[7];
    return 0;
}

static void register_host(void) {
    EXPECT(onu_mng_system_get_log_module() == ONU_MNG_NOT_REGISTERED);
    EXPECT(onu_mng_system_init() == ONU_MNG_FAILURE);
    EXPECT(onu_mng_system_reg_log_module(7) == ONU_MNG_OK && onu_mng_system_get_log_module() == 7);
    EXPECT(onu_mng_system_reg_cli_node(0) == ONU_MNG_OK && onu_mng_system_get_cli_node() == 0);
    EXPECT(onu_mng_system_set_pon_onu_num(16, ONU_MNG_NOT_REGISTERED) == ONU_MNG_OK);
    EXPECT(onu_mng_system_reg_onu_id_to_onu_sn_handle(id_to_sn) == ONU_MNG_OK);
    EXPECT(onu_mng_system_reg_onu_sn_to_onu_id_handle(sn_to_id) == ONU_MNG_OK);
    EXPECT(onu_mng_system_init() == ONU_MNG_FAILURE); /* 65535 ONUs count as not given */
    EXPECT(onu_mng_system_set_pon_onu_num(16, 128) == ONU_MNG_OK);
}

int main(void) {
    unsigned char serial[] = "KVXQ-1234aBcD";
    unsigned char out[ONU_MNG_SN_SIZE] = {0};
    char payload[4] = {1, 2, 3, 4};
    register_host();
    EXPECT(onu_mng_system_init() == ONU_MNG_OK);
    EXPECT(onu_mng_system_start() == ONU_MNG_OK);
    EXPECT(onu_mng_log_is_trace_onu(1, 5, NULL, ONU_MNG_LOG_TRACE) == 0);
    EXPECT(onu_mng_convert_sn_or_mac_format(serial, out) == ONU_MNG_OK);
    EXPECT(memcmp(out, "KVXQ\x12\x34\xab\xcd", 8) == 0);
    EXPECT(onu_mng_get_vendor_specific_by_mac(out) == 0x1234abcdULL);
    EXPECT(onu_mng_module_send_msg(3, 9, 1, 5, payload, sizeof payload) == ONU_MNG_FAILURE);
    return failures == 0 ? 0 : 1;
}
