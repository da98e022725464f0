/// A sequence chart of the frames between the OLT and one ONU.
#ifndef OLT_HOST_CAPTURE_SEQUENCE_CHART_H
#define OLT_HOST_CAPTURE_SEQUENCE_CHART_H

#include <string>
#include <vector>

#include "olt_host/capture/ethernet.h"
#include "olt_host/onu/wire_tap.h"
#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"

namespace olt_host {

/// Keeps the first 400 frames between the OLT and one ONU and draws them as a sequence chart.
///
/// Thread safety: every operation may be called from any task. Only `Mermaid` allocates.
class SequenceChart : public WireTap {
public:
    /// The number of frames that are kept. Rendering tools reject longer charts.
    static constexpr std::size_t kMost = 400;

    /// Throws std::bad_alloc.
    explicit SequenceChart(OnuKey of_onu);

    void OnSend(OnuKey to, const OmciFrame& frame) override { Take(to, Direction::kDown, frame); }
    void OnReceive(OnuKey from, const OmciFrame& frame) override { Take(from, Direction::kUp, frame); }

    /// Returns the chart in Mermaid syntax, with one arrow a line and times in milliseconds since
    /// construction. A lost frame shows as a missing answer. Throws std::bad_alloc.
    std::string Mermaid() const;

private:
    struct Step {
        long long time; ///< in milliseconds
        Direction direction;
        OmciFrame frame;
    };

    void Take(OnuKey from_or_to, Direction direction, const OmciFrame& frame);

    const OnuKey onu;
    const Clock begin;
    mutable ReadWriteLock lock; ///< guards all below
    std::vector<Step> steps;
    unsigned long more = 0; ///< frames that are counted but not kept
};

} // namespace olt_host

#endif
