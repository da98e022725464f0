#include "onu_mng_lib/onu_mng_module_cplus_interface.h"

#include "onu_mng_lib/onu_mng_common/module_mgr.h"

unsigned int onu_mng_module_reg_service_module(ServiceModule* module) {
    return ModuleManager::GetInstance()->RegisterModule(module);
}
