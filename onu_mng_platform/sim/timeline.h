/// Writes a run as trace events.
#ifndef ONU_MNG_PLATFORM_SIM_TIMELINE_H
#define ONU_MNG_PLATFORM_SIM_TIMELINE_H

#include <string>
#include <vector>

#include "onu_mng_platform/sim/record.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// Writes the trace events (JSON) of a run with a kept record. Returns false if the file cannot be written.
bool WriteTimeline(const std::string& path, const Record& record, const std::vector<SimLogLine>& log);

/// Returns the folder in the environment variable ONU_MNG_TIMELINE; empty if it is not set.
std::string TimelineFolder();
/// Writes a new file into that folder, if it is set.
void WriteTimelineOfRun(const Record& record, const std::vector<SimLogLine>& log);

} // namespace onu_mng_platform

#endif
