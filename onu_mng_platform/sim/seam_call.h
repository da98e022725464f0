/// What every function of the seam does first and last.
#ifndef ONU_MNG_PLATFORM_SIM_SEAM_CALL_H
#define ONU_MNG_PLATFORM_SIM_SEAM_CALL_H

#include <cstdint>

#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/record.h"
#include "onu_mng_platform/sim/run.h"

namespace onu_mng_platform {

/// Whether the task runs its program: not what the board does for it, which may hold locks of its own and so
/// keeps its turn, and not the end of its thread. False for null.
bool IsProgram(const Task* task);

/// While it exists the calling task works for the board: what that allocates is not the program's.
class BoardWork {
public:
    BoardWork() : task(CurrentTask()) {
        if (task != nullptr) ++task->board_depth;
    }
    ~BoardWork() {
        if (task != nullptr) --task->board_depth;
    }
    BoardWork(const BoardWork&) = delete;
    BoardWork& operator=(const BoardWork&) = delete;

private:
    Task* const task;
};

/// One call of the seam: first a point where another task may go on, at the end a line in the record. In a
/// thread that is no task, which may call only while no run goes on, it is neither.
class SeamCall {
public:
    explicit SeamCall(const CallName& name, CallSite site = {});
    ~SeamCall();
    SeamCall(const SeamCall&) = delete;
    SeamCall& operator=(const SeamCall&) = delete;

    SeamCall& On(std::uint32_t object) {
        call.object = Board::Instance().Number(object);
        return *this;
    }
    SeamCall& With(std::int64_t first, std::int64_t second = 0) {
        call.first = first;
        call.second = second;
        return *this;
    }

    /// Whether the call was told to fail. One that was ready to wait (`ticks` not 0) takes a tick then.
    bool IsToFail(SimFault kind, int ticks = 0);
    /// Waits, as `Scheduler::WaitFor`; a thread that is no task does not wait.
    bool WaitFor(WaitKind kind, std::shared_ptr<Object> object, int ticks, bool can_end = true);
    bool WaitUntil(WaitKind kind, std::shared_ptr<Object> object, SimTime deadline, bool can_end = true);
    void EndPoint();

    template <class T>
    T Result(T value) {
        return Result(value, static_cast<std::int64_t>(value));
    }
    template <class T>
    T Result(T value, std::int64_t recorded) {
        call.result = recorded;
        call.has_result = true;
        return value;
    }
    /// A new number for the message that the call sends; the place for that of the one it receives.
    std::uint64_t Sends();
    std::uint64_t& Receives() { return call.received; }

    /// Of a call that creates an object: its id, 0 for none.
    std::uint32_t Created(std::uint32_t id) {
        On(id);
        return Result(id, id != 0 ? 0 : -1);
    }

    Task* Caller() const { return task; }
    /// The run; null in a thread that is no task.
    SimRun* Run() const { return run; }

private:
    Task* const task;
    SimRun* const run;
    const BoardWork work; ///< after `run`, which asks what the task does
    RecordedCall call;
};

} // namespace onu_mng_platform

#endif
