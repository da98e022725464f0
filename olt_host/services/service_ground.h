/// What the services work with.
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

/// How requests are repeated.
struct RequestTimes {
    Tick timeout;          ///< until a request is sent again
    unsigned int sends;    ///< how often it is sent in all
    unsigned long limit_s; ///< what a state may take for all of it, in seconds
};

/// When a bring-up that failed is tried again: after `first_pause`, then after twice the pause each time, up
/// to `longest_pause`.
struct RetryPolicy {
    unsigned int attempts; ///< bring-ups in all; 0: without limit
    Tick first_pause;
    Tick longest_pause;
};

/// Services that were told to look for work and have not looked yet, by module type: however many ONUs come
/// to a service at a time, one message of its queue is taken by it.
using WorkFlags = std::array<std::atomic<bool>, kModules>;

/// Outlives the services.
struct ServiceGround {
    OnuTable& table;
    std::vector<OmciChannel>& channels; ///< by the index of the table
    OmciLink& link;
    const std::atomic<Tick>& now;
    WorkFlags& told;
    unsigned int queue_length; ///< of each service's queue, in messages
    unsigned int window;       ///< procedures that a service has under way at a time
    RequestTimes times;
    RetryPolicy retry;
    StateChart* chart = nullptr; ///< watches the procedures; may be null
};

} // namespace olt_host

#endif
