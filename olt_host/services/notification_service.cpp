#include "olt_host/services/notification_service.h"

#include <algorithm>

namespace olt_host {

namespace {

/// Gaps are rare, so a few procedures at a time are enough.
constexpr unsigned int kProcedures = 16;

constexpr unsigned int kBitmapSize = 28;

bool AnyBit(const char* bitmap) {
    return std::any_of(bitmap, bitmap + kBitmapSize, [](char byte) { return byte != 0; });
}

} // namespace

AlarmSync::AlarmSync(const ServiceGround& service_ground) : Procedure(kNotificationModule, service_ground) {
    const unsigned long limit_s = ground.times.limit_s;
    AddState(std::make_unique<Step<AlarmSync>>(kAll, limit_s, &AlarmSync::AskAll, &AlarmSync::TakeAll),
             "ALL");
    AddState(std::make_unique<Step<AlarmSync>>(kNext, limit_s, &AlarmSync::AskNext, &AlarmSync::TakeNext),
             "NEXT");
}

unsigned int AlarmSync::Prepare() {
    alarmed = AlarmList();
    sequence = 0;
    seen_before = ground.table.Read(index).alarms;
    return kAll;
}

OmciFrame AlarmSync::AskAll() const {
    return OmciFrame::Request(OmciType::kGetAllAlarms, kMib);
}

unsigned int AlarmSync::TakeAll(const OmciFrame& answer) {
    entities = answer.Get<std::uint16_t>(9);
    return entities == 0 ? STATE_SUCC : kNext;
}

OmciFrame AlarmSync::AskNext() const {
    OmciFrame request = OmciFrame::Request(OmciType::kGetAllAlarmsNext, kMib);
    request.Set(9, static_cast<std::uint16_t>(sequence));
    return request;
}

unsigned int AlarmSync::TakeNext(const OmciFrame& answer) {
    const MeId me{answer.Get<std::uint16_t>(9), answer.Get<std::uint16_t>(11)};
    if (me.me_class == 0) return Fail(OnuFailure::kMibRows); // a restarted ONU has discarded its list
    alarmed.Set(me, AnyBit(answer.At(13)));
    return ++sequence == entities ? STATE_SUCC : kNext;
}

NotificationService::NotificationService(const ServiceGround& service_ground)
    : OmciService(kNotificationModule, "Notification", service_ground) {
    for (unsigned int count = 0; count < kProcedures; ++count)
        AddProcedure(std::make_unique<AlarmSync>(ground));
}

bool NotificationService::Claims(const OmciFrame& frame) const {
    const OmciType type = frame.Type();
    return frame.Kind() == FrameKind::kNotification ||
           (frame.Kind() == FrameKind::kAnswer &&
            (type == OmciType::kGetAllAlarms || type == OmciType::kGetAllAlarmsNext));
}

bool NotificationService::Wants(const OnuStatus& status) const {
    return status.alarms_lost && status.phase == OnuPhase::kInSync;
}

// A notification that arrived during the procedure may be older or newer than the answers. In that case the
// service asks again.
void NotificationService::OnEnd(Procedure& procedure) {
    auto& sync = static_cast<AlarmSync&>(procedure);
    ground.table.Update(sync.index, [&](OnuStatus& status) {
        NoteEnd(sync, OnuPhase::kInSync, status);
        status.alarms_lost = !sync.succeeded || status.alarms != sync.seen_before;
        status.alarm_sequence = 0;
        if (sync.succeeded) status.alarmed = sync.alarmed;
    });
}

void NotificationService::OnNotification(unsigned int index, const OmciFrame& frame) {
    if (frame.Type() == OmciType::kAlarm) return TakeAlarm(index, frame);
    if (frame.Type() != OmciType::kAttributeValueChange) return;
    ground.table.Update(index, [](OnuStatus& status) { ++status.changes; });
}

void NotificationService::TakeAlarm(unsigned int index, const OmciFrame& alarm) {
    const std::uint8_t sequence = alarm.Get<std::uint8_t>(40);
    ground.table.Update(index, [&](OnuStatus& status) {
        if (sequence == status.alarm_sequence) return; // a duplicate
        const unsigned int expected = status.alarm_sequence == 255 ? 1 : status.alarm_sequence + 1u;
        if (sequence != expected) status.alarms_lost = true;
        status.alarm_sequence = sequence;
        status.alarmed.Set(alarm.Me(), AnyBit(alarm.At(9)));
        ++status.alarms;
    });
}

} // namespace olt_host
