/// A whole host: services, and simulated ONUs at the ends of simulated PONs.
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
    unsigned int window = 256; ///< procedures that a service has under way at a time
    unsigned int queue = 1024; ///< length of each queue
    unsigned int supervision_s = 5;
    unsigned int attempts = 1;   ///< bring-ups of an ONU; 0: until it is in sync
    unsigned int audit_s = 0;    ///< between two audits of an ONU in sync; 0: none
    std::uint64_t seed = 1;      ///< of the impairments
    StateChart* chart = nullptr; ///< of the services' states; may be null; outlives the host
    WireTap* tap = nullptr;      ///< beside the capture; may be null; outlives the host
};

/// Owns all of it. Its destruction ends the host's tasks and then the services. One at a time in a process, as `ServiceRack` says.
class Host {
public:
    explicit Host(const HostOptions& options);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Starts the library, the services and the host's tasks; ONUs come up from then on.
    /// @return what could not be done; empty when all was.
    std::string Start();

    OnuTable& Table() { return table; }
    Fiber& Line() { return fiber; }
    Capture& Wire() { return capture; }
    const std::vector<OmciService*>& Services() const { return rack.Services(); }
    /// The host's time since its start.
    std::chrono::milliseconds Elapsed() const { return std::chrono::milliseconds(now * options.tick_ms); }
    /// Procedures under way in all services.
    unsigned int Active() const;

private:
    bool AddServices();

    const HostOptions options;
    std::atomic<Tick> now{0};
    WorkFlags told{};
    OnuTable table;
    std::vector<OmciChannel> channels; ///< by the index of the table
    Capture capture;
    Fiber fiber;
    Ticker ticker;
    ServiceRack rack; ///< the services use what stands above
};

} // namespace olt_host

#endif
