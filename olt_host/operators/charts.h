/// The charts that the command line asks for.
#ifndef OLT_HOST_OPERATORS_CHARTS_H
#define OLT_HOST_OPERATORS_CHARTS_H

#include <string>

#include "olt_host/capture/sequence_chart.h"
#include "olt_host/onu/onu_key.h"
#include "onu_mng_lib/onu_mng_common/state_chart.h"

namespace olt_host {

/// Observers of a host, and the files that tell what they saw. Outlives the host. One task at a time.
class Charts {
public:
    struct Options {
        std::string state_file;    ///< empty: no such chart
        std::string sequence_file; ///< the same
        OnuKey onu{1, 1};          ///< of the sequence chart
    };

    /// Throws std::bad_alloc.
    explicit Charts(const Options& wanted) : options(wanted), sequence(wanted.onu) {}

    /// The chart to observe with; null when it is not wanted.
    StateChart* States() { return options.state_file.empty() ? nullptr : &states; }
    WireTap* Sequence() { return options.sequence_file.empty() ? nullptr : &sequence; }

    /// Whether the files can be written, which are left as they are. @return why not; empty when they can.
    std::string Check() const;
    /// Writes the files. @return what could not be done; empty when all was.
    std::string Write() const;

private:
    const Options options;
    StateChart states;
    SequenceChart sequence;
};

} // namespace olt_host

#endif
