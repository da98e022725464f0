/// The way of requests to one ONU.
#ifndef OLT_HOST_SERVICES_OMCI_CHANNEL_H
#define OLT_HOST_SERVICES_OMCI_CHANNEL_H

#include <atomic>
#include <cstdint>

#include "olt_host/omci/frame.h"
#include "olt_host/services/onu_table.h"

namespace olt_host {

/// What carries frames to the ONUs.
class OmciLink {
public:
    virtual ~OmciLink() = default;

    /// Sends a sealed frame. Does not wait: a frame that cannot be taken is lost, as it may be on the way.
    /// Any task.
    virtual void Send(OnuKey onu, const OmciFrame& frame) = 0;
};

/// The right to send requests to one ONU, which has at most one in flight. A service holds it for a
/// procedure.
class OmciChannel {
public:
    /// Any task. @return false while another procedure holds the channel or it is to stay quiet.
    bool Acquire(Tick now) {
        if (taken.exchange(true, std::memory_order_acquire)) return false;
        if (now >= quiet_until) return true;
        taken.store(false, std::memory_order_release);
        return false;
    }
    /// By the task that acquired it. A procedure that leaves a request without an answer says until when one
    /// may come.
    void Release(Tick answer_until) {
        quiet_until = answer_until;
        taken.store(false, std::memory_order_release);
    }

    /// The id of the next transaction: 1 to 0x7FFF and around. By the task that holds the channel.
    std::uint16_t NextTid() {
        last_tid = static_cast<std::uint16_t>(last_tid == kLastTid ? 1 : last_tid + 1);
        return last_tid;
    }

private:
    static constexpr std::uint16_t kLastTid = 0x7FFF; ///< above are the high-priority ones

    std::atomic<bool> taken{false};
    Tick quiet_until = 0;
    std::uint16_t last_tid = 0;
};

} // namespace olt_host

#endif
