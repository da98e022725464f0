/// The host's state as text.
#ifndef OLT_HOST_OPERATORS_REPORT_H
#define OLT_HOST_OPERATORS_REPORT_H

#include <ostream>
#include <string>
#include <vector>

#include "olt_host/onu/fiber.h"
#include "olt_host/onu/mib_row.h"
#include "olt_host/services/omci_service.h"
#include "olt_host/services/onu_table.h"

namespace olt_host {

/// "in sync", "failed: no answer"
std::string StateText(const OnuStatus& status);

/// The header for ONU rows, and one row. Without a line end.
std::string OnuHeader();
std::string OnuRow(const OnuStatus& status);

/// Prints a row for each ONU (`all`), or only for those that are not in sync.
void PrintOnus(std::ostream& out, const OnuTable& table, bool all);

/// The number of ONUs in each state and the requests sent: "8 ONUs: 8 in sync; 584 requests, 0 sent again"
std::string TotalsText(const OnuTotals& totals);

/// Everything about one ONU except its MIB, line by line.
std::vector<std::string> OnuDetails(const OnuStatus& status);
/// The entity, its attribute mask and the values.
std::string MibRowText(const MibRow& row);

/// The header for service rows, and one row. Without a line end.
std::string ServiceHeader();
std::string ServiceRow(const OmciService& service);

/// Prints the counters that are not zero.
void PrintLine(std::ostream& out, const FiberCounters& counters);

} // namespace olt_host

#endif
