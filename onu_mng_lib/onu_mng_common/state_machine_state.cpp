#include <algorithm>
#include <limits>
#include <new>

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

unsigned int Cut(unsigned long time_limit) {
    constexpr unsigned long kMost = std::numeric_limits<unsigned int>::max();
    return static_cast<unsigned int>(std::min(time_limit, kMost));
}

} // namespace

ServiceState::ServiceState(unsigned int id, unsigned long time_limit)
    : state_id(id), max_run_time(Cut(time_limit)) {}

unsigned int ServiceState::Operate(StateContext*, char*, unsigned int) {
    return ONU_MNG_OK;
}

unsigned int ServiceState::Notify(StateContext*, char*, unsigned int) {
    return ONU_MNG_STATE_NO_NOTIFY;
}

unsigned int ServiceState::GetNextState() {
    return STATE_IDLE;
}

bool ServiceState::IsAutoNextState() {
    return ret != ONU_MNG_OK;
}

unsigned int ServiceState::Operate(StateContext* p_context, StateMsgType msg_type, char* p_msg,
                                   unsigned int len) {
    switch (msg_type) {
    case STATE_MSG_NOTIFY:
        return Notify(p_context, p_msg, len);
    case STATE_MSG_OPERATE:
    case STATE_MSG_DELAY_TERMINATE:
    case STATE_MSG_IMMEDIATE_TERMINATE:
        state_clock.Now();
        return Operate(p_context, p_msg, len);
    }
    return ONU_MNG_STATE_REFUSED;
}

unsigned int ServiceState::Handle(StateContext* p_context, StateMsgType msg_type, char* p_msg,
                                  unsigned int len) {
    if (p_context != nullptr) return HandleJob(*p_context, p_context->job, msg_type, p_msg, len);
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "p_context is NULL\r\n");
    return ONU_MNG_STATE_REFUSED;
}

unsigned int ServiceState::HandleJob(StateContext& context, unsigned int job, StateMsgType msg_type,
                                     char* p_msg, unsigned int len) {
    const unsigned int result = RunHook(context, msg_type, p_msg, len);
    if (context.StoreResult(job, *this, result)) ChangeStateOfJob(context, job, msg_type, LastResult::kKeep);
    return result;
}

/// Runs the hook and returns its result. If a termination is pending, refuses the message, or the success of
/// the hook, according to the transition rules.
unsigned int ServiceState::RunHook(StateContext& context, StateMsgType msg_type, char* p_msg,
                                   unsigned int len) {
    const unsigned int log_module = onu_mng_system_get_log_module();
    const int id = static_cast<int>(state_id);
    if (msg_type == STATE_MSG_IMMEDIATE_TERMINATE) {
        ulogPrintf(log_module, ONU_MNG_LOG_TRACE,
                   "service state terminates in ServiceState::Handle, State %d stops \r\n", id);
        return ONU_MNG_STATE_REFUSED;
    }
    if (context.stop_times != 0 && state_id != STATE_FAIL) {
        ulogPrintf(log_module, ONU_MNG_LOG_ERROR, "State %d stops due to previous termination operation\r\n",
                   id);
        return ONU_MNG_STATE_REFUSED;
    }
    const unsigned int result = Operate(&context, msg_type, p_msg, len);
    if (result != ONU_MNG_OK) {
        if (result != ONU_MNG_STATE_NO_NOTIFY &&
            onu_mng_log_is_trace_onu(context.pon_no, context.onu_id, nullptr, ONU_MNG_LOG_TRACE) == 1)
            ulogPrintf(log_module, ONU_MNG_LOG_TRACE, "(PON:%d, ONU:%d)Handle state %d failed, ret = %x\r\n",
                       context.pon_no.load(), context.onu_id.load(), id, result);
        return result;
    }
    if (msg_type == STATE_MSG_OPERATE && state_id != STATE_FAIL && context.stop_times != 0) {
        ulogPrintf(log_module, ONU_MNG_LOG_ERROR,
                   "State %d result trans to failure due to termination operation\r\n", id);
        return ONU_MNG_STATE_REFUSED;
    }
    return ONU_MNG_OK;
}

void ServiceState::ChangeState(StateContext* p_context, StateMsgType msg_type) {
    if (p_context != nullptr)
        return ChangeStateOfJob(*p_context, p_context->job, msg_type, LastResult::kForget);
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "p_context is NULL \r\n");
}

void ServiceState::ChangeStateOfJob(StateContext& context, unsigned int job, StateMsgType msg_type,
                                    LastResult last) {
    if (msg_type == STATE_MSG_NOTIFY || msg_type > STATE_MSG_IMMEDIATE_TERMINATE) return;
    const unsigned int next_state = GetNextState();
    context.ChangeStateOfJob(job, next_state, IsAutoNextState(), last);
}

namespace {

/// Returns the position of the first state whose id is not below `id`.
template <typename States>
auto PlaceOf(States& states, unsigned int id) {
    return std::lower_bound(
        states.begin(), states.end(), id,
        [](const ServiceState* state, unsigned int wanted) { return state->state_id < wanted; });
}

} // namespace

StateRegister::~StateRegister() {
    for (ServiceState* state : states)
        delete state;
}

unsigned int StateRegister::RegisterStateObj(ServiceState* state) {
    if (state == nullptr) return ONU_MNG_FAILURE;
    if (GetStateObj(state->state_id) != nullptr) return ONU_MNG_OK;
    try {
        states.insert(PlaceOf(states, state->state_id), state);
    } catch (const std::bad_alloc&) {
        return ONU_MNG_FAILURE;
    }
    return ONU_MNG_OK;
}

ServiceState* StateRegister::GetStateObj(unsigned int state_id) const {
    const auto place = PlaceOf(states, state_id);
    return place != states.end() && (*place)->state_id == state_id ? *place : nullptr;
}
