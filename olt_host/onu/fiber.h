/// The simulated PONs with their ONUs.
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

/// The simulated faults. 0 switches a fault off. Any task may change the values at any time.
struct Impairments {
    std::atomic<unsigned int> loss_percent{0};      ///< frames lost, in both directions
    std::atomic<unsigned int> corrupt_percent{0};   ///< frames with one changed byte and the old MIC
    std::atomic<unsigned int> duplicate_percent{0}; ///< frames delivered twice
    std::atomic<unsigned int> delay_percent{0};     ///< frames from the ONUs that arrive late
    std::atomic<unsigned int> delay_ticks{0};       ///< the maximum delay
    std::atomic<unsigned int> restart_ticks{0};     ///< average time between two restarts of an ONU
    std::atomic<unsigned int> link_ticks{0};        ///< average time between two link changes of an ONU

    void Clear();
};

/// Counts frames and faults on the PONs and at the OLT.
struct FiberCounters {
    std::atomic<unsigned long> down{0}; ///< frames sent to ONUs
    std::atomic<unsigned long> up{0};   ///< frames from ONUs that were offered to the services
    std::atomic<unsigned long> lost{0};
    std::atomic<unsigned long> corrupted{0};
    std::atomic<unsigned long> duplicated{0};
    std::atomic<unsigned long> delayed{0};
    std::atomic<unsigned long> restarts{0};
    std::atomic<unsigned long> overrun{0};   ///< dropped because the fiber's queue was full
    std::atomic<unsigned long> malformed{0}; ///< dropped at the OLT: wrong MIC and other faults
    std::atomic<unsigned long> refused{0};   ///< no service took the frame, or the service's queue was full
};

/// Carries frames between the services and the simulated ONUs, in its own task.
///
/// Replaces the PON driver and everything behind it. Frames that reach the OLT with a correct MIC are sent to
/// the modules. ONUs answer at once; delayed answers wait for a tick.
class Fiber : public Thread, public OmciLink {
public:
    struct Setup {
        unsigned int ports;        ///< of each ONU
        unsigned int queue_length; ///< frames and ticks that wait for the fiber's task
        Tick silent_ticks;         ///< how long an ONU is silent after a restart
        std::uint64_t seed;
        std::vector<WireTap*> taps; ///< must outlive the fiber
    };

    /// Creates one ONU for each entry of the table. `table` and `now` must outlive the fiber.
    Fiber(const OnuTable& table, const std::atomic<Tick>& now, const Setup& setup);
    ~Fiber() override { EndTask(); }

    /// Creates the queue and starts the task. @return false if the platform cannot provide a queue or a task.
    [[nodiscard]] bool Open();
    void Send(OnuKey onu, const OmciFrame& frame) override;
    /// Tells the fiber's task that the time has advanced. Does not block.
    void Advance();
    /// Ends the task and returns when it has ended.
    void Close() { EndTask(); }

    /// Makes an ONU mute, or not. A mute ONU ignores all frames and sends none. Any task.
    void SetMute(unsigned int index, bool is_mute) { onus[index]->is_mute = is_mute; }
    /// Returns a simulated ONU. Call it only while the fiber's task is not running.
    const SimulatedOnu& Onu(unsigned int index) const { return onus[index]->onu; }

    Impairments impairments;
    FiberCounters counters;

private:
    struct Parcel;
    /// The drop fiber to one ONU, with the ONU.
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
