/// The service for notifications from ONUs.
#ifndef OLT_HOST_SERVICES_NOTIFICATION_SERVICE_H
#define OLT_HOST_SERVICES_NOTIFICATION_SERVICE_H

#include "olt_host/onu/alarm_list.h"
#include "olt_host/services/omci_service.h"

namespace olt_host {

/// Asks an ONU for all its alarms.
///
///     INIT ── ALL ── NEXT, once for each entity with an alarm ── SUCC
class AlarmSync : public Procedure {
public:
    enum State : unsigned int { kAll = 30, kNext };

    explicit AlarmSync(const ServiceGround& service_ground);

    AlarmList alarmed;            ///< complete after a success
    unsigned int seen_before = 0; ///< number of alarm notifications received before the procedure

private:
    unsigned int Prepare() override;
    OmciFrame AskAll() const;
    unsigned int TakeAll(const OmciFrame& answer);
    OmciFrame AskNext() const;
    unsigned int TakeNext(const OmciFrame& answer);

    unsigned int sequence = 0;
    unsigned int entities = 0;
};

/// Keeps the alarms of each ONU and counts attribute value changes. After an audit, and after a gap in the
/// sequence numbers of alarms, it asks the ONU for all alarms.
///
/// Claims all notifications and the answers to get all alarms and get all alarms next.
class NotificationService : public OmciService {
public:
    explicit NotificationService(const ServiceGround& ground);
    ~NotificationService() override { EndTask(); }

private:
    bool Claims(const OmciFrame& frame) const override;
    bool Wants(const OnuStatus& status) const override;
    void OnBegin(OnuStatus&) override {}
    void OnEnd(Procedure& procedure) override;
    void OnNotification(unsigned int index, const OmciFrame& frame) override;
    void TakeAlarm(unsigned int index, const OmciFrame& alarm);
};

} // namespace olt_host

#endif
