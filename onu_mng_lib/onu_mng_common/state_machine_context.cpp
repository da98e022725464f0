#include <algorithm>
#include <new>

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kMsPerSecond = 1000;
/// The maximum number of states that run for one message. Only states that name each other as successors in a
/// loop reach it. A pending termination lowers it to STATE_MAX, which still lets every state of a procedure
/// run once.
constexpr unsigned int kMaxSteps = 65535;
constexpr unsigned int kMaxStepsToEnd = STATE_MAX;

bool IsTermination(StateMsgType msg_type) {
    return msg_type == STATE_MSG_DELAY_TERMINATE || msg_type == STATE_MSG_IMMEDIATE_TERMINATE;
}

void LogTermination(StateMsgType msg_type) {
    if (!IsTermination(msg_type)) return;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_TRACE,
               "service state %s terminates in StateContext::Handle \r\n",
               msg_type == STATE_MSG_DELAY_TERMINATE ? "delay" : "immediate");
}

void TraceJob(const char* what, int pon_no, int onu_id) {
    if (onu_mng_log_is_trace_onu(static_cast<unsigned short>(pon_no), static_cast<unsigned short>(onu_id),
                                 nullptr, ONU_MNG_LOG_TRACE) != 1)
        return;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_TRACE,
               "(PON:%d, ONU:%d)%s state for pon_no %d onu_id %d succeeded\r\n", pon_no, onu_id, what, pon_no,
               onu_id);
}

} // namespace

StateContext::StateContext(unsigned int type) : service_type(type) {
    unsigned int id = kUnregisteredId;
    StateContextManager::GetInstance()->RegisterContext(this, id);
}

// The task must not be deleted in the middle of this destructor: the pool would keep a dangling pointer.
StateContext::~StateContext() {
    bep_taskSafeEx();
    StateContextManager::GetInstance()->UnregisterContext(this);
    delete p_state_register.load();
    bep_taskUnsafeEx();
}

bool StateContext::Match(char*, unsigned int) {
    return false;
}

void StateContext::Occupy(char*, unsigned int) {}

unsigned int StateContext::RegisterState(ServiceState* state) {
    if (state == nullptr) return LogFailure("state obj to be registered is NULL\r\n");
    if (p_state_register == nullptr) p_state_register = new (std::nothrow) StateRegister;
    if (state->state_id > STATE_MAX) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "state %d to be registered is invalid\r\n", static_cast<int>(state->state_id));
        return ONU_MNG_FAILURE;
    }
    StateRegister* states = p_state_register;
    if (states != nullptr && states->RegisterStateObj(state) == ONU_MNG_OK) return ONU_MNG_OK;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "no memory to register state %d\r\n",
               static_cast<int>(state->state_id));
    return ONU_MNG_FAILURE;
}

bool StateContext::HasBasicStates() const {
    const StateRegister& states = *p_state_register;
    return states.GetStateObj(STATE_INIT) != nullptr && states.GetStateObj(STATE_SUCC) != nullptr &&
           states.GetStateObj(STATE_FAIL) != nullptr;
}

unsigned int StateContext::Alloc(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len) {
    const char* missing = nullptr;
    {
        LockGuard guard(lock);
        if (cur_state != STATE_IDLE || occupied) return ONU_MNG_STATE_BUSY;
        if (p_state_register == nullptr)
            missing = "state register not initialized";
        else if (!HasBasicStates())
            missing = "INIT, SUCC or FAIL state obj not registered";
        else
            Occupy(pon, onu, p_msg, len);
    }
    if (missing == nullptr) {
        TraceJob("Alloc", pon, onu);
        return ONU_MNG_OK;
    }
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "(PON:%d, ONU:%d)%s\r\n", pon, onu,
               missing);
    return ONU_MNG_STATE_REFUSED;
}

void StateContext::Occupy(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len) {
    ++job;
    pon_no = pon;
    onu_id = onu;
    auto_next = false;
    stop_times = 0;
    last_ret = ONU_MNG_OK;
    cur_state = STATE_INIT;
    occupied = true;
    occupy_clock.Now();
    Occupy(p_msg, len);
}

bool StateContext::Match(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len,
                         bool check_occupied) {
    LockGuard guard(lock);
    if (!IsFor(pon, onu) || (check_occupied && !occupied)) return false;
    return p_msg == nullptr || len == 0 || Match(p_msg, len);
}

void StateContext::Release(bool reset_onu) {
    TraceJob("Release", pon_no, onu_id);
    if (reset_onu) {
        pon_no = kNoOnu;
        onu_id = kNoOnu;
    }
    last_run_time = occupy_clock.Diff(CLOCK_PRECISION_MS); // before `occupied` shows that the run has ended
    cur_state = STATE_IDLE;
    auto_next = false;
    stop_times = 0;
    last_ret = ONU_MNG_OK;
    occupied = false;
}

unsigned int StateContext::Release(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len,
                                   bool reset_onu) {
    LockGuard guard(lock);
    if (!IsFor(pon, onu) || !occupied || !Match(p_msg, len)) return ONU_MNG_STATE_UNMATCHED;
    Release(reset_onu);
    return ONU_MNG_OK;
}

void StateContext::ChangeState(unsigned int next_state, bool next_is_auto) {
    ChangeStateOfJob(job, next_state, next_is_auto, ServiceState::LastResult::kForget);
}

/// Stores the result of a state. @return false if the next job has begun: the state now belongs to that job.
/// In the usual case the same result is stored already, and no lock is needed: `job` is read after the
/// results, so the results read were those of this job.
bool StateContext::StoreResult(unsigned int of_job, ServiceState& state, unsigned int result) {
    if (state.ret == result && last_ret == result) return job == of_job;
    LockGuard guard(lock);
    if (job != of_job) return false;
    state.ret.store(result, std::memory_order_release);
    last_ret.store(result, std::memory_order_release);
    return true;
}

void StateContext::ChangeStateOfJob(unsigned int of_job, unsigned int next_state, bool next_is_auto,
                                    ServiceState::LastResult last) {
    LockGuard guard(lock);
    if (job != of_job) return;
    if (cur_state == STATE_IDLE) {
        auto_next = false;
    } else if (next_state == STATE_IDLE || p_state_register == nullptr) {
        const unsigned int result = last_ret;
        Release(false);
        if (last == ServiceState::LastResult::kKeep) last_ret = result;
    } else {
        cur_state.store(next_state, std::memory_order_release);
        auto_next.store(next_is_auto, std::memory_order_release);
    }
}

unsigned int StateContext::Handle(StateMsgType msg_type, char* p_msg, unsigned int len) {
    return HandleOfJob(job, msg_type, p_msg, len);
}

unsigned int StateContext::HandleOfJob(unsigned int this_job, StateMsgType msg_type, char* p_msg,
                                       unsigned int len) {
    if (p_msg == nullptr && !IsTermination(msg_type))
        return LogFailure("p_msg is NULL in StateContext::Handle \r\n", ONU_MNG_LOG_ERROR,
                          ONU_MNG_STATE_REFUSED);
    unsigned int ret = ONU_MNG_OK;
    for (unsigned int left = kMaxSteps; left > 0; --left) {
        ServiceState* state = AdmitMessage(msg_type, this_job, ret);
        if (state == nullptr) return ret;
        ret = state->HandleJob(*this, this_job, msg_type, p_msg, len);
        if (job != this_job || msg_type == STATE_MSG_NOTIFY || !auto_next) return ret;
        if (stop_times != 0) left = std::min(left, kMaxStepsToEnd);
    }
    return CutChain(this_job, ret);
}

/// Logs states that advance in a loop. If a termination is pending, also ends the job: otherwise the
/// supervision would terminate it again in every period.
unsigned int StateContext::CutChain(unsigned int of_job, unsigned int ret) {
    {
        LockGuard guard(lock);
        if (job == of_job && stop_times != 0) Release(false);
    }
    return LogFailure("states advance without end in StateContext::Handle \r\n", ONU_MNG_LOG_ERROR, ret);
}

/// Returns the state that handles the message. If there is none, returns null and sets `ret` to the result.
ServiceState* StateContext::AdmitMessage(StateMsgType msg_type, unsigned int of_job, unsigned int& ret) {
    const char* failure = nullptr;
    {
        LockGuard guard(lock);
        if (cur_state == STATE_IDLE || job != of_job) {
            failure = "service state object is IDEL in StateContext::Handle \r\n";
        } else {
            LogTermination(msg_type);
            if (msg_type == STATE_MSG_DELAY_TERMINATE && stop_times < kAbsorbedStops) {
                ++stop_times;
                ret = ONU_MNG_OK;
                return nullptr;
            }
            if (ServiceState* state = CurrentState()) return state;
            failure = "service state object is NULL in StateContext::Handle \r\n";
        }
    }
    ret = LogFailure(failure, ONU_MNG_LOG_ERROR, ONU_MNG_STATE_UNMATCHED);
    return nullptr;
}

/// Returns the object of the current state; null if the context is idle or the state is not registered.
ServiceState* StateContext::CurrentState() const {
    const StateRegister* states = p_state_register;
    if (cur_state == STATE_IDLE || states == nullptr) return nullptr;
    return states->GetStateObj(cur_state);
}

bool StateContext::IsOverTime() {
    LockGuard guard(lock);
    const ServiceState* state = CurrentState();
    if (state == nullptr) return false;
    return Clock() - state->state_clock > static_cast<long long>(state->max_run_time) * kMsPerSecond;
}

unsigned long long StateContext::GetStateTime() {
    LockGuard guard(lock);
    const ServiceState* state = CurrentState();
    return state == nullptr ? 0 : static_cast<unsigned long long>(Clock() - state->state_clock);
}

unsigned long long StateContext::GetStateMaxRunTime() {
    LockGuard guard(lock);
    const ServiceState* state = CurrentState();
    return state == nullptr ? 0 : state->max_run_time * kMsPerSecond;
}
