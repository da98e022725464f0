#include "olt_host/replay/procedure_follower.h"

#include <algorithm>

namespace olt_host {

namespace {

template <typename Run>
void Merge(std::vector<Run>& runs, const std::vector<Run>& others) {
    const auto middle = runs.insert(runs.end(), others.begin(), others.end());
    std::inplace_merge(runs.begin(), middle, runs.end(),
                       [](const Run& a, const Run& b) { return a.first_line < b.first_line; });
}

} // namespace

void ProcedureTotals::Add(const ProcedureTotals& other) {
    Merge(bring_ups, other.bring_ups);
    Merge(uploads, other.uploads);
    answered += other.answered;
    unanswered += other.unanswered;
    unasked += other.unasked;
}

void ProcedureFollower::Observe(const OmciFrame& frame, unsigned int line) {
    if (frame.Kind() == FrameKind::kRequest) ObserveRequest(frame, line);
    if (frame.Kind() == FrameKind::kAnswer) ObserveAnswer(frame, line);
}

void ProcedureFollower::ObserveRequest(const OmciFrame& frame, unsigned int line) {
    const bool extends = Extends(frame);
    if (!extends) EndBringUp();
    if (frame.Type() == OmciType::kMibReset) {
        is_open = true;
        current = BringUp();
        current.first_line = line;
        current.first_tid = frame.Tid();
        current.last_tid = static_cast<std::uint16_t>(frame.Tid() - 1);
    }
    if (is_open) Extend(frame, line);
    if (!frame.WantsAnswer()) return;
    const Request request{frame.Type(), frame.Me(), is_open};
    const auto [place, is_new] = pending.insert({frame.Tid(), request});
    if (is_new || (place->second.type == request.type && place->second.me == request.me)) return;
    ++totals.unanswered; // a different request reuses the transaction id
    place->second = request;
}

bool ProcedureFollower::Extends(const OmciFrame& frame) const {
    if (!is_open || frame.Type() == OmciType::kMibReset || frame.Tid() <= current.last_tid) return false;
    const bool is_second = current.last_tid == current.first_tid;
    return !is_second || (frame.Type() == OmciType::kMibUpload && frame.Tid() == current.first_tid + 1);
}

void ProcedureFollower::Extend(const OmciFrame& frame, unsigned int line) {
    current.absent += static_cast<std::uint16_t>(frame.Tid() - current.last_tid - 1);
    current.last_line = line;
    current.last_tid = frame.Tid();
    ++current.requests[static_cast<unsigned int>(frame.Type())];
    if (frame.Type() != OmciType::kMibUploadNext) return;
    const unsigned int sequence = frame.Get<std::uint16_t>(9);
    current.in_sequence = current.in_sequence && sequence == current.next_sequence;
    current.next_sequence = sequence + 1;
}

void ProcedureFollower::ObserveAnswer(const OmciFrame& frame, unsigned int line) {
    const auto request = pending.find(frame.Tid());
    if (request != pending.end() && request->second.type == frame.Type() &&
        request->second.me == frame.Me()) {
        ++totals.answered;
        if (request->second.in_bring_up && is_open) ++current.answers;
        pending.erase(request);
    } else {
        ++totals.unasked;
    }
    const bool is_row = frame.Type() == OmciType::kMibUploadNext;
    const bool goes_on = is_row && frame.Tid() == static_cast<std::uint16_t>(run.last_tid + 1);
    if (!goes_on) {
        EndUpload();
        if (!is_row && frame.Type() != OmciType::kMibUpload) return;
        run.first_line = line;
        if (!is_row) run.announced = frame.Get<std::uint16_t>(9);
    }
    run.last_line = line;
    run.last_tid = frame.Tid();
    run.rows += is_row ? 1 : 0;
}

void ProcedureFollower::EndBringUp() {
    if (is_open && current.last_tid != current.first_tid) totals.bring_ups.push_back(current);
    is_open = false;
}

void ProcedureFollower::EndUpload() {
    if (run.rows > 1) totals.uploads.push_back(run);
    run = UploadRun();
}

const ProcedureTotals& ProcedureFollower::Finish() {
    EndBringUp();
    EndUpload();
    totals.unanswered += static_cast<unsigned int>(pending.size());
    pending.clear();
    return totals;
}

} // namespace olt_host
