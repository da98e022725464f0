/// The record of a run, call by call. It has no value that differs between two runs of a seed.
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

/// The text of a kind of call: "name(object 3, first 8, second -1) = 0". Null parts are left out.
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
    std::uint64_t first_step = 0; ///< `Record::Step` at its start and its end
    std::uint64_t last_step = 0;
    std::int64_t object = 0; ///< the number of the object
    std::int64_t first = 0;
    std::int64_t second = 0;
    std::int64_t result = 0;
    bool has_result = false; ///< false: the task ended in the call
    bool was_failed = false; ///< a requested fault
    std::uint64_t sent = 0;  ///< number of the message sent; 0: none
    std::uint64_t received = 0;
    std::size_t log_line = 0; ///< number of the log line written, from 1; 0: none
    CallSite site;
};

/// The last calls of one task, for the report of a failed run.
struct TaskCalls {
    static constexpr std::size_t kMost = 30;

    std::int64_t number = 0;
    std::string name;
    std::array<RecordedCall, kMost> last;
    std::size_t count = 0; ///< number of all calls
};

class Record {
public:
    explicit Record(bool keep) : keeps(keep) {}

    /// Returns the next number in the common order of all starts and ends of calls.
    std::uint64_t Step() { return ++steps; }
    void Add(const RecordedCall& call);
    void AddText(const char* text);
    /// Adds the store for a new task's last calls.
    TaskCalls* AddTask(const Task& task);
    /// Stops the collection of the tasks' last calls (`Tasks`).
    void KeepLastCalls() { is_over = true; }

    /// Returns all calls; empty unless the record is kept.
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
    std::deque<TaskCalls> tasks; ///< in the order of their start
    std::uint64_t hash = 0xcbf29ce484222325u;
};

/// Returns "seconds.nanoseconds".
std::string TimeText(SimTime time);
/// Returns " at file:line", without the folder of the file; empty if there is no file.
std::string SiteText(const CallSite& site);
/// Returns "name(number)".
std::string TaskText(const TaskCalls& task);
/// Returns a text such as "name(object 3, first 8, second -1)".
std::string CallText(const RecordedCall& call);
/// Returns a text such as "name(object 3, first 8) = 0 at file:line".
std::string ResultText(const RecordedCall& call);

} // namespace onu_mng_platform

#endif
