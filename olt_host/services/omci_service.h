/// The base class of the OMCI services.
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

/// A module that runs procedures with ONUs, in one task.
///
/// It searches the table for ONUs that need a procedure, at every tick and when another service asks for it,
/// and begins procedures while free ones are left. A lost message therefore only costs time.
class OmciService : public ServiceModule {
public:
    ~OmciService() override;

    /// Claims the frames and messages of this service. All are queued for the service's own task.
    bool Match(unsigned int msg_type, unsigned int src_mod, unsigned short pon_no, unsigned short onu_id,
               char* data, unsigned int pkg_size, MsgSyncProcType& sync_type) override;
    unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id, char* data,
                           unsigned int pkg_size) override;
    using ServiceModule::HandleMsg;

    /// Waits until all messages queued so far have been handled, at most `seconds`. One task at a time.
    /// @return false on a time-out or if the queue is full.
    [[nodiscard]] bool Drain(unsigned int seconds);
    /// Ends the task. Queued messages stay in the queue.
    void Stop() { EndTask(); }

    unsigned long Frames() const { return frames; }      ///< frames handled
    unsigned long Strays() const { return strays; }      ///< of these, frames without a procedure
    unsigned int Active() const { return active_count; } ///< running procedures

protected:
    OmciService(ModuleType type, const char* name, const ServiceGround& ground);

    /// Returns whether this service handles a frame from an ONU. Called in any task.
    virtual bool Claims(const OmciFrame& frame) const = 0;
    /// Returns whether an ONU needs a procedure now. May be called with the table locked.
    virtual bool Wants(const OnuStatus& status) const = 0;
    /// Called with the table locked when a procedure begins.
    virtual void OnBegin(OnuStatus& status) = 0;
    /// Called when a procedure has ended, by itself or by the supervision.
    virtual void OnEnd(Procedure& procedure) = 0;
    virtual void OnNotification(unsigned int, const OmciFrame&) {}

    void AddProcedure(std::unique_ptr<Procedure> procedure);
    /// Asks another service to search the table for work.
    void Tell(ModuleType service) const;
    /// Writes the result of a procedure into the status. `phase` is the new phase after a success.
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
    /// If the procedure has ended, returns it to the idle ones and releases its channel.
    void Settle(Procedure& procedure);

    std::vector<std::unique_ptr<Procedure>> procedures;
    std::vector<Procedure*> idle;
    std::vector<Procedure*> active;
    std::vector<Procedure*> of_onu; ///< the active procedure of each ONU, or null
    unsigned int searched = 0;      ///< ONUs searched since the last tick or kMsgWork
    std::atomic<unsigned long> frames{0};
    std::atomic<unsigned long> strays{0};
    std::atomic<unsigned int> active_count{0};
    Semaphore drained;
};

} // namespace olt_host

#endif
