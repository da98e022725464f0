/// Giving ONUs their services.
#ifndef OLT_HOST_SERVICES_PROVISIONING_SERVICE_H
#define OLT_HOST_SERVICES_PROVISIONING_SERVICE_H

#include "olt_host/services/omci_service.h"

namespace olt_host {

/// Creates and sets what one Internet service of an ONU takes, and reads part of it back.
///
///     INIT ── CREATE, several times ── SET ... ── GET ... ── SUCC
class Provisioning : public Procedure {
public:
    enum State : unsigned int { kCreate = 20, kSet, kGet };

    explicit Provisioning(const ServiceGround& service_ground);

    /// The requests that changed the MIB so far: what its data sync counter is after a reset.
    std::uint8_t changes = 0;

private:
    unsigned int Prepare() override;
    OmciFrame AskPlanned() const;
    unsigned int TakePlanned(const OmciFrame& answer);
    /// The state of the planned request that is next; SUCC behind the last.
    unsigned int NextState() const;

    unsigned int planned = 0; ///< the planned request that is next
};

/// Provisions ONUs whose MIB has just been uploaded, then hands them back for an audit.
///
/// Takes the answers to create, delete, set and get.
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
