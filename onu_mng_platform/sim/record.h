/// What happened in a run, call by call, without a number that differs between two runs of a seed.
#ifndef ONU_MNG_PLATFORM_SIM_RECORD_H
#define ONU_MNG_PLATFORM_SIM_RECORD_H

#include <cstdint>
#include <map>
#include <string>
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

/// "seconds.nanoseconds".
std::string TimeText(SimTime time);
/// " at file:line", the file without its folder; nothing without a file.
std::string SiteText(const CallSite& site);

} // namespace onu_mng_platform

#endif
