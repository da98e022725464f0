/// What happened in a run, call by call, without a number that differs between two runs of a seed.
#ifndef ONU_MNG_PLATFORM_SIM_RECORD_H
#define ONU_MNG_PLATFORM_SIM_RECORD_H

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "onu_mng_platform/sim/board.h"

namespace onu_mng_platform {

/// How a kind of call reads: "name(object 3, first 8, second -1) = 0"; what is null is left out.
struct CallName {
    const char* name;
    const char* object;
    const char* first;
    const char* second;
};

struct RecordedCall {
    const CallName* name = nullptr;
    SimTime time{0};
    std::uint32_t task = 0;
    std::uint32_t object = 0;
    std::int64_t first = 0;
    std::int64_t second = 0;
    std::int64_t result = 0;
    bool has_result = false; ///< false: the task was ended in the call
    CallSite site;
};

class Record {
public:
    explicit Record(bool keep) : keeps(keep) {}

    void Add(const RecordedCall& call);
    void AddText(const char* text);
    void NameTask(std::uint32_t id, const std::string& name) { task_names[id] = name; }

    std::vector<std::string> Lines() const;
    std::uint64_t Fingerprint() const { return hash; }

private:
    void Mix(std::uint64_t number);
    std::string Line(const RecordedCall& call) const;

    const bool keeps;
    std::vector<RecordedCall> calls;
    std::map<std::uint32_t, std::string> task_names;
    std::uint64_t hash = 0xcbf29ce484222325u;
};

/// Numbers for pools and their blocks that do not depend on what was there before the run.
class BlockNumbers {
public:
    /// Pools from now on count from 1.
    void Begin();
    /// Of a pool that was there before: below 0; of none: 0.
    std::int64_t PoolNumber(int pool_id) const;
    /// Gives a block that was taken its number, from 1; 0 for null.
    std::int64_t Taken(const void* block);
    /// Of a block that was not taken in the run: 0.
    std::int64_t Number(const void* block) const;

private:
    int old_pools = 0;
    std::int64_t last_block = 0;
    std::unordered_map<const void*, std::int64_t> blocks;
};

/// "seconds.nanoseconds".
std::string TimeText(SimTime time);
/// " at file:line", the file without its folder; nothing without a file.
std::string SiteText(const CallSite& site);

} // namespace onu_mng_platform

#endif
