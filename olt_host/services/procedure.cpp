#include "olt_host/services/procedure.h"

#include <new>

namespace olt_host {

/// INIT: goes to the first step at once.
class Procedure::Start : public ServiceState {
public:
    explicit Start(unsigned long limit_s) : ServiceState(STATE_INIT, limit_s) {}

    using ServiceState::Operate;
    unsigned int Operate(StateContext* context, char*, unsigned int) override {
        first = static_cast<Procedure*>(context)->Prepare();
        return ONU_MNG_OK;
    }
    unsigned int GetNextState() override { return ret == ONU_MNG_OK ? first.load() : STATE_FAIL; }
    bool IsAutoNextState() override { return true; }

private:
    std::atomic<unsigned int> first{STATE_FAIL};
};

/// SUCC: entered with the last answer. The supervision never runs this hook, because a terminated context
/// skips the hooks of all states except FAIL.
class Procedure::Success : public ServiceState {
public:
    Success() : ServiceState(STATE_SUCC) {}

    using ServiceState::Operate;
    unsigned int Operate(StateContext* context, char*, unsigned int) override {
        static_cast<Procedure*>(context)->Succeed();
        return ONU_MNG_OK;
    }
};

Procedure::Procedure(unsigned int service, const ServiceGround& service_ground)
    : StateContext(service), ground(service_ground) {
    AddState(std::make_unique<Start>(ground.times.limit_s), "INIT");
    AddState(std::make_unique<Success>(), "SUCC");
    AddState(std::make_unique<ServiceState>(STATE_FAIL), "FAIL"); // does nothing and frees the context
}

void Procedure::AddState(std::unique_ptr<ServiceState> state, const char* name) {
    const unsigned int result = ground.chart == nullptr
                                    ? RegisterState(state.get())
                                    : ground.chart->RegisterState(*this, state.get(), name);
    if (result != ONU_MNG_OK) throw std::bad_alloc();
    state.release();
}

bool Procedure::Begin(unsigned int onu_index, OnuKey onu, OmciChannel& onu_channel) {
    index = onu_index;
    channel = &onu_channel;
    succeeded = false;
    failure = OnuFailure::kNoAnswer;
    requests = 0;
    resent = 0;
    is_waiting = false;
    char start = 0;
    if (Alloc(onu.pon_no, onu.onu_id, &start, sizeof start) != ONU_MNG_OK) return false;
    Handle(STATE_MSG_OPERATE, &start, sizeof start);
    return true;
}

// Without this, the time in INIT would count from the previous run.
void Procedure::Occupy(char*, unsigned int) {
    p_state_register.load()->GetStateObj(STATE_INIT)->state_clock.Now();
}

void Procedure::Tend() {
    char time = 0;
    if (stop_times != 0) {
        Handle(STATE_MSG_OPERATE, &time, sizeof time);
    } else if (is_waiting && sends < ground.times.sends && ground.now >= due) {
        Handle(STATE_MSG_NOTIFY, &time, sizeof time);
    }
}

bool Procedure::Match(char* frame, unsigned int size) {
    OmciFrame answer;
    if (OmciFrame::Parse(frame, size, kInCaptures, answer) != FrameFault::kNone) return false;
    return is_waiting && answer.Kind() == FrameKind::kAnswer && answer.Tid() == in_flight.Tid() &&
           answer.Type() == in_flight.Type() && answer.Me() == in_flight.Me();
}

void Procedure::Send(const OmciFrame& request) {
    in_flight = request;
    in_flight.SetTid(channel->NextTid());
    in_flight.Seal();
    is_waiting = true;
    sends = 0;
    ++requests;
    Resend();
}

void Procedure::Resend() {
    if (sends > 0) ++resent;
    ++sends;
    due = ground.now + ground.times.timeout;
    ground.link.Send({pon_no, onu_id}, in_flight);
}

} // namespace olt_host
