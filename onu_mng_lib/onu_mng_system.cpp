#include "onu_mng_lib/onu_mng_system.h"

#include <cstdio>

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"

namespace {

constexpr int kPoolShared = 1;
constexpr int kPoolOptions = 0;
constexpr unsigned int kSupervisionPriority = 100;

} // namespace

unsigned int onu_mng_system_init(void) {
    if (!OnuMngInterface::GetInstance()->IsInterfaceReg()) {
        // Not logged, because the log module itself may not be registered.
        std::puts("ONU_MNG_INTERFACE_MGR::Interface registration not completed\r");
        return ONU_MNG_FAILURE;
    }
    if (MemoryAllocator::GetInstance()->Init("OnuMngMemPool", MemoryAllocator::kPoolSize, kPoolShared,
                                             kPoolOptions) != ONU_MNG_OK)
        return LogFailure("Init memory pool failed\r\n", ONU_MNG_LOG_FATAL);
    if (StateContextManager::GetInstance()->Init(kSupervisionPriority) != ONU_MNG_OK)
        return LogFailure("Init state context mgr failed\r\n", ONU_MNG_LOG_FATAL);
    return ONU_MNG_OK;
}

unsigned int onu_mng_system_start(void) {
    ModuleManager* modules = ModuleManager::GetInstance();
    if (const unsigned int status = modules->InitModules(); status != ONU_MNG_OK)
        return LogFailure("InitModules failed \r\n", ONU_MNG_LOG_ERROR, status);
    if (const unsigned int status = modules->StartModules(); status != ONU_MNG_OK)
        return LogFailure("StartModules failed\r\n", ONU_MNG_LOG_FATAL, status);
    return ONU_MNG_OK;
}
