#include "onu_mng_lib/onu_mng_system_reg_interface.h"

#include "onu_mng_lib/onu_mng_common/result.h"

// The object is constant-initialised and trivially destructible, so static constructors and destructors may
// log.
OnuMngInterface* OnuMngInterface::GetInstance() {
    static OnuMngInterface instance;
    return &instance;
}

bool OnuMngInterface::IsInterfaceReg() const {
    return onu_id_to_sn_handle != nullptr && onu_sn_to_id_handle != nullptr &&
           pon_num != ONU_MNG_NOT_REGISTERED && onu_num != ONU_MNG_NOT_REGISTERED &&
           log_module != ONU_MNG_NOT_REGISTERED && cli_node != ONU_MNG_NOT_REGISTERED;
}

unsigned int onu_mng_system_reg_log_module(unsigned int log_module) {
    OnuMngInterface::GetInstance()->log_module = log_module;
    return ONU_MNG_OK;
}

unsigned int onu_mng_system_get_log_module(void) {
    return OnuMngInterface::GetInstance()->log_module.load(std::memory_order_relaxed);
}

unsigned int onu_mng_system_reg_cli_node(unsigned int cli_node) {
    OnuMngInterface::GetInstance()->cli_node = cli_node;
    return ONU_MNG_OK;
}

unsigned int onu_mng_system_get_cli_node(void) {
    return OnuMngInterface::GetInstance()->cli_node;
}

unsigned int onu_mng_system_set_pon_onu_num(unsigned int pon_num, unsigned int onu_num) {
    OnuMngInterface::GetInstance()->pon_num = pon_num;
    OnuMngInterface::GetInstance()->onu_num = onu_num;
    return ONU_MNG_OK;
}

unsigned int onu_mng_system_reg_onu_id_to_onu_sn_handle(onu_mng_onu_id_to_sn_handle handle) {
    OnuMngInterface::GetInstance()->onu_id_to_sn_handle = handle;
    return ONU_MNG_OK;
}

unsigned int onu_mng_system_reg_onu_sn_to_onu_id_handle(onu_mng_onu_sn_to_id_handle handle) {
    OnuMngInterface::GetInstance()->onu_sn_to_id_handle = handle;
    return ONU_MNG_OK;
}
