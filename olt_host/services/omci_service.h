/// What the OMCI services have in common.
#ifndef OLT_HOST_SERVICES_OMCI_SERVICE_H
#define OLT_HOST_SERVICES_OMCI_SERVICE_H

#include <atomic>
#include <memory>
#include <vector>

#include "olt_host/services/messages.h"
#include "olt_host/services/onu_table.h"
#include "olt_host/services/procedure.h"
#include "olt_host/services/service_ground.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"

namespace olt_host {

/// A module that runs procedures against ONUs, one task for all of them.
///
/// It begins a procedure for each ONU whose status says that it needs one, as long as it has free procedures:
/// it goes through the table at every tick and when another service tells it to. So a message that is lost
/// costs time and nothing else.
class OmciService : public ServiceModule {
public:
    ~OmciService() override;

    /// Claims this service's frames, ticks and other messages, all for its own task.
    bool Match(unsigned int msg_type, unsigned int src_mod, unsigned short pon_no, unsigned short onu_id,
               char* data, unsigned int pkg_size, MsgSyncProcType& sync_type) override;
    unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id, char* data,
                           unsigned int pkg_size) override;
    using ServiceModule::HandleMsg;

    /// Waits until everything queued before has been handled, at most `seconds`. One task at a time.
    /// @return false when it took longer, or the queue was full.
    bool Drain(unsigned int seconds);
    /// Ends the task; what is queued stays.
    void Stop() { EndTask(); }

    unsigned long Frames() const { return frames; }      ///< handled
    unsigned long Strays() const { return strays; }      ///< of these, answers that nothing waits for
    unsigned int Active() const { return active_count; } ///< procedures under way

protected:
    OmciService(ModuleType type, const char* name, const ServiceGround& ground);

    /// Whether this service takes a frame from an ONU. Any task.
    virtual bool Claims(const OmciFrame& frame) const = 0;
    /// Whether an ONU needs a procedure now. Under the table's lock.
    virtual bool Wants(const OnuStatus& status) const = 0;
    /// A procedure begins; under the table's lock.
    virtual void OnBegin(OnuStatus& status) = 0;
    /// A procedure has ended, by itself or by the supervision.
    virtual void OnEnd(Procedure& procedure) = 0;
    virtual void OnNotification(unsigned int, const OmciFrame&) {}

    void AddProcedure(std::unique_ptr<Procedure> procedure);
    /// Tells another service that there may be work for it.
    void Tell(ModuleType service) const;
    /// Puts the end of a procedure of the bring-up into the status; `phase` is where a success leads.
    void NoteEnd(const Procedure& procedure, OnuPhase phase, OnuStatus& status) const;

    const ServiceGround ground;

private:
    void TakeFrame(OnuKey onu, char* data, unsigned int size);
    void TakeAnswer(OnuKey onu, unsigned int index, char* data, unsigned int size);
    void TakeTick();
    void Consider(OnuKey onu);
    bool HasRoom() const { return !idle.empty() && active.size() < ground.window; }
    void BeginDue();
    void Begin(unsigned int index);
    /// Takes the procedure back if it has ended.
    void Settle(Procedure& procedure);

    std::vector<std::unique_ptr<Procedure>> procedures;
    std::vector<Procedure*> idle;
    std::vector<Procedure*> active;
    std::vector<Procedure*> of_onu; ///< the active procedure of each ONU, or null
    unsigned int looked_at = 0;     ///< ONUs looked at since the last tick or call
    std::atomic<unsigned long> frames{0};
    std::atomic<unsigned long> strays{0};
    std::atomic<unsigned int> active_count{0};
    Semaphore drained;
};

} // namespace olt_host

#endif
