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
#include "onu_mng_platform/ulog.h"

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

static char last_line[128];

static void keep_line(void* context, unsigned int module, int level, const char* text) {
    (void)context;
    (void)snprintf(last_line, sizeof last_line, "%u %d %s", module, level, text);
}

static void register_host(void) {
    expect(onu_mng_system_get_log_module() == ONU_MNG_NOT_REGISTERED, "no log module at first");
    expect(onu_mng_system_init() == ONU_MNG_FAILURE, "no start-up without registrations");
    expect(onu_mng_system_reg_log_module(7) == ONU_MNG_OK && onu_mng_system_get_log_module() == 7,
           "log module");
    expect(onu_mng_system_reg_cli_node(0) == ONU_MNG_OK && onu_mng_system_get_cli_node() == 0, "CLI node");
    expect(onu_mng_system_set_pon_onu_num(16, ONU_MNG_NOT_REGISTERED) == ONU_MNG_OK, "numbers");
    expect(onu_mng_system_reg_onu_id_to_onu_sn_handle(id_to_sn) == ONU_MNG_OK, "id to serial number");
    expect(onu_mng_system_reg_onu_sn_to_onu_id_handle(sn_to_id) == ONU_MNG_OK, "serial number to id");
    expect(onu_mng_system_init() == ONU_MNG_FAILURE, "65535 ONUs count as not given");
    expect(onu_mng_system_set_pon_onu_num(16, 128) == ONU_MNG_OK, "numbers again");
}

static void convert_identities(void) {
    unsigned char serial[] = "KVXQ-1234aBcD";
    unsigned char short_serial[] = "KVXQ-1234567";
    unsigned char mac[] = "010203040506FF";
    unsigned char out[ONU_MNG_SN_SIZE] = {0};
    expect(onu_mng_convert_sn_or_mac_format(serial, out) == ONU_MNG_OK, "serial number");
    expect(memcmp(out, "KVXQ\x12\x34\xab\xcd", 8) == 0, "serial number's bytes");
    expect(onu_mng_get_vendor_specific_by_mac(out) == 0x1234abcdULL, "vendor's number");
    expect(onu_mng_convert_sn_or_mac_format(short_serial, out) == ONU_MNG_BAD_TEXT, "short serial number");
    expect(onu_mng_convert_sn_or_mac_format(mac, out) == ONU_MNG_OK, "MAC");
    expect(memcmp(out, "\x01\x02\x03\x04\x05\x06", 6) == 0, "MAC's bytes");
    expect(onu_mng_convert_sn_or_mac_format(NULL, out) == ONU_MNG_NULL_ARGUMENT, "no text");
}

static void send_to_nobody(void) {
    char payload[4] = {1, 2, 3, 4};
    ulogSetSink(keep_line, NULL);
    expect(onu_mng_module_send_msg(3, 9, 1, 5, payload, sizeof payload) == ONU_MNG_FAILURE,
           "nobody to send to");
    expect(strcmp(last_line, "7 13 (PON:1, ONU:5)Cannot find module to send msg, src_mod = 3, msg_type = 9, "
                             "pon = 1, onu = 5\r\n") == 0,
           "the line about it");
    ulogSetSink(NULL, NULL);
}

int main(void) {
    register_host();
    expect(onu_mng_system_init() == ONU_MNG_OK, "start-up");
    expect(onu_mng_system_start() == ONU_MNG_OK, "start without modules");
    expect(onu_mng_log_is_trace_onu(1, 5, NULL, ONU_MNG_LOG_TRACE) == 0, "nothing is traced");
    convert_identities();
    send_to_nobody();
    return failures == 0 ? 0 : 1;
}
