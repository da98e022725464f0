/// The PONs and the ONUs at their ends.
#ifndef OLT_HOST_ONU_FIBER_H
#define OLT_HOST_ONU_FIBER_H

#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "olt_host/omci/frame.h"
#include "olt_host/onu/simulated_onu.h"
#include "olt_host/onu/wire_tap.h"
#include "olt_host/services/omci_channel.h"
#include "olt_host/services/onu_table.h"
#include "onu_mng_lib/onu_mng_common/msg_queue.h"
#include "onu_mng_lib/onu_mng_common/runable.h"

namespace olt_host {

/// What goes wrong on the way. All 0: nothing. May be changed at any time by any task.
struct Impairments {
    std::atomic<unsigned int> loss_percent{0};      ///< of the frames, in both directions
    std::atomic<unsigned int> corrupt_percent{0};   ///< of the frames: a byte changes, the MIC does not
    std::atomic<unsigned int> duplicate_percent{0}; ///< of the frames: carried twice
    std::atomic<unsigned int> delay_percent{0};     ///< of the frames from the ONUs: come late
    std::atomic<unsigned int> delay_ticks{0};       ///< at most so late
    std::atomic<unsigned int> restart_ticks{0};     ///< between two restarts of an ONU, on average; 0: none
    std::atomic<unsigned int> link_ticks{0};        ///< between two changes of a link of an ONU; 0: none

    void Clear();
};

/// What happened on the way, and at the OLT's end of it.
struct FiberCounters {
    std::atomic<unsigned long> down{0}; ///< frames sent to ONUs
    std::atomic<unsigned long> up{0};   ///< frames from ONUs that the services were offered
    std::atomic<unsigned long> lost{0};
    std::atomic<unsigned long> corrupted{0};
    std::atomic<unsigned long> duplicated{0};
    std::atomic<unsigned long> delayed{0};
    std::atomic<unsigned long> restarts{0};
    std::atomic<unsigned long> overrun{0};   ///< dropped at the full queue of the fiber
    std::atomic<unsigned long> malformed{0}; ///< dropped at the OLT: wrong MIC and other faults
    std::atomic<unsigned long> refused{0};   ///< no service took it, or its queue was full
};

/// Carries frames between the services and simulated ONUs, in a task of its own.
///
/// Stands for the PON driver and everything behind it: what arrives at the OLT with a right MIC is sent to
/// the modules. ONUs answer at once; what is to come late waits for a tick.
class Fiber : public Thread, public OmciLink {
public:
    struct Setup {
        unsigned int ports;        ///< of each ONU
        unsigned int queue_length; ///< frames on their way to the ONUs
        Tick silent_ticks;         ///< that an ONU is silent after a restart
        std::uint64_t seed;
        std::vector<WireTap*> taps; ///< they outlive the fiber
    };

    /// ONUs for the numbers in a table. Table and time outlive the fiber.
    Fiber(const OnuTable& table, const std::atomic<Tick>& now, const Setup& setup);
    ~Fiber() override { EndTask(); }

    /// @return false when the platform has no queue or task to give.
    bool Open();
    void Send(OnuKey onu, const OmciFrame& frame) override;
    /// Says that time has gone on. Does not wait.
    void Advance();
    /// Ends the task and returns when it has ended.
    void Close() { EndTask(); }

    /// A mute ONU takes no frames. Any task.
    void SetMute(unsigned int index, bool is_mute) { onus[index]->is_mute = is_mute; }
    /// Only while the task does not run.
    const SimulatedOnu& Onu(unsigned int index) const { return onus[index]->onu; }

    Impairments impairments;
    FiberCounters counters;

private:
    struct Parcel;
    /// The end of a PON at one ONU.
    struct Drop {
        Drop(const SerialNumber& serial, unsigned int ports) : onu(serial, ports) {}
        SimulatedOnu onu;
        std::atomic<bool> is_mute{false};
        Tick silent_until = 0;
    };

    struct Late {
        unsigned int index;
        OmciFrame frame;
    };

    void Run() override;
    void Carry(const Parcel& parcel);
    void CarryDown(OnuKey onu, const OmciFrame& frame);
    void Reach(unsigned int index, const OmciFrame& frame);
    void CarryUp(unsigned int index, OmciFrame frame);
    void Arrive(unsigned int index, const OmciFrame& frame);
    void Deliver(OnuKey onu, const OmciFrame& frame);
    void LetTimePass();
    void Disturb(unsigned int index);
    bool Happens(unsigned int percent) { return percent != 0 && random() % 100 < percent; }
    bool HappensOnceIn(unsigned int ticks) { return ticks != 0 && random() % ticks == 0; }
    bool IsLost();
    void MayCorrupt(OmciFrame& frame);

    const OnuTable& table;
    const std::atomic<Tick>& now;
    const Setup setup;
    std::vector<std::unique_ptr<Drop>> onus;
    MessageQueue queue;
    std::mt19937_64 random;
    std::multimap<Tick, Late> late; ///< by the tick at which they arrive
};

} // namespace olt_host

#endif
