#include "onu_mng_lib/onu_mng_module_cinterface.h"

#include "onu_mng_lib/onu_mng_common/module_mgr.h"

unsigned int onu_mng_module_send_msg(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                                     unsigned short onu_id, char* data, unsigned int pkg_size) {
    return ModuleManager::GetInstance()->SendMsg(src_mod, msg_type, pon_no, onu_id, data, pkg_size);
}
