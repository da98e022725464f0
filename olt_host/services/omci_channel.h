/// The channel for requests to one ONU.
#ifndef OLT_HOST_SERVICES_OMCI_CHANNEL_H
#define OLT_HOST_SERVICES_OMCI_CHANNEL_H

#include <atomic>
#include <cstdint>

#include "olt_host/omci/frame.h"
#include "olt_host/services/onu_table.h"

namespace olt_host {

/// Carries frames to the ONUs.
class OmciLink {
public:
    virtual ~OmciLink() = default;

    /// Sends a frame that is complete with its MIC. Does not block: a frame that cannot be queued is lost,
    /// like one that the PON loses. Any task.
    virtual void Send(OnuKey onu, const OmciFrame& frame) = 0;
};

/// The right to send requests to one ONU. A procedure holds it while it runs, so an ONU has at most one
/// request in flight.
class OmciChannel {
public:
    /// Takes the channel. Any task. @return false while another procedure holds the channel, and during the
    /// quiet time after one.
    bool Acquire(Tick now) {
        if (taken.exchange(true, std::memory_order_acquire)) return false;
        if (now >= quiet_until) return true;
        taken.store(false, std::memory_order_release);
        return false;
    }
    /// Gives the channel back. Only the task that acquired it may call this. `answer_until` ends the quiet
    /// time: until then a late answer to the last request may arrive.
    void Release(Tick answer_until) {
        quiet_until = answer_until;
        taken.store(false, std::memory_order_release);
    }

    /// Returns the next transaction id, from 1 to 0x7FFF and then from 1 again. Only the task that holds the
    /// channel may call this.
    std::uint16_t NextTid() {
        last_tid = static_cast<std::uint16_t>(last_tid == kLastTid ? 1 : last_tid + 1);
        return last_tid;
    }

private:
    static constexpr std::uint16_t kLastTid = 0x7FFF; ///< higher ids mark requests of high priority

    std::atomic<bool> taken{false};
    Tick quiet_until = 0;
    std::uint16_t last_tid = 0;
};

} // namespace olt_host

#endif
