/// The service that provisions ONUs.
#ifndef OLT_HOST_SERVICES_PROVISIONING_SERVICE_H
#define OLT_HOST_SERVICES_PROVISIONING_SERVICE_H

#include "olt_host/services/omci_service.h"

namespace olt_host {

/// Creates and sets the managed entities of one Internet service, and reads some of them back.
///
///     INIT ── CREATE, several times ── SET ... ── GET ... ── SUCC
class Provisioning : public Procedure {
public:
    enum State : unsigned int { kCreate = 20, kSet, kGet };

    explicit Provisioning(const ServiceGround& service_ground);

    /// The number of changes to the MIB so far, and so its expected data sync counter.
    std::uint8_t changes = 0;

private:
    unsigned int Prepare() override;
    OmciFrame AskPlanned() const;
    unsigned int TakePlanned(const OmciFrame& answer);
    /// Returns the state for the next planned request; SUCC after the last one.
    unsigned int NextState() const;

    unsigned int planned = 0; ///< index of the next planned request
};

/// Provisions ONUs after the upload of their MIB, then hands them to the MIB upload service for an audit.
///
/// Claims the answers to create, delete, set and get.
class ProvisioningService : public OmciService {
public:
    explicit ProvisioningService(const ServiceGround& ground);
    ~ProvisioningService() override { EndTask(); }

private:
    bool Claims(const OmciFrame& frame) const override;
    bool Wants(const OnuStatus& status) const override { return status.phase == OnuPhase::kUploaded; }
    void OnBegin(OnuStatus& status) override { status.phase = OnuPhase::kProvisioning; }
    void OnEnd(Procedure& procedure) override;
};

} // namespace olt_host

#endif
