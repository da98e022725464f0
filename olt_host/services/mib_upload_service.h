/// The service that uploads and audits the MIBs of ONUs.
#ifndef OLT_HOST_SERVICES_MIB_UPLOAD_SERVICE_H
#define OLT_HOST_SERVICES_MIB_UPLOAD_SERVICE_H

#include <vector>

#include "olt_host/onu/mib_row.h"
#include "olt_host/services/omci_service.h"

namespace olt_host {

/// Resets and uploads an ONU's MIB, or audits it: compares the data sync counter with the expected one.
///
///     INIT ─┬─ RESET ── UPLOAD ── NEXT, once for each row ── VERIFY ─┬─ SUCC
///           └─ AUDIT ────────────────────────────────────────────────┘
///
/// Every state goes to FAIL if the ONU refuses, its answer is wrong, or the supervision ends the procedure.
class MibUpload : public Procedure {
public:
    enum State : unsigned int { kAudit = 10, kReset, kUpload, kNext, kVerify };

    explicit MibUpload(const ServiceGround& service_ground);

    bool is_audit = false;
    std::vector<MibRow> rows; ///< the uploaded rows; complete after a success

private:
    unsigned int Prepare() override;
    OmciFrame AskDataSync() const;
    unsigned int TakeAudit(const OmciFrame& answer);
    OmciFrame AskReset() const;
    unsigned int TakeReset(const OmciFrame& answer);
    OmciFrame AskUpload() const;
    unsigned int TakeUpload(const OmciFrame& answer);
    OmciFrame AskNext() const;
    unsigned int TakeNext(const OmciFrame& answer);
    unsigned int TakeVerify(const OmciFrame& answer);

    std::uint8_t expected_sync = 0;
    unsigned int rows_to_come = 0;
};

/// Uploads the MIB of ONUs that wait or whose bring-up failed, and hands them to the provisioning service.
/// Audits them after the provisioning and then every `audit_period`.
///
/// Claims the answers to MIB reset, MIB upload, MIB upload next, and get of ONU data.
class MibUploadService : public OmciService {
public:
    /// Creates one procedure for each ONU. With an `audit_period` of 0, ONUs in sync are not audited.
    MibUploadService(const ServiceGround& ground, Tick audit_period);
    ~MibUploadService() override { EndTask(); }

private:
    bool Claims(const OmciFrame& frame) const override;
    bool Wants(const OnuStatus& status) const override;
    void OnBegin(OnuStatus& status) override;
    void OnEnd(Procedure& procedure) override;
    void EndAudit(const MibUpload& audit);
    void EndUpload(MibUpload& upload);

    const Tick audit_period;
};

} // namespace olt_host

#endif
