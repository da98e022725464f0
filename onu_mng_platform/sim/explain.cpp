#include <algorithm>

#include "onu_mng_platform/sim/run.h"

namespace onu_mng_platform {

namespace {

constexpr std::size_t kLogLines = 50;

void AddLastCalls(std::string& text, const TaskCalls& task) {
    if (task.count == 0) return;
    const std::size_t kept = std::min(task.count, TaskCalls::kMost);
    text += "\nlast calls of " + TaskText(task) + ", " + std::to_string(kept) + " of " +
            std::to_string(task.count);
    for (std::size_t call = task.count - kept; call < task.count; ++call) {
        const RecordedCall& each = task.last[call % TaskCalls::kMost];
        text += "\n  " + TimeText(each.ended) + " " + ResultText(each);
    }
}

void AddLog(std::string& text, const std::vector<SimLogLine>& log) {
    if (log.empty()) return;
    const std::size_t kept = std::min(log.size(), kLogLines);
    text += "\nlog, " + std::to_string(kept) + " of " + std::to_string(log.size()) + " lines";
    for (std::size_t index = log.size() - kept; index < log.size(); ++index) {
        const SimLogLine& line = log[index];
        text += "\n  " + TimeText(line.time) + " " + line.task + ": " + std::to_string(line.module) + " " +
                std::to_string(line.level) + ": " +
                line.text.substr(0, line.text.find_last_not_of("\r\n") + 1);
    }
}

} // namespace

std::string SimRun::Explain() const {
    std::string text = scheduler.report;
    for (const std::string& line : scheduler.schedule.Taken())
        text += line + "\n";
    text += Origin();
    for (const TaskCalls& task : record.Tasks())
        AddLastCalls(text, task);
    AddLog(text, log);
    return text;
}

} // namespace onu_mng_platform
