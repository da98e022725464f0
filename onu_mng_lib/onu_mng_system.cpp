#include "onu_mng_lib/onu_mng_system.h"

#include <cstdio>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr int kPoolShared = 1;
constexpr int kPoolOptions = 0;
constexpr unsigned int kSupervisionPriority = 100;

unsigned int Report(unsigned int status, int level, const char* text) {
    ulogPrintf(onu_mng_system_get_log_module(), level, "%s", text);
    return status;
}

} // namespace

unsigned int onu_mng_system_init(void) {
    if (!OnuMngInterface::GetInstance()->IsInterfaceReg()) {
        // The log's module may be the registration that is missing.
        std::puts("ONU_MNG_INTERFACE_MGR::Interface registration not completed\r");
        return ONU_MNG_FAILURE;
    }
    if (MemoryAllocator::GetInstance()->Init("OnuMngMemPool", MemoryAllocator::kPoolSize, kPoolShared,
                                             kPoolOptions) != ONU_MNG_OK)
        return Report(ONU_MNG_FAILURE, ONU_MNG_LOG_FATAL, "Init memory pool failed\r\n");
    if (StateContextManager::GetInstance()->Init(kSupervisionPriority) != ONU_MNG_OK)
        return Report(ONU_MNG_FAILURE, ONU_MNG_LOG_FATAL, "Init state context mgr failed\r\n");
    return ONU_MNG_OK;
}

unsigned int onu_mng_system_start(void) {
    ModuleManager* modules = ModuleManager::GetInstance();
    if (const unsigned int status = modules->InitModules(); status != ONU_MNG_OK)
        return Report(status, ONU_MNG_LOG_ERROR, "InitModules failed \r\n");
    if (const unsigned int status = modules->StartModules(); status != ONU_MNG_OK)
        return Report(status, ONU_MNG_LOG_FATAL, "StartModules failed\r\n");
    return ONU_MNG_OK;
}
