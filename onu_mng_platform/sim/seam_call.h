/// The start and the end of every function of the seam.
#ifndef ONU_MNG_PLATFORM_SIM_SEAM_CALL_H
#define ONU_MNG_PLATFORM_SIM_SEAM_CALL_H

#include <cstdint>

#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/record.h"
#include "onu_mng_platform/sim/run.h"

namespace onu_mng_platform {

/// Returns whether the task runs the program under test. Returns false while it runs the board's own code,
/// which may hold locks and must not be preempted, while its thread ends, and for null.
bool IsProgram(const Task* task);

/// While it exists, the calling task runs the board's own code. Its allocations do not count as the
/// program's.
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

/// One call of the seam. Its start is a point where another task may run; its end adds a line to the record.
/// Threads that are not tasks may call the seam only outside a run; their calls do neither.
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

    /// Returns whether the call must fail. If it may wait (`ticks` is not 0), the failure takes one tick.
    bool IsToFail(SimFault kind, int ticks = 0);
    /// Waits like `Scheduler::WaitFor`. A thread that is not a task does not wait.
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
    /// Returns a new number for the message that the call sends.
    std::uint64_t Sends();
    /// Returns where to store the number of the message that the call receives.
    std::uint64_t& Receives() { return call.received; }

    /// Records and returns the result of a call that creates an object: its id, 0 on failure.
    std::uint32_t Created(std::uint32_t id) {
        On(id);
        return Result(id, id != 0 ? 0 : -1);
    }

    Task* Caller() const { return task; }
    /// Returns the current run; null if the caller is not the program under test.
    SimRun* Run() const { return run; }

private:
    Task* const task;
    SimRun* const run;
    const BoardWork work; ///< after `run`, whose initialiser calls `IsProgram`
    RecordedCall call;
};

} // namespace onu_mng_platform

#endif
