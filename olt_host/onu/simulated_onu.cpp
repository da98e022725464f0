#include "olt_host/onu/simulated_onu.h"

namespace olt_host {

namespace {

constexpr std::uint16_t kEthernetUni = 11;
constexpr std::uint16_t kOperationalState = 0x0400;
constexpr std::uint8_t kLanLoss = 0x80;

MeId PortMe(unsigned int port) {
    return {kEthernetUni, static_cast<std::uint16_t>(OnuMib::kFirstPort + port)};
}

constexpr MeId kOnu{256, 0}; ///< ONU-G

/// The result of a command that only one entity accepts.
OmciResult OnlyFor(MeId target, MeId me) {
    if (me == target) return OmciResult::kOk;
    return me.me_class == target.me_class ? OmciResult::kUnknownInstance : OmciResult::kUnknownEntity;
}

} // namespace

SimulatedOnu::SimulatedOnu(const SerialNumber& serial, unsigned int ports)
    : mib(serial, ports), link_down(ports, false) {}

bool SimulatedOnu::Take(const OmciFrame& request, OmciFrame& answer) {
    if (request.Kind() != FrameKind::kRequest) return false;
    const bool is_repeated = has_stored_answer && request.Tid() == stored_answer.Tid();
    if (!is_repeated) {
        OmciFrame made = OmciFrame::AnswerTo(request);
        Answer(request, made);
        made.Seal();
        stored_answer = made;
        has_stored_answer = true;
    }
    answer = stored_answer;
    return request.WantsAnswer();
}

void SimulatedOnu::Answer(OmciFrame request, OmciFrame& answer) {
    const MeId me = request.Me();
    switch (request.Type()) {
    case OmciType::kCreate:
        return answer.SetResult(mib.Create(me, request.At(OmciFrame::kContents)));
    case OmciType::kDelete:
        return answer.SetResult(mib.Delete(me));
    case OmciType::kSet:
        return AnswerSet(request, answer);
    case OmciType::kGet:
        return AnswerGet(request, answer);
    case OmciType::kMibReset:
        if (me == kMib) ResetMib();
        return answer.SetResult(OnlyFor(kMib, me));
    case OmciType::kMibUpload:
        return AnswerUpload(request, answer);
    case OmciType::kMibUploadNext:
        return AnswerUploadNext(request, answer);
    case OmciType::kGetAllAlarms:
        return AnswerAlarms(answer);
    case OmciType::kGetAllAlarmsNext:
        return AnswerAlarmsNext(request, answer);
    case OmciType::kSynchronizeTime:
        return answer.SetResult(OnlyFor(kOnu, me));
    case OmciType::kReboot:
        if (me == kOnu) Restart();
        return answer.SetResult(OnlyFor(kOnu, me));
    default:
        return answer.SetResult(OmciResult::kNotSupported);
    }
}

void SimulatedOnu::AnswerSet(OmciFrame& request, OmciFrame& answer) {
    constexpr std::size_t kRoom = 30;
    OnuMib::Attributes attributes{request.Get<std::uint16_t>(9), request.At(11), kRoom};
    answer.SetResult(mib.Set(request.Me(), attributes));
    answer.Set(10, attributes.unknown);
    answer.Set(12, attributes.failed);
}

void SimulatedOnu::AnswerGet(const OmciFrame& request, OmciFrame& answer) {
    constexpr std::size_t kRoom = 25;
    OnuMib::Attributes attributes{request.Get<std::uint16_t>(9), answer.At(12), kRoom};
    answer.SetResult(mib.Get(request.Me(), attributes));
    answer.Set(10, attributes.mask);
    answer.Set(37, attributes.unknown);
    answer.Set(39, attributes.failed);
}

void SimulatedOnu::ResetMib() {
    mib.Reset();
    upload.clear();
}

void SimulatedOnu::AnswerUpload(const OmciFrame& request, OmciFrame& answer) {
    upload = request.Me() == kMib ? mib.Rows() : std::vector<MibRow>();
    answer.Set(9, static_cast<std::uint16_t>(upload.size()));
}

void SimulatedOnu::AnswerUploadNext(const OmciFrame& request, OmciFrame& answer) const {
    const unsigned int sequence = request.Get<std::uint16_t>(9);
    if (sequence < upload.size()) upload[sequence].Write(answer);
}

void SimulatedOnu::AnswerAlarms(OmciFrame& answer) {
    alarm_sequence = 0;
    alarmed_ports.clear();
    for (unsigned int port = 0; port < link_down.size(); ++port) {
        if (link_down[port]) alarmed_ports.push_back(port);
    }
    answer.Set(9, static_cast<std::uint16_t>(alarmed_ports.size()));
}

void SimulatedOnu::AnswerAlarmsNext(const OmciFrame& request, OmciFrame& answer) const {
    const unsigned int sequence = request.Get<std::uint16_t>(9);
    if (sequence >= alarmed_ports.size()) return;
    const MeId me = PortMe(alarmed_ports[sequence]);
    answer.Set(9, me.me_class);
    answer.Set(11, me.instance);
    answer.Set(13, kLanLoss);
}

OmciFrame SimulatedOnu::ToggleLink(unsigned int port) {
    link_down[port] = !link_down[port];
    alarm_sequence = static_cast<std::uint8_t>(alarm_sequence == 255 ? 1 : alarm_sequence + 1);
    OmciFrame alarm = OmciFrame::Notification(OmciType::kAlarm, PortMe(port));
    alarm.Set(9, link_down[port] ? kLanLoss : std::uint8_t{0});
    alarm.Set(40, alarm_sequence);
    alarm.Seal();
    return alarm;
}

OmciFrame SimulatedOnu::ReportState(unsigned int port) const {
    OmciFrame change = OmciFrame::Notification(OmciType::kAttributeValueChange, PortMe(port));
    change.Set(9, kOperationalState);
    change.Set(11, static_cast<std::uint8_t>(link_down[port] ? 1 : 0));
    change.Seal();
    return change;
}

void SimulatedOnu::Restart() {
    ResetMib();
    alarmed_ports.clear();
    alarm_sequence = 0;
    has_stored_answer = false;
}

} // namespace olt_host
