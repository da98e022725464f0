/// What happened in a run, call by call, without a number that differs between two runs of a seed.
#ifndef ONU_MNG_PLATFORM_SIM_RECORD_H
#define ONU_MNG_PLATFORM_SIM_RECORD_H

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

/// How a kind of call reads: "name(object 3, first 8, second -1) = 0"; what is null is left out.
struct CallName {
    const char* name;
    const char* object;
    const char* first;
    const char* second;
};

struct TaskCalls;

struct RecordedCall {
    const CallName* name = nullptr;
    TaskCalls* caller = nullptr;
    SimTime began{0};
    SimTime ended{0};
    std::uint64_t first_step = 0; ///< its place among the beginnings and ends of all calls
    std::uint64_t last_step = 0;
    std::int64_t object = 0; ///< its number
    std::int64_t first = 0;
    std::int64_t second = 0;
    std::int64_t result = 0;
    bool has_result = false; ///< false: the task was ended in the call
    bool was_failed = false; ///< it was told to fail
    std::uint64_t sent = 0;  ///< the number of the message that it sent; 0: none
    std::uint64_t received = 0;
    std::size_t log_line = 0; ///< the line of the log that it wrote, from 1; 0: none
    CallSite site;
};

/// The last calls of one task, for a report about a run that failed.
struct TaskCalls {
    static constexpr std::size_t kMost = 30;

    std::int64_t number = 0;
    std::string name;
    std::array<RecordedCall, kMost> last;
    std::size_t count = 0; ///< of all its calls
};

class Record {
public:
    explicit Record(bool keep) : keeps(keep) {}

    /// The next place in the order of the run.
    std::uint64_t Step() { return ++steps; }
    void Add(const RecordedCall& call);
    void AddText(const char* text);
    /// Where a new task's calls are kept.
    TaskCalls* AddTask(const Task& task);
    /// From now on `Tasks` stays as it is.
    void KeepLastCalls() { is_over = true; }

    /// Every call, if the record is kept.
    const std::vector<RecordedCall>& Calls() const { return calls; }
    const std::deque<TaskCalls>& Tasks() const { return tasks; }
    std::vector<std::string> Lines() const;
    std::uint64_t Fingerprint() const { return hash; }

private:
    void Mix(std::uint64_t number);

    const bool keeps;
    bool is_over = false;
    std::uint64_t steps = 0;
    std::vector<RecordedCall> calls;
    std::deque<TaskCalls> tasks; ///< by the order of their start
    std::uint64_t hash = 0xcbf29ce484222325u;
};

/// "seconds.nanoseconds".
std::string TimeText(SimTime time);
/// " at file:line", the file without its folder; nothing without a file.
std::string SiteText(const CallSite& site);
/// "name(number)".
std::string TaskText(const TaskCalls& task);
/// "name(object 3, first 8, second -1)".
std::string CallText(const RecordedCall& call);
/// "name(object 3, first 8) = 0 at file:line".
std::string ResultText(const RecordedCall& call);

} // namespace onu_mng_platform

#endif
