#include "olt_host/operators/commands.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "olt_host/host.h"
#include "olt_host/operators/report.h"
#include "onu_mng_platform/cli.h"

namespace olt_host {

namespace {

std::atomic<Host*> shown{nullptr};

void Put(vty* terminal, const std::string& line) {
    vty_out(terminal, "%s\r\n", line.c_str());
}

int Refuse(vty* terminal, const std::string& message) {
    Put(terminal, message);
    return 1;
}

/// Converts a number. The commands' syntax limits it to 255.
unsigned short NumberOf(const char* word) {
    return static_cast<unsigned short>(std::strtoul(word, nullptr, 10));
}

/// Copies and prints row by row. The table is not locked while printing, so a slow terminal blocks no
/// service. The totals count the rows shown.
int ShowOnus(vty* terminal, Host& host, int argc, char** argv) {
    const OnuTable& table = host.Table();
    const bool is_one_pon = argc > 0;
    const unsigned short pon_no = is_one_pon ? NumberOf(argv[0]) : 0;
    OnuTotals totals;
    for (unsigned int index = 0; index < table.Size(); ++index) {
        if (is_one_pon && table.KeyOf(index).pon_no != pon_no) continue;
        const OnuStatus status = table.Read(index);
        if (totals.onus == 0) Put(terminal, OnuHeader());
        Put(terminal, OnuRow(status));
        totals.Add(status);
    }
    if (totals.onus == 0) return Refuse(terminal, "There is no PON " + std::to_string(pon_no) + '.');
    Put(terminal, TotalsText(totals));
    return 0;
}

int ShowOnu(vty* terminal, Host& host, int argc, char** argv) {
    const OnuTable& table = host.Table();
    const OnuKey onu{NumberOf(argv[0]), NumberOf(argv[1])};
    const auto index = table.IndexOf(onu);
    if (!index)
        return Refuse(terminal, "There is no ONU " + std::to_string(onu.pon_no) + '/' +
                                    std::to_string(onu.onu_id) + '.');
    for (const std::string& line : OnuDetails(table.Read(*index)))
        Put(terminal, line);
    const bool shows_mib = argc > 2;
    if (!shows_mib) return 0;
    for (const MibRow& row : table.ReadMib(*index))
        Put(terminal, "  " + MibRowText(row));
    return 0;
}

int ShowServices(vty* terminal, Host& host, int, char**) {
    Put(terminal, ServiceHeader());
    for (const OmciService* service : host.Services())
        Put(terminal, ServiceRow(*service));
    return 0;
}

/// argv holds the file, then pairs of "pon" or "onu" and a number, in any order.
int StartCapture(vty* terminal, Host& host, int argc, char** argv) {
    Capture::Filter filter;
    for (int word = 1; word + 1 < argc; word += 2)
        (std::strcmp(argv[word], "pon") == 0 ? filter.pon_no : filter.onu_id) = NumberOf(argv[word + 1]);
    const std::string failed = host.Wire().Begin(argv[0], filter);
    return failed.empty() ? 0 : Refuse(terminal, "No capture: " + failed + '.');
}

int StopCapture(vty* terminal, Host& host, int, char**) {
    const std::string capture = host.Wire().End();
    if (capture.empty()) return Refuse(terminal, "There is no capture.");
    Put(terminal, capture);
    return 0;
}

/// A command handler that calls `Show` with the current host, if there is one.
template <int (*Show)(vty*, Host&, int, char**)>
int OnHost(cmd_element*, vty* terminal, int argc, char** argv) {
    Host* const host = shown;
    return host == nullptr ? Refuse(terminal, "There is no host.") : Show(terminal, *host, argc, argv);
}

cmd_element commands[] = {
    {"show onu {pon <0-255>}*1", OnHost<ShowOnus>,
     "show system information.\r\n"
     "ONUs and how far they are.\r\n"
     "pon - of one PON\r\n"
     "number of the PON\r\n",
     0, 0, "olt_host_show_onu"},
    {"show onu detail pon <0-255> onu <0-255> {[mib]}*1", OnHost<ShowOnu>,
     "show system information.\r\n"
     "ONUs and how far they are.\r\n"
     "detail - everything about one ONU\r\n"
     "pon - its PON\r\n"
     "number of the PON\r\n"
     "onu - its number on the PON\r\n"
     "number of the ONU\r\n"
     "mib - with its MIB as it was uploaded\r\n",
     0, 0, "olt_host_show_onu_detail"},
    {"show service statistics", OnHost<ShowServices>,
     "show system information.\r\n"
     "services of this host.\r\n"
     "statistics - frames, procedures and queues\r\n",
     0, 0, "olt_host_show_service_statistics"},
    {"capture start <file> {[pon] <1-64>}*1 {[onu] <1-128>}*1", OnHost<StartCapture>,
     "frames on the PONs.\r\n"
     "start - writes them to a file from now on\r\n"
     "file - a new one or an earlier capture, on the host\r\n"
     "pon - of one PON\r\n"
     "number of the PON\r\n"
     "onu - of the ONUs with one number\r\n"
     "number of the ONU\r\n",
     0, 0, "olt_host_capture_start"},
    {"capture stop", OnHost<StopCapture>,
     "frames on the PONs.\r\n"
     "stop - closes the file\r\n",
     0, 0, "olt_host_capture_stop"},
};

} // namespace

HostCommands::HostCommands(Host& host, unsigned int node) {
    shown = &host;
    for (cmd_element& command : commands)
        install_element(node, &command);
}

HostCommands::~HostCommands() {
    shown = nullptr;
}

} // namespace olt_host
