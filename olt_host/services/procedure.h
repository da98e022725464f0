/// Procedures: state machines that ask an ONU one thing after the other.
#ifndef OLT_HOST_SERVICES_PROCEDURE_H
#define OLT_HOST_SERVICES_PROCEDURE_H

#include <atomic>
#include <memory>

#include "olt_host/omci/frame.h"
#include "olt_host/services/omci_channel.h"
#include "olt_host/services/onu_table.h"
#include "olt_host/services/service_ground.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"

namespace olt_host {

/// One run of a service against one ONU: a state context, and the request it has in flight.
///
/// The service's task has a procedure to itself but for the supervision, which may end it at any moment and
/// meanwhile touches only what `StateContext` guards: no hook that the supervision runs reads or writes the
/// fields here. The service finds out by `HasEnded`.
///
/// INIT, SUCC and FAIL are there from the start; a derived class adds a `Step` for each thing it asks.
class Procedure : public StateContext {
public:
    /// `service_ground` outlives the procedure.
    Procedure(unsigned int service, const ServiceGround& service_ground);

    /// Starts the procedure, which is not under way, for an ONU whose channel the caller has acquired.
    /// @return false when the framework refuses.
    bool Begin(unsigned int onu_index, OnuKey onu, OmciChannel& onu_channel);
    /// Hands in the answer to the request in flight.
    void Take(char* frame, unsigned int size) { Handle(STATE_MSG_OPERATE, frame, size); }
    /// Lets time go on: repeats the request when it is due, or goes on to FAIL when a termination is pending.
    void Tend();

    /// Whether the run is over and everything about it is written.
    bool HasEnded() {
        if (occupied) return false;
        const LockGuard guard(lock); // whoever releases the context writes `occupied` before the rest
        return !occupied;
    }

    /// The tick until which an answer may come that nothing waits for any more; 0 when none can.
    Tick AnswerUntil() const { return is_waiting ? due : 0; }

    /// Whether a frame (40 bytes or more) answers the request in flight.
    bool Match(char* frame, unsigned int size) override;
    using StateContext::Match;
    void Occupy(char* message, unsigned int size) override;
    using StateContext::Occupy;

    // For the states, in the service's task.

    bool IsWaiting() const { return is_waiting; }
    void Send(const OmciFrame& request);
    void Resend();
    void Answered() { is_waiting = false; }
    void Succeed() { succeeded = true; }
    /// Notes why, and gives the state to go to.
    unsigned int Fail(OnuFailure why) {
        failure = why;
        return STATE_FAIL;
    }

    // For the service's task.

    unsigned int index = 0;         ///< of the ONU
    OmciChannel* channel = nullptr; ///< held while the procedure runs
    bool succeeded = false;
    OnuFailure failure = OnuFailure::kNoAnswer;
    unsigned int requests = 0;
    unsigned int resent = 0;

protected:
    /// Takes a state over; `name` is for charts. Throws std::bad_alloc.
    void AddState(std::unique_ptr<ServiceState> state, const char* name);
    /// Prepares a new run and gives the state after INIT.
    virtual unsigned int Prepare() = 0;

    const ServiceGround& ground;

private:
    class Start;
    class Success;

    OmciFrame in_flight; ///< the last request
    bool is_waiting = false;
    unsigned int sends = 0;
    Tick due = 0;
};

/// A state that asks the ONU something when it is entered and moves on when the answer has come.
///
/// Entering runs `Operate`, and only that stamps the time from which the supervision counts: states that
/// merely wait for the next message would count from their last use.
template <typename P>
class Step : public ServiceState {
public:
    using AskHook = OmciFrame (P::*)() const;
    /// Takes the answer and gives the next state: this one, to ask again; another one; SUCC, or FAIL.
    using TakeHook = unsigned int (P::*)(const OmciFrame& answer);

    Step(unsigned int id, unsigned long limit_s, AskHook ask_hook, TakeHook take_hook)
        : ServiceState(id, limit_s), ask(ask_hook), take(take_hook), next(id) {}

    using ServiceState::Operate;
    unsigned int Operate(StateContext* context, char* message, unsigned int size) override {
        P& procedure = static_cast<P&>(*context);
        if (!procedure.IsWaiting()) {
            procedure.Send((procedure.*ask)());
            moves_on = false;
            return ONU_MNG_OK;
        }
        OmciFrame answer;
        OmciFrame::Parse(message, size, kInCaptures, answer); // `Match` let it through
        procedure.Answered();
        next = (procedure.*take)(answer);
        moves_on = true;
        return ONU_MNG_OK;
    }

    /// Time went on without an answer.
    unsigned int Notify(StateContext* context, char*, unsigned int) override {
        static_cast<P*>(context)->Resend();
        return ONU_MNG_OK;
    }

    unsigned int GetNextState() override {
        if (ret != ONU_MNG_OK) return STATE_FAIL;
        return moves_on ? next.load() : state_id;
    }
    bool IsAutoNextState() override { return ret != ONU_MNG_OK || moves_on; }

private:
    const AskHook ask;
    const TakeHook take;
    std::atomic<unsigned int> next;
    std::atomic<bool> moves_on{false}; ///< an answer came, so the next state runs at once
};

} // namespace olt_host

#endif
