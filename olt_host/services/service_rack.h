/// The library and the services in it.
#ifndef OLT_HOST_SERVICES_SERVICE_RACK_H
#define OLT_HOST_SERVICES_SERVICE_RACK_H

#include <memory>
#include <string>
#include <vector>

#include "olt_host/services/omci_service.h"

namespace olt_host {

/// Starts the library as a host does, with services; takes the services out again when it is destroyed.
///
/// One at a time in a process: the library's managers are the process'. Its pool and its supervision stay,
/// and a further rack finds them there.
class ServiceRack {
public:
    static constexpr unsigned int kCliNode = 1; ///< where the library's commands are installed

    /// Registers the log module.
    ServiceRack();
    /// Ends the services' tasks, then deletes the services.
    ~ServiceRack();
    ServiceRack(const ServiceRack&) = delete;
    ServiceRack& operator=(const ServiceRack&) = delete;

    /// Makes the host's further registrations and initialises the library. `supervision_s` is the period of
    /// the supervision, whose first round comes after 30 seconds nevertheless.
    /// @return false when the library refuses.
    bool Initialise(unsigned int pons, unsigned int onus, unsigned int supervision_s);

    /// Registers a service behind those added before, which are offered messages first.
    /// @return false, and the service deleted, when the library refuses.
    bool Add(std::unique_ptr<OmciService> service);

    /// Installs the library's commands and starts the services. @return false when the library refuses.
    bool Start();

    /// The services in the order of precedence.
    const std::vector<OmciService*>& Services() const { return services; }

private:
    std::vector<OmciService*> services; ///< owned by the library
};

} // namespace olt_host

#endif
