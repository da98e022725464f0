#include "onu_mng_platform/sim/record.h"

#include <cstdio>
#include <cstring>

namespace onu_mng_platform {

std::string TimeText(SimTime time) {
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    char text[40];
    std::snprintf(text, sizeof text, "%lld.%09lld", static_cast<long long>(time.count() / kNanoseconds),
                  static_cast<long long>(time.count() % kNanoseconds));
    return text;
}

std::string SiteText(const CallSite& site) {
    if (site.file == nullptr) return {};
    const char* folder_end = std::strrchr(site.file, '/');
    return std::string(" at ") + (folder_end != nullptr ? folder_end + 1 : site.file) + ":" +
           std::to_string(site.line);
}

void Record::Mix(std::uint64_t number) {
    hash = (hash ^ number) * 0x100000001b3u;
    hash ^= hash >> 29;
}

void Record::AddText(const char* text) {
    for (; *text != '\0'; ++text)
        Mix(static_cast<unsigned char>(*text));
}

void Record::Add(const RecordedCall& call) {
    AddText(call.name->name);
    Mix(static_cast<std::uint64_t>(call.time.count()));
    Mix(static_cast<std::uint64_t>(Board::Instance().Number(call.task)));
    Mix(static_cast<std::uint64_t>(Board::Instance().Number(call.object)));
    Mix(static_cast<std::uint64_t>(call.first));
    Mix(static_cast<std::uint64_t>(call.second));
    Mix(call.has_result ? static_cast<std::uint64_t>(call.result) : ~0u);
    if (keeps) calls.push_back(call);
}

std::string Record::Line(const RecordedCall& call) const {
    std::string arguments;
    const auto add = [&arguments](const char* name, std::int64_t value) {
        if (name == nullptr) return;
        if (!arguments.empty()) arguments += ", ";
        arguments += std::string(name) + " " + std::to_string(value);
    };
    add(call.name->object, Board::Instance().Number(call.object));
    add(call.name->first, call.first);
    add(call.name->second, call.second);
    const auto task = task_names.find(call.task);
    return TimeText(call.time) + " " + (task != task_names.end() ? task->second : "") + "(" +
           std::to_string(Board::Instance().Number(call.task)) + "): " + call.name->name + "(" + arguments +
           ")" + (call.has_result ? " = " + std::to_string(call.result) : " ended") + SiteText(call.site);
}

std::vector<std::string> Record::Lines() const {
    std::vector<std::string> lines;
    lines.reserve(calls.size());
    for (const RecordedCall& call : calls)
        lines.push_back(Line(call));
    return lines;
}

} // namespace onu_mng_platform
