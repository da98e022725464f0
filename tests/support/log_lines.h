/// Keeps the lines that are logged while the object lives, as "level text" without the line end.
#ifndef ONU_MNG_TESTS_SUPPORT_LOG_LINES_H
#define ONU_MNG_TESTS_SUPPORT_LOG_LINES_H

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "onu_mng_platform/ulog.h"

using Lines = std::vector<std::string>;

class LogLines {
public:
    LogLines() {
        ulogSetThreshold(0);
        ulogSetSink(Keep, this);
    }
    ~LogLines() {
        ulogSetSink(nullptr, nullptr);
        ulogSetThreshold(10);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    /// The lines so far, which are then forgotten. A line that does not end in CR LF gets a mark.
    Lines Take() {
        const std::lock_guard<std::mutex> guard(lock);
        return std::move(lines);
    }

    bool Has(const std::string& line) {
        const std::lock_guard<std::mutex> guard(lock);
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

private:
    static void Keep(void* context, unsigned int, int level, const char* text) {
        auto* self = static_cast<LogLines*>(context);
        std::string line = std::to_string(level) + " " + text;
        const bool ends = line.size() >= 2 && line.compare(line.size() - 2, 2, "\r\n") == 0;
        line = ends ? line.substr(0, line.size() - 2) : line + "<no line end>";
        const std::lock_guard<std::mutex> guard(self->lock);
        self->lines.push_back(line);
    }

    std::mutex lock;
    Lines lines;
};

#endif
