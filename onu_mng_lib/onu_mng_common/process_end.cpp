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
constexpr unsigned int kPriority = 100; ///< the same as that of the supervision
/// Large, because clients' destructors run on this stack instead of that of main().
constexpr unsigned int kStackSize = 1 << 20;

/// The task that ends the library's other tasks.
class EndTaskOfAll : public Thread {
public:
    /// Blocks for at most `kPatience_s` seconds. If no task can be started, runs in the calling task without
    /// a limit.
    void Finish() {
        if (!ModuleManager::GetInstance()->HasModules() && !StateContextManager::GetInstance()->IsAlive())
            return;
        if (!Init("OnuMngEnd", kPriority, kStackSize) || !Start()) return Run();
        if (done.TryWait(kPatience_s) == 0) return EndTask();
        LogFailure("the process exits before all modules have ended\r\n");
    }

    void Run() override {
        ModuleManager* const modules = ModuleManager::GetInstance();
        // Ignore a time-out: a sender that waits for a module's task continues when that task ends.
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
        bep_taskSafeEx(); // never undone: the task must not be deleted in the middle of a destructor
        Thread::StartProcessEnd();
        StateContextManager::DropPins();
        ModuleManager::GetInstance()->CloseRouting();
        static Immortal<EndTaskOfAll> end; // never destroyed, because its task may outlast `Finish`
        end.Get()->Finish();
    }
};

} // namespace

void ArrangeProcessEnd() {
    static ProcessEnd end;
}
