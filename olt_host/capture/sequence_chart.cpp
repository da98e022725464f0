#include "olt_host/capture/sequence_chart.h"

#include "olt_host/omci/text.h"

namespace olt_host {

SequenceChart::SequenceChart(OnuKey of_onu) : onu(of_onu) {
    steps.reserve(kMost);
}

void SequenceChart::Take(OnuKey from_or_to, Direction direction, const OmciFrame& frame) {
    if (!(from_or_to == onu)) return;
    const long long time = Clock() - begin;
    const LockGuard guard(lock);
    if (steps.size() < kMost) {
        steps.push_back({time, direction, frame});
    } else {
        ++more;
    }
}

std::string SequenceChart::Mermaid() const {
    std::vector<Step> known;
    known.reserve(kMost);
    unsigned long unknown = 0;
    {
        const LockGuard guard(lock);
        known = steps;
        unknown = more;
    }
    const std::string name = std::to_string(onu.pon_no) + '/' + std::to_string(onu.onu_id);
    std::string text = "sequenceDiagram\n  participant OLT\n  participant ONU as ONU " + name + '\n';
    for (const Step& step : known)
        text += (step.direction == Direction::kDown ? "  OLT->>ONU: " : "  ONU-->>OLT: ") +
                std::to_string(step.time) + " ms, " + Describe(step.frame) + '\n';
    if (unknown > 0) text += "  Note over OLT,ONU: " + std::to_string(unknown) + " more frames\n";
    return text;
}

} // namespace olt_host
