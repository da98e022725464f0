#include "onu_mng_lib/onu_mng_common/module_mgr.h"

#include <algorithm>
#include <new>

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kAnyPriority = 65535;

} // namespace

ModuleManager* ModuleManager::GetInstance() {
    static ModuleManager instance;
    return &instance;
}

// Modules hold pool blocks and state contexts until they are deleted: what serves those is built before the
// manager and so destroyed after it.
ModuleManager::ModuleManager() {
    MemoryAllocator::GetInstance();
    StateContextManager::GetInstance();
}

// The supervision's hooks and the modules' tasks send to one another, so every task ends before the first
// module is deleted.
ModuleManager::~ModuleManager() {
    StateContextManager::GetInstance()->EndSupervision();
    for (ServiceModule* module : module_list)
        module->EndTask();
    for (ServiceModule* module : module_list)
        delete module;
}

unsigned int ModuleManager::RegisterModule(ServiceModule* module) {
    if (module == nullptr) return LogFailure("module to be registered is NULL\r\n");
    LockGuard guard(lock);
    if (std::find(module_list.begin(), module_list.end(), module) != module_list.end())
        return LogFailure("module to be registered is registered already\r\n");
    try {
        module_list.push_back(module);
    } catch (const std::bad_alloc&) {
        return LogFailure("no memory to register the module\r\n");
    }
    module->mod_id = ++last_mod_id;
    return ONU_MNG_OK;
}

unsigned int ModuleManager::RemoveModule(unsigned int mod_type) {
    LockGuard guard(lock);
    for (auto entry = module_list.begin(); entry != module_list.end();) {
        ServiceModule* module = *entry;
        if (module->mod_type != mod_type) {
            ++entry;
        } else if (module->IsCurrent()) {
            LogFailure("module cannot be removed by its own task\r\n");
            ++entry;
        } else {
            module->EndTask();
            entry = module_list.erase(entry);
            bep_taskSafeEx(); // a destructor must not be unwound by the end of the task it runs in
            delete module;
            bep_taskUnsafeEx();
        }
    }
    return ONU_MNG_OK;
}

ServiceModule* ModuleManager::GetModule(unsigned int mod_type, unsigned int mod_pri, unsigned int msg_pri) {
    for (ServiceModule* module : module_list) {
        if (module->mod_type != mod_type) continue;
        if (mod_pri == kAnyPriority || (module->mod_pri == mod_pri && module->msg_pri == msg_pri))
            return module;
    }
    return nullptr;
}

unsigned int ModuleManager::CallAll(unsigned int (Module::*step)(), const char* name) {
    LockGuard guard(lock);
    unsigned int result = ONU_MNG_OK;
    for (ServiceModule* module : module_list) {
        if ((module->*step)() == ONU_MNG_OK) continue;
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_FATAL, "%s module %d failed\r\n", name,
                   static_cast<int>(module->mod_type));
        result = ONU_MNG_FAILURE;
    }
    return result;
}

unsigned int ModuleManager::InitModules() {
    return CallAll(&Module::InitModule, "Init");
}

unsigned int ModuleManager::StartModules() {
    return CallAll(&Module::StartModule, "Start");
}

unsigned int ModuleManager::SendMsg(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                                    unsigned short onu_id, char* data, unsigned int pkg_size) {
    MsgSyncProcType sync_type = MSG_PROC_SYNC;
    for (ServiceModule* module : module_list) {
        if (!module->Match(msg_type, src_mod, pon_no, onu_id, data, pkg_size, sync_type)) continue;
        if (module->is_init.load(std::memory_order_acquire) &&
            module->is_start.load(std::memory_order_acquire))
            return module->SendMsg(msg_type, sync_type, pon_no, onu_id, data, pkg_size);
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "(PON:%d, ONU:%d)omci module %d has not been init yet. discard the msg \r\n", pon_no,
                   onu_id, static_cast<int>(module->mod_type));
        return ONU_MNG_FAILURE;
    }
    ulogPrintf(
        onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
        "(PON:%d, ONU:%d)Cannot find module to send msg, src_mod = %d, msg_type = %d, pon = %d, onu = %d\r\n",
        pon_no, onu_id, static_cast<int>(src_mod), static_cast<int>(msg_type), pon_no, onu_id);
    return ONU_MNG_FAILURE;
}

AggregateObject* ModuleManager::GetItem(unsigned int index) {
    return index < GetSize() ? module_list[index] : nullptr;
}

unsigned int ModuleManager::GetSize() const {
    return static_cast<unsigned int>(module_list.size());
}
