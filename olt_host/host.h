/// The host: its services, and simulated ONUs on simulated PONs.
#ifndef OLT_HOST_HOST_H
#define OLT_HOST_HOST_H

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "olt_host/capture/capture.h"
#include "olt_host/onu/fiber.h"
#include "olt_host/services/omci_channel.h"
#include "olt_host/services/onu_table.h"
#include "olt_host/services/service_rack.h"
#include "olt_host/services/ticker.h"

namespace olt_host {

struct HostOptions {
    unsigned int pons = 2;
    unsigned int onus = 4;  ///< on each PON
    unsigned int ports = 4; ///< Ethernet ports of each ONU
    unsigned int tick_ms = 100;
    unsigned int window = 256; ///< procedures that a service runs at a time
    unsigned int queue = 1024; ///< length of each queue
    unsigned int supervision_s = 5;
    unsigned int attempts = 1;   ///< bring-ups of an ONU before it is given up; 0: no limit
    unsigned int audit_s = 0;    ///< seconds between two audits of an ONU in sync; 0: no audits
    std::uint64_t seed = 1;      ///< for the random impairments
    StateChart* chart = nullptr; ///< records the services' states; may be null; must outlive the host
    WireTap* tap = nullptr;      ///< sees the same frames as the capture; may be null; must outlive the host
};

/// Owns the services, the simulated ONUs and the host's tasks. The destructor ends the tasks first, then the
/// services. A process has one host at a time, because it has one `ServiceRack` at a time.
class Host {
public:
    explicit Host(const HostOptions& options);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Starts the library, the services and the host's tasks. The services then bring the ONUs up.
    /// @return a message about the step that failed; empty on success.
    [[nodiscard]] std::string Start();

    OnuTable& Table() { return table; }
    Fiber& Line() { return fiber; }
    Capture& Wire() { return capture; }
    const std::vector<OmciService*>& Services() const { return rack.Services(); }
    /// Returns the time since the start, in whole ticks.
    std::chrono::milliseconds Elapsed() const { return std::chrono::milliseconds(now * options.tick_ms); }
    /// Returns the number of procedures that all services together are running.
    unsigned int Active() const;

private:
    bool AddServices();

    const HostOptions options;
    std::atomic<Tick> now{0};
    WorkFlags work_queued{};
    OnuTable table;
    std::vector<OmciChannel> channels; ///< by index in `table`
    Capture capture;
    Fiber fiber;
    Ticker ticker;
    ServiceRack rack; ///< last, because the services use the members above
};

} // namespace olt_host

#endif
