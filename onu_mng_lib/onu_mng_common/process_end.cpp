#include "onu_mng_lib/onu_mng_common/process_end.h"

#include "onu_mng_lib/onu_mng_common/immortal.h"
#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/runable.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_platform/bep.h"

namespace {

constexpr unsigned int kPatience_s = 5;
constexpr int kSendersPatience_ms = 1000;
constexpr unsigned int kPriority = 100; // as the supervision
constexpr unsigned int kStackSize = 1
                                    << 20; // clients' destructors run here instead of on the stack of main()

/// The task that ends the others.
class EndTaskOfAll : public Thread {
public:
    /// Blocks for `kPatience_s` seconds at most, unless there is no task to be had.
    void Finish() {
        if (!ModuleManager::GetInstance()->HasModules() && !StateContextManager::GetInstance()->IsAlive())
            return;
        if (!Init("OnuMngEnd", kPriority, kStackSize) || !Start()) return Run();
        if (done.TryWait(kPatience_s) == 0) return EndTask();
        LogFailure("the process exits before all modules have ended\r\n");
    }

    void Run() override {
        ModuleManager* const modules = ModuleManager::GetInstance();
        // A sender that waits for a module's task gets out when that task ends: this wait need not succeed.
        SenderGate::WaitForOthers(kSendersPatience_ms);
        StateContextManager::GetInstance()->EndSupervision();
        modules->EndModules();
        done.Signal();
    }

private:
    Semaphore done;
};

/// Destroyed when the process exits.
struct ProcessEnd {
    ~ProcessEnd() {
        bep_taskSafeEx(); // for good: a destructor must not be unwound by the end of the task it runs in
        Thread::StartProcessEnd();
        StateContextManager::DropPins();
        ModuleManager::GetInstance()->CloseRouting();
        static Immortal<EndTaskOfAll> end; // it is still there for a task that takes longer
        end.Get()->Finish();
    }
};

} // namespace

void ArrangeProcessEnd() {
    static ProcessEnd end;
}
