/// Procedures: state machines that send requests to an ONU one after the other.
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

/// One run of a service with one ONU: a state context with the request in flight.
///
/// Only the service's task uses a procedure, except for the supervision, which may end it at any time. The
/// hooks that the supervision runs do not access the fields of this class, so these need no lock. The service
/// finds out through `HasEnded`.
///
/// The constructor adds INIT, SUCC and FAIL. A derived class adds a `Step` for each kind of request.
class Procedure : public StateContext {
public:
    /// `service_ground` must outlive the procedure.
    Procedure(unsigned int service, const ServiceGround& service_ground);

    /// Starts the procedure for an ONU. It must not be running, and the caller must hold the ONU's channel.
    /// @return false if the framework refuses.
    bool Begin(unsigned int onu_index, OnuKey onu, OmciChannel& onu_channel);
    /// Handles the answer to the request in flight.
    void Take(char* frame, unsigned int size) { Handle(STATE_MSG_OPERATE, frame, size); }
    /// Sends the request again if it is due, or goes to FAIL if a termination is pending. The service calls
    /// it at every tick.
    void Tend();

    /// Returns whether the procedure has ended and all its results are visible to the caller.
    bool HasEnded() {
        if (occupied) return false;
        const LockGuard guard(lock); // the task that releases the context holds it until all is written
        return !occupied;
    }

    /// Returns the tick until which a late answer to the last request may arrive; 0 if none is outstanding.
    Tick AnswerUntil() const { return is_waiting ? due : 0; }

    /// Returns whether a frame (40 bytes or more) answers the request in flight.
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
    /// Records the reason and returns the next state, FAIL.
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
    /// Adds a state. `name` appears in charts. Throws std::bad_alloc.
    void AddState(std::unique_ptr<ServiceState> state, const char* name);
    /// Prepares a new run and returns the state after INIT.
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

/// A state that sends a request when it is entered and moves on when the answer arrives.
///
/// The request is sent in `Operate` on entry, because only `Operate` sets the start time for the supervision.
/// A state that waited without it would be timed from its previous use.
template <typename P>
class Step : public ServiceState {
public:
    using AskHook = OmciFrame (P::*)() const;
    /// Handles the answer and returns the next state: this state again (for a further request), another one,
    /// SUCC or FAIL.
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
        OmciFrame::Parse(message, size, kInCaptures, answer); // cannot fail: `Match` has parsed it before
        procedure.Answered();
        next = (procedure.*take)(answer);
        moves_on = true;
        return ONU_MNG_OK;
    }

    /// Sends the request again, because no answer has arrived.
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
    std::atomic<bool> moves_on{false}; ///< an answer has arrived, so the next state runs at once
};

} // namespace olt_host

#endif
