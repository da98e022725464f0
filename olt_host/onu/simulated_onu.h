/// A simulated ONU.
#ifndef OLT_HOST_ONU_SIMULATED_ONU_H
#define OLT_HOST_ONU_SIMULATED_ONU_H

#include <cstdint>
#include <vector>

#include "olt_host/omci/frame.h"
#include "olt_host/onu/mib.h"
#include "olt_host/onu/mib_row.h"

namespace olt_host {

/// Answers the OLT's frames. It has neither a task nor a clock.
///
/// It supports MIB reset and upload, create, delete, set, get, get all alarms, synchronize time and reboot.
/// The answer to any other command is kNotSupported. One task at a time.
class SimulatedOnu {
public:
    SimulatedOnu(const SerialNumber& serial, unsigned int ports);

    /// Processes a frame from the OLT. A request with the transaction id of the previous one is a repetition:
    /// it gets the same answer and is not processed again. Frames that are not requests are dropped.
    /// @return true if the request wants an answer; `answer` is then complete with its MIC.
    bool Take(const OmciFrame& request, OmciFrame& answer);

    /// Takes the link of an Ethernet port (from 0) down, or up again.
    /// @return the alarm notification, complete with its MIC.
    OmciFrame ToggleLink(unsigned int port);
    /// Returns the notification of the port's operational state, complete with its MIC.
    OmciFrame ReportState(unsigned int port) const;
    bool IsLinkDown(unsigned int port) const { return link_down[port]; }

    /// Simulates a power cycle: everything except the links is as after construction.
    void Restart();

    const OnuMib& Mib() const { return mib; }

private:
    void Answer(OmciFrame request, OmciFrame& answer);
    void AnswerSet(OmciFrame& request, OmciFrame& answer);
    void AnswerGet(const OmciFrame& request, OmciFrame& answer);
    void ResetMib();
    void AnswerUpload(const OmciFrame& request, OmciFrame& answer);
    void AnswerUploadNext(const OmciFrame& request, OmciFrame& answer) const;
    void AnswerAlarms(OmciFrame& answer);
    void AnswerAlarmsNext(const OmciFrame& request, OmciFrame& answer) const;

    OnuMib mib;
    std::vector<bool> link_down;
    std::uint8_t alarm_sequence = 0; ///< of the last alarm notification
    std::vector<MibRow> upload;      ///< rows of the current upload
    std::vector<unsigned int> alarmed_ports;
    OmciFrame stored_answer;
    bool has_stored_answer = false;
};

} // namespace olt_host

#endif
