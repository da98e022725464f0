#include "onu_mng_platform/common/log/log.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/standard_error.h"
#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {
namespace {

constexpr int kMinLevel = 0;
constexpr int kMaxLevel = 15;
constexpr int kDefaultThreshold = 10;
constexpr size_t kMaxText = 1023;
constexpr char kClearRow[] = "\r\x1b[K";
constexpr int kLostLevel = 13;
constexpr char kLineEnd[] = "\r\n";

uint32_t LevelBit(int level) {
    return uint32_t{1} << level;
}

/// Decides which lines are written. Like all objects at file scope here, it is usable in static constructors
/// and destructors.
class Filter {
public:
    bool Passes(unsigned int module, int level) {
        if (level >= threshold_.load(std::memory_order_relaxed)) return true;
        // Nearly all suppressed lines end here. The lock is needed only for levels that a module has opened.
        if ((any_open_.load(std::memory_order_relaxed) & LevelBit(level)) == 0) return false;
        const std::lock_guard<ShortLock> guard(lock_);
        const Entry* entry = Find(module);
        return entry != nullptr && (entry->levels & LevelBit(level)) != 0;
    }

    int SetOpen(unsigned int module, int level, bool open) {
        const std::lock_guard<ShortLock> guard(lock_);
        Entry* entry = Find(module);
        if (entry == nullptr) {
            if (!open) return 0;
            entry = FindUnused();
            if (entry == nullptr) return -1;
            entry->module = module;
        }
        entry->levels = open ? entry->levels | LevelBit(level) : entry->levels & ~LevelBit(level);
        uint32_t any = 0;
        for (const Entry& each : entries_)
            any |= each.levels;
        any_open_.store(any, std::memory_order_relaxed);
        return 0;
    }

    void SetThreshold(int level) {
        threshold_.store(std::clamp(level, kMinLevel, kMaxLevel + 1), std::memory_order_relaxed);
    }

private:
    struct Entry {
        unsigned int module = 0;
        uint32_t levels = 0; // one bit for each open level; 0: the entry is unused
    };

    Entry* Find(unsigned int module) {
        for (Entry& entry : entries_) {
            if (entry.levels != 0 && entry.module == module) return &entry;
        }
        return nullptr;
    }

    Entry* FindUnused() {
        for (Entry& entry : entries_) {
            if (entry.levels == 0) return &entry;
        }
        return nullptr;
    }

    std::atomic<int> threshold_{kDefaultThreshold};
    std::atomic<uint32_t> any_open_{0};
    ShortLock lock_; // guards the entries
    Entry entries_[16];
};

struct Output {
    ShortLock lock; // held while a line is written, so lines never mix
    ulog_sink sink = nullptr;
    void* context = nullptr;
    LogClock clock = nullptr;
    LogNeighbour neighbour;
};

Filter g_filter;
Output g_output;
StandardError g_standard_error; // guarded by the output's lock
unsigned long g_lost = 0;       // lines lost since the last note about them; guarded by the same lock
thread_local bool t_in_sink = false;

timespec Now() {
    if (g_output.clock != nullptr) return g_output.clock();
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

/// Formats output without allocating memory.
class Piece {
public:
    void AddLine(unsigned int module, int level, const char* text) {
        const timespec now = Now();
        std::tm local{};
        localtime_r(&now.tv_sec, &local);
        size_ += std::strftime(text_ + size_, sizeof(text_) - size_, "%Y-%m-%d %H:%M:%S", &local);
        Add(".%03d %2d %u: %s", static_cast<int>(now.tv_nsec / 1000000), level, module, text);
    }
    void Add(const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3) {
        std::va_list arguments;
        va_start(arguments, format);
        const int size = std::vsnprintf(text_ + size_, sizeof(text_) - size_, format, arguments);
        va_end(arguments);
        size_ = std::min(size_ + static_cast<size_t>(std::max(size, 0)), sizeof(text_) - 1);
    }

    const char* Text() const { return text_; }
    size_t Size() const { return size_; }

private:
    char text_[kMaxText + 240];
    size_t size_ = 0;
};

bool WriteToStandardError(unsigned int module, int level, const char* text) {
    Piece piece;
    if (g_output.neighbour.after != nullptr) piece.Add("%s", kClearRow);
    piece.AddLine(module, level, text);
    return g_standard_error.Write(piece.Text(), piece.Size());
}

/// Writes a note in the place of lost lines. @return false if the note cannot be written either.
bool TellOfLostLines() {
    if (g_lost == 0) return true;
    char note[80];
    std::snprintf(note, sizeof note, "%lu lines are lost here\r\n", g_lost);
    if (!WriteToStandardError(kPortLogModule, kLostLevel, note)) return false;
    g_lost = 0;
    return true;
}

void WriteByDefault(unsigned int module, int level, const char* text) {
    if (!TellOfLostLines() || !WriteToStandardError(module, level, text)) ++g_lost;
    if (g_output.neighbour.after != nullptr) g_output.neighbour.after(g_output.neighbour.context);
}

/// Holds the output's lock, unless the calling thread holds it already, for instance because a sink ends the
/// process.
class OutputGuard {
public:
    OutputGuard() {
        if (is_first_) g_output.lock.lock();
    }
    ~OutputGuard() {
        if (is_first_) g_output.lock.unlock();
    }
    OutputGuard(const OutputGuard&) = delete;
    OutputGuard& operator=(const OutputGuard&) = delete;

private:
    const bool is_first_ = !t_in_sink;
};

/// While a sink runs, its task cannot be deleted, even if the sink waits, and the lines that the sink logs
/// are dropped.
struct SinkScope {
    SinkScope() {
        bep_taskSafeEx();
        t_in_sink = true;
    }
    ~SinkScope() {
        t_in_sink = false;
        bep_taskUnsafeEx();
    }
};

void WriteLine(unsigned int module, int level, const char* text) {
    const OutputGuard guard;
    const SinkScope scope;
    if (g_output.sink != nullptr) {
        g_output.sink(g_output.context, module, level, text);
    } else {
        WriteByDefault(module, level, text);
    }
}

} // namespace

void LogWrite(unsigned int module, int level, const char* format, std::va_list arguments) {
    level = std::clamp(level, kMinLevel, kMaxLevel);
    if (format == nullptr || !g_filter.Passes(module, level) || t_in_sink) return;
    char text[kMaxText + 1];
    const int size = std::vsnprintf(text, sizeof(text), format, arguments);
    if (size < 0) return;
    // A truncated line still needs a line end, otherwise the next line would follow on the same row.
    if (static_cast<size_t>(size) > kMaxText) {
        std::memcpy(text + sizeof(text) - sizeof(kLineEnd), kLineEnd, sizeof(kLineEnd));
    }
    WriteLine(module, level, text);
}

int LogSetModIgnore(unsigned int module, int level, int open) {
    if (level < kMinLevel || level > kMaxLevel || (open != 0 && open != 1)) return -1;
    return g_filter.SetOpen(module, level, open == 1);
}

void LogSetThreshold(int level) {
    g_filter.SetThreshold(level);
}

void LogSetSink(ulog_sink sink, void* context) {
    const OutputGuard guard;
    g_output.sink = sink;
    g_output.context = context;
}

void LogPort(int level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    LogWrite(kPortLogModule, level, format, arguments);
    va_end(arguments);
}

void LogSetNeighbour(const LogNeighbour& neighbour) {
    const OutputGuard guard;
    g_output.neighbour = neighbour;
}

void LogSetClock(LogClock clock) {
    const OutputGuard guard;
    g_output.clock = clock;
}

} // namespace onu_mng_platform
