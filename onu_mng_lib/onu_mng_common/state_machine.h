/// Per-ONU state machines under supervision.
///
/// A procedure against one ONU is written as a set of states, classes derived from `ServiceState`. A
/// `StateContext` holds one object of each state and runs one ONU at a time through them: `Alloc` takes the
/// context for an ONU, `Handle` hands messages to the current state, and the machine releases itself when a
/// state gives no successor. The supervision task of `StateContextManager` ends contexts that stay too long
/// in a state.
///
/// Transition rules. After every message but a notification the current state names its successor
/// (`GetNextState`) and says whether that runs at once with the same message (`IsAutoNextState`):
///
/// | message              | current state             | what runs               | result                       |
/// |----------------------|---------------------------|-------------------------|------------------------------|
/// | DELAY_TERMINATE 1-6  | any                       | nothing, only counted   | 0                            |
/// | IMMEDIATE_TERMINATE  | any                       | nothing                 | refused                      |
/// | any other            | any but FAIL, terminating | nothing                 | refused                      |
/// | OPERATE              | otherwise                 | `Operate`               | its result; refused when it  |
/// |                      |                           |                         | succeeded while a            |
/// |                      |                           |                         | termination arrived (but in  |
/// |                      |                           |                         | FAIL)                        |
/// | DELAY_TERMINATE 7    | FAIL                      | `Operate`               | its result                   |
/// | NOTIFY               | otherwise                 | `Notify`, no transition | its result                   |
/// | an invalid kind      | otherwise                 | nothing, no transition  | refused                      |
///
/// A successor of 0 releases the context; any other becomes the current state, registered or not.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_STATE_MACHINE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_STATE_MACHINE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/iterator.h"
#include "onu_mng_lib/onu_mng_common/runable.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"

class StateContext;

/// The kinds of message to a state machine; any other value is refused.
enum StateMsgType : unsigned int {
    STATE_MSG_OPERATE = 0,
    STATE_MSG_NOTIFY = 1,
    STATE_MSG_DELAY_TERMINATE = 2,
    STATE_MSG_IMMEDIATE_TERMINATE = 3,
};

/// The reserved state ids; clients use further ones up to `STATE_MAX`. INIT, SUCC and FAIL are registered in
/// every context before its first `Alloc`.
inline constexpr unsigned int STATE_IDLE = 0; ///< not running
inline constexpr unsigned int STATE_INIT = 1; ///< entered at allocation
inline constexpr unsigned int STATE_SUCC = 2;
inline constexpr unsigned int STATE_FAIL = 3; ///< the only state that runs while a termination is pending
inline constexpr unsigned int STATE_MAX = 254;

/// One state of a procedure. An object belongs to one context, which deletes it.
///
/// The hooks run in the task that handed the message to the context (a client's, or the supervision task) and
/// without the context's lock. They do not destroy the context they run for. If a hook throws in the supervision
/// task, the context is tried again in the next round (one level-13 line).
class ServiceState {
public:
    static constexpr unsigned int kDefaultMaxRunTime = 300; ///< seconds

    /// `max_run_time` is in seconds; what is beyond 32 bits counts as their most.
    explicit ServiceState(unsigned int state_id = STATE_IDLE,
                          unsigned long max_run_time = kDefaultMaxRunTime);
    virtual ~ServiceState() = default;
    ServiceState(const ServiceState&) = delete;
    ServiceState& operator=(const ServiceState&) = delete;

    /// The state's work for an ordinary message, or for the termination request that reached it; `p_msg` may
    /// be null for the latter. The base version returns 0.
    /// @return 0, or a failure code.
    virtual unsigned int Operate(StateContext* p_context, char* p_msg, unsigned int len);

    /// The state's handling of a notification. The base version takes none and returns 0x8000025c.
    virtual unsigned int Notify(StateContext* p_context, char* p_msg, unsigned int len);

    /// The id of the successor, asked after `ret` was set; 0 releases the context. The base version gives 0.
    virtual unsigned int GetNextState();

    /// Whether the successor runs at once with the same message. The base version: after a failure only.
    virtual bool IsAutoNextState();

    /// Runs one message through this state and moves the context on.
    /// @return the result of the hook; 0x8000025a for a null context (one level-13 line), an invalid
    ///         `msg_type`, and for every message that a termination keeps from the hook.
    unsigned int Handle(StateContext* p_context, StateMsgType msg_type, char* p_msg, unsigned int len);

    /// Calls the hook for a kind of message; stamps `state_clock` for all but notifications.
    /// @return the hook's result; 0x8000025a for an invalid `msg_type`.
    unsigned int Operate(StateContext* p_context, StateMsgType msg_type, char* p_msg, unsigned int len);

    /// Asks for the successor and moves the context there; nothing for notifications and invalid kinds.
    void ChangeState(StateContext* p_context, StateMsgType msg_type);

    const unsigned int state_id;
    std::atomic<unsigned int> ret{0}; ///< the result of the last handling
    const unsigned int max_run_time;  ///< how long a context may stay in this state, in seconds
    Clock state_clock;                ///< when the state last received a message that was no notification

private:
    friend class StateContext;

    unsigned int HandleJob(StateContext& context, unsigned int job, StateMsgType msg_type, char* p_msg,
                           unsigned int len);
    unsigned int RunHook(StateContext& context, StateMsgType msg_type, char* p_msg, unsigned int len);
    /// Whether a release keeps the context's `last_ret`, which then tells how the job ended.
    enum class LastResult { kForget, kKeep };

    void ChangeStateOfJob(StateContext& context, unsigned int job, StateMsgType msg_type, LastResult last);
};

/// The states of one context by id. It owns them. No lock: filled before the context is first allocated.
class StateRegister {
public:
    StateRegister() = default;
    ~StateRegister();
    StateRegister(const StateRegister&) = delete;
    StateRegister& operator=(const StateRegister&) = delete;

    /// Takes a state over under its id. An id that is taken keeps its first state, and the caller keeps this
    /// one.
    /// @return 0; 0x800001f5 for null and when memory is short: the caller then keeps the state.
    unsigned int RegisterStateObj(ServiceState* state);

    /// The state with an id; null when there is none.
    ServiceState* GetStateObj(unsigned int state_id) const;

private:
    std::map<unsigned int, ServiceState*> state_map;
};

/// One per-ONU state machine, reused from procedure to procedure.
///
/// A client derives one class per service, registers the states and keeps the objects. `lock` guards every
/// field; fields that others read without it are atomics. Messages of several tasks to one context are not
/// serialised: the client hands the messages of one ONU in from one task, beside the supervision.
///
/// A context may be destroyed while the pool runs if it is idle and no other task uses it.
class StateContext : public AggregateObject {
public:
    static constexpr unsigned int kUnregisteredId = 255;
    static constexpr unsigned short kNoOnu = 0xFFFF;
    /// Delayed termination requests that are only counted; the next one reaches the state.
    static constexpr unsigned int kAbsorbedStops = 6;

    /// Joins the pool, which gives the context its id; waits for a supervision round in progress, except in a
    /// hook that runs in that round.
    explicit StateContext(unsigned int service_type = 0);
    /// Leaves the pool and deletes the states; waits while another task hands this context a termination.
    ~StateContext() override;
    StateContext(const StateContext&) = delete;
    StateContext& operator=(const StateContext&) = delete;

    // The pool's lock is taken before a context's: these two hooks neither construct nor destroy contexts nor
    // ask the pool for anything.

    /// Whether a message belongs to this context's current job; called under `lock`. The base version: false.
    virtual bool Match(char* p_msg, unsigned int len);
    /// Called under `lock` when the context is allocated, with the message that started it.
    virtual void Occupy(char* p_msg, unsigned int len);

    /// Takes a state over; before the first `Alloc`.
    /// @return 0, also for an id that is taken (see `StateRegister`); 0x800001f5 for null, an id above 254
    ///         and when memory is short, after one level-13 line; the caller then keeps the state.
    unsigned int RegisterState(ServiceState* state);

    /// Takes this context for an ONU and enters INIT. The time in INIT counts from that state's last stamp.
    /// @return 0; 0x8000025d when the context is in use; 0x8000025a without a register or without INIT, SUCC
    ///         and FAIL in it (one level-13 line each).
    unsigned int Alloc(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len);

    /// What `Alloc` does under `lock` once its checks have passed.
    void Occupy(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len);

    /// Whether this context belongs to the ONU (running for it, or with `check_occupied` false also last used
    /// for it) and, unless `p_msg` is null or `len` 0, the `Match` hook accepts the message.
    bool Match(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len, bool check_occupied);

    /// Returns the context to idle; the caller holds `lock`. With `reset_onu` the last ONU is forgotten.
    void Release(bool reset_onu);

    /// Releases the context if it runs for the ONU and the `Match` hook accepts the message, null included.
    /// @return 0; 0x80000259 otherwise.
    unsigned int Release(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len,
                         bool reset_onu);

    /// Moves to a state; 0 releases the context. On an idle context only `auto_next` is cleared.
    void ChangeState(unsigned int next_state, bool auto_next);

    /// Hands a message to the current state, and on to its successors as long as they advance by themselves
    /// (at most 65535 of them, and 254 while a termination is pending, which then releases the context; one
    /// level-13 line).
    ///
    /// Blocks for as long as the hooks do. Termination requests may have a null `p_msg`.
    /// @return the result of the last state that ran; 0 for a request that was only counted; 0x8000025a for a
    ///         null message of another kind; 0x80000259 for an idle context and for a current state that is
    ///         not registered (one level-13 line each).
    unsigned int Handle(StateMsgType msg_type, char* p_msg, unsigned int len);

    /// True when the current state has lasted longer than its limit; false when idle or in a state that is
    /// not registered.
    bool IsOverTime();
    /// Milliseconds since the current state's last message, and its limit in milliseconds (modulo 2^32); 0
    /// when idle or in a state that is not registered.
    unsigned long long GetStateTime();
    unsigned long long GetStateMaxRunTime();

    const unsigned int service_type;
    std::atomic<unsigned int> context_id{kUnregisteredId};
    std::atomic<StateRegister*> p_state_register{nullptr};
    std::atomic<unsigned int> cur_state{STATE_IDLE}; ///< STATE_IDLE exactly while not `occupied`
    std::atomic<unsigned short> pon_no{kNoOnu};      ///< of the ONU that has, or last had, the context
    std::atomic<unsigned short> onu_id{kNoOnu};
    std::atomic<bool> occupied{false};
    std::atomic<bool> auto_next{false};
    std::atomic<unsigned char> stop_times{0}; ///< counted termination requests; not 0: terminating
    std::atomic<unsigned int> last_ret{0};    ///< of the last state run by `Handle`
    std::atomic<unsigned long long> last_run_time{
        0}; ///< milliseconds from the last `Occupy` to its `Release`
    ReadWriteLock lock;
    Clock occupy_clock;

private:
    friend class ServiceState;
    friend class StateContextManager;

    unsigned int HandleOfJob(unsigned int this_job, StateMsgType msg_type, char* p_msg, unsigned int len);
    ServiceState* AdmitMessage(StateMsgType msg_type, unsigned int of_job, unsigned int& ret);
    bool StoreResult(unsigned int of_job, ServiceState& state, unsigned int result);
    void ChangeStateOfJob(unsigned int of_job, unsigned int next_state, bool next_is_auto,
                          ServiceState::LastResult last);
    unsigned int CutChain(unsigned int of_job, unsigned int ret);
    ServiceState* CurrentState() const;
    bool HasBasicStates() const;
    bool IsFor(unsigned short pon, unsigned short onu) const { return pon_no == pon && onu_id == onu; }

    /// The number of allocations so far. A task whose hook outlasts its job, because the supervision released
    /// the context meanwhile, is told apart by it from the tasks of the next job.
    std::atomic<unsigned int> job{0};
    /// The terminations that the pool is handing in, which the destructor waits for.
    std::atomic<unsigned int> pins{0};
};

/// All state contexts of the process, and the supervision task.
///
/// Every period the task sends a delayed termination to each context whose state has lasted longer than its
/// limit or that is terminating already. The seventh such request reaches the state, so a silent context is
/// forced on 6 periods after the round that found it over time, 6 to 7 after its limit.
class StateContextManager : public Thread, public Aggregate {
public:
    static constexpr unsigned int kDefaultInterval = 30; ///< seconds

    static StateContextManager* GetInstance();

    /// Sets the period to its default and starts the supervision task "OmciUpgExcDetect", if it does not run.
    /// @return 0; 0x800001f5, after one level-13 line, when the task cannot be initialised or started.
    unsigned int Init(unsigned int priority);

    /// Adds a context and gives it the next id, from 1 on, never used again; called by the context's
    /// constructor. Waits for a supervision round in progress, except in a hook that runs in that round.
    /// `context_id` is left alone for null and when memory is short (one level-13 line): the context then works
    /// without supervision.
    void RegisterContext(StateContext* context, unsigned int& context_id);

    /// Takes a context out, if it is there; called by the context's destructor. Waits while another task hands
    /// the context a termination, but not for the rest of a supervision round.
    void UnregisterContext(StateContext* context);

    /// Sends one delayed termination to the context with an id, in the caller's task.
    /// @return the context's answer; 0x8000025a when there is none with the id.
    unsigned int Terminate(unsigned int context_id);

    /// The supervision loop; does not return.
    void Run() override;

    /// Ends the supervision task and returns when it has ended.
    void EndSupervision() { EndTask(); }

    /// Lets go of the contexts that the calling task hands terminations to. For a task that ends the process in
    /// one of their hooks: it does not come back.
    static void DropPins();

    /// An item stays valid only as long as its owner keeps it.
    AggregateObject* GetItem(unsigned int index) override;
    unsigned int GetSize() const override;

    /// Calls `visit(StateContext&)` for every context under the list's lock: none is destroyed meanwhile. The
    /// visitor is quick, and neither constructs nor destroys contexts nor asks the pool.
    template <typename Visit>
    void ForEachContext(Visit visit) {
        LockGuard guard(list_lock);
        for (StateContext* context : context_list)
            visit(*context);
    }

    /// The period in seconds, read anew for every round. One that is not a positive 32-bit number of
    /// milliseconds is kept as it is and slept as one second.
    std::atomic<unsigned int> interval_run_time{kDefaultInterval};

private:
    template <typename T>
    friend class Immortal;
    class Pin;

    StateContextManager();
    ~StateContextManager() override = default;

    bool AddContext(StateContext& context);
    StateContext* Find(unsigned int context_id, std::optional<Pin>& pin);
    StateContext* NextOverTime(std::optional<Pin>& pin, unsigned int& of_job);
    void RunRound();

    // Locks are taken in the order `lock`, `list_lock`, a context's.
    ReadWriteLock lock;              ///< held for a whole round, hooks included, and to add a context
    mutable ReadWriteLock list_lock; ///< guards the rest; no hook runs under it
    unsigned int last_context_id = 0;
    std::vector<StateContext*> context_list;
    std::size_t round_position = 0; ///< in `context_list`: the context that the round looks at next
};

#endif
