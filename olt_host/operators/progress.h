/// The progress of a bring-up.
#ifndef OLT_HOST_OPERATORS_PROGRESS_H
#define OLT_HOST_OPERATORS_PROGRESS_H

#include <chrono>
#include <string>
#include <vector>

#include "olt_host/onu/fiber.h"
#include "olt_host/services/onu_table.h"

namespace olt_host {

/// Produces a status line about the bring-up of a host's ONUs, from samples taken now and then. One task at a
/// time.
class Progress {
public:
    using Time = std::chrono::milliseconds;

    /// `limit` is the time after which the host stops waiting. `table` and `counters` must outlive the
    /// object.
    Progress(const OnuTable& table, const FiberCounters& counters, Time limit);

    /// Takes a sample. `elapsed` is the time since the host started.
    /// @return the same line at several lengths, the longest first: "6 in sync, 1 failed, 1 in work of 8; 84
    ///         requests/s; about 3 s left", down to "6/8 in sync". The remaining time is estimated from the
    ///         ONUs that are done. If no further ONU gets done within 2 seconds, the line shows the rest of
    ///         the limit instead: "at most 290 s left".
    std::vector<std::string> Look(Time elapsed);

private:
    void Measure(Time elapsed);
    std::string TimeLeft(unsigned int done, unsigned int in_work, Time elapsed);

    const OnuTable& table;
    const FiberCounters& counters;
    const Time limit;
    Time measured_at{0};
    unsigned long measured_requests = 0; ///< requests sent until `measured_at`
    unsigned long rate = 0;              ///< requests per second in the last measured span
    unsigned int last_done = 0;
    Time last_done_at{0}; ///< when `last_done` changed
};

} // namespace olt_host

#endif
