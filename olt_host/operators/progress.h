/// How far a bring-up is.
#ifndef OLT_HOST_OPERATORS_PROGRESS_H
#define OLT_HOST_OPERATORS_PROGRESS_H

#include <chrono>
#include <string>
#include <vector>

#include "olt_host/onu/fiber.h"
#include "olt_host/services/onu_table.h"

namespace olt_host {

/// A line about the ONUs of a host that comes up, from looks at it every now and then. One task at a time.
class Progress {
public:
    using Time = std::chrono::milliseconds;

    /// The host gives up waiting after `limit`. Table and counters outlive the object.
    Progress(const OnuTable& table, const FiberCounters& counters, Time limit);

    /// Looks at the host; `elapsed` is the time since it started.
    /// @return the same line at several lengths, the longest first: "6 in sync, 1 failed, 1 in work of 8; 84
    ///         requests/s; about 3 s left", down to "6/8 in sync". The time is estimated from those that are
    ///         done; while none of them is new for 2 seconds it is what remains of the limit, "at most 290 s".
    std::vector<std::string> Look(Time elapsed);

private:
    void Measure(Time elapsed);
    std::string TimeLeft(unsigned int done, unsigned int in_work, Time elapsed);

    const OnuTable& table;
    const FiberCounters& counters;
    const Time limit;
    Time measured_at{0};
    unsigned long measured_requests = 0; ///< sent until then
    unsigned long rate = 0;              ///< requests a second, of the last second
    unsigned int last_done = 0;
    Time last_done_at{0}; ///< when that number changed
};

} // namespace olt_host

#endif
