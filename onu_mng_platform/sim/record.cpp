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

std::string TaskText(const TaskCalls& task) {
    return task.name + "(" + std::to_string(task.number) + ")";
}

std::string CallText(const RecordedCall& call) {
    std::string arguments;
    const auto add = [&arguments](const char* name, std::int64_t value) {
        if (name == nullptr) return;
        if (!arguments.empty()) arguments += ", ";
        arguments += std::string(name) + " " + std::to_string(value);
    };
    add(call.name->object, call.object);
    add(call.name->first, call.first);
    add(call.name->second, call.second);
    return std::string(call.name->name) + "(" + arguments + ")";
}

std::string ResultText(const RecordedCall& call) {
    return CallText(call) + (call.has_result ? " = " + std::to_string(call.result) : " ended") +
           (call.was_failed ? " (told to fail)" : "") + SiteText(call.site);
}

void Record::Mix(std::uint64_t number) {
    hash = (hash ^ number) * 0x100000001b3u;
    hash ^= hash >> 29;
}

void Record::AddText(const char* text) {
    for (; *text != '\0'; ++text)
        Mix(static_cast<unsigned char>(*text));
}

TaskCalls* Record::AddTask(const Task& task) {
    tasks.emplace_back();
    tasks.back().number = task.number;
    tasks.back().name = task.name;
    return &tasks.back();
}

void Record::Add(const RecordedCall& call) {
    AddText(call.name->name);
    Mix(static_cast<std::uint64_t>(call.ended.count()));
    Mix(static_cast<std::uint64_t>(call.caller->number));
    Mix(static_cast<std::uint64_t>(call.object));
    Mix(static_cast<std::uint64_t>(call.first));
    Mix(static_cast<std::uint64_t>(call.second));
    Mix(call.has_result ? static_cast<std::uint64_t>(call.result) : ~0u);
    if (!is_over) call.caller->last[call.caller->count++ % TaskCalls::kMost] = call;
    if (keeps) calls.push_back(call);
}

std::vector<std::string> Record::Lines() const {
    std::vector<std::string> lines;
    lines.reserve(calls.size());
    for (const RecordedCall& call : calls)
        lines.push_back(TimeText(call.ended) + " " + TaskText(*call.caller) + ": " + ResultText(call));
    return lines;
}

} // namespace onu_mng_platform
