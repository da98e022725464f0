#include "onu_mng_platform/sim/timeline.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <errno.h>
#include <memory>
#include <unistd.h>

namespace onu_mng_platform {

namespace {

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte >= 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(byte));
            quoted += escape;
        } else {
            if (character == '"' || character == '\\') quoted += '\\';
            quoted += character;
        }
    }
    return quoted + '"';
}

/// The positions of the starts and ends of calls on the time axis, in microseconds. They are at their virtual
/// times, but at least one microsecond apart, because most calls take no virtual time.
class Axis {
public:
    explicit Axis(const std::vector<RecordedCall>& calls) {
        for (const RecordedCall& call : calls) {
            Keep(call.first_step, call.began);
            Keep(call.last_step, call.ended);
        }
        std::int64_t last = -1;
        for (std::int64_t& position : positions)
            if (position >= 0) position = last = std::max(position, last + 1);
    }
    std::int64_t At(std::uint64_t step) const { return positions[static_cast<std::size_t>(step)]; }

private:
    void Keep(std::uint64_t step, SimTime time) {
        const auto index = static_cast<std::size_t>(step);
        if (positions.size() <= index) positions.resize(index + 1, -1);
        positions[index] = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
    }
    std::vector<std::int64_t> positions; ///< by `Record::Step`; -1 for steps that are not in the record
};

class Timeline {
public:
    Timeline(const Record& record, const std::vector<SimLogLine>& lines) : axis(record.Calls()), log(lines) {
        for (const TaskCalls& task : record.Tasks())
            Add("M", "thread_name", task, 0, ",\"args\":{\"name\":" + Quoted(TaskText(task)) + "}");
        for (const RecordedCall& call : record.Calls())
            AddCall(call);
    }
    std::string Text() const { return "{\"traceEvents\":[\n" + events + "\n],\"displayTimeUnit\":\"ms\"}\n"; }

private:
    void Add(const char* phase, const std::string& name, const TaskCalls& task, std::int64_t time,
             const std::string& more) {
        if (!events.empty()) events += ",\n";
        events += std::string("{\"ph\":\"") + phase + "\",\"name\":" + Quoted(name) +
                  ",\"pid\":1,\"tid\":" + std::to_string(task.number) + ",\"ts\":" + std::to_string(time) +
                  more + "}";
    }

    void AddCall(const RecordedCall& call) {
        const std::int64_t begin = axis.At(call.first_step);
        const std::int64_t end = axis.At(call.last_step);
        Add("X", call.name->name, *call.caller, begin,
            ",\"dur\":" + std::to_string(end - begin) + ",\"args\":{\"call\":" + Quoted(ResultText(call)) +
                ",\"virtual time\":" + Quoted(TimeText(call.began)) + "}");
        if (call.was_failed) Add("i", "fault", *call.caller, begin, ",\"s\":\"t\"");
        if (call.log_line != 0)
            Add("i", log[call.log_line - 1].text, *call.caller, begin, ",\"s\":\"t\",\"cat\":\"log\"");
        if (call.sent != 0) AddArrow("s", call, end, call.sent);
        if (call.received != 0) AddArrow("f", call, end, call.received);
    }

    // Viewers attach an arrow to the call in progress at its time, so it is drawn just before the call's end.
    void AddArrow(const char* phase, const RecordedCall& call, std::int64_t end, std::uint64_t message) {
        Add(phase, "message", *call.caller, end - 1,
            ",\"bp\":\"e\",\"cat\":\"message\",\"id\":" + std::to_string(message));
    }

    const Axis axis;
    const std::vector<SimLogLine>& log;
    std::string events;
};

} // namespace

bool WriteTimeline(const std::string& path, const Record& record, const std::vector<SimLogLine>& log) {
    const std::string text = Timeline(record, log).Text();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"), std::fclose);
    return file != nullptr && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
           std::fflush(file.get()) == 0;
}

std::string TimelineFolder() {
    const char* const folder = std::getenv("ONU_MNG_TIMELINE");
    return folder != nullptr ? folder : "";
}

void WriteTimelineOfRun(const Record& record, const std::vector<SimLogLine>& log) {
    static std::atomic<unsigned int> runs{0};
    const std::string folder = TimelineFolder();
    if (folder.empty()) return;
    const std::string path = folder + "/" + program_invocation_short_name + "-" + std::to_string(getpid()) +
                             "-" + std::to_string(++runs) + ".json";
    if (!WriteTimeline(path, record, log))
        std::fprintf(stderr, "simulated board: %s cannot be written\n", path.c_str());
}

} // namespace onu_mng_platform
