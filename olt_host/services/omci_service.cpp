#include "olt_host/services/omci_service.h"

#include <algorithm>
#include <utility>

#include "onu_mng_lib/onu_mng_module_cinterface.h"

namespace olt_host {

namespace {

constexpr unsigned int kPriority = 120;
constexpr unsigned int kMessagePriority = 1;
constexpr unsigned int kStack = 65536;

Tick PauseAfter(unsigned int attempts, const RetryPolicy& retry) {
    if (attempts == 0) return 0; // the ONU was in sync before
    Tick pause = retry.first_pause;
    for (unsigned int attempt = 1; attempt < attempts && pause < retry.longest_pause; ++attempt)
        pause *= 2;
    return std::min(pause, retry.longest_pause);
}

} // namespace

OmciService::OmciService(ModuleType type, const char* name, const ServiceGround& service_ground)
    : ServiceModule(type, name, kPriority, kMessagePriority, service_ground.queue_length, kStack),
      ground(service_ground), of_onu(service_ground.table.Size(), nullptr) {
    if (ground.chart != nullptr) ground.chart->NameService(type, name);
}

OmciService::~OmciService() {
    EndTask();
    for (Procedure* procedure : active)
        procedure->ChangeState(STATE_IDLE, false); // a context must be idle when it is destroyed
}

void OmciService::AddProcedure(std::unique_ptr<Procedure> procedure) {
    procedures.push_back(std::move(procedure));
    idle.push_back(procedures.back().get());
    active.reserve(procedures.size());
}

bool OmciService::Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char* data,
                        unsigned int pkg_size, MsgSyncProcType& sync_type) {
    sync_type = MSG_PROC_ASYNC;
    if (msg_type != kMsgFrame) return (msg_type & kModuleBits) == mod_type;
    OmciFrame frame;
    return data != nullptr && OmciFrame::Parse(data, pkg_size, kInCaptures, frame) == FrameFault::kNone &&
           Claims(frame);
}

unsigned int OmciService::HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id,
                                    char* data, unsigned int pkg_size) {
    switch (msg_type & ~kModuleBits) {
    case kMsgFrame:
        TakeFrame({pon_no, onu_id}, data, pkg_size);
        break;
    case kMsgTick:
        TakeTick();
        break;
    case kMsgWork:
        ground.work_queued[mod_type] = false; // before the search, so that later work sends a new message
        searched = 0;
        break;
    case kMsgBarrier:
        drained.Signal();
        break;
    default:
        return ONU_MNG_FAILURE;
    }
    BeginDue();
    return ONU_MNG_OK;
}

void OmciService::TakeFrame(OnuKey onu, char* data, unsigned int size) {
    ++frames;
    const auto index = ground.table.IndexOf(onu);
    OmciFrame frame;
    if (!index || OmciFrame::Parse(data, size, kInCaptures, frame) != FrameFault::kNone) {
        ++strays;
    } else if (frame.Kind() == FrameKind::kNotification) {
        OnNotification(*index, frame);
        Consider(onu);
    } else {
        TakeAnswer(onu, *index, data, size);
    }
}

void OmciService::TakeAnswer(OnuKey onu, unsigned int index, char* data, unsigned int size) {
    Procedure* procedure = of_onu[index];
    if (procedure == nullptr || !procedure->Match(onu.pon_no, onu.onu_id, data, size, true)) {
        ++strays;
        return;
    }
    procedure->Take(data, size);
    Settle(*procedure);
}

void OmciService::TakeTick() {
    ground.work_queued[mod_type] = false; // kMsgWork may have been lost
    searched = 0;
    for (std::size_t next = active.size(); next-- > 0;) { // backwards, because `Settle` removes elements
        active[next]->Tend();
        Settle(*active[next]);
    }
}

void OmciService::Consider(OnuKey onu) {
    const auto index = ground.table.IndexOf(onu);
    if (index && Wants(ground.table.Read(*index))) Begin(*index);
}

void OmciService::BeginDue() {
    while (HasRoom() && searched < ground.table.Size()) {
        const unsigned int index =
            ground.table.Find(searched, [this](const OnuStatus& status) { return Wants(status); });
        searched = index + 1;
        if (index < ground.table.Size()) Begin(index);
    }
}

void OmciService::Begin(unsigned int index) {
    if (!HasRoom() || !ground.channels[index].Acquire(ground.now)) return;
    Procedure* procedure = idle.back();
    idle.pop_back();
    active.push_back(procedure);
    of_onu[index] = procedure;
    active_count = static_cast<unsigned int>(active.size());
    ground.table.Update(index, [this](OnuStatus& status) { OnBegin(status); });
    procedure->Begin(index, ground.table.KeyOf(index), ground.channels[index]);
    Settle(*procedure);
}

void OmciService::Settle(Procedure& procedure) {
    if (!procedure.HasEnded()) return;
    of_onu[procedure.index] = nullptr;
    active.erase(std::find(active.begin(), active.end(), &procedure));
    idle.push_back(&procedure);
    active_count = static_cast<unsigned int>(active.size());
    procedure.channel->Release(procedure.AnswerUntil());
    OnEnd(procedure);
}

void OmciService::NoteEnd(const Procedure& procedure, OnuPhase phase, OnuStatus& status) const {
    status.requests += procedure.requests;
    status.resent += procedure.resent;
    status.busy_ms += static_cast<unsigned int>(procedure.last_run_time);
    if (procedure.succeeded) {
        status.phase = phase;
        return;
    }
    const RetryPolicy& retry = ground.retry;
    status.phase = OnuPhase::kFailed;
    status.failure = procedure.failure;
    status.given_up = retry.attempts != 0 && status.attempts >= retry.attempts;
    status.due = ground.now + PauseAfter(status.attempts, retry);
}

void OmciService::Tell(ModuleType service) const {
    if (ground.work_queued[service].exchange(true)) return;
    char nothing = 0;
    if (onu_mng_module_send_msg(mod_type, MessageFor(kMsgWork, service), 0, 0, &nothing, 1) != ONU_MNG_OK)
        ground.work_queued[service] = false;
}

bool OmciService::Drain(unsigned int seconds) {
    char nothing = 0;
    return onu_mng_module_send_msg(kHostModule, MessageFor(kMsgBarrier, static_cast<ModuleType>(mod_type)), 0,
                                   0, &nothing, 1) == ONU_MNG_OK &&
           drained.TryWait(seconds) == 0;
}

} // namespace olt_host
