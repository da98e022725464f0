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

/// Returns the state of an ONU, such as "in sync" or "failed: no answer".
std::string StateText(const OnuStatus& status);

/// Return the header of the ONU rows, and one row, without a line end.
std::string OnuHeader();
std::string OnuRow(const OnuStatus& status);

/// Prints a row for each ONU (`all`), or only for those that are not in sync.
void PrintOnus(std::ostream& out, const OnuTable& table, bool all);

/// Returns the number of ONUs in each state and of requests: "8 ONUs: 8 in sync; 584 requests, 0 sent again".
std::string TotalsText(const OnuTotals& totals);

/// Returns everything about one ONU except its MIB, line by line.
std::vector<std::string> OnuDetails(const OnuStatus& status);
/// Returns the entity of a row, its attribute mask and the values.
std::string MibRowText(const MibRow& row);

/// Return the header of the service rows, and one row, without a line end.
std::string ServiceHeader();
std::string ServiceRow(const OmciService& service);

/// Prints the counters that are not zero.
void PrintLine(std::ostream& out, const FiberCounters& counters);

} // namespace olt_host

#endif
