/// A run as trace events.
#ifndef ONU_MNG_PLATFORM_SIM_TIMELINE_H
#define ONU_MNG_PLATFORM_SIM_TIMELINE_H

#include <string>
#include <vector>

#include "onu_mng_platform/sim/record.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// Writes the trace events (JSON) of a run whose record was kept. Returns false when it could not.
bool WriteTimeline(const std::string& path, const Record& record, const std::vector<SimLogLine>& log);

/// The folder that ONU_MNG_TIMELINE names; empty without that variable.
std::string TimelineFolder();
/// Writes a new file into that folder, if there is one.
void WriteTimelineOfRun(const Record& record, const std::vector<SimLogLine>& log);

} // namespace onu_mng_platform

#endif
