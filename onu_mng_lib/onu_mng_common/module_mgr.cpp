#include "onu_mng_lib/onu_mng_common/module_mgr.h"

#include <new>

#include "onu_mng_lib/onu_mng_common/immortal.h"
#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/process_end.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kAnyPriority = 65535;
constexpr std::size_t kSpareEntries = 8;

/// Set if the calling task has removed modules while it was routing a message. It deletes them after the
/// routing.
thread_local bool t_owes_deletion = false;

/// Protects the calling task from being deleted. Otherwise the modules that it has unlinked but not yet
/// deleted would be lost.
class TaskSafe {
public:
    TaskSafe() { bep_taskSafeEx(); }
    ~TaskSafe() { bep_taskUnsafeEx(); }
    TaskSafe(const TaskSafe&) = delete;
    TaskSafe& operator=(const TaskSafe&) = delete;
};

} // namespace

ModuleManager* ModuleManager::GetInstance() {
    static Immortal<ModuleManager> instance;
    return instance.Get();
}

ModuleManager::ModuleManager() {
    ArrangeProcessEnd();
}

unsigned int ModuleManager::RegisterModule(ServiceModule* module) {
    if (module == nullptr) return LogFailure("module to be registered is NULL\r\n");
    LockGuard guard(lock);
    if (Find([module](const ServiceModule& each) { return &each == module; }) != nullptr)
        return LogFailure("module to be registered is registered already\r\n");
    try {
        Table& modules = TableWithRoom();
        module->mod_id = ++last_mod_id;
        modules.entries[modules.count].store(module, std::memory_order_seq_cst);
        modules.count.store(modules.count + 1, std::memory_order_release);
    } catch (const std::bad_alloc&) {
        return LogFailure("no memory to register the module\r\n");
    }
    return ONU_MNG_OK;
}

/// Returns the table; replaces it with a larger one if it is full.
ModuleManager::Table& ModuleManager::TableWithRoom() {
    Table* const old = table;
    if (old != nullptr && old->count < old->entries.size()) return *old;
    std::size_t live = 0;
    Find([&live](const ServiceModule&) { return ++live == 0; });
    auto larger = std::make_unique<Table>(2 * live + kSpareEntries);
    Find([&larger](ServiceModule& module) {
        larger->entries[larger->count++].store(&module, std::memory_order_relaxed);
        return false;
    });
    larger->replaced.reset(old);
    table.store(larger.get(), std::memory_order_seq_cst);
    return *larger.release();
}

// A task that is routing a message must not wait here for the other senders: a sender that removes modules,
// too, would wait for this task.
unsigned int ModuleManager::RemoveModule(unsigned int mod_type) {
    const auto is_wanted = [mod_type](const ServiceModule& module) { return module.mod_type == mod_type; };
    if (SenderGate::IsInside()) {
        TakeOut(is_wanted);
        t_owes_deletion = true;
        return ONU_MNG_OK;
    }
    LockGuard guard(removal_lock);
    TakeOut(is_wanted);
    DeleteRemoved();
    return ONU_MNG_OK;
}

/// Moves the wanted modules from the table to the list of removed ones. Leaves out the calling task's own
/// module.
template <typename Wanted>
void ModuleManager::TakeOut(Wanted wanted) {
    LockGuard guard(lock);
    Table* const modules = table;
    if (modules == nullptr) return;
    for (std::atomic<ServiceModule*>& entry : modules->entries) {
        ServiceModule* const module = entry;
        if (module == nullptr || !wanted(*module)) continue;
        if (module->IsCurrent()) {
            LogFailure("module cannot be removed by its own task\r\n");
            continue;
        }
        entry.store(nullptr, std::memory_order_seq_cst);
        module->next_removed = first_removed;
        first_removed = module;
    }
}

/// Waits until no sender can use the removed modules, and then deletes them. The caller holds
/// `removal_lock`. If the task is deleted during the wait, the modules stay in the list until the next
/// removal.
void ModuleManager::DeleteRemoved() {
    ServiceModule* newest = nullptr;
    Table* newest_table = nullptr;
    {
        LockGuard guard(lock);
        newest = first_removed;
        newest_table = table;
    }
    SenderGate::WaitForOthers(-1);
    const TaskSafe safe;
    if (newest_table != nullptr) newest_table->replaced.reset();
    for (ServiceModule* module = CutRemoved(newest); module != nullptr;) {
        ServiceModule* const next = module->next_removed;
        module->EndTask();
        delete module;
        module = next;
    }
}

/// Unlinks the removed modules from `newest` on and returns them as a list. Leaves out the calling task's own
/// module.
ServiceModule* ModuleManager::CutRemoved(ServiceModule* newest) {
    LockGuard guard(lock);
    ServiceModule** link = &first_removed;
    while (*link != newest)
        link = &(*link)->next_removed;
    ServiceModule* cut = nullptr;
    while (ServiceModule* const module = *link) {
        if (module->IsCurrent()) {
            link = &module->next_removed;
            continue;
        }
        *link = module->next_removed;
        module->next_removed = cut;
        cut = module;
    }
    return cut;
}

void ModuleManager::EndModules() {
    LockGuard guard(removal_lock);
    Find([](ServiceModule& module) {
        module.EndTask();
        return false;
    });
    TakeOut([](const ServiceModule&) { return true; });
    DeleteRemoved();
}

ServiceModule* ModuleManager::GetModule(unsigned int mod_type, unsigned int mod_pri, unsigned int msg_pri) {
    const SenderGate::Section section;
    if (!section.IsInside()) return nullptr;
    return Find([=](const ServiceModule& module) {
        return module.mod_type == mod_type &&
               (mod_pri == kAnyPriority || (module.mod_pri == mod_pri && module.msg_pri == msg_pri));
    });
}

unsigned int ModuleManager::CallAll(unsigned int (Module::*step)(), const char* name) {
    LockGuard guard(lock);
    unsigned int result = ONU_MNG_OK;
    Find([step, name, &result](ServiceModule& module) {
        if ((module.*step)() == ONU_MNG_OK) return false;
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_FATAL, "%s module %d failed\r\n", name,
                   static_cast<int>(module.mod_type));
        result = ONU_MNG_FAILURE;
        return false;
    });
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
    const unsigned int result = Route(src_mod, msg_type, pon_no, onu_id, data, pkg_size);
    if (t_owes_deletion && !SenderGate::IsInside()) {
        t_owes_deletion = false;
        LockGuard guard(removal_lock);
        DeleteRemoved();
    }
    return result;
}

unsigned int ModuleManager::Route(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                                  unsigned short onu_id, char* data, unsigned int pkg_size) {
    const SenderGate::Section section;
    if (!section.IsInside()) return LogFailure("no memory to route the message\r\n");
    if (is_closed.load(std::memory_order_seq_cst)) return ONU_MNG_FAILURE;
    MsgSyncProcType sync_type = MSG_PROC_SYNC;
    ServiceModule* const module = Find([&](ServiceModule& each) {
        return each.Match(msg_type, src_mod, pon_no, onu_id, data, pkg_size, sync_type);
    });
    if (module == nullptr) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "(PON:%d, ONU:%d)Cannot find module to send msg, src_mod = %d, msg_type = %d, pon = %d, "
                   "onu = %d\r\n",
                   pon_no, onu_id, static_cast<int>(src_mod), static_cast<int>(msg_type), pon_no, onu_id);
        return ONU_MNG_FAILURE;
    }
    if (module->is_init.load(std::memory_order_acquire) && module->is_start.load(std::memory_order_acquire))
        return module->SendMsg(msg_type, sync_type, pon_no, onu_id, data, pkg_size);
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "(PON:%d, ONU:%d)omci module %d has not been init yet. discard the msg \r\n", pon_no, onu_id,
               static_cast<int>(module->mod_type));
    return ONU_MNG_FAILURE;
}

AggregateObject* ModuleManager::GetItem(unsigned int index) {
    const SenderGate::Section section;
    if (!section.IsInside()) return nullptr;
    return Find([&index](const ServiceModule&) { return index-- == 0; });
}

unsigned int ModuleManager::GetSize() const {
    const SenderGate::Section section;
    if (!section.IsInside()) return 0;
    unsigned int size = 0;
    Find([&size](const ServiceModule&) { return ++size == 0; });
    return size;
}
