/// Runs services in the library.
#ifndef OLT_HOST_SERVICES_SERVICE_RACK_H
#define OLT_HOST_SERVICES_SERVICE_RACK_H

#include <memory>
#include <string>
#include <vector>

#include "olt_host/services/omci_service.h"

namespace olt_host {

/// Starts the library with a host's services. The destructor removes the services again.
///
/// A process may have one rack at a time, because the library's managers are global. The library's pool and
/// supervision stay, and the next rack reuses them.
class ServiceRack {
public:
    static constexpr unsigned int kCliNode = 1; ///< where the library's commands are installed

    /// Registers the log module.
    ServiceRack();
    /// Ends the services' tasks, then deletes the services.
    ~ServiceRack();
    ServiceRack(const ServiceRack&) = delete;
    ServiceRack& operator=(const ServiceRack&) = delete;

    /// Makes the host's other registrations and initialises the library. `supervision_s` is the period of the
    /// supervision; the first round still comes after 30 seconds.
    /// @return false if the library refuses.
    [[nodiscard]] bool Initialise(unsigned int pons, unsigned int onus, unsigned int supervision_s);

    /// Registers a service. Services that were added earlier are offered messages first.
    /// @return false if the library refuses; the service is then deleted.
    [[nodiscard]] bool Add(std::unique_ptr<OmciService> service);

    /// Installs the library's commands and starts the services. @return false if the library refuses.
    [[nodiscard]] bool Start();

    /// Returns the services in order of precedence.
    const std::vector<OmciService*>& Services() const { return services; }

private:
    std::vector<OmciService*> services; ///< owned by the library
};

} // namespace olt_host

#endif
