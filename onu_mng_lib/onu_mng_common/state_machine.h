/// Per-ONU state machines under supervision.
///
/// A procedure against one ONU is a set of states: classes derived from `ServiceState`. A `StateContext`
/// holds one object of each state and takes one ONU at a time through them. `Alloc` reserves the context for
/// an ONU, and `Handle` passes messages to the current state. If a state names no successor, the context is
/// released. The supervision task of `StateContextManager` ends contexts that stay in a state for too long.
///
/// Transition rules. After every message except a notification and a request that is only counted, the
/// current state names its successor (`GetNextState`) and says whether the successor runs at once with the
/// same message (`IsAutoNextState`). "Refused" means the result 0x8000025a.
///
/// | message              | current state             | what runs               | result                       |
/// |----------------------|---------------------------|-------------------------|------------------------------|
/// | DELAY_TERMINATE 1-6  | any                       | nothing, only counted   | 0                            |
/// | IMMEDIATE_TERMINATE  | any                       | nothing                 | refused                      |
/// | any other            | any but FAIL, terminating | nothing                 | refused                      |
/// | OPERATE              | otherwise                 | `Operate`               | its result; refused if it    |
/// |                      |                           |                         | succeeded while a            |
/// |                      |                           |                         | termination arrived, except  |
/// |                      |                           |                         | in FAIL                      |
/// | DELAY_TERMINATE 7    | FAIL                      | `Operate`               | its result                   |
/// | NOTIFY               | otherwise                 | `Notify`, no transition | its result                   |
/// | an invalid kind      | otherwise                 | nothing, no transition  | refused                      |
///
/// A successor of 0 releases the context. Any other successor becomes the current state, even if it is not
/// registered.
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

/// The kinds of message to a state machine. Any other value is refused.
enum StateMsgType : unsigned int {
    STATE_MSG_OPERATE = 0,
    STATE_MSG_NOTIFY = 1,
    STATE_MSG_DELAY_TERMINATE = 2,
    STATE_MSG_IMMEDIATE_TERMINATE = 3,
};

/// The reserved state ids. Clients use other ids up to `STATE_MAX`. INIT, SUCC and FAIL must be registered in
/// every context before its first `Alloc`.
inline constexpr unsigned int STATE_IDLE = 0; ///< not running
inline constexpr unsigned int STATE_INIT = 1; ///< the state after `Alloc`
inline constexpr unsigned int STATE_SUCC = 2;
inline constexpr unsigned int STATE_FAIL = 3; ///< the only state that runs while a termination is pending
inline constexpr unsigned int STATE_MAX = 254;

/// One state of a procedure. An object belongs to one context, which deletes it.
///
/// The hooks run in the task that passed the message to the context (a client's, or the supervision task),
/// without the lock of the context. A hook must not destroy the context for which it runs. If a hook throws
/// in the supervision task, the context is tried again in the next round (one level-13 line).
class ServiceState {
public:
    static constexpr unsigned int kDefaultMaxRunTime = 300; ///< seconds

    /// `max_run_time` is in seconds. A number that 32 bits cannot hold becomes the largest one.
    explicit ServiceState(unsigned int state_id = STATE_IDLE,
                          unsigned long max_run_time = kDefaultMaxRunTime);
    virtual ~ServiceState() = default;
    ServiceState(const ServiceState&) = delete;
    ServiceState& operator=(const ServiceState&) = delete;

    /// Does the work of the state, for an ordinary message or for the termination request that reaches the
    /// state. In the latter case `p_msg` may be null. The base version returns 0.
    /// @return 0, or a failure code.
    virtual unsigned int Operate(StateContext* p_context, char* p_msg, unsigned int len);

    /// Handles a notification. The base version does nothing and returns 0x8000025c.
    virtual unsigned int Notify(StateContext* p_context, char* p_msg, unsigned int len);

    /// Returns the id of the successor; 0 releases the context. Called after `ret` was set. The base version
    /// returns 0.
    virtual unsigned int GetNextState();

    /// Returns whether the successor runs at once with the same message. The base version returns true after
    /// a failure.
    virtual bool IsAutoNextState();

    /// Runs the hook for one message and then moves the context to the successor.
    /// @return the result of the hook; 0x8000025a for a null context (one level-13 line), for an invalid
    ///         `msg_type`, for IMMEDIATE_TERMINATE, and if a pending termination refuses the message or its
    ///         success.
    unsigned int Handle(StateContext* p_context, StateMsgType msg_type, char* p_msg, unsigned int len);

    /// Calls the hook for a kind of message. Except for notifications, it first stamps `state_clock`.
    /// @return the result of the hook; 0x8000025a for an invalid `msg_type`.
    unsigned int Operate(StateContext* p_context, StateMsgType msg_type, char* p_msg, unsigned int len);

    /// Asks for the successor and moves the context to it. Does nothing for notifications, for invalid kinds,
    /// and for a null context (one level-13 line).
    void ChangeState(StateContext* p_context, StateMsgType msg_type);

    const unsigned int state_id;      ///< the key of the state in its register
    std::atomic<unsigned int> ret{0}; ///< the result of the last handling
    const unsigned int max_run_time;  ///< how long a context may stay in this state, in seconds
    Clock state_clock;                ///< the last message to the state that was no notification

private:
    friend class StateContext;

    unsigned int HandleJob(StateContext& context, unsigned int job, StateMsgType msg_type, char* p_msg,
                           unsigned int len);
    unsigned int RunHook(StateContext& context, StateMsgType msg_type, char* p_msg, unsigned int len);
    /// Whether a release keeps the context's `last_ret`, which then tells how the job ended.
    enum class LastResult { kForget, kKeep };

    void ChangeStateOfJob(StateContext& context, unsigned int job, StateMsgType msg_type, LastResult last);
};

/// Owns the states of one context, by id. Takes no lock: all states are registered before the first `Alloc`.
class StateRegister {
public:
    StateRegister() = default;
    ~StateRegister();
    StateRegister(const StateRegister&) = delete;
    StateRegister& operator=(const StateRegister&) = delete;

    /// Takes ownership of a state under its id. If the id is taken, its first state stays, and the caller
    /// keeps this one.
    /// @return 0, even if the id is taken; 0x800001f5 if `state` is null or memory is short: the caller then
    ///         keeps the state.
    unsigned int RegisterStateObj(ServiceState* state);

    /// Returns the state with an id; null if there is none.
    ServiceState* GetStateObj(unsigned int state_id) const;

private:
    std::vector<ServiceState*> states; ///< by ascending id
};

/// One per-ONU state machine, reused from procedure to procedure.
///
/// A client derives one class per service, registers the states in its constructor, and keeps the objects.
///
/// Thread safety: `lock` guards every field; fields that are read without it are atomics. Messages of several
/// tasks to one context are not serialised: pass the messages of one ONU from one task. The supervision may
/// run at the same time.
///
/// A context may be destroyed while the pool runs if it is idle and no other task uses it.
class StateContext : public AggregateObject {
public:
    /// The id of a context that has not joined the pool.
    static constexpr unsigned int kUnregisteredId = 255;
    /// The numbers of a context that no ONU has had yet.
    static constexpr unsigned short kNoOnu = 0xFFFF;
    /// The number of delayed termination requests that are only counted. The next one reaches the state.
    static constexpr unsigned int kAbsorbedStops = 6;

    /// Joins the pool, which gives the context its id. Waits until a supervision round in progress has ended,
    /// unless a hook of that round is the caller.
    explicit StateContext(unsigned int service_type = 0);
    /// Leaves the pool and deletes the states. Waits while another task passes a termination to this context.
    ~StateContext() override;
    StateContext(const StateContext&) = delete;
    StateContext& operator=(const StateContext&) = delete;

    // These two hooks run under `lock`, and the locks of the pool are taken before it. So the hooks must not
    // construct or destroy contexts, and must not call `StateContextManager`.

    /// Returns whether a message belongs to the current job of this context. Called under `lock`. The base
    /// version returns false.
    virtual bool Match(char* p_msg, unsigned int len);
    /// Prepares the context for a new job, with the message that started the job. Called under `lock` by
    /// `Alloc`. The base version does nothing.
    virtual void Occupy(char* p_msg, unsigned int len);

    /// Takes ownership of a state. Call it before the first `Alloc`.
    /// @return 0, even if the id is taken (see `StateRegister`); 0x800001f5, after one level-13 line, if
    ///         `state` is null, its id is above 254, or memory is short: the caller then keeps the state.
    unsigned int RegisterState(ServiceState* state);

    /// Reserves this context for an ONU and enters INIT. The time in INIT counts from the last stamp of that
    /// state.
    /// @return 0; 0x8000025d if the context is in use; 0x8000025a, after one level-13 line, if INIT, SUCC or
    ///         FAIL is not registered.
    unsigned int Alloc(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len);

    /// Does the part of `Alloc` after its checks. The caller holds `lock`.
    void Occupy(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len);

    /// Returns whether this context runs for the ONU and the `Match` hook accepts the message. With
    /// `check_occupied` false, the context may also be idle and have run for this ONU last. If `p_msg` is
    /// null or `len` is 0, the hook is not asked.
    bool Match(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len, bool check_occupied);

    /// Makes the context idle. The caller holds `lock`. With `reset_onu`, the numbers of the ONU are
    /// forgotten.
    void Release(bool reset_onu);

    /// Releases the context if it runs for the ONU and the `Match` hook accepts the message. The hook is
    /// asked even if `p_msg` is null.
    /// @return 0; 0x80000259 if the context was not released.
    unsigned int Release(unsigned short pon, unsigned short onu, char* p_msg, unsigned int len,
                         bool reset_onu);

    /// Moves the context to a state; 0 releases it. If the context is idle, only `auto_next` is cleared.
    void ChangeState(unsigned int next_state, bool auto_next);

    /// Passes a message to the current state, and to its successors as long as `IsAutoNextState` returns
    /// true.
    ///
    /// After 65535 states it stops with one level-13 line. While a termination is pending, it stops after 254
    /// and releases the context. Blocks for as long as the hooks do. Termination requests may have a null
    /// `p_msg`.
    /// @return the result of the last state that ran; 0 for a request that was only counted; 0x8000025a for a
    ///         null message of another kind; 0x80000259 if the context is idle or its current state is not
    ///         registered (one level-13 line each).
    unsigned int Handle(StateMsgType msg_type, char* p_msg, unsigned int len);

    /// Returns whether the current state has lasted longer than its limit; false if the context is idle or
    /// its state is not registered.
    bool IsOverTime();
    /// Return the milliseconds since the last message to the current state, and its limit in milliseconds
    /// (modulo 2^32); 0 if the context is idle or its state is not registered.
    unsigned long long GetStateTime();
    unsigned long long GetStateMaxRunTime();

    const unsigned int service_type;                       ///< tells the contexts of different services apart
    std::atomic<unsigned int> context_id{kUnregisteredId}; ///< given by the pool
    std::atomic<StateRegister*> p_state_register{nullptr}; ///< the states that it runs through
    std::atomic<unsigned int> cur_state{STATE_IDLE};       ///< STATE_IDLE exactly while not `occupied`
    std::atomic<unsigned short> pon_no{kNoOnu}; ///< of the ONU that has the context, or had it last
    std::atomic<unsigned short> onu_id{kNoOnu}; ///< the same
    std::atomic<bool> occupied{false};          ///< whether a procedure has it
    std::atomic<bool> auto_next{false};         ///< whether the current state runs with the same message
    std::atomic<unsigned char> stop_times{0};   ///< counted termination requests; not 0: terminating
    std::atomic<unsigned int> last_ret{0};      ///< the result of the last state that `Handle` ran
    std::atomic<unsigned long long> last_run_time{
        0};             ///< milliseconds from the last `Occupy` to its `Release`
    ReadWriteLock lock; ///< held while a message is handled
    Clock occupy_clock; ///< the last `Occupy`

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

    /// The number of allocations so far. If the supervision releases the context while a hook of another task
    /// still runs, this number tells that task that its job is over.
    std::atomic<unsigned int> job{0};
    /// The number of terminations that the pool is passing to this context. The destructor waits for them.
    std::atomic<unsigned int> pins{0};
};

/// Lists all state contexts of the process, and runs the supervision task.
///
/// Once a period, the task sends a delayed termination to each context whose state has lasted longer than its
/// limit, and to each context that is terminating already. The seventh request reaches the state. So a
/// context that receives no messages is moved on 6 periods after the round that found it over time, which is
/// 6 to 7 periods after its limit.
class StateContextManager : public Thread, public Aggregate {
public:
    static constexpr unsigned int kDefaultInterval = 30; ///< seconds

    /// Returns the instance of the process.
    static StateContextManager* GetInstance();

    /// Sets the period to its default, and starts the supervision task "OmciUpgExcDetect" if it does not run.
    /// @return 0; 0x800001f5, after one level-13 line, if the task cannot be started.
    unsigned int Init(unsigned int priority);

    /// Adds a context and gives it the next id. Ids start at 1 and are never used again. Called by the
    /// constructor of the context. Waits until a supervision round in progress has ended, unless a hook of
    /// that round is the caller. `context_id` stays as it was if `context` is null, or if memory is short
    /// (one level-13 line): the context then works without supervision.
    void RegisterContext(StateContext* context, unsigned int& context_id);

    /// Removes a context, if it is in the list. Called by the destructor of the context. Waits while another
    /// task passes a termination to the context, but not for the rest of a supervision round.
    void UnregisterContext(StateContext* context);

    /// Sends one delayed termination to the context with an id, in the caller's task.
    /// @return the result of the context; 0x8000025a if no context has the id.
    unsigned int Terminate(unsigned int context_id);

    /// Runs the supervision loop. Does not return.
    void Run() override;

    /// Ends the supervision task and returns when it has ended.
    void EndSupervision() { EndTask(); }

    /// Releases the contexts to which the calling task is passing terminations. For a task that ends the
    /// process in one of their hooks and so does not return from it.
    static void DropPins();

    /// List the contexts by index. An item is valid only as long as its owner keeps it.
    AggregateObject* GetItem(unsigned int index) override;
    unsigned int GetSize() const override;

    /// Calls `visit(StateContext&)` for every context, under the lock of the list, so none is destroyed
    /// meanwhile. `visit` must be quick. It must not construct or destroy contexts, and must not call this
    /// class.
    template <typename Visit>
    void ForEachContext(Visit visit) {
        LockGuard guard(list_lock);
        for (StateContext* context : context_list)
            visit(*context);
    }

    /// The period in seconds. It is read again for every round. If it is 0, or more milliseconds than a
    /// signed 32-bit number holds, the value stays as it is and a round comes every second.
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
