#include "olt_host/services/mib_upload_service.h"

#include <algorithm>
#include <new>

namespace olt_host {

namespace {

constexpr std::uint16_t kDataSyncAttribute = 0x8000;

/// Reads the data sync counter from the answer to a get of ONU data. @return false if it is missing.
bool ReadDataSync(const OmciFrame& answer, std::uint8_t& data_sync) {
    data_sync = answer.Get<std::uint8_t>(12);
    return answer.Result() == OmciResult::kOk && (answer.Get<std::uint16_t>(10) & kDataSyncAttribute) != 0;
}

} // namespace

MibUpload::MibUpload(const ServiceGround& service_ground) : Procedure(kMibUploadModule, service_ground) {
    const auto add = [this](State state, const char* name, Step<MibUpload>::AskHook ask,
                            Step<MibUpload>::TakeHook take) {
        AddState(std::make_unique<Step<MibUpload>>(state, ground.times.limit_s, ask, take), name);
    };
    add(kAudit, "AUDIT", &MibUpload::AskDataSync, &MibUpload::TakeAudit);
    add(kReset, "RESET", &MibUpload::AskReset, &MibUpload::TakeReset);
    add(kUpload, "UPLOAD", &MibUpload::AskUpload, &MibUpload::TakeUpload);
    add(kNext, "NEXT", &MibUpload::AskNext, &MibUpload::TakeNext);
    add(kVerify, "VERIFY", &MibUpload::AskDataSync, &MibUpload::TakeVerify);
}

unsigned int MibUpload::Prepare() {
    const OnuStatus status = ground.table.Read(index);
    is_audit = status.phase != OnuPhase::kUploading;
    expected_sync = is_audit ? status.data_sync : std::uint8_t{0};
    rows.clear();
    rows_to_come = 0;
    return is_audit ? kAudit : kReset;
}

OmciFrame MibUpload::AskDataSync() const {
    OmciFrame request = OmciFrame::Request(OmciType::kGet, kMib);
    request.Set(9, kDataSyncAttribute);
    return request;
}

unsigned int MibUpload::TakeAudit(const OmciFrame& answer) {
    std::uint8_t data_sync = 0;
    if (!ReadDataSync(answer, data_sync)) return Fail(OnuFailure::kRefused);
    return data_sync == expected_sync ? STATE_SUCC : Fail(OnuFailure::kDataSync);
}

OmciFrame MibUpload::AskReset() const {
    return OmciFrame::Request(OmciType::kMibReset, kMib);
}

unsigned int MibUpload::TakeReset(const OmciFrame& answer) {
    return answer.Result() == OmciResult::kOk ? kUpload : Fail(OnuFailure::kRefused);
}

OmciFrame MibUpload::AskUpload() const {
    return OmciFrame::Request(OmciType::kMibUpload, kMib);
}

unsigned int MibUpload::TakeUpload(const OmciFrame& answer) {
    rows_to_come = answer.Get<std::uint16_t>(9);
    if (rows_to_come == 0) return Fail(OnuFailure::kMibRows);
    try {
        rows.reserve(rows_to_come);
    } catch (const std::bad_alloc&) {
        return Fail(OnuFailure::kMemory);
    }
    return kNext;
}

OmciFrame MibUpload::AskNext() const {
    OmciFrame request = OmciFrame::Request(OmciType::kMibUploadNext, kMib);
    request.Set(9, static_cast<std::uint16_t>(rows.size()));
    return request;
}

unsigned int MibUpload::TakeNext(const OmciFrame& answer) {
    const MibRow row = MibRow::Read(answer);
    if (row.IsNone()) return Fail(OnuFailure::kMibRows); // a restarted ONU has discarded the upload
    rows.push_back(row);
    return rows.size() == rows_to_come ? kVerify : kNext;
}

// Detects an ONU that was restarted or changed during the upload: the counter that it has now and the one in
// the upload must both be that of a MIB just reset.
unsigned int MibUpload::TakeVerify(const OmciFrame& answer) {
    std::uint8_t data_sync = 0;
    if (!ReadDataSync(answer, data_sync)) return Fail(OnuFailure::kRefused);
    const auto mib = std::find_if(rows.begin(), rows.end(), [](const MibRow& row) { return row.me == kMib; });
    if (mib == rows.end()) return Fail(OnuFailure::kMibRows);
    const bool is_whole = data_sync == expected_sync && mib->values[0] == static_cast<char>(expected_sync);
    return is_whole ? STATE_SUCC : Fail(OnuFailure::kDataSync);
}

MibUploadService::MibUploadService(const ServiceGround& service_ground, Tick audits)
    : OmciService(kMibUploadModule, "MibUpload", service_ground), audit_period(audits) {
    for (unsigned int count = 0; count < ground.table.Size(); ++count)
        AddProcedure(std::make_unique<MibUpload>(ground));
}

bool MibUploadService::Claims(const OmciFrame& frame) const {
    if (frame.Kind() != FrameKind::kAnswer) return false;
    switch (frame.Type()) {
    case OmciType::kMibReset:
    case OmciType::kMibUpload:
    case OmciType::kMibUploadNext:
        return true;
    case OmciType::kGet:
        return frame.Me().me_class == kOnuData;
    default:
        return false;
    }
}

bool MibUploadService::Wants(const OnuStatus& status) const {
    switch (status.phase) {
    case OnuPhase::kWaiting:
    case OnuPhase::kProvisioned:
        return true;
    case OnuPhase::kFailed:
        return !status.given_up && ground.now >= status.due;
    case OnuPhase::kInSync:
        return audit_period != 0 && ground.now >= status.due;
    default:
        return false;
    }
}

void MibUploadService::OnBegin(OnuStatus& status) {
    if (status.phase != OnuPhase::kWaiting && status.phase != OnuPhase::kFailed) return; // an audit
    status.phase = OnuPhase::kUploading;
    status.busy_ms = 0;
    ++status.attempts;
}

void MibUploadService::OnEnd(Procedure& procedure) {
    auto& upload = static_cast<MibUpload&>(procedure);
    if (upload.is_audit) return EndAudit(upload);
    EndUpload(upload);
}

void MibUploadService::EndAudit(const MibUpload& audit) {
    ground.table.Update(audit.index, [&](OnuStatus& status) {
        NoteEnd(audit, OnuPhase::kInSync, status);
        if (!audit.succeeded) return;
        status.alarms_lost = true; // if the last notification was lost, no later one reveals the gap
        status.attempts = 0;
        status.due = ground.now + audit_period;
    });
    if (audit.succeeded) Tell(kNotificationModule);
}

void MibUploadService::EndUpload(MibUpload& upload) {
    const auto rows = static_cast<unsigned int>(upload.rows.size());
    if (upload.succeeded) ground.table.SwapMib(upload.index, upload.rows);
    ground.table.Update(upload.index, [&](OnuStatus& status) {
        NoteEnd(upload, OnuPhase::kUploaded, status);
        if (!upload.succeeded) return;
        status.rows = rows;
        status.data_sync = 0;
    });
    if (upload.succeeded) Tell(kProvisioningModule);
}

} // namespace olt_host
