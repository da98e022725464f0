/// The environment of the services: shared objects and settings.
#ifndef OLT_HOST_SERVICES_SERVICE_GROUND_H
#define OLT_HOST_SERVICES_SERVICE_GROUND_H

#include <array>
#include <atomic>
#include <vector>

#include "olt_host/services/messages.h"
#include "olt_host/services/omci_channel.h"
#include "olt_host/services/onu_table.h"
#include "onu_mng_lib/onu_mng_common/state_chart.h"

namespace olt_host {

/// The repetition of requests.
struct RequestTimes {
    Tick timeout;          ///< time until a request is sent again
    unsigned int sends;    ///< maximum number of transmissions
    unsigned long limit_s; ///< time limit of a state for all transmissions, in seconds
};

/// The repetition of failed bring-ups: first after `first_pause`, then after twice the previous pause each
/// time, up to `longest_pause`.
struct RetryPolicy {
    unsigned int attempts; ///< maximum number of bring-ups; 0: no limit
    Tick first_pause;
    Tick longest_pause;
};

/// By module type: whether a kMsgWork is in the service's queue. Limits these messages to one per service, no
/// matter how many ONUs need it.
using WorkFlags = std::array<std::atomic<bool>, kModules>;

/// Must outlive the services.
struct ServiceGround {
    OnuTable& table;
    std::vector<OmciChannel>& channels; ///< by index in `table`
    OmciLink& link;
    const std::atomic<Tick>& now;
    WorkFlags& work_queued;
    unsigned int queue_length; ///< of each service's queue, in messages
    unsigned int window;       ///< procedures that a service runs at a time
    RequestTimes times;
    RetryPolicy retry;
    StateChart* chart = nullptr; ///< records the procedures' states; may be null
};

} // namespace olt_host

#endif
