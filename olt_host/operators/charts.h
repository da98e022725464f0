/// The charts that the command line requests.
#ifndef OLT_HOST_OPERATORS_CHARTS_H
#define OLT_HOST_OPERATORS_CHARTS_H

#include <string>

#include "olt_host/capture/sequence_chart.h"
#include "olt_host/onu/onu_key.h"
#include "onu_mng_lib/onu_mng_common/state_chart.h"

namespace olt_host {

/// The charts that record what a host does, and the files that they are written to. Must outlive the host.
/// One task at a time.
class Charts {
public:
    struct Options {
        std::string state_file;    ///< empty: no state chart
        std::string sequence_file; ///< empty: no sequence chart
        OnuKey onu{1, 1};          ///< the ONU of the sequence chart
    };

    /// Throws std::bad_alloc.
    explicit Charts(const Options& wanted) : options(wanted), sequence(wanted.onu) {}

    /// Return the charts to attach to the host; null if they are not requested.
    StateChart* States() { return options.state_file.empty() ? nullptr : &states; }
    WireTap* Sequence() { return options.sequence_file.empty() ? nullptr : &sequence; }

    /// Checks that the files can be opened for writing, without changing their contents.
    /// @return an error message; empty on success.
    [[nodiscard]] std::string Check() const;
    /// Writes the files. @return an error message; empty on success.
    [[nodiscard]] std::string Write() const;

private:
    const Options options;
    StateChart states;
    SequenceChart sequence;
};

} // namespace olt_host

#endif
