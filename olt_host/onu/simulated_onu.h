/// A simulated ONU.
#ifndef OLT_HOST_ONU_SIMULATED_ONU_H
#define OLT_HOST_ONU_SIMULATED_ONU_H

#include <cstdint>
#include <vector>

#include "olt_host/omci/frame.h"
#include "olt_host/onu/mib.h"
#include "olt_host/onu/mib_row.h"

namespace olt_host {

/// Takes frames and gives frames; it has no task and no time of its own.
///
/// It knows MIB reset and upload, create, delete, set, get, get all alarms, synchronize time and reboot. Any
/// other command is answered with kNotSupported. One task at a time.
class SimulatedOnu {
public:
    SimulatedOnu(const SerialNumber& serial, unsigned int ports);

    /// Takes a frame from the OLT. One with a transaction id that was answered last gets that answer again,
    /// and nothing else happens; what is no request is dropped.
    /// @return true with a sealed `answer`, when the request wants one.
    bool Take(const OmciFrame& request, OmciFrame& answer);

    /// The link of an Ethernet port (from 0) goes down, or up again.
    /// @return the sealed alarm notification.
    OmciFrame ToggleLink(unsigned int port);
    /// @return the sealed notification of the port's new operational state.
    OmciFrame ReportState(unsigned int port) const;
    bool IsLinkDown(unsigned int port) const { return link_down[port]; }

    /// Power goes off and on: everything but the links is as at construction.
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
    std::vector<MibRow> upload;      ///< what the upload under way gives
    std::vector<unsigned int> alarmed_ports;
    OmciFrame stored_answer;
    bool has_stored_answer = false;
};

} // namespace olt_host

#endif
