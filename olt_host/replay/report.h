/// The report of a replay.
#ifndef OLT_HOST_REPLAY_REPORT_H
#define OLT_HOST_REPLAY_REPORT_H

#include <array>
#include <ostream>
#include <string>
#include <vector>

#include "olt_host/omci/frame.h"
#include "olt_host/replay/procedure_follower.h"
#include "olt_host/services/omci_service.h"

namespace olt_host {

struct ReplayCounts {
    std::array<std::array<unsigned int, kOmciTypes>, 3> types{}; ///< frames by `FrameKind` and type
    std::array<unsigned int, kFrameFaults> faults{};             ///< lines by `FrameFault`
    unsigned int not_hexadecimal = 0;
    unsigned int not_omci = 0; ///< Ethernet frames of other types
    unsigned int sent = 0;     ///< answers and notifications sent to the services
    unsigned int lost = 0;     ///< frames that the library refused, and services that did not finish in time
};

/// Prints the frames by type and by service, the malformed lines by reason, and the procedures. `unit` is the
/// unit in which the file counts its frames (`FrameFile::Unit`).
void PrintReplay(std::ostream& out, const std::string& path, const std::string& unit,
                 const ReplayCounts& counts, const ProcedureTotals& procedures,
                 const std::vector<OmciService*>& services);

} // namespace olt_host

#endif
